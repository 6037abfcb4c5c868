// The hazards a host can walk the nodes into, each shown to be safe: a delay longer than the
// line, a ping-pong delay shorter than one sample, a sample rate of 0 and back, a block with
// more channels than were negotiated (or an output bus too small for it), and an oscillator at
// or above the sample rate. Every node is made by the extension's factory, as a host makes it;
// the hazards every node type can meet run for each type of the extension's catalogue (those of
// an oscillator for each type with a "frequency"), and parameters are set through the catalogue.
// In the AddressSanitizer build these also prove that no sample access leaves its buffer.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <ostrana/audio/LFO.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

#include "audioeffects/EveryNodeType.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::audio::LFO;
using ostrana::testing::createProcessor;
using ostrana::testing::nodeTypesWhere;
using namespace ostrana::extensions::audioeffects;

// Samples per channel; a signal is one such vector per channel.
using Channel = std::vector<float>;
using Signal = std::vector<Channel>;

constexpr unsigned int kLineLength = 48000;

// The two node types whose own hazards are tested here, and their delay parameters.
const NodeTypeEntry& delayType() {
    return *EffectCatalogue::find("AudioEffects.Delay");
}
const NodeTypeEntry& pingPongType() {
    return *EffectCatalogue::find("AudioEffects.PingPongDelay");
}

void setDelayMs(const NodeTypeEntry& type, SingleBusAudioProcessorNode& node,
                unsigned int delayMs) {
    type.findParameter("delayMs")->write(node, delayMs);
}

bool isPingPong(const NodeTypeEntry& type) {
    return &type == &pingPongType();
}

// The node types with an oscillator: those whose swing has a frequency.
std::vector<NodeTypeEntry> oscillatingTypes() {
    return nodeTypesWhere(
        [](const NodeTypeEntry& entry) { return entry.findParameter("frequency") != nullptr; });
}

bool accept(SingleBusAudioProcessorNode& node, unsigned int channels) {
    AudioBusFormatList inputs{AudioBusFormat{channels, 0, 0}};
    AudioBusFormatList outputs{AudioBusFormat{}};
    return node.setBusFormats(inputs, outputs);
}

Signal silence(unsigned int channels, unsigned int frames) {
    return Signal(channels, Channel(frames, 0.0f));
}

Signal impulse(unsigned int channels, unsigned int frames) {
    Signal signal = silence(channels, frames);
    signal[0][0] = 1.0f;
    return signal;
}

// Noise in [-1, 1), different for every seed.
Signal noise(unsigned int channels, unsigned int frames, std::uint32_t seed) {
    Signal signal = silence(channels, frames);
    std::uint32_t state = seed * 2654435761u + 1u;
    for (Channel& channel : signal) {
        for (float& sample : channel) {
            state = state * 1664525u + 1013904223u;
            sample = static_cast<float>(state >> 8) / 8388608.0f - 1.0f;
        }
    }
    return signal;
}

AudioBus busOf(const Signal& signal, unsigned int first, unsigned int frames,
               unsigned int sampleRate) {
    const auto channels = static_cast<unsigned int>(signal.size());
    AudioBus bus(channels, frames, sampleRate);
    for (unsigned int c = 0; c < channels; ++c) {
        for (unsigned int f = 0; f < frames; ++f) bus.buffer.setSample(c, f, signal[c][first + f]);
    }
    return bus;
}

// Runs the signal through the node's list-level process in blocks, as a host does, and returns
// the output. A refused block leaves its part of the output empty (NaN) and counts in refused.
Signal processSignal(SingleBusAudioProcessorNode& node, const Signal& signal,
                     unsigned int sampleRate, unsigned int blockFrames = 4096,
                     unsigned int* refused = nullptr) {
    const auto channels = static_cast<unsigned int>(signal.size());
    const auto total = static_cast<unsigned int>(signal.empty() ? 0 : signal[0].size());
    Signal output(channels, Channel(total, std::nanf("")));
    for (unsigned int first = 0; first < total; first += blockFrames) {
        const unsigned int frames = std::min(blockFrames, total - first);
        AudioBus in = busOf(signal, first, frames, sampleRate);
        AudioBus out(channels, frames);
        AudioBusList inputs{&in};
        AudioBusList outputs{&out};
        if (!node.process(inputs, outputs)) {
            if (refused != nullptr) ++*refused;
            continue;
        }
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < frames; ++f)
                output[c][first + f] = out.buffer.getSample(c, f);
        }
    }
    return output;
}

