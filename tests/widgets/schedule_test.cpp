// Schedules: words, times of day, weekdays.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/fenced_text.h"
#include "tests/support/io.h"

namespace {

using qmv_test::FencedText;
using qmv_test::text;

/* ---- Words ---- */

TEST(ScanString, TellsWhetherATextBeginsWithAWord) {
    const struct {
        const char *label;
        const char *in;
        const char *word;
        int result;
    } rows[] = {
        {"equal", "on", "on", 1},
        {"blank and upper case", " ON", "on", 1},
        {"upper case in the word", "on", "ON", 1},
        {"mixed case", "oN", "On", 1},
        {"many blanks", "     on", "on", 1},
        {"longer text", "only", "on", 1},
        {"text goes on behind a blank", "on off", "on", 1},
        {"shorter text", "o", "on", 0},
        {"other word", "off", "on", 0},
        {"word further behind", "xon", "on", 0},
        {"empty text", "", "on", 0},
        {"only blanks", "   ", "on", 0},
        {"a tab is no blank", "\ton", "on", 0},
        {"a line end is no blank", "\non", "on", 0},
        {"empty word", "on", "", 1},
        {"both empty", "", "", 1},
        {"blanks of the word are not skipped", " on", " on", 0},
        {"blank inside", "o n", "o n", 1},
        {"digits and signs", "-1a", "-1A", 1},
        {"no letters between the cases", "@[`{", "`{@[", 0},
        {"UTF-8", "\xC3\xA9x", "\xC3\xA9", 1},
        {"other UTF-8", "\xC3\x89", "\xC3\xA9", 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(scan_string(row.in, row.word), row.result) << row.label;
}

TEST(ScanString, NullArgumentGivesZero) {
    EXPECT_EQ(scan_string(nullptr, "on"), 0);
    EXPECT_EQ(scan_string("on", nullptr), 0);
    EXPECT_EQ(scan_string(nullptr, nullptr), 0);
}

/* ---- Times ---- */

struct TimeRow {
    const char *in;
    int result;
    unsigned hour;
    unsigned minute;
};

void expect_time(const TimeRow &row) {
    unsigned hour = 77;
    unsigned minute = 88;
    EXPECT_EQ(scan_time(row.in, &hour, &minute), row.result) << '"' << row.in << '"';
    EXPECT_EQ(hour, row.hour) << '"' << row.in << '"';
    EXPECT_EQ(minute, row.minute) << '"' << row.in << '"';
}

TEST(ScanTime, ReadsHourAndMinute) {
    const TimeRow rows[] = {
        {"0:0", 2, 0, 0},       {"00:00", 2, 0, 0},      {"7:05", 2, 7, 5},
        {"23:59", 2, 23, 59},   {"0007:0030", 2, 7, 30}, {"12:30:45", 2, 12, 30},
        {"12:30pm", 2, 12, 30}, {"12:30 ", 2, 12, 30},   {"1:1\xC2\xBD", 2, 1, 1},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, HourAloneHasNoMinutes) {
    const TimeRow rows[] = {
        {"7", 1, 7, 0},      {"0", 1, 0, 0},    {"7:", 1, 7, 0},     {"7:x", 1, 7, 0},
        {"7.30", 1, 7, 0},   {"7 30", 1, 7, 0}, {"7 :30", 1, 7, 0},  {"7::30", 1, 7, 0},
        {"7:-", 1, 7, 0},    {"7: ", 1, 7, 0},  {"0x10:5", 1, 0, 0}, {"7h30", 1, 7, 0},
        {"7\n:30", 1, 7, 0},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, SkipsWhiteSpaceInFrontOfNumbersOnly) {
    expect_time({"  7:30", 2, 7, 30});
    expect_time({"\t\n\v\f\r 7:30", 2, 7, 30});
    expect_time({"7: 30", 2, 7, 30});
    expect_time({"7:\t\n30", 2, 7, 30});
}

TEST(ScanTime, WithoutATimeItIsOneOClock) {
    const TimeRow rows[] = {
        {"abc", 0, 1, 0},
        {":30", 0, 1, 0},
        {"-", 0, 1, 0},
        {"+:5", 0, 1, 0},
        {"x7", 0, 1, 0},
        {"- 7", 0, 1, 0},
        {"\xC2\xA0"
         "7",
         0, 1, 0},
        {"  :", 0, 1, 0},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, EmptyOrBlankTextGivesMinusOneAndOneOClock) {
    for (const char *in : {"", " ", "   ", "\t\n\v\f\r "})
        expect_time({in, -1, 1, 0});
}

TEST(ScanTime, CarriesMinutesIntoHours) {
    const TimeRow rows[] = {
        {"1:59", 2, 1, 59},  {"1:60", 2, 2, 0},     {"1:75", 2, 2, 15},   {"1:119", 2, 2, 59},
        {"1:120", 2, 3, 0},  {"0:1439", 2, 23, 59}, {"0:1440", 2, 0, 0},  {"23:60", 2, 0, 0},
        {"22:125", 2, 0, 5}, {"0:2881", 2, 0, 1},   {"23:100", 2, 0, 40},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, HoursWrapAt24) {
    const TimeRow rows[] = {
        {"23", 1, 23, 0},   {"24", 1, 0, 0},     {"25", 1, 1, 0},    {"47", 1, 23, 0},
        {"48", 1, 0, 0},    {"49:30", 2, 1, 30}, {"24:00", 2, 0, 0}, {"100", 1, 4, 0},
        {"24:60", 2, 1, 0}, {"2400", 1, 0, 0},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, HugeNumbersAreCarriedAsAnyOther) {
    // 4294967295 hours are 15 modulo 24. As many minutes are 71582788 hours, 4 modulo 24, and 15.
    const TimeRow rows[] = {
        {"4294967295", 1, 15, 0},    {"4294967294:59", 2, 14, 59}, {"0:4294967295", 2, 4, 15},
        {"20:4294967295", 2, 0, 15}, {"1:4294967280", 2, 5, 0},    {"1:4294967279", 2, 4, 59},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, HourWrapsAt2To32WhenMinutesAreCarried) {
    expect_time({"4294967295:60", 2, 0, 0});
    expect_time({"4294967295:125", 2, 1, 5});
    // 71582787 hours are left over: 3 modulo 24.
    expect_time({"4294967295:4294967295", 2, 3, 15});
}

TEST(ScanTime, NumberThatDoesNotFitCountsAs4294967295) {
    const TimeRow rows[] = {
        {"4294967296", 1, 15, 0},
        {"4294967297", 1, 15, 0},
        {"9223372036854775808", 1, 15, 0},
        {"18446744073709551616", 1, 15, 0},
        {"18446744073709551623", 1, 15, 0},
        {"99999999999999999999999999999999999999", 1, 15, 0},
        {"0:4294967296", 2, 4, 15},
        {"0:18446744073709551617", 2, 4, 15},
        {"-4294967296", 1, 15, 0},
        {"-99999999999999999999999999999999999999", 1, 15, 0},
        {"0:-18446744073709551617", 2, 4, 15},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, SignsCountAsTheyDoToTheStandardScanner) {
    const TimeRow rows[] = {
        {"+7:+30", 2, 7, 30}, {"-0:-0", 2, 0, 0},         {"-1", 1, 15, 0},
        {"0:-1", 2, 4, 15},   {"-4294967295:5", 2, 1, 5},
    };
    for (const TimeRow &row : rows)
        expect_time(row);
}

TEST(ScanTime, NullArgumentGivesZeroAndChangesNothing) {
    unsigned hour = 77;
    unsigned minute = 88;
    EXPECT_EQ(scan_time(nullptr, &hour, &minute), 0);
    EXPECT_EQ(scan_time("7:30", nullptr, &minute), 0);
    EXPECT_EQ(scan_time("7:30", &hour, nullptr), 0);
    EXPECT_EQ(hour, 77u);
    EXPECT_EQ(minute, 88u);
}

/* ---- Weekdays of a cron line ---- */

/// A buffer between guard bytes.
struct GuardedBuffer {
    std::string bytes = std::string(48, '#');

    char *get() { return bytes.data() + 16; }
    bool untouched() const { return bytes == std::string(48, '#'); }
    bool guards_untouched(std::size_t size) const {
        return bytes.find_first_not_of('#') >= 16 &&
               bytes.find_first_not_of('#', 16 + size) == std::string::npos;
    }
};

TEST(CronWeekdays, ListsDays) {
    const struct {
        unsigned mask;
        const char *field;
    } rows[] = {
        {0x00, ""},          {0x01, "0"},   {0x40, "6"},           {0x41, "0,6"},
        {0x3E, "1,2,3,4,5"}, {0x0A, "1,3"}, {0x7E, "1,2,3,4,5,6"}, {0x3F, "0,1,2,3,4,5"},
        {0x7F, "*"},
    };
    for (const auto &row : rows) {
        char buffer[16];
        EXPECT_STREQ(cron_weekdays(buffer, sizeof buffer, row.mask), row.field) << row.mask;
    }
}

TEST(CronWeekdays, ListsEveryMaskIn15Bytes) {
    for (unsigned mask = 0; mask < 128; ++mask) {
        std::string field;
        for (unsigned day = 0; day < 7; ++day) {
            if ((mask >> day) % 2 == 1)
                field += (field.empty() ? "" : ",") + std::to_string(day);
        }
        if (mask == 127)
            field = "*";
        GuardedBuffer buffer;
        EXPECT_EQ(cron_weekdays(buffer.get(), 15, mask), buffer.get()) << mask;
        EXPECT_EQ(std::string(buffer.get()), field) << mask;
        EXPECT_TRUE(buffer.guards_untouched(15)) << mask;
    }
}

TEST(CronWeekdays, SmallOrNullBufferGivesTheConstantForEveryDay) {
    for (const unsigned size : {0u, 1u, 2u, 13u, 14u}) {
        for (const unsigned mask : {0u, 0x01u, 0x41u, 0x7Fu}) {
            GuardedBuffer buffer;
            const char *const field = cron_weekdays(buffer.get(), size, mask);
            EXPECT_STREQ(field, "*") << size;
            EXPECT_NE(field, buffer.get()) << size;
            EXPECT_TRUE(buffer.untouched()) << size;
        }
    }
    for (const unsigned size : {0u, 14u, 15u, 0xFFFFFFFFu})
        EXPECT_STREQ(cron_weekdays(nullptr, size, 0x41), "*") << size;
}

TEST(CronWeekdays, IgnoresBitsAboveSaturday) {
    char buffer[15];
    EXPECT_STREQ(cron_weekdays(buffer, sizeof buffer, 0xFFFFFF80), "");
    EXPECT_STREQ(cron_weekdays(buffer, sizeof buffer, 0xFFFFFFC1), "0,6");
    EXPECT_STREQ(cron_weekdays(buffer, sizeof buffer, 0xFFFFFFFF), "*");
    EXPECT_STREQ(cron_weekdays(buffer, sizeof buffer, 0x80), "");
}

TEST(CronWeekdays, TakesABufferOfAnySizeFrom15On) {
    for (const unsigned size : {15u, 16u, 0x80000000u, 0xFFFFFFFFu}) {
        char buffer[15];
        EXPECT_STREQ(cron_weekdays(buffer, size, 0x41), "0,6") << size;
    }
}

/* ---- Tables of weekdays ---- */

constexpr unsigned kUntouched = 99;
constexpr char kMark[] = "mark";

/// An entry as numbers and texts; the text with its place in the list.
struct Entry {
    unsigned day;
    std::string name;
    std::string text;
    std::ptrdiff_t place;

    bool operator==(const Entry &) const = default;
};

void PrintTo(const Entry &entry, std::ostream *out) {
    *out << entry.day << ' ' << entry.name << " \"" << entry.text << "\" at " << entry.place;
}

const Entry kEmpty{kUntouched, kMark, kMark, -1};

/// A table of five entries behind gen_dow_table().
std::vector<Entry> dow_table(unsigned count, const std::string &list) {
    std::vector<dow_entry> table(5, {kUntouched, kMark, kMark});
    gen_dow_table(table.data(), count, list.data());
    std::vector<Entry> entries;
    for (const dow_entry &entry : table) {
        const bool filled = entry.text != kMark;
        entries.push_back(
            {entry.day, entry.name, entry.text, filled ? entry.text - list.data() : -1});
    }
    return entries;
}

TEST(DowEntry, HoldsDayThenNameThenText) {
    EXPECT_EQ(offsetof(dow_entry, day), 0u);
    EXPECT_LT(offsetof(dow_entry, day), offsetof(dow_entry, name));
    EXPECT_LT(offsetof(dow_entry, name), offsetof(dow_entry, text));
}

TEST(GenDowTable, FillsAnEntryForEachText) {
    EXPECT_EQ(dow_table(5, text("1Monday\0"
                                "0Sunday\0"
                                "6\0"
                                "12\0"
                                "3 Mi\0")),
              (std::vector<Entry>{{1, "mon", "Monday", 1},
                                  {0, "sun", "Sunday", 9},
                                  {6, "sat", "", 17},
                                  {1, "mon", "2", 19},
                                  {3, "wed", " Mi", 22}}));
}

TEST(GenDowTable, NamesEveryDay) {
    const char *const names[] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};
    for (unsigned day = 0; day < 7; ++day) {
        dow_entry entry{kUntouched, kMark, kMark};
        const std::string list = std::to_string(day) + "x" + text("\0");
        gen_dow_table(&entry, 1, list.data());
        EXPECT_EQ(entry.day, day);
        EXPECT_STREQ(entry.name, names[day]);
        EXPECT_EQ(entry.text, list.data() + 1);
    }
}

TEST(GenDowTable, EndsAtTheEmptyText) {
    EXPECT_EQ(dow_table(5, text("2a\0"
                                "4b\0"
                                "\0"
                                "5c\0")),
              (std::vector<Entry>{{2, "tue", "a", 1}, {4, "thu", "b", 4}, kEmpty, kEmpty, kEmpty}));
}

TEST(GenDowTable, FillsCountEntriesAtMost) {
    const std::string list = text(
        "2a\0"
        "4b\0"
        "5c\0");
    EXPECT_EQ(dow_table(2, list),
              (std::vector<Entry>{{2, "tue", "a", 1}, {4, "thu", "b", 4}, kEmpty, kEmpty, kEmpty}));
    EXPECT_EQ(dow_table(0, list), std::vector<Entry>(5, kEmpty));
}

TEST(GenDowTable, DigitAbove6LeavesItsEntryUntouchedAndTheNextTextTakesTheNext) {
    EXPECT_EQ(
        dow_table(5, text("7a\0"
                          "2b\0"
                          "8c\0"
                          "9d\0"
                          "6e\0")),
        (std::vector<Entry>{kEmpty, {2, "tue", "b", 4}, kEmpty, kEmpty, {6, "sat", "e", 13}}));
}

TEST(GenDowTable, DigitAbove6CountsAgainstTheCount) {
    EXPECT_EQ(dow_table(2, text("7a\0"
                                "8b\0"
                                "2c\0")),
              std::vector<Entry>(5, kEmpty));
}

TEST(GenDowTable, FillsNothingFromTheFirstTextWithoutADigitOn) {
    for (const char *other : {"x", " 3", "-3", "/", ":", "\xB2", "Monday"}) {
        const std::string list = text("2a\0") + other +
                                 text(
                                     "\0"
                                     "5c\0"
                                     "6d\0");
        EXPECT_EQ(dow_table(5, list),
                  (std::vector<Entry>{{2, "tue", "a", 1}, kEmpty, kEmpty, kEmpty, kEmpty}))
            << other;
        EXPECT_EQ(dow_table(5, other + text("\0"
                                            "5c\0")),
                  std::vector<Entry>(5, kEmpty))
            << other;
    }
}

TEST(GenDowTable, EmptyListFillsNothing) {
    EXPECT_EQ(dow_table(5, text("\0"
                                "2a\0")),
              std::vector<Entry>(5, kEmpty));
}

TEST(GenDowTable, ReadsNothingBehindTheTextOfTheLastEntry) {
    const FencedText list(
        text("2a\0"
             "4b\0"));
    dow_entry table[3] = {};
    gen_dow_table(table, 2, list.get());
    EXPECT_EQ(table[1].day, 4u);
    EXPECT_STREQ(table[1].text, "b");
    EXPECT_EQ(table[2].text, nullptr);
}

TEST(GenDowTable, CountMayBeAboveTheTexts) {
    std::vector<dow_entry> table(5, {kUntouched, kMark, kMark});
    gen_dow_table(table.data(), 0xFFFFFFFF, "2a\0");
    EXPECT_EQ(table[0].day, 2u);
    EXPECT_EQ(table[1].day, kUntouched);
}

TEST(GenDowTable, NullArgumentFillsNothing) {
    std::vector<dow_entry> table(1, {kUntouched, kMark, kMark});
    gen_dow_table(table.data(), 1, nullptr);
    EXPECT_EQ(table[0].day, kUntouched);
    gen_dow_table(nullptr, 1, "2a\0");
    gen_dow_table(nullptr, 0, nullptr);
}

}  // namespace
