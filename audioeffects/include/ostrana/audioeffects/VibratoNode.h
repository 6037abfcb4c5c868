#pragma once

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/SweptEffectNode.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::extensions::audioeffects {

// Bends the pitch by playing the input back through a delay line whose length (1 sample plus a
// swing of up to sweepWidth seconds) a 4 Hz sine sweeps. The output is the delayed signal
// alone. One oscillator, stepped once per frame, modulates every channel's line in step while
// stereoPhase is 0 (its default); otherwise the second channel follows an oscillator of its
// own, that many degrees ahead.
class OSTRANA_AUDIOEFFECTS_EXPORT VibratoNode : public SweptEffectNode {
  public:
    // Builds lines and oscillators for up to numberOfChannels channels.
    explicit VibratoNode(unsigned int numberOfChannels);

    static NodeTypeInfo getNodeTypeInfo();
};

}  // namespace ostrana::extensions::audioeffects
