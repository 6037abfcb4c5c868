#include "Renderer.h"

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

RenderStatistics Renderer::run() {
    const std::size_t blockSamples = static_cast<std::size_t>(blockFrames_) * channels_;
    std::vector<float> inputBlock(blockSamples);
    std::vector<float> outputBlock(blockSamples);
    RenderStatistics statistics;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const std::size_t frames = source_.readFrames(inputBlock.data(), blockFrames_);
        if (frames == 0) break;
        deinterleaveInput(inputBlock.data(), frames);
        chain_.processBlock();
        interleaveOutput(outputBlock.data(), frames);
        if (levelMeter_ != nullptr) levelMeter_->observe(outputBlock.data(), frames, channels_);
        writer_.writeFrames(outputBlock.data(), frames);
        statistics.frames += frames;
        if (progressBar_ != nullptr) progressBar_->update(statistics.frames);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    statistics.wallSeconds = elapsed.count();
    statistics.audioSeconds =
        static_cast<double>(statistics.frames) / static_cast<double>(source_.sampleRate());
    if (progressBar_ != nullptr) progressBar_->finish();
    return statistics;
}

}  // namespace ostrana::fx
