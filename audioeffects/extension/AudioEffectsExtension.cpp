#include <utility>

#include <ostrana/audioeffects/AudioEffectsExtension.h>
#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/sdk/ExtensionManager.h>

namespace ostrana::extensions::audioeffects {

AudioEffectsExtension::AudioEffectsExtension() = default;

AudioEffectsExtension::~AudioEffectsExtension() = default;

void AudioEffectsExtension::load() {
    ExtensionManager& manager = ExtensionManager::getInstance();
    std::shared_ptr<AudioEffectsExtension> extension = std::make_shared<AudioEffectsExtension>();
    // The manager becomes the only owner; what it answers changes nothing here.
    manager.registerExtension(std::shared_ptr<Extension>(std::move(extension)));
}

std::string AudioEffectsExtension::getName() {
    return "AudioEffects";
}

std::string AudioEffectsExtension::getDescription() {
    return "Basic audio effects such as delay, chorus, flanger, and vibrato.";
}

std::shared_ptr<NodeFactory> AudioEffectsExtension::getNodeFactory() {
    return std::make_shared<AudioEffectsNodeFactory>();
}

namespace {

// Registers the extension while the library is being loaded. It holds nothing and its
// destructor is trivial, so nothing is scheduled for process exit.
class AudioEffectsExtensionAutoRegistrar {
  public:
    AudioEffectsExtensionAutoRegistrar() { AudioEffectsExtension::load(); }
};

AudioEffectsExtensionAutoRegistrar AudioEffectsExtensionAutoRegistrarInstance;

}  // namespace

}  // namespace ostrana::extensions::audioeffects
