#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include <ostrana/audio/CircularBuffer.h>
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

// The ping-pong delay's host properties: the echo's five, with its own wording for the
// switch, in this order. The catalogue lists them followed by the level, the glide and the
// bounce (kPingPongSlots).
constexpr auto kPingPongProperties =
    echoSlots<EchoParameters>("Enable or disable the ping-pong delay effect.");
using PingPongSlot = ParameterSlot<EchoParameters>;

// The ping-pong delay's values: the echo's and its controls, and the bounce switch.
struct PingPongControls : EchoControls {
    std::atomic<bool> bounce;
};

constexpr std::array<ParameterSlot<PingPongControls>, 1> kBounceSlot{{
    {ParameterDefinition::onOffSwitch("bounce").startingAt(false).describedAs(
         "On, the echoes alternate between the sides: the sum of both inputs echoes on the "
         "right, then on the left, then on the right, each feedbackLevel times the one before. "
         "Off, the two rings feed each other."),
     &PingPongControls::bounce},
}};

constexpr auto kPingPongSlots = joinedSlots(
    joinedSlots(echoSlots<PingPongControls>("Enable or disable the ping-pong delay effect."),
                echoControlSlots<PingPongControls>()),
    kBounceSlot);

// A glide of the delay in progress (in line layout): the delay in samples at the next frame,
// its change each frame and the frames left.
struct PingPongGlide {
    double delay = 0.0;
    double step = 0.0;
    unsigned int remaining = 0;
};

// The parameters, rings and per-block state of a ping-pong delay node.
//
// The rings have two layouts. As rings (no glide, today's way), each is delaySamples long and
// one index reads and then writes each slot. As lines (a glide set, one or two channels), each
// spans the whole capacity: the write index walks through all of it and the read index follows
// delaySamples behind, or a fractional read follows a gliding delay. At a whole delay both
// layouts give the same samples: switching between them rearranges what the rings hold so that
// every echo stays where it was.
struct PingPongState : PingPongControls {
    PingPongState()
        : leftDelayLine(std::make_unique<float[]>(ringCapacity)),
          rightDelayLine(std::make_unique<float[]>(ringCapacity)) {
        startFromDefaults<PingPongControls>(*this, kPingPongSlots);
    }

    // Makes room in both rings for the longest delay at a negotiated rate; outside the audio
    // thread only. The rings never shrink: what they hold and the indices stay as they are
    // (rings laid out as lines go back to rings first).
    void makeRoomFor(unsigned int sampleRate);

    unsigned int ringCapacity = kDelayLineLength;
    unsigned int lastDelayMs = 0;
    unsigned int delaySamples = 0;
    unsigned int lastSampleRate = 0;
    std::unique_ptr<float[]> leftDelayLine;
    std::unique_ptr<float[]> rightDelayLine;
    unsigned int readIndex = 0;
    unsigned int writeIndex = 0;
    bool asLines = false;
    PingPongGlide glide;
    OutputGain outputGain;
};

using Internals = PingPongState;

// The three gains of one block.
struct Gains {
    float dry;
    float wet;
    float feedback;
};

// The inputs and outputs of the first two channels of a block (null where there is none).
struct StereoIo {
    const float* in0;
    float* out0;
    const float* in1;
    float* out1;
};

// The sample each ring delayed, for one frame.
struct Delayed {
    float left;
    float right;
};

// One frame of the cross-feed: the left ring takes the left input plus the right ring's
// delayed sample, the right ring the right input plus what the left ring took in this frame.
template <unsigned int kChannels>
inline void crossFeedFrame(float* left, float* right, unsigned int write, Delayed delayed,
                           const StereoIo& io, unsigned int frame, Gains gains) {
    if constexpr (kChannels > 0) {
        const float x = io.in0[frame];
        left[write] = delayed.right * gains.feedback + x;
        io.out0[frame] = x * gains.dry + delayed.left * gains.wet;
    }
    if constexpr (kChannels > 1) {
        const float x = io.in1[frame];
        right[write] = left[write] * gains.feedback + x;
        io.out1[frame] = x * gains.dry + delayed.right * gains.wet;
    }
}

