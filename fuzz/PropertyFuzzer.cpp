// Drives the host properties of a node, made by the extension's factory from a configuration
// map of any content, and the descriptor lookup NodeTypeInfo::getProperty, with keys and values
// of every XVAny kind read from the fuzzer's bytes. The node is of one of the catalogue's types
// whose descriptor declares properties; its properties are the ones the descriptor declares,
// and each is read through the catalogue's parameter of the same name as well.
//
// Input layout: one byte picks the node type, by its index among the catalogue's types with
// properties (in the catalogue's order) modulo their number; then a configuration map; then,
// until the bytes run out, one byte that picks an operation and the bytes that operation reads
// (see the take... functions).
//
// Only the documented outcomes are allowed; anything else stops the run (abort), and an
// exception of any other type escapes and stops it too:
// - setValue on one of the node's properties succeeds exactly when XVAny::convert accepts the
//   value for the property's type; then getValue and the catalogue's accessor return the
//   converted value, bit for bit; otherwise the value stays as it was. Unknown keys give an
//   error result.
// - getValue on a property returns its value with the property's kind; unknown keys give an
//   error result.
// - getProperty returns the stored schema map for a key the record has, and otherwise throws
//   std::runtime_error with the "[NodeTypeInfo] Property key '...' not found for node type
//   '...'." message; a stored value that is no map gives XVAnyConversionError.
// - the node has no actions, and lists its properties in the descriptor's order.

#include <algorithm>
#include <cctype>
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
#include <utility>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
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
using ostrana::NodeTypeInfo;
using ostrana::Result;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::XVAny;
using ostrana::XVAnyConversionError;
using ostrana::XVAnyMap;
using ostrana::fuzz::ByteReader;
using namespace ostrana::extensions::audioeffects;

constexpr unsigned int kMaxOperations = 256;
constexpr unsigned int kMaxMapDepth = 2;
constexpr unsigned int kMaxMapEntries = 4;
constexpr unsigned int kBlockFrames = 64;
constexpr const char* kFuzzer = "property fuzzer";

void require(bool condition, const char* what) {
    ostrana::fuzz::requireInvariant(condition, kFuzzer, what);
}

// Every catalogued type's descriptor, for the look-ups.
const std::vector<NodeTypeInfo>& nodeTypes() {
    static const std::vector<NodeTypeInfo> types = [] {
        std::vector<NodeTypeInfo> descriptors;
        for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
            descriptors.push_back(entry.describe());
        }
        return descriptors;
    }();
    return types;
}

std::string capitalised(std::string word) {
    if (!word.empty())
        word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
    return word;
}

std::string inLowerCase(std::string word) {
    for (char& c : word) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return word;
}

// The keys a program picks from: the node's property names, the empty key, the near misses of
// each name (capitalised, in lower case, with a trailing space) and words that name no
// property but a field of its schema, or nothing.
std::vector<std::string> keysFor(const std::vector<std::string>& names) {
    std::vector<std::string> keys = names;
    keys.emplace_back();
    for (const std::string& name : names) {
        for (const std::string& nearMiss : {capitalised(name), inLowerCase(name), name + " "}) {
            if (std::find(keys.begin(), keys.end(), nearMiss) == keys.end()) {
                keys.push_back(nearMiss);
            }
        }
    }
    for (const char* word : {"gain", "name", "default", "readOnly", "type"})
        keys.emplace_back(word);
    return keys;
}

// Mostly one of the keys, sometimes any bytes.
std::string takeKey(ByteReader& reader, const std::vector<std::string>& keys) {
    const std::uint8_t selector = reader.takeByte();
    if (selector < 192) return keys[selector % keys.size()];
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

using Keys = std::vector<std::string>;

XVAnyMap takeMap(ByteReader& reader, const Keys& keys, unsigned int depth);

// A value of any kind, functions and nested maps included.
XVAny takeValue(ByteReader& reader, const Keys& keys, unsigned int depth) {
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
            return XVAny(depth < kMaxMapDepth ? takeMap(reader, keys, depth + 1) : XVAnyMap{});
        case 7: {
            const float held = takeFloat(reader);
            return XVAny(XVAny::Getter([held] { return Result<XVAny>(XVAny(held)); }));
        }
        default:
            return XVAny(XVAny::Setter([](const XVAny&) { return Result<void>(); }));
    }
}