// Two signals alike sample for sample, bit for bit (so NaN matches NaN).
::testing::AssertionResult sameSignal(const Signal& a, const Signal& b) {
    if (a.size() != b.size()) return ::testing::AssertionFailure() << "channel counts differ";
    for (std::size_t c = 0; c < a.size(); ++c) {
        if (a[c].size() != b[c].size()) return ::testing::AssertionFailure() << "lengths differ";
        for (std::size_t f = 0; f < a[c].size(); ++f) {
            const bool same = a[c][f] == b[c][f] || (std::isnan(a[c][f]) && std::isnan(b[c][f]));
            if (!same) {
                return ::testing::AssertionFailure() << "channel " << c << ", frame " << f << ": "
                                                     << a[c][f] << " vs " << b[c][f];
            }
        }
    }
    return ::testing::AssertionSuccess();
}

bool allFinite(const Signal& signal) {
    for (const Channel& channel : signal) {
        for (float sample : channel) {
            if (!std::isfinite(sample)) return false;
        }
    }
    return true;
}

// --- A delay longer than the line ---------------------------------------------------------

// The echo of a unit impulse through a delay node with the default gains (dry 0.7, wet 0.3),
// whose delay is the whole 48000-sample line: 0.7 at frame 0, 0.3 at frame 48000, 0 elsewhere.
Signal expectedLineLengthEcho(unsigned int frames) {
    Signal expected = silence(1, frames);
    expected[0][0] = 0.0f * 0.3f + 1.0f * 0.7f;
    expected[0][kLineLength] = 1.0f * 0.3f + 0.0f * 0.7f;
    return expected;
}

Signal delayImpulseResponse(unsigned int delayMs, unsigned int sampleRate, unsigned int frames) {
    auto node = createProcessor(delayType());
    EXPECT_TRUE(accept(*node, 1));
    setDelayMs(delayType(), *node, delayMs);
    return processSignal(*node, impulse(1, frames), sampleRate);
}

TEST(DelayHazardTest, DelayOfExactlyTheLineEchoesAt48000Samples) {
    const unsigned int frames = kLineLength + 4096;
    EXPECT_TRUE(
        sameSignal(delayImpulseResponse(1000, 48000, frames), expectedLineLengthEcho(frames)));
    EXPECT_TRUE(
        sameSignal(delayImpulseResponse(500, 96000, frames), expectedLineLengthEcho(frames)));
}

TEST(DelayHazardTest, DelayLongerThanTheLineEchoesAt48000Samples) {
    const unsigned int frames = kLineLength + 4096;
    const Signal expected = expectedLineLengthEcho(frames);
    EXPECT_TRUE(sameSignal(delayImpulseResponse(1001, 48000, frames), expected));
    EXPECT_TRUE(sameSignal(delayImpulseResponse(2000, 48000, frames), expected));
    EXPECT_TRUE(sameSignal(delayImpulseResponse(501, 96000, frames), expected));
    EXPECT_TRUE(sameSignal(
        delayImpulseResponse(std::numeric_limits<unsigned int>::max(), 384000, frames), expected));
}

// Lengthening the delay beyond the line in the middle of a stream reads from the same place in
// the line as a delay of exactly the line would: the read position stays inside the line.
TEST(DelayHazardTest, LengtheningBeyondTheLineMidStreamReadsAsTheWholeLine) {
    auto longer = createProcessor(delayType());
    auto exact = createProcessor(delayType());
    ASSERT_TRUE(accept(*longer, 2) && accept(*exact, 2));
    const Signal before = noise(2, 20000, 1);
    const Signal after = noise(2, 60000, 2);
    EXPECT_TRUE(
        sameSignal(processSignal(*longer, before, 48000), processSignal(*exact, before, 48000)));
    setDelayMs(delayType(), *longer, 60000);
    setDelayMs(delayType(), *exact, 1000);
    const Signal fromLonger = processSignal(*longer, after, 48000);
    EXPECT_TRUE(allFinite(fromLonger));
    EXPECT_TRUE(sameSignal(fromLonger, processSignal(*exact, after, 48000)));
}

