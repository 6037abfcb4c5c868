#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include <ostrana/audio/LFO.h>

namespace {

using ostrana::audio::LFO;

std::uint32_t bitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

LFO makeOscillator(float frequency, float amplitude, float offset, float phaseOffset) {
    LFO lfo;
    lfo.setFrequency(frequency);
    lfo.setAmplitude(amplitude);
    lfo.setOffset(offset);
    lfo.setPhaseOffset(phaseOffset);
    return lfo;
}

// Steps one oscillator by single calls and a copy of it by one block of count steps, and
// expects the same bits from both, value by value, and the same phase after.
void expectBlockMatchesSingleSteps(LFO& single, LFO& block, int sampleRate, unsigned int count) {
    std::vector<float> blockValues(count, -1.0f);
    block.processBlock(sampleRate, blockValues.data(), count);
    for (unsigned int i = 0; i < count; ++i) {
        const float expected = single.process(sampleRate);
        ASSERT_EQ(bitsOf(blockValues[i]), bitsOf(expected))
            << "step " << i << " of " << count << " at rate " << sampleRate;
    }
    ASSERT_EQ(bitsOf(block.getPhase()), bitsOf(single.getPhase()));
}

TEST(LFOBlock, MatchesSingleStepsOverTheNodesSettings) {
    // The settings of the chorus, flanger and vibrato oscillators, over a minute at 48 kHz.
    const float settings[][2] = {
        {0.2f, 0.0f}, {0.2f, 1.5707964f}, {0.4f, 1.5707964f}, {4.0f, 0.0f}};
    for (const auto& setting : settings) {
        LFO single = makeOscillator(setting[0], 0.5f, 0.5f, setting[1]);
        LFO block = single;
        for (int i = 0; i < 48000 * 60 / 256; ++i) {
            expectBlockMatchesSingleSteps(single, block, 48000, 256);
        }
    }
}

TEST(LFOBlock, MatchesSingleStepsForEveryBlockLength) {
    LFO single = makeOscillator(3.7f, 0.9f, -0.1f, 0.3f);
    LFO block = single;
    for (unsigned int count = 0; count <= 300; ++count) {
        expectBlockMatchesSingleSteps(single, block, 44100, count);
    }
}

TEST(LFOBlock, MatchesSingleStepsWithRandomParametersRatesAndLengths) {
    std::mt19937 generator(20261121);
    std::uniform_real_distribution<float> frequency(-50.0f, 2000.0f);
    std::uniform_real_distribution<float> gain(-2.0f, 2.0f);
    std::uniform_real_distribution<float> phaseOffset(-10.0f, 10.0f);
    std::uniform_int_distribution<unsigned int> length(0, 700);
    const int rates[] = {48000, 44100, 96000, 8000, 1, 2, 192000};
    std::uniform_int_distribution<std::size_t> rateIndex(0, std::size(rates) - 1);
    LFO single;
    LFO block;
    for (int round = 0; round < 2000; ++round) {
        // Parameter changes land between blocks, as a control thread's would.
        if (round % 7 == 0) {
            const LFO fresh = makeOscillator(frequency(generator), gain(generator), gain(generator),
                                             phaseOffset(generator));
            single.setFrequency(fresh.getFrequency());
            single.setAmplitude(fresh.getAmplitude());
            single.setOffset(fresh.getOffset());
            single.setPhaseOffset(fresh.getPhaseOffset());
            block.setFrequency(fresh.getFrequency());
            block.setAmplitude(fresh.getAmplitude());
            block.setOffset(fresh.getOffset());
            block.setPhaseOffset(fresh.getPhaseOffset());
        }
        expectBlockMatchesSingleSteps(single, block, rates[rateIndex(generator)],
                                      length(generator));
    }
}

TEST(LFOBlock, FollowsARateChangeOnlyOnce) {
    // Each rate's reciprocal is formed at the block's first step, as the first single call
    // does; the block's first value already uses the new step size for the phase after it.
    LFO single = makeOscillator(1.0f, 1.0f, 0.0f, 0.0f);
    LFO block = single;
    expectBlockMatchesSingleSteps(single, block, 48000, 100);
    expectBlockMatchesSingleSteps(single, block, 1000, 100);
    EXPECT_EQ(block.getPhase(), single.getPhase());
    expectBlockMatchesSingleSteps(single, block, 48000, 100);
}

TEST(LFOBlock, KeepsTheUnwrappedAndNotANumberCases) {
    // A step of more than a cycle grows the phase past 1; a negative frequency takes it below
    // 0 for good; a rate of 0 after a real one makes the step and the phase infinite and every
    // later value not a number. The block must do exactly what the single calls do in each case.
    LFO fast = makeOscillator(100000.0f, 1.0f, 0.0f, 0.0f);
    LFO fastBlock = fast;
    expectBlockMatchesSingleSteps(fast, fastBlock, 48000, 500);
    EXPECT_GT(fastBlock.getPhase(), 1.0f);

    LFO backwards = makeOscillator(-3.0f, 1.0f, 0.0f, 0.0f);
    LFO backwardsBlock = backwards;
    expectBlockMatchesSingleSteps(backwards, backwardsBlock, 48000, 500);
    EXPECT_LT(backwardsBlock.getPhase(), 0.0f);

    LFO stopped = makeOscillator(2.0f, 1.0f, 0.0f, 0.0f);
    LFO stoppedBlock = stopped;
    expectBlockMatchesSingleSteps(stopped, stoppedBlock, 48000, 10);
    expectBlockMatchesSingleSteps(stopped, stoppedBlock, 0, 5);
    EXPECT_TRUE(std::isinf(stoppedBlock.getPhase()));
    float later = 0.0f;
    stoppedBlock.processBlock(0, &later, 1);
    EXPECT_TRUE(std::isnan(later));
}

TEST(LFOBlock, ZeroStepsChangeNothing) {
    LFO lfo = makeOscillator(5.0f, 1.0f, 0.0f, 0.0f);
    for (int i = 0; i < 3; ++i) lfo.process(48000);
    const float phase = lfo.getPhase();
    float untouched = 7.0f;
    lfo.processBlock(48000, &untouched, 0);
    EXPECT_EQ(untouched, 7.0f);
    EXPECT_EQ(bitsOf(lfo.getPhase()), bitsOf(phase));
}

}  // namespace
