// ostrana-lv2-turtle: writes the bundle's Turtle files from the effect catalogue at build time.
// Usage: ostrana-lv2-turtle BUNDLE_DIR BINARY_FILE_NAME MINOR_VERSION MICRO_VERSION
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include "ManifestTurtle.h"
#include "PluginTurtle.h"
#include "PresetTurtle.h"

namespace {

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: ostrana-lv2-turtle BUNDLE_DIR BINARY_FILE_NAME MINOR MICRO\n";
        return 2;
    }
    using namespace ostrana::lv2;
    try {
        const std::string directory = std::string(argv[1]) + "/";
        const BundleVersion version{static_cast<unsigned int>(std::stoul(argv[3])),
                                    static_cast<unsigned int>(std::stoul(argv[4]))};
        writeFile(directory + ManifestTurtle::kFileName, ManifestTurtle::text(argv[2]));
        writeFile(directory + PluginTurtle::kFileName, PluginTurtle::text(version));
        writeFile(directory + PresetTurtle::kFileName, PresetTurtle::text());
    } catch (const std::exception& error) {
        std::cerr << "ostrana-lv2-turtle: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
