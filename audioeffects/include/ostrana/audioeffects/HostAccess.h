#pragma once

#include <string_view>
#include <type_traits>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/Result.h>

// What a host needs beside the node API: registering the extension explicitly, and reading and
// writing a node's parameters by name with ordinary numbers.
//
//     auto& manager = ostrana::ExtensionManager::getInstance();
//     auto node = manager.createNode("delay", {}).value();
//     setParameter(*node, "delayMs", 350);          // any number type; checked against the range
//     setParameter(*node, "feedbackLevel", 0.4);
//     double delayMs = getParameter(*node, "delayMs").value();

namespace ostrana::extensions::audioeffects {

// Registers an AudioEffectsExtension with manager unless one is registered there already, as
// linking or loading the library does by itself. Calling it again changes nothing.
OSTRANA_AUDIOEFFECTS_EXPORT Result<void> registerWith(ExtensionManager& manager);

// Writes the parameter called name (as EffectCatalogue lists it, case included) on a node of
// one of the extension's types. A real number is stored as the nearest float; a whole number
// must be whole; a switch takes true/false or 1/0. An unknown name, a value outside the
// parameter's range, not a number, or a node of another type gives an error and changes
// nothing. The write is one atomic exchange: any thread may call it while the node processes.
OSTRANA_AUDIOEFFECTS_EXPORT Result<void> setParameter(Node& node, std::string_view name,
                                                      double value);
OSTRANA_AUDIOEFFECTS_EXPORT Result<void> setParameter(Node& node, std::string_view name,
                                                      bool value);
// Any other number type, converted to double (which every parameter's range fits exactly).
template <typename Number>
requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool> &&
         !std::is_same_v<Number, double>) Result<void> setParameter(Node& node,
                                                                    std::string_view name,
                                                                    Number value) {
    return setParameter(node, name, static_cast<double>(value));
}
// Text is not a number: refused when compiling rather than read as a switch.
Result<void> setParameter(Node& node, std::string_view name, const char* value) = delete;

// The parameter's current value as a double, exactly: a switch gives 0 or 1. An unknown name or
// a node of another type gives an error.
OSTRANA_AUDIOEFFECTS_EXPORT Result<double> getParameter(Node& node, std::string_view name);

}  // namespace ostrana::extensions::audioeffects
