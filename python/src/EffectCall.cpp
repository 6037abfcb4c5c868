#include "EffectCall.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "BlockRunner.h"

namespace py = pybind11;

namespace ostrana::python {

namespace {

// Marks nodes as processing for the life of a call; made and destroyed with the interpreter
// lock held.
class BusyMark {
  public:
    explicit BusyMark(const std::vector<EffectNode*>& nodes) : nodes_(nodes) {
        for (EffectNode* node : nodes_) node->setBusy(true);
    }
    ~BusyMark() {
        for (EffectNode* node : nodes_) node->setBusy(false);
    }
    BusyMark(const BusyMark&) = delete;
    BusyMark& operator=(const BusyMark&) = delete;

  private:
    const std::vector<EffectNode*>& nodes_;
};

std::string channelWord(unsigned int channels) {
    return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

}  // namespace

BlockRunner::Stage EffectCall::stageFor(EffectNode& node, unsigned int channels) {
    BlockRunner::Stage stage;
    for (const EffectNode::Member& member : node.membersFor(channels)) {
        stage.push_back({member.processor, member.first, member.count});
    }
    if (!stage.empty()) return stage;
    const std::string takes = node.channelText();
    const bool more = node.entry() != nullptr && channels > node.entry()->maxChannels;
    const std::string groups =
        more ? ", and " + std::to_string(channels) + " do not split into groups of those" : "";
    throw py::value_error(node.typeName() + " does not take audio of " + channelWord(channels) +
                          (takes.empty() ? "" : "; it takes " + takes) + groups);
}

void EffectCall::checkContinuation(EffectNode& node, unsigned int channels,
                                   unsigned int sampleRate) {
    if (node.lastChannels() == 0) return;
    if (node.lastChannels() == channels && node.lastSampleRate() == sampleRate) return;
    throw py::value_error("reset=False continues the previous call of " + node.typeName() +
                          ", which had " + channelWord(node.lastChannels()) + " at " +
                          std::to_string(node.lastSampleRate()) + " Hz; this audio has " +
                          channelWord(channels) + " at " + std::to_string(sampleRate) +
                          " Hz (use reset=True)");
}

void EffectCall::checkRequest(const std::vector<EffectNode*>& nodes, const Audio& audio,
                              const Request& request) {
    if (audio.ndim() != 2 || audio.shape(0) < 1) {
        throw py::value_error("audio must be of shape (channels, frames) with 1 channel or more");
    }
    if (request.sampleRate == 0) throw py::value_error("sample_rate must be 1 Hz or more");
    if (request.blockFrames < 1 || request.blockFrames > kLargestBlock) {
        throw py::value_error("block_size must be 1 to " + std::to_string(kLargestBlock) +
                              " frames, not " + std::to_string(request.blockFrames));
    }
    for (auto node = nodes.begin(); node != nodes.end(); ++node) {
        if (std::find(nodes.begin(), node, *node) != node) {
            throw py::value_error("the same " + (*node)->typeName() +
                                  " effect appears twice in one chain; use a copy");
        }
        if ((*node)->busy()) {
            throw std::runtime_error((*node)->typeName() +
                                     " is processing in another call; one call at a time");
        }
    }
}

py::array_t<float> EffectCall::run(const std::vector<EffectNode*>& nodes, const Audio& audio,
                                   const Request& request) {
    checkRequest(nodes, audio, request);
    const auto channels = static_cast<unsigned int>(audio.shape(0));
    const auto frames = static_cast<std::size_t>(audio.shape(1));
    for (EffectNode* node : nodes) {
        if (request.reset) {
            node->renew();
        } else {
            checkContinuation(*node, channels, request.sampleRate);
        }
    }

    std::vector<BlockRunner::Stage> stages;
    for (EffectNode* node : nodes) stages.push_back(stageFor(*node, channels));
    BlockRunner runner(stages, channels, request.sampleRate, request.blockFrames);
    if (const std::optional<std::size_t> refused = runner.negotiate()) {
        throw py::value_error(nodes[*refused]->typeName() + " refuses " + channelWord(channels) +
                              " at " + std::to_string(request.sampleRate) + " Hz");
    }

    py::array_t<float> output({audio.shape(0), audio.shape(1)});
    std::vector<const float*> inputRows(channels);
    std::vector<float*> outputRows(channels);
    for (unsigned int channel = 0; channel < channels; ++channel) {
        inputRows[channel] = audio.data() + channel * frames;
        outputRows[channel] = output.mutable_data() + channel * frames;
    }
    const std::uint64_t position = request.reset ? 0 : request.position;
    const std::size_t firstBlock = request.blockFrames - position % request.blockFrames;

    std::optional<std::size_t> refused;
    {
        const BusyMark busy(nodes);
        const py::gil_scoped_release unlocked;
        refused = runner.run(inputRows.data(), outputRows.data(), frames, firstBlock);
    }
    for (EffectNode* node : nodes) node->recordCall(channels, request.sampleRate, inputRows[0]);
    if (refused) {
        throw std::runtime_error(nodes[*refused]->typeName() + " refused a block");
    }
    return output;
}

}  // namespace ostrana::python
