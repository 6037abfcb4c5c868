// Cost of each effect node's process on stereo 48 kHz blocks of 32, 256 and 4096 frames, reported
// as channel-samples per second and as cpu time per channel-sample (per_sample, in seconds with
// an SI prefix), beside a bare loop of sinf calls. Adding a node is one line in kNodes.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>

#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::XVAnyMap;
using namespace ostrana::extensions::audioeffects;

constexpr unsigned int kChannels = 2;
constexpr unsigned int kSampleRate = 48000;

using NodeMaker = std::unique_ptr<SingleBusAudioProcessorNode> (*)();

struct NodeEntry {
    const char* name;
    NodeMaker make;
};

// The benchmarked nodes, each with the way the factory builds it.
const NodeEntry kNodes[] = {
    {"DelayNode", [] { return std::unique_ptr<SingleBusAudioProcessorNode>(new DelayNode(2)); }},
    {"PingPongDelayNode",
     [] {
         return std::unique_ptr<SingleBusAudioProcessorNode>(new PingPongDelayNode(XVAnyMap()));
     }},
    {"ChorusNode", [] { return std::unique_ptr<SingleBusAudioProcessorNode>(new ChorusNode(2)); }},
    {"FlangerNode",
     [] { return std::unique_ptr<SingleBusAudioProcessorNode>(new FlangerNode(2)); }},
    {"VibratoNode",
     [] { return std::unique_ptr<SingleBusAudioProcessorNode>(new VibratoNode(2)); }},
};

// Reports items per second and, as the inverse of that rate, the cpu time per item.
void reportPerSample(benchmark::State& state, std::int64_t itemsPerIteration) {
    state.SetItemsProcessed(state.iterations() * itemsPerIteration);
    state.counters["per_sample"] = benchmark::Counter(
        static_cast<double>(itemsPerIteration),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

AudioBus noiseBus(unsigned int frames) {
    AudioBus bus(kChannels, frames, kSampleRate);
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    for (unsigned int c = 0; c < kChannels; ++c) {
        for (unsigned int f = 0; f < frames; ++f) bus.buffer.setSample(c, f, sample(generator));
    }
    return bus;
}

// Processes one block of state.range(0) frames per iteration. The first block, which clears
// and places the delay lines, runs before timing starts.
void processBlocks(benchmark::State& state, NodeMaker make) {
    const auto frames = static_cast<unsigned int>(state.range(0));
    const std::unique_ptr<SingleBusAudioProcessorNode> node = make();
    AudioBusFormat inputFormat{kChannels, kSampleRate, frames};
    AudioBusFormat outputFormat{kChannels, kSampleRate, frames};
    if (!node->setBusFormat(inputFormat, outputFormat)) {
        state.SkipWithError("the node refused a stereo format");
        return;
    }
    AudioBus in = noiseBus(frames);
    AudioBus out(kChannels, frames);
    node->process(in, out);
    for (auto _ : state) {
        node->process(in, out);
        benchmark::DoNotOptimize(out.buffer.getChannel(0));
        benchmark::ClobberMemory();
    }
    reportPerSample(state, static_cast<std::int64_t>(frames) * kChannels);
}

// The floor under the chorus and flanger: per iteration the same number of sinf calls as they
// make for a block (one per channel-sample), over arguments that keep changing within the range
// their oscillators use, [0, 2.5 pi), and nothing else. Each result is kept.
void bareSinfFloor(benchmark::State& state) {
    const auto frames = static_cast<unsigned int>(state.range(0));
    const unsigned int calls = frames * kChannels;
    constexpr float kTwoPi = 6.2831855f;
    constexpr float kEnd = 7.8539815f;
    float argument = 0.0f;
    for (auto _ : state) {
        for (unsigned int i = 0; i < calls; ++i) {
            benchmark::DoNotOptimize(sinf(argument));
            argument += 0.0137f;
            if (argument >= kEnd) argument -= kTwoPi;
        }
    }
    reportPerSample(state, static_cast<std::int64_t>(calls));
}

void registerNodeBenchmarks() {
    for (const NodeEntry& entry : kNodes) {
        benchmark::RegisterBenchmark(entry.name, processBlocks, entry.make)
            ->Arg(32)
            ->Arg(256)
            ->Arg(4096);
    }
    benchmark::RegisterBenchmark("BareSinfFloor", bareSinfFloor)->Arg(32)->Arg(256)->Arg(4096);
}

}  // namespace

int main(int argc, char** argv) {
    registerNodeBenchmarks();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
