// Every node type, made by the extension's factory, through a long random schedule: between
// blocks anything a host may do (parameters set to any value, NaN, infinities and huge values
// included; the sample rate, channel count and frame count changed; formats renegotiated; the
// node enabled and disabled; the ping-pong delay's properties set), and then a block, through
// the list-level process or directly. Only the process calls are measured: none may allocate.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <random>
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

#include "audioeffects/nodes/AllocationCounter.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::Node;
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

unsigned int anyDelayMs(Random& random) {
    static constexpr unsigned int kValues[] = {0, 1, 2, 200, 999, 1000, 1001, 5000, 0xFFFFFFFF};
    if (random() % 4 == 0) return static_cast<unsigned int>(random());
    return kValues[random() % std::size(kValues)];
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

// What the schedule may change on a node between blocks: each entry sets one parameter (or,
// for the ping-pong delay, one property) to a random value.
using Change = std::function<void(Random&)>;

template <typename ModulationNode>
std::vector<Change> modulationChanges(ModulationNode* node) {
    return {
        [node](Random& random) { node->setIsEnabled(random() % 3 != 0); },
        [node](Random& random) { node->setSweepWidth(anyFloat(random)); },
        [node](Random& random) { node->setFrequency(anyFloat(random)); },
    };
}

template <typename DelayLikeNode>
std::vector<Change> delayChanges(DelayLikeNode* node) {
    return {
        [node](Random& random) { node->setIsEnabled(random() % 3 != 0); },
        [node](Random& random) { node->setDryMix(anyFloat(random)); },
        [node](Random& random) { node->setWetMix(anyFloat(random)); },
        [node](Random& random) { node->setDelayMs(anyDelayMs(random)); },
        [node](Random& random) { node->setFeedbackLevel(anyFloat(random)); },
    };
}

std::vector<Change> changesFor(Node& node) {
    if (auto* delay = dynamic_cast<DelayNode*>(&node)) return delayChanges(delay);
    if (auto* pingPong = dynamic_cast<PingPongDelayNode*>(&node)) {
        std::vector<Change> changes = delayChanges(pingPong);
        changes.push_back([pingPong](Random& random) {
            static const char* const kKeys[] = {"enabled", "delayMs", "dryMix", "wetMix",
                                                "feedbackLevel"};
            (void)pingPong->setValue(kKeys[random() % 5], anyValue(random));
        });
        return changes;
    }
    if (auto* chorus = dynamic_cast<ChorusNode*>(&node)) return modulationChanges(chorus);
    if (auto* flanger = dynamic_cast<FlangerNode*>(&node)) return modulationChanges(flanger);
    if (auto* vibrato = dynamic_cast<VibratoNode*>(&node)) return modulationChanges(vibrato);
    return {};
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

ScheduleResult runRandomSchedule(const std::string& type, std::uint32_t seed) {
    ScheduleResult result;
    auto created = AudioEffectsNodeFactory().createNode(type, XVAnyMap{});
    EXPECT_TRUE(created.isOk()) << type;
    if (!created.isOk()) return result;
    std::unique_ptr<Node> owner = std::move(created).value();
    auto& node = dynamic_cast<SingleBusAudioProcessorNode&>(*owner);
    const std::vector<Change> changes = changesFor(node);
    EXPECT_FALSE(changes.empty()) << type;

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

class RandomScheduleAllocationTest : public testing::TestWithParam<const char*> {};

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
                         testing::Values("AudioEffects.Delay", "AudioEffects.PingPongDelay",
                                         "AudioEffects.Vibrato", "AudioEffects.Flanger",
                                         "AudioEffects.Chorus"),
                         [](const testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             return name.substr(name.find('.') + 1);
                         });

}  // namespace
