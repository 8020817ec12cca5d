// Malformed UTF-8 of every kind, and what becomes of it.
#ifndef QMV_TESTS_SUPPORT_MALFORMED_H
#define QMV_TESTS_SUPPORT_MALFORMED_H

namespace qmv_test {

struct Malformed {
    const char *label;
    const char *text;
    const char *escaped;       ///< as HTML, invalid sequences left out
    const char *escaped_head;  ///< as HTML, up to the first invalid sequence
    const char *encoded;       ///< as UTF-8 again, invalid sequences left out
    const char *cut;           ///< the bytes up to the end of the first invalid sequence
    int characters;            ///< how many it has; -1: one is invalid
};

inline constexpr Malformed kMalformed[] = {
    {"stray continuation byte", "y\x80z", "yz", "y", "yz", "y\x80", -1},
    {"highest stray continuation byte", "y\xBFz", "yz", "y", "yz", "y\xBF", -1},
    {"two-byte lead takes the ASCII byte along", "y\xC3xz", "yz", "y", "yz", "y\xC3x", -1},
    {"two-byte lead takes a markup character along", "y\xC3<z", "yz", "y", "yz", "y\xC3<", -1},
    {"two-byte lead at the end", "y\xC3", "y", "y", "y", "y\xC3", -1},
    {"three-byte lead takes the ASCII byte along", "y\xE2xz", "yz", "y", "yz", "y\xE2x", -1},
    {"ASCII byte in place of the third", "y\xE2\x82xz", "yz", "y", "yz", "y\xE2\x82x", -1},
    {"three-byte lead at the end", "y\xE2", "y", "y", "y", "y\xE2", -1},
    {"two of three bytes at the end", "y\xE2\x82", "y", "y", "y", "y\xE2\x82", -1},
    {"four-byte sequence", "y\xF0\x9F\x98\x80z", "yz", "y", "yz", "y\xF0", -1},
    {"four-byte lead leaves the ASCII byte", "y\xF0xz", "yxz", "y", "yxz", "y\xF0", -1},
    {"byte 0xFE", "y\xFEz", "yz", "y", "yz", "y\xFE", -1},
    {"byte 0xFF", "y\xFFz", "yz", "y", "yz", "y\xFF", -1},
    {"overlong NUL", "y\xC0\x80z", "yz", "y", "yz", "y\xC0\x80", -1},
    {"three-byte overlong NUL", "y\xE0\x80\x80z", "yz", "y", "yz", "y\xE0\x80\x80", -1},
    {"invalid from the start", "\x80", "", "", "", "\x80", -1},
    {"overlong less-than", "y\xC0\xBCz", "y&lt;z", "y&lt;z", "y<z", "y\xC0\xBCz", 3},
    {"three-byte overlong less-than", "y\xE0\x80\xBCz", "y&lt;z", "y&lt;z", "y<z", "y\xE0\x80\xBCz",
     3},
    {"three-byte overlong e acute", "y\xE0\x83\xA9z", "y&eacute;z", "y&eacute;z", "y\xC3\xA9z",
     "y\xE0\x83\xA9z", 3},
    // (0x03 << 6) + 0x43
    {"lead byte in place of a continuation", "y\xC3\xC3z", "y&#259;z", "y&#259;z", "y\xC4\x83z",
     "y\xC3\xC3z", 3},
    // (0x1F << 6) + 0x7F = 0x83F: three bytes when it is encoded
    {"two bytes that encode to three", "y\xDF\xFFz", "y&#2111;z", "y&#2111;z", "y\xE0\xA0\xBFz",
     "y\xDF\xFFz", 3},
    // 0x2000 + (0x43 << 6) + 0x29
    {"lead byte in place of a second byte", "y\xE2\xC3\xA9z", "y&#12521;z", "y&#12521;z",
     "y\xE3\x83\xA9z", "y\xE2\xC3\xA9z", 3},
    // 0xF000 + (0x7F << 6) + 0x7F = 0x1103F
    {"three bytes beyond 16 bits", "y\xEF\xFF\xFFz", "y&#4159;z", "y&#4159;z", "y\xE1\x80\xBFz",
     "y\xEF\xFF\xFFz", 3},
    {"surrogate", "y\xED\xA0\x80z", "y&#55296;z", "y&#55296;z", "y\xED\xA0\x80z", "y\xED\xA0\x80z",
     3},
};

}  // namespace qmv_test

#endif
