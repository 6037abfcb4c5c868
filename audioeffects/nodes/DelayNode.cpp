#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <utility>
#include <variant>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audioeffects/DelayNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/DelayLineLength.h"
#include "nodes/EchoParameters.h"
#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {

namespace {

// The delay's parameters: the echo's, with its own wording for the switch, then the level
// and the glide.
constexpr auto kDelaySlots =
    joinedSlots(echoSlots<EchoControls>("Enable or disable the delay effect."),
                echoControlSlots<EchoControls>());

// One channel's working state during a block: the line's storage, length and pointers, and
// the channel's input and output samples. Copied out of the line before the block and back
// after, so that the inner loop runs on plain values.
struct LineCursor {
    float* data = nullptr;
    const float* input = nullptr;
    float* output = nullptr;
    int length = kDelayLineLength;
    int read = 0;
    int write = 0;
};

// The delay in samples, trunc(delayMs * (sampleRate / 1000.0)), limited to the line's length
// so that the read pointer always lands inside the line, and to the line a node negotiated for
// this rate would have, so that a rate the host did not announce limits as it always has.
int delayInSamples(unsigned int delayMs, unsigned int sampleRate, int lineLength) {
    const int longest = std::min(lineLength, echoLineLengthFor(sampleRate));
    const double samples = EchoParameters::samplesFor(delayMs, sampleRate);
    return samples >= longest ? longest : static_cast<int>(samples);
}

// One step along a line of the given length for a position already inside it: the same as
// (position + 1 + length) rem length.
inline int advance(int position, int length) {
    const int next = position + 1;
    return next == length ? 0 : next;
}

// A line of the given length holding what line holds, as far as it fits, with its pointers
// wrapped by the new length.
audio::CircularBuffer resizedLine(const audio::CircularBuffer& line, int length) {
    audio::CircularBuffer resized(length);
    std::copy_n(line.getData(), std::min(length, line.getSize()), resized.getData());
    resized.setReadPointer(line.getReadPointer());
    resized.setWritePointer(line.getWritePointer());
    return resized;
}

// A glide of the delay time in progress: the delay in samples at the next frame (fractional),
// its change each frame, the frames left, and the whole delay it ends on, where the read
// pointers are then placed.
struct Glide {
    double delay = 0.0;
    double step = 0.0;
    unsigned int remaining = 0;
    int target = 0;
};

// The parameters, lines and per-block state of a delay node.
struct DelayState : EchoControls {
    explicit DelayState(unsigned int channelCount) : numberOfChannels(channelCount) {
        startFromDefaults<EchoControls>(*this, kDelaySlots);
        for (unsigned int channel = 0; channel < numberOfChannels; ++channel) {
            delayLines.emplace_back(lineLength);
        }
        cursors.resize(numberOfChannels);
    }

    // Gives every line the length for a negotiated rate; outside the audio thread only.
    void fitLinesTo(unsigned int sampleRate) {
        const int length = echoLineLengthFor(sampleRate);
        if (length == lineLength) return;
        for (audio::CircularBuffer& line : delayLines) line = resizedLine(line, length);
        lineLength = length;
    }

