// The decoder behind utf8_to_ucs2(), for loops that decode a whole text.
#ifndef QMV_UTIL_UTF8_H
#define QMV_UTIL_UTF8_H

namespace qmv {

/// One step of decoding: the code, or 0, and how many bytes it used.
struct Decoded {
    unsigned code;
    unsigned used;
};

/// Decodes a sequence whose lead byte announces one or two continuation bytes.
inline Decoded decode_sequence(const unsigned char *bytes, unsigned avail) {
    const unsigned lead = bytes[0];
    const unsigned length = lead < 0xE0 ? 2 : 3;
    for (unsigned i = 1; i < length; ++i) {
        if (avail == i)
            return {0, 0};
        // Intended: the ASCII byte is consumed together with the bad lead byte, a NUL is not.
        if (bytes[i] < 0x80)
            return {0, bytes[i] == 0 ? i : i + 1};
    }
    const unsigned second = bytes[1] - 0x80U;
    if (length == 2)
        return {((lead - 0xC0U) << 6) + second, 2};
    return {(((lead - 0xE0U) << 12) + (second << 6) + (bytes[2] - 0x80U)) & 0xFFFF, 3};
}

/// Decodes the character at a place with at least one byte; a NUL is code 0 and uses nothing.
inline Decoded decode_utf8(const char *text, unsigned avail) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    const unsigned lead = bytes[0];
    if (lead < 0x80)
        return {lead, lead != 0 ? 1U : 0U};
    if (lead >= 0xC0 && lead < 0xF0)
        return decode_sequence(bytes, avail);
    return {0, 1};
}

}  // namespace qmv

#endif
