// Base64, there and back and against a plain decoder; CRC-32 bit by bit.
#include <qmv/util.h>

#include <algorithm>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Decodes a text. False when it is not base64.
bool decode(const std::string &text, std::string &bytes) {
    std::string bits;
    std::size_t padding = 0;
    for (const char c : text) {
        const std::size_t value = kAlphabet.find(c);
        if (c == '=')
            ++padding;
        else if (value != kAlphabet.npos && padding > 0)
            return false;
        for (int bit = 5; bit >= 0 && value != kAlphabet.npos; --bit)
            bits += (value >> bit & 1) != 0 ? '1' : '0';
    }
    if (padding > 3 || (bits.size() / 6 + padding) % 4 != 0)
        return false;
    for (std::size_t i = 0; i + 8 <= bits.size(); i += 8)
        bytes += static_cast<char>(std::stoi(bits.substr(i, 8), nullptr, 2));
    return true;
}

unsigned crc_of(unsigned crc, const std::string &bytes) {
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320 : crc >> 1;
    }
    return crc;
}

const unsigned char *unsigned_bytes(const std::string &bytes) {
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned room = input.byte();
    const unsigned start = input.number();
    const std::string bytes = input.rest();
    const int length = static_cast<int>(bytes.size());

    const int needed = (length + 2) / 3 * 4 + 1;
    const std::unique_ptr<char[]> text(new char[static_cast<std::size_t>(needed)]);
    CHECK(base64_encode(text.get(), needed - 1, unsigned_bytes(bytes), length) == -1);
    CHECK(base64_encode(text.get(), needed, unsigned_bytes(bytes), length) == needed - 1);
    CHECK(text[static_cast<std::size_t>(needed) - 1] == '\0');
    std::string decoded;
    CHECK(decode(text.get(), decoded));
    CHECK(decoded == bytes);
    const std::unique_ptr<unsigned char[]> back(new unsigned char[bytes.size()]);
    CHECK(base64_decode(back.get(), length, text.get(), needed - 1) == length);
    CHECK(std::equal(bytes.begin(), bytes.end(), reinterpret_cast<char *>(back.get())));

    const std::unique_ptr<unsigned char[]> out(new unsigned char[room]);
    const int result = base64_decode(out.get(), static_cast<int>(room), bytes.data(), length);
    decoded.clear();
    if (!decode(bytes, decoded)) {
        CHECK(result == -1 || (result == -2 && bytes.size() / 4 * 3 > room));
    } else if (decoded.size() > room) {
        CHECK(result == -2);
    } else {
        CHECK(result == static_cast<int>(decoded.size()));
        CHECK(std::equal(decoded.begin(), decoded.end(), reinterpret_cast<char *>(out.get())));
    }

    const int half = length / 2;
    const unsigned crc = crc32(start, unsigned_bytes(bytes), length);
    CHECK(crc == crc_of(start, bytes));
    CHECK(crc == crc32(crc32(start, unsigned_bytes(bytes), half), unsigned_bytes(bytes) + half,
                       length - half));
}
