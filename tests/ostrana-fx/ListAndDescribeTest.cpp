#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cctype>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/NodeTypeInfo.h>

#include "FxProcess.h"

namespace ostrana::fx::testing {
namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;

// The catalogue's node types in its order, which is the factory's registration order.
std::vector<std::string> typesInRegistrationOrder() {
    std::vector<std::string> types;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        types.push_back(entry.typeName());
    }
    return types;
}

// The lines of list's output from the type line at up to the next type's, or to the end.
std::string typeLinesAt(const std::string& out, std::size_t at) {
    const std::size_t next = out.find("\n  AudioEffects.", at);
    return next == std::string::npos ? out.substr(at) : out.substr(at, next + 1 - at);
}

// The categories of a descriptor as list prints them.
std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

// text with every letter put through change (::toupper or ::tolower).
std::string inCase(std::string text, int (*change)(int)) {
    for (char& c : text) c = static_cast<char>(change(static_cast<unsigned char>(c)));
    return text;
}

std::size_t countLines(const std::string& text) {
    std::size_t lines = 0;
    for (char c : text) lines += c == '\n' ? 1 : 0;
    return lines;
}

TEST(FxListTest, PrintsTheExtensionAndItsNodeTypesInRegistrationOrder) {
    const FxRun run = FxProcess::run({"list"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(run.err.empty()) << run.err;
    EXPECT_NE(run.out.find("AudioEffects: Basic audio effects such as delay, chorus, flanger, "
                           "and vibrato."),
              std::string::npos)
        << run.out;
    // The same order as the host's registry reports in this process.
    const std::vector<std::string> types = typesInRegistrationOrder();
    EXPECT_EQ(ExtensionManager::getInstance().getNodeTypeNames(), types);
    std::size_t previous = 0;
    for (const std::string& type : types) {
        const std::size_t at = run.out.find("  " + type + " (");
        ASSERT_NE(at, std::string::npos) << type << " missing from:\n" << run.out;
        EXPECT_GT(at, previous) << type << " out of order";
        previous = at;
    }
}

TEST(FxListTest, ShowsDisplayNameDescriptionAndCategoriesOfEachType) {
    const FxRun run = FxProcess::run({"list"});
    ASSERT_EQ(run.exitStatus, 0);
    const std::size_t pingPong = run.out.find("  AudioEffects.PingPongDelay (ping-pong-delay)\n");
    ASSERT_NE(pingPong, std::string::npos) << run.out;
    const std::string block = typeLinesAt(run.out, pingPong);
    EXPECT_NE(block.find("display name: Ping Pong Delay\n"), std::string::npos) << block;
    EXPECT_NE(block.find("description:  Applies a ping pong delay effect to the input audio "
                         "signal.\n"),
              std::string::npos)
        << block;
    EXPECT_NE(block.find("categories:   Audio Processing, Effects\n"), std::string::npos) << block;
    // Every type's lines, up to the next type's, say what its descriptor says.
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const NodeTypeInfo info = entry.describe();
        const std::size_t at =
            run.out.find("  " + entry.typeName() + " (" + std::string(entry.shortName) + ")\n");
        ASSERT_NE(at, std::string::npos) << entry.typeName() << " missing from:\n" << run.out;
        const std::string lines = typeLinesAt(run.out, at);
        EXPECT_NE(lines.find("display name: " + info.displayName + "\n"), std::string::npos)
            << lines;
        EXPECT_NE(lines.find("description:  " + info.description + "\n"), std::string::npos)
            << lines;
        EXPECT_NE(lines.find("categories:   " + joined(info.categories) + "\n"), std::string::npos)
            << lines;
    }
}

class FxDescribePingPongTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const FxRun run = FxProcess::run({"describe", "AudioEffects.PingPongDelay"});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        json = nlohmann::ordered_json::parse(run.out);
    }

    std::vector<std::string> keysOf(const nlohmann::ordered_json& object) {
        std::vector<std::string> keys;
        for (const auto& item : object.items()) keys.push_back(item.key());
        return keys;
    }

    nlohmann::ordered_json json;
};

