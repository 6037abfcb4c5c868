#include <ostrana/audioeffects/VibratoNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptEffectProcessor.h"

namespace ostrana::extensions::audioeffects {

VibratoNode::VibratoNode(unsigned int numberOfChannels)
    : SweptEffectNode(SweptEffectProcessorFor<kVibratoRecipe>::make(numberOfChannels)) {}

NodeTypeInfo VibratoNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Vibrato", "Vibrato",
                                  "Applies a vibrato effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
