#include "PluginVariant.h"

namespace ostrana::lv2 {

namespace {

// Channel suffixes beyond one channel: left and right.
constexpr std::string_view kSymbolSuffixes[] = {"_l", "_r"};
constexpr std::string_view kNameSuffixes[] = {" L", " R"};

}  // namespace

std::uint32_t PluginVariant::portCount() const {
    return controlPort(controls.size()) + (tempoSync ? 1 : 0);
}

std::string PluginVariant::audioPortSymbol(bool input, unsigned int channel) const {
    std::string symbol = input ? "in" : "out";
    if ((input ? inputs : channels) > 1) symbol += kSymbolSuffixes[channel];
    return symbol;
}

std::string PluginVariant::audioPortName(bool input, unsigned int channel) const {
    std::string name = input ? "In" : "Out";
    if ((input ? inputs : channels) > 1) name += kNameSuffixes[channel];
    return name;
}

}  // namespace ostrana::lv2
