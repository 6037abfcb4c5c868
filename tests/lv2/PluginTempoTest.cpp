// Tempo sync of the delays: the host's time:Position on the time port sets the delay time to
// the division at its tempo while sync is on; without the port connected, or with sync off,
// the delay time control rules as before.
#include <gtest/gtest.h>
#include <lilv/lilv.h>
#include <lv2/atom/forge.h>
#include <lv2/time/time.h>
#include <lv2/urid/urid.h>

#include <cstring>
#include <string>
#include <vector>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"

namespace ostrana::lv2::testing {

namespace {

constexpr std::uint32_t kBlock = 4096;

// The host's URI map: each URI its index from 1.
class UriMap {
  public:
    UriMap() : map_{this, &UriMap::map}, feature_{LV2_URID__map, &map_} {}
    LV2_URID_Map* map() { return &map_; }
    const LV2_Feature* feature() const { return &feature_; }

  private:
    static LV2_URID map(LV2_URID_Map_Handle handle, const char* uri) {
        auto& uris = static_cast<UriMap*>(handle)->uris_;
        for (std::size_t index = 0; index < uris.size(); ++index) {
            if (uris[index] == uri) return static_cast<LV2_URID>(index + 1);
        }
        uris.emplace_back(uri);
        return static_cast<LV2_URID>(uris.size());
    }
    std::vector<std::string> uris_;
    LV2_URID_Map map_;
    LV2_Feature feature_;
};

// A delay plug-in run in blocks: dry 0, wet 1, no feedback, so the output is the echo alone.
class SyncedDelay {
  public:
    SyncedDelay(const BundleWorld& world, const ExpectedPlugin& expected, double rate,
                bool connectTime)
        : world_(world), plugin_(world.plugin(expected.uri)) {
        const LV2_Feature* features[] = {uris_.feature(), nullptr};
        instance_ = lilv_plugin_instantiate(plugin_, rate, features);
        if (instance_ == nullptr) return;
        controls_.resize(lilv_plugin_get_num_ports(plugin_), 0.0f);
        in_.assign(expected.inputs(), std::vector<float>(kBlock, 0.0f));
        out_.assign(expected.channels, std::vector<float>(kBlock, 0.0f));
        for (std::uint32_t index = 0; index < lilv_plugin_get_num_ports(plugin_); ++index) {
            connect(index, connectTime);
        }
        set("dryMix", 0.0f);
        set("wetMix", 1.0f);
        set("feedbackLevel", 0.0f);
        set("delayMs", 200.0f);
        set("enabled", 1.0f);
        set("division", division("1/8"));
        lv2_atom_forge_init(&forge_, uris_.map());
        lilv_instance_activate(instance_);
    }
    ~SyncedDelay() {
        if (instance_ != nullptr) lilv_instance_free(instance_);
    }
    SyncedDelay(const SyncedDelay&) = delete;
    SyncedDelay& operator=(const SyncedDelay&) = delete;

    bool ok() const { return instance_ != nullptr; }
    void set(const std::string& symbol, float value) { controls_[portIndex(symbol)] = value; }
    // The value of the division port's scale point with this label.
    float division(const std::string& label) {
        const LilvPort* port = lilv_plugin_get_port_by_index(plugin_, portIndex("division"));
        LilvScalePoints* points = lilv_port_get_scale_points(plugin_, port);
        float value = -1.0f;
        LILV_FOREACH(scale_points, i, points) {
            const LilvScalePoint* point = lilv_scale_points_get(points, i);
            if (label == lilv_node_as_string(lilv_scale_point_get_label(point))) {
                value = lilv_node_as_float(lilv_scale_point_get_value(point));
            }
        }
        lilv_scale_points_free(points);
        EXPECT_GE(value, 0.0f) << "no division " << label;
        return value;
    }
    // The next block carries a time:Position of this tempo, in beats of a quarter note.
    void sendTempo(float beatsPerMinute) {
        LV2_URID_Map* map = uris_.map();
        const auto urid = [map](const char* uri) { return map->map(map->handle, uri); };
        lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<std::uint8_t*>(sequence_.data()),
                                  sequence_.size() * sizeof(std::uint64_t));
        LV2_Atom_Forge_Frame sequenceFrame;
        lv2_atom_forge_sequence_head(&forge_, &sequenceFrame, 0);
        lv2_atom_forge_frame_time(&forge_, 0);
        LV2_Atom_Forge_Frame objectFrame;
        lv2_atom_forge_object(&forge_, &objectFrame, 0, urid(LV2_TIME__Position));
        lv2_atom_forge_key(&forge_, urid(LV2_TIME__beatsPerMinute));
        lv2_atom_forge_float(&forge_, beatsPerMinute);
        lv2_atom_forge_key(&forge_, urid(LV2_TIME__beatUnit));
        lv2_atom_forge_int(&forge_, 4);
        lv2_atom_forge_key(&forge_, urid(LV2_TIME__speed));
        lv2_atom_forge_float(&forge_, 1.0f);
        lv2_atom_forge_pop(&forge_, &objectFrame);
        lv2_atom_forge_pop(&forge_, &sequenceFrame);
    }
    // Runs blocks for frames (rounded up to whole blocks), an impulse at the first frame when
    // asked; returns the frame of the first non-zero output sample, or -1.
    long run(std::size_t frames, bool impulse) {
        for (auto& channel : in_) channel[0] = impulse ? 1.0f : 0.0f;
        long first = -1;
        for (std::size_t done = 0; done < frames; done += kBlock) {
            lilv_instance_run(instance_, kBlock);
            emptySequence();
            for (auto& channel : in_) channel[0] = 0.0f;
            for (const auto& channel : out_) {
                for (std::size_t frame = 0; frame < kBlock; ++frame) {
                    if (channel[frame] != 0.0f && first < 0) {
                        first = static_cast<long>(done + frame);
                    }
                }
            }
        }
        return first;
    }
    long echoAfterImpulse(unsigned int rate) { return run(rate, true); }
    // Two seconds of silence, after which every line is empty.
    void empty(unsigned int rate) { EXPECT_EQ(run(2 * rate, false), -1); }

