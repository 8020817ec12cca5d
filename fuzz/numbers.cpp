// Posted numbers, ranges, times, options and weekdays: the result lies within its limits, and what
// is printed of it reads the same.
#include <qmv/widgets.h>

#include <algorithm>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

void check_number(std::string text, unsigned min, unsigned max, unsigned fallback) {
    unsigned value = fallback ^ min;
    const unsigned before = value;
    const int changed = scan_number(text.c_str(), &value, min, max, fallback);
    const auto posted = fuzz::take_number(text);
    CHECK(value == (posted ? std::clamp(*posted, min, max) : fallback));
    CHECK(changed == (value != before ? 1 : 0));
    const std::string again = fuzz::value_shown([&] { gen_xnumberbox(10, value, 0, nullptr); });
    CHECK(again == std::to_string(value));
    if (posted)
        CHECK(scan_number(again.c_str(), &value, min, max, fallback) == 0);
}

void check_range(std::string text, unsigned min, unsigned max, unsigned fallback) {
    unsigned low = fallback ^ max;
    unsigned high = fallback ^ min;
    scan_range(text.c_str(), &low, &high, min, max, fallback);
    const auto first = fuzz::take_number(text);
    text = text.substr(std::min(text.find_first_not_of(' '), text.size()));
    const bool two = text.starts_with('-') || text.starts_with(':');
    text = text.substr(two ? 1 : 0);
    const auto second = two ? fuzz::take_number(text) : std::nullopt;
    const unsigned a = first ? std::clamp(*first, min, max) : fallback;
    const unsigned b = first && second ? std::clamp(*second, min, max) : a;
    CHECK(low == std::min(a, b) && high == std::max(a, b));
    const std::string again =
        fuzz::value_shown([&] { gen_xrangebox(9, &low, &high, nullptr, 0, nullptr); });
    if (first)
        CHECK(scan_range(again.c_str(), &low, &high, min, max, fallback) == 0);
}

void check_time(const std::string &text) {
    unsigned hour = 77;
    unsigned minute = 77;
    const int fields = scan_time(text.c_str(), &hour, &minute);
    CHECK(hour < 24 && minute < 60);
    CHECK(fields >= -1 && fields <= 2);
    CHECK((fields == -1) == (text.find_first_not_of(" \t\n\v\f\r") == text.npos));
    CHECK(fields > 0 || (hour == 1 && minute == 0));
    const std::string again = std::to_string(hour) + ':' + std::to_string(minute);
    unsigned hour2 = 77;
    unsigned minute2 = 77;
    CHECK(scan_time(again.c_str(), &hour2, &minute2) == 2);
    CHECK(hour2 == hour && minute2 == minute);
}

/// A time that is made of two numbers.
void check_made_time(unsigned hours, unsigned minutes) {
    const std::string text = " " + std::to_string(hours) + ": " + std::to_string(minutes);
    unsigned hour = 77;
    unsigned minute = 77;
    CHECK(scan_time(text.c_str(), &hour, &minute) == 2);
    CHECK(hour == (hours + minutes / 60) % 24 && minute == minutes % 60);
}

void check_option(std::string text, unsigned count, unsigned fallback) {
    unsigned value = ~fallback;
    scan_select_num(text.c_str(), &value, count, fallback);
    const unsigned wanted = fuzz::take_number(text).value_or(fallback);
    CHECK(value == (count == 0 ? 0 : std::min(wanted, count - 1)));
    CHECK(scan_select_num(std::to_string(value).c_str(), &value, count, fallback) == 0);
}

void check_weekdays(unsigned size, unsigned mask) {
    const std::unique_ptr<char[]> buffer(new char[size]);
    std::string days = cron_weekdays(buffer.get(), size, mask);
    mask &= 0x7F;
    if (size < 15 || mask == 0x7F) {
        CHECK(days == "*");
        return;
    }
    unsigned found = 0;
    for (days = days.empty() ? "" : "," + days; !days.empty(); days = days.substr(2)) {
        CHECK(days.size() >= 2 && days[0] == ',' && days[1] >= '0' && days[1] <= '6');
        const unsigned bit = 1u << (days[1] - '0');
        CHECK(bit > found);
        found |= bit;
    }
    CHECK(found == mask);
}

void check_day_table(const std::string &texts, unsigned count) {
    const std::string list = texts + std::string(2, '\0');
    const std::unique_ptr<dow_entry[]> table(new dow_entry[count]{});
    gen_dow_table(table.get(), count, list.data());
    for (unsigned i = 0; i < count; ++i) {
        CHECK(table[i].day < 7);
        CHECK(table[i].text == nullptr ||
              (table[i].text > list.data() && table[i].text < list.data() + list.size() &&
               table[i].text[-1] == static_cast<char>('0' + table[i].day)));
    }
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned min = input.number() >> (input.byte() & 31);
    const unsigned max = std::max(min, input.number() >> (input.byte() & 31));
    const unsigned fallback = input.number();
    const unsigned count = input.byte();
    const std::string text = input.text();
    check_number(text, min, max, fallback);
    check_range(text, min, max, fallback);
    check_time(text);
    check_made_time(min, fallback);
    check_option(text, count, fallback);
    check_weekdays(count % 20, fallback);
    CHECK(scan_string(text.c_str(), input.text().c_str()) <= 1);
    check_day_table(input.rest(), count % 10);
}
