// Every node type of the extension's catalogue, made by the extension's factory, through a long
// random schedule: between blocks anything a host may do (every catalogued parameter set to any
// value of its kind, NaN, infinities and huge values included; the sample rate, channel count
// and frame count changed; formats renegotiated; the node enabled and disabled; every host
// property the type's descriptor declares set to any value), and then a block, through the
// list-level process or directly. Only the process calls are measured: none may allocate.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/EveryNodeType.h"
#include "audioeffects/nodes/AllocationCounter.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::testing::HeapTraffic;
using ostrana::testing::measureHeapTraffic;
using namespace ostrana::extensions::audioeffects;

using Random = std::mt19937;

constexpr unsigned int kSteps = 1500;
constexpr unsigned int kMaxChannels = 3;
constexpr unsigned int kCapacity = 1024;

float anyFloat(Random& random) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    static constexpr float kValues[] = {0.0f,
                                        -0.0f,
                                        0.5f,
                                        1.0f,
                                        -1.0f,
                                        0.99f,
                                        2.0f,
                                        1e30f,
                                        -1e30f,
                                        48000.0f,
                                        std::numeric_limits<float>::max(),
                                        std::numeric_limits<float>::lowest(),
                                        std::numeric_limits<float>::denorm_min(),
                                        kInfinity,
                                        -kInfinity,
                                        std::numeric_limits<float>::quiet_NaN()};
    return kValues[random() % std::size(kValues)];
}

// Mostly a value at or around the parameter's range or at the ends of its type, sometimes any.
unsigned int anyWholeNumber(const NodeParameter& parameter, Random& random) {
    const auto minimum = std::get<unsigned int>(parameter.minimum);
    const auto maximum = std::get<unsigned int>(parameter.maximum);
    const unsigned int values[] = {
        0,           minimum, minimum + 1, parameter.defaultAs<unsigned int>(),
        maximum - 1, maximum, maximum + 1, 5 * maximum,
        0xFFFFFFFF};
    if (random() % 4 == 0) return static_cast<unsigned int>(random());
    return values[random() % std::size(values)];
}

// Any value of the parameter's kind.
ParameterValue anyValueFor(const NodeParameter& parameter, Random& random) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return random() % 3 != 0;
        case ParameterKind::WholeNumber:
            return anyWholeNumber(parameter, random);
        case ParameterKind::RealNumber:
            break;
    }
    return anyFloat(random);
}

unsigned int anySampleRate(Random& random) {
    static constexpr unsigned int kValues[] = {0,     1,     999,   1000,   8000,
                                               44100, 48000, 96000, 192000, 384000};
    if (random() % 4 == 0) return static_cast<unsigned int>(random() % 384001);
    return kValues[random() % std::size(kValues)];
}

XVAny anyValue(Random& random) {
    switch (random() % 6) {
        case 0:
            return XVAny(random() % 2 == 0);
        case 1:
            return XVAny(static_cast<int>(random()));
        case 2:
            return XVAny(static_cast<unsigned int>(random()));
        case 3:
            return XVAny(anyFloat(random));
        case 4:
            return XVAny("0.5");
        default:
            return XVAny();
    }
}

// What the schedule may change on a node between blocks: each entry sets one catalogued
// parameter, or one host property the type's descriptor declares, to a random value.
using Change = std::function<void(Random&)>;

std::vector<Change> changesFor(const NodeTypeEntry& entry, SingleBusAudioProcessorNode* node) {
    std::vector<Change> changes;
    for (const NodeParameter& parameter : entry.parameters) {
        changes.push_back([&parameter, node](Random& random) {
            parameter.write(*node, anyValueFor(parameter, random));
        });
    }
    std::vector<std::string> keys;
    for (const XVAnyMap::Entry& property : entry.describe().properties) {
        keys.push_back(property.first);
    }
    if (!keys.empty()) {
        changes.push_back([keys, node](Random& random) {
            const std::string& key = keys[random() % keys.size()];
            (void)node->setValue(key, anyValue(random));
        });
    }
    return changes;
}