// --- A ping-pong delay below one sample, and above the rings -------------------------------

Signal pingPongResponse(unsigned int delayMs, unsigned int sampleRate, const Signal& input) {
    auto node = createProcessor(pingPongType());
    EXPECT_TRUE(accept(*node, 2));
    setDelayMs(pingPongType(), *node, delayMs);
    return processSignal(*node, input, sampleRate, 1000);
}

// delayMs × rate below 1000 would make the rings 0 samples long (and the index update divide
// by zero); the node runs them one sample long instead.
TEST(PingPongDelayHazardTest, DelayBelowOneSampleBehavesAsOneSample) {
    const Signal input = impulse(2, 3000);
    const Signal oneSample = pingPongResponse(1, 1000, input);  // 1 × 1000 / 1000 = 1 sample
    EXPECT_TRUE(sameSignal(pingPongResponse(1, 999, input), oneSample));
    EXPECT_TRUE(sameSignal(pingPongResponse(1, 1, input), oneSample));
    EXPECT_TRUE(sameSignal(pingPongResponse(999, 1, input), oneSample));
    EXPECT_TRUE(sameSignal(pingPongResponse(200, 0, input), oneSample));

    // One sample: the left input comes back on the left one frame later, and on the right one
    // frame later too, already crossed once (defaults: dry 0.7, wet 0.3, feedback 0.2).
    EXPECT_EQ(oneSample[0][0], 1.0f * 0.7f + 0.0f * 0.3f);
    EXPECT_EQ(oneSample[0][1], 0.0f * 0.7f + 1.0f * 0.3f);
    EXPECT_EQ(oneSample[1][1], 0.0f * 0.7f + (1.0f * 0.2f + 0.0f) * 0.3f);

    const Signal noisy = noise(2, 3000, 3);
    EXPECT_TRUE(sameSignal(pingPongResponse(1, 999, noisy), pingPongResponse(1, 1000, noisy)));
}

// Rings longer than their 48000 samples would run the indices past them; the node keeps them
// at 48000 samples, exactly as a delay of 1000 ms at 48000 Hz.
TEST(PingPongDelayHazardTest, DelayBeyondTheRingsRunsAsTheWholeRings) {
    const Signal input = noise(2, kLineLength + 5000, 4);
    const Signal whole = pingPongResponse(1000, 48000, input);
    EXPECT_TRUE(allFinite(whole));
    EXPECT_TRUE(sameSignal(pingPongResponse(1001, 48000, input), whole));
    EXPECT_TRUE(sameSignal(pingPongResponse(std::numeric_limits<unsigned int>::max(), 48000, input),
                           whole));
    EXPECT_TRUE(sameSignal(pingPongResponse(60000, 384000, input), whole));
}

// --- Sample rate 0 and back ------------------------------------------------------------------

// A node whose first block arrives at rate 0 continues at a real rate exactly as a node that
// only ever saw the real rate. The ping-pong delay keeps its rings across a rate change, so its
// rate-0 block is matched by a block of the same one-sample delay on the other node.
TEST(SampleRateHazardTest, FirstBlockAtRateZeroThenARealRateRunsAsFromTheStart) {
    for (const NodeTypeEntry& type : EffectCatalogue::nodeTypes()) {
        SCOPED_TRACE(type.typeName());
        auto zeroFirst = createProcessor(type);
        auto reference = createProcessor(type);
        const unsigned int channels = type.minChannels;
        ASSERT_TRUE(accept(*zeroFirst, channels) && accept(*reference, channels));
        const Signal first = noise(channels, 512, 5);
        const Signal then = noise(channels, 20000, 6);
        const Signal atZero = processSignal(*zeroFirst, first, 0);
        EXPECT_EQ(allFinite(atZero), true);
        if (isPingPong(type)) {
            setDelayMs(type, *reference, 1);
            EXPECT_TRUE(sameSignal(processSignal(*reference, first, 1000), atZero));
            setDelayMs(type, *reference, 200);
        }
        EXPECT_TRUE(sameSignal(processSignal(*zeroFirst, then, 48000),
                               processSignal(*reference, then, 48000)));
    }
}

