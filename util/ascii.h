// Characters and decimal numbers as the library reads them: ASCII only, whatever the locale.
#ifndef QMV_UTIL_ASCII_H
#define QMV_UTIL_ASCII_H

#include <climits>
#include <cstddef>

namespace qmv {

/// Stands for "no limit" wherever characters or bytes are counted.
inline constexpr unsigned kNoLimit = 0xFFFFFFFF;

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// 0x00 to 0x1F and 0x7F; not the bytes of UTF-8 characters, whether char is signed or not.
constexpr bool is_control(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

/// Skips white space; the text may be a changeable one.
template <typename Char>
constexpr Char *skip_space(Char *s) {
    while (is_space(*s))
        ++s;
    return s;
}

template <typename Char>
constexpr Char *skip_blanks(Char *s) {
    while (*s == ' ')
        ++s;
    return s;
}

/// Reads a run of decimal digits, modulo 2^32, and moves the cursor behind it.
constexpr unsigned take_decimal(const char *&cursor) {
    unsigned value = 0;
    for (; is_digit(*cursor); ++cursor)
        value = value * 10 + static_cast<unsigned>(*cursor - '0');
    return value;
}

/// Appends a digit to a number that stays at INT_MAX when it would pass it.
constexpr int append_digit(int number, char digit) {
    int result = 0;
    if (__builtin_mul_overflow(number, 10, &result) ||
        __builtin_add_overflow(result, digit - '0', &result))
        return INT_MAX;
    return result;
}

/// A size as a signed 32-bit count, at most INT_MAX.
template <typename T>
constexpr int clamp_to_int(T size) {
    return size > static_cast<T>(INT_MAX) ? INT_MAX : static_cast<int>(size);
}

}  // namespace qmv

#endif
