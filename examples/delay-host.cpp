// The shortest complete host: make a delay by name, set its parameters by name, process an
// impulse and read back what was set and where the echo came out.
#include <cstdio>

#include <ostrana/audioeffects/HostAccess.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;

int main() {
    // Linking the library registered the effects: a node by short or full type name.
    auto created = ExtensionManager::getInstance().createNode("delay", {});
    if (!created) return std::fprintf(stderr, "%s\n", created.errorMessage().c_str()), 1;
    auto node = std::move(created).value();

    // Parameters by name, from any number type; unknown names and values out of range fail.
    for (auto result : {setParameter(*node, "delayMs", 10), setParameter(*node, "wetMix", 0.5)}) {
        if (!result) return std::fprintf(stderr, "%s\n", result.errorMessage().c_str()), 1;
    }

    // Stereo at 48 kHz, 480 frames (10 ms) a block, then an impulse through two blocks.
    auto& delay = dynamic_cast<SingleBusAudioProcessorNode&>(*node);
    AudioBusFormatList inputFormats{{2, 48000, 480}}, outputFormats{{}};
    if (!delay.setBusFormats(inputFormats, outputFormats)) return 1;
    AudioBus in(2, 480, 48000), out(2, 480, 48000);
    AudioBusList inputs{&in}, outputs{&out};
    in.buffer.setSample(0, 0, 1.0f);
    for (int block = 0; block < 2; ++block) {
        delay.process(inputs, outputs);
        in.buffer.clear();
    }

    std::printf("delayMs %g, wetMix %g; echo %g at frame 480\n",
                getParameter(*node, "delayMs").value(), getParameter(*node, "wetMix").value(),
                out.buffer.getSample(0, 0));
    return 0;
}