    unsigned int numberOfChannels;
    int lineLength = kDelayLineLength;
    unsigned int lastDelayMs = 0;
    unsigned int lastSampleRate = 0;
    unsigned int lastNumberOfChannels = 0;
    std::vector<audio::CircularBuffer> delayLines;
    Glide glide;
    OutputGain outputGain;
    // Working state of each line during a block; sized once, here, so process never allocates.
    std::vector<LineCursor> cursors;
};

using Internals = DelayState;

// One sample of one channel at the given pointers: read the delayed sample, write input plus
// feedback. The three gains are read afresh for every sample.
inline void echoSample(float* data, const float* input, float* output, int read, int write,
                       unsigned int frame, const Internals& state) {
    const float x = input[frame];
    const float delayed = data[read];
    const float written = state.feedbackLevel.load(std::memory_order_relaxed) * delayed + x;
    const float y = delayed * state.wetMix.load(std::memory_order_relaxed) +
                    x * state.dryMix.load(std::memory_order_relaxed);
    data[write] = written;
    output[frame] = y;
}

// One sample of one channel, then both of its pointers one step on.
inline void processSample(LineCursor& cursor, unsigned int frame, const Internals& state) {
    echoSample(cursor.data, cursor.input, cursor.output, cursor.read, cursor.write, frame, state);
    cursor.write = advance(cursor.write, cursor.length);
    cursor.read = advance(cursor.read, cursor.length);
}

// Frames outer, channels inner, for a channel count known at compile time: the channel loop
// is unrolled and each cursor lives in registers for the whole block.
template <unsigned int kChannels>
void processFixedChannels(LineCursor* cursors, unsigned int frames, const Internals& state) {
    const auto run = [&]<std::size_t... channel>(std::index_sequence<channel...>) {
        LineCursor local[kChannels] = {cursors[channel]...};
        for (unsigned int frame = 0; frame < frames; ++frame) {
            (processSample(local[channel], frame, state), ...);
        }
        ((cursors[channel] = local[channel]), ...);
    };
    run(std::make_index_sequence<kChannels>{});
}

// The same where every line's pointers are where the first line's are, as they are when the
// lines were cleared, placed and stepped together: one pair of pointers serves every channel,
// which leaves the channels' own pointers in registers. Out of line, so that what the block
// keeps around the call takes none of the registers the loop needs.
template <unsigned int kChannels>
[[gnu::noinline]] void processSharingPointers(LineCursor* cursors, unsigned int frames,
                                              const Internals& state) {
    int read = cursors[0].read;
    int write = cursors[0].write;
    const int length = cursors[0].length;
    const auto run = [&]<std::size_t... channel>(std::index_sequence<channel...>) {
        float* const data[kChannels] = {cursors[channel].data...};
        const float* const input[kChannels] = {cursors[channel].input...};
        float* const output[kChannels] = {cursors[channel].output...};
        for (unsigned int frame = 0; frame < frames; ++frame) {
            (echoSample(data[channel], input[channel], output[channel], read, write, frame, state),
             ...);
            write = advance(write, length);
            read = advance(read, length);
        }
    };
    run(std::make_index_sequence<kChannels>{});
    for (unsigned int channel = 0; channel < kChannels; ++channel) {
        cursors[channel].read = read;
        cursors[channel].write = write;
    }
}

bool sharePointers(const LineCursor* cursors, unsigned int channels) {
    for (unsigned int channel = 1; channel < channels; ++channel) {
        if (cursors[channel].read != cursors[0].read) return false;
        if (cursors[channel].write != cursors[0].write) return false;
    }
    return true;
}

void processAnyChannels(LineCursor* cursors, unsigned int channels, unsigned int frames,
                        const Internals& state) {
    for (unsigned int frame = 0; frame < frames; ++frame) {
        for (unsigned int channel = 0; channel < channels; ++channel) {
            processSample(cursors[channel], frame, state);
        }
    }
}

// Each line's cursor for the frames from offset on.
LineCursor* cursorsAt(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int channels,
                      unsigned int offset) {
    LineCursor* cursors = state.cursors.data();
    for (unsigned int channel = 0; channel < channels; ++channel) {
        audio::CircularBuffer& line = state.delayLines[channel];
        cursors[channel] = {line.getData(),
                            inBus.buffer.getChannel(channel) + offset,
                            outBus.buffer.getChannel(channel) + offset,
                            line.getSize(),
                            line.getReadPointer(),
                            line.getWritePointer()};
    }
    return cursors;
}

inline void storePointers(Internals& state, const LineCursor* cursors, unsigned int channels) {
    for (unsigned int channel = 0; channel < channels; ++channel) {
        audio::CircularBuffer& line = state.delayLines[channel];
        line.setReadPointer(cursors[channel].read);
        line.setWritePointer(cursors[channel].write);
    }
}

// The frames from offset on at the whole delay the read pointers stand at.
void processLines(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int channels,
                  unsigned int offset, unsigned int frames) {
    LineCursor* cursors = cursorsAt(state, inBus, outBus, channels, offset);
    switch (channels) {
        case 1:
            processFixedChannels<1>(cursors, frames, state);
            break;
        case 2:
            if (sharePointers(cursors, 2)) {
                processSharingPointers<2>(cursors, frames, state);
            } else {
                processAnyChannels(cursors, channels, frames, state);
            }
            break;
        default:
            processAnyChannels(cursors, channels, frames, state);
            break;
    }
    storePointers(state, cursors, channels);
}

// The delay the read pointers stand at, in samples: 1 to the line's length (equal pointers
// read what was written a whole line ago).
int standingDelay(const Internals& state) {
    const audio::CircularBuffer& line = state.delayLines.front();
    const int distance = line.getFillLevel();
    return distance == 0 ? line.getSize() : distance;
}

void placeReadPointers(Internals& state, int delay) {
    for (audio::CircularBuffer& line : state.delayLines) {
        line.setReadPointer(line.getWritePointer() - delay);
    }
    state.glide.remaining = 0;
}

// Moves the delay from where it is now (mid-glide or standing) to target in a straight line
// over the given number of frames; a new target mid-glide starts a new line from where the
// delay has got to, so the read position never jumps.
void glideTo(Internals& state, int target, double frames) {
    Glide& glide = state.glide;
    const double from = glide.remaining > 0 ? glide.delay : standingDelay(state);
    const auto steps = static_cast<unsigned int>(std::lround(frames));
    if (from == target || steps == 0) {
        placeReadPointers(state, target);
        return;
    }
    glide = {from, (target - from) / steps, steps, target};
}

// One sample of one channel read at a fractional delay of whole + fraction samples, between
// the two samples around it (CircularBuffer::mix), with the same gains and order of
// operations as echoSample.
inline void glideSample(LineCursor& cursor, int whole, float fraction, unsigned int frame,
                        const Internals& state) {
    int newer = cursor.write - whole;
    if (newer < 0) newer += cursor.length;
    const int older = newer == 0 ? cursor.length - 1 : newer - 1;
    const float delayed =
        audio::CircularBuffer::mix(cursor.data[newer], cursor.data[older], fraction);
    const float x = cursor.input[frame];
    const float written = state.feedbackLevel.load(std::memory_order_relaxed) * delayed + x;
    const float y = delayed * state.wetMix.load(std::memory_order_relaxed) +
                    x * state.dryMix.load(std::memory_order_relaxed);
    cursor.data[cursor.write] = written;
    cursor.output[frame] = y;
    cursor.write = advance(cursor.write, cursor.length);
}

// The frames of the block that the glide in progress covers; returns how many. When the glide
// ends, the read pointers are placed at its target. Out of line: a block without a glide, the
// usual one, is not made longer by it.
[[gnu::noinline]] unsigned int glideLines(Internals& state, AudioBus& inBus, AudioBus& outBus,
                                          unsigned int channels, unsigned int frames) {
    Glide& glide = state.glide;
    const unsigned int count = std::min(frames, glide.remaining);
    LineCursor* cursors = cursorsAt(state, inBus, outBus, channels, 0);
    for (unsigned int frame = 0; frame < count; ++frame) {
        const int whole = static_cast<int>(glide.delay);
        const auto fraction = static_cast<float>(glide.delay - whole);
        for (unsigned int channel = 0; channel < channels; ++channel) {
            glideSample(cursors[channel], whole, fraction, frame, state);
        }
        glide.delay += glide.step;
    }
    glide.remaining -= count;
    for (unsigned int channel = 0; channel < channels; ++channel) {
        cursors[channel].read = cursors[channel].write - glide.target;
    }
    storePointers(state, cursors, channels);
    return count;
}

}  // namespace