TEST_F(FxDescribePingPongTest, HasTheRecordKeysInOrderWithTheIdentity) {
    EXPECT_EQ(keysOf(json), (std::vector<std::string>{"type", "subtype", "displayName",
                                                      "description", "categories", "configuration",
                                                      "properties", "actions", "events"}));
    EXPECT_EQ(json["type"], "AudioEffects");
    EXPECT_EQ(json["subtype"], "PingPongDelay");
    EXPECT_EQ(json["displayName"], "Ping Pong Delay");
    EXPECT_EQ(json["description"], "Applies a ping pong delay effect to the input audio signal.");
    EXPECT_EQ(json["categories"], nlohmann::ordered_json::array({"Audio Processing", "Effects"}));
    for (const char* empty : {"configuration", "actions", "events"}) {
        EXPECT_TRUE(json[empty].is_object()) << empty;
        EXPECT_TRUE(json[empty].empty()) << empty;
    }
    EXPECT_EQ(keysOf(json["properties"]), (std::vector<std::string>{"enabled", "delayMs", "dryMix",
                                                                    "wetMix", "feedbackLevel"}));
}

TEST_F(FxDescribePingPongTest, EnabledIsABooleanWithoutBounds) {
    const auto& enabled = json["properties"]["enabled"];
    EXPECT_EQ(keysOf(enabled),
              (std::vector<std::string>{"description", "type", "readOnly", "default"}));
    EXPECT_EQ(enabled["description"], "Enable or disable the ping-pong delay effect.");
    EXPECT_EQ(enabled["type"], "boolean");
    ASSERT_TRUE(enabled["readOnly"].is_boolean());
    EXPECT_FALSE(enabled["readOnly"].get<bool>());
    ASSERT_TRUE(enabled["default"].is_boolean());
    EXPECT_TRUE(enabled["default"].get<bool>());
}

TEST_F(FxDescribePingPongTest, DelayMsHoldsIntegers) {
    const auto& delayMs = json["properties"]["delayMs"];
    EXPECT_EQ(keysOf(delayMs), (std::vector<std::string>{"description", "type", "default", "min",
                                                         "max", "readOnly"}));
    EXPECT_EQ(delayMs["description"], "The delay time in milliseconds.");
    EXPECT_EQ(delayMs["type"], "int");
    for (const char* key : {"default", "min", "max"}) {
        EXPECT_TRUE(delayMs[key].is_number_integer()) << key << ": " << delayMs[key].dump();
    }
    EXPECT_EQ(delayMs["default"].get<int>(), 200);
    EXPECT_EQ(delayMs["min"].get<int>(), 1);
    EXPECT_EQ(delayMs["max"].get<int>(), 1000);
    ASSERT_TRUE(delayMs["readOnly"].is_boolean());
    EXPECT_FALSE(delayMs["readOnly"].get<bool>());
}

TEST_F(FxDescribePingPongTest, GainsHoldNumbersThatReadBackAsTheirFloats) {
    struct Expected {
        const char* name;
        const char* description;
        float defaultValue;
        float maxValue;
    };
    const Expected gains[] = {
        {"dryMix", "Level of the dry signal. 0 means no dry signal, 1 means maximum dry signal.",
         0.7f, 1.0f},
        {"wetMix", "Level of the wet signal. 0 means no wet signal, 1 means maximum wet signal.",
         0.3f, 1.0f},
        {"feedbackLevel",
         "The feedback level of the delay. 0 means no feedback, 1 means maximum feedback.", 0.2f,
         0.99f},
    };
    for (const Expected& gain : gains) {
        const auto& schema = json["properties"][gain.name];
        EXPECT_EQ(keysOf(schema), (std::vector<std::string>{"description", "type", "default", "min",
                                                            "max", "readOnly"}))
            << gain.name;
        EXPECT_EQ(schema["description"], gain.description);
        EXPECT_EQ(schema["type"], "float");
        for (const char* key : {"default", "min", "max"}) {
            EXPECT_TRUE(schema[key].is_number_float()) << gain.name << "." << key;
        }
        EXPECT_EQ(static_cast<float>(schema["default"].get<double>()), gain.defaultValue);
        EXPECT_EQ(static_cast<float>(schema["min"].get<double>()), 0.0f);
        EXPECT_EQ(static_cast<float>(schema["max"].get<double>()), gain.maxValue);
        EXPECT_FALSE(schema["readOnly"].get<bool>());
    }
    // Written as the short decimal, not the float's full binary expansion.
    EXPECT_EQ(json["properties"]["feedbackLevel"]["max"].get<double>(), 0.99);
    EXPECT_EQ(json["properties"]["dryMix"]["default"].get<double>(), 0.7);
}

