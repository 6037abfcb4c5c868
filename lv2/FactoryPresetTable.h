#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace ostrana::lv2 {

// One control value of a factory preset: a catalogue parameter's name and a number.
struct PresetSetting {
    std::string_view parameter;
    double value;
};

// A factory preset of a node type's plug-ins. Parameters it does not name keep the
// catalogue's default.
struct FactoryPreset {
    std::string_view shortName;
    // The last part of the preset's URI, and its label for people.
    std::string_view slug;
    std::string_view label;
    std::span<const PresetSetting> settings;
};

// The factory presets, by the catalogue's short name: settings a person would reach for. A
// fact of the LV2 front end; a node type the table does not know has none.
class FactoryPresetTable {
  public:
    static std::span<const FactoryPreset> all();
    static std::vector<const FactoryPreset*> presetsFor(std::string_view shortName);
};

}  // namespace ostrana::lv2
