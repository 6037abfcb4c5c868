// Drives one effect node, made by the extension's factory, through a program read from the
// fuzzer's bytes, the way a host would and beyond: format negotiations through the list-level
// setBusFormats, parameter changes with any value (NaN, infinities, negatives, huge values, any
// unsigned delay), and blocks of any sample rate from 0 to 384000, 0 to 8192 frames and 0 to 4
// channels, through the list-level process and directly through process(AudioBus&, AudioBus&).
//
// Every node type of the extension's catalogue is driven, and every parameter the catalogue
// lists for it, with values of the parameter's kind.
//
// Input layout: one byte picks the node type, by its index in the catalogue (the factory's
// registration order) modulo the number of types; then, until the bytes run out, one byte picks
// an operation and the operation reads what it needs (see the take... functions).
//
// Besides crashes and sanitizer reports, the run stops (abort) when an invariant breaks:
// - setBusFormats accepts exactly the formats that match and carry a channel count the node
//   takes: the catalogue's range, and no channels when a fresh node of the type takes none;
// - the list-level process refuses exactly the blocks that do not fit the accepted format or
//   the output bus, and a refused block leaves the output bus untouched;
// - the direct process always returns true;
// - a bypassed node, or one given a block it cannot take, passes its input through unchanged.
//   A node is bypassed when its on/off switch is off, or when a whole-number parameter is 0
//   that makes a fresh node of its type pass its input through.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "ByteReader.h"
#include "FuzzSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::fuzz::ByteReader;
using namespace ostrana::extensions::audioeffects;

// Audio frames one input may process in all, so that each run stays short while still
// reaching past the 48000-sample delay lines of 48 kHz and below.
constexpr unsigned int kFrameBudget = 1u << 16;
constexpr unsigned int kMaxOperations = 512;
constexpr unsigned int kMaxFrames = 8192;
constexpr unsigned int kMaxSampleRate = 384000;
constexpr unsigned int kMaxChannels = 4;
constexpr const char* kFuzzer = "node fuzzer";

void require(bool condition, const char* what) {
    ostrana::fuzz::requireInvariant(condition, kFuzzer, what);
}

// Mostly the values where things break, sometimes a plain gain, sometimes any float at all.
float takeParameterValue(ByteReader& reader) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    static constexpr float kEdges[] = {0.0f,
                                       -0.0f,
                                       1.0f,
                                       -1.0f,
                                       0.5f,
                                       0.99f,
                                       1.5f,
                                       0.005f,
                                       0.025f,
                                       4.0f,
                                       48000.0f,
                                       1e9f,
                                       1e30f,
                                       -1e30f,
                                       std::numeric_limits<float>::denorm_min(),
                                       std::numeric_limits<float>::min(),
                                       std::numeric_limits<float>::max(),
                                       std::numeric_limits<float>::lowest(),
                                       kInfinity,
                                       -kInfinity,
                                       std::numeric_limits<float>::quiet_NaN()};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 128) return kEdges[selector % std::size(kEdges)];
    if (selector < 192) return static_cast<float>(reader.takeUint16()) / 32768.0f - 1.0f;
    return reader.takeFloatBits();
}

// Mostly the values at and around the parameter's range and at the ends of its type, sometimes
// any number up to about twice its maximum, sometimes any at all.
unsigned int takeWholeNumber(const NodeParameter& parameter, ByteReader& reader) {
    const auto minimum = std::get<unsigned int>(parameter.minimum);
    const auto maximum = std::get<unsigned int>(parameter.maximum);
    const unsigned int edges[] = {
        0,           minimum,   minimum + 1, minimum + 4, parameter.defaultAs<unsigned int>(),
        maximum - 1, maximum,   maximum + 1, 2 * maximum, 65535,
        0xFFFFFFFE,  0xFFFFFFFF};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 96) return edges[selector % std::size(edges)];
    if (selector < 192) {
        return static_cast<unsigned int>(reader.takeUint16() % (2 * std::uint64_t{maximum} + 48));
    }
    return reader.takeUint32();
}

// A value of the parameter's kind.
ParameterValue takeValueFor(const NodeParameter& parameter, ByteReader& reader) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return reader.takeBool();
        case ParameterKind::WholeNumber:
            return takeWholeNumber(parameter, reader);
        case ParameterKind::RealNumber:
            break;
    }
    return takeParameterValue(reader);
}

unsigned int takeSampleRate(ByteReader& reader) {
    static constexpr unsigned int kEdges[] = {
        0, 1, 2, 5, 999, 1000, 1001, 8000, 22050, 44100, 48000, 88200, 96000, 192000, 384000};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 160) return kEdges[selector % std::size(kEdges)];
    return reader.takeUint32() % (kMaxSampleRate + 1);
}

