#pragma once

#include <cstdint>

namespace ostrana::lv2 {

// The plug-in's bypass: a linear crossfade between the processed and the dry signal, frame by
// frame, over a fixed number of frames. Switching the target starts the fade at once from
// wherever the gain is, so a switch back during a fade turns it round without a jump.
class BypassFade {
  public:
    // The fade's length: 20 ms, long enough that the step it adds on a full-scale signal is a
    // thousandth of the signal's swing at 48 kHz, short enough to follow a host's button.
    static constexpr double kSeconds = 0.02;

    explicit BypassFade(unsigned int sampleRate);

    // Jumps to the target with no fade (for the first block after activation).
    void jumpTo(bool processed);
    // Fades towards processed (true) or dry (false) from the next frame.
    void fadeTo(bool processed) { target_ = processed ? length_ : 0; }

    bool fullyProcessed() const { return position_ == length_ && target_ == length_; }
    bool fullyDry() const { return position_ == 0 && target_ == 0; }
    // The gain of the processed signal for the next frame (the dry's is 1 minus it), and the
    // step to the frame after.
    float processedGain() const { return static_cast<float>(position_) / length_; }
    void advance() {
        if (position_ < target_) ++position_;
        if (position_ > target_) --position_;
    }

  private:
    std::uint32_t length_;
    std::uint32_t position_;
    std::uint32_t target_;
};

}  // namespace ostrana::lv2
