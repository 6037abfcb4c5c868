#include "nodes/SweptEffectProcessor.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

namespace {

// Compared bit for bit, so that a NaN or a zero of the other sign counts as a change too.
bool differs(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) != std::bit_cast<std::uint32_t>(b);
}

}  // namespace

SweptEffectProcessor::SweptEffectProcessor(unsigned int channels, bool oscillatorPerChannel,
                                           std::span<const SweptSlot> slots)
    : numberOfChannels_(channels),
      oscillatorPerChannel_(oscillatorPerChannel),
      lines_(SweptNodeRules::makeLines(channels)) {
    startFromDefaults<SweptParameters>(*this, slots);
    const float startingFrequency = frequency.load();
    appliedStereoPhase_ = stereoPhase.load();
    // An effect that shares its oscillator keeps one for each further channel all the same,
    // for a stereo phase other than 0: built here, never while processing.
    const unsigned int count = std::max(channels, 1u);
    oscillators_.reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        const float offset =
            oscillatorPerChannel ? SweptNodeRules::phaseOffsetOf(i, appliedStereoPhase_) : 0.0f;
        oscillators_.push_back(SweptNodeRules::makeOscillator(startingFrequency, offset));
    }
    if (!oscillatorPerChannel) appliedStereoPhase_ = 0.0f;  // the followers' offsets
    lookAheads_.resize(oscillators_.size());
    dry_.resize(static_cast<std::size_t>(channels) * kMixChunk);
    chunkViews_.reserve(channels);
    for (unsigned int n = 1; n <= channels; ++n) {
        chunkViews_.push_back(
            {AudioBuffer<float>::view(n, kMixChunk), AudioBuffer<float>::view(n, kMixChunk)});
        for (unsigned int c = 0; c < n; ++c) {
            chunkViews_.back().dry.attachChannel(c, dry_.data() + c * kMixChunk);
        }
    }
}

void SweptEffectProcessor::passFrequencyOn() {
    const float wanted = frequency.load(std::memory_order_relaxed);
    // A shared oscillator's followers out of step take it from the oscillator when they join.
    const std::size_t running = oscillatorPerChannel_ ? oscillators_.size() : oscillatorsInStep_;
    for (std::size_t i = 0; i < running; ++i) {
        if (differs(oscillators_[i].getFrequency(), wanted)) oscillators_[i].setFrequency(wanted);
    }
}

void SweptEffectProcessor::offsetFollowers(float degrees) {
    appliedStereoPhase_ = degrees;
    for (unsigned int i = 1; i < oscillators_.size(); ++i) {
        oscillators_[i].setPhaseOffset(SweptNodeRules::phaseOffsetOf(i, degrees));
    }
}

void SweptEffectProcessor::passStereoPhaseOn() {
    const float degrees = stereoPhase.load(std::memory_order_relaxed);
    if (differs(degrees, appliedStereoPhase_)) offsetFollowers(degrees);
}

bool SweptEffectProcessor::spreadOscillators(unsigned int channels) {
    const float degrees = stereoPhase.load(std::memory_order_relaxed);
    if (degrees == 0.0f || channels > oscillators_.size()) {
        sharesOscillator();
        return false;
    }
    const bool joining = oscillatorsInStep_ < channels;
    if (joining) {
        // The followers start where the shared oscillator stands: settled, so that its phase is
        // that of the steps it has handed out.
        audio::LFO& leader = oscillators_.front();
        leader.settle(lookAheads_.front());
        for (unsigned int i = oscillatorsInStep_; i < channels; ++i) {
            oscillators_[i].settle(lookAheads_[i]);
            oscillators_[i] = leader;
        }
    }
    oscillatorsInStep_ = channels;
    if (joining || differs(degrees, appliedStereoPhase_)) offsetFollowers(degrees);
    return true;
}

