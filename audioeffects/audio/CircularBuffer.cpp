#include <algorithm>
#include <stdexcept>

#include <ostrana/audio/CircularBuffer.h>

namespace ostrana::audio {

CircularBuffer::CircularBuffer(int size) : size_(size) {
    if (size <= 0) throw std::invalid_argument("CircularBuffer: size must be positive");
    data_ = std::make_unique<float[]>(static_cast<std::size_t>(size));
}

void CircularBuffer::reset() {
    std::fill(data_.get(), data_.get() + size_, 0.0f);
    readPointer_ = 0;
    writePointer_ = 0;
}

}  // namespace ostrana::audio
