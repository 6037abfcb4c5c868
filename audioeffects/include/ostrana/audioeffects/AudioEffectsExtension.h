#pragma once

#include <memory>
#include <string>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/Extension.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeFactory.h>

namespace ostrana::extensions::audioeffects {

// The "AudioEffects" extension: names and describes the library and hands out its node
// factory. One is registered with the host while the library loads.
class OSTRANA_AUDIOEFFECTS_EXPORT AudioEffectsExtension : public Extension {
  public:
    AudioEffectsExtension();
    ~AudioEffectsExtension() override;

    // Registers one new AudioEffectsExtension with the host's ExtensionManager. Every call
    // registers another object; nothing checks for an earlier registration.
    static void load();

    std::string getName() override;
    std::string getDescription() override;
    // A new AudioEffectsNodeFactory on every call; the extension keeps no reference to it.
    std::shared_ptr<NodeFactory> getNodeFactory() override;
};

}  // namespace ostrana::extensions::audioeffects
