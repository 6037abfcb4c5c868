// ostrana-fx's factory presets: the presets listing and render's --preset, through the real
// program.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <filesystem>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "FxProcess.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::formatValue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::Preset;
using extensions::audioeffects::PresetSetting;

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr unsigned int kRate = 48000;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Renders a test signal of channels channels through the chain that options describe.
class PresetRender : public ::testing::Test {
  protected:
    std::string render(const std::vector<std::string>& chain, unsigned int channels = 2) {
        const std::string in = directory_.file("in" + std::to_string(channels) + ".wav");
        if (!std::filesystem::exists(in)) {
            WavFile::write(in, channels, kRate, makeTestSignal(channels, kRate, kRate), kFloatWav);
        }
        const std::string out = directory_.file("out" + std::to_string(++renders_) + ".wav");
        std::vector<std::string> arguments{"render", in, out, "--tail", "0.5", "-q"};
        arguments.insert(arguments.end(), chain.begin(), chain.end());
        last_ = FxProcess::run(arguments);
        return out;
    }
    std::vector<float> samples(const std::vector<std::string>& chain, unsigned int channels = 2) {
        const std::string out = render(chain, channels);
        EXPECT_EQ(last_.exitStatus, 0) << last_.err;
        return last_.exitStatus == 0 ? WavFile::read(out).samples : std::vector<float>();
    }

    // --set NAME=VALUE for every parameter of the preset's type, as the preset would set it;
    // override replaces one of them.
    static std::vector<std::string> explicitSettings(const Preset& preset,
                                                     const std::string& override = "") {
        std::vector<std::string> arguments{"--node", std::string(preset.nodeType)};
        const std::string overridden = override.substr(0, override.find('='));
        for (const NodeParameter& parameter : EffectCatalogue::find(preset.nodeType)->parameters) {
            arguments.push_back("--set");
            arguments.push_back(parameter.name == overridden
                                    ? override
                                    : std::string(parameter.name) + "=" +
                                          formatValue(preset.valueFor(parameter)));
        }
        return arguments;
    }

    TempDirectory directory_;
    FxRun last_;
    int renders_ = 0;
};

