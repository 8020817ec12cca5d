// <input type="text" maxlength="N"FORMAT FLAGS value="5-10">
#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "qmv/html.h"
#include "qmv/widgets.h"
#include "widgets/posted.h"
#include "widgets/tag.h"

namespace {

struct Range {
    unsigned low;
    unsigned high;

    bool operator==(const Range &) const = default;
};

/// Reads one or two numbers with "-" or ":" between them.
Range take_range(const char *in, unsigned min, unsigned max, unsigned fallback) {
    const auto first = qmv::take_number(in);
    in = qmv::skip_blanks(in);
    std::optional<unsigned> second;
    if (*in == '-' || *in == ':')
        second = qmv::take_number(++in);
    // Intended: a second number alone counts for nothing.
    if (!first)
        return {fallback, fallback};
    const unsigned a = qmv::keep_within(*first, min, max);
    const unsigned b = second ? qmv::keep_within(*second, min, max) : a;
    return {std::min(a, b), std::max(a, b)};
}

void print_value(const unsigned *low, const unsigned *high, const char *text) {
    if (text != nullptr)
        html_printf(1, " value=\"%s\"", text);
    else if (low != nullptr && high != nullptr && *low != *high)
        std::printf(" value=\"%u-%u\"", *low, *high);
    else if (low != nullptr)
        std::printf(" value=\"%u\"", *low);
    else if (high != nullptr)
        std::printf(" value=\"-%u\"", *high);
    else
        print_str(" value=\"-\"");
}

}  // namespace

int scan_range(const char *in, unsigned *low, unsigned *high, unsigned min, unsigned max,
               unsigned fallback) {
    if (in == nullptr || low == nullptr || high == nullptr)
        return 0;
    Range stored{*low, *high};
    const int changed = qmv::assign(stored, take_range(in, min, max, fallback));
    *low = stored.low;
    *high = stored.high;
    return changed;
}

int gen_xrangebox(unsigned maxlength, const unsigned *low, const unsigned *high, const char *text,
                  unsigned flags, const char *format, ...) {
    qmv::open_input("text");
    qmv::print_maxlength(maxlength, flags);
    va_list args;
    va_start(args, format);
    qmv::print_attributes(format, args);
    va_end(args);
    // Intended: the value comes behind the flags.
    print_flags(flags);
    print_value(low, high, text);
    return std::putchar('>');
}
