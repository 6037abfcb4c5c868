#include "StatsCommand.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <vector>

#include "LevelMeter.h"
#include "SoundFileFormat.h"
#include "SoundFileReader.h"

namespace ostrana::fx {

namespace {

// The levels of one channel, or of all together.
struct Levels {
    double peak = 0.0;
    double sumOfSquares = 0.0;
    double sum = 0.0;
    std::uint64_t clipped = 0;
    std::uint64_t samples = 0;

    void add(float sample) {
        const double value = sample;
        peak = std::max(peak, std::fabs(value));
        sumOfSquares += value * value;
        sum += value;
        if (std::fabs(value) >= 1.0) ++clipped;
        ++samples;
    }
    double rms() const { return samples == 0 ? 0.0 : std::sqrt(sumOfSquares / samples); }
    double dc() const { return samples == 0 ? 0.0 : sum / samples; }
};

nlohmann::ordered_json levelsJson(const Levels& levels) {
    nlohmann::ordered_json json;
    json["peak"] = levels.peak;
    json["peak_dbfs"] = LevelMeter::toDecibels(levels.peak);
    json["rms"] = levels.rms();
    json["rms_dbfs"] = LevelMeter::toDecibels(levels.rms());
    json["dc_offset"] = levels.dc();
    json["clipped_samples"] = levels.clipped;
    return json;
}

std::string decibels(double level) {
    char text[32];
    if (level > 0.0) {
        std::snprintf(text, sizeof text, "%.2f dBFS", LevelMeter::toDecibels(level));
    } else {
        std::snprintf(text, sizeof text, "-inf dBFS");
    }
    return text;
}

void printLevels(std::ostream& out, const std::string& title, const Levels& levels) {
    char dc[32];
    std::snprintf(dc, sizeof dc, "%.6f", levels.dc());
    out << title << "peak " << decibels(levels.peak) << ", RMS " << decibels(levels.rms())
        << ", DC offset " << dc << ", " << levels.clipped << " clipped\n";
}

}  // namespace

void StatsCommand::run(const std::string& path, bool json, std::ostream& out) {
    SoundFileReader reader(path);
    const unsigned int channels = reader.channels();
    std::vector<Levels> perChannel(channels);
    Levels all;
    std::vector<float> chunk(8192 * channels);
    std::uint64_t frames = 0;
    for (std::size_t got = 0; (got = reader.readFrames(chunk.data(), 8192)) > 0; frames += got) {
        for (std::size_t i = 0; i < got * channels; ++i) {
            perChannel[i % channels].add(chunk[i]);
            all.add(chunk[i]);
        }
    }
    const double seconds = static_cast<double>(frames) / reader.sampleRate();
    if (json) {
        nlohmann::ordered_json result;
        result["file"] = path;
        result["format"] = SoundFileFormat::describe(reader.format());
        result["channels"] = channels;
        result["sample_rate"] = reader.sampleRate();
        result["frames"] = frames;
        result["seconds"] = seconds;
        result["levels"] = levelsJson(all);
        result["channel_levels"] = nlohmann::ordered_json::array();
        for (const Levels& levels : perChannel)
            result["channel_levels"].push_back(levelsJson(levels));
        out << result.dump(2) << "\n";
        return;
    }
    char length[64];
    std::snprintf(length, sizeof length, "%.3f s", seconds);
    out << "'" << path << "': " << SoundFileFormat::describe(reader.format()) << ", " << channels
        << (channels == 1 ? " channel" : " channels") << " at " << reader.sampleRate() << " Hz, "
        << frames << (frames == 1 ? " frame" : " frames") << " (" << length << ")\n";
    printLevels(out, "  all:       ", all);
    for (unsigned int channel = 0; channel < channels; ++channel) {
        std::string title = "  channel " + std::to_string(channel + 1) + ":";
        title.resize(13, ' ');
        printLevels(out, title, perChannel[channel]);
    }
}

}  // namespace ostrana::fx
