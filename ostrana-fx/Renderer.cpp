#include "Renderer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

namespace ostrana::fx {

using extensions::audioeffects::TailTracker;

Renderer::Renderer(SampleSource& source, NodeChain& chain, FrameSink& writer,
                   unsigned int blockFrames)
    : source_(source),
      chain_(chain),
      writer_(writer),
      blockFrames_(blockFrames),
      channels_(source.channels()) {
    setProcessedChannels({});
}

void Renderer::setProcessedChannels(std::vector<unsigned int> channels) {
    processed_ = std::move(channels);
    if (!processed_.empty()) return;
    for (unsigned int channel = 0; channel < channels_; ++channel) processed_.push_back(channel);
}

void Renderer::deinterleaveInput(const float* interleaved, std::size_t frames) {
    AudioBuffer<float>& buffer = chain_.input().buffer;
    buffer.setNumberOfFrames(static_cast<unsigned int>(frames));
    for (unsigned int channel = 0; channel < processed_.size(); ++channel) {
        float* samples = buffer.getChannel(channel);
        const unsigned int from = processed_[channel];
        for (std::size_t frame = 0; frame < frames; ++frame) {
            samples[frame] = interleaved[frame * channels_ + from];
        }
    }
}

void Renderer::interleaveOutput(float* interleaved, const float* input, std::size_t frames) const {
    if (processed_.size() < channels_) std::copy(input, input + frames * channels_, interleaved);
    const AudioBuffer<float>& buffer = chain_.output().buffer;
    for (unsigned int channel = 0; channel < processed_.size(); ++channel) {
        const float* samples = buffer.getChannel(channel);
        const unsigned int to = processed_[channel];
        for (std::size_t frame = 0; frame < frames; ++frame) {
            interleaved[frame * channels_ + to] = samples[frame];
        }
    }
}

void Renderer::applyGain(float* interleaved, std::size_t frames) const {
    if (gain_ == 1.0f) return;
    for (std::size_t i = 0; i < frames * channels_; ++i) interleaved[i] *= gain_;
}

std::size_t Renderer::fillChunk(float* interleaved, std::size_t maxFrames) {
    std::size_t filled = 0;
    while (filled < maxFrames) {
        const std::size_t frames =
            source_.readFrames(interleaved + filled * channels_, maxFrames - filled);
        if (frames == 0) break;
        filled += frames;
    }
    return filled;
}

// The tail that follows the input: fixed, or automatic and ending with a quiet stretch as
// long as the chain's longest delay asks.
TailTracker Renderer::makeTail() {
    if (!tail_.automatic) return TailTracker::fixed(source_.sampleRate(), tail_.seconds);
    return TailTracker::automatic(source_.sampleRate(), tail_.longestSeconds,
                                  chain_.quietTailSeconds(source_.sampleRate()));
}

std::size_t Renderer::fillTail(const TailTracker& tail, float* interleaved,
                               std::size_t maxFrames) const {
    const std::size_t frames = tail.framesToFeed(maxFrames);
    std::fill(interleaved, interleaved + frames * channels_, 0.0f);
    return frames;
}

void Renderer::inspectInput(float* interleaved, std::size_t frames,
                            RenderStatistics& statistics) const {
    for (std::size_t i = 0; i < frames * channels_; ++i) {
        if (std::isfinite(interleaved[i])) continue;
        ++statistics.nonFiniteInput;
        if (sanitize_) interleaved[i] = 0.0f;
    }
}

void Renderer::inspectOutput(const float* interleaved, std::size_t frames,
                             RenderStatistics& statistics) const {
    if (!countClipping_) return;
    for (std::size_t i = 0; i < frames * channels_; ++i) {
        const float magnitude = std::fabs(interleaved[i]);
        if (!(magnitude > 1.0f)) continue;
        ++statistics.clipped;
        statistics.peak = std::max(statistics.peak, magnitude);
    }
}

RenderStatistics Renderer::run() {
    // Files are read and written in chunks of whole blocks of at least kChunkFrames frames, so
    // that small blocks do not mean small reads and writes; the nodes still get every block
    // exactly as --block sets it.
    const std::size_t blocksPerChunk = std::max<std::size_t>(1, kChunkFrames / blockFrames_);
    const std::size_t chunkFrames = blocksPerChunk * blockFrames_;
    std::vector<float> inputChunk(chunkFrames * channels_);
    std::vector<float> outputChunk(chunkFrames * channels_);
    RenderStatistics statistics;
    TailTracker tail = makeTail();
    bool inTail = false;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        std::size_t chunk = 0;
        std::size_t firstTailFrame = 0;
        if (!inTail) {
            chunk = fillChunk(inputChunk.data(), chunkFrames);
            inspectInput(inputChunk.data(), chunk, statistics);
            if (chunk < chunkFrames) {
                inTail = true;
                firstTailFrame = chunk;
                chunk += fillTail(tail, inputChunk.data() + chunk * channels_, chunkFrames - chunk);
            }
        } else {
            chunk = fillTail(tail, inputChunk.data(), chunkFrames);
        }
        if (chunk == 0) break;
        for (std::size_t first = 0; first < chunk; first += blockFrames_) {
            const std::size_t frames = std::min<std::size_t>(blockFrames_, chunk - first);
            deinterleaveInput(inputChunk.data() + first * channels_, frames);
            chain_.processBlock();
            interleaveOutput(outputChunk.data() + first * channels_,
                             inputChunk.data() + first * channels_, frames);
        }
        std::size_t keep = chunk;
        if (inTail) {
            keep = firstTailFrame +
                   tail.takeInterleaved(outputChunk.data() + firstTailFrame * channels_, channels_,
                                        chunk - firstTailFrame);
        }
        applyGain(outputChunk.data(), keep);
        inspectOutput(outputChunk.data(), keep, statistics);
        if (levelMeter_ != nullptr) levelMeter_->observe(outputChunk.data(), keep, channels_);
        writer_.writeFrames(outputChunk.data(), keep);
        statistics.frames += keep;
        if (progressBar_ != nullptr) progressBar_->update(statistics.frames);
        if (inTail && tail.complete()) break;
    }
    statistics.tailFrames = tail.frames();
    statistics.tailCapped = tail.capped();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    statistics.wallSeconds = elapsed.count();
    statistics.audioSeconds =
        static_cast<double>(statistics.frames) / static_cast<double>(source_.sampleRate());
    if (progressBar_ != nullptr) progressBar_->finish();
    return statistics;
}

}  // namespace ostrana::fx
