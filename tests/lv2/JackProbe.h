#pragma once

#include <jack/jack.h>

#include <atomic>
#include <string>

namespace ostrana::lv2::testing {

// What a probe saw over a stretch of time.
struct JackReport {
    unsigned long cycles = 0;
    unsigned long xruns = 0;
    double meanLoad = 0;  // JACK's DSP load, percent, sampled every 100 ms
    double maxLoad = 0;
    double inputEnergy = 0;  // sum of squares of what came back on the probe's inputs
    unsigned long nonFinite = 0;
};

// The test's own JACK client: it sends a sine on two output ports, listens on two input
// ports, and counts process cycles and xruns.
class JackProbe {
  public:
    // Connects to the named server, waiting up to seconds for it to come up; ok() tells.
    JackProbe(const std::string& server, double seconds);
    ~JackProbe();
    JackProbe(const JackProbe&) = delete;
    JackProbe& operator=(const JackProbe&) = delete;

    bool ok() const { return client_ != nullptr; }
    // Waits up to seconds for a port of this full name to exist.
    bool waitForPort(const std::string& name, double seconds);
    // Connects the probe's outputs to the two given inputs and the two given outputs to the
    // probe's inputs.
    bool connectThrough(const std::string inputs[2], const std::string outputs[2]);
    // Clears the counts, lets seconds pass sampling the load, and reports.
    JackReport measure(double seconds);

  private:
    // Connects two ports by full name; a connection already there counts.
    bool connect(const std::string& source, const std::string& destination);
    static int process(jack_nframes_t frames, void* probe);
    static int xrun(void* probe);

    jack_client_t* client_ = nullptr;
    jack_port_t* outputs_[2] = {nullptr, nullptr};
    jack_port_t* inputs_[2] = {nullptr, nullptr};
    double phase_ = 0;
    std::atomic<unsigned long> cycles_{0};
    std::atomic<unsigned long> xruns_{0};
    std::atomic<double> energy_{0};
    std::atomic<unsigned long> nonFinite_{0};
};

}  // namespace ostrana::lv2::testing
