// The factory presets: what the table holds, how presets are found, and what applying one
// writes on a node.
#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/XVAnyMap.h>

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;

namespace {

std::unique_ptr<Node> createFrom(const NodeTypeEntry& entry) {
    return std::unique_ptr<Node>(entry.create(XVAnyMap()));
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

// A value of the parameter's kind inside its range and different from value.
ParameterValue otherThan(const NodeParameter& parameter, const ParameterValue& value) {
    if (parameter.kind == ParameterKind::Switch) return !std::get<bool>(value);
    return value == parameter.maximum ? parameter.minimum : parameter.maximum;
}

TEST(FactoryPresets, EveryPresetNamesAKnownTypeAndKnownParametersWithValuesInRange) {
    ASSERT_FALSE(EffectCatalogue::presets().empty());
    for (const Preset& preset : EffectCatalogue::presets()) {
        SCOPED_TRACE(std::string(preset.nodeType) + " " + std::string(preset.name));
        const NodeTypeEntry* entry = EffectCatalogue::find(preset.nodeType);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->shortName, preset.nodeType) << "the short name itself, as written";
        EXPECT_FALSE(preset.displayName.empty());
        EXPECT_FALSE(preset.settings.empty());
        std::set<std::string_view> named;
        for (const PresetSetting& setting : preset.settings) {
            SCOPED_TRACE(std::string(setting.parameter));
            const NodeParameter* parameter = entry->findParameter(setting.parameter);
            ASSERT_NE(parameter, nullptr);
            EXPECT_EQ(setting.value.index(), static_cast<std::size_t>(parameter->kind));
            EXPECT_TRUE(parameter->contains(setting.value))
                << formatValue(setting.value) << " outside " << parameter->rangeText();
            EXPECT_TRUE(named.insert(setting.parameter).second) << "named twice";
        }
    }
}

TEST(FactoryPresets, NamesAreUniquePerNodeTypeAndFitForCommandLinesAndUris) {
    std::map<std::string_view, std::set<std::string>> namesOfType;
    for (const Preset& preset : EffectCatalogue::presets()) {
        const std::string name(preset.name);
        SCOPED_TRACE(name);
        ASSERT_FALSE(name.empty());
        EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"),
                  std::string::npos);
        EXPECT_TRUE(namesOfType[preset.nodeType].insert(lowered(name)).second)
            << "two presets of " << preset.nodeType << " share the name";
    }
}

TEST(FactoryPresets, EachTypesPresetsComeTogetherInTheCataloguesOrder) {
    std::vector<std::string_view> order;
    for (const Preset& preset : EffectCatalogue::presets()) {
        if (order.empty() || order.back() != preset.nodeType) order.push_back(preset.nodeType);
    }
    std::vector<std::string_view> catalogueOrder;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        if (!EffectCatalogue::presetsOf(entry.shortName).empty())
            catalogueOrder.push_back(entry.shortName);
    }
    EXPECT_EQ(order, catalogueOrder);
}

// An effect added later may have none yet.
TEST(FactoryPresets, TodaysEffectsHaveAtLeastTwoEach) {
    for (const char* name : {"delay", "ping-pong-delay", "vibrato", "flanger", "chorus"}) {
        EXPECT_GE(EffectCatalogue::presetsOf(name).size(), 2u) << name;
    }
}

// The values the presets had when they belonged to the LV2 bundle alone, as it wrote them
// (a number made a value of the parameter's kind): moving them must not change a sound.
// The ten presets the LV2 bundle had before the catalogue held them.
TEST(FactoryPresets, KeepTheValuesThePluginsHad) {
    using Settings = std::map<std::string, double>;
    const std::map<std::pair<std::string, std::string>, std::pair<std::string, Settings>> before = {
        {{"delay", "slapback"},
         {"Slapback",
          {{"delayMs", 110}, {"feedbackLevel", 0.05}, {"dryMix", 0.8}, {"wetMix", 0.5}}}},
        {{"delay", "long-echo"},
         {"Long echo",
          {{"delayMs", 700}, {"feedbackLevel", 0.55}, {"dryMix", 0.75}, {"wetMix", 0.4}}}},
        {{"ping-pong-delay", "bounce"},
         {"Short bounce",
          {{"delayMs", 140}, {"feedbackLevel", 0.15}, {"dryMix", 0.8}, {"wetMix", 0.45}}}},
        {{"ping-pong-delay", "long-echo"},
         {"Long echo",
          {{"delayMs", 600}, {"feedbackLevel", 0.6}, {"dryMix", 0.7}, {"wetMix", 0.45}}}},
        {{"chorus", "subtle"}, {"Subtle chorus", {{"sweepWidth", 0.006}, {"frequency", 0.3}}}},
        {{"chorus", "deep"}, {"Deep chorus", {{"sweepWidth", 0.04}, {"frequency", 0.8}}}},
        {{"flanger", "jet"}, {"Jet flanger", {{"sweepWidth", 0.008}, {"frequency", 0.1}}}},
        {{"flanger", "quick"}, {"Quick flanger", {{"sweepWidth", 0.002}, {"frequency", 1.5}}}},
        {{"vibrato", "gentle"}, {"Gentle vibrato", {{"sweepWidth", 0.002}, {"frequency", 5}}}},
        {{"vibrato", "deep"}, {"Deep vibrato", {{"sweepWidth", 0.008}, {"frequency", 6.5}}}},
    };
    std::size_t found = 0;
    for (const Preset& preset : EffectCatalogue::presets()) {
        const auto old = before.find({std::string(preset.nodeType), std::string(preset.name)});
        if (old == before.end()) continue;
        ++found;
        SCOPED_TRACE(std::string(preset.nodeType) + " " + std::string(preset.name));
        EXPECT_EQ(preset.displayName, old->second.first);
        const NodeTypeEntry& entry = *EffectCatalogue::find(preset.nodeType);
        // The old settings are kept; the only one added is a level that brings the preset back
        // to the level of its input (the flanger's).
        for (const PresetSetting& setting : preset.settings) {
            const bool kept = old->second.second.contains(std::string(setting.parameter));
            EXPECT_TRUE(kept || setting.parameter == "level") << setting.parameter;
        }
        for (const auto& [name, number] : old->second.second) {
            const NodeParameter* parameter = entry.findParameter(name);
            ASSERT_NE(parameter, nullptr) << name;
            EXPECT_EQ(preset.valueFor(*parameter), parameter->fromNumber(number)) << name;
        }
    }
    EXPECT_EQ(found, before.size());
}

