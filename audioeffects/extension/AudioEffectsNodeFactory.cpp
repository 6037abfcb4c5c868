#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/audioeffects/VibratoNode.h>

namespace ostrana::extensions::audioeffects {

namespace {

// Every node is built for up to two channels; the configuration map is never read, so each
// node starts from its own defaults and is adjusted afterwards through its accessors.
constexpr unsigned int kChannelCapacity = 2;

Node* createDelayNode(const XVAnyMap& /*configuration*/) {
    return new DelayNode(kChannelCapacity);
}

// The ping-pong delay always works on two channels; it takes the map and ignores it.
Node* createPingPongDelayNode(const XVAnyMap& configuration) {
    return new PingPongDelayNode(configuration);
}

Node* createVibratoNode(const XVAnyMap& /*configuration*/) {
    return new VibratoNode(kChannelCapacity);
}

Node* createFlangerNode(const XVAnyMap& /*configuration*/) {
    return new FlangerNode(kChannelCapacity);
}

Node* createChorusNode(const XVAnyMap& /*configuration*/) {
    return new ChorusNode(kChannelCapacity);
}

}  // namespace

AudioEffectsNodeFactory::AudioEffectsNodeFactory() {
    // The order is part of what hosts list to their users; keep it.
    registerNode(DelayNode::getNodeTypeInfo(), createDelayNode);
    registerNode(PingPongDelayNode::getNodeTypeInfo(), createPingPongDelayNode);
    registerNode(VibratoNode::getNodeTypeInfo(), createVibratoNode);
    registerNode(FlangerNode::getNodeTypeInfo(), createFlangerNode);
    registerNode(ChorusNode::getNodeTypeInfo(), createChorusNode);
}

AudioEffectsNodeFactory::~AudioEffectsNodeFactory() = default;

std::string AudioEffectsNodeFactory::getNodeTypePrefix() {
    return "AudioEffects";
}

}  // namespace ostrana::extensions::audioeffects
