#include <ostrana/audioeffects/FlangerNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ParameterTable.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptEffectProcessor.h"
#include "nodes/SweptParameters.h"

namespace ostrana::extensions::audioeffects {

namespace {

// A 2-sample delay swinging by up to 10 ms (the comb filter's usual span) at 0.01 to 5 Hz, part
// of the delayed signal (0.6 unless set) fed back into the line, added to the dry signal at 0.8.
constexpr SweepRecipe kFlangerRecipe{.baseDelay = 2.0f,
                                     .feedsBack = true,
                                     .writesBeforeReading = false,
                                     .keepsDry = true,
                                     .oscillatorPerChannel = true,
                                     .wetGain = 0.8f,
                                     .offersFeedback = true};
constexpr auto kFlangerSlots =
    appended(sweptSlots({.switchText = "Enable or disable the flanger effect.",
                         .defaultWidth = 0.005f,
                         .widestWidth = 0.01f,
                         .defaultFrequency = 0.4f,
                         .lowestFrequency = 0.01f,
                         .highestFrequency = 5.0f,
                         .defaultStereoPhase = 90.0f}),
             feedbackSlot(0.6f));
static_assert(longestDelayFitsTheLine(kFlangerRecipe, 0.01f));

}  // namespace

FlangerNode::FlangerNode(unsigned int numberOfChannels)
    : SweptEffectNode(
          SweptEffectProcessorFor<kFlangerRecipe>::make(numberOfChannels, kFlangerSlots)) {}

NodeTypeInfo FlangerNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Flanger", "Flanger",
                                  "Applies a flanger effect to the input audio signal.");
}

// The flanger as the catalogue lists it: mono or stereo.
extern constinit const NodeTypeEntry kFlangerType =
    monoOrStereoEntry<FlangerNode, SweptParameters, kFlangerSlots>(
        "flanger", true, samplesBeyondSwing(kFlangerRecipe));

}  // namespace ostrana::extensions::audioeffects
