#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/extension/ExpectedNodeTypes.h"

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;
using ostrana::testing::expectedEffectShortNames;
using ostrana::testing::expectedEffectTypeNames;

namespace {

std::unique_ptr<Node> createFrom(const NodeTypeEntry& entry) {
    return std::unique_ptr<Node>(entry.create(XVAnyMap()));
}

// A value of the parameter's kind inside its range and different from its default.
ParameterValue otherValueInRange(const NodeParameter& parameter) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return !parameter.defaultAs<bool>();
        case ParameterKind::WholeNumber:
            return std::get<unsigned int>(parameter.maximum);
        case ParameterKind::RealNumber:
            break;
    }
    // The top of the range, or its bottom where the default is the top (a mix of 1).
    const float highest = std::get<float>(parameter.maximum);
    return highest != parameter.defaultAs<float>() ? highest : std::get<float>(parameter.minimum);
}

TEST(EffectCatalogue, ListsTheNodeTypesInTheFactorysOrderWithShortNames) {
    std::vector<std::string> names;
    std::vector<std::string> shortNames;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        names.push_back(entry.typeName());
        shortNames.emplace_back(entry.shortName);
    }
    AudioEffectsNodeFactory factory;
    const std::vector<NodeTypeInfo> registered = factory.getNodeTypes();
    EXPECT_EQ(names, expectedEffectTypeNames(registered));
    const std::vector<std::string> five = expectedEffectShortNames();
    ASSERT_GE(shortNames.size(), five.size());
    EXPECT_EQ(std::vector<std::string>(shortNames.begin(), shortNames.begin() + five.size()), five);

    ASSERT_EQ(registered.size(), EffectCatalogue::nodeTypes().size());
    for (std::size_t i = 0; i < registered.size(); ++i) {
        const NodeTypeEntry& entry = EffectCatalogue::nodeTypes()[i];
        EXPECT_EQ(registered[i].getFQTypeName(), entry.typeName());
        EXPECT_EQ(registered[i].displayName, entry.displayName());
    }
}

TEST(EffectCatalogue, FindsATypeByShortNameInAnyCaseAndByFullName) {
    ASSERT_NE(EffectCatalogue::find("delay"), nullptr);
    EXPECT_EQ(EffectCatalogue::find("DeLaY"), EffectCatalogue::find("AudioEffects.Delay"));
    EXPECT_EQ(EffectCatalogue::find("audioeffects.chorus"), EffectCatalogue::find("Chorus"));
    EXPECT_EQ(EffectCatalogue::find("PING-PONG-DELAY")->typeName(), "AudioEffects.PingPongDelay");
    EXPECT_EQ(EffectCatalogue::find("AudioEffects."), nullptr);
    EXPECT_EQ(EffectCatalogue::find(""), nullptr);
    EXPECT_EQ(EffectCatalogue::find("reverb"), nullptr);
}

TEST(EffectCatalogue, EveryDefaultIsWhereAFreshNodeStarts) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::unique_ptr<Node> node = createFrom(entry);
        ASSERT_FALSE(entry.parameters.empty()) << entry.typeName();
        for (const NodeParameter& parameter : entry.parameters) {
            SCOPED_TRACE(entry.typeName() + " " + std::string(parameter.name));
            EXPECT_EQ(parameter.read(*node), parameter.defaultValue);
        }
    }
}

TEST(EffectCatalogue, EveryParameterIsOfItsKindWithTheDefaultInsideItsRange) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        std::set<std::string> names;
        for (const NodeParameter& parameter : entry.parameters) {
            SCOPED_TRACE(entry.typeName() + " " + std::string(parameter.name));
            EXPECT_TRUE(names.insert(std::string(parameter.name)).second) << "named twice";
            EXPECT_FALSE(parameter.description.empty());
            const std::size_t index = static_cast<std::size_t>(parameter.kind);
            EXPECT_EQ(parameter.defaultValue.index(), index);
            EXPECT_EQ(parameter.minimum.index(), index);
            EXPECT_EQ(parameter.maximum.index(), index);
            EXPECT_TRUE(parameter.contains(parameter.defaultValue));
            EXPECT_TRUE(parameter.minimum < parameter.maximum);
            EXPECT_EQ(entry.findParameter(parameter.name), &parameter);
        }
        EXPECT_EQ(entry.findParameter("DelayMs"), nullptr);
    }
}

