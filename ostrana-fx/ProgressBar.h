#pragma once

#include <cstdint>

namespace ostrana::fx {

// A one-line progress bar on standard error, redrawn in place when the shown percentage
// changes. A disabled bar draws nothing. Drawing formats into a fixed buffer: no allocation.
class ProgressBar {
  public:
    // Whether a bar belongs on standard error: only on a terminal, and not when quiet.
    static bool wanted(bool quiet);

    ProgressBar(bool enabled, std::uint64_t totalFrames);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void update(std::uint64_t framesDone);
    // Erases the bar, leaving the line free for what follows.
    void finish();

  private:
    void draw(std::uint64_t framesDone);

    bool enabled_;
    bool drawn_ = false;
    std::uint64_t totalFrames_;
    int shownPercent_ = -1;
    std::uint64_t shownFrames_ = 0;
};

}  // namespace ostrana::fx
