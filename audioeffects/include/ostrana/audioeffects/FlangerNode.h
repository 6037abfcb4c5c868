#pragma once

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/SweptEffectNode.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::extensions::audioeffects {

// The chorus's swept delay line with a short delay (2 samples plus a swing of up to
// sweepWidth seconds) and part of the delayed signal fed back into the line (feedback, 0.6
// unless set): the comb-filter sweep of a flanger. One line and one oscillator per channel,
// the channels' oscillators a quarter cycle apart unless stereoPhase (default 90 degrees) says
// otherwise.
class OSTRANA_AUDIOEFFECTS_EXPORT FlangerNode : public SweptEffectNode {
  public:
    // Builds lines and oscillators for up to numberOfChannels channels.
    explicit FlangerNode(unsigned int numberOfChannels);

    static NodeTypeInfo getNodeTypeInfo();
};

}  // namespace ostrana::extensions::audioeffects
