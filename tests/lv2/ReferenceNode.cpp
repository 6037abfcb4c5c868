#include "ReferenceNode.h"

#include <gtest/gtest.h>

#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "TestSignal.h"

namespace ostrana::lv2::testing {

ReferenceNode::ReferenceNode(const ExpectedPlugin& plugin, unsigned int sampleRate)
    : plugin_(plugin),
      controls_(plugin.entry->parameters.size()),
      in_(plugin.channels, kMostFrames, sampleRate),
      out_(plugin.channels, kMostFrames, sampleRate) {
    auto created = ExtensionManager::getInstance().createNode(plugin.entry->typeName(), XVAnyMap());
    if (!created.isOk()) {
        ADD_FAILURE() << created.errorMessage();
        return;
    }
    node_ = std::move(created).value();
    processor_ = dynamic_cast<SingleBusAudioProcessorNode*>(node_.get());
    AudioBusFormatList inputs{AudioBusFormat{plugin.channels, sampleRate, 0}};
    AudioBusFormatList outputs{AudioBusFormat{plugin.channels, sampleRate, 0}};
    EXPECT_TRUE(processor_ != nullptr && processor_->setBusFormats(inputs, outputs));
    for (std::size_t index = 0; index < controls_.size(); ++index) {
        controls_[index] = std::visit([](auto v) { return static_cast<float>(v); },
                                      plugin.entry->parameters[index].defaultValue);
    }
}

Channels ReferenceNode::process(const Channels& input, std::size_t offset, unsigned int frames) {
    const auto& parameters = plugin_.entry->parameters;
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        parameters[index].write(*node_, parameters[index].fromNumber(controls_[index]));
    }
    Channels output(plugin_.channels, std::vector<float>(frames));
    for (unsigned int channel = 0; channel < plugin_.channels; ++channel) {
        const auto& heard = input[plugin_.monoToStereo ? 0 : channel];
        std::copy_n(heard.begin() + static_cast<std::ptrdiff_t>(offset), frames,
                    in_.buffer.getChannel(channel));
    }
    in_.buffer.setNumberOfFrames(frames);
    AudioBusList inputs{&in_};
    AudioBusList outputs{&out_};
    EXPECT_TRUE(processor_->process(inputs, outputs));
    for (unsigned int channel = 0; channel < plugin_.channels; ++channel) {
        std::copy_n(out_.buffer.getChannel(channel), frames, output[channel].begin());
    }
    return output;
}

Channels asHeard(const ExpectedPlugin& plugin, Channels input) {
    if (plugin.monoToStereo) {
        for (auto& channel : input) channel = input[0];
    }
    return input;
}

Channels makeInput(unsigned int channels, std::size_t frames, unsigned int sampleRate) {
    const std::vector<float> interleaved =
        fx::testing::makeTestSignal(channels, frames, sampleRate, 0.8f);
    Channels planar(channels, std::vector<float>(frames));
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (unsigned int channel = 0; channel < channels; ++channel) {
            planar[channel][frame] = interleaved[frame * channels + channel];
        }
    }
    return planar;
}

}  // namespace ostrana::lv2::testing
