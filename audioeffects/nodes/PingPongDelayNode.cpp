#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/SchemaConstants.h>
#include <ostrana/sdk/XVAny.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/DelayLineLength.h"
#include "nodes/EchoParameters.h"
#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {

namespace {

// The ring length for a delay, trunc(delayMs * (sampleRate / 1000.0)), kept within 1 and the
// longest ring for the rate (48000 samples at 48 kHz and below), and within the rings' storage,
// so that the index update never divides by zero and the indices stay inside the rings.
unsigned int ringLengthFor(unsigned int delayMs, unsigned int sampleRate, unsigned int capacity) {
    const unsigned int longest =
        std::min(capacity, static_cast<unsigned int>(echoLineLengthFor(sampleRate)));
    const double samples = EchoParameters::samplesFor(delayMs, sampleRate);
    if (samples < 1.0) return 1;
    if (samples >= longest) return longest;
    return static_cast<unsigned int>(samples);
}

// Storage of length samples that starts with the given ones and is zero after them.
std::unique_ptr<float[]> grownRing(const float* samples, unsigned int count, unsigned int length) {
    auto grown = std::make_unique<float[]>(length);
    std::copy_n(samples, count, grown.get());
    return grown;
}

// (index + 1) mod length. The remainder is needed only right after the rings were shortened,
// when an index may still lie beyond the new length.
inline unsigned int advance(unsigned int index, unsigned int length) {
    const unsigned int next = index + 1;
    if (next < length) return next;
    return next == length ? 0 : next % length;
}

// The ping-pong delay's parameters: the echo's, with its own wording for the switch. They are
// also its host properties, in this order.
constexpr auto kPingPongSlots = echoSlots("Enable or disable the ping-pong delay effect.");
using PingPongSlot = ParameterSlot<EchoParameters>;

// The parameters, rings and per-block state of a ping-pong delay node.
struct PingPongState : EchoParameters {
    PingPongState()
        : leftDelayLine(std::make_unique<float[]>(ringCapacity)),
          rightDelayLine(std::make_unique<float[]>(ringCapacity)) {
        startFromDefaults<EchoParameters>(*this, kPingPongSlots);
    }

    // Makes room in both rings for the longest delay at a negotiated rate; outside the audio
    // thread only. The rings never shrink: what they hold and the indices stay as they are.
    void makeRoomFor(unsigned int sampleRate) {
        const auto needed = static_cast<unsigned int>(echoLineLengthFor(sampleRate));
        if (needed <= ringCapacity) return;
        leftDelayLine = grownRing(leftDelayLine.get(), ringCapacity, needed);
        rightDelayLine = grownRing(rightDelayLine.get(), ringCapacity, needed);
        ringCapacity = needed;
    }

