// The decoder behind utf8_to_ucs2(), for loops that decode a whole text.
#ifndef QMV_UTIL_UTF8_H
#define QMV_UTIL_UTF8_H

namespace qmv {

/// Takes the character at a place with at least one byte. Returns its code, or 0.
inline unsigned take_code(const char *&text, unsigned avail) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    const unsigned lead = bytes[0];
    const auto take = [&text](unsigned count, unsigned code) {
        text += count;
        return code;
    };
    // A jump is foreseen; to compute how far to go would keep the next character waiting.
    if (lead == 0)
        return 0;
    if (lead < 0x80)
        return take(1, lead);
    if (lead < 0xC0 || lead >= 0xF0) [[unlikely]]
        return take(1, 0);
    if (avail == 1) [[unlikely]]
        return 0;
    // Intended: an ASCII byte is taken together with the bad sequence, a NUL is not.
    if (bytes[1] < 0x80) [[unlikely]]
        return take(bytes[1] != 0 ? 2 : 1, 0);
    const unsigned second = bytes[1] - 0x80U;
    if (lead < 0xE0)
        return take(2, ((lead - 0xC0U) << 6) + second);
    if (avail == 2) [[unlikely]]
        return 0;
    if (bytes[2] < 0x80) [[unlikely]]
        return take(bytes[2] != 0 ? 3 : 2, 0);
    return take(3, (((lead - 0xE0U) << 12) + (second << 6) + (bytes[2] - 0x80U)) & 0xFFFF);
}

}  // namespace qmv

#endif
