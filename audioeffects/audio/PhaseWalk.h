#pragma once

namespace ostrana::audio {

// The phases of an oscillator stepped by a fixed increment: what stepping one at a time gives,
// bit for bit (next = increment + phase in single precision, less 1 once if that reaches 1),
// without waiting on each step's addition. Within a binade of the phase (the floats from one
// power of two to the next) every float is a whole number of the binade's spacing u, and
// adding the increment rounds it to the same whole number of u each time (unless it lies
// exactly halfway between two, where the rounding goes to an even multiple), so the phases
// there form an exact arithmetic run. Steps that cross into the next binade, or wrap, are
// taken one at a time; so is everything outside the usual case (an increment that is not
// positive and below 1, a phase outside [0, 1) or tiny).
class PhaseWalk {
  public:
    // phases[i] receives the phase before step i, for i < steps, starting at phase; returns
    // the phase after the last step.
    static float walk(float phase, float increment, float* phases, unsigned int steps);

    // One step, as the oscillator takes it.
    static float step(float phase, float increment) {
        const float next = increment + phase;
        return next >= 1.0f ? next - 1.0f : next;
    }
};

}  // namespace ostrana::audio