unsigned int takeFrameCount(ByteReader& reader) {
    static constexpr unsigned int kEdges[] = {0, 1, 2, 3, 63, 64, 128, 256, 512, 1024, 4096, 8192};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 128) return kEdges[selector % std::size(kEdges)];
    return reader.takeUint16() % (kMaxFrames + 1);
}

// How one block's input samples are made: silence, an impulse, noise, a tiled pattern of raw
// floats, a constant (possibly NaN or infinite) or a sine. Read whole whatever the block's
// shape, so that the bytes after it mean the same for a block of no channels or frames.
struct InputSignal {
    enum class Shape { Silence, Impulse, Noise, Pattern, Constant, Sine };

    static InputSignal take(ByteReader& reader) {
        InputSignal signal;
        signal.shape = static_cast<Shape>(reader.takeIndex(6));
        switch (signal.shape) {
            case Shape::Impulse:
                signal.position = reader.takeUint16();
                signal.value = takeParameterValue(reader);
                break;
            case Shape::Noise:
                signal.seed = reader.takeUint32() | 1u;
                break;
            case Shape::Pattern:
                signal.patternLength = 1 + reader.takeIndex(kMaxPattern);
                for (unsigned int i = 0; i < signal.patternLength; ++i) {
                    signal.pattern[i] = reader.takeFloatBits();
                }
                break;
            case Shape::Constant:
                signal.value = takeParameterValue(reader);
                break;
            case Shape::Sine:
                signal.value = static_cast<float>(1 + reader.takeByte()) / 1024.0f;
                break;
            default:
                break;
        }
        return signal;
    }

    float sample(unsigned int channel, unsigned int frame, unsigned int frames) {
        switch (shape) {
            case Shape::Impulse:
                return frame == position % frames ? value : 0.0f;
            case Shape::Noise:
                seed ^= seed << 13;
                seed ^= seed >> 17;
                seed ^= seed << 5;
                return static_cast<float>(seed >> 8) / 8388608.0f - 1.0f;
            case Shape::Pattern:
                return pattern[(frame + channel) % patternLength];
            case Shape::Constant:
                return value;
            case Shape::Sine:
                return std::sin(value * static_cast<float>(frame + 7 * channel));
            default:
                return 0.0f;
        }
    }

    void fill(AudioBus& bus) {
        ostrana::AudioBuffer<float>& buffer = bus.buffer;
        const unsigned int frames = buffer.getNumberOfFrames();
        for (unsigned int c = 0; c < buffer.getNumberOfChannels(); ++c) {
            for (unsigned int f = 0; f < frames; ++f) buffer.setSample(c, f, sample(c, f, frames));
        }
    }

    static constexpr unsigned int kMaxPattern = 16;
    Shape shape = Shape::Silence;
    unsigned int position = 0;
    float value = 0.0f;
    std::uint32_t seed = 1;
    unsigned int patternLength = 1;
    float pattern[kMaxPattern] = {};
};

// Fills every sample of the bus's capacity with a marker, to see later what was written.
void mark(AudioBus& bus) {
    ostrana::AudioBuffer<float>& buffer = bus.buffer;
    for (unsigned int c = 0; c < buffer.getNumberOfChannels(); ++c) {
        float* samples = buffer.getChannel(c);
        for (unsigned int f = 0; f < buffer.getFrameCapacity(); ++f) samples[f] = -1234.5f;
    }
}

bool sameSamples(const float* a, const float* b, unsigned int count) {
    return count == 0 || std::memcmp(a, b, count * sizeof(float)) == 0;
}

bool sameBuffer(const ostrana::AudioBuffer<float>& a, const ostrana::AudioBuffer<float>& b) {
    if (a.getNumberOfChannels() != b.getNumberOfChannels()) return false;
    if (a.getNumberOfFrames() != b.getNumberOfFrames()) return false;
    for (unsigned int c = 0; c < a.getNumberOfChannels(); ++c) {
        if (!sameSamples(a.getChannel(c), b.getChannel(c), a.getFrameCapacity())) return false;
    }
    return true;
}

// Whether the output holds exactly the input over the part that copyFrom copies.
bool outputIsCopyOfInput(const AudioBus& in, const AudioBus& out) {
    const unsigned int frames =
        std::min(in.buffer.getNumberOfFrames(), out.buffer.getFrameCapacity());
    const unsigned int channels =
        std::min(in.buffer.getNumberOfChannels(), out.buffer.getNumberOfChannels());
    if (out.buffer.getNumberOfFrames() != frames) return false;
    for (unsigned int c = 0; c < channels; ++c) {
        if (!sameSamples(in.buffer.getChannel(c), out.buffer.getChannel(c), frames)) return false;
    }
    return true;
}

