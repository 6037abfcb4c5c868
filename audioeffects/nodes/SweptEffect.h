#pragma once

#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/audioeffects/SweptEffectNode.h>
#include <ostrana/sdk/NodeTypeInfo.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/EffectNode.h"
#include "nodes/ParameterTable.h"
#include "nodes/SweptEffectProcessor.h"
#include "nodes/SweptParameters.h"

namespace ostrana::extensions::audioeffects {

// A swept-delay effect that is only its definition, without a class of its own in the public
// headers:
//
//     struct Doubler {
//         static constexpr EffectNames kNames{"doubler", "Doubler", "Doubler", "Applies ..."};
//         static constexpr SweepRecipe kRecipe{...};
//         static constexpr auto kSlots = sweptSlots({...});
//     };
//     extern constinit const NodeTypeEntry kDoublerType = sweptEffectEntry<Doubler>();
template <typename Effect>
class SweptEffect final : public SweptEffectNode {
  public:
    explicit SweptEffect(unsigned int numberOfChannels)
        : SweptEffectNode(
              SweptEffectProcessorFor<Effect::kRecipe>::make(numberOfChannels, Effect::kSlots)) {}

    static NodeTypeInfo getNodeTypeInfo() {
        return makeEffectNodeTypeInfo(Effect::kNames.subtype, Effect::kNames.displayName,
                                      Effect::kNames.description);
    }
};

// The catalogue entry of a swept effect's definition: mono or stereo.
template <typename Effect>
constexpr NodeTypeEntry sweptEffectEntry() {
    return monoOrStereoEntry<SweptEffect<Effect>, SweptParameters, Effect::kSlots>(
        Effect::kNames.shortName, Effect::kNames.widensMono, samplesBeyondSwing(Effect::kRecipe));
}

}  // namespace ostrana::extensions::audioeffects