    unsigned int ringCapacity = kDelayLineLength;
    unsigned int lastDelayMs = 0;
    unsigned int delaySamples = 0;
    unsigned int lastSampleRate = 0;
    std::unique_ptr<float[]> leftDelayLine;
    std::unique_ptr<float[]> rightDelayLine;
    unsigned int readIndex = 0;
    unsigned int writeIndex = 0;
};

using Internals = PingPongState;

// The three gains of one block.
struct Gains {
    float dry;
    float wet;
    float feedback;
};

// Channel 0 of one frame: the left ring takes the input plus the right ring's delayed sample.
inline void mixLeft(float* left, const float* right, unsigned int read, unsigned int write,
                    const float* input, float* output, unsigned int frame, Gains gains) {
    const float x = input[frame];
    const float delayed = left[read];
    const float crossed = right[read];
    left[write] = crossed * gains.feedback + x;
    output[frame] = x * gains.dry + delayed * gains.wet;
}

// Channel 1 and up of one frame: the right ring takes the input plus the left ring's slot,
// which already holds what channel 0 wrote in this frame.
inline void mixRight(const float* left, float* right, unsigned int read, unsigned int write,
                     const float* input, float* output, unsigned int frame, Gains gains) {
    const float x = input[frame];
    const float delayed = right[read];
    const float crossed = left[read];
    right[write] = crossed * gains.feedback + x;
    output[frame] = x * gains.dry + delayed * gains.wet;
}

// A block of 0, 1 or 2 channels, the indices kept in registers.
template <unsigned int kChannels>
void processFixedChannels(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int frames,
                          Gains gains) {
    float* const left = state.leftDelayLine.get();
    float* const right = state.rightDelayLine.get();
    const unsigned int length = state.delaySamples;
    const float* const in0 = kChannels > 0 ? inBus.buffer.getChannel(0) : nullptr;
    float* const out0 = kChannels > 0 ? outBus.buffer.getChannel(0) : nullptr;
    const float* const in1 = kChannels > 1 ? inBus.buffer.getChannel(1) : nullptr;
    float* const out1 = kChannels > 1 ? outBus.buffer.getChannel(1) : nullptr;
    unsigned int read = state.readIndex;
    unsigned int write = state.writeIndex;
    for (unsigned int frame = 0; frame < frames; ++frame) {
        if constexpr (kChannels > 0) mixLeft(left, right, read, write, in0, out0, frame, gains);
        if constexpr (kChannels > 1) mixRight(left, right, read, write, in1, out1, frame, gains);
        read = advance(read, length);
        write = advance(write, length);
    }
    state.readIndex = read;
    state.writeIndex = write;
}

// A block of three or more channels: every channel from 1 on feeds the right ring in turn.
void processAnyChannels(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int channels,
                        unsigned int frames, Gains gains) {
    float* const left = state.leftDelayLine.get();
    float* const right = state.rightDelayLine.get();
    const unsigned int length = state.delaySamples;
    unsigned int read = state.readIndex;
    unsigned int write = state.writeIndex;
    for (unsigned int frame = 0; frame < frames; ++frame) {
        mixLeft(left, right, read, write, inBus.buffer.getChannel(0), outBus.buffer.getChannel(0),
                frame, gains);
        for (unsigned int channel = 1; channel < channels; ++channel) {
            mixRight(left, right, read, write, inBus.buffer.getChannel(channel),
                     outBus.buffer.getChannel(channel), frame, gains);
        }
        read = advance(read, length);
        write = advance(write, length);
    }
    state.readIndex = read;
    state.writeIndex = write;
}

void processFrames(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int frames,
                   Gains gains) {
    const unsigned int channels = inBus.buffer.getNumberOfChannels();
    switch (channels) {
        case 0:
            processFixedChannels<0>(state, inBus, outBus, frames, gains);
            break;
        case 1:
            processFixedChannels<1>(state, inBus, outBus, frames, gains);
            break;
        case 2:
            processFixedChannels<2>(state, inBus, outBus, frames, gains);
            break;
        default:
            processAnyChannels(state, inBus, outBus, channels, frames, gains);
            break;
    }
}

// A property's value as hosts read it: an XVAny of the parameter's C++ type.
XVAny propertyValue(const PingPongSlot& slot, const EchoParameters& values) {
    return std::visit([](auto value) { return XVAny(value); }, slot.read(values));
}

// Stores a host's value converted to the parameter's C++ type (XVAny::convert).
void setProperty(const PingPongSlot& slot, EchoParameters& values, const XVAny& value) {
    std::visit(
        [&](auto member) {
            using T = typename std::remove_reference_t<decltype(values.*member)>::value_type;
            (values.*member).exchange(XVAny::convert<T>(value));
        },
        slot.field);
}

// Registers every property with its schema read back from the node's own descriptor.
void bindProperties(PingPongDelayNode& node, EchoParameters& values) {
    const NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    EchoParameters* held = &values;
    for (const PingPongSlot& slot : kPingPongSlots) {
        const std::string name(slot.definition.name);
        const XVAny getter(
            XVAny::Getter([held, &slot] { return Result<XVAny>(propertyValue(slot, *held)); }));
        const XVAny setter(XVAny::Setter([held, &slot](const XVAny& value) {
            setProperty(slot, *held, value);
            return Result<void>();
        }));
        node.registerProperty(name, info.getProperty(name), getter, setter);
    }
}

// A writable switch with a default and no bounds.
XVAnyMap switchSchema(const ParameterDefinition& definition) {
    return XVAnyMap{
        {PROPERTY_FIELD_DESCRIPTION, XVAny(std::string(definition.description))},
        {PROPERTY_FIELD_TYPE, XVAny(PROPERTY_TYPE_BOOLEAN)},
        {PROPERTY_FIELD_READ_ONLY, XVAny(false)},
        {PROPERTY_FIELD_DEFAULT_VALUE, XVAny(definition.defaultAs<bool>())},
    };
}

// A writable numeric property with a default and bounds, all held as T.
template <typename T>
XVAnyMap rangedSchema(std::string_view description, const std::string& type, T defaultValue,
                      T minValue, T maxValue) {
    return XVAnyMap{
        {PROPERTY_FIELD_DESCRIPTION, XVAny(std::string(description))},
        {PROPERTY_FIELD_TYPE, XVAny(type)},
        {PROPERTY_FIELD_DEFAULT_VALUE, XVAny(defaultValue)},
        {PROPERTY_FIELD_MIN_VALUE, XVAny(minValue)},
        {PROPERTY_FIELD_MAX_VALUE, XVAny(maxValue)},
        {PROPERTY_FIELD_READ_ONLY, XVAny(false)},
    };
}

// A whole number's schema holds signed ints, as hosts read integer properties.
XVAnyMap wholeNumberSchema(const ParameterDefinition& definition) {
    const auto whole = [](const ParameterValue& value) {
        return static_cast<int>(std::get<unsigned int>(value));
    };
    return rangedSchema<int>(definition.description, PROPERTY_TYPE_INT,
                             whole(definition.defaultValue), whole(definition.minimum),
                             whole(definition.maximum));
}

XVAnyMap realNumberSchema(const ParameterDefinition& definition) {
    return rangedSchema<float>(definition.description, PROPERTY_TYPE_FLOAT,
                               definition.defaultAs<float>(), std::get<float>(definition.minimum),
                               std::get<float>(definition.maximum));
}

XVAnyMap schemaOf(const ParameterDefinition& definition) {
    switch (definition.kind) {
        case ParameterKind::Switch:
            return switchSchema(definition);
        case ParameterKind::WholeNumber:
            return wholeNumberSchema(definition);
        case ParameterKind::RealNumber:
            break;
    }
    return realNumberSchema(definition);
}

}  // namespace

