#include <gtest/gtest.h>

#include <stdexcept>
#include <variant>

#include <ostrana/audioeffects/ParameterDefinition.h>

// A parameter written as a sentence holds exactly what each step names, and refuses a value of
// another kind than its own.
namespace {

using ostrana::extensions::audioeffects::ParameterDefinition;
using ostrana::extensions::audioeffects::ParameterKind;
using ostrana::extensions::audioeffects::ParameterUnit;

constexpr ParameterDefinition kDelay = ParameterDefinition::wholeNumber("delayMs")
                                           .from(1u)
                                           .to(1000u)
                                           .startingAt(200u)
                                           .inMilliseconds()
                                           .describedAs("The delay time in milliseconds.");

TEST(ParameterSentence, AWholeNumberHoldsWhatEachStepNames) {
    EXPECT_EQ(kDelay.name, "delayMs");
    EXPECT_EQ(kDelay.kind, ParameterKind::WholeNumber);
    EXPECT_EQ(std::get<unsigned int>(kDelay.minimum), 1u);
    EXPECT_EQ(std::get<unsigned int>(kDelay.maximum), 1000u);
    EXPECT_EQ(kDelay.defaultAs<unsigned int>(), 200u);
    EXPECT_EQ(kDelay.unit, ParameterUnit::Milliseconds);
    EXPECT_EQ(kDelay.description, "The delay time in milliseconds.");
    EXPECT_EQ(kDelay.rangeText(), "1 to 1000 ms");
}

TEST(ParameterSentence, ARealNumberAndASwitch) {
    constexpr ParameterDefinition width = ParameterDefinition::realNumber("sweepWidth")
                                              .from(0.0f)
                                              .to(0.05f)
                                              .startingAt(0.025f)
                                              .inSeconds();
    EXPECT_EQ(width.kind, ParameterKind::RealNumber);
    EXPECT_EQ(width.defaultAs<float>(), 0.025f);
    EXPECT_EQ(width.unit, ParameterUnit::Seconds);
    EXPECT_EQ(width.rangeText(), "0 to 0.05 s");
    constexpr ParameterDefinition rate = ParameterDefinition::realNumber("frequency").inHertz();
    EXPECT_EQ(rate.unit, ParameterUnit::Hertz);

    constexpr ParameterDefinition enabled =
        ParameterDefinition::onOffSwitch("enabled").startingAt(true).describedAs("On or off.");
    EXPECT_EQ(enabled.kind, ParameterKind::Switch);
    EXPECT_TRUE(enabled.defaultAs<bool>());
    EXPECT_FALSE(std::get<bool>(enabled.minimum));
    EXPECT_TRUE(std::get<bool>(enabled.maximum));
    EXPECT_EQ(enabled.unit, ParameterUnit::None);
    EXPECT_EQ(enabled.rangeText(), "off or on");
}

TEST(ParameterSentence, AValueOfAnotherKindIsRefused) {
    const ParameterDefinition whole = ParameterDefinition::wholeNumber("n");
    EXPECT_THROW((void)whole.startingAt(0.5f), std::invalid_argument);
    EXPECT_THROW((void)whole.to(true), std::invalid_argument);
    const ParameterDefinition real = ParameterDefinition::realNumber("x");
    EXPECT_THROW((void)real.from(1u), std::invalid_argument);
    EXPECT_NO_THROW((void)real.from(1.0f));
}

}  // namespace