TEST(FxPresetsTest, ListsEveryPresetWithItsSettings) {
    const FxRun run = FxProcess::run({"presets"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    for (const Preset& preset : EffectCatalogue::presets()) {
        std::string settings;
        for (const PresetSetting& setting : preset.settings) {
            if (!settings.empty()) settings += ' ';
            settings.append(setting.parameter).append("=").append(formatValue(setting.value));
        }
        const std::string line = std::string(preset.nodeType) + " " + std::string(preset.name) +
                                 " " + std::string(preset.displayName) + " " + settings;
        // The table's columns, each separated by two spaces or more.
        std::string squeezed;
        for (char c : run.out) {
            if (!(c == ' ' && !squeezed.empty() && squeezed.back() == ' ')) squeezed += c;
        }
        EXPECT_TRUE(contains(squeezed, "\n" + line + "\n")) << line << " in\n" << run.out;
    }
}

TEST(FxPresetsTest, ListsOneNodeTypesPresetsByAnyOfItsNames) {
    for (const char* name : {"chorus", "CHORUS", "AudioEffects.Chorus"}) {
        const FxRun run = FxProcess::run({"presets", name});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        EXPECT_TRUE(contains(run.out, "Subtle chorus")) << run.out;
        EXPECT_FALSE(contains(run.out, "Slapback")) << run.out;
    }
    const FxRun unknown = FxProcess::run({"presets", "chorsu"});
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_TRUE(contains(unknown.err, "did you mean 'chorus'?")) << unknown.err;
}

TEST(FxPresetsTest, JsonGivesThePresetsAsTheCatalogueHasThem) {
    const FxRun run = FxProcess::run({"presets", "--json"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const nlohmann::json list = nlohmann::json::parse(run.out);
    ASSERT_EQ(list.size(), EffectCatalogue::presets().size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        const Preset& preset = EffectCatalogue::presets()[i];
        EXPECT_EQ(list[i]["node"], std::string(preset.nodeType));
        EXPECT_EQ(list[i]["name"], std::string(preset.name));
        EXPECT_EQ(list[i]["displayName"], std::string(preset.displayName));
        ASSERT_EQ(list[i]["settings"].size(), preset.settings.size());
        const NodeTypeEntry& entry = *EffectCatalogue::find(preset.nodeType);
        for (const PresetSetting& setting : preset.settings) {
            const nlohmann::json& value = list[i]["settings"][std::string(setting.parameter)];
            // A switch is written as true or false, numbers as numbers.
            const double number =
                value.is_boolean() ? (value.get<bool>() ? 1.0 : 0.0) : value.get<double>();
            EXPECT_EQ(entry.findParameter(setting.parameter)->fromNumber(number), setting.value)
                << preset.name << " " << setting.parameter;
        }
    }
}

// Each preset sounds exactly like setting every parameter by hand: its values, the defaults
// for the rest.
TEST_F(PresetRender, EveryPresetEqualsItsSettingsGivenOneByOne) {
    for (const Preset& preset : EffectCatalogue::presets()) {
        SCOPED_TRACE(std::string(preset.nodeType) + " " + std::string(preset.name));
        const std::vector<float> byPreset =
            samples({"--node", std::string(preset.nodeType), "--preset", std::string(preset.name)});
        const std::vector<float> bySet = samples(explicitSettings(preset));
        ASSERT_FALSE(byPreset.empty());
        EXPECT_EQ(firstBitDifference(byPreset, bySet), -1);
        const std::vector<float> byDefault = samples({"--node", std::string(preset.nodeType)});
        EXPECT_NE(firstBitDifference(byPreset, byDefault), -1) << "sounds like the defaults";
    }
}

TEST_F(PresetRender, ASetAfterThePresetOverridesItAndOneBeforeIsUndone) {
    const Preset& slapback = *EffectCatalogue::findPreset("delay", "slapback");
    const std::vector<float> preset = samples({"--node", "delay", "--preset", "Slapback"});
    EXPECT_EQ(firstBitDifference(samples({"--node", "delay", "--set", "delayMs=300", "--set",
                                          "enabled=off", "--preset", "slapback"}),
                                 preset),
              -1);
    const std::vector<float> changed =
        samples({"--node", "delay", "--preset", "slapback", "--set", "delayMs=300"});
    EXPECT_EQ(firstBitDifference(changed, samples(explicitSettings(slapback, "delayMs=300"))), -1);
    EXPECT_NE(firstBitDifference(changed, preset), -1);
}

TEST_F(PresetRender, InAChainEachPresetAppliesToTheNodeBeforeIt) {
    const Preset& slapback = *EffectCatalogue::findPreset("delay", "slapback");
    const Preset& deep = *EffectCatalogue::findPreset("chorus", "deep");
    std::vector<std::string> explicitChain = explicitSettings(slapback);
    const std::vector<std::string> chorus = explicitSettings(deep);
    explicitChain.insert(explicitChain.end(), chorus.begin(), chorus.end());
    EXPECT_EQ(firstBitDifference(samples({"--node", "delay", "--preset", "slapback", "--node",
                                          "chorus", "--preset", "deep"}),
                                 samples(explicitChain)),
              -1);
}

// A four-channel file runs as two stereo delays; both get the preset.
TEST_F(PresetRender, EveryChannelGroupGetsThePreset) {
    const Preset& longEcho = *EffectCatalogue::findPreset("delay", "long-echo");
    EXPECT_EQ(firstBitDifference(samples({"--node", "delay", "--preset", "long-echo"}, 4),
                                 samples(explicitSettings(longEcho), 4)),
              -1);
}

TEST_F(PresetRender, AnUnknownPresetIsRefusedWithTheNodesPresetsListed) {
    const std::string out = render({"--node", "delay", "--preset", "slapbak"});
    EXPECT_EQ(last_.exitStatus, 2);
    EXPECT_TRUE(contains(last_.err, "unknown preset")) << last_.err;
    EXPECT_TRUE(contains(last_.err, "did you mean 'slapback'?")) << last_.err;
    EXPECT_TRUE(contains(last_.err, "slapback, long-echo")) << last_.err;
    EXPECT_FALSE(std::filesystem::exists(out));

    render({"--node", "chorus", "--preset", "slapback"});
    EXPECT_EQ(last_.exitStatus, 2);
    EXPECT_TRUE(contains(last_.err, "subtle, deep")) << last_.err;

    render({"--preset", "slapback", "--node", "delay"});
    EXPECT_EQ(last_.exitStatus, 2);
    EXPECT_TRUE(contains(last_.err, "before any --node")) << last_.err;
}

TEST(FxPresetsTest, HelpNamesThePresetOptionAndCommand) {
    const FxRun help = FxProcess::run({"--help"});
    EXPECT_TRUE(contains(help.out, "presets")) << help.out;
    const FxRun renderHelp = FxProcess::run({"render", "--help"});
    EXPECT_TRUE(contains(renderHelp.out, "--preset NAME")) << renderHelp.out;
}

}  // namespace
}  // namespace ostrana::fx::testing
