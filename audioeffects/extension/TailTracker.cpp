#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <variant>

#include <ostrana/audioeffects/TailTracker.h>

namespace ostrana::extensions::audioeffects {

namespace {

// Frames beyond this could not be counted exactly in a double.
constexpr double kMostFrames = 9007199254740992.0;  // 2^53

std::uint64_t framesOf(double seconds, unsigned int sampleRate) {
    const double frames = seconds * sampleRate;
    if (!(seconds >= 0.0) || !(frames <= kMostFrames)) {
        throw std::invalid_argument("a tail length must be 0 seconds or more, and finite");
    }
    return static_cast<std::uint64_t>(std::llround(frames));
}

// kQuietSeconds, or the node's delay time or sweep width and beyond seconds more where that is
// longer. A sweep width that is not finite sweeps nowhere: the stretch stays finite.
double quietSecondsBeyond(const NodeTypeEntry& entry, Node& node, double beyond) {
    double seconds = TailTracker::kQuietSeconds;
    if (const NodeParameter* delay = entry.findParameter("delayMs")) {
        seconds = std::max(seconds, std::get<unsigned int>(delay->read(node)) / 1000.0 + beyond);
    }
    if (const NodeParameter* sweep = entry.findParameter("sweepWidth")) {
        const auto width = static_cast<double>(std::get<float>(sweep->read(node)));
        if (std::isfinite(width)) seconds = std::max(seconds, std::max(width, 0.0) + beyond);
    }
    return seconds;
}

}  // namespace

TailTracker::TailTracker(bool automatic, unsigned int sampleRate, double seconds,
                         double quietSeconds)
    : automatic_(automatic) {
    if (sampleRate == 0) throw std::invalid_argument("a tail needs a sample rate of 1 Hz or more");
    length_ = framesOf(seconds, sampleRate);
    quietNeeded_ = std::max<std::uint64_t>(1, framesOf(quietSeconds, sampleRate));
    fadeFrames_ = std::min(length_, std::max<std::uint64_t>(1, framesOf(kFadeSeconds, sampleRate)));
    complete_ = length_ == 0;
}

TailTracker TailTracker::automatic(unsigned int sampleRate, double longestSeconds,
                                   double quietSeconds) {
    return TailTracker(true, sampleRate, longestSeconds, quietSeconds);
}

TailTracker TailTracker::fixed(unsigned int sampleRate, double seconds) {
    return TailTracker(false, sampleRate, seconds, kQuietSeconds);
}

double TailTracker::quietSecondsAfter(const NodeTypeEntry& entry, Node& node) {
    return quietSecondsBeyond(entry, node, 0.0);
}

double TailTracker::quietSecondsAfter(const NodeTypeEntry& entry, Node& node,
                                      unsigned int sampleRate) {
    if (sampleRate == 0) throw std::invalid_argument("a tail needs a sample rate of 1 Hz or more");
    return quietSecondsBeyond(entry, node,
                              static_cast<double>(entry.extraDelaySamples) / sampleRate);
}

std::size_t TailTracker::framesToFeed(std::size_t maxFrames) const {
    if (complete_) return 0;
    return static_cast<std::size_t>(std::min<std::uint64_t>(maxFrames, length_ - taken_));
}

// Falls linearly over the last fadeFrames_ frames of the longest tail, to 0 at its last frame.
float TailTracker::fadeGain() const {
    const std::uint64_t left = length_ - taken_ - 1;
    if (!automatic_ || left >= fadeFrames_) return 1.0f;
    return static_cast<float>(static_cast<double>(left) / static_cast<double>(fadeFrames_));
}

template <typename SampleAt>
bool TailTracker::takeFrame(SampleAt sampleAt, unsigned int channels) {
    if (complete_) return false;
    bool quiet = true;
    const float gain = fadeGain();
    for (unsigned int channel = 0; channel < channels; ++channel) {
        float& sample = sampleAt(channel);
        // Not a number is not quiet.
        if (!(std::fabs(sample) < kQuietLevel)) quiet = false;
        if (gain != 1.0f) sample *= gain;
    }
    ++taken_;
    quietRun_ = quiet ? quietRun_ + 1 : 0;
    if (automatic_ && quietRun_ >= quietNeeded_) {
        complete_ = true;
    } else if (taken_ == length_) {
        complete_ = true;
        capped_ = automatic_;
    }
    return true;
}

std::size_t TailTracker::take(float* const* rows, unsigned int channels, std::size_t frames) {
    std::size_t kept = 0;
    while (
        kept < frames &&
        takeFrame([&](unsigned int channel) -> float& { return rows[channel][kept]; }, channels)) {
        ++kept;
    }
    return kept;
}

std::size_t TailTracker::takeInterleaved(float* samples, unsigned int channels,
                                         std::size_t frames) {
    std::size_t kept = 0;
    while (kept < frames &&
           takeFrame(
               [&](unsigned int channel) -> float& { return samples[kept * channels + channel]; },
               channels)) {
        ++kept;
    }
    return kept;
}

}  // namespace ostrana::extensions::audioeffects