XVAnyMap takeMap(ByteReader& reader, const Keys& keys, unsigned int depth) {
    XVAnyMap map;
    const unsigned int entries = reader.takeIndex(kMaxMapEntries + 1);
    for (unsigned int i = 0; i < entries; ++i) {
        const std::string key = takeKey(reader, keys);
        map.set(key, takeValue(reader, keys, depth));
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

// A value of the parameter's kind as the host properties hold it.
XVAny asXVAny(const ParameterValue& value) {
    return std::visit([](auto held) { return XVAny(held); }, value);
}

XVAny::Kind kindOf(const NodeParameter& parameter) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return XVAny::Kind::Bool;
        case ParameterKind::WholeNumber:
            return XVAny::Kind::UnsignedInt;
        case ParameterKind::RealNumber:
            break;
    }
    return XVAny::Kind::Float;
}

// The value a successful setValue must store, or nothing when the conversion refuses.
std::optional<XVAny> converted(const NodeParameter& parameter, const XVAny& value) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            if (auto held = tryConvert<bool>(value)) return XVAny(*held);
            return std::nullopt;
        case ParameterKind::WholeNumber:
            if (auto held = tryConvert<unsigned int>(value)) return XVAny(*held);
            return std::nullopt;
        case ParameterKind::RealNumber:
            break;
    }
    if (auto held = tryConvert<float>(value)) return XVAny(*held);
    return std::nullopt;
}

// Two values of the same scalar kind holding the same bits (so NaN matches NaN).
bool sameValue(const XVAny& a, const XVAny& b) {
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

// The host properties a descriptor declares, each with the catalogue's parameter of its name.
struct Property {
    std::string name;
    const NodeParameter* parameter;
};

std::vector<Property> propertiesOf(const NodeTypeEntry& entry) {
    std::vector<Property> properties;
    for (const XVAnyMap::Entry& declared : entry.describe().properties) {
        const NodeParameter* parameter = entry.findParameter(declared.first);
        require(parameter != nullptr, "the catalogue lists every host property as a parameter");
        properties.push_back({declared.first, parameter});
    }
    return properties;
}

std::vector<std::string> namesOf(const std::vector<Property>& properties) {
    std::vector<std::string> names;
    for (const Property& property : properties) names.push_back(property.name);
    return names;
}

// A catalogued type whose descriptor declares host properties, with its properties and the
// keys its programs pick from.
struct TypeWithProperties {
    const NodeTypeEntry* entry;
    std::vector<Property> properties;
    Keys keys;
};

// The catalogued types with host properties, in the catalogue's order, found once.
const std::vector<TypeWithProperties>& typesWithProperties() {
    static const std::vector<TypeWithProperties> types = [] {
        std::vector<TypeWithProperties> found;
        for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
            std::vector<Property> properties = propertiesOf(entry);
            if (properties.empty()) continue;
            Keys keys = keysFor(namesOf(properties));
            found.push_back({&entry, std::move(properties), std::move(keys)});
        }
        return found;
    }();
    return types;
}

class PropertyProgram {
  public:
    PropertyProgram(const NodeTypeEntry& entry, const std::vector<Property>& properties,
                    const Keys& keys, SingleBusAudioProcessorNode& node)
        : entry_(entry), properties_(properties), keys_(keys), node_(node) {}

