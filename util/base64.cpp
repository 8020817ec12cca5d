#include <array>
#include <string_view>

#include "qmv/util.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kPadding = 64;
constexpr unsigned char kSkip = 65;

/// What each input byte stands for: a symbol's value, kPadding or kSkip.
constexpr std::array<unsigned char, 256> make_decode_table() {
    std::array<unsigned char, 256> table{};
    table.fill(kSkip);
    for (size_t i = 0; i < kAlphabet.size(); ++i)
        table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<unsigned char>(i);
    table['='] = kPadding;
    return table;
}

constexpr auto kDecode = make_decode_table();

/// Writes the four characters of a group of 24 bits.
char *put_group(char *out, unsigned group) {
    for (int shift = 18; shift >= 0; shift -= 6)
        *out++ = kAlphabet[(group >> shift) & 0x3F];
    return out;
}

/// Collects symbols into groups of four, and writes the bytes of each.
class Decoder {
  public:
    Decoder(unsigned char *out, int size) : out_(out), size_(size) {}

    /// Takes one symbol. Returns 0, or the result of a failure.
    int take(unsigned char symbol) {
        if (symbol != kPadding && group_bytes_ < 3)
            return -1;
        if (symbol == kPadding && --group_bytes_ < 0)
            return -1;
        bits_ = (bits_ << 6) | (symbol & 0x3F);
        if (++symbols_ < 4)
            return 0;
        symbols_ = 0;
        return write_group();
    }

    [[nodiscard]] int finish() const { return symbols_ == 0 ? written_ : -1; }

  private:
    int write_group() {
        if (size_ - written_ < group_bytes_)
            return -2;
        for (int i = 0; i < group_bytes_; ++i)
            out_[written_++] = static_cast<unsigned char>(bits_ >> (16 - 8 * i));
        bits_ = 0;
        return 0;
    }

    unsigned char *out_;
    int size_;
    int written_ = 0;
    int group_bytes_ = 3;  // never reset: nothing may follow a padding character
    int symbols_ = 0;
    unsigned bits_ = 0;
};

}  // namespace

int base64_encode(char *out, int out_size, const unsigned char *in, int in_len) {
    const unsigned length = in_len > 0 ? static_cast<unsigned>(in_len) : 0;
    const long long needed = (static_cast<long long>(length) + 2) / 3 * 4 + 1;
    if (out == nullptr || (in == nullptr && length > 0) || out_size < needed)
        return -1;
    char *end = out;
    const unsigned whole = length - length % 3;
    for (unsigned i = 0; i < whole; i += 3)
        end = put_group(end, (unsigned{in[i]} << 16) | (unsigned{in[i + 1]} << 8) | in[i + 2]);
    if (whole < length) {
        const bool two = length - whole == 2;
        end =
            put_group(end, (unsigned{in[whole]} << 16) | (two ? unsigned{in[whole + 1]} << 8 : 0));
        end[-1] = '=';
        if (!two)
            end[-2] = '=';
    }
    *end = '\0';
    return static_cast<int>(end - out);
}

int base64_decode(unsigned char *out, int out_size, const char *in, int in_len) {
    if (in_len < 1)
        return 0;
    if (out == nullptr || in == nullptr)
        return -1;
    Decoder decoder(out, out_size);
    for (const char c : std::string_view(in, static_cast<size_t>(in_len))) {
        const unsigned char symbol = kDecode[static_cast<unsigned char>(c)];
        if (symbol == kSkip)
            continue;
        const int failure = decoder.take(symbol);
        if (failure != 0)
            return failure;
    }
    return decoder.finish();
}