TEST(EffectCatalogue, WritesReachTheNodeAndReadBack) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::unique_ptr<Node> node = createFrom(entry);
        for (const NodeParameter& parameter : entry.parameters) {
            SCOPED_TRACE(entry.typeName() + " " + std::string(parameter.name));
            const ParameterValue value = otherValueInRange(parameter);
            ASSERT_NE(value, parameter.defaultValue);
            parameter.write(*node, value);
            EXPECT_EQ(parameter.read(*node), value);
        }
    }
}

TEST(EffectCatalogue, WritesStoreValuesOutsideTheRangeAsGiven) {
    const NodeTypeEntry& delay = *EffectCatalogue::find("delay");
    const std::unique_ptr<Node> node = createFrom(delay);
    const NodeParameter& delayMs = *delay.findParameter("delayMs");
    delayMs.write(*node, 5000u);
    EXPECT_EQ(delayMs.read(*node), ParameterValue(5000u));
    EXPECT_FALSE(delayMs.contains(5000u));
    const NodeParameter& feedback = *delay.findParameter("feedbackLevel");
    feedback.write(*node, 1.5f);
    EXPECT_EQ(feedback.read(*node), ParameterValue(1.5f));
}

TEST(EffectCatalogue, ThePingPongDelaysPropertiesReadAndWriteTheSameValues) {
    const NodeTypeEntry& entry = *EffectCatalogue::find("ping-pong-delay");
    const std::unique_ptr<Node> node = createFrom(entry);
    entry.findParameter("dryMix")->write(*node, 0.125f);
    EXPECT_EQ(XVAny::convert<float>(node->getValue("dryMix").value()), 0.125f);
    ASSERT_TRUE(node->setValue("delayMs", XVAny(321u)).isOk());
    EXPECT_EQ(entry.findParameter("delayMs")->read(*node), ParameterValue(321u));
}

TEST(EffectCatalogue, RefusesANodeOfAnotherTypeOrAValueOfAnotherKind) {
    const NodeTypeEntry& chorus = *EffectCatalogue::find("chorus");
    const NodeTypeEntry& flanger = *EffectCatalogue::find("flanger");
    const std::unique_ptr<Node> node = createFrom(chorus);
    const NodeParameter& flangerWidth = *flanger.findParameter("sweepWidth");
    EXPECT_THROW(flangerWidth.write(*node, 0.001f), std::invalid_argument);
    EXPECT_THROW(flangerWidth.read(*node), std::invalid_argument);
    const NodeParameter& chorusWidth = *chorus.findParameter("sweepWidth");
    EXPECT_THROW(chorusWidth.write(*node, 3u), std::invalid_argument);
    EXPECT_EQ(chorusWidth.read(*node), chorusWidth.defaultValue);
}

TEST(EffectCatalogue, ThePingPongDelaysSchemaIsBuiltFromTheSameDefinitions) {
    const NodeTypeEntry& entry = *EffectCatalogue::find("ping-pong-delay");
    const NodeTypeInfo info = entry.describe();
    // Its host properties are the echo's five, the catalogue's first; the level, glide and
    // bounce that follow them are the catalogue's alone.
    constexpr std::size_t kProperties = 5;
    ASSERT_EQ(info.properties.size(), kProperties);
    for (std::size_t index = 0; index < entry.parameters.size(); ++index) {
        const NodeParameter& parameter = entry.parameters[index];
        SCOPED_TRACE(std::string(parameter.name));
        if (index >= kProperties) {
            EXPECT_FALSE(info.properties.hasKey(std::string(parameter.name)));
            continue;
        }
        const XVAnyMap schema = info.getProperty(std::string(parameter.name));
        EXPECT_EQ(XVAny::convert<std::string>(schema.at("description")), parameter.description);
        switch (parameter.kind) {
            case ParameterKind::Switch:
                EXPECT_EQ(XVAny::convert<std::string>(schema.at("type")), "boolean");
                EXPECT_EQ(schema.at("default"), XVAny(parameter.defaultAs<bool>()));
                EXPECT_FALSE(schema.hasKey("min"));
                break;
            case ParameterKind::WholeNumber:
                EXPECT_EQ(XVAny::convert<std::string>(schema.at("type")), "int");
                EXPECT_EQ(schema.at("default"),
                          XVAny(static_cast<int>(parameter.defaultAs<unsigned int>())));
                EXPECT_EQ(schema.at("max"),
                          XVAny(static_cast<int>(std::get<unsigned int>(parameter.maximum))));
                break;
            case ParameterKind::RealNumber:
                EXPECT_EQ(XVAny::convert<std::string>(schema.at("type")), "float");
                EXPECT_EQ(schema.at("default"), XVAny(parameter.defaultAs<float>()));
                EXPECT_EQ(schema.at("min"), XVAny(std::get<float>(parameter.minimum)));
                EXPECT_EQ(schema.at("max"), XVAny(std::get<float>(parameter.maximum)));
                break;
        }
    }
    EXPECT_EQ(entry.parameters.size(), kProperties + 3);
}