  private:
    std::uint32_t portIndex(const std::string& symbol) {
        LilvNode* node = lilv_new_string(world_.world(), symbol.c_str());
        const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin_, node);
        lilv_node_free(node);
        EXPECT_NE(port, nullptr) << symbol;
        return port == nullptr ? 0 : lilv_port_get_index(plugin_, port);
    }
    void connect(std::uint32_t index, bool connectTime) {
        const LilvPort* port = lilv_plugin_get_port_by_index(plugin_, index);
        const std::string symbol = lilv_node_as_string(lilv_port_get_symbol(plugin_, port));
        void* data = &controls_[index];
        if (symbol == "time") {
            emptySequence();
            data = connectTime ? sequence_.data() : nullptr;
        } else if (symbol.rfind("in", 0) == 0) {
            data = in_[symbol == "in_r" ? 1 : 0].data();
        } else if (symbol.rfind("out", 0) == 0) {
            data = out_[symbol == "out_r" ? 1 : 0].data();
        }
        lilv_instance_connect_port(instance_, index, data);
    }
    void emptySequence() {
        auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(sequence_.data());
        sequence->atom.size = sizeof(LV2_Atom_Sequence_Body);
        sequence->atom.type = uris_.map()->map(uris_.map()->handle, LV2_ATOM__Sequence);
        sequence->body.unit = 0;
        sequence->body.pad = 0;
    }

    const BundleWorld& world_;
    const LilvPlugin* plugin_;
    UriMap uris_;
    LilvInstance* instance_ = nullptr;
    std::vector<float> controls_;
    std::vector<std::vector<float>> in_;
    std::vector<std::vector<float>> out_;
    std::vector<std::uint64_t> sequence_ = std::vector<std::uint64_t>(512);
    LV2_Atom_Forge forge_{};
};

std::vector<ExpectedPlugin> delayPlugins() {
    std::vector<ExpectedPlugin> delays;
    for (const ExpectedPlugin& plugin : expectedPlugins()) {
        if (plugin.hasTempoSync()) delays.push_back(plugin);
    }
    return delays;
}

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

class PluginTempo : public ::testing::TestWithParam<ExpectedPlugin> {};

TEST_P(PluginTempo, AnEighthAt120BpmEchoesAfterExactlyAQuarterSecondAtEveryRate) {
    BundleWorld world;
    for (unsigned int rate : {44100u, 48000u, 96000u}) {
        SCOPED_TRACE(rate);
        SyncedDelay delay(world, GetParam(), rate, true);
        ASSERT_TRUE(delay.ok());
        delay.set("sync", 1.0f);
        delay.sendTempo(120.0f);
        EXPECT_EQ(delay.echoAfterImpulse(rate), static_cast<long>(rate / 4));
    }
}

TEST_P(PluginTempo, ANewTempoMovesTheEchoAndEveryDivisionFollows) {
    BundleWorld world;
    const unsigned int rate = 48000;
    SyncedDelay delay(world, GetParam(), rate, true);
    ASSERT_TRUE(delay.ok());
    delay.set("sync", 1.0f);
    delay.sendTempo(120.0f);
    EXPECT_EQ(delay.echoAfterImpulse(rate), 12000);  // 0.25 s
    delay.empty(rate);
    delay.sendTempo(60.0f);
    EXPECT_EQ(delay.echoAfterImpulse(rate), 24000);  // 0.5 s
    delay.empty(rate);
    // A triplet eighth at 60 BPM: a third of a second, to the nearest millisecond (333 ms).
    delay.set("division", delay.division("1/8 triplet"));
    EXPECT_EQ(delay.echoAfterImpulse(rate), 333 * 48);
    delay.empty(rate);
    // A dotted quarter at 150 BPM: 0.6 s.
    delay.sendTempo(150.0f);
    delay.set("division", delay.division("1/4 dotted"));
    EXPECT_EQ(delay.echoAfterImpulse(rate), 600 * 48);
}

TEST_P(PluginTempo, WithoutTheTimePortOrWithSyncOffTheDelayTimeControlRules) {
    BundleWorld world;
    const unsigned int rate = 48000;
    {
        SCOPED_TRACE("time port not connected, sync on");
        SyncedDelay delay(world, GetParam(), rate, false);
        ASSERT_TRUE(delay.ok());
        delay.set("sync", 1.0f);
        EXPECT_EQ(delay.echoAfterImpulse(rate), 200 * 48);
    }
    {
        SCOPED_TRACE("tempo sent, sync off");
        SyncedDelay delay(world, GetParam(), rate, true);
        ASSERT_TRUE(delay.ok());
        delay.sendTempo(120.0f);
        EXPECT_EQ(delay.echoAfterImpulse(rate), 200 * 48);
        delay.empty(rate);
        // Switched on later, the tempo already sent applies.
        delay.set("sync", 1.0f);
        EXPECT_EQ(delay.echoAfterImpulse(rate), 250 * 48);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryDelay, PluginTempo, ::testing::ValuesIn(delayPlugins()), pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