struct DelayNode::Internals : DelayState {
    using DelayState::DelayState;
};

DelayNode::DelayNode(unsigned int numberOfChannels)
    : internals_(std::make_unique<Internals>(numberOfChannels)) {}

DelayNode::~DelayNode() = default;

bool DelayNode::getIsEnabled() const {
    return internals_->isEnabled.load();
}
void DelayNode::setIsEnabled(bool isEnabled) {
    internals_->isEnabled.exchange(isEnabled);
}
float DelayNode::getDryMix() const {
    return internals_->dryMix.load();
}
void DelayNode::setDryMix(float dryMix) {
    internals_->dryMix.exchange(dryMix);
}
float DelayNode::getWetMix() const {
    return internals_->wetMix.load();
}
void DelayNode::setWetMix(float wetMix) {
    internals_->wetMix.exchange(wetMix);
}
unsigned int DelayNode::getDelayMs() const {
    return internals_->delayMs.load();
}
void DelayNode::setDelayMs(unsigned int delayMs) {
    internals_->delayMs.exchange(delayMs);
}
float DelayNode::getFeedbackLevel() const {
    return internals_->feedbackLevel.load();
}
void DelayNode::setFeedbackLevel(float feedbackLevel) {
    internals_->feedbackLevel.exchange(feedbackLevel);
}

