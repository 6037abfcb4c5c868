#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "FxProcess.h"
#include "InProcessChain.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::formatValue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterValue;

constexpr unsigned int kRate = 48000;
constexpr unsigned int kChannels = 2;
// 1.3 s: not a whole number of 512- or 300-frame blocks, so the last block is short.
constexpr std::size_t kFrames = 62400;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

struct RenderCase {
    std::string name;
    std::string type;
    std::vector<std::string> sets;
    std::function<void(Node&)> configure;
};

// Names the case in test output instead of dumping its bytes.
void PrintTo(const RenderCase& renderCase, std::ostream* out) {
    *out << renderCase.name;
}

// Sets the parameter name of a node of type, as the catalogue lists it, to value.
std::function<void(Node&)> setting(const std::string& type, const std::string& name,
                                   ParameterValue value) {
    const NodeParameter* parameter = EffectCatalogue::find(type)->findParameter(name);
    if (parameter == nullptr) throw std::runtime_error(type + " has no parameter " + name);
    return [parameter, value](Node& node) { parameter->write(node, value); };
}

// Applies every one of settings in turn.
std::function<void(Node&)> allOf(std::vector<std::function<void(Node&)>> settings) {
    return [settings](Node& node) {
        for (const auto& set : settings) set(node);
    };
}

// A value of the parameter's kind a third of the way up its range, or two thirds when that is
// its default.
ParameterValue otherValueInRange(const NodeParameter& parameter) {
    for (const double place : {1.0 / 3.0, 2.0 / 3.0}) {
        ParameterValue value;
        if (parameter.kind == ParameterKind::WholeNumber) {
            const double minimum = std::get<unsigned int>(parameter.minimum);
            const double maximum = std::get<unsigned int>(parameter.maximum);
            value = parameter.fromNumber(minimum + place * (maximum - minimum));
        } else {
            const double minimum = std::get<float>(parameter.minimum);
            const double maximum = std::get<float>(parameter.maximum);
            value = parameter.fromNumber(minimum + place * (maximum - minimum));
        }
        if (value != parameter.defaultValue) return value;
    }
    throw std::runtime_error("no other value in the range of " + std::string(parameter.name));
}

// For every node type of the catalogue: its defaults, and every parameter but the switches at
// another value inside its range, given to ostrana-fx as the decimal that formatValue writes.
// The cases are named after the type's subtype ("PingPongDelay", "PingPongDelayDefaults").
std::vector<RenderCase> renderCases() {
    std::vector<RenderCase> cases;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::string type = entry.typeName();
        const std::string subtype = entry.describe().subtype;
        cases.push_back({subtype + "Defaults", type, {}, [](Node&) {}});
        RenderCase changed{subtype, type, {}, {}};
        std::vector<std::function<void(Node&)>> settings;
        for (const NodeParameter& parameter : entry.parameters) {
            if (parameter.kind == ParameterKind::Switch) continue;
            const ParameterValue value = otherValueInRange(parameter);
            changed.sets.push_back(std::string(parameter.name) + "=" + formatValue(value));
            settings.push_back(setting(type, std::string(parameter.name), value));
        }
        changed.configure = allOf(settings);
        cases.push_back(changed);
    }
    return cases;
}

class RenderFixture {
  public:
    RenderFixture() : input(makeTestSignal(kChannels, kFrames, kRate)) {
        WavFile::write(inputPath(), kChannels, kRate, input, kFloatWav);
    }

    std::string inputPath() const { return directory.file("in.wav"); }
    std::string outputPath() const { return directory.file("out.wav"); }

