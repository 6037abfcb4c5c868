#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Renderer.h"

namespace ostrana::fx {

// A --set NAME=VALUE or a --preset NAME, for the --node before it.
struct NodeSetting {
    enum class Kind { Assignment, Preset };
    Kind kind;
    std::string text;
};

// One --node of a render with the --set and --preset options that follow it, in command-line
// order (a later one overrides what an earlier one set).
struct ChainEntry {
    std::string type;
    std::vector<NodeSetting> settings;
};

// Everything `ostrana-fx render` was asked to do.
struct RenderOptions {
    // IN... (and OUT as the last file, without --output-dir).
    std::vector<std::string> files;
    std::string outputDirectory;
    std::vector<ChainEntry> nodes;
    // Settings given before the first --node: always an error, reported as such.
    std::vector<NodeSetting> orphanSettings;
    unsigned int blockFrames = 512;
    std::string encoding;  // --format: empty to follow the input
    std::string typeName;  // --type: the output container, empty to follow OUT's extension
    std::string tail = "auto";
    double tailMaxSeconds = 30.0;  // --tail-max: the longest automatic tail
    std::string dither = "auto";   // --dither: triangular, none, or auto (by the bit depths)
    std::string suffix;            // --suffix: added to each output's name in a batch
    bool force = false;  // --force: replace write-protected outputs and, in a batch, the inputs
    // Finishing: --gain DB, --normalize [PEAK_DB], --trim START[,LENGTH], --fade-in and
    // --fade-out SECONDS, --quality Q; unset where not given.
    std::optional<double> gainDb;
    std::optional<double> normalizePeakDb;
    std::string trim;
    double fadeInSeconds = 0.0;
    double fadeOutSeconds = 0.0;
    std::optional<double> quality;
    std::string channels;  // --channels: the input channels the chain processes
    bool allowOutOfRange = false;
    bool upmix = false;
    bool sanitize = false;
    bool strict = false;
    bool quiet = false;
};

}  // namespace ostrana::fx
