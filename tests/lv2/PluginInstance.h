#pragma once

#include <lilv/lilv.h>

#include <cstdint>
#include <string>
#include <vector>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"

namespace ostrana::lv2::testing {

// A plug-in instantiated in process through lilv, with one float of its own per control port.
// Ports are found by symbol: the catalogue's parameter names, and "in"/"out" (one channel) or
// "in_l", "in_r", "out_l", "out_r" (two). The audio ports are connected by the caller, to
// buffers of the caller's choice; a mono-to-stereo plug-in's one input is channel 0's (the
// input given for channel 1 is not connected).
class PluginInstance {
  public:
    // Fails the calling test (and leaves instance() null) when instantiation fails.
    PluginInstance(const BundleWorld& world, const ExpectedPlugin& expected, double sampleRate);
    ~PluginInstance();
    PluginInstance(const PluginInstance&) = delete;
    PluginInstance& operator=(const PluginInstance&) = delete;

    LilvInstance* instance() const { return instance_; }
    // The control port of the catalogue's parameter at this index.
    float& control(std::size_t parameter) { return controls_[parameter]; }
    void connectAudio(unsigned int channel, float* input, float* output);
    void run(std::uint32_t frames) { lilv_instance_run(instance_, frames); }
    void activate() { lilv_instance_activate(instance_); }
    void deactivate() { lilv_instance_deactivate(instance_); }

  private:
    // The index of the port with this symbol; fails the calling test when there is none.
    static std::uint32_t portIndex(const BundleWorld& world, const LilvPlugin* plugin,
                                   const std::string& symbol);

    LilvInstance* instance_ = nullptr;
    std::vector<std::uint32_t> inputPorts_;
    std::vector<std::uint32_t> outputPorts_;
    std::vector<float> controls_;
};

}  // namespace ostrana::lv2::testing
