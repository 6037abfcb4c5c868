// Drives the property interface of a ping-pong delay node, made by the extension's factory from
// a configuration map of any content, and the descriptor lookup NodeTypeInfo::getProperty, with
// keys and values of every XVAny kind read from the fuzzer's bytes.
//
// Input layout: a configuration map, then, until the bytes run out, one byte that picks an
// operation and the bytes that operation reads (see the take... functions).
//
// Only the documented outcomes are allowed; anything else stops the run (abort), and an
// exception of any other type escapes and stops it too:
// - setValue on one of the five properties succeeds exactly when XVAny::convert accepts the
//   value for the property's type; then getValue and the accessor return the converted value,
//   bit for bit; otherwise the value stays as it was. Unknown keys give an error result.
// - getValue on a property returns its value with the property's kind; unknown keys give an
//   error result.
// - getProperty returns the stored schema map for a key the record has, and otherwise throws
//   std::runtime_error with the "[NodeTypeInfo] Property key '...' not found for node type
//   '...'." message; a stored value that is no map gives XVAnyConversionError.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyConversionError.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "ByteReader.h"
#include "FuzzSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::Node;
using ostrana::NodeTypeInfo;
using ostrana::Result;
using ostrana::XVAny;
using ostrana::XVAnyConversionError;
using ostrana::XVAnyMap;
using ostrana::extensions::audioeffects::AudioEffectsNodeFactory;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using ostrana::fuzz::ByteReader;

constexpr unsigned int kMaxOperations = 256;
constexpr unsigned int kMaxMapDepth = 2;
constexpr unsigned int kMaxMapEntries = 4;
constexpr unsigned int kBlockFrames = 64;

const char* const kPropertyNames[] = {"enabled", "delayMs", "dryMix", "wetMix", "feedbackLevel"};

void require(bool condition, const char* what) {
    ostrana::fuzz::requireInvariant(condition, "property fuzzer", what);
}

AudioEffectsNodeFactory& factory() {
    return ostrana::fuzz::nodeFactory();
}

const std::vector<NodeTypeInfo>& nodeTypes() {
    static const std::vector<NodeTypeInfo> types = factory().getNodeTypes();
    return types;
}

// Mostly a key that exists somewhere or nearly does, sometimes any bytes.
std::string takeKey(ByteReader& reader) {
    static const char* const kKeys[] = {"enabled",       "delayMs",  "dryMix",  "wetMix",
                                        "feedbackLevel", "",         "Enabled", "DelayMs",
                                        "delayms",       "delayMs ", "gain",    "name",
                                        "default",       "readOnly", "type"};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 192) return kKeys[selector % std::size(kKeys)];
    return reader.takeString(24);
}

float takeFloat(ByteReader& reader) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    static constexpr float kEdges[] = {0.0f,
                                       -0.0f,
                                       0.3f,
                                       0.7f,
                                       0.99f,
                                       1.0f,
                                       5.0f,
                                       -1.0f,
                                       1e30f,
                                       kInfinity,
                                       -kInfinity,
                                       std::numeric_limits<float>::quiet_NaN(),
                                       std::numeric_limits<float>::denorm_min()};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 128) return kEdges[selector % std::size(kEdges)];
    return reader.takeFloatBits();
}

int takeInt(ByteReader& reader) {
    static constexpr int kEdges[] = {0,
                                     1,
                                     -1,
                                     200,
                                     1000,
                                     1001,
                                     -200,
                                     9600,
                                     48000,
                                     std::numeric_limits<int>::min(),
                                     std::numeric_limits<int>::max()};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 128) return kEdges[selector % std::size(kEdges)];
    return static_cast<int>(reader.takeUint32());
}

