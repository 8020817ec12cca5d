// UTF-8 and UCS-2, there and back, with cursors that never leave the text.
#include <qmv/util.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

/// Memory of exactly these bytes, so that a sanitizer sees what is read or written behind it.
std::unique_ptr<char[]> exact(std::string_view bytes) {
    std::unique_ptr<char[]> copy(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

void check_encoding(unsigned code, unsigned room) {
    const std::unique_ptr<char[]> buffer(new char[room]);
    code &= 0xFFFF;
    const std::size_t needed = code < 0x80 ? 1 : code < 0x800 ? 2 : 3;
    const char *end = ucs2_to_utf8(buffer.get(), room, code);
    CHECK(end == buffer.get() + (needed <= room ? needed : 0));
    if (needed > room)
        return;
    const char *cursor = buffer.get();
    CHECK(utf8_to_ucs2(&cursor, static_cast<unsigned>(needed)) == code);
    CHECK(code == 0 || cursor == end);
}

/// Decodes bytes that have no terminator.
void check_bytes(const std::string &bytes) {
    const auto copy = exact(bytes);
    const char *const end = copy.get() + bytes.size();
    const char *cursor = copy.get();
    while (cursor < end) {
        const std::string_view left(cursor, static_cast<std::size_t>(end - cursor));
        const char *const start = cursor;
        const unsigned code = utf8_to_ucs2(&cursor, static_cast<unsigned>(left.size()));
        CHECK(cursor <= end);
        const fuzz::Character expected = fuzz::first_character(left);
        CHECK(code == expected.code);
        const auto lead = static_cast<unsigned char>(left[0]);
        const std::size_t whole = lead < 0xC0 || lead >= 0xF0 ? 1 : lead < 0xE0 ? 2 : 3;
        // A sequence that the end cuts is left where it is, and so is a NUL.
        const bool cut = code == 0 && expected.length == left.size() && expected.length < whole &&
                         (expected.length == 1 || (left.back() & 0x80) != 0);
        CHECK(cursor == (cut || lead == 0 ? start : start + expected.length));
        if (cut || lead == 0)
            break;
    }
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned max_chars = input.byte();
    const unsigned room = input.byte();
    check_encoding(input.number(), room % 5);
    const std::string bytes = input.rest();
    check_bytes(bytes);

    const std::string text = c_string(bytes);
    const char *cursor = text.c_str();
    std::string encoded;
    for (std::size_t at = 0; at < text.size();) {
        const Character expected = first_character(std::string_view(text).substr(at));
        CHECK(utf8_to_ucs2(&cursor, 0xFFFFFFFF) == expected.code);
        at += expected.length;
        CHECK(cursor == text.c_str() + at);
        char character[3];
        if (expected.code != 0)
            encoded.append(character, ucs2_to_utf8(character, 3, expected.code));
    }
    CHECK(codes_of(encoded) == codes_of(text));

    std::size_t used = 0;
    unsigned count = 0;
    while (count < max_chars && used < text.size()) {
        const Character expected = first_character(std::string_view(text).substr(used));
        used += expected.length;
        count = expected.code != 0 ? count + 1 : max_chars;
    }
    unsigned byte_len = 0;
    CHECK(utf8_length(text.c_str(), max_chars, &byte_len) == count);
    CHECK(byte_len == used);

    const std::unique_ptr<char[]> copy(new char[room]);
    const int length = strsncpy(copy.get(), room, text.c_str());
    CHECK(length == (text.size() < room ? static_cast<int>(text.size()) : -1));
    CHECK(room == 0 || text.substr(0, room - 1) == copy.get());
}