TEST(FactoryPresets, AreFoundByNodeAndNameInAnyCase) {
    const Preset* slapback = EffectCatalogue::findPreset("delay", "slapback");
    ASSERT_NE(slapback, nullptr);
    EXPECT_EQ(slapback->displayName, "Slapback");
    EXPECT_EQ(EffectCatalogue::findPreset("Delay", "SlapBack"), slapback);
    EXPECT_EQ(EffectCatalogue::findPreset("AudioEffects.Delay", "SLAPBACK"), slapback);
    // The same preset name on another type is another preset.
    const Preset* pingPongEcho = EffectCatalogue::findPreset("ping-pong-delay", "long-echo");
    ASSERT_NE(pingPongEcho, nullptr);
    EXPECT_NE(pingPongEcho, EffectCatalogue::findPreset("delay", "long-echo"));
    EXPECT_EQ(pingPongEcho->nodeType, "ping-pong-delay");
    EXPECT_EQ(EffectCatalogue::findPreset("delay", "jet"), nullptr);
    EXPECT_EQ(EffectCatalogue::findPreset("delay", "slap"), nullptr);
    EXPECT_EQ(EffectCatalogue::findPreset("delay", ""), nullptr);
    EXPECT_EQ(EffectCatalogue::findPreset("reverb", "slapback"), nullptr);
    EXPECT_TRUE(EffectCatalogue::presetsOf("reverb").empty());
    EXPECT_TRUE(EffectCatalogue::presetsOf("").empty());
}

TEST(FactoryPresets, PresetsOfAnyNameOfATypeAreThatTypesInTableOrder) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        std::vector<const Preset*> expected;
        for (const Preset& preset : EffectCatalogue::presets()) {
            if (preset.nodeType == entry.shortName) expected.push_back(&preset);
        }
        for (const std::string& name :
             {std::string(entry.shortName), entry.typeName(), lowered(entry.typeName())}) {
            std::vector<const Preset*> found;
            for (const Preset& preset : EffectCatalogue::presetsOf(name)) found.push_back(&preset);
            EXPECT_EQ(found, expected) << name;
        }
    }
}

// Whatever was set before, a preset leaves every parameter at its value or the default.
TEST(FactoryPresets, ApplyingOneWritesEveryParameterItsValueOrTheDefault) {
    for (const Preset& preset : EffectCatalogue::presets()) {
        SCOPED_TRACE(std::string(preset.nodeType) + " " + std::string(preset.name));
        const NodeTypeEntry& entry = *EffectCatalogue::find(preset.nodeType);
        const std::unique_ptr<Node> node = createFrom(entry);
        for (const NodeParameter& parameter : entry.parameters) {
            parameter.write(*node, otherThan(parameter, preset.valueFor(parameter)));
        }
        EffectCatalogue::applyPreset(preset, *node);
        for (const NodeParameter& parameter : entry.parameters) {
            SCOPED_TRACE(std::string(parameter.name));
            const PresetSetting* setting = preset.findSetting(parameter.name);
            const ParameterValue expected =
                setting != nullptr ? setting->value : parameter.defaultValue;
            EXPECT_EQ(parameter.read(*node), expected);
        }
    }
}

TEST(FactoryPresets, ANodeOfAnotherTypeIsRefusedAndLeftAsItWas) {
    const Preset& slapback = *EffectCatalogue::findPreset("delay", "slapback");
    const NodeTypeEntry& chorus = *EffectCatalogue::find("chorus");
    const std::unique_ptr<Node> node = createFrom(chorus);
    std::vector<ParameterValue> before;
    for (const NodeParameter& parameter : chorus.parameters)
        before.push_back(parameter.read(*node));
    EXPECT_THROW(EffectCatalogue::applyPreset(slapback, *node), std::invalid_argument);
    for (std::size_t i = 0; i < chorus.parameters.size(); ++i) {
        EXPECT_EQ(chorus.parameters[i].read(*node), before[i]) << chorus.parameters[i].name;
    }
}

}  // namespace