// Every type, the ping-pong delay's described in detail above among them: its identity, and
// exactly the properties its descriptor declares, in its order (none for most types).
TEST(FxDescribeTest, EveryTypeHasItsDescriptorsIdentityAndProperties) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::string type = entry.typeName();
        const FxRun run = FxProcess::run({"describe", type});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        const auto json = nlohmann::ordered_json::parse(run.out);
        EXPECT_EQ(json["type"].get<std::string>() + "." + json["subtype"].get<std::string>(), type);
        ASSERT_TRUE(json["properties"].is_object());
        std::vector<std::string> declared;
        for (const auto& property : entry.describe().properties) declared.push_back(property.first);
        std::vector<std::string> described;
        for (const auto& item : json["properties"].items()) described.push_back(item.key());
        EXPECT_EQ(described, declared) << type;
    }
}

// describe takes the names render and params take: a short name in any case, and a full name
// in any case, and prints what the exact full name gives.
TEST(FxDescribeTest, ShortNamesAndFullNamesInAnyCaseDescribeTheSameType) {
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::string type = entry.typeName();
        const FxRun exact = FxProcess::run({"describe", type});
        ASSERT_EQ(exact.exitStatus, 0) << exact.err;
        const std::string shortName(entry.shortName);
        for (const std::string& name : {shortName, inCase(shortName, ::toupper),
                                        inCase(type, ::tolower), inCase(type, ::toupper)}) {
            const FxRun run = FxProcess::run({"describe", name});
            EXPECT_EQ(run.exitStatus, 0) << name << ": " << run.err;
            EXPECT_EQ(run.out, exact.out) << name;
        }
    }
}

TEST(FxDescribeTest, UnknownTypeIsAUsageErrorThatListsTheKnownTypes) {
    const FxRun run = FxProcess::run({"describe", "AudioEffects.Reverb"});
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_TRUE(run.out.empty()) << run.out;
    EXPECT_EQ(countLines(run.err), 1u) << run.err;
    EXPECT_NE(run.err.find("unknown node type 'AudioEffects.Reverb'"), std::string::npos)
        << run.err;
    for (const std::string& type : typesInRegistrationOrder()) {
        EXPECT_NE(run.err.find(type), std::string::npos) << type << " not listed in " << run.err;
    }
}

TEST(FxHelpTest, EverySubcommandHasHelp) {
    for (const char* command : {"list", "describe", "params", "render", "demo"}) {
        const FxRun run = FxProcess::run({command, "--help"});
        EXPECT_EQ(run.exitStatus, 0) << command;
        EXPECT_NE(run.out.find(std::string("Usage: ostrana-fx ") + command), std::string::npos)
            << run.out;
    }
    const FxRun top = FxProcess::run({"--help"});
    EXPECT_EQ(top.exitStatus, 0);
    for (const char* command : {"list", "describe", "params", "render", "demo"}) {
        EXPECT_NE(top.out.find(command), std::string::npos) << command;
    }
}

TEST(FxHelpTest, RenderHelpListsEachTypesParametersWithRangeAndDefault) {
    const FxRun run = FxProcess::run({"render", "--help"});
    ASSERT_EQ(run.exitStatus, 0);
    EXPECT_NE(run.out.find("  AudioEffects.PingPongDelay (ping-pong-delay)\n"
                           "    enabled: switch, off or on, default on\n"
                           "    delayMs: whole number, 1 to 1000 ms, default 200\n"
                           "    dryMix: real number, 0 to 1, default 0.7\n"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("    sweepWidth: real number, 0 to 0.05 s, default 0.025\n"
                           "    frequency: real number, 0.01 to 5 Hz, default 0.2\n"),
              std::string::npos)
        << run.out;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        const std::size_t at = run.out.find("  " + entry.typeName() + " (");
        ASSERT_NE(at, std::string::npos) << entry.typeName();
        for (const NodeParameter& parameter : entry.parameters) {
            EXPECT_NE(run.out.find("    " + std::string(parameter.name) + ": ", at),
                      std::string::npos)
                << entry.typeName() << " " << parameter.name;
        }
    }
}

TEST(FxUsageTest, MissingOrUnknownCommandIsAUsageError) {
    const FxRun none = FxProcess::run({});
    EXPECT_EQ(none.exitStatus, 2);
    EXPECT_EQ(countLines(none.err), 1u) << none.err;
    const FxRun unknown = FxProcess::run({"mix"});
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_EQ(countLines(unknown.err), 1u) << unknown.err;
    EXPECT_NE(unknown.err.find("unknown command 'mix'"), std::string::npos) << unknown.err;
}

}  // namespace
}  // namespace ostrana::fx::testing
