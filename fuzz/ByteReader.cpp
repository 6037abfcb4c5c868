#include "ByteReader.h"

#include <cstring>

namespace ostrana::fuzz {

ByteReader::ByteReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

std::uint8_t ByteReader::takeByte() {
    if (empty()) return 0;
    return data_[position_++];
}

std::uint16_t ByteReader::takeUint16() {
    const std::uint16_t low = takeByte();
    const std::uint16_t high = takeByte();
    return static_cast<std::uint16_t>(low | (high << 8));
}

std::uint32_t ByteReader::takeUint32() {
    const std::uint32_t low = takeUint16();
    const std::uint32_t high = takeUint16();
    return low | (high << 16);
}

float ByteReader::takeFloatBits() {
    const std::uint32_t bits = takeUint32();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

unsigned int ByteReader::takeIndex(unsigned int count) {
    if (count <= 256) return takeByte() % count;
    return takeUint32() % count;
}

std::string ByteReader::takeString(std::size_t maxLength) {
    const std::size_t length = takeByte() % (maxLength + 1);
    std::string text;
    for (std::size_t i = 0; i < length && !empty(); ++i) {
        text.push_back(static_cast<char>(takeByte()));
    }
    return text;
}

}  // namespace ostrana::fuzz
