#pragma once

namespace ostrana::extensions::audioeffects {

// Every delay line holds 48000 samples at 48 kHz and below: one second at 48 kHz, and the
// length a cleared delay line or a delay beyond the line's end gives.
inline constexpr int kDelayLineLength = 48000;

// The highest sample rate at which the delay and the ping-pong delay keep their longest delay
// (1000 ms) true. A higher rate works with the lines of this one.
inline constexpr unsigned int kHighestLineSampleRate = 384000;

// The longest delay the delay and the ping-pong delay offer, in milliseconds.
inline constexpr unsigned int kLongestDelayMs = 1000;

// Samples in the line of the delay and the ping-pong delay at a sample rate: 48000 at 48 kHz
// and below, so that results there stay what they have always been; above 48 kHz exactly the
// longest delay at that rate, trunc(1000 * (rate / 1000.0)), which is the rate itself, up to
// kHighestLineSampleRate.
constexpr int echoLineLengthFor(unsigned int sampleRate) {
    static_assert(kLongestDelayMs == 1000, "the line holds one second at the rate");
    if (sampleRate <= static_cast<unsigned int>(kDelayLineLength)) return kDelayLineLength;
    if (sampleRate >= kHighestLineSampleRate) return static_cast<int>(kHighestLineSampleRate);
    return static_cast<int>(sampleRate);
}

static_assert(echoLineLengthFor(0) == kDelayLineLength);
static_assert(echoLineLengthFor(48000) == kDelayLineLength);
static_assert(echoLineLengthFor(96000) == 96000);
static_assert(echoLineLengthFor(4000000000u) == 384000);

}  // namespace ostrana::extensions::audioeffects
