#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include <ostrana/audio/LFO.h>

// The oscillator's two swings, and filling a block with them.
namespace {

using ostrana::audio::LFO;

TEST(LFOSwing, ZeroToOneIsHalfAmplitudeAroundAHalf) {
    LFO lfo;
    lfo.setSwing(LFO::Swing::ZeroToOne);
    EXPECT_EQ(lfo.getAmplitude(), 0.5f);
    EXPECT_EQ(lfo.getOffset(), 0.5f);
    lfo.setSwing(LFO::Swing::MinusOneToOne);
    EXPECT_EQ(lfo.getAmplitude(), 1.0f);
    EXPECT_EQ(lfo.getOffset(), 0.0f);
}

// A block filled with processBlock holds what as many process calls give, within the swing.
void expectBlockWithin(LFO::Swing swing, float lowest, float highest) {
    LFO filled;
    LFO stepped;
    for (LFO* lfo : {&filled, &stepped}) {
        lfo->setFrequency(3.0f);
        lfo->setSwing(swing);
    }
    std::vector<float> values(20000);
    filled.processBlock(8000, values.data(), static_cast<unsigned int>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(values[i], stepped.process(8000)) << "step " << i;
    }
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    EXPECT_GE(*low, lowest);
    EXPECT_LE(*high, highest);
    // Seven and a half cycles reach both ends of the swing.
    EXPECT_LT(*low, lowest + 0.001f);
    EXPECT_GT(*high, highest - 0.001f);
}

TEST(LFOSwing, ABlockFilledZeroToOneStaysThere) {
    expectBlockWithin(LFO::Swing::ZeroToOne, 0.0f, 1.0f);
}

TEST(LFOSwing, ABlockFilledMinusOneToOneStaysThere) {
    expectBlockWithin(LFO::Swing::MinusOneToOne, -1.0f, 1.0f);
}

}  // namespace
