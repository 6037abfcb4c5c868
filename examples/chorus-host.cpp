// A small host of the AudioEffects extension, built against an installed OstranaAudioEffects:
// it lists the registered extensions and node types, creates a chorus by type name, agrees a
// stereo format with it and runs a few blocks of a sine through it.

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace {

constexpr unsigned int kChannels = 2;
constexpr unsigned int kRate = 48000;
constexpr unsigned int kFrames = 512;
constexpr unsigned int kBlocks = 8;

void listNodeTypes() {
    using ostrana::extensions::audioeffects::EffectCatalogue;
    ostrana::ExtensionManager& manager = ostrana::ExtensionManager::getInstance();
    for (const auto& extension : manager.getExtensions()) {
        std::printf("extension %s: %s\n", extension->getName().c_str(),
                    extension->getDescription().c_str());
    }
    for (const std::string& type : manager.getNodeTypeNames()) {
        const auto* entry = EffectCatalogue::find(type);
        std::printf("  %s (%s)\n", type.c_str(),
                    entry != nullptr ? std::string(entry->shortName).c_str() : "-");
    }
}

void fillSine(ostrana::AudioBus& bus, unsigned int block) {
    for (unsigned int c = 0; c < kChannels; ++c) {
        float* samples = bus.buffer.getChannel(c);
        for (unsigned int f = 0; f < kFrames; ++f) {
            const double t = static_cast<double>(block * kFrames + f) / kRate;
            samples[f] = static_cast<float>(0.5 * std::sin(2.0 * 3.141592653589793 * 440.0 * t));
        }
    }
}

}  // namespace

int main() {
    listNodeTypes();

    ostrana::ExtensionManager& manager = ostrana::ExtensionManager::getInstance();
    auto created = manager.createNode("AudioEffects.Chorus", ostrana::XVAnyMap());
    if (!created.isOk()) {
        std::fprintf(stderr, "cannot create a chorus: %s\n", created.errorMessage().c_str());
        return 1;
    }
    std::unique_ptr<ostrana::Node> node = std::move(created).value();
    auto* chorus = dynamic_cast<ostrana::SingleBusAudioProcessorNode*>(node.get());
    if (chorus == nullptr) return 1;

    ostrana::AudioBusFormatList inputFormats{ostrana::AudioBusFormat{kChannels, kRate, kFrames}};
    ostrana::AudioBusFormatList outputFormats{ostrana::AudioBusFormat{}};
    if (!chorus->setBusFormats(inputFormats, outputFormats)) {
        std::fprintf(stderr, "the chorus refuses stereo at %u Hz\n", kRate);
        return 1;
    }

    ostrana::AudioBus in(kChannels, kFrames, kRate);
    ostrana::AudioBus out(kChannels, kFrames, kRate);
    ostrana::AudioBusList inputs{&in};
    ostrana::AudioBusList outputs{&out};
    double energy = 0.0;
    for (unsigned int block = 0; block < kBlocks; ++block) {
        fillSine(in, block);
        if (!chorus->process(inputs, outputs)) return 1;
        for (unsigned int c = 0; c < kChannels; ++c) {
            for (unsigned int f = 0; f < kFrames; ++f) {
                const double sample = out.buffer.getSample(c, f);
                energy += sample * sample;
            }
        }
    }
    std::printf("processed %u blocks of %u stereo frames; output RMS %.4f\n", kBlocks, kFrames,
                std::sqrt(energy / (kBlocks * kFrames * kChannels)));
    return 0;
}
