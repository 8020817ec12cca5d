#include "bench/literal/literal.h"

namespace literal {

unsigned utf8_to_ucs2(const char **cursor, unsigned avail) {
    if (cursor == nullptr || avail == 0 || *cursor == nullptr)
        return 0;
    const auto *bytes = reinterpret_cast<const unsigned char *>(*cursor);
    const unsigned lead = bytes[0];
    if (lead == 0)
        return 0;
    if (lead < 0x80) {
        *cursor += 1;
        return lead;
    }
    if (lead < 0xC0 || lead >= 0xF0) {
        *cursor += 1;
        return 0;
    }
    if (avail == 1)
        return 0;
    const unsigned second = bytes[1];
    if (second < 0x80) {
        *cursor += second == 0 ? 1 : 2;
        return 0;
    }
    if (lead < 0xE0) {
        *cursor += 2;
        return ((lead - 0xC0) << 6) + (second - 0x80);
    }
    if (avail == 2)
        return 0;
    const unsigned third = bytes[2];
    if (third < 0x80) {
        *cursor += third == 0 ? 2 : 3;
        return 0;
    }
    *cursor += 3;
    return (((lead - 0xE0) << 12) + ((second - 0x80) << 6) + (third - 0x80)) & 0xFFFF;
}

unsigned utf8_length(const char *s, unsigned max_chars, unsigned *byte_len) {
    if (s == nullptr)
        return 0;
    const char *cursor = s;
    unsigned count = 0;
    while (count < max_chars && *cursor != '\0')
        count = literal::utf8_to_ucs2(&cursor, 0xFFFFFFFF) == 0 ? max_chars : count + 1;
    if (byte_len != nullptr)
        *byte_len = static_cast<unsigned>(cursor - s);
    return count;
}

}  // namespace literal