// Buses of every channel count from 0 to kMaxChannels, made before anything is measured, with
// the lists that hand them to the list-level process; and a small output bus that cannot hold
// a full block.
struct Buses {
    Buses() {
        std::uint32_t state = 7;
        for (unsigned int channels = 0; channels <= kMaxChannels; ++channels) {
            inputs.emplace_back(channels, kCapacity, 48000);
            outputs.emplace_back(channels, kCapacity, 48000);
            for (unsigned int c = 0; c < channels; ++c) {
                for (unsigned int f = 0; f < kCapacity; ++f) {
                    state = state * 1664525u + 1013904223u;
                    inputs.back().buffer.setSample(
                        c, f, static_cast<float>(state >> 8) / 8388608.0f - 1.0f);
                }
            }
        }
        for (unsigned int channels = 0; channels <= kMaxChannels; ++channels) {
            inputLists.push_back({&inputs[channels]});
            outputLists.push_back({&outputs[channels]});
        }
    }

    std::vector<AudioBus> inputs;
    std::vector<AudioBus> outputs;
    std::vector<AudioBusList> inputLists;
    std::vector<AudioBusList> outputLists;
    AudioBus smallOutput{1, 128};
};

struct ScheduleResult {
    HeapTraffic traffic;
    unsigned int listLevelBlocksTaken = 0;
    unsigned int directBlocks = 0;
};

ScheduleResult runRandomSchedule(const NodeTypeEntry& entry, std::uint32_t seed) {
    ScheduleResult result;
    const std::unique_ptr<SingleBusAudioProcessorNode> owner =
        ostrana::testing::createProcessor(entry);
    if (owner == nullptr) return result;
    SingleBusAudioProcessorNode& node = *owner;
    const std::string type = entry.typeName();
    const std::vector<Change> changes = changesFor(entry, owner.get());
    EXPECT_FALSE(changes.empty()) << type;
    if (changes.empty()) return result;

    Buses buses;
    Random random(seed);
    unsigned int channels = 2;
    unsigned int sampleRate = 48000;
    AudioBusFormatList stereo{AudioBusFormat{channels, sampleRate, 0}};
    AudioBusFormatList open{AudioBusFormat{}};
    EXPECT_TRUE(node.setBusFormats(stereo, open)) << type;
    for (unsigned int step = 0; step < kSteps; ++step) {
        // Between blocks: whatever a host may do.
        switch (random() % 6) {
            case 0:
            case 1:
                changes[random() % changes.size()](random);
                break;
            case 2:
                sampleRate = anySampleRate(random);
                break;
            case 3: {
                channels = random() % (kMaxChannels + 1);
                AudioBusFormatList in{AudioBusFormat{channels, sampleRate, 0}};
                AudioBusFormatList out{AudioBusFormat{}};
                (void)node.setBusFormats(in, out);
                break;
            }
            case 4:
                buses.inputs[channels].buffer.setNumberOfFrames(random() % (kCapacity + 1));
                break;
            default:
                break;
        }
        AudioBus& in = buses.inputs[channels];
        in.buffer.setSampleRate(sampleRate);

        // The block: only this is measured.
        bool taken = false;
        HeapTraffic traffic;
        const unsigned int route = random() % 4;
        if (route < 2) {
            AudioBusList& inputs = buses.inputLists[channels];
            AudioBusList& outputs = buses.outputLists[channels];
            traffic = measureHeapTraffic([&] { taken = node.process(inputs, outputs); });
            if (taken) ++result.listLevelBlocksTaken;
        } else {
            AudioBus& out =
                route == 2 ? buses.outputs[random() % (kMaxChannels + 1)] : buses.smallOutput;
            traffic = measureHeapTraffic([&] { taken = node.process(in, out); });
            EXPECT_TRUE(taken) << type << ": the direct process returns true";
            ++result.directBlocks;
        }
        result.traffic.allocations += traffic.allocations;
        result.traffic.deallocations += traffic.deallocations;
    }
    return result;
}

class RandomScheduleAllocationTest : public testing::TestWithParam<NodeTypeEntry> {};

TEST_P(RandomScheduleAllocationTest, ProcessAllocatesNothingWhateverHappensBetweenBlocks) {
    for (const std::uint32_t seed : {1u, 2u, 3u}) {
        const ScheduleResult result = runRandomSchedule(GetParam(), seed);
        EXPECT_EQ(result.traffic.allocations, 0u) << "seed " << seed;
        EXPECT_EQ(result.traffic.deallocations, 0u) << "seed " << seed;
        // The schedule really ran blocks through both routes.
        EXPECT_GE(result.listLevelBlocksTaken, kSteps / 20) << "seed " << seed;
        EXPECT_GE(result.directBlocks, kSteps / 4) << "seed " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryNodeType, RandomScheduleAllocationTest,
                         ostrana::testing::everyNodeType(), ostrana::testing::nodeTypeTestName);

}  // namespace
