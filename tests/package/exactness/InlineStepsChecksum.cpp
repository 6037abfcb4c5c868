// Runs the building blocks' inline sample steps (<ostrana/audio/LFO.h> and CircularBuffer.h) in
// this program's own compiled code and prints a checksum of every result's bits. Compiled with
// any flags, it must print what the library's own flags give.
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>

namespace {

// FNV-1a over the bits of each value.
struct Checksum {
    std::uint64_t value = 14695981039346656037u;
    void add(float sample) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &sample, sizeof bits);
        for (int byte = 0; byte < 4; ++byte) {
            value = (value ^ ((bits >> (8 * byte)) & 0xffu)) * 1099511628211u;
        }
    }
};

}  // namespace

int main() {
    Checksum oscillator;
    ostrana::audio::LFO lfo;
    lfo.setFrequency(3.7f);
    lfo.setAmplitude(0.8f);
    lfo.setOffset(0.15f);
    lfo.setPhaseOffset(0.3f);
    for (int step = 0; step < 48000; ++step) oscillator.add(lfo.process(48000));
    float block[1000];
    for (int run = 0; run < 48; ++run) {
        lfo.processBlock(44100, block, 1000);
        for (const float value : block) oscillator.add(value);
    }

    Checksum interpolation;
    ostrana::audio::CircularBuffer ring(4800);
    for (int i = 0; i < 4800; ++i) {
        ring.setWritePointer(i);
        ring.writeSample(static_cast<float>(i % 97) * 0.0103f - 0.5f);
    }
    for (int i = 0; i < 48000; ++i) {
        interpolation.add(ring.interpolate(static_cast<float>(i) * 0.3719f));
    }
    std::printf("oscillator %016" PRIx64 " interpolation %016" PRIx64 "\n", oscillator.value,
                interpolation.value);
    return 0;
}