// What a fresh node of a type shows of itself that the catalogue does not say, observed once
// per type: whether it takes a format of no channels, whether it works on a block handed to it
// directly with more channels than the catalogue's maximum (rather than passing it through),
// and which whole-number parameters make it pass its input through when they are 0.
struct TypeHabits {
    bool takesNoChannels = false;
    bool processesExtraChannels = false;
    std::vector<const NodeParameter*> bypassingAtZero;
};

// Whether the node passes a direct block of noise with this many channels through unchanged.
bool passesNoiseThrough(SingleBusAudioProcessorNode& node, unsigned int channels) {
    constexpr unsigned int kFrames = 256;
    AudioBus in(channels, kFrames, 48000);
    InputSignal noise;
    noise.shape = InputSignal::Shape::Noise;
    noise.fill(in);
    AudioBus out(channels, kFrames);
    mark(out);
    require(node.process(in, out), "the direct process always returns true");
    return outputIsCopyOfInput(in, out);
}

TypeHabits observeHabits(const NodeTypeEntry& entry) {
    TypeHabits habits;
    AudioBusFormatList noChannels{AudioBusFormat{0, 48000, 0}};
    AudioBusFormatList open{AudioBusFormat{}};
    habits.takesNoChannels =
        ostrana::fuzz::createProcessor(entry, {}, kFuzzer)->setBusFormats(noChannels, open);
    habits.processesExtraChannels = !passesNoiseThrough(
        *ostrana::fuzz::createProcessor(entry, {}, kFuzzer), entry.maxChannels + 1);
    for (const NodeParameter& parameter : entry.parameters) {
        if (parameter.kind != ParameterKind::WholeNumber) continue;
        auto node = ostrana::fuzz::createProcessor(entry, {}, kFuzzer);
        parameter.write(*node, 0u);
        if (passesNoiseThrough(*node, entry.maxChannels)) {
            habits.bypassingAtZero.push_back(&parameter);
        }
    }
    return habits;
}

// The habits of the catalogue's type at index, observed the first time they are asked for.
const TypeHabits& habitsOf(std::size_t index) {
    static std::vector<std::optional<TypeHabits>> observed(EffectCatalogue::nodeTypes().size());
    if (!observed[index]) observed[index] = observeHabits(EffectCatalogue::nodeTypes()[index]);
    return *observed[index];
}

class NodeProgram {
  public:
    NodeProgram(const NodeTypeEntry& entry, const TypeHabits& habits,
                SingleBusAudioProcessorNode& node)
        : entry_(entry), habits_(habits), onOffSwitch_(entry.onOffSwitch()), node_(node) {}

    void run(ByteReader& reader) {
        for (unsigned int op = 0; op < kMaxOperations && !reader.empty(); ++op) {
            switch (reader.takeIndex(5)) {
                case 0:
                    negotiate(reader);
                    break;
                case 1:
                case 2:
                    setParameter(reader);
                    break;
                case 3:
                    processListLevel(reader);
                    break;
                default:
                    processDirect(reader);
                    break;
            }
        }
    }

  private:
    bool takesChannelCount(unsigned int channels) const {
        return channels == 0 ? habits_.takesNoChannels : entry_.acceptsChannels(channels);
    }

    // Whether the node's own process works on this block rather than only copying it.
    bool fitsNode(const AudioBus& in, const AudioBus& out) const {
        const unsigned int limit =
            habits_.processesExtraChannels ? out.buffer.getNumberOfChannels() : entry_.maxChannels;
        return SingleBusAudioProcessorNode::busesFit(in, out, limit);
    }

    bool isBypassing() {
        if (onOffSwitch_ != nullptr && !std::get<bool>(onOffSwitch_->read(node_))) return true;
        for (const NodeParameter* parameter : habits_.bypassingAtZero) {
            if (std::get<unsigned int>(parameter->read(node_)) == 0) return true;
        }
        return false;
    }
    static AudioBusFormat takeFormat(ByteReader& reader) {
        AudioBusFormat format;
        format.numberOfChannels = reader.takeIndex(kMaxChannels + 1);
        format.sampleRate = takeSampleRate(reader);
        format.numberOfFrames = reader.takeBool() ? 0 : takeFrameCount(reader);
        return format;
    }

    static std::size_t takeListLength(ByteReader& reader) {
        return reader.takeIndex(8) == 0 ? reader.takeIndex(3) : 1;
    }

