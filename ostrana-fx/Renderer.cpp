#include "Renderer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

namespace ostrana::fx {

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

std::size_t Renderer::fillTail(float* interleaved, std::size_t maxFrames,
                               std::uint64_t tailDone) const {
    const double seconds = tail_.automatic ? kLongestAutomaticTail : tail_.seconds;
    const auto total = static_cast<std::uint64_t>(std::llround(seconds * source_.sampleRate()));
    const std::size_t frames = static_cast<std::size_t>(
        std::min<std::uint64_t>(maxFrames, total - std::min(total, tailDone)));
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

std::size_t Renderer::framesUntilQuiet(const float* interleaved, std::size_t frames,
                                       std::size_t firstTailFrame) {
    for (std::size_t frame = 0; frame < frames; ++frame) {
        bool quiet = true;
        for (unsigned int channel = 0; channel < channels_; ++channel) {
            // Not a number is not quiet.
            if (!(std::fabs(interleaved[frame * channels_ + channel]) < kQuietLevel)) quiet = false;
        }
        quietFrames_ = quiet ? quietFrames_ + 1 : 0;
        if (quietFrames_ >= source_.sampleRate() && frame + 1 >= firstTailFrame) return frame + 1;
    }
    return frames;
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
    const bool wantsTail = tail_.automatic || tail_.seconds > 0.0;
    bool inTail = false;
    quietFrames_ = 0;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        std::size_t chunk = 0;
        std::size_t firstTailFrame = 0;
        if (!inTail) {
            chunk = fillChunk(inputChunk.data(), chunkFrames);
            inspectInput(inputChunk.data(), chunk, statistics);
            if (chunk < chunkFrames && wantsTail) {
                inTail = true;
                firstTailFrame = chunk;
                const std::size_t silence =
                    fillTail(inputChunk.data() + chunk * channels_, chunkFrames - chunk, 0);
                statistics.tailFrames += silence;
                chunk += silence;
            }
        } else {
            chunk = fillTail(inputChunk.data(), chunkFrames, statistics.tailFrames);
            statistics.tailFrames += chunk;
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
        if (inTail && tail_.automatic) {
            keep = framesUntilQuiet(outputChunk.data(), chunk, firstTailFrame);
        } else if (tail_.automatic) {
            framesUntilQuiet(outputChunk.data(), chunk, chunk);  // follows the quiet run only
        }
        const bool ended = keep < chunk;
        statistics.tailFrames -= chunk - keep;
        applyGain(outputChunk.data(), keep);
        inspectOutput(outputChunk.data(), keep, statistics);
        if (levelMeter_ != nullptr) levelMeter_->observe(outputChunk.data(), keep, channels_);
        writer_.writeFrames(outputChunk.data(), keep);
        statistics.frames += keep;
        if (progressBar_ != nullptr) progressBar_->update(statistics.frames);
        if (ended || chunk < chunkFrames) break;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    statistics.wallSeconds = elapsed.count();
    statistics.audioSeconds =
        static_cast<double>(statistics.frames) / static_cast<double>(source_.sampleRate());
    if (progressBar_ != nullptr) progressBar_->finish();
    return statistics;
}

}  // namespace ostrana::fx
