#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
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

#ifdef QMV_SMALL
/// Writes the four characters of a group of 24 bits.
char *put_group(char *out, unsigned group) {
    out[0] = kAlphabet[group >> 18];
    out[1] = kAlphabet[(group >> 12) & 0x3F];
    out[2] = kAlphabet[(group >> 6) & 0x3F];
    out[3] = kAlphabet[group & 0x3F];
    return out + 4;
}
#else
using Pair = std::array<char, 2>;

/// The two characters of 12 bits. It costs 8 KiB.
constexpr std::array<Pair, 4096> make_pairs() {
    std::array<Pair, 4096> pairs{};
    for (size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 0x3F]};
    return pairs;
}

constexpr auto kPairs = make_pairs();

/// Writes the four characters of a group of 24 bits.
char *put_group(char *out, unsigned group) {
    std::memcpy(out, kPairs[group >> 12].data(), 2);
    std::memcpy(out + 2, kPairs[group & 0xFFF].data(), 2);
    return out + 4;
}
#endif

/// Collects symbols into groups of four, and writes the bytes of each.
class Decoder {
  public:
    Decoder(unsigned char *out, int size) : out_(out), size_(size) {}

    /// Decodes groups of four symbols as long as nothing else comes. Returns where it stopped.
    const unsigned char *take_groups(const unsigned char *in, const unsigned char *end) {
        if (symbols_ != 0 || group_bytes_ != 3)
            return in;
        unsigned char *out = out_ + written_;
        auto groups = std::min<std::ptrdiff_t>((end - in) / 4, (size_ - written_) / 3);
        for (; groups > 0; --groups, in += 4, out += 3) {
            const unsigned first = kDecode[in[0]];
            const unsigned second = kDecode[in[1]];
            const unsigned third = kDecode[in[2]];
            const unsigned fourth = kDecode[in[3]];
            if ((first | second | third | fourth) >= kPadding)
                break;
            const unsigned group = (first << 18) | (second << 12) | (third << 6) | fourth;
            out[0] = static_cast<unsigned char>(group >> 16);
            out[1] = static_cast<unsigned char>(group >> 8);
            out[2] = static_cast<unsigned char>(group);
        }
        written_ = static_cast<int>(out - out_);
        return in;
    }

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
    const auto *next = reinterpret_cast<const unsigned char *>(in);
    const unsigned char *const end = next + in_len;
    while ((next = decoder.take_groups(next, end)) != end) {
        const unsigned char symbol = kDecode[*next++];
        if (symbol == kSkip)
            continue;
        const int failure = decoder.take(symbol);
        if (failure != 0)
            return failure;
    }
    return decoder.finish();
}
