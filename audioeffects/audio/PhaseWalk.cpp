#include "audio/PhaseWalk.h"

#include <bit>
#include <cstdint>

namespace ostrana::audio {

namespace {

// Phases below this are taken one at a time: their binade's spacing is no normal float.
constexpr float kSmallestPhase = 0x1p-100f;
constexpr std::uint32_t kExponentOne = 1u << 23;

}  // namespace

PhaseWalk::Run PhaseWalk::runFrom(float phase, float increment, unsigned int wanted) {
    if (!(increment > 0.0f && increment < 1.0f && phase >= kSmallestPhase && phase < 1.0f)) {
        return Run{0, 0.0f};
    }
    // The binade [2^e, top) of the phase and its spacing u = 2^(e - 23).
    const std::uint32_t exponent = std::bit_cast<std::uint32_t>(phase) & 0x7f800000u;
    const float top = std::bit_cast<float>(exponent + kExponentOne);
    const float spacing = std::bit_cast<float>(exponent - 23 * kExponentOne);
    const float next = increment + phase;
    if (!(next < top)) return Run{0, 0.0f};
    // increment / spacing is exact (a power of two apart); a fraction of one half is the tie.
    // Below 2^23 spacings its whole part fits an int; from there on it has no fraction.
    const float inSpacings = increment / spacing;
    if (inSpacings < 0x1p23f &&
        inSpacings - static_cast<float>(static_cast<std::int32_t>(inSpacings)) == 0.5f) {
        return Run{0, 0.0f};
    }
    const float step = next - phase;  // exact: both lie in the binade
    // All the steps wanted, where the last of them stays below the top (exact in double).
    if (static_cast<double>(phase) + static_cast<double>(wanted) * static_cast<double>(step) <
        static_cast<double>(top)) {
        return Run{wanted, step};
    }
    // Whole spacings from the phase to the top and in one step (at least one: a step of 0 took
    // every step wanted above): phase + j * step stays below the top for j up to
    // (room - 1) / perStep, each of those steps rounding alike.
    const auto room = static_cast<std::uint32_t>((top - phase) / spacing);
    const auto perStep = static_cast<std::uint32_t>(step / spacing);
    return Run{(room - 1) / perStep, step};
}

}  // namespace ostrana::audio
