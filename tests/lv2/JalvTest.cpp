// Each stereo plug-in in jalv, a real LV2 host, on a JACK server of the test's own (the dummy
// backend at 48 kHz, 256-frame periods): it loads, runs with its ports connected to the test's
// own client, passes audio, and exits cleanly when asked to. Xruns and DSP load are printed
// beside a run with no plug-in, and recorded; the machine is shared, so they never fail the test.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <optional>

#include "ExpectedPlugins.h"
#include "JackProbe.h"
#include "JackServer.h"

namespace ostrana::lv2::testing {

namespace {

constexpr double kRunSeconds = 3.0;
constexpr double kStartSeconds = 15.0;

std::string stereoName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

std::vector<ExpectedPlugin> stereoPlugins() {
    std::vector<ExpectedPlugin> plugins;
    for (const ExpectedPlugin& plugin : expectedPlugins()) {
        if (plugin.channels == 2 && plugin.inputs() == 2) plugins.push_back(plugin);
    }
    return plugins;
}

void print(const std::string& what, const JackReport& report) {
    std::printf("[ jack     ] %-28s cycles %lu, xruns %lu, DSP load mean %.2f %% max %.2f %%\n",
                what.c_str(), report.cycles, report.xruns, report.meanLoad, report.maxLoad);
    std::fflush(stdout);
}

void record(const std::string& prefix, const JackReport& report) {
    ::testing::Test::RecordProperty(prefix + "_xruns", std::to_string(report.xruns));
    ::testing::Test::RecordProperty(prefix + "_dsp_load_mean", std::to_string(report.meanLoad));
    ::testing::Test::RecordProperty(prefix + "_dsp_load_max", std::to_string(report.maxLoad));
}

class JalvRun : public ::testing::TestWithParam<ExpectedPlugin> {
  protected:
    void SetUp() override {
        if (kSanitized) {
            GTEST_SKIP() << "a plug-in built with a sanitizer cannot be loaded into jalv, which "
                            "is built without one; the release build runs this test";
        }
    }
    static constexpr bool kSanitized = OSTRANA_LV2_SANITIZED;
};

TEST_P(JalvRun, LoadsRunsWithPortsConnectedAndExitsCleanly) {
    JackServer server;
    std::optional<JackProbe> probe;
    probe.emplace(server.name(), kStartSeconds);
    ASSERT_TRUE(probe->ok()) << "no JACK server " << server.name() << ": " << server.stop().err;

    // The same stretch with no plug-in, for comparison.
    const std::string selfInputs[2] = {"ostrana-probe:in_1", "ostrana-probe:in_2"};
    const std::string selfOutputs[2] = {"ostrana-probe:out_1", "ostrana-probe:out_2"};
    ASSERT_TRUE(probe->connectThrough(selfInputs, selfOutputs));
    const JackReport baseline = probe->measure(kRunSeconds);
    print("no plug-in (probe to itself)", baseline);
    record("baseline", baseline);

    const std::string client = "ostrana-jalv";
    std::vector<std::string> environment = server.clientEnvironment();
    environment.push_back("LV2_PATH=" + bundleParentDirectory());
    // -i: run without reading commands from standard input.
    ToolProcess jalv({"jalv", "-i", "-n", client, "-x", GetParam().uri}, environment);
    const std::string inputs[2] = {client + ":in_l", client + ":in_r"};
    const std::string outputs[2] = {client + ":out_l", client + ":out_r"};
    const bool started =
        probe->waitForPort(outputs[1], kStartSeconds) && probe->waitForPort(inputs[1], 1);
    ASSERT_TRUE(started) << "jalv did not start: " << jalv.stop(SIGKILL, 5).err;
    ASSERT_TRUE(probe->connectThrough(inputs, outputs));
    const JackReport report = probe->measure(kRunSeconds);
    print(GetParam().label() + " in jalv", report);
    record("plugin", report);
    EXPECT_TRUE(jalv.running()) << "jalv ended while running";

    const ToolResult ended = jalv.stop(SIGINT, 10);
    EXPECT_FALSE(ended.timedOut);
    EXPECT_EQ(ended.exitStatus, 0) << ended.out << ended.err;
    EXPECT_GT(report.cycles, 0u);
    // The sine came back through the plug-in, every sample a number.
    EXPECT_GT(report.inputEnergy, 0.0);
    EXPECT_EQ(report.nonFinite, 0u);
    // The probe leaves before the server stops, as jalv did, so that JACK removes its
    // semaphore from /dev/shm.
    probe.reset();
    const ToolResult serverEnded = server.stop();
    EXPECT_FALSE(serverEnded.timedOut) << serverEnded.err;
}

INSTANTIATE_TEST_SUITE_P(EveryStereoPlugin, JalvRun, ::testing::ValuesIn(stereoPlugins()),
                         stereoName);

}  // namespace

}  // namespace ostrana::lv2::testing
