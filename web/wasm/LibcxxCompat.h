#pragma once
// What the C++20 library of Debian's emscripten (libc++ 14) lacks and the library uses:
// std::bit_cast, and std::to_chars for a float (shortest form that reads back as the same
// float). Included before every source of the WebAssembly build only; each part steps aside
// when the standard library has it.

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <version>

#if !defined(__cpp_lib_bit_cast)
namespace std {

template <typename To, typename From>
requires(sizeof(To) == sizeof(From) && is_trivially_copyable_v<To> &&
         is_trivially_copyable_v<From>) constexpr To bit_cast(const From& from) noexcept {
    return __builtin_bit_cast(To, from);
}

}  // namespace std
#endif

#if !defined(__cpp_lib_to_chars)
namespace std {

// The fewest significant digits (1 to 9) that read back as the same float, in %g's form.
inline to_chars_result to_chars(char* first, char* last, float value) {
    char text[32];
    for (int digits = 1; digits <= 9; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
        if (std::strtof(text, nullptr) == value || digits == 9) break;
    }
    const size_t length = std::strlen(text);
    if (length > static_cast<size_t>(last - first)) return {last, errc::value_too_large};
    std::memcpy(first, text, length);
    return {first + length, errc{}};
}

}  // namespace std
#endif
