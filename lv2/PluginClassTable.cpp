#include "PluginClassTable.h"

namespace ostrana::lv2 {

namespace {

struct ClassEntry {
    std::string_view shortName;
    std::string_view lv2Class;
};

constexpr ClassEntry kClasses[] = {
    {"delay", "DelayPlugin"},     {"ping-pong-delay", "DelayPlugin"}, {"chorus", "ChorusPlugin"},
    {"flanger", "FlangerPlugin"}, {"vibrato", "ModulatorPlugin"},
};

}  // namespace

std::string_view PluginClassTable::classOf(std::string_view shortName) {
    for (const ClassEntry& entry : kClasses) {
        if (entry.shortName == shortName) return entry.lv2Class;
    }
    return "Plugin";
}

}  // namespace ostrana::lv2
