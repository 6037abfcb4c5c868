#include <ostrana/audioeffects/VibratoNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ParameterTable.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptEffectProcessor.h"
#include "nodes/SweptParameters.h"

namespace ostrana::extensions::audioeffects {

namespace {

// The delayed signal alone, a 1-sample delay swinging by up to 20 ms at 0.1 to 14 Hz: the pitch
// bend grows with depth times rate, from a gentle wobble to a strong warble (about four
// semitones each way at the extremes). One oscillator for every channel.
constexpr SweepRecipe kVibratoRecipe{.baseDelay = 1.0f,
                                     .feedsBack = false,
                                     .writesBeforeReading = true,
                                     .keepsDry = false,
                                     .oscillatorPerChannel = false,
                                     .wetGain = 0.0f,
                                     .offersFeedback = false};
constexpr auto kVibratoSlots = sweptSlots({.switchText = "Enable or disable the vibrato effect.",
                                           .defaultWidth = 0.01f,
                                           .widestWidth = 0.02f,
                                           .defaultFrequency = 4.0f,
                                           .lowestFrequency = 0.1f,
                                           .highestFrequency = 14.0f,
                                           .defaultStereoPhase = 0.0f});
static_assert(longestDelayFitsTheLine(kVibratoRecipe, 0.02f));

}  // namespace

VibratoNode::VibratoNode(unsigned int numberOfChannels)
    : SweptEffectNode(
          SweptEffectProcessorFor<kVibratoRecipe>::make(numberOfChannels, kVibratoSlots)) {}

NodeTypeInfo VibratoNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Vibrato", "Vibrato",
                                  "Applies a vibrato effect to the input audio signal.");
}

// The vibrato as the catalogue lists it: mono or stereo.
extern constinit const NodeTypeEntry kVibratoType =
    monoOrStereoEntry<VibratoNode, SweptParameters, kVibratoSlots>(
        "vibrato", true, samplesBeyondSwing(kVibratoRecipe));

}  // namespace ostrana::extensions::audioeffects
