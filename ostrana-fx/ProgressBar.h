#pragma once

#include <chrono>
#include <cstdint>

namespace ostrana::fx {

// A one-line progress bar on standard error: a bar, the percentage, the time spent and the
// time left. It fits the terminal's width, read again at every redraw so that it follows a
// resize, and is redrawn in place when the percentage changes or half a second has passed.
// Without a known length it shows the frames done. A disabled bar draws nothing. Drawing
// formats into fixed buffers: no allocation.
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
    using Clock = std::chrono::steady_clock;

    static int terminalWidth();
    void draw(std::uint64_t framesDone, double elapsedSeconds);

    bool enabled_;
    bool drawn_ = false;
    std::uint64_t totalFrames_;
    int shownPercent_ = -1;
    Clock::time_point start_;
    Clock::time_point lastDraw_;
};

}  // namespace ostrana::fx
