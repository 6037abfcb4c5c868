// The bundle through the LV2 tools people use: lv2_validate (sord_validate with LV2's own
// Turtle files), lv2ls and lv2info with LV2_PATH set to the build, and lv2apply, whose output
// must be bit-identical to ostrana-fx render at --block 1 with the same parameters.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>

#include "ExpectedPlugins.h"
#include "ReferenceNode.h"
#include "TempDirectory.h"
#include "ToolProcess.h"
#include "WavFile.h"

namespace ostrana::lv2::testing {

namespace {

using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterValue;
using fx::testing::firstBitDifference;
using fx::testing::TempDirectory;
using fx::testing::WavFile;

constexpr bool kSanitized = OSTRANA_LV2_SANITIZED;

std::vector<std::string> lv2Environment() {
    return {"LV2_PATH=" + bundleParentDirectory()};
}

std::vector<std::string> bundleTurtleFiles() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(bundleDirectory())) {
        if (entry.path().extension() == ".ttl") files.push_back(entry.path().string());
    }
    return files;
}

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST(Lv2Validate, FindsNoErrorAgainstLv2sOwnTurtleFiles) {
    std::vector<std::string> command{"lv2_validate"};
    const std::vector<std::string> files = bundleTurtleFiles();
    EXPECT_EQ(files.size(), 3u);
    command.insert(command.end(), files.begin(), files.end());
    const ToolResult result = ToolProcess::run(command);
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    const std::string output = result.out + result.err;
    EXPECT_NE(output.find("Found 0 errors"), std::string::npos) << output;
    EXPECT_EQ(output.find("error:"), std::string::npos) << output;
}

TEST(Lv2Ls, FindsEveryPluginAndNothingElse) {
    const ToolResult result = ToolProcess::run({"lv2ls"}, lv2Environment());
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    std::vector<std::string> listed;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) listed.push_back(line);
    }
    std::vector<std::string> wanted;
    for (const ExpectedPlugin& plugin : expectedPlugins()) wanted.push_back(plugin.uri);
    std::sort(listed.begin(), listed.end());
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(listed, wanted);
}

// The Turtle block of the port with this symbol in lv2info's description of a plug-in.
std::string portDescription(const std::string& turtle, std::string_view symbol) {
    const std::size_t at = turtle.find("lv2:symbol \"" + std::string(symbol) + "\"");
    if (at == std::string::npos) return "";
    const std::size_t start = turtle.rfind('[', at);
    return turtle.substr(start, turtle.find(']', at) - start);
}

class Lv2Info : public ::testing::TestWithParam<ExpectedPlugin> {};

