#pragma once

#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/sdk/AudioBusFormat.h>

namespace ostrana::extensions::audioeffects {

// What the chorus, flanger and vibrato nodes share outside the sample work: the formats they
// take, following the format from block to block, and building their lines and oscillators.
struct SweptNodeRules {
    // The formats match and carry fewer than 3 channels.
    static bool acceptsBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat);
    // Clears every line when the block's rate or channel count differs from the previous
    // block's, and records both. The check is inline: it runs every block.
    static void followFormat(unsigned int sampleRate, unsigned int numberOfChannels,
                             unsigned int& lastSampleRate, unsigned int& lastNumberOfChannels,
                             std::vector<audio::CircularBuffer>& lines) {
        if (sampleRate == lastSampleRate && numberOfChannels == lastNumberOfChannels) return;
        clearLines(lines);
        lastSampleRate = sampleRate;
        lastNumberOfChannels = numberOfChannels;
    }
    // Every line zero-filled and its pointers at 0.
    static void clearLines(std::vector<audio::CircularBuffer>& lines);
    // The lines of a node of the given channel capacity, zero-filled.
    static std::vector<audio::CircularBuffer> makeLines(unsigned int numberOfChannels);
    // An oscillator of the given frequency and phase offset, swinging from 0 to 1.
    static audio::LFO makeOscillator(float frequency, float phaseOffset);
    // Phase offset of channel i's oscillator, in radians: degrees per channel (90, a quarter
    // cycle, gives pi/2 exactly), formed in double.
    static float phaseOffsetOf(unsigned int channel, float degrees);
};

}  // namespace ostrana::extensions::audioeffects
