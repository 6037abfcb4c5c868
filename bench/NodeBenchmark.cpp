// Cost of each effect node's process on stereo 48 kHz blocks of 32, 256 and 4096 frames, reported
// as channel-samples per second and as cpu time per channel-sample (per_sample, in seconds with
// an SI prefix), beside a bare loop of sinf calls and the vector sine on the same arguments.
// Every node type of the extension's catalogue is measured, under its short name ("delay/256",
// "ping-pong-delay/32", ...) with the oscillators on the vector sine, as the library runs by
// default, and with "-sinf" on sinf ("chorus-sinf/256").

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <ostrana/audio/SineChoice.h>
#include <ostrana/audio/VectorSine.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/Node.h>
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

// A node of the entry's type as the catalogue makes it, or nullptr when it is no single-bus
// audio processor.
std::unique_ptr<SingleBusAudioProcessorNode> makeNode(const NodeTypeEntry& entry) {
    std::unique_ptr<ostrana::Node> node(entry.create(XVAnyMap()));
    auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
    if (processor != nullptr) node.release();
    return std::unique_ptr<SingleBusAudioProcessorNode>(processor);
}

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

// Processes one block of state.range(0) frames per iteration, the oscillators on sinf or on the
// vector sine (the run-time switch, put back as it was afterwards), so that both are measured
// in one run. The first block, which clears and places the delay lines, runs before timing
// starts.
void processBlocks(benchmark::State& state, const NodeTypeEntry* entry, bool vectorSine) {
    const bool choiceBefore = ostrana::audio::SineChoice::usesVectorSine();
    ostrana::audio::SineChoice::useVectorSine(vectorSine);
    const auto frames = static_cast<unsigned int>(state.range(0));
    const std::unique_ptr<SingleBusAudioProcessorNode> node = makeNode(*entry);
    if (node == nullptr) {
        state.SkipWithError("the node is no single-bus audio processor");
        return;
    }
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
    ostrana::audio::SineChoice::useVectorSine(choiceBefore);
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

// The vector sine on the same arguments as the bare sinf loop, made beforehand (the sinf loop
// makes its next argument while sinf works on the last): per iteration one call on as many
// values as the sinf loop takes, moving along a stretch of 48000 of them.
void vectorSine(benchmark::State& state) {
    const auto frames = static_cast<unsigned int>(state.range(0));
    const unsigned int calls = frames * kChannels;
    constexpr float kTwoPi = 6.2831855f;
    constexpr float kEnd = 7.8539815f;
    constexpr unsigned int kStretch = 48000;
    std::vector<float> arguments(kStretch + calls);
    float argument = 0.0f;
    for (float& value : arguments) {
        value = argument;
        argument += 0.0137f;
        if (argument >= kEnd) argument -= kTwoPi;
    }
    std::vector<float> values(calls);
    unsigned int start = 0;
    for (auto _ : state) {
        ostrana::audio::VectorSine::evaluate(arguments.data() + start, values.data(), calls);
        benchmark::DoNotOptimize(values.data());
        benchmark::ClobberMemory();
        start = start + calls < kStretch ? start + calls : 0;
    }
    reportPerSample(state, static_cast<std::int64_t>(calls));
}

void registerNodeBenchmarks() {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        // "chorus" on the vector sine, as the library runs by default; "chorus-sinf" beside it.
        benchmark::RegisterBenchmark(std::string(entry.shortName).c_str(), processBlocks, &entry,
                                     true)
            ->Arg(32)
            ->Arg(256)
            ->Arg(4096);
        benchmark::RegisterBenchmark((std::string(entry.shortName) + "-sinf").c_str(),
                                     processBlocks, &entry, false)
            ->Arg(32)
            ->Arg(256)
            ->Arg(4096);
    }
    benchmark::RegisterBenchmark("BareSinfFloor", bareSinfFloor)->Arg(32)->Arg(256)->Arg(4096);
    benchmark::RegisterBenchmark("VectorSine", vectorSine)->Arg(32)->Arg(256)->Arg(4096);
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
