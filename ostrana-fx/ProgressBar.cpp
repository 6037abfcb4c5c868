#include "ProgressBar.h"

#include <unistd.h>

#include <cstdio>

namespace ostrana::fx {

namespace {

constexpr int kBarWidth = 40;
// Without a known length the bar shows a frame count, redrawn at this spacing.
constexpr std::uint64_t kFramesBetweenCounts = 65536;

}  // namespace

bool ProgressBar::wanted(bool quiet) {
    return !quiet && isatty(STDERR_FILENO) == 1;
}

ProgressBar::ProgressBar(bool enabled, std::uint64_t totalFrames)
    : enabled_(enabled), totalFrames_(totalFrames) {}

ProgressBar::~ProgressBar() {
    finish();
}

void ProgressBar::update(std::uint64_t framesDone) {
    if (!enabled_) return;
    if (totalFrames_ == 0) {
        if (drawn_ && framesDone - shownFrames_ < kFramesBetweenCounts) return;
        shownFrames_ = framesDone;
        draw(framesDone);
        return;
    }
    const int percent =
        static_cast<int>(framesDone >= totalFrames_ ? 100 : framesDone * 100 / totalFrames_);
    if (percent == shownPercent_) return;
    shownPercent_ = percent;
    draw(framesDone);
}

void ProgressBar::draw(std::uint64_t framesDone) {
    char line[128];
    int length = 0;
    if (totalFrames_ == 0) {
        length = std::snprintf(line, sizeof line, "\rrendering %llu frames",
                               static_cast<unsigned long long>(framesDone));
    } else {
        char bar[kBarWidth + 1];
        const int filled = shownPercent_ * kBarWidth / 100;
        for (int i = 0; i < kBarWidth; ++i) bar[i] = i < filled ? '#' : '-';
        bar[kBarWidth] = '\0';
        length = std::snprintf(line, sizeof line, "\rrendering [%s] %3d%%", bar, shownPercent_);
    }
    if (length > 0) std::fwrite(line, 1, static_cast<std::size_t>(length), stderr);
    std::fflush(stderr);
    drawn_ = true;
}

void ProgressBar::finish() {
    if (!enabled_ || !drawn_) return;
    // Carriage return, erase to the end of the line.
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    drawn_ = false;
}

}  // namespace ostrana::fx
