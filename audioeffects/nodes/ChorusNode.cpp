#include <ostrana/audioeffects/ChorusNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptEffectProcessor.h"

namespace ostrana::extensions::audioeffects {

ChorusNode::ChorusNode(unsigned int numberOfChannels)
    : SweptEffectNode(SweptEffectProcessorFor<kChorusRecipe>::make(numberOfChannels)) {}

NodeTypeInfo ChorusNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Chorus", "Chorus",
                                  "Applies a chorus effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