// The delay nodes come back from a block at rate 0 in the middle of a stream: the delay node
// clears its lines on the rate change, so it runs on as a fresh node; the ping-pong delay runs
// the rate-0 block with one-sample rings and then its usual delay again.
TEST(SampleRateHazardTest, DelayNodesComeBackFromRateZeroMidStream) {
    const Signal warmUp = noise(2, 10000, 7);
    const Signal zeroBlock = noise(2, 512, 8);
    const Signal then = noise(2, 20000, 9);

    auto delay = createProcessor(delayType());
    auto freshDelay = createProcessor(delayType());
    ASSERT_TRUE(accept(*delay, 2) && accept(*freshDelay, 2));
    processSignal(*delay, warmUp, 48000);
    EXPECT_TRUE(allFinite(processSignal(*delay, zeroBlock, 0)));
    EXPECT_TRUE(
        sameSignal(processSignal(*delay, then, 48000), processSignal(*freshDelay, then, 48000)));

    auto pingPong = createProcessor(pingPongType());
    auto twin = createProcessor(pingPongType());
    ASSERT_TRUE(accept(*pingPong, 2) && accept(*twin, 2));
    EXPECT_TRUE(
        sameSignal(processSignal(*pingPong, warmUp, 48000), processSignal(*twin, warmUp, 48000)));
    setDelayMs(pingPongType(), *twin, 1);
    EXPECT_TRUE(
        sameSignal(processSignal(*pingPong, zeroBlock, 0), processSignal(*twin, zeroBlock, 1000)));
    setDelayMs(pingPongType(), *twin, 200);
    EXPECT_TRUE(
        sameSignal(processSignal(*pingPong, then, 48000), processSignal(*twin, then, 48000)));
}

// An oscillator that has run at a real rate and is then stepped at rate 0 gets an infinite
// step (1 / 0), so its phase becomes infinite and every later output is not a number: that is
// the oscillator's documented behaviour, and the nodes with an oscillator inherit it. What must
// hold is that nothing traps or reads outside a line on the way (the sanitizer builds watch),
// that every block is still taken, and that a bypassed node still passes its input through
// exactly.
TEST(SampleRateHazardTest, ModulationNodesStaySafeAfterRateZeroMidStream) {
    const std::vector<NodeTypeEntry> types = oscillatingTypes();
    ASSERT_FALSE(types.empty());
    for (const NodeTypeEntry& type : types) {
        SCOPED_TRACE(type.typeName());
        auto node = createProcessor(type);
        ASSERT_TRUE(accept(*node, 2));
        const Signal input = noise(2, 4096, 10);
        unsigned int refused = 0;
        EXPECT_TRUE(allFinite(processSignal(*node, input, 48000, 1024, &refused)));
        processSignal(*node, input, 0, 1024, &refused);
        const Signal after = processSignal(*node, input, 48000, 1024, &refused);
        EXPECT_EQ(refused, 0u);
        for (const Channel& channel : after) {
            for (float sample : channel) ASSERT_TRUE(std::isnan(sample));
        }

        AudioBus in = busOf(input, 0, 4096, 48000);
        AudioBus out(2, 4096);
        type.findParameter("enabled")->write(*node, false);
        ASSERT_TRUE(node->process(in, out));
        for (unsigned int c = 0; c < 2; ++c) {
            for (unsigned int f = 0; f < 4096; ++f) {
                ASSERT_EQ(out.buffer.getSample(c, f), in.buffer.getSample(c, f));
            }
        }
    }
}

// --- More channels than negotiated -----------------------------------------------------------

// Marks every sample of a bus, to see later whether anything was written.
void mark(AudioBus& bus) {
    for (unsigned int c = 0; c < bus.buffer.getNumberOfChannels(); ++c) {
        for (unsigned int f = 0; f < bus.buffer.getFrameCapacity(); ++f) {
            bus.buffer.setSample(c, f, -99.0f);
        }
    }
}