bool SweptEffectProcessor::prepareBlock(AudioBus& inBus, AudioBus& outBus) {
    if (!SingleBusAudioProcessorNode::busesFit(inBus, outBus, numberOfChannels_) ||
        !isEnabled.load(std::memory_order_relaxed)) {
        outBus.copyFrom(inBus);
        return false;
    }
    // The block is rendered, which writes every sample of its channels: the output takes the
    // input's format, and copying the samples first would only be overwritten.
    outBus.buffer.setNumberOfFrames(inBus.buffer.getNumberOfFrames());
    outBus.buffer.setSampleRate(inBus.buffer.getSampleRate());
    SweptNodeRules::followFormat(inBus.buffer.getSampleRate(), inBus.buffer.getNumberOfChannels(),
                                 lastSampleRate_, lastNumberOfChannels_, lines_);
    passFrequencyOn();
    // A shared oscillator's followers take theirs when they are spread (spreadsOscillators).
    if (oscillatorPerChannel_) passStereoPhaseOn();
    return true;
}

const std::atomic<float>& SweptEffectProcessor::glidingWidthForBlock(float sampleRate) {
    widthMoving_ = false;
    const float glideMs = glide.load(std::memory_order_relaxed);
    if (glideMs == 0.0f) {
        widthTracked_ = false;
        return sweepWidth;
    }
    const float target = sweepWidth.load(std::memory_order_relaxed);
    const float current = glidingWidth_.load(std::memory_order_relaxed);
    const float glideFrames = glideMs * 0.001f * sampleRate;
    // Glide only between finite widths and over at least a frame; anything else jumps.
    if (!widthTracked_ || !std::isfinite(target) || !std::isfinite(current) ||
        !(glideFrames >= 1.0f)) {
        glidingWidth_.store(target, std::memory_order_relaxed);
        widthTracked_ = true;
        return glidingWidth_;
    }
    if (current == target) return glidingWidth_;
    if (differs(target, widthTarget_) || !(widthPerFrame_ != 0.0f)) {
        widthTarget_ = target;
        widthPerFrame_ = (target - current) / glideFrames;
    }
    widthMoving_ = true;
    return glidingWidth_;
}

void SweptEffectProcessor::glideWidth(unsigned int count) {
    const float current = glidingWidth_.load(std::memory_order_relaxed);
    const float next = current + widthPerFrame_ * static_cast<float>(count);
    const bool arrives = widthPerFrame_ > 0.0f ? next >= widthTarget_ : next <= widthTarget_;
    glidingWidth_.store(arrives ? widthTarget_ : next, std::memory_order_relaxed);
}

void SweptEffectProcessor::keepDry(const AudioBuffer<float>& input, AudioBuffer<float>& output,
                                   ChunkViews& views, unsigned int start, unsigned int count) {
    const unsigned int channels = input.getNumberOfChannels();
    views.dry.setNumberOfFrames(count);
    views.dry.setSampleRate(input.getSampleRate());
    views.output.setNumberOfFrames(count);
    views.output.setSampleRate(input.getSampleRate());
    for (unsigned int c = 0; c < channels; ++c) {
        const float* from = input.getChannel(c) + start;
        std::copy(from, from + count, views.dry.getChannel(c));
        views.output.attachChannel(c, output.getChannel(c) + start);
    }
}

void SweptEffectProcessor::crossfade(ChunkViews& views, float wetShare) {
    const float dryShare = 1.0f - wetShare;
    const unsigned int count = views.dry.getNumberOfFrames();
    for (unsigned int c = 0; c < views.dry.getNumberOfChannels(); ++c) {
        const float* dry = views.dry.getChannel(c);
        float* out = views.output.getChannel(c);
        if (wetShare == 0.0f) {
            std::copy(dry, dry + count, out);
            continue;
        }
        for (unsigned int i = 0; i < count; ++i) out[i] = dry[i] * dryShare + out[i] * wetShare;
    }
}

}  // namespace ostrana::extensions::audioeffects
