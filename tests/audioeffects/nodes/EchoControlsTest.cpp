#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string_view>
#include <vector>

#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>

#include "audioeffects/nodes/DelayTestSupport.h"

// The level, glide and bounce of the delay and the ping-pong delay, set through the catalogue
// as every front end sets them.
namespace {

using ostrana::extensions::audioeffects::DelayNode;
using ostrana::extensions::audioeffects::EffectCatalogue;
using ostrana::extensions::audioeffects::ParameterValue;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using namespace ostrana::delaytest;

constexpr unsigned int kRate = 48000;
constexpr unsigned int kBlock = 256;

// A new stereo node of each type and its catalogue name.
template <typename Node>
struct Echo;
template <>
struct Echo<DelayNode> {
    static constexpr std::string_view kName = "delay";
    static DelayNode make() { return DelayNode(2); }
};
template <>
struct Echo<PingPongDelayNode> {
    static constexpr std::string_view kName = "ping-pong-delay";
    static PingPongDelayNode make() { return PingPongDelayNode({}); }
};

template <typename Node>
void set(Node& node, std::string_view name, const ParameterValue& value) {
    const auto* parameter = EffectCatalogue::find(Echo<Node>::kName)->findParameter(name);
    ASSERT_NE(parameter, nullptr) << name;
    parameter->write(node, value);
}

// The gain a level gives, worked out as the nodes do: in double, rounded once to float.
float gainOf(float levelDb) {
    return static_cast<float>(std::pow(10.0, static_cast<double>(levelDb) / 20.0));
}

Signal scaled(Signal signal, float gain) {
    for (auto& channel : signal) {
        for (float& sample : channel) sample = sample * gain;
    }
    return signal;
}

Signal sine(unsigned int frames, float amplitude) {
    Signal signal = silence(2, frames);
    for (unsigned int f = 0; f < frames; ++f) {
        const double phase = 2.0 * std::numbers::pi * 440.0 * f / kRate;
        signal[0][f] = signal[1][f] = amplitude * static_cast<float>(std::sin(phase));
    }
    return signal;
}

// The largest sample-to-sample step of either channel within frames [first, end).
float largestStep(const Signal& signal, unsigned int first, unsigned int end) {
    float largest = 0.0f;
    for (const auto& channel : signal) {
        for (unsigned int f = std::max(first, 1u); f < end; ++f) {
            largest = std::max(largest, std::abs(channel[f] - channel[f - 1]));
        }
    }
    return largest;
}

// The signal through node in 256-frame blocks, its delay time set before each block by
// delayAt(block).
template <typename Node, typename DelayAt>
Signal automated(Node& node, const Signal& input, DelayAt&& delayAt) {
    Signal output = silence(2, frameCount(input));
    for (unsigned int start = 0, block = 0; start < frameCount(input); start += kBlock, ++block) {
        node.setDelayMs(delayAt(block));
        Signal part = silence(2, kBlock);
        for (unsigned int c = 0; c < 2; ++c) {
            std::copy_n(input[c].begin() + start, kBlock, part[c].begin());
        }
        const Signal out = processWhole(node, part, kRate);
        for (unsigned int c = 0; c < 2; ++c) {
            std::copy(out[c].begin(), out[c].end(), output[c].begin() + start);
        }
    }
    return output;
}

// 200 ms for 150 blocks (0.8 s), then 1 ms more each block up to 400 ms, held for 150 blocks.
constexpr unsigned int kSteadyBlocks = 150;
unsigned int rampedDelay(unsigned int block) {
    if (block < kSteadyBlocks) return 200;
    return std::min(400u, 200u + (block - kSteadyBlocks + 1));
}
constexpr unsigned int kRampFrames = (kSteadyBlocks + 200 + kSteadyBlocks) * kBlock;

template <typename Node>
class EchoControls : public ::testing::Test {};
using EchoNodes = ::testing::Types<DelayNode, PingPongDelayNode>;
TYPED_TEST_SUITE(EchoControls, EchoNodes);

TYPED_TEST(EchoControls, LevelOfMinusSixDecibelsHalvesTheOutputByOneMultiply) {
    const Signal input = noise(2, kRate, 7);
    TypeParam plain = Echo<TypeParam>::make();
    TypeParam quieter = Echo<TypeParam>::make();
    set(quieter, "level", -6.0206f);
    const float gain = gainOf(-6.0206f);
    EXPECT_NEAR(gain, 0.5f, 1e-6f);
    const Signal expected = scaled(processInBlocks(plain, input, kRate, kBlock), gain);
    expectSameBits(processInBlocks(quieter, input, kRate, kBlock), expected);
}

TYPED_TEST(EchoControls, LevelBackAtZeroDecibelsGivesTheDefaultOutput) {
    const Signal input = noise(2, kRate, 8);
    TypeParam plain = Echo<TypeParam>::make();
    TypeParam changed = Echo<TypeParam>::make();
    set(changed, "level", 9.5f);
    const Signal louder = processInBlocks(changed, input, kRate, kBlock);
    const Signal reference = processInBlocks(plain, input, kRate, kBlock);
    EXPECT_NE(bitsOf(louder[0][100]), bitsOf(reference[0][100]));
    set(changed, "level", 0.0f);
    const Signal more = noise(2, kRate, 9);
    expectSameBits(processInBlocks(changed, more, kRate, kBlock),
                   processInBlocks(plain, more, kRate, kBlock));
}

TYPED_TEST(EchoControls, LevelOutsideItsRangeIsHeldToIt) {
    const Signal input = noise(2, 4096, 10);
    TypeParam plain = Echo<TypeParam>::make();
    TypeParam loud = Echo<TypeParam>::make();
    set(loud, "level", 1000.0f);
    const Signal expected = scaled(processInBlocks(plain, input, kRate, kBlock), gainOf(12.0f));
    expectSameBits(processInBlocks(loud, input, kRate, kBlock), expected);
}

TYPED_TEST(EchoControls, SwitchedOffPassesTheInputThroughWhateverTheLevel) {
    const Signal input = noise(2, 4096, 11);
    TypeParam node = Echo<TypeParam>::make();
    set(node, "level", -20.0f);
    node.setIsEnabled(false);
    expectSameBits(processInBlocks(node, input, kRate, kBlock), input);
}

TYPED_TEST(EchoControls, GlideAtASteadyDelayChangesNoSample) {
    const Signal input = noise(2, 2 * kRate, 12);
    TypeParam plain = Echo<TypeParam>::make();
    TypeParam gliding = Echo<TypeParam>::make();
    set(gliding, "glide", 50.0f);
    expectSameBits(processInBlocks(gliding, input, kRate, kBlock),
                   processInBlocks(plain, input, kRate, kBlock));
    // Switched off and on again at a steady delay, the echoes stay where they were.
    set(gliding, "glide", 0.0f);
    const Signal more = noise(2, kRate, 13);
    expectSameBits(processInBlocks(gliding, more, kRate, 1000),
                   processInBlocks(plain, more, kRate, 1000));
    set(gliding, "glide", 20.0f);
    expectSameBits(processInBlocks(gliding, input, kRate, 300),
                   processInBlocks(plain, input, kRate, 300));
}

TYPED_TEST(EchoControls, GlideTakesTheDelayRampWithoutSteps) {
    const Signal input = sine(kRampFrames, 0.5f);
    const unsigned int rampStart = kSteadyBlocks * kBlock;
    TypeParam jumping = Echo<TypeParam>::make();
    const Signal jumped = automated(jumping, input, rampedDelay);
    TypeParam gliding = Echo<TypeParam>::make();
    set(gliding, "glide", 50.0f);
    const Signal glided = automated(gliding, input, rampedDelay);
    // Steady: the last 0.3 s before the ramp, once the echoes have built up.
    const float steady = largestStep(jumped, rampStart - kRate * 3 / 10, rampStart);
    const float withJumps = largestStep(jumped, rampStart, kRampFrames);
    const float withGlide = largestStep(glided, rampStart, kRampFrames);
    std::printf("%s: largest step steady %.4f, ramp with glide 0 %.4f, with glide 50 ms %.4f\n",
                std::string(Echo<TypeParam>::kName).c_str(), steady, withJumps, withGlide);
    EXPECT_EQ(steady, largestStep(glided, rampStart - kRate * 3 / 10, rampStart));
    EXPECT_GT(withJumps, 2.0f * steady);
    EXPECT_LE(withGlide, 2.0f * steady);
}

TYPED_TEST(EchoControls, GlideEndsExactlyOnTheNewDelay) {
    TypeParam gliding = Echo<TypeParam>::make();
    set(gliding, "glide", 30.0f);
    processInBlocks(gliding, silence(2, kRate / 2), kRate, kBlock);
    gliding.setDelayMs(300);
    // The glide's 30 ms, then more silence, then a click.
    processInBlocks(gliding, silence(2, kRate / 10), kRate, kBlock);
    TypeParam fresh = Echo<TypeParam>::make();
    fresh.setDelayMs(300);
    const Signal click = impulse(2, kRate, 0);
    expectSameBits(processInBlocks(gliding, click, kRate, kBlock),
                   processInBlocks(fresh, click, kRate, kBlock));
}

TYPED_TEST(EchoControls, AGlideIsNotTakenAcrossANewRate) {
    TypeParam gliding = Echo<TypeParam>::make();
    set(gliding, "glide", 500.0f);
    processInBlocks(gliding, silence(2, kRate / 2), kRate, kBlock);
    TypeParam fresh = Echo<TypeParam>::make();
    gliding.setDelayMs(90);
    fresh.setDelayMs(90);
    // The echo of the click lands where a fresh node's does, at once.
    const Signal click = impulse(2, 44100, 1);
    const Signal glided = processInBlocks(gliding, click, 44100, kBlock);
    expectSameBits(glided, processInBlocks(fresh, click, 44100, kBlock));
    EXPECT_NE(glided[1][90 * 441 / 10], 0.0f);
}

constexpr unsigned int kPeriod = 9600;  // 200 ms at 48 kHz

void bounce(PingPongDelayNode& node) {
    set(node, "bounce", true);
}

TEST(PingPongBounce, LeftClickEchoesRightThenLeftThenRight) {
    PingPongDelayNode node({});
    bounce(node);
    const Signal output = processInBlocks(node, impulse(2, 4 * kPeriod, 0), kRate, kBlock);
    const float fb = 0.2f;
    const float wet = 0.3f;
    expectEchoes(output[1], {{kPeriod, 1.0f * wet}, {3 * kPeriod, (fb * fb) * wet}});
    expectEchoes(output[0], {{0, 0.7f}, {2 * kPeriod, fb * wet}});
    EXPECT_EQ(output[1][kPeriod], 0.3f);
    EXPECT_EQ(output[0][2 * kPeriod], 0.2f * 0.3f);
}

TEST(PingPongBounce, RightClickAlsoEchoesOnTheRightFirst) {
    PingPongDelayNode node({});
    bounce(node);
    node.setFeedbackLevel(0.5f);
    const Signal output = processInBlocks(node, impulse(2, 4 * kPeriod, 1), kRate, 1000);
    expectEchoes(output[1], {{0, 0.7f}, {kPeriod, 0.3f}, {3 * kPeriod, 0.25f * 0.3f}});
    expectEchoes(output[0], {{2 * kPeriod, 0.5f * 0.3f}});
}

TEST(PingPongBounce, CentredClickBouncesAsTheSumOfBothSides) {
    PingPongDelayNode node({});
    bounce(node);
    Signal click = silence(2, 4 * kPeriod);
    click[0][0] = click[1][0] = 0.5f;
    const Signal output = processInBlocks(node, click, kRate, kBlock);
    expectEchoes(output[1],
                 {{0, 0.5f * 0.7f}, {kPeriod, 0.3f}, {3 * kPeriod, (0.2f * 0.2f) * 0.3f}});
    expectEchoes(output[0], {{0, 0.5f * 0.7f}, {2 * kPeriod, 0.2f * 0.3f}});
}

TEST(PingPongBounce, BouncesWhileTheDelayGlides) {
    PingPongDelayNode node({});
    bounce(node);
    set(node, "glide", 40.0f);
    processInBlocks(node, silence(2, kRate / 2), kRate, kBlock);
    node.setDelayMs(100);
    processInBlocks(node, silence(2, kRate / 10), kRate, kBlock);
    const Signal output = processInBlocks(node, impulse(2, 4 * 4800, 0), kRate, kBlock);
    expectEchoes(output[1], {{4800, 0.3f}, {3 * 4800, (0.2f * 0.2f) * 0.3f}});
    expectEchoes(output[0], {{0, 0.7f}, {2 * 4800, 0.2f * 0.3f}});
}

}  // namespace
