#pragma once

#include <span>
#include <string>
#include <string_view>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/NodeParameter.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::extensions::audioeffects {

// One node type of the extension as the catalogue lists it. Plain constant data.
struct OSTRANA_AUDIOEFFECTS_EXPORT NodeTypeEntry {
    // A short lower-case name for people: "delay", "ping-pong-delay", "chorus", ...
    std::string_view shortName;
    // The channel counts a node of this type accepts: minChannels to maxChannels.
    unsigned int minChannels;
    unsigned int maxChannels;
    // A new descriptor of the type (the one the factory registers).
    NodeTypeInfo (*describe)();
    // A new node of the type, owned by the caller; the configuration is not read.
    Node* (*create)(const XVAnyMap& configuration);
    // Its parameters, in the order people see them.
    std::span<const NodeParameter> parameters;
    // Whether one input fed to both channels can come out as two different channels, a stereo
    // image: front ends offer a mono-to-stereo form of such effects. The plain delay echoes each
    // channel alike, so it does not.
    bool widensMono = false;
    // Samples of delay the effect reaches beyond what its delay parameters (delayMs,
    // sweepWidth) say: the chorus reads its line up to 1003 samples further back than its
    // sweep, the flanger 3 and the vibrato 2. Echoes can come that much further apart.
    float extraDelaySamples = 0.0f;

    // The fully qualified type name, "AudioEffects.Delay", and the display name, "Delay", as
    // the descriptor gives them.
    std::string typeName() const;
    std::string displayName() const;
    // The parameter of this name (exact, case included), or nullptr.
    const NodeParameter* findParameter(std::string_view name) const;
    // The switch that turns the effect on and off (off passes the input through): the first
    // parameter of kind Switch, or nullptr when there is none.
    const NodeParameter* onOffSwitch() const {
        for (const NodeParameter& parameter : parameters) {
            if (parameter.kind == ParameterKind::Switch) return &parameter;
        }
        return nullptr;
    }
    // Whether a node of this type takes this many channels.
    bool acceptsChannels(unsigned int channels) const {
        return minChannels <= channels && channels <= maxChannels;
    }
};

}  // namespace ostrana::extensions::audioeffects