// One frame of the bounce: the right ring takes the sum of the inputs plus the left ring's
// delayed sample times the feedback, the left ring the right ring's delayed sample times the
// feedback and no input, so that every echo comes back on the other side.
template <unsigned int kChannels>
inline void bounceFrame(float* left, float* right, unsigned int write, Delayed delayed,
                        const StereoIo& io, unsigned int frame, Gains gains) {
    if constexpr (kChannels > 0) {
        const float x0 = io.in0[frame];
        float sum = x0;
        if constexpr (kChannels > 1) sum = x0 + io.in1[frame];
        right[write] = delayed.left * gains.feedback + sum;
        left[write] = delayed.right * gains.feedback;
        io.out0[frame] = x0 * gains.dry + delayed.left * gains.wet;
    }
    if constexpr (kChannels > 1) {
        io.out1[frame] = io.in1[frame] * gains.dry + delayed.right * gains.wet;
    }
}

// Rings as rings: one index reads each slot, then writes it.
struct RingWalk {
    unsigned int index;
    unsigned int length;
    unsigned int write() const { return index; }
    Delayed delayed(const float* left, const float* right) const {
        return {left[index], right[index]};
    }
    void step() { index = advance(index, length); }
};

// Rings as lines at a whole delay: the read index follows the write index.
struct LineWalk {
    unsigned int writeAt;
    unsigned int readAt;
    unsigned int capacity;
    unsigned int write() const { return writeAt; }
    Delayed delayed(const float* left, const float* right) const {
        return {left[readAt], right[readAt]};
    }
    void step() {
        writeAt = advance(writeAt, capacity);
        readAt = advance(readAt, capacity);
    }
};

// Rings as lines during a glide: each frame reads between the two samples around the
// fractional delay (CircularBuffer::mix), which moves by its step.
struct GlideWalk {
    unsigned int writeAt;
    unsigned int capacity;
    double delay;
    double change;
    unsigned int write() const { return writeAt; }
    Delayed delayed(const float* left, const float* right) const {
        const auto whole = static_cast<unsigned int>(delay);
        const auto fraction = static_cast<float>(delay - whole);
        const unsigned int newer = writeAt >= whole ? writeAt - whole : writeAt + capacity - whole;
        const unsigned int older = newer == 0 ? capacity - 1 : newer - 1;
        return {audio::CircularBuffer::mix(left[newer], left[older], fraction),
                audio::CircularBuffer::mix(right[newer], right[older], fraction)};
    }
    void step() {
        writeAt = advance(writeAt, capacity);
        delay += change;
    }
};

// Frames first to end of a block of 0, 1 or 2 channels along walk.
template <unsigned int kChannels, bool kBounce, typename Walk>
void runFrames(Internals& state, const StereoIo& io, unsigned int first, unsigned int end,
               Walk& walk, Gains gains) {
    float* const left = state.leftDelayLine.get();
    float* const right = state.rightDelayLine.get();
    for (unsigned int frame = first; frame < end; ++frame) {
        const Delayed delayed = walk.delayed(left, right);
        if constexpr (kBounce) {
            bounceFrame<kChannels>(left, right, walk.write(), delayed, io, frame, gains);
        } else {
            crossFeedFrame<kChannels>(left, right, walk.write(), delayed, io, frame, gains);
        }
        walk.step();
    }
}

// A block of 0, 1 or 2 channels in either layout, the indices kept in registers. A glide that
// ends within the block places the read index at the new delay for the rest of it.
template <unsigned int kChannels, bool kBounce>
void processFixedChannels(Internals& state, const StereoIo& io, unsigned int frames, Gains gains) {
    if (!state.asLines) {
        RingWalk walk{state.readIndex, state.delaySamples};
        runFrames<kChannels, kBounce>(state, io, 0, frames, walk, gains);
        state.readIndex = state.writeIndex = walk.index;
        return;
    }
    const unsigned int capacity = state.ringCapacity;
    unsigned int glided = 0;
    if (state.glide.remaining > 0) {
        PingPongGlide& glide = state.glide;
        glided = std::min(frames, glide.remaining);
        GlideWalk walk{state.writeIndex, capacity, glide.delay, glide.step};
        runFrames<kChannels, kBounce>(state, io, 0, glided, walk, gains);
        glide.delay = walk.delay;
        glide.remaining -= glided;
        state.writeIndex = walk.writeAt;
        state.readIndex = (walk.writeAt + capacity - state.delaySamples) % capacity;
    }
    LineWalk walk{state.writeIndex, state.readIndex, capacity};
    runFrames<kChannels, kBounce>(state, io, glided, frames, walk, gains);
    state.writeIndex = walk.writeAt;
    state.readIndex = walk.readAt;
}

