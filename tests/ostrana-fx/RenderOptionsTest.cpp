// ostrana-fx's parameters, tails, channel groups, warnings, batches and version, run through
// the real program.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
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
using extensions::audioeffects::kindName;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr unsigned int kRate = 48000;

TEST(FxParamsTest, TableListsEveryParameterWithItsFacts) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const FxRun run = FxProcess::run({"params", std::string(entry.shortName)});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        EXPECT_NE(run.out.find(entry.typeName()), std::string::npos) << run.out;
        for (const NodeParameter& parameter : entry.parameters) {
            for (const std::string& fact :
                 {std::string(parameter.name), std::string(kindName(parameter.kind)),
                  formatValue(parameter.defaultValue), parameter.rangeText(),
                  std::string(parameter.description)}) {
                EXPECT_NE(run.out.find(fact), std::string::npos) << fact << " in\n" << run.out;
            }
        }
    }
}

TEST(FxParamsTest, DelaysListTheirLevelAndGlideAndThePingPongItsBounce) {
    for (const char* node : {"delay", "ping-pong-delay"}) {
        const FxRun run = FxProcess::run({"params", node});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        for (const char* fact : {"level", "-60 to 12 dB", "glide", "0 to 500 ms"}) {
            EXPECT_NE(run.out.find(fact), std::string::npos) << fact << " in\n" << run.out;
        }
        const bool bounces = std::string_view(node) == "ping-pong-delay";
        EXPECT_EQ(run.out.find("bounce") != std::string::npos, bounces) << run.out;
    }
}

TEST(FxParamsTest, JsonGivesEveryParameterAsTheCatalogueHasIt) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const FxRun run = FxProcess::run({"params", entry.typeName(), "--json"});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        const nlohmann::json document = nlohmann::json::parse(run.out);
        EXPECT_EQ(document["type"], entry.typeName());
        ASSERT_EQ(document["parameters"].size(), entry.parameters.size());
        for (std::size_t i = 0; i < entry.parameters.size(); ++i) {
            const nlohmann::json& parameter = document["parameters"][i];
            EXPECT_EQ(parameter["name"], std::string(entry.parameters[i].name));
            EXPECT_EQ(parameter["kind"], std::string(kindName(entry.parameters[i].kind)));
            EXPECT_EQ(parameter["description"], std::string(entry.parameters[i].description));
        }
    }
}

// The line of `params` output that names the parameter, or "".
std::string lineOf(const std::string& out, const std::string& parameter) {
    std::size_t start = 0;
    while (start < out.size()) {
        const std::size_t end = std::min(out.find('\n', start), out.size());
        const std::string line = out.substr(start, end - start);
        const std::size_t first = line.find_first_not_of(' ');
        if (first != std::string::npos &&
            line.compare(first, parameter.size() + 1, parameter + " ") == 0) {
            return line;
        }
        start = end + 1;
    }
    return "";
}