    // Runs render with the given node arguments (and any further options).
    FxRun render(const std::vector<std::string>& arguments) const {
        // --tail 0: the output keeps the input's length, to compare sample for sample.
        std::vector<std::string> all{"render", inputPath(), outputPath(), "--tail", "0"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return FxProcess::run(all);
    }

    TempDirectory directory;
    std::vector<float> input;
};

RenderCase findCase(const std::string& name) {
    for (const RenderCase& renderCase : renderCases()) {
        if (renderCase.name == name) return renderCase;
    }
    throw std::runtime_error("no render case " + name);
}

std::vector<std::string> nodeArguments(const RenderCase& renderCase) {
    std::vector<std::string> arguments{"--node", renderCase.type};
    for (const std::string& set : renderCase.sets) {
        arguments.push_back("--set");
        arguments.push_back(set);
    }
    return arguments;
}

class FxRenderExactnessTest
    : public ::testing::TestWithParam<std::tuple<RenderCase, unsigned int>> {};

TEST_P(FxRenderExactnessTest, FloatOutputEqualsAnInProcessRunBitForBit) {
    const auto& [renderCase, block] = GetParam();
    RenderFixture fixture;
    std::vector<std::string> arguments = nodeArguments(renderCase);
    arguments.insert(arguments.end(), {"--block", std::to_string(block)});
    const FxRun run = fixture.render(arguments);
    ASSERT_EQ(run.exitStatus, 0) << run.err;

    const WavFile output = WavFile::read(fixture.outputPath());
    EXPECT_EQ(output.format, kFloatWav);
    EXPECT_EQ(output.channels, kChannels);
    EXPECT_EQ(output.sampleRate, kRate);
    ASSERT_EQ(output.frames(), kFrames);
    const std::vector<float> expected = renderInProcess({{renderCase.type, renderCase.configure}},
                                                        fixture.input, kChannels, kRate, block);
    EXPECT_EQ(firstBitDifference(output.samples, expected), -1);
    // The effect did something: the output is not just the input.
    EXPECT_NE(firstBitDifference(output.samples, fixture.input), -1);
}

std::string caseName(const ::testing::TestParamInfo<std::tuple<RenderCase, unsigned int>>& info) {
    return std::get<0>(info.param).name + "Block" + std::to_string(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(EveryNodeType, FxRenderExactnessTest,
                         ::testing::Combine(::testing::ValuesIn(renderCases()),
                                            ::testing::Values(512u, 300u)),
                         caseName);

TEST(FxRenderTest, DefaultBlockIs512Frames) {
    RenderFixture fixture;
    const RenderCase chorus = findCase("Chorus");
    ASSERT_EQ(fixture.render(nodeArguments(chorus)).exitStatus, 0);
    const WavFile output = WavFile::read(fixture.outputPath());
    const std::vector<float> expected512 =
        renderInProcess({{chorus.type, chorus.configure}}, fixture.input, kChannels, kRate, 512);
    EXPECT_EQ(firstBitDifference(output.samples, expected512), -1);
}

TEST(FxRenderTest, SetChangesTheRenderedAudio) {
    RenderFixture fixture;
    ASSERT_EQ(fixture.render({"--node", "AudioEffects.Delay"}).exitStatus, 0);
    const WavFile defaults = WavFile::read(fixture.outputPath());
    ASSERT_EQ(
        fixture
            .render({"--node", "AudioEffects.Delay", "--set", "delayMs=50", "--set", "wetMix=0.9"})
            .exitStatus,
        0);
    const WavFile changed = WavFile::read(fixture.outputPath());
    EXPECT_NE(firstBitDifference(defaults.samples, changed.samples), -1);
    const std::vector<float> expected = renderInProcess(
        {{"AudioEffects.Delay", allOf({setting("AudioEffects.Delay", "delayMs", 50u),
                                       setting("AudioEffects.Delay", "wetMix", 0.9f)})}},
        fixture.input, kChannels, kRate, 512);
    EXPECT_EQ(firstBitDifference(changed.samples, expected), -1);
}

TEST(FxRenderTest, DisabledNodesPassTheInputThroughUnchanged) {
    RenderFixture fixture;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::string type = entry.typeName();
        for (const char* off : {"enabled=false", "enabled=0"}) {
            const FxRun run = fixture.render({"--node", type, "--set", off});
            ASSERT_EQ(run.exitStatus, 0) << run.err;
            EXPECT_EQ(
                firstBitDifference(WavFile::read(fixture.outputPath()).samples, fixture.input), -1)
                << type << " " << off;
        }
    }
}

TEST(FxRenderTest, ChainOfTwoNodesEqualsTheSameChainInProcess) {
    RenderFixture fixture;
    const FxRun run = fixture.render({"--node", "AudioEffects.Chorus", "--set", "sweepWidth=0.02",
                                      "--node", "AudioEffects.PingPongDelay", "--set", "delayMs=90",
                                      "--set", "feedbackLevel=0.4", "--block", "256"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const NodeSetup chorus{"AudioEffects.Chorus",
                           setting("AudioEffects.Chorus", "sweepWidth", 0.02f)};
    const std::vector<float> expected =
        renderInProcess({chorus,
                         {"AudioEffects.PingPongDelay",
                          allOf({setting("AudioEffects.PingPongDelay", "delayMs", 90u),
                                 setting("AudioEffects.PingPongDelay", "feedbackLevel", 0.4f)})}},
                        fixture.input, kChannels, kRate, 256);
    EXPECT_EQ(firstBitDifference(WavFile::read(fixture.outputPath()).samples, expected), -1);
    // Each --set went to the node before it: the chorus alone, or the delay alone, differ.
    const std::vector<float> chorusOnly =
        renderInProcess({chorus}, fixture.input, kChannels, kRate, 256);
    EXPECT_NE(firstBitDifference(expected, chorusOnly), -1);
}

TEST(FxRenderTest, DelaysTakeTheirLevelGlideAndBounce) {
    RenderFixture fixture;
    const FxRun run = fixture.render({"--node", "ping-pong-delay", "--set", "bounce=on", "--set",
                                      "level=-6.0206", "--set", "glide=30", "--block", "256"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const std::string type = "AudioEffects.PingPongDelay";
    const std::vector<float> expected = renderInProcess(
        {{type, allOf({setting(type, "bounce", true), setting(type, "level", -6.0206f),
                       setting(type, "glide", 30.0f)})}},
        fixture.input, kChannels, kRate, 256);
    EXPECT_EQ(firstBitDifference(WavFile::read(fixture.outputPath()).samples, expected), -1);
    const std::vector<float> plain =
        renderInProcess({{type, [](Node&) {}}}, fixture.input, kChannels, kRate, 256);
    EXPECT_NE(firstBitDifference(expected, plain), -1);
}

TEST(FxRenderTest, QuietPrintsNothing) {
    RenderFixture fixture;
    const FxRun run = fixture.render({"--node", "AudioEffects.Flanger", "--quiet"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(FxRenderTest, PrintsASummaryLine) {
    RenderFixture fixture;
    const FxRun run =
        fixture.render({"--node", "AudioEffects.Flanger", "--node", "AudioEffects.Vibrato"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(run.err.empty()) << run.err;
    EXPECT_NE(run.out.find("rendered 62400 frames (1.300 s of audio, 2 channels at 48000 Hz)"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find(" times real time"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("AudioEffects.Flanger -> AudioEffects.Vibrato"), std::string::npos);
}

// Integer output without dither: the node output rounded to the nearest step (within half a
// step of it), clipped at full scale (the top step is one below +1.0).
void expectQuantisedOutput(const std::string& format, int subtype, double step) {
    TempDirectory directory;
    // Loud input: the chorus adds 0.8 of its delayed signal and goes beyond full scale.
    const std::vector<float> input = makeTestSignal(kChannels, kFrames, kRate, 0.95f);
    WavFile::write(directory.file("in.wav"), kChannels, kRate, input, kFloatWav);
    const FxRun run = FxProcess::run({"render", directory.file("in.wav"), directory.file("out.wav"),
                                      "--tail", "0", "--node", "AudioEffects.Chorus", "--format",
                                      format, "--dither", "none"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const WavFile output = WavFile::read(directory.file("out.wav"));
    EXPECT_EQ(output.format, SF_FORMAT_WAV | subtype);
    ASSERT_EQ(output.frames(), kFrames);
    const std::vector<float> expected =
        renderInProcess({{"AudioEffects.Chorus"}}, input, kChannels, kRate, 512);
    std::size_t clipped = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const double target = std::fmax(-1.0, std::fmin(1.0, static_cast<double>(expected[i])));
        clipped += std::fabs(expected[i]) > 1.0f ? 1 : 0;
        const double allowed = target > 1.0 - step ? step : step / 2.0;
        ASSERT_LE(std::fabs(output.samples[i] - target), allowed) << "sample " << i;
    }
    EXPECT_GT(clipped, 0u) << "the test signal should reach beyond full scale";
}

TEST(FxRenderTest, Pcm16OutputHoldsTheQuantisedClippedResult) {
    expectQuantisedOutput("pcm16", SF_FORMAT_PCM_16, 1.0 / 32768.0);
}

TEST(FxRenderTest, Pcm24OutputHoldsTheQuantisedClippedResult) {
    expectQuantisedOutput("pcm24", SF_FORMAT_PCM_24, 1.0 / 8388608.0);
}

TEST(FxRenderTest, AcceptsOtherInputFormats) {
    TempDirectory directory;
    const std::vector<float> input = makeTestSignal(1, 24000, 44100);
    WavFile::write(directory.file("in.flac"), 1, 44100, input, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    WavFile::write(directory.file("in.aiff"), 1, 44100, input, SF_FORMAT_AIFF | SF_FORMAT_FLOAT);
    for (const char* name : {"in.flac", "in.aiff"}) {
        const FxRun run =
            FxProcess::run({"render", directory.file(name), directory.file("out.wav"), "--tail",
                            "0", "--format", "float", "--node", "AudioEffects.Delay"});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        const WavFile decoded = WavFile::read(directory.file(name));
        const WavFile output = WavFile::read(directory.file("out.wav"));
        EXPECT_EQ(output.channels, 1u);
        EXPECT_EQ(output.sampleRate, 44100u);
        const std::vector<float> expected =
            renderInProcess({{"AudioEffects.Delay"}}, decoded.samples, 1, 44100, 512);
        EXPECT_EQ(firstBitDifference(output.samples, expected), -1) << name;
    }
}

// Counts the program's allocations with a preloaded malloc. A render through a chain of every
// node type of the catalogue in blocks of 16 frames (thousands of blocks) must allocate exactly
// as often as one in blocks of 4096: nothing is allocated per block, neither by the nodes nor
// by the loop around them.
TEST(FxRenderTest, AllocatesNothingPerBlock) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer runtime must be the first library loaded; nothing to preload";
#else
    RenderFixture fixture;
    std::vector<std::string> chain{"render", fixture.inputPath(), fixture.outputPath(), "--tail",
                                   "0"};
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        chain.insert(chain.end(), {"--node", entry.typeName()});
    }
    auto allocationsWithBlock = [&fixture, &chain](const std::string& block) {
        const std::string countFile = fixture.directory.file("count-" + block);
        std::vector<std::string> arguments = chain;
        arguments.insert(arguments.end(), {"--block", block});
        const FxRun run = FxProcess::runWithEnvironment(
            arguments,
            {"LD_PRELOAD=" OSTRANA_FX_MALLOC_COUNTER, "OSTRANA_FX_MALLOC_COUNT_FILE=" + countFile});
        EXPECT_EQ(run.exitStatus, 0) << run.err;
        return std::stoul(readBytes(countFile));
    };
    const unsigned long fewBlocks = allocationsWithBlock("4096");
    const unsigned long manyBlocks = allocationsWithBlock("16");
    EXPECT_GT(fewBlocks, 0u) << "the counter counted nothing";
    EXPECT_EQ(manyBlocks, fewBlocks);
#endif
}

TEST(FxProgressBarTest, DrawnOnATerminalUnlessQuiet) {
    if (!FxProcess::terminalAvailable()) GTEST_SKIP() << "no pseudo terminal on this machine";
    RenderFixture fixture;
    const std::vector<std::string> base{"render", fixture.inputPath(), fixture.outputPath(),
                                        "--node", "AudioEffects.Delay"};
    const FxRun terminal = FxProcess::runWithTerminalStderr(base);
    ASSERT_EQ(terminal.exitStatus, 0) << terminal.err;
    EXPECT_NE(terminal.err.find("rendering ["), std::string::npos) << terminal.err;
    EXPECT_NE(terminal.err.find("100%"), std::string::npos) << terminal.err;

    std::vector<std::string> quiet = base;
    quiet.push_back("--quiet");
    const FxRun silenced = FxProcess::runWithTerminalStderr(quiet);
    ASSERT_EQ(silenced.exitStatus, 0) << silenced.err;
    EXPECT_TRUE(silenced.err.empty()) << silenced.err;

    const FxRun piped = FxProcess::run(base);
    ASSERT_EQ(piped.exitStatus, 0) << piped.err;
    EXPECT_TRUE(piped.err.empty()) << piped.err;
}

// Each redraw of the bar, its erase sequences taken out.
std::vector<std::string> progressLines(const std::string& err) {
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i <= err.size(); ++i) {
        if (i == err.size() || err[i] == '\r') {
            if (!line.empty()) lines.push_back(line);
            line.clear();
        } else if (err.compare(i, 3, "\033[K") == 0) {
            i += 2;
        } else {
            line += err[i];
        }
    }
    return lines;
}

TEST(FxRenderTest, ProgressBarFitsTheTerminalAndShowsTheTime) {
    if (!FxProcess::terminalAvailable()) GTEST_SKIP() << "no pseudo terminal on this machine";
    RenderFixture fixture;
    const std::vector<std::string> base{"render", fixture.inputPath(), fixture.outputPath(),
                                        "--node", "AudioEffects.Delay"};
    for (unsigned short columns : {30, 120}) {
        const FxRun run = FxProcess::runWithTerminalStderr(base, columns);
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        EXPECT_EQ(run.err.find('\n'), std::string::npos) << "a new line in " << run.err;
        const std::vector<std::string> lines = progressLines(run.err);
        ASSERT_FALSE(lines.empty());
        for (const std::string& line : lines) {
            EXPECT_LT(line.size(), columns) << line;
            EXPECT_NE(line.find("elapsed"), std::string::npos) << line;
        }
        if (columns == 120) {
            EXPECT_NE(lines.back().find("rendering ["), std::string::npos) << lines.back();
            EXPECT_NE(lines.back().find(" left"), std::string::npos) << lines.back();
        }
    }
}

}  // namespace
}  // namespace ostrana::fx::testing
