#include "audioeffects/extension/ExpectedNodeTypes.h"

#include <sstream>
#include <string_view>

#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::testing {

namespace {

// The effects in registration order: the one list of them that the tests write out.
struct ExpectedEffect {
    const char* shortName;
    const char* subtype;
    const char* displayName;
    const char* description;
};

constexpr ExpectedEffect kEffects[] = {
    {"delay", "Delay", "Delay", "Applies a delay effect to the input audio signal."},
    {"ping-pong-delay", "PingPongDelay", "Ping Pong Delay",
     "Applies a ping pong delay effect to the input audio signal."},
    {"vibrato", "Vibrato", "Vibrato", "Applies a vibrato effect to the input audio signal."},
    {"flanger", "Flanger", "Flanger", "Applies a flanger effect to the input audio signal."},
    {"chorus", "Chorus", "Chorus", "Applies a chorus effect to the input audio signal."},
};

NodeTypeInfo effect(const char* subtype, const char* displayName, const char* description) {
    NodeTypeInfo info;
    info.type = "AudioEffects";
    info.subtype = subtype;
    info.displayName = displayName;
    info.description = description;
    info.categories = {"Audio Processing", "Effects"};
    return info;
}

XVAnyMap floatSchema(const char* description, float defaultValue, float maxValue) {
    return XVAnyMap{{"description", XVAny(description)},
                    {"type", XVAny("float")},
                    {"default", XVAny(defaultValue)},
                    {"min", XVAny(0.0f)},
                    {"max", XVAny(maxValue)},
                    {"readOnly", XVAny(false)}};
}

XVAnyMap pingPongProperties() {
    const XVAnyMap enabled{{"description", XVAny("Enable or disable the ping-pong delay effect.")},
                           {"type", XVAny("boolean")},
                           {"readOnly", XVAny(false)},
                           {"default", XVAny(true)}};
    const XVAnyMap delayMs{{"description", XVAny("The delay time in milliseconds.")},
                           {"type", XVAny("int")},
                           {"default", XVAny(200)},
                           {"min", XVAny(1)},
                           {"max", XVAny(1000)},
                           {"readOnly", XVAny(false)}};
    const XVAnyMap dryMix = floatSchema(
        "Level of the dry signal. 0 means no dry signal, 1 means maximum dry signal.", 0.7f, 1.0f);
    const XVAnyMap wetMix = floatSchema(
        "Level of the wet signal. 0 means no wet signal, 1 means maximum wet signal.", 0.3f, 1.0f);
    const XVAnyMap feedbackLevel = floatSchema(
        "The feedback level of the delay. 0 means no feedback, 1 means maximum feedback.", 0.2f,
        0.99f);
    return XVAnyMap{{"enabled", XVAny(enabled)},
                    {"delayMs", XVAny(delayMs)},
                    {"dryMix", XVAny(dryMix)},
                    {"wetMix", XVAny(wetMix)},
                    {"feedbackLevel", XVAny(feedbackLevel)}};
}

std::string describe(const XVAny& value);

std::string describe(const XVAnyMap& map) {
    std::ostringstream text;
    text << "{";
    const char* separator = "";
    for (const XVAnyMap::Entry& entry : map) {
        text << separator << entry.first << ": " << describe(entry.second);
        separator = ", ";
    }
    text << "}";
    return text.str();
}

std::string describe(const XVAny& value) {
    std::ostringstream text;
    text << XVAny::kindName(value.kind()) << " ";
    switch (value.kind()) {
        case XVAny::Kind::Bool:
            text << (XVAny::convert<bool>(value) ? "true" : "false");
            break;
        case XVAny::Kind::Int:
            text << XVAny::convert<int>(value);
            break;
        case XVAny::Kind::UnsignedInt:
            text << XVAny::convert<unsigned int>(value);
            break;
        case XVAny::Kind::Float:
            text.precision(9);
            text << XVAny::convert<float>(value);
            break;
        case XVAny::Kind::String:
            text << '"' << XVAny::convert<std::string>(value) << '"';
            break;
        case XVAny::Kind::Map:
            text << describe(XVAny::convert<XVAnyMap>(value));
            break;
        default:
            break;
    }
    return text.str();
}

std::string describe(const std::string& text) {
    return '"' + text + '"';
}

std::string describe(const std::vector<std::string>& words) {
    std::string text = "[";
    for (const std::string& word : words) text += (text.size() > 1 ? ", \"" : "\"") + word + '"';
    return text + "]";
}

template <typename T>
void compareField(std::ostringstream& out, const char* field, const T& actual, const T& expected) {
    if (actual == expected) return;
    out << "  " << field << ": got " << describe(actual) << ", expected " << describe(expected)
        << "\n";
}

}  // namespace

std::vector<NodeTypeInfo> expectedEffectNodeTypes() {
    std::vector<NodeTypeInfo> types;
    for (const ExpectedEffect& expected : kEffects) {
        types.push_back(effect(expected.subtype, expected.displayName, expected.description));
        if (std::string_view(expected.subtype) == "PingPongDelay") {
            types.back().properties = pingPongProperties();
        }
    }
    return types;
}

std::vector<NodeTypeInfo> expectedEffectNodeTypes(const std::vector<NodeTypeInfo>& registered) {
    std::vector<NodeTypeInfo> types = expectedEffectNodeTypes();
    for (std::size_t i = types.size(); i < registered.size(); ++i) {
        const NodeTypeInfo& further = registered[i];
        types.push_back(effect(further.subtype.c_str(), further.displayName.c_str(),
                               further.description.c_str()));
    }
    return types;
}

std::vector<std::string> expectedEffectTypeNames(const std::vector<NodeTypeInfo>& registered) {
    std::vector<std::string> names;
    for (const NodeTypeInfo& type : expectedEffectNodeTypes(registered)) {
        names.push_back(type.getFQTypeName());
    }
    return names;
}

std::vector<std::string> expectedEffectTypeNames() {
    std::vector<std::string> names;
    for (const ExpectedEffect& expected : kEffects) {
        names.push_back(std::string("AudioEffects.") + expected.subtype);
    }
    return names;
}

std::vector<std::string> expectedEffectShortNames() {
    std::vector<std::string> names;
    for (const ExpectedEffect& expected : kEffects) names.emplace_back(expected.shortName);
    return names;
}

std::string nodeTypeDifferences(const NodeTypeInfo& actual, const NodeTypeInfo& expected) {
    std::ostringstream out;
    compareField(out, "type", actual.type, expected.type);
    compareField(out, "subtype", actual.subtype, expected.subtype);
    compareField(out, "displayName", actual.displayName, expected.displayName);
    compareField(out, "description", actual.description, expected.description);
    compareField(out, "categories", actual.categories, expected.categories);
    compareField(out, "configuration", actual.configuration, expected.configuration);
    compareField(out, "properties", actual.properties, expected.properties);
    compareField(out, "actions", actual.actions, expected.actions);
    compareField(out, "events", actual.events, expected.events);
    return out.str();
}

}  // namespace ostrana::testing
