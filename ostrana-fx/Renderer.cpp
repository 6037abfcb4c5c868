#include "Renderer.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace ostrana::fx {

Renderer::Renderer(SampleSource& source, NodeChain& chain, SoundFileWriter& writer,
                   unsigned int blockFrames)
    : source_(source),
      chain_(chain),
      writer_(writer),
      blockFrames_(blockFrames),
      channels_(source.channels()) {}

void Renderer::deinterleaveInput(const float* interleaved, std::size_t frames) {
    AudioBuffer<float>& buffer = chain_.input().buffer;
    buffer.setNumberOfFrames(static_cast<unsigned int>(frames));
    for (unsigned int channel = 0; channel < channels_; ++channel) {
        float* samples = buffer.getChannel(channel);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            samples[frame] = interleaved[frame * channels_ + channel];
        }
    }
}

void Renderer::interleaveOutput(float* interleaved, std::size_t frames) const {
    const AudioBuffer<float>& buffer = chain_.output().buffer;
    for (unsigned int channel = 0; channel < channels_; ++channel) {
        const float* samples = buffer.getChannel(channel);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            interleaved[frame * channels_ + channel] = samples[frame];
        }
    }
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

RenderStatistics Renderer::run() {
    // Files are read and written in chunks of whole blocks of at least kChunkFrames frames, so
    // that small blocks do not mean small reads and writes; the nodes still get every block
    // exactly as --block sets it.
    const std::size_t blocksPerChunk = std::max<std::size_t>(1, kChunkFrames / blockFrames_);
    const std::size_t chunkFrames = blocksPerChunk * blockFrames_;
    std::vector<float> inputChunk(chunkFrames * channels_);
    std::vector<float> outputChunk(chunkFrames * channels_);
    RenderStatistics statistics;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const std::size_t chunk = fillChunk(inputChunk.data(), chunkFrames);
        if (chunk == 0) break;
        for (std::size_t first = 0; first < chunk; first += blockFrames_) {
            const std::size_t frames = std::min<std::size_t>(blockFrames_, chunk - first);
            deinterleaveInput(inputChunk.data() + first * channels_, frames);
            chain_.processBlock();
            interleaveOutput(outputChunk.data() + first * channels_, frames);
        }
        if (levelMeter_ != nullptr) levelMeter_->observe(outputChunk.data(), chunk, channels_);
        writer_.writeFrames(outputChunk.data(), chunk);
        statistics.frames += chunk;
        if (progressBar_ != nullptr) progressBar_->update(statistics.frames);
        if (chunk < chunkFrames) break;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    statistics.wallSeconds = elapsed.count();
    statistics.audioSeconds =
        static_cast<double>(statistics.frames) / static_cast<double>(source_.sampleRate());
    if (progressBar_ != nullptr) progressBar_->finish();
    return statistics;
}

}  // namespace ostrana::fx
