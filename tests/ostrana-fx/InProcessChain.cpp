#include "InProcessChain.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::fx::testing {

namespace {

std::unique_ptr<Node> createConfigured(const NodeSetup& setup) {
    Result<std::unique_ptr<Node>> created =
        ExtensionManager::getInstance().createNode(setup.type, XVAnyMap());
    if (!created.isOk()) throw std::runtime_error(created.errorMessage());
    std::unique_ptr<Node> node = std::move(created).value();
    setup.configure(*node);
    return node;
}

}  // namespace

std::vector<float> renderInProcess(const std::vector<NodeSetup>& nodes,
                                   const std::vector<float>& interleaved, unsigned int channels,
                                   unsigned int sampleRate, unsigned int blockFrames) {
    std::vector<std::unique_ptr<Node>> owned;
    std::vector<SingleBusAudioProcessorNode*> processors;
    for (const NodeSetup& setup : nodes) {
        owned.push_back(createConfigured(setup));
        auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(owned.back().get());
        if (processor == nullptr) throw std::runtime_error(setup.type + " is not a processor");
        AudioBusFormatList inputs{AudioBusFormat{channels, sampleRate, blockFrames}};
        AudioBusFormatList outputs{AudioBusFormat{channels, sampleRate, blockFrames}};
        if (!processor->setBusFormats(inputs, outputs)) {
            throw std::runtime_error(setup.type + " refused the format");
        }
        processors.push_back(processor);
    }
    std::vector<AudioBus> buses;
    for (std::size_t i = 0; i <= processors.size(); ++i) {
        buses.emplace_back(channels, blockFrames, sampleRate);
    }
    const std::size_t totalFrames = interleaved.size() / channels;
    std::vector<float> output(interleaved.size());
    for (std::size_t start = 0; start < totalFrames; start += blockFrames) {
        const std::size_t frames = std::min<std::size_t>(blockFrames, totalFrames - start);
        buses[0].buffer.setNumberOfFrames(static_cast<unsigned int>(frames));
        for (unsigned int c = 0; c < channels; ++c) {
            for (std::size_t f = 0; f < frames; ++f) {
                buses[0].buffer.setSample(c, static_cast<unsigned int>(f),
                                          interleaved[(start + f) * channels + c]);
            }
        }
        for (std::size_t i = 0; i < processors.size(); ++i) {
            AudioBusList in{&buses[i]};
            AudioBusList out{&buses[i + 1]};
            if (!processors[i]->process(in, out)) throw std::runtime_error("a block was refused");
        }
        for (unsigned int c = 0; c < channels; ++c) {
            for (std::size_t f = 0; f < frames; ++f) {
                output[(start + f) * channels + c] =
                    buses.back().buffer.getSample(c, static_cast<unsigned int>(f));
            }
        }
    }
    return output;
}

}  // namespace ostrana::fx::testing