TEST(EffectCatalogue, EveryNodeAcceptsExactlyItsChannelCounts) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        for (unsigned int channels = 1; channels <= 8; ++channels) {
            SCOPED_TRACE(entry.typeName() + " " + std::to_string(channels));
            const std::unique_ptr<Node> node = createFrom(entry);
            auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
            ASSERT_NE(processor, nullptr);
            AudioBusFormat input{channels, 48000, 256};
            AudioBusFormat output{channels, 48000, 256};
            EXPECT_EQ(processor->setBusFormat(input, output), entry.acceptsChannels(channels));
        }
    }
    EXPECT_EQ(EffectCatalogue::find("ping-pong-delay")->minChannels, 2u);
    EXPECT_EQ(EffectCatalogue::find("chorus")->minChannels, 1u);
}

TEST(ParameterDefinition, ChecksRangesAndKinds) {
    const NodeParameter& delayMs = *EffectCatalogue::find("delay")->findParameter("delayMs");
    EXPECT_TRUE(delayMs.contains(1u));
    EXPECT_TRUE(delayMs.contains(1000u));
    EXPECT_FALSE(delayMs.contains(0u));
    EXPECT_FALSE(delayMs.contains(1001u));
    EXPECT_FALSE(delayMs.contains(200.0f));
    const NodeParameter& width = *EffectCatalogue::find("chorus")->findParameter("sweepWidth");
    EXPECT_FALSE(width.contains(-0.001f));
    EXPECT_FALSE(width.contains(std::nanf("")));
    EXPECT_TRUE(width.contains(0.0f));
}

TEST(ParameterDefinition, SaysItsRangeAndValuesAsPeopleWriteThem) {
    const NodeTypeEntry& delay = *EffectCatalogue::find("delay");
    EXPECT_EQ(delay.findParameter("delayMs")->rangeText(), "1 to 1000 ms");
    EXPECT_EQ(delay.findParameter("feedbackLevel")->rangeText(), "0 to 0.99");
    EXPECT_EQ(delay.findParameter("enabled")->rangeText(), "off or on");
    EXPECT_EQ(delay.findParameter("level")->rangeText(), "-60 to 12 dB");
    EXPECT_EQ(delay.findParameter("glide")->rangeText(), "0 to 500 ms");
    EXPECT_EQ(EffectCatalogue::find("vibrato")->findParameter("frequency")->rangeText(),
              "0.1 to 14 Hz");
    EXPECT_EQ(formatValue(0.7f), "0.7");
    EXPECT_EQ(formatValue(0.99f), "0.99");
    EXPECT_EQ(formatValue(200u), "200");
    EXPECT_EQ(formatValue(true), "on");
    EXPECT_EQ(unitName(ParameterUnit::Hertz), "hertz");
    EXPECT_EQ(unitSymbol(ParameterUnit::Seconds), "s");
    EXPECT_EQ(unitSymbol(ParameterUnit::Decibels), "dB");
    EXPECT_EQ(unitName(ParameterUnit::Decibels), "decibels");
    EXPECT_EQ(kindName(ParameterKind::WholeNumber), "whole number");
}

TEST(ParameterDefinition, TurnsNumbersIntoValuesOfItsKind) {
    const NodeTypeEntry& delay = *EffectCatalogue::find("delay");
    const NodeParameter& delayMs = *delay.findParameter("delayMs");
    EXPECT_EQ(delayMs.fromNumber(350.0), ParameterValue(350u));
    EXPECT_EQ(delayMs.fromNumber(349.6), ParameterValue(350u));
    EXPECT_EQ(delayMs.fromNumber(-3.0), ParameterValue(0u));
    EXPECT_EQ(delayMs.fromNumber(std::nan("")), ParameterValue(0u));
    EXPECT_EQ(delayMs.fromNumber(1e12), ParameterValue(4294967295u));
    const NodeParameter& enabled = *delay.findParameter("enabled");
    EXPECT_EQ(enabled.fromNumber(1.0), ParameterValue(true));
    EXPECT_EQ(enabled.fromNumber(0.0), ParameterValue(false));
    EXPECT_EQ(enabled.fromNumber(-1.0), ParameterValue(false));
    const NodeParameter& dryMix = *delay.findParameter("dryMix");
    EXPECT_EQ(dryMix.fromNumber(0.7), ParameterValue(0.7f));
}

}  // namespace
