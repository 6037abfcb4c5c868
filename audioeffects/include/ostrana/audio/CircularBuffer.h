#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::audio {

// A fixed ring of float samples with independent read and write pointers: the delay line
// under the delay, chorus, flanger and vibrato nodes. Nothing allocates after construction.
//
// Pointer arithmetic wraps by the ring's size with one remainder that truncates toward
// zero, so a position or step sum as low as -size is brought back into range and anything
// lower is not (the pointer then stays negative, as the remainder leaves it). Every access
// to the samples is nevertheless kept inside the ring, whatever the pointers hold.
//
// The ring owns its storage and can be moved (a vector of rings may grow) but not copied.
class OSTRANA_AUDIOEFFECTS_EXPORT CircularBuffer {
  public:
    // A ring of size zero-filled samples. size must be positive: anything else throws
    // std::invalid_argument, since a ring of no samples cannot wrap.
    explicit CircularBuffer(int size);
    CircularBuffer(CircularBuffer&&) noexcept = default;
    CircularBuffer& operator=(CircularBuffer&&) noexcept = default;
    CircularBuffer(const CircularBuffer&) = delete;
    CircularBuffer& operator=(const CircularBuffer&) = delete;

    int getSize() const { return size_; }
    int getReadPointer() const { return readPointer_; }
    int getWritePointer() const { return writePointer_; }

    void setReadPointer(int position) { readPointer_ = wrap(position); }
    void setWritePointer(int position) { writePointer_ = wrap(position); }
    void stepReadPointer(int steps) { readPointer_ = wrap(std::int64_t{readPointer_} + steps); }
    void stepWritePointer(int steps) { writePointer_ = wrap(std::int64_t{writePointer_} + steps); }

    // The sample at the read pointer; moves nothing.
    float readSample() const { return data_[slot(readPointer_)]; }
    // The sample at an absolute ring position; moves nothing.
    float readSample(int position) const { return data_[slot(wrap(position))]; }
    // Stores at the write pointer; does not advance it.
    void writeSample(float value) { data_[slot(writePointer_)] = value; }

    // Linear interpolation at an absolute, fractional ring position. The mix is formed as
    // (double)(frac * b) + (1.0 - frac) * a in double precision and rounded once to float.
    // A position that is not a number, or too large for an index, gives not-a-number.
    float interpolate(float position) const {
        const float floored = std::floor(position);
        const float frac = position - floored;
        if (!(floored >= -2147483648.0f && floored < 2147483648.0f)) return std::nanf("");
        const std::int64_t index = static_cast<int>(floored);
        const float a = data_[slot(wrap(index))];
        const float b = data_[slot(wrap(index + 1))];
        return mix(a, b, frac);
    }

    // The interpolation's mix of neighbours a and b at fraction frac:
    // (double)(frac * b) + (1.0 - frac) * a in double precision, rounded once to float.
    static float mix(float a, float b, float frac) {
        return static_cast<float>(static_cast<double>(frac * b) +
                                  (1.0 - static_cast<double>(frac)) * static_cast<double>(a));
    }

    // Zeroes every sample and puts both pointers at 0.
    void reset();

    // Samples between the read and the write pointer; equal pointers give 0, never size.
    int getFillLevel() const {
        const int distance = writePointer_ - readPointer_;
        return distance >= 0 ? distance : distance + size_;
    }

    // The ring's storage, for callers that run their own inner loops over it.
    float* getData() { return data_.get(); }
    const float* getData() const { return data_.get(); }

    // (position + size) rem size, with the remainder truncating toward zero. The common cases
    // (one wrap either way) avoid the division; the result is the same.
    int wrap(std::int64_t position) const {
        if (position >= 0 && position < size_) return static_cast<int>(position);
        if (position >= size_ && position < 2 * std::int64_t{size_}) {
            return static_cast<int>(position - size_);
        }
        if (position < 0 && position >= -std::int64_t{size_}) {
            return static_cast<int>(position + size_);
        }
        return static_cast<int>((position + size_) % size_);
    }

  private:
    // An index into the storage: the pointer itself when it lies in the ring, otherwise its
    // floor remainder, so that no access ever leaves the storage (and so never negative).
    std::size_t slot(int index) const {
        if (static_cast<unsigned>(index) < static_cast<unsigned>(size_)) {
            return static_cast<std::size_t>(index);
        }
        const int rest = index % size_;
        return static_cast<std::size_t>(rest < 0 ? rest + size_ : rest);
    }

    int size_;
    std::unique_ptr<float[]> data_;
    int readPointer_ = 0;
    int writePointer_ = 0;
};

}  // namespace ostrana::audio
