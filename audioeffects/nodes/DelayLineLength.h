#pragma once

namespace ostrana::extensions::audioeffects {

// Every delay line of every node holds 48000 samples: one second at 48 kHz, whatever the
// sample rate.
inline constexpr int kDelayLineLength = 48000;

}  // namespace ostrana::extensions::audioeffects
