#pragma once

namespace ostrana::fx {

// Float WAV files as libsndfile writes them have a 16-byte "fmt " chunk, without the
// extension-size field that the format asks of every non-PCM WAV; SoX warns about that on
// every read. libsndfile also writes a "PAD " chunk before the data, so the field can be
// added in place: the "fmt " chunk grows by two bytes and the "PAD " chunk shrinks by two,
// and nothing after them moves.
class FloatWavHeader {
  public:
    // Completes the header of the finished file open at descriptor when it has exactly that
    // layout; leaves any other file alone. Returns whether it changed the file.
    static bool addExtensionSize(int descriptor);
};

}  // namespace ostrana::fx