unsigned int takeUnsigned(ByteReader& reader) {
    static constexpr unsigned int kEdges[] = {0,    1,          200,        1000,
                                              1001, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const std::uint8_t selector = reader.takeByte();
    if (selector < 128) return kEdges[selector % std::size(kEdges)];
    return reader.takeUint32();
}

XVAnyMap takeMap(ByteReader& reader, unsigned int depth);

// A value of any kind, functions and nested maps included.
XVAny takeValue(ByteReader& reader, unsigned int depth) {
    switch (reader.takeIndex(9)) {
        case 0:
            return XVAny();
        case 1:
            return XVAny(reader.takeBool());
        case 2:
            return XVAny(takeInt(reader));
        case 3:
            return XVAny(takeUnsigned(reader));
        case 4:
            return XVAny(takeFloat(reader));
        case 5:
            return XVAny(reader.takeString(16));
        case 6:
            return XVAny(depth < kMaxMapDepth ? takeMap(reader, depth + 1) : XVAnyMap{});
        case 7: {
            const float held = takeFloat(reader);
            return XVAny(XVAny::Getter([held] { return Result<XVAny>(XVAny(held)); }));
        }
        default:
            return XVAny(XVAny::Setter([](const XVAny&) { return Result<void>(); }));
    }
}

XVAnyMap takeMap(ByteReader& reader, unsigned int depth) {
    XVAnyMap map;
    const unsigned int entries = reader.takeIndex(kMaxMapEntries + 1);
    for (unsigned int i = 0; i < entries; ++i) {
        const std::string key = takeKey(reader);
        map.set(key, takeValue(reader, depth));
    }
    return map;
}

template <typename T>
std::optional<T> tryConvert(const XVAny& value) {
    try {
        return XVAny::convert<T>(value);
    } catch (const XVAnyConversionError&) {
        return std::nullopt;
    }
}

template <typename T>
bool sameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

bool sameMap(const XVAnyMap& a, const XVAnyMap& b);

// Equal values, where two functions count as equal when they are of the same kind and floats
// when they hold the same bits: XVAny's own == never finds a function equal to anything, nor a
// NaN equal to itself.
bool sameContent(const XVAny& a, const XVAny& b) {
    if (a.kind() != b.kind()) return false;
    switch (a.kind()) {
        case XVAny::Kind::Getter:
        case XVAny::Kind::Setter:
            return true;
        case XVAny::Kind::Float:
            return sameBits(XVAny::convert<float>(a), XVAny::convert<float>(b));
        case XVAny::Kind::Map:
            return sameMap(XVAny::convert<XVAnyMap>(a), XVAny::convert<XVAnyMap>(b));
        default:
            return a == b;
    }
}

bool sameMap(const XVAnyMap& a, const XVAnyMap& b) {
    if (a.size() != b.size()) return false;
    auto other = b.begin();
    for (const XVAnyMap::Entry& entry : a) {
        if (entry.first != other->first || !sameContent(entry.second, other->second)) return false;
        ++other;
    }
    return true;
}

class PropertyProgram {
  public:
    explicit PropertyProgram(PingPongDelayNode& node) : node_(node) {}

    void run(ByteReader& reader) {
        AudioBusFormatList inputs{AudioBusFormat{2, 48000, 0}};
        AudioBusFormatList outputs{AudioBusFormat{}};
        require(node_.setBusFormats(inputs, outputs), "the node takes a stereo format");
        for (unsigned int op = 0; op < kMaxOperations && !reader.empty(); ++op) {
            // Every read is its own statement: the order in which a call's arguments are
            // evaluated differs between compilers, and an input must mean the same to all.
            switch (reader.takeIndex(7)) {
                case 0:
                case 1: {
                    const std::string key = takeKey(reader);
                    setValue(key, takeValue(reader, 0));
                    break;
                }
                case 2:
                    getValue(takeKey(reader));
                    break;
                case 3: {
                    const NodeTypeInfo& info = nodeTypes()[reader.takeIndex(nodeTypes().size())];
                    lookUpProperty(info, takeKey(reader));
                    break;
                }
                case 4: {
                    const NodeTypeInfo info = takeNodeTypeInfo(reader);
                    lookUpProperty(info, takeKey(reader));
                    break;
                }
                case 5:
                    callAction(reader);
                    break;
                default:
                    processBlock(reader);
                    break;
            }
        }
        checkPropertyList();
    }

  private:
    static int propertyIndex(const std::string& key) {
        for (int i = 0; i < static_cast<int>(std::size(kPropertyNames)); ++i) {
            if (key == kPropertyNames[i]) return i;
        }
        return -1;
    }

    // The property's value as the accessor gives it, as an XVAny of the property's kind.
    XVAny accessorValue(int index) const {
        switch (index) {
            case 0:
                return XVAny(node_.getIsEnabled());
            case 1:
                return XVAny(node_.getDelayMs());
            case 2:
                return XVAny(node_.getDryMix());
            case 3:
                return XVAny(node_.getWetMix());
            default:
                return XVAny(node_.getFeedbackLevel());
        }
    }

    static XVAny::Kind kindOf(int index) {
        switch (index) {
            case 0:
                return XVAny::Kind::Bool;
            case 1:
                return XVAny::Kind::UnsignedInt;
            default:
                return XVAny::Kind::Float;
        }
    }

    // The value a successful setValue must store, or nothing when the conversion refuses.
    static std::optional<XVAny> converted(int index, const XVAny& value) {
        switch (index) {
            case 0:
                if (auto held = tryConvert<bool>(value)) return XVAny(*held);
                return std::nullopt;
            case 1:
                if (auto held = tryConvert<unsigned int>(value)) return XVAny(*held);
                return std::nullopt;
            default:
                if (auto held = tryConvert<float>(value)) return XVAny(*held);
                return std::nullopt;
        }
    }

    // Two values of the same scalar kind holding the same bits (so NaN matches NaN).
    static bool sameValue(const XVAny& a, const XVAny& b) {
        if (a.kind() != b.kind()) return false;
        switch (a.kind()) {
            case XVAny::Kind::Bool:
                return XVAny::convert<bool>(a) == XVAny::convert<bool>(b);
            case XVAny::Kind::UnsignedInt:
                return XVAny::convert<unsigned int>(a) == XVAny::convert<unsigned int>(b);
            case XVAny::Kind::Float:
                return sameBits(XVAny::convert<float>(a), XVAny::convert<float>(b));
            default:
                return false;
        }
    }

    void setValue(const std::string& key, const XVAny& value) {
        const int index = propertyIndex(key);
        if (index < 0) {
            require(!node_.setValue(key, value).isOk(),
                    "setValue on an unknown key gives an error");
            return;
        }
        const XVAny before = accessorValue(index);
        const Result<void> result = node_.setValue(key, value);
        const std::optional<XVAny> expected = converted(index, value);
        require(result.isOk() == expected.has_value(),
                "setValue succeeds exactly when the value converts");
        const XVAny now = accessorValue(index);
        require(sameValue(now, expected ? *expected : before),
                "the accessor returns the stored value, or the old one after an error");
        const Result<XVAny> read = node_.getValue(key);
        require(read.isOk() && sameValue(read.value(), now), "getValue returns the stored value");
    }

    void getValue(const std::string& key) {
        const int index = propertyIndex(key);
        const Result<XVAny> result = node_.getValue(key);
        if (index < 0) {
            require(!result.isOk(), "getValue on an unknown key gives an error");
            return;
        }
        require(result.isOk(), "getValue on a property succeeds");
        require(result.value().kind() == kindOf(index), "getValue returns the property's kind");
        require(sameValue(result.value(), accessorValue(index)),
                "getValue agrees with the accessor");
    }

    static NodeTypeInfo takeNodeTypeInfo(ByteReader& reader) {
        NodeTypeInfo info;
        info.type = reader.takeString(12);
        info.subtype = reader.takeString(12);
        info.properties = takeMap(reader, 0);
        if (reader.takeBool()) info.configuration = takeMap(reader, 1);
        return info;
    }

    static void lookUpProperty(const NodeTypeInfo& info, const std::string& key) {
        if (info.properties.hasKey(key)) {
            const XVAny stored = info.properties.at(key);
            if (stored.kind() != XVAny::Kind::Map) {
                try {
                    info.getProperty(key);
                    require(false, "getProperty of a value that is no map throws");
                } catch (const XVAnyConversionError&) {
                }
                return;
            }
            require(sameMap(info.getProperty(key), XVAny::convert<XVAnyMap>(stored)),
                    "getProperty returns the stored schema");
            return;
        }
        const std::string expected = "[NodeTypeInfo] Property key '" + key +
                                     "' not found for node type '" + info.getFQTypeName() + "'.";
        try {
            info.getProperty(key);
            require(false, "getProperty of a missing key throws");
        } catch (const XVAnyConversionError&) {
            require(false, "getProperty of a missing key throws std::runtime_error");
        } catch (const std::runtime_error& error) {
            // what() ends at the first zero byte, as does the expected text's c_str().
            require(std::strcmp(error.what(), expected.c_str()) == 0,
                    "getProperty of a missing key names the key and the node type");
        }
    }

    void callAction(ByteReader& reader) {
        const std::string name = takeKey(reader);
        const XVAnyMap params = takeMap(reader, 1);
        require(!node_.callAction(name, params).isOk(), "the node has no actions");
    }

    // A short stereo block with whatever the properties now hold.
    void processBlock(ByteReader& reader) {
        AudioBus in(2, kBlockFrames, reader.takeBool() ? 48000 : 44100);
        const float level = takeFloat(reader);
        for (unsigned int f = 0; f < kBlockFrames; f += 8) {
            in.buffer.setSample(0, f, level);
            in.buffer.setSample(1, f + 1, -level);
        }
        AudioBus out(2, kBlockFrames);
        AudioBusList inputs{&in};
        AudioBusList outputs{&out};
        require(node_.process(inputs, outputs), "a stereo block is processed");
    }

    void checkPropertyList() const {
        const auto properties = node_.getProperties();
        require(properties.size() == std::size(kPropertyNames), "the node has five properties");
        for (std::size_t i = 0; i < properties.size(); ++i) {
            require(properties[i].name == kPropertyNames[i], "the properties keep their order");
        }
    }

    PingPongDelayNode& node_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader reader(data, size);
    const XVAnyMap configuration = takeMap(reader, 0);
    auto created = factory().createNode("AudioEffects.PingPongDelay", configuration);
    require(created.isOk(), "the factory creates the ping-pong delay from any configuration");
    std::unique_ptr<Node> node = std::move(created).value();
    auto* pingPong = dynamic_cast<PingPongDelayNode*>(node.get());
    require(pingPong != nullptr, "the factory's ping-pong delay is a PingPongDelayNode");
    PropertyProgram(*pingPong).run(reader);
    return 0;
}
