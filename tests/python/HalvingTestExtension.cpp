// An extension library for the Python package's tests, outside the catalogue: while it loads
// it registers the extension "PythonTest" with one node type, "PythonTest.Halve", a one-bus
// audio node that multiplies every sample by 0.5 (on up to 8 channels).
#include <memory>
#include <string>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/Extension.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/NodeFactory.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace {

constexpr unsigned int kMostChannels = 8;

class HalvingNode : public ostrana::SingleBusAudioProcessorNode {
  public:
    using SingleBusAudioProcessorNode::process;

    bool setBusFormat(ostrana::AudioBusFormat& input, ostrana::AudioBusFormat& output) override {
        return ostrana::AudioBusFormat::matchBusFormats(input, output) &&
               input.numberOfChannels <= kMostChannels;
    }
    bool process(ostrana::AudioBus& inBus, ostrana::AudioBus& outBus) override {
        outBus.copyFrom(inBus);
        ostrana::AudioBuffer<float>& buffer = outBus.buffer;
        for (unsigned int channel = 0; channel < buffer.getNumberOfChannels(); ++channel) {
            float* samples = buffer.getChannel(channel);
            for (unsigned int frame = 0; frame < buffer.getNumberOfFrames(); ++frame) {
                samples[frame] *= 0.5f;
            }
        }
        return true;
    }
};

class HalvingFactory : public ostrana::NodeFactory {
  public:
    HalvingFactory() {
        ostrana::NodeTypeInfo info;
        info.type = "PythonTest";
        info.subtype = "Halve";
        info.displayName = "Halve";
        info.description = "Multiplies every sample by 0.5.";
        registerNode(info, [](const ostrana::XVAnyMap&) { return new HalvingNode(); });
    }
    std::string getNodeTypePrefix() override { return "PythonTest"; }
};

class HalvingExtension : public ostrana::Extension {
  public:
    std::string getName() override { return "PythonTest"; }
    std::string getDescription() override { return "Extension for the Python package's tests."; }
    std::shared_ptr<ostrana::NodeFactory> getNodeFactory() override {
        return std::make_shared<HalvingFactory>();
    }
};

struct Registrar {
    Registrar() {
        ostrana::ExtensionManager::getInstance().registerExtension(
            std::make_shared<HalvingExtension>());
    }
};

const Registrar registrar;

}  // namespace
