#pragma once

#include <string>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeFactory.h>

namespace ostrana::extensions::audioeffects {

// The extension's node factory. A new factory registers every node type of the catalogue
// (EffectCatalogue), each with its descriptor and a creation function, in the catalogue's
// order; nodes are then created through the inherited createNode.
class OSTRANA_AUDIOEFFECTS_EXPORT AudioEffectsNodeFactory : public NodeFactory {
  public:
    AudioEffectsNodeFactory();
    ~AudioEffectsNodeFactory() override;

    // "AudioEffects": the type of every descriptor this factory registers.
    std::string getNodeTypePrefix() override;
};

}  // namespace ostrana::extensions::audioeffects
