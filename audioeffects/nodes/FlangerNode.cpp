#include <ostrana/audioeffects/FlangerNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptEffectProcessor.h"

namespace ostrana::extensions::audioeffects {

FlangerNode::FlangerNode(unsigned int numberOfChannels)
    : SweptEffectNode(SweptEffectProcessorFor<kFlangerRecipe>::make(numberOfChannels)) {}

NodeTypeInfo FlangerNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Flanger", "Flanger",
                                  "Applies a flanger effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
