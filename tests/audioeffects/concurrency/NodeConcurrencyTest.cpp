// Each node type of the extension's catalogue, made by the extension's factory, processes
// blocks continuously on one thread while two control threads write every parameter the
// catalogue lists for it (through the catalogue's accessors and, for each host property the
// type's descriptor declares, through setValue and getValue as well) with changing values from
// the parameter's own range. Run in the ThreadSanitizer build, these tests prove the parameters
// are safe to change while audio runs; in every build they check that every block was
// processed, that the output stayed finite, that every concurrent read returned a value some
// thread wrote (or the default), and that the final values are the last ones written.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/SchemaConstants.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/EveryNodeType.h"
#include "audioeffects/concurrency/ConcurrentRun.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
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

// Where in its range each control thread's values lie, from the minimum (0) to the maximum (1).
const std::vector<double> kPlaces[ConcurrentRun::kControlThreads] = {{0.0, 1.0, 0.5, 0.125},
                                                                     {0.75, 0.25, 0.375}};

using Setter = std::function<void(const ParameterValue&)>;
// A read that gives nothing is one of the wrong kind: it counts as a stray read.
using Getter = std::function<std::optional<ParameterValue>()>;

// One parameter as the control threads drive it. Each thread cycles through its own values, all
// inside the parameter's range, through each of the setters in turn, and reads back through
// each getter in turn.
struct Control {
    std::string name;
    ParameterValue defaultValue;
    std::vector<ParameterValue> values[ConcurrentRun::kControlThreads];
    std::vector<Setter> setters;
    std::vector<Getter> getters;

    // Whether a read may have returned this: the default or a value some thread writes.
    bool mayRead(const std::optional<ParameterValue>& value) const {
        if (!value) return false;
        if (*value == defaultValue) return true;
        for (const std::vector<ParameterValue>& written : values) {
            for (const ParameterValue& candidate : written) {
                if (*value == candidate) return true;
            }
        }
        return false;
    }
};

// The value at place (0 to 1) in the parameter's range; a switch is on from the middle up.
ParameterValue valueAt(const NodeParameter& parameter, double place) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return place >= 0.5;
        case ParameterKind::WholeNumber: {
            const double minimum = std::get<unsigned int>(parameter.minimum);
            const double maximum = std::get<unsigned int>(parameter.maximum);
            return static_cast<unsigned int>(std::lround(minimum + place * (maximum - minimum)));
        }
        case ParameterKind::RealNumber:
            break;
    }
    const double minimum = std::get<float>(parameter.minimum);
    const double maximum = std::get<float>(parameter.maximum);
    return static_cast<float>(minimum + place * (maximum - minimum));
}

Control controlFor(const NodeParameter& parameter, SingleBusAudioProcessorNode* node) {
    Control control{std::string(parameter.name), parameter.defaultValue, {}, {}, {}};
    for (unsigned int thread = 0; thread < ConcurrentRun::kControlThreads; ++thread) {
        for (double place : kPlaces[thread]) {
            control.values[thread].push_back(valueAt(parameter, place));
        }
    }
    control.setters.push_back(
        [&parameter, node](const ParameterValue& value) { parameter.write(*node, value); });
    control.getters.push_back(
        [&parameter, node]() -> std::optional<ParameterValue> { return parameter.read(*node); });
    return control;
}

// A value as a host sends it to a property of the given schema type: a whole number goes to an
// "int" property as an int, everything else as the value's own kind.
XVAny hostValue(const std::string& schemaType, const ParameterValue& value) {
    if (schemaType == ostrana::PROPERTY_TYPE_INT) {
        return XVAny(static_cast<int>(std::get<unsigned int>(value)));
    }
    return std::visit([](auto held) { return XVAny(held); }, value);
}

// What getValue returned, when it is of the parameter's kind.
std::optional<ParameterValue> parameterValue(const NodeParameter& parameter, const XVAny& value) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            if (value.kind() != XVAny::Kind::Bool) return std::nullopt;
            return XVAny::convert<bool>(value);
        case ParameterKind::WholeNumber:
            if (value.kind() != XVAny::Kind::UnsignedInt) return std::nullopt;
            return XVAny::convert<unsigned int>(value);
        case ParameterKind::RealNumber:
            break;
    }
    if (value.kind() != XVAny::Kind::Float) return std::nullopt;
    return XVAny::convert<float>(value);
}

// Adds the host property key, of the given schema, as a second setter and a second getter of
// the control of the parameter of the same name.
void addPropertyAccess(Control& control, const NodeParameter& parameter,
                       SingleBusAudioProcessorNode* node, const std::string& key,
                       const XVAnyMap& schema) {
    const std::string schemaType =
        XVAny::convert<std::string>(schema.at(ostrana::PROPERTY_FIELD_TYPE));
    control.setters.push_back([node, key, schemaType](const ParameterValue& value) {
        // An error result cannot come from a well-typed value; it would show in the reads.
        (void)node->setValue(key, hostValue(schemaType, value));
    });
    control.getters.push_back([&parameter, node, key]() -> std::optional<ParameterValue> {
        auto read = node->getValue(key);
        if (!read.isOk()) return std::nullopt;
        return parameterValue(parameter, read.value());
    });
}

