#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ostrana::fuzz {

// Hands out a fuzzer's input bytes as typed values, front to back. Once the bytes run out,
// every value reads as zero, so any input, however short, is a complete program.
class ByteReader {
  public:
    ByteReader(const std::uint8_t* data, std::size_t size);

    bool empty() const { return position_ >= size_; }
    std::size_t remaining() const { return empty() ? 0 : size_ - position_; }

    std::uint8_t takeByte();
    std::uint16_t takeUint16();
    std::uint32_t takeUint32();
    bool takeBool() { return (takeByte() & 1) != 0; }
    // Four bytes as a float bit pattern: any float at all, NaNs and infinities included.
    float takeFloatBits();
    // A number in [0, count); count must be positive.
    unsigned int takeIndex(unsigned int count);
    // A text of up to maxLength raw bytes (zero bytes included), its length taken first.
    std::string takeString(std::size_t maxLength);

  private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

}  // namespace ostrana::fuzz