TEST(FxParamsTest, FlangerListsItsLevelMixFeedbackStereoPhaseAndGlide) {
    const FxRun run = FxProcess::run({"params", "flanger"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const struct {
        const char* name;
        const char* range;
        const char* byDefault;
    } expected[] = {{"level", "-60 to 12 dB", "0"},
                    {"mix", "0 to 1", "1"},
                    {"stereoPhase", "0 to 180 deg", "90"},
                    {"feedback", "-0.95 to 0.95", "0.6"},
                    {"glide", "0 to 500 ms", "0"}};
    for (const auto& parameter : expected) {
        const std::string line = lineOf(run.out, parameter.name);
        EXPECT_NE(line.find(parameter.range), std::string::npos) << parameter.name << ":\n"
                                                                 << run.out;
        EXPECT_NE(line.find(std::string(" ") + parameter.byDefault + " "), std::string::npos)
            << line;
    }
}

TEST(FxParamsTest, NodeTypesAreFoundByShortNameInAnyCase) {
    const FxRun run = FxProcess::run({"params", "PING-PONG-delay"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_NE(run.out.find("AudioEffects.PingPongDelay"), std::string::npos);
    const FxRun unknown = FxProcess::run({"params", "chorsu"});
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_NE(unknown.err.find("did you mean 'chorus'?"), std::string::npos) << unknown.err;
}

TEST(FxVersionTest, PrintsTheBuildsVersion) {
    const FxRun run = FxProcess::run({"--version"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.out.rfind("ostrana-fx ", 0), 0u) << run.out;
    EXPECT_NE(run.out.find('.'), std::string::npos) << run.out;
}

// A directory holding a short stereo float input.
class FxRenderOptionsTest : public ::testing::Test {
  protected:
    static constexpr std::size_t kFrames = 4800;

    void SetUp() override {
        input = makeTestSignal(2, kFrames, kRate);
        WavFile::write(directory.file("in.wav"), 2, kRate, input, kFloatWav);
    }

    FxRun render(const std::vector<std::string>& arguments, const std::string& in = "in.wav") {
        std::vector<std::string> all{"render", directory.file(in), directory.file("out.wav")};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return FxProcess::run(all);
    }

    TempDirectory directory;
    std::vector<float> input;
};

TEST_F(FxRenderOptionsTest, FixedTailAppendsExactlyThatMuchAndPlaysTheEchoOut) {
    const FxRun run = render({"--tail", "0.5", "--node", "delay", "--set", "delayMs=300"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const WavFile output = WavFile::read(directory.file("out.wav"));
    ASSERT_EQ(output.frames(), kFrames + kRate / 2);
    // The same as rendering the input with half a second of silence after it.
    std::vector<float> padded = input;
    padded.resize((kFrames + kRate / 2) * 2, 0.0f);
    const std::vector<float> delayExpected = renderInProcess(
        {{"AudioEffects.Delay",
          [](Node& node) {
              EffectCatalogue::find("delay")->findParameter("delayMs")->write(node, 300u);
          }}},
        padded, 2, kRate, 512);
    EXPECT_EQ(firstBitDifference(output.samples, delayExpected), -1);
    // The echo of the input's end lies in the tail.
    float tailPeak = 0.0f;
    for (std::size_t i = kFrames * 2; i < output.samples.size(); ++i) {
        tailPeak = std::max(tailPeak, std::fabs(output.samples[i]));
    }
    EXPECT_GT(tailPeak, 0.01f);
}

TEST_F(FxRenderOptionsTest, AutomaticTailIsTheDefaultAndEndsAfterAQuietDelayTime) {
    const FxRun run = render({"--node", "delay"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const WavFile output = WavFile::read(directory.file("out.wav"));
    // The delay's default 200 ms: a quiet stretch that long ends the tail, echoes included.
    const std::size_t quiet = kRate / 5;
    ASSERT_GT(output.frames(), kFrames + quiet);
    ASSERT_LT(output.frames(), kFrames + 30 * kRate);
    // The last 200 ms are below -100 dBFS, and the frame before them is not.
    const std::size_t quietFrom = output.frames() - quiet;
    for (std::size_t i = quietFrom * 2; i < output.samples.size(); ++i) {
        ASSERT_LT(std::fabs(output.samples[i]), 1e-5f) << "sample " << i;
    }
    const float before = std::max(std::fabs(output.samples[quietFrom * 2 - 2]),
                                  std::fabs(output.samples[quietFrom * 2 - 1]));
    EXPECT_GE(before, 1e-5f);
}

TEST_F(FxRenderOptionsTest, TailZeroKeepsTheInputsLength) {
    const FxRun run = render({"--tail", "0", "--node", "chorus"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(WavFile::read(directory.file("out.wav")).frames(), kFrames);
}

TEST_F(FxRenderOptionsTest, OutOfRangeValuesPassWhenAllowed) {
    const FxRun run =
        render({"--tail", "0", "--allow-out-of-range", "--node", "delay", "--set", "delayMs=5000"});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
}

TEST_F(FxRenderOptionsTest, SwitchesTakeTheCommonSpellingsInAnyCase) {
    for (const char* value : {"OFF", "no", "False", "0"}) {
        const FxRun run =
            render({"--tail", "0", "--node", "vibrato", "--set", std::string("enabled=") + value});
        ASSERT_EQ(run.exitStatus, 0) << value << ": " << run.err;
        // A switched-off node passes its input through.
        EXPECT_EQ(firstBitDifference(WavFile::read(directory.file("out.wav")).samples, input), -1)
            << value;
    }
}

TEST_F(FxRenderOptionsTest, ManyChannelsAreProcessedInIndependentPairs) {
    const std::vector<float> eight = makeTestSignal(8, kFrames, kRate);
    WavFile::write(directory.file("eight.wav"), 8, kRate, eight, kFloatWav);
    const FxRun run = render({"--tail", "0", "--node", "chorus"}, "eight.wav");
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const WavFile output = WavFile::read(directory.file("out.wav"));
    ASSERT_EQ(output.channels, 8u);
    for (unsigned int pair = 0; pair < 4; ++pair) {
        std::vector<float> in(kFrames * 2);
        std::vector<float> got(kFrames * 2);
        for (std::size_t frame = 0; frame < kFrames; ++frame) {
            for (unsigned int c = 0; c < 2; ++c) {
                in[frame * 2 + c] = eight[frame * 8 + pair * 2 + c];
                got[frame * 2 + c] = output.samples[frame * 8 + pair * 2 + c];
            }
        }
        const std::vector<float> expected =
            renderInProcess({{"AudioEffects.Chorus"}}, in, 2, kRate, 512);
        EXPECT_EQ(firstBitDifference(got, expected), -1) << "pair " << pair;
    }
}

TEST_F(FxRenderOptionsTest, UpmixMakesTwoChannelsOfAMonoInputForThePingPongDelay) {
    const std::vector<float> mono = makeTestSignal(1, kFrames, kRate);
    WavFile::write(directory.file("mono.wav"), 1, kRate, mono, kFloatWav);
    const FxRun run = render({"--tail", "0", "--upmix", "--node", "ping-pong-delay"}, "mono.wav");
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    std::vector<float> stereo;
    for (float sample : mono) stereo.insert(stereo.end(), {sample, sample});
    const std::vector<float> expected =
        renderInProcess({{"AudioEffects.PingPongDelay"}}, stereo, 2, kRate, 512);
    EXPECT_EQ(firstBitDifference(WavFile::read(directory.file("out.wav")).samples, expected), -1);
}

TEST_F(FxRenderOptionsTest, NonFiniteInputIsCountedAndSanitisedOnRequest) {
    std::vector<float> broken = input;
    broken[10] = std::numeric_limits<float>::quiet_NaN();
    broken[20] = std::numeric_limits<float>::infinity();
    broken[31] = -std::numeric_limits<float>::infinity();
    WavFile::write(directory.file("broken.wav"), 2, kRate, broken, kFloatWav);
    const FxRun warned = render({"--tail", "0", "--node", "delay"}, "broken.wav");
    EXPECT_EQ(warned.exitStatus, 0);
    EXPECT_NE(warned.err.find("warning: input"), std::string::npos) << warned.err;
    EXPECT_NE(warned.err.find("3 samples that are not finite"), std::string::npos) << warned.err;
    EXPECT_NE(warned.err.find("--sanitize"), std::string::npos) << warned.err;

    const FxRun sanitised = render({"--tail", "0", "--sanitize", "--node", "delay"}, "broken.wav");
    ASSERT_EQ(sanitised.exitStatus, 0) << sanitised.err;
    std::vector<float> cleaned = broken;
    for (float& sample : cleaned) sample = std::isfinite(sample) ? sample : 0.0f;
    const std::vector<float> expected =
        renderInProcess({{"AudioEffects.Delay"}}, cleaned, 2, kRate, 512);
    EXPECT_EQ(firstBitDifference(WavFile::read(directory.file("out.wav")).samples, expected), -1);
}

TEST_F(FxRenderOptionsTest, ClippingInIntegerOutputIsCountedWithItsPeak) {
    std::vector<float> loud = input;
    for (float& sample : loud) sample *= 5.0f;
    WavFile::write(directory.file("loud.wav"), 2, kRate, loud, kFloatWav);
    const FxRun run = render({"--tail", "0", "--format", "pcm16", "--node", "delay"}, "loud.wav");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_NE(run.err.find("were clipped in '"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("out.wav' (peak "), std::string::npos) << run.err;
    const FxRun asFloat = render({"--tail", "0", "--node", "delay"}, "loud.wav");
    EXPECT_EQ(asFloat.err.find("clipped"), std::string::npos) << asFloat.err;
}

TEST_F(FxRenderOptionsTest, CutOffInputIsReportedAndStrictWritesNothing) {
    WavFile::write(directory.file("whole.wav"), 2, kRate, input, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string bytes = readBytes(directory.file("whole.wav"));
    writeBytes(directory.file("cut.wav"), bytes.substr(0, bytes.size() / 2));
    const FxRun run = render({"--node", "delay"}, "cut.wav");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_NE(run.err.find("is cut off: its header promised 4800 frames"), std::string::npos)
        << run.err;

    std::filesystem::remove(directory.file("out.wav"));
    const FxRun strict = render({"--strict", "--node", "delay"}, "cut.wav");
    EXPECT_EQ(strict.exitStatus, 1);
    EXPECT_NE(strict.err.find("nothing written"), std::string::npos) << strict.err;
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.wav")));
}

TEST_F(FxRenderOptionsTest, BatchRendersEveryInputAndReportsTheOnesThatFail) {
    std::filesystem::create_directory(directory.file("out"));
    WavFile::write(directory.file("second.wav"), 2, kRate, input, kFloatWav);
    const FxRun run =
        FxProcess::run({"render", directory.file("in.wav"), directory.file("missing.wav"),
                        directory.file("second.wav"), "--output-dir", directory.file("out"),
                        "--tail", "0", "--node", "delay", "--quiet"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_NE(run.err.find("missing.wav"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("1 of 3 inputs failed"), std::string::npos) << run.err;
    const std::vector<float> expected =
        renderInProcess({{"AudioEffects.Delay"}}, input, 2, kRate, 512);
    for (const char* name : {"in.wav", "second.wav"}) {
        EXPECT_EQ(firstBitDifference(
                      WavFile::read(directory.file(std::string("out/") + name)).samples, expected),
                  -1)
            << name;
    }
}

// A refusal that holds for every input is a usage error, said once before any is read.
TEST_F(FxRenderOptionsTest, BatchWithAChainThatCannotWorkIsRefusedOnce) {
    std::filesystem::create_directory(directory.file("out"));
    WavFile::write(directory.file("second.wav"), 2, kRate, input, kFloatWav);
    const FxRun run = FxProcess::run(
        {"render", directory.file("in.wav"), directory.file("second.wav"), "--output-dir",
         directory.file("out"), "--node", "delay", "--set", "delayMs=5000"});
    EXPECT_EQ(run.exitStatus, 2) << run.err;
    const std::size_t first = run.err.find("outside the range of 'delayMs'");
    ASSERT_NE(first, std::string::npos) << run.err;
    EXPECT_EQ(run.err.find("outside the range", first + 1), std::string::npos) << run.err;
    EXPECT_TRUE(std::filesystem::is_empty(directory.file("out")));
}

TEST_F(FxRenderOptionsTest, SummaryIsGrammatical) {
    WavFile::write(directory.file("one.wav"), 1, kRate, {0.25f}, kFloatWav);
    const FxRun run = render({"--tail", "0", "--node", "delay"}, "one.wav");
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_NE(run.out.find("rendered 1 frame ("), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("1 channel at"), std::string::npos) << run.out;
}

}  // namespace
}  // namespace ostrana::fx::testing
