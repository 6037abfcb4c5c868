#include "audio/PhaseWalk.h"

#include <bit>
#include <cstdint>

namespace ostrana::audio {

namespace {

// How many steps from phase stay on one exact run (at most wanted), and the step of that run;
// 0 steps where the next step must be taken one at a time.
struct Run {
    unsigned int length;
    float step;
};

// Phases below this are taken one at a time: their binade's spacing is no normal float.
constexpr float kSmallestPhase = 0x1p-100f;
constexpr std::uint32_t kExponentOne = 1u << 23;

Run runFrom(float phase, float increment, unsigned int wanted) {
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

// phases[j] = start + j * step for j < count: exact for the runs above, where both are whole
// numbers of the spacing and their sum stays below the top. Built for the widest vectors the
// processor has.
[[gnu::target_clones("avx512f", "avx2", "default")]] void fillRun(float* phases, float start,
                                                                  float step, int count) {
    for (int j = 0; j < count; ++j) phases[j] = start + static_cast<float>(j) * step;
}

}  // namespace

float PhaseWalk::walk(float phase, float increment, float* phases, unsigned int steps) {
    unsigned int i = 0;
    while (i < steps) {
        const Run run = runFrom(phase, increment, steps - i);
        if (run.length == 0) {
            phases[i++] = phase;
            phase = step(phase, increment);
            continue;
        }
        const unsigned int length = run.length < steps - i ? run.length : steps - i;
        fillRun(phases + i, phase, run.step, static_cast<int>(length));
        phase += static_cast<float>(length) * run.step;
        i += length;
    }
    return phase;
}

}  // namespace ostrana::audio