struct PingPongDelayNode::Internals : PingPongState {};

PingPongDelayNode::PingPongDelayNode(const XVAnyMap& configuration)
    : internals_(std::make_unique<Internals>()) {
    (void)configuration;
    bindProperties(*this, *internals_);
}

PingPongDelayNode::~PingPongDelayNode() = default;

bool PingPongDelayNode::getIsEnabled() const {
    return internals_->isEnabled.load();
}
void PingPongDelayNode::setIsEnabled(bool isEnabled) {
    internals_->isEnabled.exchange(isEnabled);
}
float PingPongDelayNode::getDryMix() const {
    return internals_->dryMix.load();
}
void PingPongDelayNode::setDryMix(float dryMix) {
    internals_->dryMix.exchange(dryMix);
}
float PingPongDelayNode::getWetMix() const {
    return internals_->wetMix.load();
}
void PingPongDelayNode::setWetMix(float wetMix) {
    internals_->wetMix.exchange(wetMix);
}
unsigned int PingPongDelayNode::getDelayMs() const {
    return internals_->delayMs.load();
}
void PingPongDelayNode::setDelayMs(unsigned int delayMs) {
    internals_->delayMs.exchange(delayMs);
}
float PingPongDelayNode::getFeedbackLevel() const {
    return internals_->feedbackLevel.load();
}
void PingPongDelayNode::setFeedbackLevel(float feedbackLevel) {
    internals_->feedbackLevel.exchange(feedbackLevel);
}

bool PingPongDelayNode::setBusFormat(AudioBusFormat& inputBusFormat,
                                     AudioBusFormat& outputBusFormat) {
    const bool matched = AudioBusFormat::matchBusFormats(inputBusFormat, outputBusFormat);
    if (!matched || inputBusFormat.numberOfChannels != 2) return false;
    // A format that names its rate gives the rings the room that rate needs.
    if (inputBusFormat.sampleRate != 0) internals_->makeRoomFor(inputBusFormat.sampleRate);
    return true;
}

bool PingPongDelayNode::process(AudioBus& inBus, AudioBus& outBus) {
    outBus.copyFrom(inBus);
    // The rings do not depend on the channel index: only the output's room limits the channels.
    if (!busesFit(inBus, outBus, outBus.buffer.getNumberOfChannels())) return true;

    Internals& state = *internals_;
    const bool isEnabled = state.isEnabled.load(std::memory_order_relaxed);
    const unsigned int delayMs = state.delayMs.load(std::memory_order_relaxed);
    if (!isEnabled || delayMs == 0) return true;

    const unsigned int frames = inBus.buffer.getNumberOfFrames();
    const unsigned int sampleRate = inBus.buffer.getSampleRate();
    // A new rate or delay changes the ring length only: contents and indices stay.
    if (sampleRate != state.lastSampleRate || delayMs != state.lastDelayMs) {
        state.delaySamples = ringLengthFor(delayMs, sampleRate, state.ringCapacity);
        state.lastSampleRate = sampleRate;
        state.lastDelayMs = delayMs;
    }
    const Gains gains{state.dryMix.load(std::memory_order_relaxed),
                      state.wetMix.load(std::memory_order_relaxed),
                      state.feedbackLevel.load(std::memory_order_relaxed)};
    if (frames == 0) return true;
    processFrames(state, inBus, outBus, frames, gains);
    return true;
}

NodeTypeInfo PingPongDelayNode::getNodeTypeInfo() {
    NodeTypeInfo info =
        makeEffectNodeTypeInfo("PingPongDelay", "Ping Pong Delay",
                               "Applies a ping pong delay effect to the input audio signal.");
    for (const PingPongSlot& slot : kPingPongSlots) {
        info.properties.set(std::string(slot.definition.name), XVAny(schemaOf(slot.definition)));
    }
    return info;
}

// The ping-pong delay as the catalogue lists it: stereo only; the configuration is not read.
extern constinit const NodeTypeEntry kPingPongDelayType =
    catalogueEntry<PingPongDelayNode, EchoParameters, kPingPongSlots>(
        {.shortName = "ping-pong-delay",
         .minChannels = 2,
         .maxChannels = 2,
         .describe = &PingPongDelayNode::getNodeTypeInfo,
         .create = [](const XVAnyMap& configuration) -> Node* {
             return new PingPongDelayNode(configuration);
         },
         .widensMono = true});

}  // namespace ostrana::extensions::audioeffects
