#pragma once

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/SweptEffectNode.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::extensions::audioeffects {

// Adds to the dry signal a copy of it delayed by 1002 samples plus a swing of up to
// sweepWidth seconds, swept by a slow sine. One delay line and one oscillator per channel,
// the channels' oscillators a quarter cycle apart unless stereoPhase (default 90 degrees) says
// otherwise; no feedback unless feedback (default 0) is set.
class OSTRANA_AUDIOEFFECTS_EXPORT ChorusNode : public SweptEffectNode {
  public:
    // Builds lines and oscillators for up to numberOfChannels channels.
    explicit ChorusNode(unsigned int numberOfChannels);

    static NodeTypeInfo getNodeTypeInfo();
};

}  // namespace ostrana::extensions::audioeffects
