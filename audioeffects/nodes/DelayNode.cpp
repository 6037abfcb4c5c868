#include <algorithm>
#include <atomic>
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

// The delay's parameters: the echo's, with its own wording for the switch.
constexpr auto kDelaySlots = echoSlots("Enable or disable the delay effect.");

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

// The parameters, lines and per-block state of a delay node.
struct DelayState : EchoParameters {
    explicit DelayState(unsigned int channelCount) : numberOfChannels(channelCount) {
        startFromDefaults<EchoParameters>(*this, kDelaySlots);
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
// which leaves the channels' own pointers in registers.
template <unsigned int kChannels>
void processSharingPointers(LineCursor* cursors, unsigned int frames, const Internals& state) {
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

void processLines(Internals& state, AudioBus& inBus, AudioBus& outBus, unsigned int channels,
                  unsigned int frames) {
    LineCursor* cursors = state.cursors.data();
    for (unsigned int channel = 0; channel < channels; ++channel) {
        audio::CircularBuffer& line = state.delayLines[channel];
        cursors[channel] = {line.getData(),
                            inBus.buffer.getChannel(channel),
                            outBus.buffer.getChannel(channel),
                            line.getSize(),
                            line.getReadPointer(),
                            line.getWritePointer()};
    }
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
    for (unsigned int channel = 0; channel < channels; ++channel) {
        audio::CircularBuffer& line = state.delayLines[channel];
        line.setReadPointer(cursors[channel].read);
        line.setWritePointer(cursors[channel].write);
    }
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
    const bool rateChanged = sampleRate != state.lastSampleRate;
    if (rateChanged || channels != state.lastNumberOfChannels) {
        for (audio::CircularBuffer& line : state.delayLines) line.reset();
        state.lastSampleRate = sampleRate;
        state.lastNumberOfChannels = channels;
    }
    if (rateChanged || delayMs != state.lastDelayMs) {
        const int delay = delayInSamples(delayMs, sampleRate, state.lineLength);
        for (audio::CircularBuffer& line : state.delayLines) {
            line.setReadPointer(line.getWritePointer() - delay);
        }
        state.lastDelayMs = delayMs;
    }

    const unsigned int frames = inBus.buffer.getNumberOfFrames();
    if (frames == 0 || channels == 0) return true;
    processLines(state, inBus, outBus, channels, frames);
    return true;
}

NodeTypeInfo DelayNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Delay", "Delay",
                                  "Applies a delay effect to the input audio signal.");
}

// The delay as the catalogue lists it: mono or stereo.
extern constinit const NodeTypeEntry kDelayType =
    monoOrStereoEntry<DelayNode, EchoParameters, kDelaySlots>("delay", false);

}  // namespace ostrana::extensions::audioeffects
