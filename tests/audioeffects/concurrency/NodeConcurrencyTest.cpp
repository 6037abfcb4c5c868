// Each effect node, made by the extension's factory, processes blocks continuously on one
// thread while two control threads call every setter (and, for the ping-pong delay, setValue and
// getValue on every property) with changing values. Run in the ThreadSanitizer build, these
// tests prove the parameters are safe to change while audio runs; in every build they check
// that every block was processed, that the output stayed finite, that every concurrent read
// returned a value some thread wrote (or the default), and that the final values are the last
// ones written.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/concurrency/ConcurrentRun.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::Node;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::testing::ConcurrentRun;
using namespace ostrana::extensions::audioeffects;

constexpr auto kRunTime = std::chrono::milliseconds(1600);
constexpr unsigned int kFrames = 256;
constexpr unsigned int kChannels = 2;
constexpr unsigned int kSampleRate = 48000;
constexpr std::uint64_t kMinimumBlocks = 20;

// One parameter as the control threads drive it. Every value is held as a float (whole numbers
// and flags convert exactly); each thread cycles through its own finite values, in range for
// the effect, through each of the setters in turn, and reads back through each getter in turn.
struct Parameter {
    std::string name;
    float defaultValue;
    std::vector<float> values[ConcurrentRun::kControlThreads];
    std::vector<std::function<void(float)>> setters;
    std::vector<std::function<float()>> getters;

    // Whether a read may have returned this: the default or a value some thread writes.
    bool mayRead(float value) const {
        if (value == defaultValue) return true;
        for (const std::vector<float>& written : values) {
            for (float candidate : written) {
                if (value == candidate) return true;
            }
        }
        return false;
    }
};

struct Subject {
    std::unique_ptr<Node> node;
    std::vector<Parameter> parameters;
};

AudioEffectsNodeFactory& factory() {
    static AudioEffectsNodeFactory instance;
    return instance;
}

std::unique_ptr<Node> createNode(const std::string& type) {
    auto created = factory().createNode(type, XVAnyMap{});
    if (!created.isOk()) return nullptr;
    return std::move(created).value();
}

template <typename T>
T& as(const std::unique_ptr<Node>& node) {
    return dynamic_cast<T&>(*node);
}

Parameter enabledParameter(std::function<void(bool)> set, std::function<bool()> get) {
    return {"enabled",
            1.0f,
            {{1.0f, 0.0f, 1.0f}, {0.0f, 1.0f}},
            {[set](float value) { set(value != 0.0f); }},
            {[get] { return get() ? 1.0f : 0.0f; }}};
}

Parameter gainParameter(const std::string& name, float defaultValue, std::function<void(float)> set,
                        std::function<float()> get) {
    return {name,
            defaultValue,
            {{0.1f, 0.9f, 0.5f, 1.0f}, {0.0f, 0.75f, 0.25f}},
            {std::move(set)},
            {std::move(get)}};
}

Parameter feedbackParameter(std::function<void(float)> set, std::function<float()> get) {
    return {"feedbackLevel",
            0.2f,
            {{0.9f, 0.0f, 0.5f}, {0.99f, 0.3f}},
            {std::move(set)},
            {std::move(get)}};
}

Parameter delayMsParameter(std::function<void(unsigned int)> set,
                           std::function<unsigned int()> get) {
    return {"delayMs",
            200.0f,
            {{1.0f, 1000.0f, 37.0f, 250.0f}, {5.0f, 999.0f, 480.0f}},
            {[set](float value) { set(static_cast<unsigned int>(value)); }},
            {[get] { return static_cast<float>(get()); }}};
}

Parameter sweepWidthParameter(float defaultValue, std::function<void(float)> set,
                              std::function<float()> get) {
    return {"sweepWidth",
            defaultValue,
            {{0.001f, 0.02f, 0.0f}, {0.015f, 0.005f}},
            {std::move(set)},
            {std::move(get)}};
}

Parameter frequencyParameter(float defaultValue, std::function<void(float)> set,
                             std::function<float()> get) {
    return {"frequency",
            defaultValue,
            {{0.1f, 5.0f, 1.0f}, {2.5f, 0.5f}},
            {std::move(set)},
            {std::move(get)}};
}

Subject delaySubject() {
    Subject subject{createNode("AudioEffects.Delay"), {}};
    auto* node = &as<DelayNode>(subject.node);
    subject.parameters = {
        enabledParameter([node](bool v) { node->setIsEnabled(v); },
                         [node] { return node->getIsEnabled(); }),
        gainParameter(
            "dryMix", 0.7f, [node](float v) { node->setDryMix(v); },
            [node] { return node->getDryMix(); }),
        gainParameter(
            "wetMix", 0.3f, [node](float v) { node->setWetMix(v); },
            [node] { return node->getWetMix(); }),
        delayMsParameter([node](unsigned int v) { node->setDelayMs(v); },
                         [node] { return node->getDelayMs(); }),
        feedbackParameter([node](float v) { node->setFeedbackLevel(v); },
                          [node] { return node->getFeedbackLevel(); }),
    };
    return subject;
}