struct Subject {
    std::unique_ptr<SingleBusAudioProcessorNode> node;
    std::vector<Control> controls;
};

// A node of the entry's type with a control for every catalogued parameter, and every host
// property its descriptor declares added to the control of the same name.
Subject subjectFor(const NodeTypeEntry& entry) {
    Subject subject{ostrana::testing::createProcessor(entry), {}};
    if (subject.node == nullptr) return subject;
    for (const NodeParameter& parameter : entry.parameters) {
        subject.controls.push_back(controlFor(parameter, subject.node.get()));
    }
    for (const XVAnyMap::Entry& property : entry.describe().properties) {
        const NodeParameter* parameter = entry.findParameter(property.first);
        if (parameter == nullptr) {
            ADD_FAILURE() << "the catalogue lists no parameter for the property " << property.first;
            continue;
        }
        const auto index = static_cast<std::size_t>(parameter - entry.parameters.data());
        addPropertyAccess(subject.controls[index], *parameter, subject.node.get(), property.first,
                          XVAny::convert<XVAnyMap>(property.second));
    }
    return subject;
}

// What each control thread saw and did, read only after the threads have finished.
struct ControlRecord {
    std::vector<std::optional<ParameterValue>> lastWritten;
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

std::string describe(const std::optional<ParameterValue>& value) {
    return value ? formatValue(*value) : std::string("a value of another kind");
}

void runWhileParametersChange(Subject& subject) {
    ASSERT_NE(subject.node, nullptr);
    ASSERT_FALSE(subject.controls.empty());
    SingleBusAudioProcessorNode& audioNode = *subject.node;
    AudioBusFormatList inputFormats{AudioBusFormat{kChannels, kSampleRate, kFrames}};
    AudioBusFormatList outputFormats{AudioBusFormat{}};
    ASSERT_TRUE(audioNode.setBusFormats(inputFormats, outputFormats));

    const std::vector<Control>& controls = subject.controls;
    const std::size_t controlCount = controls.size();
    AudioBus in(kChannels, kFrames, kSampleRate);
    AudioBus out(kChannels, kFrames, kSampleRate);
    AudioBusList inputs{&in};
    AudioBusList outputs{&out};
    std::uint32_t noise = 1;
    AudioRecord audio;
    ControlRecord record[ConcurrentRun::kControlThreads];
    for (ControlRecord& thread : record) thread.lastWritten.resize(controlCount);

    const ConcurrentRun::Counts counts = ConcurrentRun::run(
        kRunTime,
        [&] {
            fillBlock(in, noise);
            if (!audioNode.process(inputs, outputs)) ++audio.refusedBlocks;
            audio.nonFiniteSamples += countNonFinite(out);
        },
        [&](unsigned int thread, std::uint64_t step) {
            const std::size_t index = step % controlCount;
            const std::uint64_t round = step / controlCount;
            const Control& control = controls[index];
            const std::vector<ParameterValue>& values = control.values[thread];
            const ParameterValue& value = values[round % values.size()];
            control.setters[round % control.setters.size()](value);
            record[thread].lastWritten[index] = value;
            const std::optional<ParameterValue> read =
                control.getters[step % control.getters.size()]();
            if (!control.mayRead(read)) ++record[thread].strayReads;
        });

    testing::Test::RecordProperty("blocks", std::to_string(counts.audioSteps));
    testing::Test::RecordProperty("controlSteps", std::to_string(counts.controlSteps[0]) + "+" +
                                                      std::to_string(counts.controlSteps[1]));
    EXPECT_GE(counts.audioSteps, kMinimumBlocks);
    EXPECT_EQ(audio.refusedBlocks, 0u);
    EXPECT_EQ(audio.nonFiniteSamples, 0u);
    for (unsigned int thread = 0; thread < ConcurrentRun::kControlThreads; ++thread) {
        // Every value through every setter at least once.
        EXPECT_GE(counts.controlSteps[thread], 8 * controlCount) << "control thread " << thread;
        EXPECT_EQ(record[thread].strayReads, 0u) << "control thread " << thread;
    }
    for (std::size_t index = 0; index < controlCount; ++index) {
        const Control& control = controls[index];
        ASSERT_TRUE(record[0].lastWritten[index] && record[1].lastWritten[index]) << control.name;
        for (const Getter& getter : control.getters) {
            const std::optional<ParameterValue> final = getter();
            EXPECT_TRUE(final == record[0].lastWritten[index] ||
                        final == record[1].lastWritten[index])
                << control.name << " ends at " << describe(final) << ", not a last written value";
        }
    }
}

class NodeConcurrencyTest : public testing::TestWithParam<NodeTypeEntry> {};

TEST_P(NodeConcurrencyTest, TakesParameterAndPropertyChangesWhileProcessing) {
    Subject subject = subjectFor(GetParam());
    runWhileParametersChange(subject);
}

INSTANTIATE_TEST_SUITE_P(EveryNodeType, NodeConcurrencyTest, ostrana::testing::everyNodeType(),
                         ostrana::testing::nodeTypeTestName);

}  // namespace
