// Text whose length is limited in characters.
#ifndef QMV_WIDGETS_TEXT_H
#define QMV_WIDGETS_TEXT_H

#include "qmv/util.h"
#include "util/ascii.h"

namespace qmv {

/// Bytes that a text of so many characters can take, the terminator not counted; INT_MAX - 1 at
/// most, so that a buffer for it has a size that fits an int.
constexpr int byte_limit(unsigned maxchars) {
    constexpr unsigned kBytesPerChar = 3;
    const auto bytes = static_cast<unsigned long long>(maxchars) * kBytesPerChar;
    return clamp_to_int(bytes + 1) - 1;
}

/// Ends a text behind its first characters.
inline void cut_text(char *text, unsigned maxchars) {
    unsigned kept = 0;
    utf8_length(text, maxchars, &kept);
    text[kept] = '\0';
}

}  // namespace qmv

#endif
