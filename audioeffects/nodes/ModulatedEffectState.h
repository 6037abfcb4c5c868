#pragma once

#include <atomic>
#include <type_traits>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

#include "nodes/ModulatedDelayLine.h"

namespace ostrana::extensions::audioeffects {

// The channel capacity of a chorus or flanger and its oscillators: one per channel, each a
// quarter cycle after the one before.
struct OscillatorPerChannel {
    OscillatorPerChannel(unsigned int channels, float frequency);

    unsigned int numberOfChannels;
    std::vector<audio::LFO> lfos;
};

// The channel capacity of a vibrato and the one oscillator that all its channels share.
struct SharedOscillator {
    SharedOscillator(unsigned int channels, float frequency);

    unsigned int numberOfChannels;
    audio::LFO lfo;
};

// The oscillators of an effect: one per channel or one for all.
template <ModulatedDelayLine::Effect kEffect>
using OscillatorsOf =
    std::conditional_t<kEffect.oscillatorPerChannel, OscillatorPerChannel, SharedOscillator>;

// Everything a node built on the modulated delay line holds besides its fixed gains, and what
// it does with it: the channel capacity and oscillators (the base), one line per channel, the
// rate and channel count of the previous block, and the enable flag and sweep width that
// control threads exchange while the audio thread reads them. Each node's Internals derives
// from the state of its effect, and the node's accessors and process forward here.
template <ModulatedDelayLine::Effect kEffect>
struct ModulatedEffectState : OscillatorsOf<kEffect> {
    explicit ModulatedEffectState(unsigned int channels)
        : OscillatorsOf<kEffect>(channels, kEffect.defaultFrequency),
          delayLines(ModulatedDelayLine::makeLines(channels)) {}

    std::vector<audio::CircularBuffer> delayLines;
    unsigned int lastSampleRate = 0;
    unsigned int lastNumberOfChannels = 0;
    std::atomic<bool> isEnabled{true};
    std::atomic<float> sweepWidth{kEffect.defaultSweepWidth};

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);

    bool getIsEnabled() const { return isEnabled.load(std::memory_order_relaxed); }
    void setIsEnabled(bool enabled) { isEnabled.exchange(enabled); }
    float getSweepWidth() const { return sweepWidth.load(std::memory_order_relaxed); }
    void setSweepWidth(float width) { sweepWidth.exchange(width); }

    // The first channel's oscillator (the starting frequency when there are no channels), or
    // the shared one.
    float getFrequency() const {
        if constexpr (kEffect.oscillatorPerChannel) {
            if (this->lfos.empty()) return kEffect.defaultFrequency;
            return this->lfos.front().getFrequency();
        } else {
            return this->lfo.getFrequency();
        }
    }

    // Every oscillator, channel 0 first.
    void setFrequency(float frequency) {
        if constexpr (kEffect.oscillatorPerChannel) {
            for (audio::LFO& oscillator : this->lfos) oscillator.setFrequency(frequency);
        } else {
            this->lfo.setFrequency(frequency);
        }
    }

    // One block: the input copied to the output, then, when the block fits the lines and the
    // effect is on, the lines cleared on a change of format and the block rendered. wetGain and
    // feedback are the node's fixed gains, where its effect uses them.
    bool process(AudioBus& inBus, AudioBus& outBus, float wetGain, float feedback) {
        outBus.copyFrom(inBus);
        if (!SingleBusAudioProcessorNode::busesFit(inBus, outBus, this->numberOfChannels)) {
            return true;
        }
        if (!isEnabled.load(std::memory_order_relaxed)) return true;

        const AudioBuffer<float>& input = inBus.buffer;
        const unsigned int sampleRate = input.getSampleRate();
        const unsigned int channels = input.getNumberOfChannels();
        const unsigned int frames = input.getNumberOfFrames();
        ModulatedDelayLine::followFormat(sampleRate, channels, lastSampleRate, lastNumberOfChannels,
                                         delayLines);
        if (frames == 0) return true;
        if (channels == 0) {
            if constexpr (!kEffect.oscillatorPerChannel) {
                // The shared oscillator keeps running through blocks that carry no channels.
                for (unsigned int f = 0; f < frames; ++f) {
                    this->lfo.process(static_cast<int>(sampleRate));
                }
            }
            return true;
        }
        ModulatedDelayLine::render<kEffect>(input, outBus.buffer, oscillators(), delayLines.data(),
                                            sweepWidth, wetGain, feedback);
        return true;
    }

  private:
    audio::LFO* oscillators() {
        if constexpr (kEffect.oscillatorPerChannel) {
            return this->lfos.data();
        } else {
            return &this->lfo;
        }
    }
};

}  // namespace ostrana::extensions::audioeffects
