#pragma once

#include <cstddef>
#include <vector>

namespace ostrana::fx {

// A short musical test signal made entirely in code, the same on every run: a few plucked
// string notes panned across the stereo field, a drum-like pattern of kicks and clicks, a
// burst of noise, then a second of silence for the effects' tails. Stereo, 48 kHz, 5 s,
// peaking at -6 dBFS.
class DemoSignal {
  public:
    static constexpr unsigned int kSampleRate = 48000;
    static constexpr unsigned int kChannels = 2;
    static constexpr double kSeconds = 5.0;

    // The signal as interleaved stereo samples.
    static std::vector<float> synthesise();

  private:
    DemoSignal();

    void addPluck(double startSeconds, double frequency, double pan, unsigned int seed);
    void addKick(double startSeconds);
    void addClick(double startSeconds, unsigned int seed);
    void addNoiseBurst(double startSeconds, double lengthSeconds, unsigned int seed);
    void add(std::size_t frame, double left, double right);
    std::vector<float> normalisedInterleaved(double peak) const;

    std::vector<double> left_;
    std::vector<double> right_;
};

}  // namespace ostrana::fx
