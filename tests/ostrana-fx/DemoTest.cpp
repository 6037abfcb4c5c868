#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "FxProcess.h"
#include "InProcessChain.h"
#include "TempDirectory.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

struct EffectFile {
    std::string fileName;
    std::string type;
};

// One file for each node type of the catalogue, named after its short name.
std::vector<EffectFile> effectFiles() {
    std::vector<EffectFile> files;
    for (const auto& entry : extensions::audioeffects::EffectCatalogue::nodeTypes()) {
        files.push_back({std::string(entry.shortName) + ".wav", entry.typeName()});
    }
    return files;
}

std::string decibels(double level) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", 20.0 * std::log10(level));
    return text;
}

float peakOf(const std::vector<float>& samples) {
    float peak = 0.0f;
    for (float sample : samples) peak = std::fmax(peak, std::fabs(sample));
    return peak;
}

double rmsOf(const std::vector<float>& samples) {
    double sum = 0.0;
    for (float sample : samples) sum += static_cast<double>(sample) * sample;
    return std::sqrt(sum / static_cast<double>(samples.size()));
}

// The table line that names fileName.
std::string lineWith(const std::string& text, const std::string& fileName) {
    const std::size_t at = text.find("  " + fileName + " ");
    if (at == std::string::npos) return "";
    return text.substr(at, text.find('\n', at) - at);
}

class FxDemoTest : public ::testing::Test {
  protected:
    void SetUp() override {
        run = FxProcess::run({"demo", directory.file("out")});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
    }

    std::string path(const std::string& fileName) const {
        return directory.file("out/" + fileName);
    }

    TempDirectory directory;
    FxRun run;
};

TEST_F(FxDemoTest, WritesADrySignalOfAFewStereoSecondsAt48kHz) {
    const WavFile dry = WavFile::read(path("dry.wav"));
    EXPECT_EQ(dry.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    EXPECT_EQ(dry.channels, 2u);
    EXPECT_EQ(dry.sampleRate, 48000u);
    EXPECT_GE(dry.frames(), 2u * 48000u);
    EXPECT_LE(dry.frames(), 10u * 48000u);
    EXPECT_GT(peakOf(dry.samples), 0.1f);
    EXPECT_LE(peakOf(dry.samples), 1.0f);
    // Stereo in earnest: the channels differ.
    bool channelsDiffer = false;
    for (std::size_t f = 0; f < dry.frames() && !channelsDiffer; ++f) {
        channelsDiffer = dry.samples[2 * f] != dry.samples[2 * f + 1];
    }
    EXPECT_TRUE(channelsDiffer);
}

TEST_F(FxDemoTest, WritesOneFileForEachEffectRenderedWithItsDefaults) {
    std::vector<std::string> expectedFiles{"dry.wav"};
    for (const EffectFile& effect : effectFiles()) expectedFiles.push_back(effect.fileName);
    std::sort(expectedFiles.begin(), expectedFiles.end());
    std::vector<std::string> written;
    for (const auto& entry : std::filesystem::directory_iterator(directory.file("out"))) {
        written.push_back(entry.path().filename().string());
    }
    std::sort(written.begin(), written.end());
    EXPECT_EQ(written, expectedFiles);

    const WavFile dry = WavFile::read(path("dry.wav"));
    for (const EffectFile& effect : effectFiles()) {
        const WavFile wet = WavFile::read(path(effect.fileName));
        EXPECT_EQ(wet.channels, 2u);
        EXPECT_EQ(wet.sampleRate, 48000u);
        const std::vector<float> expected =
            renderInProcess({{effect.type}}, dry.samples, 2, 48000, 512);
        EXPECT_EQ(firstBitDifference(wet.samples, expected), -1) << effect.fileName;
    }
}

TEST_F(FxDemoTest, PrintsATableWithPeakAndRmsOfEachFile) {
    EXPECT_NE(run.out.find("peak dBFS"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("RMS dBFS"), std::string::npos) << run.out;
    std::vector<EffectFile> files{{"dry.wav", "(dry signal)"}};
    const std::vector<EffectFile> effects = effectFiles();
    files.insert(files.end(), effects.begin(), effects.end());
    for (const EffectFile& file : files) {
        const std::string line = lineWith(run.out, file.fileName);
        ASSERT_FALSE(line.empty()) << file.fileName << " missing from:\n" << run.out;
        EXPECT_NE(line.find(file.type), std::string::npos) << line;
        const WavFile wav = WavFile::read(path(file.fileName));
        // The last two columns: peak, then RMS, each in dBFS with two decimals.
        const std::string peak = decibels(peakOf(wav.samples));
        const std::string rms = decibels(rmsOf(wav.samples));
        const std::size_t rmsAt = line.rfind(' ') + 1;
        EXPECT_EQ(line.substr(rmsAt), rms) << line;
        const std::string beforeRms = line.substr(0, line.find_last_not_of(' ', rmsAt - 1) + 1);
        EXPECT_EQ(beforeRms.substr(beforeRms.rfind(' ') + 1), peak) << line;
    }
}

TEST_F(FxDemoTest, IsTheSameOnEveryRun) {
    TempDirectory second;
    const FxRun again = FxProcess::run({"demo", second.file("out")});
    ASSERT_EQ(again.exitStatus, 0) << again.err;
    // Whole files, headers included (compared as booleans: they are megabytes long).
    EXPECT_TRUE(readBytes(second.file("out/dry.wav")) == readBytes(path("dry.wav")));
    for (const EffectFile& effect : effectFiles()) {
        EXPECT_TRUE(readBytes(second.file("out/" + effect.fileName)) ==
                    readBytes(path(effect.fileName)))
            << effect.fileName;
    }
}

TEST(FxDemoDirectoryTest, WritesIntoDemoOutByDefault) {
    TempDirectory directory;
    const FxRun run = FxProcess::run({"demo"}, directory.path());
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(std::filesystem::exists(directory.file("demo-out/dry.wav")));
    EXPECT_TRUE(std::filesystem::exists(directory.file("demo-out/chorus.wav")));
}

TEST(FxDemoDirectoryTest, DirectoryThatCannotBeMadeIsAFailure) {
    TempDirectory directory;
    writeBytes(directory.file("occupied"), "a file, not a directory\n");
    const FxRun run = FxProcess::run({"demo", directory.file("occupied")});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_NE(run.err.find("ostrana-fx demo: error: "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("occupied"), std::string::npos) << run.err;
    EXPECT_EQ(readBytes(directory.file("occupied")), "a file, not a directory\n");
}

}  // namespace
}  // namespace ostrana::fx::testing
