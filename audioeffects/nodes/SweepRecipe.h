#pragma once

#include "nodes/DelayLineLength.h"

namespace ostrana::extensions::audioeffects {

// What makes one swept-delay effect (chorus, flanger, vibrato) what it is: the constants that
// the renderer and the node are instantiated with. The effect's delay is swung by a sine
// oscillator (amplitude 0.5, offset 0.5, so m lies in [0, 1]); for write pointer w and swing
// d = (m * sweepWidth) * rate the read position is
//
//     p = fmodf((((float)w - d) + (-baseDelay)) + (float)N, (float)N)
//
// formed left to right in single precision and read by the ring's linear interpolation.
struct SweepRecipe {
    float baseDelay;            // samples of delay that the sweep does not move
    bool feedsBack;             // the line receives input + feedback * wet, else the input
    bool writesBeforeReading;   // input written at w before the read, else after it
    bool keepsDry;              // output is wet * wetGain + input, else the wet alone
    bool oscillatorPerChannel;  // one oscillator per channel stepped per sample, else one
                                // shared oscillator stepped once per frame
    float wetGain;              // gain of the wet signal when the dry signal is kept
    bool offersFeedback;        // feedsBack is chosen block by block from the feedback
                                // parameter: on wherever it is not 0
};

// The recipe as rendered with feedback on or off.
constexpr SweepRecipe feedingBack(SweepRecipe recipe, bool feeds) {
    recipe.feedsBack = feeds;
    return recipe;
}

// The recipe as rendered with an oscillator for each channel.
constexpr SweepRecipe oscillatorForEachChannel(SweepRecipe recipe) {
    recipe.oscillatorPerChannel = true;
    return recipe;
}

// Samples the line is read behind beyond the swing, at most: the base delay and the
// interpolation's older neighbour. A tail waits out echoes that far apart (NodeTypeEntry).
constexpr float samplesBeyondSwing(const SweepRecipe& recipe) {
    return recipe.baseDelay + 1.0f;
}

// Whether an effect's longest delay, baseDelay plus the widest swing (in seconds) at the highest
// rate, and the neighbour its interpolation reads, stay inside the 48000-sample line: each
// effect checks its range with it, so that it keeps its whole range at every rate with the
// line it has always had.
constexpr bool longestDelayFitsTheLine(const SweepRecipe& recipe, float widestSwing) {
    const double widest =
        static_cast<double>(widestSwing) * static_cast<double>(kHighestLineSampleRate);
    return static_cast<double>(recipe.baseDelay) + widest + 1.0 < kDelayLineLength;
}

}  // namespace ostrana::extensions::audioeffects