    void run(ByteReader& reader) {
        AudioBusFormatList inputs{AudioBusFormat{entry_.maxChannels, 48000, 0}};
        AudioBusFormatList outputs{AudioBusFormat{}};
        require(node_.setBusFormats(inputs, outputs), "the node takes its most channels");
        for (unsigned int op = 0; op < kMaxOperations && !reader.empty(); ++op) {
            // Every read is its own statement: the order in which a call's arguments are
            // evaluated differs between compilers, and an input must mean the same to all.
            switch (reader.takeIndex(7)) {
                case 0:
                case 1: {
                    const std::string key = takeKey(reader, keys_);
                    setValue(key, takeValue(reader, keys_, 0));
                    break;
                }
                case 2:
                    getValue(takeKey(reader, keys_));
                    break;
                case 3: {
                    const NodeTypeInfo& info = nodeTypes()[reader.takeIndex(
                        static_cast<unsigned int>(nodeTypes().size()))];
                    lookUpProperty(info, takeKey(reader, keys_));
                    break;
                }
                case 4: {
                    const NodeTypeInfo info = takeNodeTypeInfo(reader);
                    lookUpProperty(info, takeKey(reader, keys_));
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
    const Property* findProperty(const std::string& key) const {
        for (const Property& property : properties_) {
            if (property.name == key) return &property;
        }
        return nullptr;
    }

    // The property's value as the catalogue's accessor gives it.
    XVAny accessorValue(const Property& property) const {
        return asXVAny(property.parameter->read(node_));
    }

    void setValue(const std::string& key, const XVAny& value) {
        const Property* property = findProperty(key);
        if (property == nullptr) {
            require(!node_.setValue(key, value).isOk(),
                    "setValue on an unknown key gives an error");
            return;
        }
        const XVAny before = accessorValue(*property);
        const Result<void> result = node_.setValue(key, value);
        const std::optional<XVAny> expected = converted(*property->parameter, value);
        require(result.isOk() == expected.has_value(),
                "setValue succeeds exactly when the value converts");
        const XVAny now = accessorValue(*property);
        require(sameValue(now, expected ? *expected : before),
                "the accessor returns the stored value, or the old one after an error");
        const Result<XVAny> read = node_.getValue(key);
        require(read.isOk() && sameValue(read.value(), now), "getValue returns the stored value");
    }

    void getValue(const std::string& key) {
        const Property* property = findProperty(key);
        const Result<XVAny> result = node_.getValue(key);
        if (property == nullptr) {
            require(!result.isOk(), "getValue on an unknown key gives an error");
            return;
        }
        require(result.isOk(), "getValue on a property succeeds");
        require(result.value().kind() == kindOf(*property->parameter),
                "getValue returns the property's kind");
        require(sameValue(result.value(), accessorValue(*property)),
                "getValue agrees with the accessor");
    }

    NodeTypeInfo takeNodeTypeInfo(ByteReader& reader) const {
        NodeTypeInfo info;
        info.type = reader.takeString(12);
        info.subtype = reader.takeString(12);
        info.properties = takeMap(reader, keys_, 0);
        if (reader.takeBool()) info.configuration = takeMap(reader, keys_, 1);
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
        const std::string name = takeKey(reader, keys_);
        const XVAnyMap params = takeMap(reader, keys_, 1);
        require(!node_.callAction(name, params).isOk(), "the node has no actions");
    }

    // A short block of the node's most channels with whatever the properties now hold.
    void processBlock(ByteReader& reader) {
        const unsigned int channels = entry_.maxChannels;
        AudioBus in(channels, kBlockFrames, reader.takeBool() ? 48000 : 44100);
        const float level = takeFloat(reader);
        for (unsigned int f = 0; f < kBlockFrames; f += 8) {
            for (unsigned int c = 0; c < channels && f + c < kBlockFrames; ++c) {
                in.buffer.setSample(c, f + c, c % 2 == 0 ? level : -level);
            }
        }
        AudioBus out(channels, kBlockFrames);
        AudioBusList inputs{&in};
        AudioBusList outputs{&out};
        require(node_.process(inputs, outputs), "a block of the accepted channels is processed");
    }

    void checkPropertyList() const {
        const auto listed = node_.getProperties();
        require(listed.size() == properties_.size(), "the node has the declared properties");
        for (std::size_t i = 0; i < listed.size(); ++i) {
            require(listed[i].name == properties_[i].name, "the properties keep their order");
        }
    }

    const NodeTypeEntry& entry_;
    const std::vector<Property>& properties_;
    const Keys& keys_;
    SingleBusAudioProcessorNode& node_;
};

}  // namespace

unsigned int ostrana::fuzz::nodeTypeChoices() {
    return static_cast<unsigned int>(typesWithProperties().size());
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader reader(data, size);
    const std::vector<TypeWithProperties>& types = typesWithProperties();
    require(!types.empty(), "some catalogued node type declares host properties");
    const TypeWithProperties& type = types[reader.takeIndex(ostrana::fuzz::nodeTypeChoices())];
    const XVAnyMap configuration = takeMap(reader, type.keys, 0);
    const std::unique_ptr<SingleBusAudioProcessorNode> node =
        ostrana::fuzz::createProcessor(*type.entry, configuration, kFuzzer);
    PropertyProgram(*type.entry, type.properties, type.keys, *node).run(reader);
    return 0;
}
