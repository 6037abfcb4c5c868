#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>

#include "audioeffects/audio/LaneLimit.h"
#include "audioeffects/audio/SineSwitch.h"

namespace {

using ostrana::audio::LFO;
using ostrana::audio::LFOLookAhead;
using ostrana::audiotest::LaneLimit;
using ostrana::audiotest::SineSwitch;

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

// Every test runs with sinf and with the vector sine in each of its lane widths (a width the
// processor lacks runs as the next narrower one).
class LFOBlock : public ::testing::TestWithParam<std::tuple<bool, unsigned int>> {
  protected:
    LFOBlock() : sine_(std::get<0>(GetParam())), lanes_(std::get<1>(GetParam())) {}

  private:
    SineSwitch sine_;
    LaneLimit lanes_;
};

TEST_P(LFOBlock, MatchesSingleStepsOverTheNodesSettings) {
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

TEST_P(LFOBlock, MatchesSingleStepsForEveryBlockLength) {
    LFO single = makeOscillator(3.7f, 0.9f, -0.1f, 0.3f);
    LFO block = single;
    for (unsigned int count = 0; count <= 300; ++count) {
        expectBlockMatchesSingleSteps(single, block, 44100, count);
    }
}

TEST_P(LFOBlock, MatchesSingleStepsWithRandomParametersRatesAndLengths) {
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

TEST_P(LFOBlock, FollowsARateChangeOnlyOnce) {
    // Each rate's reciprocal is formed at the block's first step, as the first single call
    // does; the block's first value already uses the new step size for the phase after it.
    LFO single = makeOscillator(1.0f, 1.0f, 0.0f, 0.0f);
    LFO block = single;
    expectBlockMatchesSingleSteps(single, block, 48000, 100);
    expectBlockMatchesSingleSteps(single, block, 1000, 100);
    EXPECT_EQ(block.getPhase(), single.getPhase());
    expectBlockMatchesSingleSteps(single, block, 48000, 100);
}

TEST_P(LFOBlock, KeepsTheUnwrappedAndNotANumberCases) {
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

TEST_P(LFOBlock, ZeroStepsChangeNothing) {
    LFO lfo = makeOscillator(5.0f, 1.0f, 0.0f, 0.0f);
    for (int i = 0; i < 3; ++i) lfo.process(48000);
    const float phase = lfo.getPhase();
    float untouched = 7.0f;
    lfo.processBlock(48000, &untouched, 0);
    EXPECT_EQ(untouched, 7.0f);
    EXPECT_EQ(bitsOf(lfo.getPhase()), bitsOf(phase));
}

// The phases of a block are walked in exact runs within each binade of the phase; these
// settings cross binades, wrap, and put the increment exactly halfway between two multiples of
// a binade's float spacing, where the additions round to even and the steps alternate.
TEST_P(LFOBlock, MatchesSingleStepsAcrossBinadesWrapsAndHalfwayIncrements) {
    // At 2^20 Hz the rate's reciprocal is exactly 2^-20, so frequency * 2^-20 is exact.
    constexpr int kRate = 1 << 20;
    const float frequencies[] = {
        3.0f / 32.0f,   // 1.5 spacings of [0.5, 1): every step there a tie
        5.0f / 32.0f,   // 2.5 spacings of [0.5, 1), 5 of [0.25, 0.5)
        1.0f / 32.0f,   // half a spacing of [0.5, 1): the phase stops there
        0.75f / 32.0f,  // less than half a spacing of [0.5, 1)
        1000.0f,        // a few hundred spacings
        262144.0f,      // a quarter cycle per step
        524287.9f,      // just under half a cycle per step
        1048575.0f,     // almost a whole cycle per step
    };
    for (const float frequency : frequencies) {
        // Each starting at a phase of 1/4, 1/2 and 3/4, reached by quarter-cycle steps, and at
        // one float spacing above each (an odd multiple of it, where a halfway step first
        // rounds the other way).
        for (int start = 2; start <= 7; ++start) {
            const int quarters = start / 2;
            SCOPED_TRACE(::testing::Message() << "frequency " << frequency << " from phase "
                                              << quarters << "/4" << (start % 2 ? " + 1" : ""));
            LFO single = makeOscillator(262144.0f, 0.5f, 0.5f, 1.5707964f);
            for (int i = 0; i < quarters; ++i) single.process(kRate);
            const float quarterPhase = 0.25f * static_cast<float>(quarters);
            ASSERT_EQ(single.getPhase(), quarterPhase);
            if (start % 2 != 0) {
                // A step of one spacing: 2^-24 of the phase's power of two above it.
                single.setFrequency(std::ldexp(quarters == 1 ? 1.0f : 2.0f, -5));
                single.process(kRate);
                ASSERT_EQ(single.getPhase(), std::nextafter(quarterPhase, 1.0f));
            }
            single.setFrequency(frequency);
            LFO block = single;
            for (unsigned int count : {7u, 1u, 64u, 255u, 256u, 257u, 1000u}) {
                expectBlockMatchesSingleSteps(single, block, kRate, count);
            }
        }
    }
    // From phases just below each power of two down to 2^-30, where a step crosses binades.
    for (int exponent = 1; exponent <= 30; ++exponent) {
        LFO single = makeOscillator(0.2f, 1.0f, 0.0f, 0.0f);
        const float target = std::ldexp(1.0f, -exponent);
        while (single.getPhase() < target) single.process(48000);
        LFO block = single;
        expectBlockMatchesSingleSteps(single, block, 48000, 300);
    }
}

// Steps one oscillator by single calls and another by processBlockAhead, count steps, and
// expects the same bits from both, value by value.
void expectAheadMatchesSingleSteps(LFO& single, LFO& ahead, LFOLookAhead& lookAhead, int sampleRate,
                                   unsigned int count) {
    std::vector<float> aheadValues(count, -1.0f);
    ahead.processBlockAhead(sampleRate, aheadValues.data(), count, lookAhead);
    for (unsigned int i = 0; i < count; ++i) {
        const float expected = single.process(sampleRate);
        ASSERT_EQ(bitsOf(aheadValues[i]), bitsOf(expected))
            << "step " << i << " of " << count << " at rate " << sampleRate;
    }
}

// Settles the look-ahead and expects the phase single steps reached.
void expectSettledPhase(const LFO& single, LFO& ahead, LFOLookAhead& lookAhead) {
    ahead.settle(lookAhead);
    ASSERT_EQ(bitsOf(ahead.getPhase()), bitsOf(single.getPhase()));
}

void setParameters(LFO& lfo, float frequency, float amplitude, float offset, float phaseOffset) {
    lfo.setFrequency(frequency);
    lfo.setAmplitude(amplitude);
    lfo.setOffset(offset);
    lfo.setPhaseOffset(phaseOffset);
}

TEST_P(LFOBlock, AheadMatchesSingleStepsWithChangesBetweenBlocks) {
    std::mt19937 generator(20261125);
    std::uniform_real_distribution<float> frequency(-50.0f, 2000.0f);
    std::uniform_real_distribution<float> gain(-2.0f, 2.0f);
    std::uniform_real_distribution<float> phaseOffset(-10.0f, 10.0f);
    // Mostly short blocks, the ones the look-ahead serves, some of a whole run and more.
    const unsigned int lengths[] = {0, 1, 7, 31, 32, 33, 64, 100, 255, 256, 257, 600};
    std::uniform_int_distribution<std::size_t> lengthIndex(0, std::size(lengths) - 1);
    const int rates[] = {48000, 44100, 96000, 8000, 1, 192000};
    std::uniform_int_distribution<std::size_t> rateIndex(0, std::size(rates) - 1);
    LFO single;
    LFO ahead;
    LFOLookAhead lookAhead;
    int rate = 48000;
    for (int round = 0; round < 3000; ++round) {
        // Changes land between blocks, as a control thread's would: a new setting, the same
        // setting written again, a new rate, or a settle with nothing else.
        switch (round % 11) {
            case 0: {
                const float f = frequency(generator);
                const float a = gain(generator);
                const float o = gain(generator);
                const float p = phaseOffset(generator);
                setParameters(single, f, a, o, p);
                setParameters(ahead, f, a, o, p);
                break;
            }
            case 3:
                setParameters(ahead, ahead.getFrequency(), ahead.getAmplitude(), ahead.getOffset(),
                              ahead.getPhaseOffset());
                break;
            case 5:
                rate = rates[rateIndex(generator)];
                break;
            case 8:
                ASSERT_NO_FATAL_FAILURE(expectSettledPhase(single, ahead, lookAhead));
                break;
            default:
                break;
        }
        ASSERT_NO_FATAL_FAILURE(expectAheadMatchesSingleSteps(single, ahead, lookAhead, rate,
                                                              lengths[lengthIndex(generator)]));
    }
    expectSettledPhase(single, ahead, lookAhead);
}

TEST_P(LFOBlock, AheadOverTheNodesSettingsInShortBlocks) {
    // The chorus's setting over ten seconds at 48 kHz in 32-step blocks, the sweep rate changed
    // halfway through.
    LFO single = makeOscillator(0.2f, 0.5f, 0.5f, 1.5707964f);
    LFO ahead = single;
    LFOLookAhead lookAhead;
    for (int i = 0; i < 48000 * 10 / 32; ++i) {
        if (i == 48000 * 5 / 32) {
            single.setFrequency(0.4f);
            ahead.setFrequency(0.4f);
        }
        ASSERT_NO_FATAL_FAILURE(expectAheadMatchesSingleSteps(single, ahead, lookAhead, 48000, 32));
    }
    expectSettledPhase(single, ahead, lookAhead);
}

TEST_P(LFOBlock, AheadTellsTheSignOfAZeroOffsetApart) {
    // With no amplitude the values are the offset, plus a zero whose sign is the sine's: an
    // offset of -0 keeps the negative sine's -0, one of +0 does not. Equal as numbers, the two
    // offsets give other bits, and a change from one to the other must reach the values.
    LFO single = makeOscillator(1000.0f, 0.0f, 0.0f, 0.0f);
    LFO ahead = single;
    LFOLookAhead lookAhead;
    ASSERT_NO_FATAL_FAILURE(expectAheadMatchesSingleSteps(single, ahead, lookAhead, 48000, 40));
    single.setOffset(-0.0f);
    ahead.setOffset(-0.0f);
    std::vector<float> values(40);
    ahead.processBlockAhead(48000, values.data(), 40, lookAhead);
    int negativeZeros = 0;
    for (unsigned int i = 0; i < 40; ++i) {
        const float expected = single.process(48000);
        ASSERT_EQ(bitsOf(values[i]), bitsOf(expected)) << "step " << i;
        negativeZeros += std::signbit(values[i]) ? 1 : 0;
    }
    EXPECT_GT(negativeZeros, 0);
}

TEST_P(LFOBlock, AheadSettlesIntoSingleSteps) {
    // Single steps and processBlock after a settle continue from where the handed-out steps
    // left the oscillator; the look-ahead serves again after them.
    LFO single = makeOscillator(3.7f, 0.9f, -0.1f, 0.3f);
    LFO ahead = single;
    LFOLookAhead lookAhead;
    for (unsigned int count : {5u, 100u, 1u}) {
        ASSERT_NO_FATAL_FAILURE(
            expectAheadMatchesSingleSteps(single, ahead, lookAhead, 44100, count));
        ahead.settle(lookAhead);
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(bitsOf(ahead.process(44100)), bitsOf(single.process(44100)));
        }
        ASSERT_NO_FATAL_FAILURE(expectBlockMatchesSingleSteps(single, ahead, 44100, count));
    }
    // Settling twice, or with nothing ahead, changes nothing.
    ahead.settle(lookAhead);
    ahead.settle(lookAhead);
    EXPECT_EQ(bitsOf(ahead.getPhase()), bitsOf(single.getPhase()));
}

std::string sineAndLanesName(const ::testing::TestParamInfo<std::tuple<bool, unsigned int>>& info) {
    const auto [vectorSine, lanes] = info.param;
    return (vectorSine ? std::string("VectorSine") : std::string("Sinf")) + "AtMost" +
           std::to_string(lanes) + "Lanes";
}

INSTANTIATE_TEST_SUITE_P(EverySineAndWidth, LFOBlock,
                         ::testing::Values(std::make_tuple(false, 16u), std::make_tuple(true, 16u),
                                           std::make_tuple(true, 8u), std::make_tuple(true, 1u)),
                         sineAndLanesName);

}  // namespace
