#pragma once

#include <cstddef>
#include <cstdint>

#include "LevelMeter.h"
#include "NodeChain.h"
#include "ProgressBar.h"
#include "SampleSource.h"
#include "SoundFileWriter.h"

namespace ostrana::fx {

// What a render did: how much audio went through and how long it took.
struct RenderStatistics {
    std::uint64_t frames = 0;
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
    Renderer(SampleSource& source, NodeChain& chain, SoundFileWriter& writer,
             unsigned int blockFrames);

    void setProgressBar(ProgressBar* progressBar) { progressBar_ = progressBar; }
    void setLevelMeter(LevelMeter* levelMeter) { levelMeter_ = levelMeter; }

    // Renders everything the source holds; throws a CommandError when reading or writing
    // fails. The writer is not committed here.
    RenderStatistics run();

  private:
    // Frames read and written at a time, at the least (rounded up to whole blocks).
    static constexpr std::size_t kChunkFrames = 8192;

    // Reads until maxFrames frames are in or the source ends; returns how many.
    std::size_t fillChunk(float* interleaved, std::size_t maxFrames);
    void deinterleaveInput(const float* interleaved, std::size_t frames);
    void interleaveOutput(float* interleaved, std::size_t frames) const;

    SampleSource& source_;
    NodeChain& chain_;
    SoundFileWriter& writer_;
    unsigned int blockFrames_;
    unsigned int channels_;
    ProgressBar* progressBar_ = nullptr;
    LevelMeter* levelMeter_ = nullptr;
};

}  // namespace ostrana::fx
