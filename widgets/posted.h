// What the scanners of all widgets share.
#ifndef QMV_WIDGETS_POSTED_H
#define QMV_WIDGETS_POSTED_H

#include <algorithm>
#include <optional>

#include "util/ascii.h"

namespace qmv {

/// Skips blanks and reads a number, modulo 2^32, with the cursor moved behind it. Nothing when no
/// digit stands there.
constexpr std::optional<unsigned> take_number(const char *&cursor) {
    cursor = skip_blanks(cursor);
    if (!is_digit(*cursor))
        return std::nullopt;
    return take_decimal(cursor);
}

/// A number kept between limits, the lower one first: it holds also where it is above the upper
/// one.
constexpr unsigned keep_within(unsigned number, unsigned min, unsigned max) {
    return number < min ? min : std::min(number, max);
}

/// Stores a value. Returns 1 when that changed it, else 0: the result of most scanners.
template <typename T>
int assign(T &stored, const T &value) {
    if (stored == value)
        return 0;
    stored = value;
    return 1;
}

}  // namespace qmv

#endif