    void negotiate(ByteReader& reader) {
        AudioBusFormatList inputs(takeListLength(reader));
        for (AudioBusFormat& format : inputs) format = takeFormat(reader);
        AudioBusFormatList outputs(takeListLength(reader));
        for (AudioBusFormat& format : outputs) {
            switch (reader.takeIndex(3)) {
                case 0:
                    format = inputs.empty() ? AudioBusFormat{} : inputs.front();
                    break;
                case 1:
                    format = AudioBusFormat{};
                    break;
                default:
                    format = takeFormat(reader);
                    break;
            }
        }

        bool expected = inputs.size() == 1 && outputs.size() == 1;
        unsigned int expectedChannels = 0;
        if (expected) {
            AudioBusFormat in = inputs.front();
            AudioBusFormat out = outputs.front();
            expected =
                AudioBusFormat::matchBusFormats(in, out) && takesChannelCount(in.numberOfChannels);
            expectedChannels = in.numberOfChannels;
        }
        const bool accepted = node_.setBusFormats(inputs, outputs);
        require(accepted == expected, "setBusFormats accepts exactly the formats the node takes");
        require(node_.hasAcceptedFormat() == accepted, "the accepted state follows setBusFormats");
        if (accepted) {
            require(node_.getAcceptedChannels() == expectedChannels,
                    "the accepted channel count is the matched input's");
        }
    }

    void setParameter(ByteReader& reader) {
        if (entry_.parameters.empty()) return;
        const NodeParameter& parameter =
            entry_
                .parameters[reader.takeIndex(static_cast<unsigned int>(entry_.parameters.size()))];
        parameter.write(node_, takeValueFor(parameter, reader));
    }

    unsigned int takeBudgetedFrames(ByteReader& reader) {
        const unsigned int frames = std::min(takeFrameCount(reader), budget_);
        budget_ -= frames;
        return frames;
    }

    // A block as a host hands it over: mostly with the channels the node accepted, sometimes
    // with any count, into an output bus that sometimes is too small.
    void processListLevel(ByteReader& reader) {
        const unsigned int accepted = node_.getAcceptedChannels();
        const unsigned int channels = reader.takeIndex(4) == 0 ? reader.takeIndex(kMaxChannels + 1)
                                                               : reader.takeIndex(accepted + 1);
        const unsigned int frames = takeBudgetedFrames(reader);
        const unsigned int sampleRate = takeSampleRate(reader);
        const bool odd = reader.takeIndex(8) == 0;
        const unsigned int outChannels = odd ? reader.takeIndex(kMaxChannels + 1) : channels;
        const unsigned int outCapacity = odd ? takeBudgetedFrames(reader) : frames;

        AudioBus in(channels, frames, sampleRate);
        InputSignal::take(reader).fill(in);
        AudioBus out(outChannels, outCapacity);
        mark(out);
        const AudioBus untouched = out;

        const bool fits = node_.hasAcceptedFormat() && channels <= accepted &&
                          outChannels >= channels && outCapacity >= frames;
        const bool bypassing = isBypassing();
        AudioBusList inputs{&in};
        AudioBusList outputs{&out};
        const bool processed = node_.process(inputs, outputs);
        require(processed == fits, "the list-level process takes exactly the blocks that fit");
        if (!processed) {
            require(sameBuffer(out.buffer, untouched.buffer),
                    "a refused block leaves the output untouched");
        } else if (bypassing) {
            require(outputIsCopyOfInput(in, out), "a bypassed node passes its input through");
        }
    }

    // A block handed straight to the node, whatever its shape.
    void processDirect(ByteReader& reader) {
        const unsigned int channels = reader.takeIndex(kMaxChannels + 1);
        const unsigned int frames = takeBudgetedFrames(reader);
        const unsigned int sampleRate = takeSampleRate(reader);
        const bool odd = reader.takeIndex(4) == 0;
        const unsigned int outChannels = odd ? reader.takeIndex(kMaxChannels + 1) : channels;
        const unsigned int outCapacity = odd ? takeBudgetedFrames(reader) : frames;

        AudioBus in(channels, frames, sampleRate);
        InputSignal::take(reader).fill(in);
        AudioBus out(outChannels, outCapacity);
        mark(out);

        const bool copyOnly = isBypassing() || !fitsNode(in, out);
        require(node_.process(in, out), "the direct process always returns true");
        if (copyOnly) {
            require(outputIsCopyOfInput(in, out),
                    "a bypassed node or a block it cannot take passes the input through");
        }
    }

    const NodeTypeEntry& entry_;
    const TypeHabits& habits_;
    const NodeParameter* onOffSwitch_;
    SingleBusAudioProcessorNode& node_;
    unsigned int budget_ = kFrameBudget;
};

}  // namespace

unsigned int ostrana::fuzz::nodeTypeChoices() {
    return static_cast<unsigned int>(EffectCatalogue::nodeTypes().size());
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader reader(data, size);
    const std::span<const NodeTypeEntry> types = EffectCatalogue::nodeTypes();
    const std::size_t index = reader.takeIndex(ostrana::fuzz::nodeTypeChoices());
    const std::unique_ptr<SingleBusAudioProcessorNode> node =
        ostrana::fuzz::createProcessor(types[index], ostrana::XVAnyMap{}, kFuzzer);
    NodeProgram(types[index], habitsOf(index), *node).run(reader);
    return 0;
}
