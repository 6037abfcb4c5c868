#include "BlockRunner.h"

#include <algorithm>
#include <utility>

#include <ostrana/sdk/AudioBusFormat.h>

namespace ostrana::python {

BlockRunner::BlockRunner(std::vector<SingleBusAudioProcessorNode*> processors,
                         unsigned int channels, unsigned int sampleRate, unsigned int blockFrames)
    : processors_(std::move(processors)),
      channels_(channels),
      sampleRate_(sampleRate),
      blockFrames_(blockFrames) {
    input_.buffer = AudioBuffer<float>::view(channels, blockFrames, sampleRate);
    output_.buffer = AudioBuffer<float>::view(channels, blockFrames, sampleRate);
    firstInputs_ = AudioBusList{&input_};
    outputs_ = AudioBusList{&output_};
}

std::optional<std::size_t> BlockRunner::negotiate() {
    for (std::size_t index = 0; index < processors_.size(); ++index) {
        AudioBusFormatList inputs{AudioBusFormat{channels_, sampleRate_, blockFrames_}};
        AudioBusFormatList outputs{AudioBusFormat{channels_, sampleRate_, blockFrames_}};
        if (!processors_[index]->setBusFormats(inputs, outputs)) return index;
    }
    return std::nullopt;
}

void BlockRunner::attach(const float* const* input, float* const* output, std::size_t first,
                         unsigned int count) {
    for (unsigned int channel = 0; channel < channels_; ++channel) {
        // The first node only reads its input; the view's type is shared with outputs.
        input_.buffer.attachChannel(channel, const_cast<float*>(input[channel]) + first);
        output_.buffer.attachChannel(channel, output[channel] + first);
    }
    input_.buffer.setNumberOfFrames(count);
    output_.buffer.setNumberOfFrames(count);
}

std::optional<std::size_t> BlockRunner::processBlock() {
    if (processors_.empty()) {
        output_.copyFrom(input_);
        return std::nullopt;
    }
    if (!processors_.front()->process(firstInputs_, outputs_)) return 0;
    for (std::size_t index = 1; index < processors_.size(); ++index) {
        if (!processors_[index]->process(outputs_, outputs_)) return index;
    }
    return std::nullopt;
}

std::optional<std::size_t> BlockRunner::run(const float* const* input, float* const* output,
                                            std::size_t frames, std::size_t firstBlockFrames) {
    std::size_t first = 0;
    std::size_t blockFrames = std::min<std::size_t>(firstBlockFrames, blockFrames_);
    while (first < frames) {
        const auto count = static_cast<unsigned int>(std::min(blockFrames, frames - first));
        attach(input, output, first, count);
        if (const std::optional<std::size_t> refused = processBlock()) return refused;
        first += count;
        blockFrames = blockFrames_;
    }
    return std::nullopt;
}

}  // namespace ostrana::python
