#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <ostrana/audio/LFO.h>

namespace {

using ostrana::audio::LFO;

constexpr double kTwoPi = 6.283185307179586;

// The oscillator's output for phase p: the sine's argument formed in double and narrowed,
// the single-precision sine, then amplitude and offset in single precision.
float sineAt(float phase, float phaseOffset = 0.0f, float amplitude = 1.0f, float offset = 0.0f) {
    const double argument = static_cast<double>(phase) * kTwoPi + static_cast<double>(phaseOffset);
    return sinf(static_cast<float>(argument)) * amplitude + offset;
}

// The phase step for a frequency at a rate: frequency times the narrowed reciprocal of the rate.
float stepFor(float frequency, int sampleRate) {
    return frequency * static_cast<float>(1.0 / static_cast<double>(sampleRate));
}

TEST(LFO, StartsWithItsDefaults) {
    const LFO lfo;
    EXPECT_EQ(lfo.getFrequency(), 10.0f);
    EXPECT_EQ(lfo.getAmplitude(), 1.0f);
    EXPECT_EQ(lfo.getOffset(), 0.0f);
    EXPECT_EQ(lfo.getPhaseOffset(), 0.0f);
    EXPECT_EQ(lfo.getPhase(), 0.0f);
}

TEST(LFO, FirstCallReturnsZeroAndStepsThePhase) {
    LFO lfo;
    EXPECT_EQ(lfo.process(48000), 0.0f);
    EXPECT_EQ(lfo.getPhase(), stepFor(10.0f, 48000));
    EXPECT_EQ(lfo.getPhase(), 10.0f * static_cast<float>(1.0 / 48000.0));
}

TEST(LFO, HalfHertzAtRateTwoWalksAQuarterCyclePerCall) {
    LFO lfo;
    lfo.setFrequency(0.5f);
    EXPECT_EQ(lfo.process(2), sineAt(0.0f));
    EXPECT_EQ(lfo.getPhase(), 0.25f);
    EXPECT_EQ(lfo.process(2), sineAt(0.25f));
    EXPECT_EQ(lfo.process(2), sineAt(0.5f));
    EXPECT_EQ(lfo.process(2), sineAt(0.75f));
    EXPECT_EQ(lfo.getPhase(), 0.0f);
    EXPECT_EQ(lfo.process(2), sineAt(0.0f));
}

TEST(LFO, AmplitudeAndOffsetScaleTheSineInSinglePrecision) {
    LFO lfo;
    lfo.setFrequency(0.5f);
    lfo.setAmplitude(0.5f);
    lfo.setOffset(0.5f);
    const float expected[] = {sineAt(0.0f, 0.0f, 0.5f, 0.5f), sineAt(0.25f, 0.0f, 0.5f, 0.5f),
                              sineAt(0.5f, 0.0f, 0.5f, 0.5f), sineAt(0.75f, 0.0f, 0.5f, 0.5f)};
    for (float value : expected) EXPECT_EQ(lfo.process(2), value);
    EXPECT_EQ(expected[0], 0.5f);
    EXPECT_EQ(expected[1], 1.0f);
}

TEST(LFO, SineArgumentIsFormedInDoublePrecision) {
    LFO lfo;
    lfo.setFrequency(6.0f);
    lfo.setPhaseOffset(0.1f);
    EXPECT_EQ(lfo.process(4096), sineAt(0.0f, 0.1f));
    const float phase = 6.0f / 4096.0f;
    ASSERT_EQ(lfo.getPhase(), phase);
    const float expected = sineAt(phase, 0.1f);
    // Forming the argument in single precision gives a different sample here.
    ASSERT_NE(expected, sinf(phase * 6.2831855f + 0.1f));
    EXPECT_EQ(lfo.process(4096), expected);
}

TEST(LFO, PhaseOffsetShiftsTheFirstValue) {
    LFO lfo;
    lfo.setPhaseOffset(1.5f);
    lfo.setAmplitude(2.0f);
    lfo.setOffset(-0.25f);
    EXPECT_EQ(lfo.process(48000), sinf(1.5f) * 2.0f - 0.25f);
}

TEST(LFO, StepOfAWholeCycleWrapsBackToZero) {
    LFO lfo;
    lfo.setFrequency(1.0f);
    for (int call = 0; call < 5; ++call) {
        EXPECT_EQ(lfo.process(1), sineAt(0.0f));
        EXPECT_EQ(lfo.getPhase(), 0.0f);
    }
}

TEST(LFO, StepAboveOneCycleIsWrappedOnlyOnceAndThePhaseGrows) {
    LFO lfo;
    lfo.setFrequency(5.0f);
    const float expectedPhases[] = {1.5f, 3.0f, 4.5f, 6.0f};
    float previous = 0.0f;
    for (float phase : expectedPhases) {
        EXPECT_EQ(lfo.process(2), sineAt(previous));
        EXPECT_EQ(lfo.getPhase(), phase);
        previous = phase;
    }
}

TEST(LFO, StepOfOneAndAHalfSettlesAboveOneAndGrows) {
    LFO lfo;
    lfo.setFrequency(3.0f);
    const float expectedPhases[] = {0.5f, 1.0f, 1.5f, 2.0f, 2.5f};
    for (float phase : expectedPhases) {
        (void)lfo.process(2);
        EXPECT_EQ(lfo.getPhase(), phase);
    }
}

TEST(LFO, NegativeFrequencyRunsThePhaseBelowZeroWithoutLimit) {
    LFO lfo;
    lfo.setFrequency(-1.0f);
    const float expectedPhases[] = {-0.25f, -0.5f, -0.75f, -1.0f, -1.25f, -1.5f};
    float previous = 0.0f;
    for (float phase : expectedPhases) {
        EXPECT_EQ(lfo.process(4), sineAt(previous));
        EXPECT_EQ(lfo.getPhase(), phase);
        previous = phase;
    }
}

TEST(LFO, RateZeroOnAFreshOscillatorKeepsThePhaseStill) {
    LFO lfo;
    for (int call = 0; call < 3; ++call) {
        EXPECT_EQ(lfo.process(0), 0.0f);
        EXPECT_EQ(lfo.getPhase(), 0.0f);
    }
}

TEST(LFO, RateZeroAfterARealRateMakesThePhaseInfiniteAndTheOutputNotANumber) {
    LFO lfo;
    (void)lfo.process(48000);
    const float phase = lfo.getPhase();
    EXPECT_EQ(lfo.process(0), sineAt(phase));
    EXPECT_EQ(lfo.getPhase(), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(lfo.process(0)));
    EXPECT_TRUE(std::isnan(lfo.process(48000)));
}

TEST(LFO, NewRateChangesOnlyTheStep) {
    LFO lfo;
    (void)lfo.process(48000);
    (void)lfo.process(48000);
    const float afterTwo = stepFor(10.0f, 48000) + stepFor(10.0f, 48000);
    ASSERT_EQ(lfo.getPhase(), afterTwo);
    EXPECT_EQ(lfo.process(44100), sineAt(afterTwo));
    EXPECT_EQ(lfo.getPhase(), stepFor(10.0f, 44100) + afterTwo);
}

TEST(LFO, SettersApplyFromTheNextCallAndLeaveThePhase) {
    LFO lfo;
    lfo.setFrequency(0.5f);
    (void)lfo.process(2);
    lfo.setFrequency(0.25f);
    lfo.setAmplitude(3.0f);
    lfo.setOffset(1.0f);
    lfo.setPhaseOffset(0.5f);
    EXPECT_EQ(lfo.getPhase(), 0.25f);
    EXPECT_EQ(lfo.getFrequency(), 0.25f);
    EXPECT_EQ(lfo.getAmplitude(), 3.0f);
    EXPECT_EQ(lfo.getOffset(), 1.0f);
    EXPECT_EQ(lfo.getPhaseOffset(), 0.5f);
    EXPECT_EQ(lfo.process(2), sineAt(0.25f, 0.5f, 3.0f, 1.0f));
    EXPECT_EQ(lfo.getPhase(), 0.375f);
}

TEST(LFO, CopyContinuesFromTheSamePoint) {
    LFO original;
    original.setFrequency(3.5f);
    original.setAmplitude(0.5f);
    original.setOffset(0.5f);
    original.setPhaseOffset(0.25f);
    for (int call = 0; call < 17; ++call) (void)original.process(44100);
    LFO copy(original);
    LFO assigned;
    assigned = original;
    for (int call = 0; call < 100; ++call) {
        const float expected = original.process(44100);
        ASSERT_EQ(copy.process(44100), expected);
        ASSERT_EQ(assigned.process(44100), expected);
    }
}

}  // namespace
