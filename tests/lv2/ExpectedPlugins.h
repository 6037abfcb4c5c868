#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <ostrana/audioeffects/NodeTypeEntry.h>

namespace ostrana::lv2::testing {

// A plug-in the bundle must hold, as the catalogue and the URI scheme say: a stereo plug-in
// for each node type that takes two channels, a mono one for each that takes one.
struct ExpectedPlugin {
    const extensions::audioeffects::NodeTypeEntry* entry = nullptr;
    unsigned int channels = 0;
    std::string uri;

    std::string label() const;  // "delay-mono", for test names
};

std::vector<ExpectedPlugin> expectedPlugins();

// How GoogleTest prints a plug-in in a test's parameters: its URI.
void PrintTo(const ExpectedPlugin& plugin, std::ostream* stream);

// The build's bundle folder and the folder that contains it (for LV2_PATH), with a final '/'.
std::string bundleDirectory();
std::string bundleParentDirectory();

}  // namespace ostrana::lv2::testing
