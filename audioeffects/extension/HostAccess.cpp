#include <cmath>
#include <mutex>
#include <stdexcept>
#include <string>
#include <variant>

#include <ostrana/audioeffects/AudioEffectsExtension.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/HostAccess.h>

namespace ostrana::extensions::audioeffects {

namespace {

// The catalogue entry whose node class node is: each entry's accessors refuse nodes of other
// classes, and no node class of the extension derives from another.
const NodeTypeEntry* entryOf(Node& node) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        if (entry.parameters.empty()) continue;
        try {
            entry.parameters.front().read(node);
            return &entry;
        } catch (const std::invalid_argument&) {
        }
    }
    return nullptr;
}

std::string parameterNames(const NodeTypeEntry& entry) {
    std::string names;
    for (const NodeParameter& parameter : entry.parameters) {
        names += (names.empty() ? "" : ", ") + std::string(parameter.name);
    }
    return names;
}

// The parameter called name on node, or the error that says why there is none.
Result<const NodeParameter*> parameterOf(Node& node, std::string_view name) {
    using Found = Result<const NodeParameter*>;
    const NodeTypeEntry* entry = entryOf(node);
    if (entry == nullptr) {
        return Found::failure("[AudioEffects] The node is not one of the extension's node types");
    }
    const NodeParameter* parameter = entry->findParameter(name);
    if (parameter == nullptr) {
        return Found::failure("[AudioEffects] " + entry->typeName() + " has no parameter '" +
                              std::string(name) + "'; its parameters: " + parameterNames(*entry));
    }
    return Found(parameter);
}

double asNumber(const ParameterValue& value) {
    return std::visit([](auto held) { return static_cast<double>(held); }, value);
}

std::string numberText(double value) {
    std::string text = std::to_string(value);
    text.erase(text.find_last_not_of('0') + 1);
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

// Why value cannot be written to parameter, or an empty text when it can.
std::string refusal(const NodeParameter& parameter, double value) {
    const std::string name(parameter.name);
    if (std::isnan(value)) return name + " takes a number, not NaN";
    if (parameter.kind == ParameterKind::Switch && value != 0.0 && value != 1.0) {
        return name + " is a switch: give true or false (or 1 or 0), not " + numberText(value);
    }
    if (parameter.kind == ParameterKind::WholeNumber && value != std::trunc(value)) {
        return name + " takes a whole number, not " + numberText(value);
    }
    if (value < asNumber(parameter.minimum) || value > asNumber(parameter.maximum)) {
        return name + " must lie within " + parameter.rangeText() + ", not " + numberText(value);
    }
    return "";
}

}  // namespace

Result<void> registerWith(ExtensionManager& manager) {
    // Serialises hosts that register from several threads; the check and the registration
    // must not interleave.
    static std::mutex registering;
    std::lock_guard lock(registering);
    for (const std::shared_ptr<Extension>& extension : manager.getExtensions()) {
        if (std::dynamic_pointer_cast<AudioEffectsExtension>(extension)) return {};
    }
    return manager.registerExtension(std::make_shared<AudioEffectsExtension>());
}

Result<void> setParameter(Node& node, std::string_view name, double value) {
    Result<const NodeParameter*> found = parameterOf(node, name);
    if (!found) return Result<void>::failure(found.errorMessage());
    const NodeParameter& parameter = *found.value();
    const std::string why = refusal(parameter, value);
    if (!why.empty()) return Result<void>::failure("[AudioEffects] " + why);
    parameter.write(node, parameter.fromNumber(value));
    return {};
}

Result<void> setParameter(Node& node, std::string_view name, bool value) {
    Result<const NodeParameter*> found = parameterOf(node, name);
    if (!found) return Result<void>::failure(found.errorMessage());
    const NodeParameter& parameter = *found.value();
    if (parameter.kind != ParameterKind::Switch) {
        return Result<void>::failure("[AudioEffects] " + std::string(name) + " is a " +
                                     std::string(kindName(parameter.kind)) +
                                     ", not a switch: give a number");
    }
    parameter.write(node, value);
    return {};
}

Result<double> getParameter(Node& node, std::string_view name) {
    Result<const NodeParameter*> found = parameterOf(node, name);
    if (!found) return Result<double>::failure(found.errorMessage());
    return asNumber(found.value()->read(node));
}

}  // namespace ostrana::extensions::audioeffects
