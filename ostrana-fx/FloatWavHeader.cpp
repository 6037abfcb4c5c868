#include "FloatWavHeader.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace ostrana::fx {

namespace {

// The header as libsndfile lays it out: RIFF, WAVE, "fmt " (16), "fact" (4), "PAD " (n).
constexpr std::size_t kFmtSize = 16;
constexpr std::size_t kFactAt = 12 + 8 + kFmtSize;  // 36
constexpr std::size_t kPadAt = kFactAt + 12;        // 48
constexpr std::size_t kRewritten = kPadAt + 10;     // up to the moved PAD chunk's size
constexpr std::uint16_t kIeeeFloat = 3;

std::uint32_t readLittle32(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

void writeLittle32(unsigned char* bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

bool tagIs(const unsigned char* bytes, const char* tag) {
    return std::memcmp(bytes, tag, 4) == 0;
}

}  // namespace

bool FloatWavHeader::addExtensionSize(int descriptor) {
    std::array<unsigned char, kRewritten> header{};
    if (pread(descriptor, header.data(), header.size(), 0) != static_cast<ssize_t>(header.size())) {
        return false;
    }
    const unsigned char* h = header.data();
    const bool expected = tagIs(h, "RIFF") && tagIs(h + 8, "WAVE") && tagIs(h + 12, "fmt ") &&
                          readLittle32(h + 16) == kFmtSize && (h[20] | h[21] << 8) == kIeeeFloat &&
                          tagIs(h + kFactAt, "fact") && readLittle32(h + kFactAt + 4) == 4 &&
                          tagIs(h + kPadAt, "PAD ") && readLittle32(h + kPadAt + 4) >= 4;
    if (!expected) return false;
    // fmt: 16 bytes of format, then the extension size 0; fact and PAD follow two bytes later.
    std::array<unsigned char, kRewritten> rewritten = header;
    unsigned char* r = rewritten.data();
    writeLittle32(r + 16, kFmtSize + 2);
    r[20 + kFmtSize] = 0;
    r[21 + kFmtSize] = 0;
    std::memcpy(r + kFactAt + 2, h + kFactAt, 12);
    std::memcpy(r + kPadAt + 2, "PAD ", 4);
    writeLittle32(r + kPadAt + 6, readLittle32(h + kPadAt + 4) - 2);
    return pwrite(descriptor, r, kRewritten, 0) == static_cast<ssize_t>(kRewritten);
}

}  // namespace ostrana::fx