bool allMarked(const AudioBus& bus) {
    for (unsigned int c = 0; c < bus.buffer.getNumberOfChannels(); ++c) {
        for (unsigned int f = 0; f < bus.buffer.getFrameCapacity(); ++f) {
            if (bus.buffer.getSample(c, f) != -99.0f) return false;
        }
    }
    return true;
}

// The list-level process refuses a block with more channels than the accepted format and does
// not touch the output; the node is not run at all, so it goes on exactly like a twin that
// never saw the block.
TEST(ChannelHazardTest, BlockWithMoreChannelsThanNegotiatedIsRefusedAndNeverProcessed) {
    for (const NodeTypeEntry& type : EffectCatalogue::nodeTypes()) {
        SCOPED_TRACE(type.typeName());
        const unsigned int channels = type.minChannels;
        auto node = createProcessor(type);
        auto twin = createProcessor(type);
        ASSERT_TRUE(accept(*node, channels) && accept(*twin, channels));
        const Signal warmUp = noise(channels, 3000, 11);
        EXPECT_TRUE(
            sameSignal(processSignal(*node, warmUp, 48000), processSignal(*twin, warmUp, 48000)));

        AudioBus wide = busOf(noise(channels + 1, 512, 12), 0, 512, 48000);
        AudioBus out(channels + 1, 512);
        mark(out);
        AudioBusList inputs{&wide};
        AudioBusList outputs{&out};
        EXPECT_FALSE(node->process(inputs, outputs));
        EXPECT_TRUE(allMarked(out));

        const Signal then = noise(channels, 60000, 13);
        EXPECT_TRUE(
            sameSignal(processSignal(*node, then, 48000), processSignal(*twin, then, 48000)));
    }
}

TEST(ChannelHazardTest, NodeWithoutAnAcceptedFormatRefusesEveryBlock) {
    for (const NodeTypeEntry& type : EffectCatalogue::nodeTypes()) {
        SCOPED_TRACE(type.typeName());
        auto node = createProcessor(type);
        unsigned int refused = 0;
        processSignal(*node, noise(2, 2048, 14), 48000, 1024, &refused);
        EXPECT_EQ(refused, 2u);
        const unsigned int tooMany = type.maxChannels + 1;
        EXPECT_FALSE(accept(*node, tooMany));
        processSignal(*node, noise(tooMany, 1024, 15), 48000, 1024, &refused);
        EXPECT_EQ(refused, 3u);
    }
}

// The output holds exactly what copyFrom copies: the first frames of the first channels.
::testing::AssertionResult holdsCopyOf(const AudioBus& out, const AudioBus& in) {
    const unsigned int channels =
        std::min(in.buffer.getNumberOfChannels(), out.buffer.getNumberOfChannels());
    const unsigned int frames =
        std::min(in.buffer.getNumberOfFrames(), out.buffer.getFrameCapacity());
    if (out.buffer.getNumberOfFrames() != frames) {
        return ::testing::AssertionFailure()
               << "output frame count " << out.buffer.getNumberOfFrames();
    }
    for (unsigned int c = 0; c < channels; ++c) {
        for (unsigned int f = 0; f < frames; ++f) {
            if (out.buffer.getSample(c, f) != in.buffer.getSample(c, f)) {
                return ::testing::AssertionFailure() << "channel " << c << ", frame " << f;
            }
        }
    }
    return ::testing::AssertionSuccess();
}

