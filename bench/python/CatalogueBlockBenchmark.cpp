// The C++ side of the Python package's speed comparison: each catalogue node type, made through
// the catalogue, processes a stereo 48 kHz noise signal block by block from one array into
// another through buffer views, as the Python module's calls do and as any C++ host would.
// Reports the thread's cpu time per channel-sample, the least of the repetitions (the machine's
// other load only ever adds time), for one node
// continuing pass after pass, and for a fresh node made (and destroyed) for every pass.
//
// Usage: catalogue_block_benchmark SECONDS REPETITIONS BLOCK...
// Prints one line per node type and block:
//   TYPE BLOCK CONTINUING_NS_PER_CHANNEL_SAMPLE FRESH_NS_PER_CHANNEL_SAMPLE

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace {

using ostrana::AudioBuffer;
using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::extensions::audioeffects::EffectCatalogue;
using ostrana::extensions::audioeffects::NodeTypeEntry;

constexpr unsigned int kChannels = 2;
constexpr unsigned int kSampleRate = 48000;
constexpr unsigned int kWarmUpBlock = 512;

double threadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Planar noise, one row per channel.
std::vector<std::vector<float>> noise(std::size_t frames) {
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> sample(-0.5f, 0.5f);
    std::vector<std::vector<float>> rows(kChannels, std::vector<float>(frames));
    for (auto& row : rows) {
        for (float& value : row) value = sample(generator);
    }
    return rows;
}

// One pass over the signal: views pointed at each block in turn.
void pass(SingleBusAudioProcessorNode& node, const std::vector<std::vector<float>>& input,
          std::vector<std::vector<float>>& output, unsigned int blockFrames) {
    AudioBus in;
    AudioBus out;
    in.buffer = AudioBuffer<float>::view(kChannels, blockFrames, kSampleRate);
    out.buffer = AudioBuffer<float>::view(kChannels, blockFrames, kSampleRate);
    AudioBusList inputs{&in};
    AudioBusList outputs{&out};
    const std::size_t frames = input.front().size();
    for (std::size_t first = 0; first < frames; first += blockFrames) {
        const auto count =
            static_cast<unsigned int>(std::min<std::size_t>(blockFrames, frames - first));
        for (unsigned int c = 0; c < kChannels; ++c) {
            in.buffer.attachChannel(c, const_cast<float*>(input[c].data()) + first);
            out.buffer.attachChannel(c, output[c].data() + first);
        }
        in.buffer.setNumberOfFrames(count);
        out.buffer.setNumberOfFrames(count);
        if (!node.process(inputs, outputs)) std::abort();
    }
}

// A node of the entry's type made through the catalogue, its stereo format agreed.
std::unique_ptr<ostrana::Node> makeNode(const NodeTypeEntry& entry, unsigned int blockFrames) {
    std::unique_ptr<ostrana::Node> made(entry.create(ostrana::XVAnyMap()));
    auto* node = dynamic_cast<SingleBusAudioProcessorNode*>(made.get());
    AudioBusFormatList inputFormats{AudioBusFormat{kChannels, kSampleRate, blockFrames}};
    AudioBusFormatList outputFormats{AudioBusFormat{kChannels, kSampleRate, blockFrames}};
    if (node == nullptr || !node->setBusFormats(inputFormats, outputFormats)) std::abort();
    return made;
}

SingleBusAudioProcessorNode& processorOf(ostrana::Node& node) {
    return dynamic_cast<SingleBusAudioProcessorNode&>(node);
}

struct Costs {
    double continuing;  // ns per channel-sample, one node pass after pass
    double fresh;       // ns per channel-sample, a new node made for every pass
};

double least(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

// The least cpu time of repetitions passes of each kind (after an unmeasured pass that places the
// lines and warms the caches).
Costs measure(const NodeTypeEntry& entry, const std::vector<std::vector<float>>& input,
              unsigned int blockFrames, int repetitions) {
    std::vector<std::vector<float>> output(kChannels, std::vector<float>(input.front().size()));
    const std::unique_ptr<ostrana::Node> node = makeNode(entry, blockFrames);
    pass(processorOf(*node), input, output, blockFrames);
    std::vector<double> continuing;
    std::vector<double> fresh;
    for (int i = 0; i < repetitions; ++i) {
        double start = threadSeconds();
        pass(processorOf(*node), input, output, blockFrames);
        continuing.push_back(threadSeconds() - start);
        start = threadSeconds();
        {
            const std::unique_ptr<ostrana::Node> made = makeNode(entry, blockFrames);
            pass(processorOf(*made), input, output, blockFrames);
        }
        fresh.push_back(threadSeconds() - start);
    }
    const double nanosecondsPerChannelSample =
        1e9 / (static_cast<double>(input.front().size()) * kChannels);
    return {least(continuing) * nanosecondsPerChannelSample,
            least(fresh) * nanosecondsPerChannelSample};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s SECONDS REPETITIONS BLOCK...\n", argv[0]);
        return 2;
    }
    const double seconds = std::atof(argv[1]);
    const int repetitions = std::atoi(argv[2]);
    if (seconds <= 0 || repetitions < 1) {
        std::fprintf(stderr, "SECONDS must be above 0 and REPETITIONS at least 1\n");
        return 2;
    }
    const auto input = noise(static_cast<std::size_t>(seconds * kSampleRate));
    // An unmeasured warm-up, so that no node is timed while the process is starting up.
    measure(EffectCatalogue::nodeTypes().front(), input, kWarmUpBlock, repetitions);
    for (int argument = 3; argument < argc; ++argument) {
        const int block = std::atoi(argv[argument]);
        if (block < 1) {
            std::fprintf(stderr, "BLOCK must be 1 or more\n");
            return 2;
        }
        for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
            const Costs costs =
                measure(entry, input, static_cast<unsigned int>(block), repetitions);
            std::printf("%s %d %.4f %.4f\n", entry.typeName().c_str(), block, costs.continuing,
                        costs.fresh);
        }
    }
    return 0;
}