// Adds the host property of the same name as a second setter and a second getter.
void addPropertyAccess(Parameter& parameter, Node* node, const std::string& key,
                       std::function<XVAny(float)> toValue,
                       std::function<float(const XVAny&)> fromValue) {
    parameter.setters.push_back([node, key, toValue](float value) {
        // An error result cannot come from a well-typed value; it would show in the reads.
        (void)node->setValue(key, toValue(value));
    });
    parameter.getters.push_back([node, key, fromValue] {
        auto read = node->getValue(key);
        return read.isOk() ? fromValue(read.value()) : std::nanf("");
    });
}

XVAny floatValue(float value) {
    return XVAny(value);
}
float floatOf(const XVAny& value) {
    return value.kind() == XVAny::Kind::Float ? XVAny::convert<float>(value) : std::nanf("");
}

Subject pingPongSubject() {
    Subject subject{createNode("AudioEffects.PingPongDelay"), {}};
    auto* node = &as<PingPongDelayNode>(subject.node);
    Node* host = subject.node.get();
    subject.parameters = {
        enabledParameter([node](bool v) { node->setIsEnabled(v); },
                         [node] { return node->getIsEnabled(); }),
        delayMsParameter([node](unsigned int v) { node->setDelayMs(v); },
                         [node] { return node->getDelayMs(); }),
        gainParameter(
            "dryMix", 0.7f, [node](float v) { node->setDryMix(v); },
            [node] { return node->getDryMix(); }),
        gainParameter(
            "wetMix", 0.3f, [node](float v) { node->setWetMix(v); },
            [node] { return node->getWetMix(); }),
        feedbackParameter([node](float v) { node->setFeedbackLevel(v); },
                          [node] { return node->getFeedbackLevel(); }),
    };
    addPropertyAccess(
        subject.parameters[0], host, "enabled", [](float v) { return XVAny(v != 0.0f); },
        [](const XVAny& value) {
            if (value.kind() != XVAny::Kind::Bool) return std::nanf("");
            return XVAny::convert<bool>(value) ? 1.0f : 0.0f;
        });
    // The schema calls "delayMs" an int: a host sends it as one, and reads back an unsigned int.
    addPropertyAccess(
        subject.parameters[1], host, "delayMs", [](float v) { return XVAny(static_cast<int>(v)); },
        [](const XVAny& value) {
            if (value.kind() != XVAny::Kind::UnsignedInt) return std::nanf("");
            return static_cast<float>(XVAny::convert<unsigned int>(value));
        });
    addPropertyAccess(subject.parameters[2], host, "dryMix", floatValue, floatOf);
    addPropertyAccess(subject.parameters[3], host, "wetMix", floatValue, floatOf);
    addPropertyAccess(subject.parameters[4], host, "feedbackLevel", floatValue, floatOf);
    return subject;
}

template <typename ModulationNode>
Subject modulationSubject(const std::string& type, float defaultSweepWidth,
                          float defaultFrequency) {
    Subject subject{createNode(type), {}};
    auto* node = &as<ModulationNode>(subject.node);
    subject.parameters = {
        enabledParameter([node](bool v) { node->setIsEnabled(v); },
                         [node] { return node->getIsEnabled(); }),
        sweepWidthParameter(
            defaultSweepWidth, [node](float v) { node->setSweepWidth(v); },
            [node] { return node->getSweepWidth(); }),
        frequencyParameter(
            defaultFrequency, [node](float v) { node->setFrequency(v); },
            [node] { return node->getFrequency(); }),
    };
    return subject;
}

// What each control thread saw and did, read only after the threads have finished.
struct ControlRecord {
    std::vector<std::optional<float>> lastWritten;
    std::uint64_t strayReads = 0;
};

// What the audio thread saw, read only after the threads have finished.
struct AudioRecord {
    std::uint64_t refusedBlocks = 0;
    std::uint64_t nonFiniteSamples = 0;
};

// Noise in [-1, 1), different in every block.
void fillBlock(AudioBus& bus, std::uint32_t& state) {
    for (unsigned int c = 0; c < kChannels; ++c) {
        for (unsigned int f = 0; f < kFrames; ++f) {
            state = state * 1664525u + 1013904223u;
            bus.buffer.setSample(c, f, static_cast<float>(state >> 8) / 8388608.0f - 1.0f);
        }
    }
}

