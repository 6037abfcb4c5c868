#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::extensions::audioeffects {

AudioEffectsNodeFactory::AudioEffectsNodeFactory() {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        registerNode(entry.describe(), entry.create);
    }
}

AudioEffectsNodeFactory::~AudioEffectsNodeFactory() = default;

std::string AudioEffectsNodeFactory::getNodeTypePrefix() {
    return "AudioEffects";
}

}  // namespace ostrana::extensions::audioeffects
