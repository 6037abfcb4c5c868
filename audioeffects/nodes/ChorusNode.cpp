#include <ostrana/audioeffects/ChorusNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ParameterTable.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptEffectProcessor.h"
#include "nodes/SweptParameters.h"

namespace ostrana::extensions::audioeffects {

namespace {

// A copy 21 ms behind (1002 samples at 48 kHz) swinging by up to 50 ms, slowly (0.01 to 5 Hz),
// added to the dry signal at 0.8; deeper is a doubled echo, faster a warble. No feedback unless
// set.
constexpr SweepRecipe kChorusRecipe{.baseDelay = 1002.0f,
                                    .feedsBack = false,
                                    .writesBeforeReading = false,
                                    .keepsDry = true,
                                    .oscillatorPerChannel = true,
                                    .wetGain = 0.8f,
                                    .offersFeedback = true};
constexpr auto kChorusSlots =
    appended(sweptSlots({.switchText = "Enable or disable the chorus effect.",
                         .defaultWidth = 0.025f,
                         .widestWidth = 0.05f,
                         .defaultFrequency = 0.2f,
                         .lowestFrequency = 0.01f,
                         .highestFrequency = 5.0f,
                         .defaultStereoPhase = 90.0f}),
             feedbackSlot(0.0f));
static_assert(longestDelayFitsTheLine(kChorusRecipe, 0.05f));

}  // namespace

ChorusNode::ChorusNode(unsigned int numberOfChannels)
    : SweptEffectNode(
          SweptEffectProcessorFor<kChorusRecipe>::make(numberOfChannels, kChorusSlots)) {}

NodeTypeInfo ChorusNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Chorus", "Chorus",
                                  "Applies a chorus effect to the input audio signal.");
}

// The chorus as the catalogue lists it: mono or stereo.
extern constinit const NodeTypeEntry kChorusType =
    monoOrStereoEntry<ChorusNode, SweptParameters, kChorusSlots>("chorus", true,
                                                                 samplesBeyondSwing(kChorusRecipe));

}  // namespace ostrana::extensions::audioeffects