std::uint64_t countNonFinite(const AudioBus& bus) {
    std::uint64_t count = 0;
    for (unsigned int c = 0; c < kChannels; ++c) {
        for (unsigned int f = 0; f < kFrames; ++f) {
            if (!std::isfinite(bus.buffer.getSample(c, f))) ++count;
        }
    }
    return count;
}

void runWhileParametersChange(Subject& subject) {
    ASSERT_NE(subject.node, nullptr);
    auto& audioNode = dynamic_cast<SingleBusAudioProcessorNode&>(*subject.node);
    AudioBusFormatList inputFormats{AudioBusFormat{kChannels, kSampleRate, kFrames}};
    AudioBusFormatList outputFormats{AudioBusFormat{}};
    ASSERT_TRUE(audioNode.setBusFormats(inputFormats, outputFormats));

    const std::vector<Parameter>& parameters = subject.parameters;
    const std::size_t parameterCount = parameters.size();
    AudioBus in(kChannels, kFrames, kSampleRate);
    AudioBus out(kChannels, kFrames, kSampleRate);
    AudioBusList inputs{&in};
    AudioBusList outputs{&out};
    std::uint32_t noise = 1;
    AudioRecord audio;
    ControlRecord control[ConcurrentRun::kControlThreads];
    for (ControlRecord& record : control) record.lastWritten.resize(parameterCount);

    const ConcurrentRun::Counts counts = ConcurrentRun::run(
        kRunTime,
        [&] {
            fillBlock(in, noise);
            if (!audioNode.process(inputs, outputs)) ++audio.refusedBlocks;
            audio.nonFiniteSamples += countNonFinite(out);
        },
        [&](unsigned int thread, std::uint64_t step) {
            const std::size_t index = step % parameterCount;
            const std::uint64_t round = step / parameterCount;
            const Parameter& parameter = parameters[index];
            const std::vector<float>& values = parameter.values[thread];
            const float value = values[round % values.size()];
            parameter.setters[round % parameter.setters.size()](value);
            control[thread].lastWritten[index] = value;
            const float read = parameter.getters[step % parameter.getters.size()]();
            if (!parameter.mayRead(read)) ++control[thread].strayReads;
        });

    testing::Test::RecordProperty("blocks", std::to_string(counts.audioSteps));
    testing::Test::RecordProperty("controlSteps", std::to_string(counts.controlSteps[0]) + "+" +
                                                      std::to_string(counts.controlSteps[1]));
    EXPECT_GE(counts.audioSteps, kMinimumBlocks);
    EXPECT_EQ(audio.refusedBlocks, 0u);
    EXPECT_EQ(audio.nonFiniteSamples, 0u);
    for (unsigned int thread = 0; thread < ConcurrentRun::kControlThreads; ++thread) {
        // Every value through every setter at least once.
        EXPECT_GE(counts.controlSteps[thread], 8 * parameterCount) << "control thread " << thread;
        EXPECT_EQ(control[thread].strayReads, 0u) << "control thread " << thread;
    }
    for (std::size_t index = 0; index < parameterCount; ++index) {
        const Parameter& parameter = parameters[index];
        ASSERT_TRUE(control[0].lastWritten[index] && control[1].lastWritten[index])
            << parameter.name;
        for (const auto& getter : parameter.getters) {
            const float final = getter();
            EXPECT_TRUE(final == *control[0].lastWritten[index] ||
                        final == *control[1].lastWritten[index])
                << parameter.name << " ends at " << final << ", not a last written value";
        }
    }
}

TEST(NodeConcurrencyTest, DelayTakesParameterChangesWhileProcessing) {
    Subject subject = delaySubject();
    runWhileParametersChange(subject);
}

TEST(NodeConcurrencyTest, PingPongDelayTakesAccessorAndPropertyChangesWhileProcessing) {
    Subject subject = pingPongSubject();
    runWhileParametersChange(subject);
}

TEST(NodeConcurrencyTest, ChorusTakesParameterChangesWhileProcessing) {
    Subject subject = modulationSubject<ChorusNode>("AudioEffects.Chorus", 0.025f, 0.2f);
    runWhileParametersChange(subject);
}

TEST(NodeConcurrencyTest, FlangerTakesParameterChangesWhileProcessing) {
    Subject subject = modulationSubject<FlangerNode>("AudioEffects.Flanger", 0.005f, 0.4f);
    runWhileParametersChange(subject);
}

TEST(NodeConcurrencyTest, VibratoTakesParameterChangesWhileProcessing) {
    Subject subject = modulationSubject<VibratoNode>("AudioEffects.Vibrato", 0.01f, 4.0f);
    runWhileParametersChange(subject);
}

}  // namespace
