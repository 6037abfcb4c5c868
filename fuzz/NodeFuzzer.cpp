// Drives one effect node, made by the extension's factory, through a program read from the
// fuzzer's bytes, the way a host would and beyond: format negotiations through the list-level
// setBusFormats, parameter changes with any value (NaN, infinities, negatives, huge values, any
// unsigned delay), and blocks of any sample rate from 0 to 384000, 0 to 8192 frames and 0 to 4
// channels, through the list-level process and directly through process(AudioBus&, AudioBus&).
//
// Input layout: one byte picks the node type; then, until the bytes run out, one byte picks an
// operation and the operation reads what it needs (see the take... functions).
//
// Besides crashes and sanitizer reports, the run stops (abort) when an invariant breaks:
// - setBusFormats accepts exactly the formats that match and carry a channel count the node
//   takes;
// - the list-level process refuses exactly the blocks that do not fit the accepted format or
//   the output bus, and a refused block leaves the output bus untouched;
// - the direct process always returns true;
// - a bypassed node, or one given a block it cannot take, passes its input through unchanged.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <string>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
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
using ostrana::Node;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::fuzz::ByteReader;
using namespace ostrana::extensions::audioeffects;

// Audio frames one input may process in all, so that each run stays short while still
// reaching past the 48000-sample delay lines.
constexpr unsigned int kFrameBudget = 1u << 16;
constexpr unsigned int kMaxOperations = 512;
constexpr unsigned int kMaxFrames = 8192;
constexpr unsigned int kMaxSampleRate = 384000;
constexpr unsigned int kMaxChannels = 4;
// The channel capacity the factory builds every node with.
constexpr unsigned int kFactoryCapacity = 2;

enum class Kind { Delay, PingPongDelay, Vibrato, Flanger, Chorus };

struct NodeType {
    const char* name;
    Kind kind;
};

// In the factory's registration order.
constexpr NodeType kNodeTypes[] = {
    {"AudioEffects.Delay", Kind::Delay},     {"AudioEffects.PingPongDelay", Kind::PingPongDelay},
    {"AudioEffects.Vibrato", Kind::Vibrato}, {"AudioEffects.Flanger", Kind::Flanger},
    {"AudioEffects.Chorus", Kind::Chorus},
};

void require(bool condition, const char* what) {
    ostrana::fuzz::requireInvariant(condition, "node fuzzer", what);
}

AudioEffectsNodeFactory& factory() {
    return ostrana::fuzz::nodeFactory();
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

unsigned int takeDelayMs(ByteReader& reader) {
    static constexpr unsigned int kEdges[] = {0,    1,    2,    5,     200,        999,
                                              1000, 1001, 2000, 65535, 0xFFFFFFFE, 0xFFFFFFFF};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 96) return kEdges[selector % std::size(kEdges)];
    if (selector < 192) return reader.takeUint16() % 2048;
    return reader.takeUint32();
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

class NodeProgram {
  public:
    NodeProgram(Kind kind, SingleBusAudioProcessorNode& node) : kind_(kind), node_(node) {}

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
        switch (kind_) {
            case Kind::Delay:
                return channels <= kFactoryCapacity;
            case Kind::PingPongDelay:
                return channels == 2;
            default:
                return channels < 3;
        }
    }

    // Whether the node's own process works on this block rather than only copying it.
    bool fitsNode(const AudioBus& in, const AudioBus& out) const {
        const unsigned int limit =
            kind_ == Kind::PingPongDelay ? out.buffer.getNumberOfChannels() : kFactoryCapacity;
        return SingleBusAudioProcessorNode::busesFit(in, out, limit);
    }

    bool isBypassing() {
        switch (kind_) {
            case Kind::Delay: {
                auto& node = dynamic_cast<DelayNode&>(node_);
                return !node.getIsEnabled() || node.getDelayMs() == 0;
            }
            case Kind::PingPongDelay: {
                auto& node = dynamic_cast<PingPongDelayNode&>(node_);
                return !node.getIsEnabled() || node.getDelayMs() == 0;
            }
            case Kind::Vibrato:
                return !dynamic_cast<VibratoNode&>(node_).getIsEnabled();
            case Kind::Flanger:
                return !dynamic_cast<FlangerNode&>(node_).getIsEnabled();
            default:
                return !dynamic_cast<ChorusNode&>(node_).getIsEnabled();
        }
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
        switch (kind_) {
            case Kind::Delay:
                setDelayParameter(dynamic_cast<DelayNode&>(node_), reader);
                break;
            case Kind::PingPongDelay:
                setDelayParameter(dynamic_cast<PingPongDelayNode&>(node_), reader);
                break;
            case Kind::Vibrato:
                setModulationParameter(dynamic_cast<VibratoNode&>(node_), reader);
                break;
            case Kind::Flanger:
                setModulationParameter(dynamic_cast<FlangerNode&>(node_), reader);
                break;
            default:
                setModulationParameter(dynamic_cast<ChorusNode&>(node_), reader);
                break;
        }
    }

    template <typename DelayLike>
    static void setDelayParameter(DelayLike& node, ByteReader& reader) {
        switch (reader.takeIndex(5)) {
            case 0:
                node.setIsEnabled(reader.takeBool());
                break;
            case 1:
                node.setDryMix(takeParameterValue(reader));
                break;
            case 2:
                node.setWetMix(takeParameterValue(reader));
                break;
            case 3:
                node.setDelayMs(takeDelayMs(reader));
                break;
            default:
                node.setFeedbackLevel(takeParameterValue(reader));
                break;
        }
    }

    template <typename ModulationLike>
    static void setModulationParameter(ModulationLike& node, ByteReader& reader) {
        switch (reader.takeIndex(3)) {
            case 0:
                node.setIsEnabled(reader.takeBool());
                break;
            case 1:
                node.setSweepWidth(takeParameterValue(reader));
                break;
            default:
                node.setFrequency(takeParameterValue(reader));
                break;
        }
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

    Kind kind_;
    SingleBusAudioProcessorNode& node_;
    unsigned int budget_ = kFrameBudget;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader reader(data, size);
    const NodeType& type = kNodeTypes[reader.takeIndex(std::size(kNodeTypes))];
    auto created = factory().createNode(type.name, ostrana::XVAnyMap{});
    require(created.isOk(), "the factory creates every node type");
    std::unique_ptr<Node> node = std::move(created).value();
    auto* audioNode = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
    require(audioNode != nullptr, "every effect node is a single-bus audio processor");
    NodeProgram(type.kind, *audioNode).run(reader);
    return 0;
}