// A block of three or more channels (rings as rings, cross-feed): every channel from 1 on
// feeds the right ring in turn, reading what the channel before it wrote.
void processAnyChannels(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int channels,
                        unsigned int frames, Gains gains) {
    float* const left = state.leftDelayLine.get();
    float* const right = state.rightDelayLine.get();
    const unsigned int length = state.delaySamples;
    unsigned int index = state.readIndex;
    for (unsigned int frame = 0; frame < frames; ++frame) {
        const StereoIo first{inBus.buffer.getChannel(0), outBus.buffer.getChannel(0), nullptr,
                             nullptr};
        crossFeedFrame<1>(left, right, index, {left[index], right[index]}, first, frame, gains);
        for (unsigned int channel = 1; channel < channels; ++channel) {
            const float x = inBus.buffer.getChannel(channel)[frame];
            const float delayed = right[index];
            right[index] = left[index] * gains.feedback + x;
            outBus.buffer.getChannel(channel)[frame] = x * gains.dry + delayed * gains.wet;
        }
        index = advance(index, length);
    }
    state.readIndex = state.writeIndex = index;
}

template <bool kBounce>
void processUpToTwo(Internals& state, const StereoIo& io, unsigned int channels,
                    unsigned int frames, Gains gains) {
    switch (channels) {
        case 0:
            processFixedChannels<0, kBounce>(state, io, frames, gains);
            break;
        case 1:
            processFixedChannels<1, kBounce>(state, io, frames, gains);
            break;
        default:
            processFixedChannels<2, kBounce>(state, io, frames, gains);
            break;
    }
}

void processFrames(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int frames,
                   Gains gains, bool bounce) {
    const unsigned int channels = inBus.buffer.getNumberOfChannels();
    if (channels > 2) {
        processAnyChannels(state, inBus, outBus, channels, frames, gains);
        return;
    }
    StereoIo io{nullptr, nullptr, nullptr, nullptr};
    if (channels > 0) io.in0 = inBus.buffer.getChannel(0), io.out0 = outBus.buffer.getChannel(0);
    if (channels > 1) io.in1 = inBus.buffer.getChannel(1), io.out1 = outBus.buffer.getChannel(1);
    if (bounce) {
        processUpToTwo<true>(state, io, channels, frames, gains);
    } else {
        processUpToTwo<false>(state, io, channels, frames, gains);
    }
}

// Lays rings out as lines: the delaySamples samples the ring would read next, oldest first,
// go to the start of each line, the write index just after them, and the rest of the line
// (older than anything the ring kept) is silence.
void layOutAsLines(Internals& state) {
    state.asLines = true;
    const unsigned int length = state.delaySamples;
    const unsigned int capacity = state.ringCapacity;
    if (length == 0) return;  // nothing has run: every slot is silent
    const unsigned int index = state.readIndex;
    for (float* ring : {state.leftDelayLine.get(), state.rightDelayLine.get()}) {
        // Right after the rings were shortened the index may lie beyond the ring, whose first
        // read is then that slot.
        const float first = ring[index];
        std::rotate(ring, ring + index % length, ring + length);
        ring[0] = first;
        std::fill(ring + length, ring + capacity, 0.0f);
    }
    state.writeIndex = length % capacity;
    state.readIndex = 0;
}

// Lays lines out as rings again, at the delay a glide in progress was heading for: the samples
// the line would read next come first, and the index starts at 0.
void layOutAsRings(Internals& state) {
    state.asLines = false;
    state.glide.remaining = 0;
    const unsigned int start =
        (state.writeIndex + state.ringCapacity - state.delaySamples) % state.ringCapacity;
    for (float* ring : {state.leftDelayLine.get(), state.rightDelayLine.get()}) {
        std::rotate(ring, ring + start, ring + state.ringCapacity);
    }
    state.readIndex = state.writeIndex = 0;
}

