#include <array>

#include "bench/literal/literal.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int kPadding = -1;
constexpr int kSkip = -2;

constexpr std::array<signed char, 256> make_symbols() {
    std::array<signed char, 256> symbols{};
    symbols.fill(kSkip);
    for (unsigned i = 0; i < 64; ++i)
        symbols[static_cast<unsigned char>(kAlphabet[i])] = static_cast<signed char>(i);
    symbols['='] = kPadding;
    return symbols;
}

constexpr std::array<signed char, 256> kSymbols = make_symbols();

/// Symbol `index` of a text: its 6 bits, cut from one or two bytes.
char symbol(const unsigned char *in, int in_len, int index) {
    const int bit = index * 6;
    const int byte = bit / 8;
    const unsigned high = in[byte];
    const unsigned low = byte + 1 < in_len ? in[byte + 1] : 0;
    return kAlphabet[((high << 8 | low) >> (10 - bit % 8)) & 0x3F];
}

}  // namespace

namespace literal {

int base64_encode(char *out, int out_size, const unsigned char *in, int in_len) {
    const int length = (in_len + 2) / 3 * 4;
    if (out_size < length + 1)
        return -1;
    const int symbols = (in_len * 8 + 5) / 6;
    for (int i = 0; i < length; ++i)
        out[i] = i < symbols ? symbol(in, in_len, i) : '=';
    out[length] = '\0';
    return length;
}

int base64_decode(unsigned char *out, int out_size, const char *in, int in_len) {
    int written = 0;
    int group = 3;
    int symbols = 0;
    unsigned bits = 0;
    for (int i = 0; i < in_len; ++i) {
        const int value = kSymbols[static_cast<unsigned char>(in[i])];
        if (value == kSkip)
            continue;
        if (value == kPadding) {
            if (--group < 0)
                return -1;
        } else if (group < 3) {
            return -1;
        }
        bits = bits << 6 | (value == kPadding ? 0U : static_cast<unsigned>(value));
        if (++symbols < 4)
            continue;
        if (out_size < written + group)
            return -2;
        for (int byte = 0; byte < group; ++byte)
            out[written++] = static_cast<unsigned char>(bits >> (16 - 8 * byte));
        symbols = 0;
        bits = 0;
    }
    return symbols > 0 ? -1 : written;
}

}  // namespace literal
