#pragma once

#include <cstddef>
#include <cstdint>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/sdk/Node.h>

namespace ostrana::extensions::audioeffects {

// Where the tail after an input ends: the silence a front end runs through its nodes once the
// input is over, so that echoes and swept delay lines ring out. The front end asks how many
// frames of silence to process next (framesToFeed), processes them, and hands the output to
// take(), which says how many of those frames belong to the tail. Every front end uses this
// one rule, so that a file rendered by one ends where it ends in the others.
//
// An automatic tail ends with the first stretch of output that stays below kQuietLevel on every
// channel for kQuietSeconds, or for the chain's longest delay where that is longer (an echo
// effect is silent for up to its delay time between two echoes, and that gap is no end; see
// quietSecondsAfter). The quiet frames are kept, so that the sound dies away rather than
// stops. At the latest the tail ends at its longest length. A tail that reaches that cap has its
// last kFadeSeconds faded to silence in place, so that it ends without a click, and capped() says
// so for a warning. A fixed tail is exactly its length, untouched. Runs on any thread; allocates
// nothing.
class OSTRANA_AUDIOEFFECTS_EXPORT TailTracker {
  public:
    // -100 dBFS.
    static constexpr float kQuietLevel = 1e-5f;
    static constexpr double kQuietSeconds = 0.05;
    static constexpr double kFadeSeconds = 0.05;
    static constexpr double kLongestSeconds = 30.0;

    // Throws std::invalid_argument for a sample rate of 0 or a length that is negative, not a
    // number, or more frames than 2^53.
    static TailTracker automatic(unsigned int sampleRate, double longestSeconds = kLongestSeconds,
                                 double quietSeconds = kQuietSeconds);
    static TailTracker fixed(unsigned int sampleRate, double seconds);

    // The quiet stretch that ends an automatic tail after a node of this catalogue entry with
    // its current settings at sampleRate: kQuietSeconds, or the node's longest delay where that
    // is longer (its delay time, or its sweep width, and the entry's extraDelaySamples, which
    // make the chorus's echoes up to 21 ms further apart at 48 kHz and 125 ms at 8 kHz). A chain
    // takes the largest over its nodes.
    static double quietSecondsAfter(const NodeTypeEntry& entry, Node& node,
                                    unsigned int sampleRate);
    // The same without the entry's extraDelaySamples, for callers that do not know the rate:
    // too short for the chorus with feedback, whose echoes can come further apart than this.
    static double quietSecondsAfter(const NodeTypeEntry& entry, Node& node);

    // Frames of silence to process next: at most maxFrames, and 0 once the tail is complete.
    std::size_t framesToFeed(std::size_t maxFrames) const;

    // Takes the output of the next frames of the tail: channels rows of frames samples, or
    // frames interleaved frames of channels samples. Returns how many of the frames belong to
    // the tail: all of them, or fewer when the tail ends among them.
    std::size_t take(float* const* rows, unsigned int channels, std::size_t frames);
    std::size_t takeInterleaved(float* samples, unsigned int channels, std::size_t frames);

    bool complete() const { return complete_; }
    // Whether an automatic tail ended at its cap rather than by falling quiet.
    bool capped() const { return capped_; }
    // The frames of the tail taken so far.
    std::uint64_t frames() const { return taken_; }

  private:
    TailTracker(bool automatic, unsigned int sampleRate, double seconds, double quietSeconds);

    // Takes one frame whose samples sample(channel) gives (and fade scales); false when the
    // tail ended before it.
    template <typename SampleAt>
    bool takeFrame(SampleAt sampleAt, unsigned int channels);
    float fadeGain() const;

    bool automatic_;
    std::uint64_t length_;
    std::uint64_t quietNeeded_;
    std::uint64_t fadeFrames_;
    std::uint64_t taken_ = 0;
    std::uint64_t quietRun_ = 0;
    bool complete_ = false;
    bool capped_ = false;
};

}  // namespace ostrana::extensions::audioeffects
