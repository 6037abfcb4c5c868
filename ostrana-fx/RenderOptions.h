#pragma once

#include <string>
#include <vector>

#include "SoundFileWriter.h"

namespace ostrana::fx {

// One --node of a render with the --set assignments that follow it, in command-line order.
struct ChainEntry {
    std::string type;
    std::vector<std::string> assignments;
};

// Everything `ostrana-fx render` was asked to do.
struct RenderOptions {
    std::string inputPath;
    std::string outputPath;
    std::vector<ChainEntry> nodes;
    // Assignments given before the first --node: always an error, reported as such.
    std::vector<std::string> orphanAssignments;
    unsigned int blockFrames = 512;
    OutputFormat format = OutputFormat::Float;
    bool quiet = false;
};

}  // namespace ostrana::fx
