#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <ostrana/audioeffects/TailTracker.h>

#include "FrameSink.h"
#include "LevelMeter.h"
#include "NodeChain.h"
#include "ProgressBar.h"
#include "SampleSource.h"

namespace ostrana::fx {

// How much silence follows the input: a fixed length, or (automatic) until the output falls
// quiet, at most longestSeconds (the effects library's TailTracker draws the line).
struct TailLength {
    bool automatic = true;
    double seconds = 0.0;
    double longestSeconds = extensions::audioeffects::TailTracker::kLongestSeconds;
};

// What a render did: how much audio went through and how long it took, and what it found.
struct RenderStatistics {
    std::uint64_t frames = 0;
    std::uint64_t tailFrames = 0;
    // Whether the automatic tail reached its longest before the output fell quiet (and was
    // faded out over its last moments).
    bool tailCapped = false;
    // Input samples that were NaN or infinite (replaced by 0 when sanitising).
    std::uint64_t nonFiniteInput = 0;
    // Output samples beyond full scale, and the largest magnitude among them (only counted
    // for integer output, where they clip).
    std::uint64_t clipped = 0;
    float peak = 0.0f;
    double audioSeconds = 0.0;
    double wallSeconds = 0.0;

    // Seconds of audio per second of wall time; 0 when nothing was timed.
    double realTimeFactor() const { return wallSeconds > 0.0 ? audioSeconds / wallSeconds : 0.0; }
};

// Moves audio block by block from a source through a prepared node chain into a writer.
// Every buffer is made before the first block; the loop itself allocates nothing.
class Renderer {
  public:
    // chain must have been prepared for the source's channels and rate and blockFrames.
    Renderer(SampleSource& source, NodeChain& chain, FrameSink& writer, unsigned int blockFrames);

    void setProgressBar(ProgressBar* progressBar) { progressBar_ = progressBar; }
    void setTail(TailLength tail) { tail_ = tail; }
    // Replace NaN and infinite input samples with 0 (they are counted either way).
    void setSanitize(bool sanitize) { sanitize_ = sanitize; }
    // Count output samples beyond full scale (for integer output formats).
    void setCountClipping(bool countClipping) { countClipping_ = countClipping; }
    void setLevelMeter(LevelMeter* levelMeter) { levelMeter_ = levelMeter; }
    // The file channels the chain processes, in order (--channels); the others pass through
    // untouched. Empty (the default): every channel. The chain must have been prepared for
    // as many channels as are selected.
    void setProcessedChannels(std::vector<unsigned int> channels);
    // Scale the output by gain (--gain, --normalize); 1 leaves it exactly as computed.
    void setGain(float gain) { gain_ = gain; }

    // Renders everything the source holds; throws a CommandError when reading or writing
    // fails. The writer is not committed here.
    RenderStatistics run();

  private:
    // Frames read and written at a time, at the least (rounded up to whole blocks).
    static constexpr std::size_t kChunkFrames = 8192;

    // Reads until maxFrames frames are in or the source ends; returns how many.
    std::size_t fillChunk(float* interleaved, std::size_t maxFrames);
    extensions::audioeffects::TailTracker makeTail();
    // Fills with silence as much of the tail as fits; returns how many frames.
    std::size_t fillTail(const extensions::audioeffects::TailTracker& tail, float* interleaved,
                         std::size_t maxFrames) const;
    // Counts (and, sanitising, clears) non-finite samples.
    void inspectInput(float* interleaved, std::size_t frames, RenderStatistics& statistics) const;
    void inspectOutput(const float* interleaved, std::size_t frames,
                       RenderStatistics& statistics) const;
    void deinterleaveInput(const float* interleaved, std::size_t frames);
    // The chain's block into the output; the channels it does not process come from input.
    void interleaveOutput(float* interleaved, const float* input, std::size_t frames) const;
    void applyGain(float* interleaved, std::size_t frames) const;

    SampleSource& source_;
    NodeChain& chain_;
    FrameSink& writer_;
    unsigned int blockFrames_;
    unsigned int channels_;
    ProgressBar* progressBar_ = nullptr;
    LevelMeter* levelMeter_ = nullptr;
    TailLength tail_{false, 0.0};
    bool sanitize_ = false;
    bool countClipping_ = false;
    float gain_ = 1.0f;
    std::vector<unsigned int> processed_;  // file channel of each chain channel
};

}  // namespace ostrana::fx