// Handed straight to process(AudioBus&, AudioBus&), a block that the node cannot take (more
// channels than its two lines, or an output bus too small) is passed through as the copy, and
// the node's state is untouched: it goes on exactly like a twin that never saw the block.
TEST(ChannelHazardTest, DirectBlockTheNodeCannotTakePassesThroughWithoutTouchingState) {
    struct Shape {
        unsigned int inChannels;
        unsigned int outChannels;
        unsigned int outCapacity;
    };
    for (const NodeTypeEntry& type : EffectCatalogue::nodeTypes()) {
        SCOPED_TRACE(type.typeName());
        std::vector<Shape> shapes = {{2, 1, 512}, {2, 2, 256}, {1, 0, 512}};
        // The ping-pong delay's rings do not depend on the channel index: any channel count
        // that the output bus can hold is processed. The others have a line for each channel
        // they take and no more.
        const unsigned int tooMany = type.maxChannels + 1;
        if (!isPingPong(type)) shapes.push_back({tooMany, tooMany, 512});
        auto node = createProcessor(type);
        auto twin = createProcessor(type);
        ASSERT_TRUE(accept(*node, 2) && accept(*twin, 2));
        const Signal warmUp = noise(2, 3000, 16);
        EXPECT_TRUE(
            sameSignal(processSignal(*node, warmUp, 48000), processSignal(*twin, warmUp, 48000)));
        for (const Shape& shape : shapes) {
            AudioBus in = busOf(noise(shape.inChannels, 512, 17), 0, 512, 48000);
            AudioBus out(shape.outChannels, shape.outCapacity);
            mark(out);
            EXPECT_TRUE(node->process(in, out));
            EXPECT_TRUE(holdsCopyOf(out, in)) << shape.inChannels << " channels into "
                                              << shape.outChannels << " x " << shape.outCapacity;
        }
        const Signal then = noise(2, 60000, 18);
        EXPECT_TRUE(
            sameSignal(processSignal(*node, then, 48000), processSignal(*twin, then, 48000)));
    }
}

// --- An oscillator at or above the sample rate -----------------------------------------------

// What the oscillator returns for phase p with amplitude 1, offset 0 and phase offset 0.
float sineAt(float phase) {
    return sinf(static_cast<float>(static_cast<double>(phase) * 6.283185307179586 + 0.0)) * 1.0f +
           0.0f;
}

// At exactly the sample rate the step is one whole cycle, which the single wrap takes away
// again: the phase stays at 0.
TEST(OscillatorHazardTest, FrequencyEqualToTheSampleRateKeepsThePhaseStill) {
    LFO lfo;
    lfo.setFrequency(2.0f);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(lfo.process(2), sineAt(0.0f));
        EXPECT_EQ(lfo.getPhase(), 0.0f);
    }
}

// Above the sample rate the single wrap cannot bring the phase back below 1: at twice the
// rate it grows by exactly one cycle per sample, and the sine is still taken of it.
TEST(OscillatorHazardTest, FrequencyAboveTheSampleRateGrowsThePhaseAndStaysFinite) {
    LFO lfo;
    lfo.setFrequency(4.0f);  // two cycles per sample at rate 2; sampleDuration 0.5 is exact
    for (int k = 1; k <= 1000; ++k) {
        const float value = lfo.process(2);
        EXPECT_EQ(value, sineAt(static_cast<float>(k - 1)));
        EXPECT_EQ(lfo.getPhase(), static_cast<float>(k));
    }

    LFO fast;
    fast.setFrequency(1e6f);
    for (int i = 0; i < 48000; ++i) {
        const float value = fast.process(48000);
        ASSERT_TRUE(std::isfinite(value) && std::fabs(value) <= 1.0f) << "sample " << i;
    }
    EXPECT_GT(fast.getPhase(), 1.0f);
}

// The nodes with an oscillator, at and above the sample rate: the output stays finite for a
// second of audio, and no read leaves a line.
TEST(OscillatorHazardTest, ModulationNodesWithOscillatorsAtOrAboveTheRateStayFinite) {
    const std::vector<NodeTypeEntry> types = oscillatingTypes();
    ASSERT_FALSE(types.empty());
    for (const float frequency : {48000.0f, 96000.0f, 1e6f}) {
        for (const NodeTypeEntry& type : types) {
            SCOPED_TRACE(type.typeName() + " at " + std::to_string(frequency) + " Hz");
            auto node = createProcessor(type);
            ASSERT_TRUE(accept(*node, 2));
            type.findParameter("frequency")->write(*node, frequency);
            EXPECT_TRUE(allFinite(processSignal(*node, noise(2, 48000, 19), 48000)));
        }
    }
}

}  // namespace
