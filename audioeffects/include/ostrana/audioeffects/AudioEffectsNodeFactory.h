#pragma once

#include <string>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/NodeFactory.h>

namespace ostrana::extensions::audioeffects {

// The extension's node factory. A new factory registers the five effect node types, each
// with its descriptor and a creation function, in the order Delay, PingPongDelay, Vibrato,
// Flanger, Chorus; nodes are then created through the inherited createNode.
class OSTRANA_AUDIOEFFECTS_EXPORT AudioEffectsNodeFactory : public NodeFactory {
  public:
    AudioEffectsNodeFactory();
    ~AudioEffectsNodeFactory() override;

    // "AudioEffects": the type of every descriptor this factory registers.
    std::string getNodeTypePrefix() override;
};

}  // namespace ostrana::extensions::audioeffects
