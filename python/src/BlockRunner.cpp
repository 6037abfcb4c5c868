#include "BlockRunner.h"

#include <algorithm>

#include <ostrana/sdk/AudioBusFormat.h>

namespace ostrana::python {

std::unique_ptr<AudioBus> BlockRunner::view(unsigned int channels, unsigned int sampleRate,
                                            unsigned int blockFrames) {
    auto bus = std::make_unique<AudioBus>();
    bus->buffer = AudioBuffer<float>::view(channels, blockFrames, sampleRate);
    return bus;
}

BlockRunner::BlockRunner(const std::vector<Stage>& stages, unsigned int channels,
                         unsigned int sampleRate, unsigned int blockFrames)
    : channels_(channels),
      sampleRate_(sampleRate),
      blockFrames_(blockFrames),
      input_(view(channels, sampleRate, blockFrames)),
      output_(view(channels, sampleRate, blockFrames)) {
    for (const Stage& stage : stages) {
        // Later stages process the output rows in place: one bus is their input and output.
        const bool inPlace = !stages_.empty();
        std::vector<Group>& groups = stages_.emplace_back();
        for (const Member& member : stage) {
            Group group{member,
                        view(member.count, sampleRate, blockFrames),
                        view(member.count, sampleRate, blockFrames),
                        {},
                        {}};
            group.inputs = AudioBusList{inPlace ? group.output.get() : group.input.get()};
            group.outputs = AudioBusList{group.output.get()};
            groups.push_back(std::move(group));
        }
    }
}

BlockRunner::~BlockRunner() = default;

std::optional<std::size_t> BlockRunner::negotiate() {
    for (std::size_t index = 0; index < stages_.size(); ++index) {
        for (Group& group : stages_[index]) {
            AudioBusFormatList inputs{
                AudioBusFormat{group.member.count, sampleRate_, blockFrames_}};
            AudioBusFormatList outputs{
                AudioBusFormat{group.member.count, sampleRate_, blockFrames_}};
            if (!group.member.processor->setBusFormats(inputs, outputs)) return index;
        }
    }
    return std::nullopt;
}

void BlockRunner::attach(const float* const* input, float* const* output, std::size_t first,
                         unsigned int count) {
    if (stages_.empty()) {
        for (unsigned int channel = 0; channel < channels_; ++channel) {
            // The input is only read; the view's type is shared with outputs.
            input_->buffer.attachChannel(channel, const_cast<float*>(input[channel]) + first);
            output_->buffer.attachChannel(channel, output[channel] + first);
        }
        input_->buffer.setNumberOfFrames(count);
        output_->buffer.setNumberOfFrames(count);
    }
    for (std::vector<Group>& stage : stages_) {
        for (Group& group : stage) {
            for (unsigned int channel = 0; channel < group.member.count; ++channel) {
                const unsigned int row = group.member.first + channel;
                // Only the first stage reads its input bus; later ones use their output bus.
                group.input->buffer.attachChannel(channel, const_cast<float*>(input[row]) + first);
                group.output->buffer.attachChannel(channel, output[row] + first);
            }
            group.input->buffer.setNumberOfFrames(count);
            group.output->buffer.setNumberOfFrames(count);
        }
    }
}

std::optional<std::size_t> BlockRunner::processBlock() {
    if (stages_.empty()) {
        output_->copyFrom(*input_);
        return std::nullopt;
    }
    for (std::size_t index = 0; index < stages_.size(); ++index) {
        for (Group& group : stages_[index]) {
            if (!group.member.processor->process(group.inputs, group.outputs)) return index;
        }
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