TEST_P(Lv2Info, ShowsEveryPortWithItsRangeAndUnit) {
    TempDirectory directory;
    const std::string described = directory.file("plugin.ttl");
    const ToolResult result = ToolProcess::run({"lv2info", GetParam().uri}, lv2Environment());
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const ToolResult describing =
        ToolProcess::run({"lv2info", "-p", described, GetParam().uri}, lv2Environment());
    ASSERT_EQ(describing.exitStatus, 0) << describing.err;
    const std::string& text = result.out;
    const std::string turtle = fx::testing::readBytes(described);
    const ExpectedPlugin& plugin = GetParam();
    const std::size_t ports = plugin.portCount();
    for (std::size_t index = 0; index < ports; ++index) {
        EXPECT_NE(text.find("Port " + std::to_string(index) + ":"), std::string::npos) << index;
    }
    EXPECT_EQ(text.find("Port " + std::to_string(ports) + ":"), std::string::npos);
    for (const NodeParameter& parameter : plugin.entry->parameters) {
        SCOPED_TRACE(std::string(parameter.name));
        // The port's lines, from its symbol up to the next port.
        const std::size_t start = text.find("Symbol:      " + std::string(parameter.name) + "\n");
        ASSERT_NE(start, std::string::npos) << text;
        const std::string block = text.substr(start, text.find("Port ", start) - start);
        const auto numberAfter = [&](const std::string& label) {
            std::smatch match;
            const std::regex pattern(label + ":\\s+([-0-9.e+]+)");
            EXPECT_TRUE(std::regex_search(block, match, pattern)) << label << " in " << block;
            return match.empty() ? 0.0 : std::stod(match[1]);
        };
        EXPECT_EQ(parameterValueOf(parameter, numberAfter("Minimum")), parameter.minimum);
        EXPECT_EQ(parameterValueOf(parameter, numberAfter("Maximum")), parameter.maximum);
        // The delays' glide starts at the plug-ins' own default (50 ms), every other port at
        // the catalogue's.
        if (parameter.name == "glide") {
            EXPECT_EQ(static_cast<float>(numberAfter("Default")), portDefaultOf(parameter));
        } else {
            EXPECT_EQ(parameterValueOf(parameter, numberAfter("Default")), parameter.defaultValue);
        }
        // lv2info prints no unit; its Turtle description of the plug-in (-p) carries it.
        std::string unit(unitSymbol(portUnitOf(parameter).unit));
        for (char& c : unit) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        // LV2's units vocabulary spells degrees out.
        if (portUnitOf(parameter).unit == extensions::audioeffects::ParameterUnit::Degrees) {
            unit = "degree";
        }
        const std::string port = portDescription(turtle, parameter.name);
        ASSERT_FALSE(port.empty()) << turtle;
        const std::string unitStatement =
            "<http://lv2plug.in/ns/extensions/units#unit> "
            "<http://lv2plug.in/ns/extensions/units#" +
            unit + ">";
        EXPECT_EQ(port.find(unitStatement) != std::string::npos, !unit.empty()) << port;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, Lv2Info, ::testing::ValuesIn(expectedPlugins()), pluginName);

// One value of a parameter: its name, the text lv2apply takes for its port (in the port's
// unit) and the text ostrana-fx takes (in the parameter's).
struct SettingValue {
    std::string name;
    std::string portText;
    std::string fxText;
};
using Setting = std::vector<SettingValue>;

SettingValue settingValue(const NodeParameter& parameter, const ParameterValue& value) {
    const std::string name(parameter.name);
    if (parameter.kind == ParameterKind::Switch) {
        const std::string text = std::get<bool>(value) ? "1" : "0";
        return {name, text, text};
    }
    return {name, extensions::audioeffects::formatValue(portValueOf(parameter, value)),
            extensions::audioeffects::formatValue(value)};
}

// The defaults (no value given), every maximum, every minimum (the effect switched off), and
// the middle of every range.
std::vector<Setting> settingsOf(const ExpectedPlugin& plugin) {
    Setting maxima;
    Setting minima;
    Setting middles;
    for (const NodeParameter& parameter : plugin.entry->parameters) {
        maxima.push_back(settingValue(parameter, parameter.maximum));
        minima.push_back(settingValue(parameter, parameter.minimum));
        const double middle =
            (std::visit([](auto v) { return static_cast<double>(v); }, parameter.minimum) +
             std::visit([](auto v) { return static_cast<double>(v); }, parameter.maximum)) /
            2;
        middles.push_back(settingValue(parameter, parameter.fromNumber(middle)));
    }
    return {Setting{}, maxima, minima, middles};
}

class Lv2Apply : public ::testing::TestWithParam<ExpectedPlugin> {};

TEST_P(Lv2Apply, IsBitIdenticalToOstranaFxAtBlockOne) {
    if (kSanitized) {
        GTEST_SKIP() << "a plug-in built with a sanitizer cannot be loaded into lv2apply, which "
                        "is built without one; the release build runs this test";
    }
    const ExpectedPlugin& plugin = GetParam();
    TempDirectory directory;
    const std::string input = directory.file("in.wav");
    // The plug-in reads a file of its inputs' channels; ostrana-fx the same audio on every
    // channel of the node (a mono-to-stereo plug-in's one input on both).
    const Channels planar = asHeard(plugin, makeInput(plugin.channels, 72000, 48000));
    std::vector<float> interleaved;
    std::vector<float> pluginInput;
    for (std::size_t frame = 0; frame < planar[0].size(); ++frame) {
        for (const auto& channel : planar) interleaved.push_back(channel[frame]);
        for (unsigned int channel = 0; channel < plugin.inputs(); ++channel) {
            pluginInput.push_back(planar[channel][frame]);
        }
    }
    WavFile::write(input, plugin.inputs(), 48000, pluginInput, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const std::string nodeInput = directory.file("node-in.wav");
    WavFile::write(nodeInput, plugin.channels, 48000, interleaved, SF_FORMAT_WAV | SF_FORMAT_FLOAT);

    const std::vector<Setting> settings = settingsOf(plugin);
    for (std::size_t index = 0; index < settings.size(); ++index) {
        SCOPED_TRACE("setting " + std::to_string(index));
        const std::string viaLv2 = directory.file("lv2-" + std::to_string(index) + ".wav");
        const std::string viaFx = directory.file("fx-" + std::to_string(index) + ".wav");
        std::vector<std::string> apply{"lv2apply", "-i", input, "-o", viaLv2};
        std::vector<std::string> render{
            OSTRANA_FX_PATH,         "render", nodeInput, viaFx, "--quiet", "--tail", "0", "--node",
            plugin.entry->typeName()};
        for (const SettingValue& value : settings[index]) {
            apply.insert(apply.end(), {"-c", value.name, value.portText});
            render.insert(render.end(), {"--set", value.name + "=" + value.fxText});
        }
        apply.push_back(plugin.uri);
        render.insert(render.end(), {"--block", "1"});
        const ToolResult applied = ToolProcess::run(apply, lv2Environment());
        ASSERT_EQ(applied.exitStatus, 0) << applied.out << applied.err;
        const ToolResult rendered = ToolProcess::run(render);
        ASSERT_EQ(rendered.exitStatus, 0) << rendered.out << rendered.err;

        const WavFile lv2 = WavFile::read(viaLv2);
        const WavFile fx = WavFile::read(viaFx);
        EXPECT_EQ(lv2.format & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
        EXPECT_EQ(lv2.channels, plugin.channels);
        EXPECT_EQ(lv2.samples.size(), interleaved.size());
        EXPECT_EQ(lv2.samples.size(), fx.samples.size());
        EXPECT_EQ(firstBitDifference(lv2.samples, fx.samples), -1);
        // Switched off (every minimum), the effect passes its input; otherwise it changes it.
        const bool switchedOff = index == 2;
        EXPECT_EQ(firstBitDifference(lv2.samples, interleaved) == -1, switchedOff);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, Lv2Apply, ::testing::ValuesIn(expectedPlugins()), pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
