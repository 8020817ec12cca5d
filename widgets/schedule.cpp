#include <strings.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "qmv/widgets.h"
#include "util/ascii.h"

namespace {

constexpr unsigned kDays = 7;
constexpr char kDayNames[kDays][4] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};

// Seven digits, the commas between them, and a terminator.
constexpr unsigned kCronSize = 2 * kDays + 1;

/// Reads a number as "%u" of the standard scanner: white space and a sign may precede it. Intended:
/// one that does not fit is UINT_MAX on every machine. False when there is none.
bool take_time_field(const char *&cursor, unsigned &field) {
    char *end = nullptr;
    const long long number = std::strtoll(cursor, &end, 10);
    if (end == cursor)
        return false;
    cursor = end;
    const bool fits = number <= UINT_MAX && number >= -static_cast<long long>(UINT_MAX);
    field = fits ? static_cast<unsigned>(number) : UINT_MAX;
    return true;
}

}  // namespace

int scan_string(const char *in, const char *word) {
    if (in == nullptr || word == nullptr)
        return 0;
    return ::strncasecmp(qmv::skip_blanks(in), word, std::strlen(word)) == 0 ? 1 : 0;
}

int scan_time(const char *in, unsigned *hour, unsigned *minute) {
    if (in == nullptr || hour == nullptr || minute == nullptr)
        return 0;
    // Intended: without a time it is one o'clock.
    *hour = 1;
    *minute = 0;
    if (!take_time_field(in, *hour))
        return *qmv::skip_space(in) == '\0' ? -1 : 0;
    int fields = 1;
    if (*in == ':' && take_time_field(++in, *minute))
        fields = 2;
    *hour += *minute / 60;
    *minute %= 60;
    if (*hour >= 24)
        *hour = (*hour - 24) % 24;
    return fields;
}

const char *cron_weekdays(char *buf, unsigned size, unsigned mask) {
    constexpr unsigned kAll = (1u << kDays) - 1;
    if (buf == nullptr || size < kCronSize)
        return "*";
    char *out = buf;
    if ((mask & kAll) == kAll) {
        *out++ = '*';
        mask = 0;
    }
    for (unsigned day = 0; day < kDays; ++day) {
        if ((mask & (1u << day)) == 0)
            continue;
        if (out != buf)
            *out++ = ',';
        *out++ = static_cast<char>('0' + day);
    }
    *out = '\0';
    return buf;
}

void gen_dow_table(dow_entry *table, unsigned count, const char *list) {
    if (table == nullptr || list == nullptr)
        return;
    // Intended: the list ends at the first text that does not begin with a digit.
    for (unsigned i = 0; i < count && qmv::is_digit(*list); ++i) {
        const auto day = static_cast<unsigned>(*list - '0');
        ++list;
        if (day < kDays)
            table[i] = {day, kDayNames[day], list};
        list += std::strlen(list) + 1;
    }
}