bool DelayNode::setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) {
    if (!AudioBusFormat::matchBusFormats(inputBusFormat, outputBusFormat)) return false;
    if (inputBusFormat.numberOfChannels > internals_->numberOfChannels) return false;
    // A format that names its rate gives the lines the length that rate needs.
    if (inputBusFormat.sampleRate != 0) internals_->fitLinesTo(inputBusFormat.sampleRate);
    return true;
}

bool DelayNode::process(AudioBus& inBus, AudioBus& outBus) {
    outBus.copyFrom(inBus);
    Internals& state = *internals_;
    if (!busesFit(inBus, outBus, state.numberOfChannels)) return true;

    const unsigned int sampleRate = inBus.buffer.getSampleRate();
    const unsigned int channels = inBus.buffer.getNumberOfChannels();
    const unsigned int delayMs = state.delayMs.load(std::memory_order_relaxed);
    if (!state.isEnabled.load(std::memory_order_relaxed) || delayMs == 0) return true;

    // A new rate or channel count clears every line. A new channel count alone does not place
    // the read pointers again, so they then coincide with the write pointers.
    // Either ends a glide in progress.
    const bool rateChanged = sampleRate != state.lastSampleRate;
    if (rateChanged || channels != state.lastNumberOfChannels) {
        for (audio::CircularBuffer& line : state.delayLines) line.reset();
        state.glide.remaining = 0;
        state.lastSampleRate = sampleRate;
        state.lastNumberOfChannels = channels;
    }
    // A new delay time jumps there, or with a glide set glides there (not across a new rate).
    if (rateChanged || delayMs != state.lastDelayMs) {
        const int delay = delayInSamples(delayMs, sampleRate, state.lineLength);
        const double glideFrames =
            heldGlideMs(state.glideMs.load(std::memory_order_relaxed)) * (sampleRate / 1000.0);
        if (rateChanged || delay == 0 || glideFrames < 1.0 || state.delayLines.empty()) {
            placeReadPointers(state, delay);
        } else {
            glideTo(state, delay, glideFrames);
        }
        state.lastDelayMs = delayMs;
    }

    const unsigned int frames = inBus.buffer.getNumberOfFrames();
    if (frames == 0 || channels == 0) return true;
    const unsigned int glided =
        state.glide.remaining > 0 ? glideLines(state, inBus, outBus, channels, frames) : 0;
    if (glided < frames) processLines(state, inBus, outBus, channels, glided, frames - glided);
    const float gain = state.outputGain.forLevel(state.levelDb.load(std::memory_order_relaxed));
    applyOutputGain(outBus.buffer, channels, frames, gain);
    return true;
}

NodeTypeInfo DelayNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Delay", "Delay",
                                  "Applies a delay effect to the input audio signal.");
}

// The delay as the catalogue lists it: mono or stereo.
extern constinit const NodeTypeEntry kDelayType =
    monoOrStereoEntry<DelayNode, EchoControls, kDelaySlots>("delay", false);

}  // namespace ostrana::extensions::audioeffects
