#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <ostrana/audioeffects/NodeTypeEntry.h>

namespace ostrana::lv2::testing {

// A plug-in the bundle must hold, as the catalogue and the URI scheme say: a stereo plug-in
// for each node type that takes two channels, a mono one for each that takes one, and a
// mono-to-stereo one (one input fed to both channels) for the ping-pong delay and the swept
// effects.
struct ExpectedPlugin {
    const extensions::audioeffects::NodeTypeEntry* entry = nullptr;
    unsigned int channels = 0;
    std::string uri;
    // One input fed to both channels.
    bool monoToStereo = false;

    // The audio inputs: channels, or 1 for mono-to-stereo.
    unsigned int inputs() const { return monoToStereo ? 1 : channels; }

    // A delay follows the host's tempo: after the catalogue's controls come two of its own,
    // sync and division, and an atom input, time.
    bool hasTempoSync() const { return entry->findParameter("delayMs") != nullptr; }
    std::size_t controlInputs() const {
        return entry->parameters.size() + (hasTempoSync() ? 2 : 0);
    }
    std::size_t portCount() const {
        return inputs() + channels + controlInputs() + (hasTempoSync() ? 1 : 0);
    }

    std::string label() const;  // "delay_mono", "chorus_mono_stereo", for test names
};

std::vector<ExpectedPlugin> expectedPlugins();

// How the plug-ins show a parameter at its port: a parameter in seconds in milliseconds (1000
// per second), every other one in its own unit (1 per unit).
struct PortUnit {
    extensions::audioeffects::ParameterUnit unit;
    float perParameterUnit;
};
PortUnit portUnitOf(const extensions::audioeffects::ParameterDefinition& parameter);
// A port value as the parameter's value (one float division, as the plug-in does it).
extensions::audioeffects::ParameterValue parameterValueOf(
    const extensions::audioeffects::ParameterDefinition& parameter, double portValue);
// A parameter's value as its port shows it.
float portValueOf(const extensions::audioeffects::ParameterDefinition& parameter,
                  const extensions::audioeffects::ParameterValue& value);

// The value a plug-in's port starts at: the parameter's default as its port shows it, except
// the delays' glide, which the plug-ins start at 50 ms so that automation glides.
float portDefaultOf(const extensions::audioeffects::ParameterDefinition& parameter);

// How GoogleTest prints a plug-in in a test's parameters: its URI.
void PrintTo(const ExpectedPlugin& plugin, std::ostream* stream);

// The build's bundle folder and the folder that contains it (for LV2_PATH), with a final '/'.
std::string bundleDirectory();
std::string bundleParentDirectory();

}  // namespace ostrana::lv2::testing
