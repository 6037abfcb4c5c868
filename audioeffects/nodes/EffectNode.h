#pragma once

#include <atomic>
#include <memory>
#include <string_view>

#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {

// What an effect's one definition holds, for EffectNode to make it a host node:
//
//     struct Tremolo {
//         static constexpr EffectNames kNames{"tremolo", "Tremolo", "Tremolo", "Applies ..."};
//         struct Values { std::atomic<bool> isEnabled; std::atomic<float> depth; ... };
//         static constexpr ParameterSlot<Values> kSlots[] = {...};  // the switch among them
//         struct State {                       // lines, oscillators: built for the capacity
//             explicit State(unsigned int channelCapacity);
//             void reset(unsigned int sampleRate, unsigned int channels);  // on a new format
//         };
//         static void render(State&, const Values&, const AudioBuffer<float>& input,
//                            AudioBuffer<float>& output);  // one block: writes every sample
//     };
struct EffectNames {
    std::string_view shortName;  // "tremolo": what people type
    const char* subtype;         // "Tremolo": the type name is "AudioEffects.Tremolo"
    const char* displayName;     // "Tremolo"
    const char* description;     // one sentence, as the descriptors say it
    bool widensMono = false;     // see NodeTypeEntry::widensMono
};

template <typename Effect>
concept EffectDefinition = requires(typename Effect::State& state,
                                    const typename Effect::Values& values,
                                    const AudioBuffer<float>& input, AudioBuffer<float>& output) {
    { Effect::kNames } -> std::convertible_to<EffectNames>;
    { values.isEnabled.load() } -> std::same_as<bool>;
    state.reset(0u, 0u);
    Effect::render(state, values, input, output);
};

// Any effect definition as a host node: it takes matching formats of up to its channel
// capacity; off, or given a block it cannot take, it passes the input through unchanged; on a
// new rate or channel count it resets the effect's state; otherwise the definition renders the
// block, reading its parameters' atomics as it needs them.
template <EffectDefinition Effect>
class EffectNode final : public SingleBusAudioProcessorNode {
  public:
    explicit EffectNode(unsigned int channelCapacity)
        : internals_(std::make_unique<Internals>(channelCapacity)) {}

    using SingleBusAudioProcessorNode::process;

    bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) override {
        return AudioBusFormat::matchBusFormats(inputBusFormat, outputBusFormat) &&
               inputBusFormat.numberOfChannels <= internals_->capacity;
    }

    bool process(AudioBus& inBus, AudioBus& outBus) override {
        Internals& core = *internals_;
        if (!busesFit(inBus, outBus, core.capacity) ||
            !core.isEnabled.load(std::memory_order_relaxed)) {
            outBus.copyFrom(inBus);
            return true;
        }
        const AudioBuffer<float>& input = inBus.buffer;
        outBus.buffer.setNumberOfFrames(input.getNumberOfFrames());
        outBus.buffer.setSampleRate(input.getSampleRate());
        if (input.getSampleRate() != core.lastSampleRate ||
            input.getNumberOfChannels() != core.lastChannels) {
            core.lastSampleRate = input.getSampleRate();
            core.lastChannels = input.getNumberOfChannels();
            core.state.reset(core.lastSampleRate, core.lastChannels);
        }
        Effect::render(core.state, core, input, outBus.buffer);
        return true;
    }

    static NodeTypeInfo getNodeTypeInfo() {
        return makeEffectNodeTypeInfo(Effect::kNames.subtype, Effect::kNames.displayName,
                                      Effect::kNames.description);
    }

  private:
    friend struct NodeInternals;

    struct Internals : Effect::Values {
        explicit Internals(unsigned int channelCapacity)
            : capacity(channelCapacity), state(channelCapacity) {
            startFromDefaults<typename Effect::Values>(*this, Effect::kSlots);
        }
        unsigned int capacity;
        typename Effect::State state;
        unsigned int lastSampleRate = 0;
        unsigned int lastChannels = 0;
    };
    std::unique_ptr<Internals> internals_;
};

// The catalogue entry of an effect definition: mono or stereo, its nodes built for two.
template <EffectDefinition Effect>
constexpr NodeTypeEntry effectEntry() {
    return monoOrStereoEntry<EffectNode<Effect>, typename Effect::Values, Effect::kSlots>(
        Effect::kNames.shortName, Effect::kNames.widensMono);
}

}  // namespace ostrana::extensions::audioeffects
