#pragma once

namespace ostrana::audio {

// The phases of an oscillator stepped by a fixed increment: what stepping one at a time gives,
// bit for bit (next = increment + phase in single precision, less 1 once if that reaches 1),
// without waiting on each step's addition. Within a binade of the phase (the floats from one
// power of two to the next) every float is a whole number of the binade's spacing u, and
// adding the increment rounds it to the same whole number of u each time (unless it lies
// exactly halfway between two, where the rounding goes to an even multiple), so the phases
// there form an exact arithmetic run: phase + j * step, a sum that float and double hold
// exactly. Steps that cross into the next binade, or wrap, are taken one at a time; so is
// everything outside the usual case (an increment that is not positive and below 1, a phase
// outside [0, 1) or tiny).
class PhaseWalk {
  public:
    // How many steps from phase stay on one exact run (at most wanted), and the step of that
    // run; 0 steps where the next step must be taken one at a time.
    struct Run {
        unsigned int length;
        float step;
    };
    static Run runFrom(float phase, float increment, unsigned int wanted);

    // Walks steps steps from phase and returns the phase after the last. The steps go to sink:
    // sink.run(i, start, step, length) for the steps i to i + length - 1, whose phases are
    // start + j * step, and sink.one(i, phase) for a step taken alone.
    template <typename Sink>
    static float walk(float phase, float increment, unsigned int steps, Sink& sink) {
        unsigned int i = 0;
        while (i < steps) {
            const Run run = runFrom(phase, increment, steps - i);
            if (run.length == 0) {
                sink.one(i++, phase);
                phase = step(phase, increment);
                continue;
            }
            const unsigned int length = run.length < steps - i ? run.length : steps - i;
            sink.run(i, phase, run.step, length);
            phase += static_cast<float>(length) * run.step;
            i += length;
        }
        return phase;
    }

    // One step, as the oscillator takes it.
    static float step(float phase, float increment) {
        const float next = increment + phase;
        return next >= 1.0f ? next - 1.0f : next;
    }
};

}  // namespace ostrana::audio