// Lines at a new whole delay: the read index follows at once, or the delay glides there over
// glideFrames from where it is now, a glide in progress included.
void moveLineDelay(Internals& state, unsigned int target, double glideFrames) {
    const unsigned int capacity = state.ringCapacity;
    PingPongGlide& glide = state.glide;
    const double from = glide.remaining > 0 ? glide.delay : state.delaySamples;
    const auto steps = static_cast<unsigned int>(std::lround(glideFrames));
    state.delaySamples = target;
    if (steps == 0 || from == target || from < 1.0) {
        glide.remaining = 0;
        state.readIndex = (state.writeIndex + capacity - target) % capacity;
        return;
    }
    glide = {from, (target - from) / steps, steps};
}

void PingPongState::makeRoomFor(unsigned int sampleRate) {
    const auto needed = static_cast<unsigned int>(echoLineLengthFor(sampleRate));
    if (needed <= ringCapacity) return;
    if (asLines) layOutAsRings(*this);
    leftDelayLine = grownRing(leftDelayLine.get(), ringCapacity, needed);
    rightDelayLine = grownRing(rightDelayLine.get(), ringCapacity, needed);
    ringCapacity = needed;
}

// Takes the block's layout, delay and glide: rings as lines while a glide is set and the
// block has at most two channels; a new delay in lines glides, except across a new rate.
void followDelay(Internals& state, unsigned int delayMs, unsigned int sampleRate,
                 unsigned int channels) {
    const float glideMs = heldGlideMs(state.glideMs.load(std::memory_order_relaxed));
    const bool wantsLines = glideMs > 0.0f && channels <= 2;
    if (wantsLines != state.asLines) {
        if (wantsLines) {
            layOutAsLines(state);
        } else {
            layOutAsRings(state);
        }
    }
    const bool rateChanged = sampleRate != state.lastSampleRate;
    if (!rateChanged && delayMs == state.lastDelayMs) return;
    const unsigned int delay = ringLengthFor(delayMs, sampleRate, state.ringCapacity);
    if (state.asLines) {
        moveLineDelay(state, delay, rateChanged ? 0.0 : glideMs * (sampleRate / 1000.0));
    } else {
        // A new rate or delay changes the ring length only: contents and indices stay.
        state.delaySamples = delay;
    }
    state.lastSampleRate = sampleRate;
    state.lastDelayMs = delayMs;
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
    for (const PingPongSlot& slot : kPingPongProperties) {
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
    const unsigned int channels = inBus.buffer.getNumberOfChannels();
    followDelay(state, delayMs, inBus.buffer.getSampleRate(), channels);
    const Gains gains{state.dryMix.load(std::memory_order_relaxed),
                      state.wetMix.load(std::memory_order_relaxed),
                      state.feedbackLevel.load(std::memory_order_relaxed)};
    if (frames == 0) return true;
    processFrames(state, inBus, outBus, frames, gains,
                  state.bounce.load(std::memory_order_relaxed));
    const float gain = state.outputGain.forLevel(state.levelDb.load(std::memory_order_relaxed));
    applyOutputGain(outBus.buffer, channels, frames, gain);
    return true;
}

NodeTypeInfo PingPongDelayNode::getNodeTypeInfo() {
    NodeTypeInfo info =
        makeEffectNodeTypeInfo("PingPongDelay", "Ping Pong Delay",
                               "Applies a ping pong delay effect to the input audio signal.");
    for (const PingPongSlot& slot : kPingPongProperties) {
        info.properties.set(std::string(slot.definition.name), XVAny(schemaOf(slot.definition)));
    }
    return info;
}

// The ping-pong delay as the catalogue lists it: stereo only; the configuration is not read.
extern constinit const NodeTypeEntry kPingPongDelayType =
    catalogueEntry<PingPongDelayNode, PingPongControls, kPingPongSlots>(
        {.shortName = "ping-pong-delay",
         .minChannels = 2,
         .maxChannels = 2,
         .describe = &PingPongDelayNode::getNodeTypeInfo,
         .create = [](const XVAnyMap& configuration) -> Node* {
             return new PingPongDelayNode(configuration);
         },
         .widensMono = true});

}  // namespace ostrana::extensions::audioeffects
