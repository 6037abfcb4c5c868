#include "JackProbe.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <thread>

namespace ostrana::lv2::testing {

namespace {

constexpr const char* kOutputNames[2] = {"out_1", "out_2"};
constexpr const char* kInputNames[2] = {"in_1", "in_2"};
constexpr double kToneHz = 441.0;

using Clock = std::chrono::steady_clock;

Clock::time_point after(double seconds) {
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

JackProbe::JackProbe(const std::string& server, double seconds) {
    // The attempts before the server is up each print a complaint; keep them quiet.
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
    const auto deadline = after(seconds);
    while (client_ == nullptr && Clock::now() < deadline) {
        jack_status_t status;
        client_ = jack_client_open("ostrana-probe",
                                   static_cast<jack_options_t>(JackNoStartServer | JackServerName),
                                   &status, server.c_str());
        if (client_ == nullptr) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    if (client_ == nullptr) return;
    for (int i = 0; i < 2; ++i) {
        outputs_[i] = jack_port_register(client_, kOutputNames[i], JACK_DEFAULT_AUDIO_TYPE,
                                         JackPortIsOutput, 0);
        inputs_[i] = jack_port_register(client_, kInputNames[i], JACK_DEFAULT_AUDIO_TYPE,
                                        JackPortIsInput, 0);
    }
    jack_set_process_callback(client_, &JackProbe::process, this);
    jack_set_xrun_callback(client_, &JackProbe::xrun, this);
    if (jack_activate(client_) != 0) {
        jack_client_close(client_);
        client_ = nullptr;
    }
}

JackProbe::~JackProbe() {
    if (client_ != nullptr) {
        jack_deactivate(client_);
        jack_client_close(client_);
    }
}

int JackProbe::process(jack_nframes_t frames, void* argument) {
    auto* probe = static_cast<JackProbe*>(argument);
    const double step = 2.0 * M_PI * kToneHz / jack_get_sample_rate(probe->client_);
    for (int port = 0; port < 2; ++port) {
        auto* out = static_cast<float*>(jack_port_get_buffer(probe->outputs_[port], frames));
        for (jack_nframes_t frame = 0; frame < frames; ++frame) {
            out[frame] = static_cast<float>(0.5 * std::sin(probe->phase_ + step * frame));
        }
    }
    probe->phase_ = std::fmod(probe->phase_ + step * frames, 2.0 * M_PI);
    double energy = 0;
    unsigned long nonFinite = 0;
    for (int port = 0; port < 2; ++port) {
        const auto* in =
            static_cast<const float*>(jack_port_get_buffer(probe->inputs_[port], frames));
        for (jack_nframes_t frame = 0; frame < frames; ++frame) {
            if (!std::isfinite(in[frame]))
                ++nonFinite;
            else
                energy += static_cast<double>(in[frame]) * in[frame];
        }
    }
    probe->energy_.store(probe->energy_.load() + energy);
    probe->nonFinite_ += nonFinite;
    ++probe->cycles_;
    return 0;
}

int JackProbe::xrun(void* argument) {
    ++static_cast<JackProbe*>(argument)->xruns_;
    return 0;
}

bool JackProbe::waitForPort(const std::string& name, double seconds) {
    const auto deadline = after(seconds);
    while (Clock::now() < deadline) {
        if (jack_port_by_name(client_, name.c_str()) != nullptr) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

bool JackProbe::connect(const std::string& source, const std::string& destination) {
    // A client's ports appear before the client is activated, and JACK refuses connections to
    // an inactive client: a program that registers more ports (jalv with an atom port) can be
    // caught in between, so a refused connection is tried again for a while.
    const auto deadline = after(5);
    for (;;) {
        const int result = jack_connect(client_, source.c_str(), destination.c_str());
        if (result == 0 || result == EEXIST) return true;
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

bool JackProbe::connectThrough(const std::string inputs[2], const std::string outputs[2]) {
    bool connected = true;
    for (int i = 0; i < 2; ++i) {
        connected = connect(jack_port_name(outputs_[i]), inputs[i]) && connected;
        connected = connect(outputs[i], jack_port_name(inputs_[i])) && connected;
    }
    return connected;
}

JackReport JackProbe::measure(double seconds) {
    cycles_ = 0;
    xruns_ = 0;
    energy_ = 0;
    nonFinite_ = 0;
    JackReport report;
    unsigned int samples = 0;
    const auto deadline = after(seconds);
    while (Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const double load = jack_cpu_load(client_);
        report.meanLoad += load;
        report.maxLoad = std::max(report.maxLoad, load);
        ++samples;
    }
    report.meanLoad = samples == 0 ? 0 : report.meanLoad / samples;
    report.cycles = cycles_;
    report.xruns = xruns_;
    report.inputEnergy = energy_;
    report.nonFinite = nonFinite_;
    return report;
}

}  // namespace ostrana::lv2::testing
