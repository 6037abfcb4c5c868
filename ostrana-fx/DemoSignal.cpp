#include "DemoSignal.h"

#include <algorithm>
#include <cmath>

#include "NoiseGenerator.h"

namespace ostrana::fx {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kRate = DemoSignal::kSampleRate;

std::size_t toFrame(double seconds) {
    return static_cast<std::size_t>(std::lround(seconds * kRate));
}

struct Note {
    double start;
    double frequency;
    double pan;  // 0 is left, 1 is right
};

// An A minor phrase, alternating sides so that stereo effects have something to move.
constexpr Note kNotes[] = {
    {0.0, 220.00, 0.30}, {0.4, 261.63, 0.70}, {0.8, 329.63, 0.35}, {1.2, 392.00, 0.65},
    {1.6, 440.00, 0.50}, {2.2, 329.63, 0.30}, {2.6, 293.66, 0.70}, {3.0, 220.00, 0.50},
};
constexpr double kKicks[] = {0.0, 0.8, 1.6, 2.4, 3.2};
constexpr double kClicks[] = {0.4, 1.2, 2.0, 2.8, 3.6};

}  // namespace

DemoSignal::DemoSignal() : left_(toFrame(kSeconds), 0.0), right_(toFrame(kSeconds), 0.0) {}

std::vector<float> DemoSignal::synthesise() {
    DemoSignal signal;
    unsigned int seed = 1;
    for (const Note& note : kNotes) signal.addPluck(note.start, note.frequency, note.pan, seed++);
    for (double start : kKicks) signal.addKick(start);
    for (double start : kClicks) signal.addClick(start, seed++);
    signal.addNoiseBurst(3.8, 0.3, seed++);
    return signal.normalisedInterleaved(0.5);
}

void DemoSignal::add(std::size_t frame, double left, double right) {
    if (frame >= left_.size()) return;
    left_[frame] += left;
    right_[frame] += right;
}

// Karplus-Strong: a burst of noise circulating in a one-period ring through a gentle
// averaging filter decays like a plucked string.
void DemoSignal::addPluck(double startSeconds, double frequency, double pan, unsigned int seed) {
    const std::size_t period = static_cast<std::size_t>(std::lround(kRate / frequency));
    NoiseGenerator noise(seed);
    std::vector<double> ring(period);
    for (double& value : ring) value = noise.nextSample();
    const double leftGain = std::cos(pan * kPi / 2.0) * 0.6;
    const double rightGain = std::sin(pan * kPi / 2.0) * 0.6;
    const std::size_t start = toFrame(startSeconds);
    const std::size_t length = toFrame(1.0);
    const std::size_t fadeLength = toFrame(0.05);
    std::size_t position = 0;
    for (std::size_t n = 0; n < length; ++n) {
        const std::size_t next = (position + 1) % period;
        const double sample = ring[position];
        ring[position] = 0.5 * (ring[position] + ring[next]) * 0.996;
        position = next;
        const std::size_t remaining = length - n;
        const double fade =
            remaining < fadeLength ? static_cast<double>(remaining) / fadeLength : 1;
        add(start + n, sample * leftGain * fade, sample * rightGain * fade);
    }
}

// A sine whose pitch falls quickly from about 150 Hz to 40 Hz under a short decay.
void DemoSignal::addKick(double startSeconds) {
    const std::size_t start = toFrame(startSeconds);
    const std::size_t length = toFrame(0.35);
    double phase = 0.0;
    for (std::size_t n = 0; n < length; ++n) {
        const double t = static_cast<double>(n) / kRate;
        const double frequency = 40.0 + 110.0 * std::exp(-t / 0.03);
        const double fade = static_cast<double>(length - n) / static_cast<double>(length);
        const double sample = std::sin(phase) * std::exp(-t / 0.15) * fade * 0.8;
        phase += 2.0 * kPi * frequency / kRate;
        add(start + n, sample, sample);
    }
}

// A few milliseconds of sharply decaying noise, like a closed hi-hat.
void DemoSignal::addClick(double startSeconds, unsigned int seed) {
    NoiseGenerator noise(seed);
    const std::size_t start = toFrame(startSeconds);
    const std::size_t length = toFrame(0.04);
    for (std::size_t n = 0; n < length; ++n) {
        const double t = static_cast<double>(n) / kRate;
        const double sample = noise.nextSample() * std::exp(-t / 0.006) * 0.5;
        add(start + n, sample, sample);
    }
}

// Independent noise on each side under a raised-cosine window.
void DemoSignal::addNoiseBurst(double startSeconds, double lengthSeconds, unsigned int seed) {
    NoiseGenerator noise(seed);
    const std::size_t start = toFrame(startSeconds);
    const std::size_t length = toFrame(lengthSeconds);
    for (std::size_t n = 0; n < length; ++n) {
        const double window =
            0.5 - 0.5 * std::cos(2.0 * kPi * static_cast<double>(n) / static_cast<double>(length));
        const double left = noise.nextSample() * window * 0.3;
        const double right = noise.nextSample() * window * 0.3;
        add(start + n, left, right);
    }
}

std::vector<float> DemoSignal::normalisedInterleaved(double peak) const {
    double largest = 0.0;
    for (std::size_t i = 0; i < left_.size(); ++i) {
        largest = std::max({largest, std::fabs(left_[i]), std::fabs(right_[i])});
    }
    const double gain = largest > 0.0 ? peak / largest : 0.0;
    std::vector<float> interleaved(left_.size() * kChannels);
    for (std::size_t i = 0; i < left_.size(); ++i) {
        interleaved[i * kChannels] = static_cast<float>(left_[i] * gain);
        interleaved[i * kChannels + 1] = static_cast<float>(right_[i] * gain);
    }
    return interleaved;
}

}  // namespace ostrana::fx
