#include "DemoCommand.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "CommandError.h"
#include "DemoSignal.h"
#include "LevelMeter.h"
#include "MemorySource.h"
#include "NodeCatalog.h"
#include "NodeChain.h"
#include "Renderer.h"
#include "SoundFileFormat.h"
#include "SoundFileWriter.h"

namespace ostrana::fx {

namespace {

constexpr unsigned int kBlockFrames = 512;

std::string formatDecibels(double level) {
    const double decibels = LevelMeter::toDecibels(level);
    if (std::isinf(decibels)) return "-inf";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", decibels);
    return text;
}

std::string padded(const std::string& text, std::size_t width) {
    return text.size() >= width ? text + " " : text + std::string(width - text.size(), ' ');
}

std::string rightAligned(const std::string& text, std::size_t width) {
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

}  // namespace

std::string DemoCommand::fileNameFor(const std::string& type) {
    const std::size_t dot = type.rfind('.');
    const std::string subtype = dot == std::string::npos ? type : type.substr(dot + 1);
    std::string name;
    for (char c : subtype) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (std::isupper(byte) && !name.empty()) name += '-';
        name += std::isalnum(byte) ? static_cast<char>(std::tolower(byte)) : '-';
    }
    return (name.empty() ? "node" : name) + ".wav";
}

// Renders the signal through a node of type (none for an empty type) into directory.
DemoCommand::Row DemoCommand::renderOne(const std::vector<float>& signal,
                                        const std::string& directory, const std::string& type,
                                        const std::string& fileName) {
    NodeChain chain;
    if (!type.empty()) chain.addNode(type);
    chain.prepare(DemoSignal::kChannels, DemoSignal::kSampleRate, kBlockFrames, "demo signal");
    MemorySource source(signal, DemoSignal::kChannels, DemoSignal::kSampleRate);
    const std::string path = (std::filesystem::path(directory) / fileName).string();
    SoundFileWriter writer(path, DemoSignal::kChannels, DemoSignal::kSampleRate,
                           SoundFileFormat::choose(SF_FORMAT_WAV, SF_FORMAT_FLOAT, 0,
                                                   DemoSignal::kChannels, DemoSignal::kSampleRate));
    LevelMeter meter;
    Renderer renderer(source, chain, writer, kBlockFrames);
    renderer.setLevelMeter(&meter);
    renderer.run();
    writer.commit();
    return Row{fileName, type.empty() ? "(dry signal)" : type, meter.peak(), meter.rms()};
}

void DemoCommand::printTable(std::ostream& out, const std::string& directory,
                             const std::vector<Row>& rows) {
    char heading[160];
    std::snprintf(heading, sizeof heading,
                  "Wrote %zu files to %s: %.2f s of stereo audio at %u Hz, each effect with its "
                  "defaults.",
                  rows.size(), directory.c_str(), DemoSignal::kSeconds, DemoSignal::kSampleRate);
    out << heading << "\n\n";
    out << "  " << padded("file", 22) << padded("source", 30) << rightAligned("peak dBFS", 10)
        << rightAligned("RMS dBFS", 10) << "\n";
    for (const Row& row : rows) {
        out << "  " << padded(row.fileName, 22) << padded(row.source, 30)
            << rightAligned(formatDecibels(row.peak), 10)
            << rightAligned(formatDecibels(row.rms), 10) << "\n";
    }
}

void DemoCommand::run(const std::string& directory, std::ostream& out) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        throw CommandError::failure("cannot create output directory '" + directory +
                                    "': " + error.message());
    }
    const std::vector<float> signal = DemoSignal::synthesise();
    std::vector<Row> rows;
    rows.push_back(renderOne(signal, directory, "", "dry.wav"));
    for (const std::string& type : NodeCatalog::typeNames()) {
        rows.push_back(renderOne(signal, directory, type, fileNameFor(type)));
    }
    printTable(out, directory, rows);
}

}  // namespace ostrana::fx
