#include "ProgressBar.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace ostrana::fx {

namespace {

constexpr int kDefaultWidth = 80;
constexpr int kWidestLine = 512;
constexpr double kSecondsBetweenDraws = 0.5;

// "1:05" or "1:02:03".
void formatDuration(char* out, std::size_t size, double seconds) {
    const long total = static_cast<long>(std::max(0.0, seconds) + 0.5);
    if (total >= 3600) {
        std::snprintf(out, size, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
    } else {
        std::snprintf(out, size, "%ld:%02ld", total / 60, total % 60);
    }
}

}  // namespace

bool ProgressBar::wanted(bool quiet) {
    return !quiet && isatty(STDERR_FILENO) == 1;
}

ProgressBar::ProgressBar(bool enabled, std::uint64_t totalFrames)
    : enabled_(enabled), totalFrames_(totalFrames), start_(Clock::now()), lastDraw_(start_) {}

ProgressBar::~ProgressBar() {
    finish();
}

int ProgressBar::terminalWidth() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return kDefaultWidth;
}

void ProgressBar::update(std::uint64_t framesDone) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    const double sinceDraw = std::chrono::duration<double>(now - lastDraw_).count();
    const int percent =
        totalFrames_ == 0
            ? -1
            : static_cast<int>(framesDone >= totalFrames_ ? 100 : framesDone * 100 / totalFrames_);
    if (drawn_ && percent == shownPercent_ && sinceDraw < kSecondsBetweenDraws) return;
    shownPercent_ = percent;
    lastDraw_ = now;
    draw(framesDone, std::chrono::duration<double>(now - start_).count());
}

void ProgressBar::draw(std::uint64_t framesDone, double elapsedSeconds) {
    // One column fewer than the terminal has, so the cursor never wraps to a new line.
    const int width = std::clamp(terminalWidth() - 1, 1, kWidestLine - 1);
    char elapsed[32];
    formatDuration(elapsed, sizeof elapsed, elapsedSeconds);
    char text[160];
    if (shownPercent_ < 0) {
        std::snprintf(text, sizeof text, " %llu frames, %s",
                      static_cast<unsigned long long>(framesDone), elapsed);
    } else {
        char left[32] = "?";
        if (framesDone > 0) {
            const double remaining =
                elapsedSeconds *
                static_cast<double>(totalFrames_ - std::min(framesDone, totalFrames_)) /
                static_cast<double>(framesDone);
            formatDuration(left, sizeof left, remaining);
        }
        std::snprintf(text, sizeof text, " %3d%% %s elapsed, %s left", shownPercent_, elapsed,
                      left);
    }
    // The bar takes what the text leaves, between "rendering [" and "]".
    char line[kWidestLine + 8];
    int length = std::snprintf(line, sizeof line, "\r\033[K");
    const int textLength = static_cast<int>(std::char_traits<char>::length(text));
    const int barWidth = width - 12 - textLength;
    if (shownPercent_ >= 0 && barWidth >= 10) {
        length += std::snprintf(line + length, sizeof line - length, "rendering [");
        const int filled = shownPercent_ * barWidth / 100;
        for (int i = 0; i < barWidth; ++i) line[length++] = i < filled ? '#' : '-';
        length += std::snprintf(line + length, sizeof line - length, "]%s", text);
    } else {
        // Too narrow for a bar: as much of the text as fits.
        length += std::snprintf(line + length, sizeof line - length, "%.*s", width, text + 1);
    }
    std::fwrite(line, 1, static_cast<std::size_t>(length), stderr);
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
