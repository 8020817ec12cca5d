#include <gtest/gtest.h>
#include <qmv/items.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

/// Where a list scanner stopped, as the text that is left; "(null)" for a null result.
std::string rest(const char *result) {
    return result != nullptr ? result : "(null)";
}

TEST(ScanUint, TakesOneNumberAndReturnsWhatFollowsTheComma) {
    const struct {
        const char *label;
        const char *text;
        unsigned value;
        const char *rest;
    } rows[] = {
        {"blanks in front", "  5,6", 5, "6"},
        {"last number", "6", 6, "(null)"},
        {"blank behind the number", "5 ,6", 5, "(null)"},
        {"comma at the end", "5,", 5, ""},
        {"several more", "5,6,7", 5, "6,7"},
        {"blank behind the comma", "5, 6", 5, " 6"},
        {"empty element follows", "5,,6", 5, ",6"},
        {"other separator", "5;6", 5, "(null)"},
        {"letters behind the number", "5a,6", 5, "(null)"},
        {"leading zeros", "007,1", 7, "1"},
        {"largest", "4294967295,1", 4294967295u, "1"},
        {"wraps at 32 bits", "4294967301,1", 5, "1"},
        {"byte above 0x7F behind the number", "5\xB2,6", 5, "(null)"},
    };
    for (const auto &row : rows) {
        unsigned value = 99;
        EXPECT_EQ(rest(scan_uint(row.text, &value)), row.rest) << row.label;
        EXPECT_EQ(value, row.value) << row.label;
    }
}

TEST(ScanUint, StoresNothingWhereNoNumberStands) {
    for (const char *text : {"", "   ", "abc", ",5", "-5,6", "+5,6", "\t5,6", "\n5", "\xB2"}) {
        unsigned value = 99;
        EXPECT_EQ(rest(scan_uint(text, &value)), "(null)") << '"' << text << '"';
        EXPECT_EQ(value, 99u) << '"' << text << '"';
    }
}

TEST(ScanUint, ReturnsNullForNull) {
    unsigned value = 99;
    EXPECT_EQ(scan_uint(nullptr, &value), nullptr);
    EXPECT_EQ(value, 99u);
}

TEST(ScanUint, WorksWithoutAPlaceToStore) {
    EXPECT_EQ(rest(scan_uint("5,6", nullptr)), "6");
    EXPECT_EQ(scan_uint("6", nullptr), nullptr);
}

TEST(ScanUint, ReturnsAPointerIntoItsText) {
    const char text[] = " 12,34";
    EXPECT_EQ(scan_uint(text, nullptr), text + 4);
}

TEST(ScanUint, WalksAWholeList) {
    std::vector<unsigned> values;
    unsigned value = 0;
    const char *cursor = "1, 2,3";
    do {
        cursor = scan_uint(cursor, &value);
        values.push_back(value);
    } while (cursor != nullptr);
    EXPECT_EQ(values, (std::vector<unsigned>{1, 2, 3}));
}

struct Group {
    std::string rest;
    std::vector<unsigned> stored;
};

/// Scans one group into an array that ends right behind its capacity.
Group scan_group(const char *text, int capacity = 8) {
    constexpr unsigned kMark = 0xABCDABCD;
    std::vector<unsigned> array(10, kMark);
    unsigned count = 0;
    Group group{rest(scan_list_uint(text, &count, array.data(), capacity)), {}};
    group.stored.assign(array.begin(), array.begin() + count);
    for (unsigned i = count; i < array.size(); ++i)
        EXPECT_EQ(array[i], kMark) << "written beyond the count: " << text;
    return group;
}

TEST(ScanListUint, TakesOneGroupAndReturnsTheNext) {
    const struct {
        const char *label;
        const char *text;
        std::vector<unsigned> stored;
        const char *rest;
    } rows[] = {
        {"another group follows", "(1,2,3),(4,5)", {1, 2, 3}, "(4,5)"},
        {"last group", "(4,5)", {4, 5}, "(null)"},
        {"one number", "(7),(8)", {7}, "(8)"},
        {"no number", "(),(8)", {}, "(8)"},
        {"last group without a number", "()", {}, "(null)"},
        {"blanks in front of the group", "   (1),(2)", {1}, "(2)"},
        {"blanks in front of numbers", "(  1,  2),(3)", {1, 2}, "(3)"},
        {"blank between the groups", "(1), (2)", {1}, " (2)"},
        {"comma at the end of the group", "(1,2,),(3)", {1, 2}, "(3)"},
        {"comma at the end of the text", "(1),", {1}, ""},
        {"blank behind the group", "(1) ,(2)", {1}, "(null)"},
        {"other text behind the group", "(1)(2)", {1}, "(null)"},
        {"numbers without a comma", "(1 2),(3)", {1, 2}, "(3)"},
        {"wraps at 32 bits", "(4294967295,4294967296),", {4294967295u, 0}, ""},
    };
    for (const auto &row : rows) {
        const Group group = scan_group(row.text);
        EXPECT_EQ(group.stored, row.stored) << row.label;
        EXPECT_EQ(group.rest, row.rest) << row.label;
    }
}

TEST(ScanListUint, ReturnsTheEndOfAGroupThatIsNotClosed) {
    const struct {
        const char *text;
        std::vector<unsigned> stored;
    } rows[] = {{"(", {}}, {"(1", {1}}, {"(1,", {1}}, {"(1,2", {1, 2}}};
    for (const auto &row : rows) {
        const Group group = scan_group(row.text);
        EXPECT_EQ(group.rest, "") << row.text;
        EXPECT_EQ(group.stored, row.stored) << row.text;
    }
    const char text[] = "(1,2";
    unsigned count = 0;
    unsigned array[4];
    EXPECT_EQ(scan_list_uint(text, &count, array, 4), text + 4);
}

TEST(ScanListUint, ReturnsNullForMalformedText) {
    // Where another group follows, it would be the result of a well-formed one.
    const struct {
        const char *label;
        const char *text;
        std::vector<unsigned> stored;
    } rows[] = {
        {"empty", "", {}},
        {"blanks", "  ", {}},
        {"no group", "1,2", {}},
        {"tab in front of the group", "\t(1),(2)", {}},
        {"blank in front of the closing parenthesis", "(1 ),(2)", {1}},
        {"blank behind the last comma", "(1, ),(2)", {1}},
        {"blank in an empty group", "( ),(2)", {}},
        {"empty element", "(1,,2),(3)", {1}},
        {"comma first", "(,1),(3)", {}},
        {"comma alone", "(,),(3)", {}},
        {"letter", "(1,a),(2)", {1}},
        {"letter behind a number", "(1a),(2)", {1}},
        {"minus", "(-1),(2)", {}},
        {"nested", "((1)),(2)", {}},
        {"tab in front of a number", "(1,\t2),(3)", {1}},
        {"byte above 0x7F", "(1,\xB2),(3)", {1}},
    };
    for (const auto &row : rows) {
        const Group group = scan_group(row.text);
        EXPECT_EQ(group.rest, "(null)") << row.label;
        EXPECT_EQ(group.stored, row.stored) << row.label;
    }
}

TEST(ScanListUint, ParsesAndDropsNumbersBeyondTheCapacity) {
    const Group two = scan_group("(1, 2,3),(4)", 2);
    EXPECT_EQ(two.stored, (std::vector<unsigned>{1, 2}));
    EXPECT_EQ(two.rest, "(4)");
    for (const int capacity : {0, -1, -2147483647 - 1}) {
        const Group none = scan_group("(1,2),(3)", capacity);
        EXPECT_TRUE(none.stored.empty()) << capacity;
        EXPECT_EQ(none.rest, "(3)") << capacity;
    }
    EXPECT_EQ(scan_group("(1,2,x)", 1).rest, "(null)") << "dropped numbers are still checked";
}

TEST(ScanListUint, GoesOnCountingWhereTheCallerIs) {
    unsigned array[6] = {10, 20, 30, 40, 50, 60};
    unsigned count = 2;
    EXPECT_EQ(rest(scan_list_uint("(1,2),(3)", &count, array, 3)), "(3)");
    EXPECT_EQ(count, 4u);
    EXPECT_EQ((std::vector<unsigned>(array, array + 6)),
              (std::vector<unsigned>{10, 20, 1, 2, 50, 60}));
}

TEST(ScanListUint, WalksAllGroups) {
    unsigned array[6] = {};
    unsigned count = 0;
    const char *cursor = "(1,2,3),(4,5)";
    cursor = scan_list_uint(cursor, &count, array, 6);
    EXPECT_EQ(count, 3u);
    cursor = scan_list_uint(cursor, &count, array, 3);
    EXPECT_EQ(cursor, nullptr);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(array[4], 5u);
}

TEST(ScanListUint, ReturnsItsTextForNullArguments) {
    const char text[] = " (1)";
    unsigned count = 7;
    unsigned array[4] = {};
    EXPECT_EQ(scan_list_uint(nullptr, &count, array, 4), nullptr);
    EXPECT_EQ(scan_list_uint(text, nullptr, array, 4), text);
    EXPECT_EQ(scan_list_uint(text, &count, nullptr, 4), text);
    EXPECT_EQ(count, 7u);
}

struct Call {
    int ctx;
    std::string element;

    bool operator==(const Call &) const = default;
};

std::vector<Call> calls;

int collect(int ctx, char *element) {
    calls.push_back({ctx, element});
    return -1;
}

/// The elements that a text is split into.
std::vector<std::string> split(const char *text, int separator) {
    std::string copy = text;
    calls.clear();
    parse_items_str(collect, 0, copy.data(), separator);
    std::vector<std::string> elements;
    for (const Call &call : calls)
        elements.push_back(call.element);
    return elements;
}

TEST(ParseItemsStr, CallsBackForEachElement) {
    using Elements = std::vector<std::string>;
    const struct {
        const char *label;
        const char *text;
        int separator;
        Elements elements;
    } rows[] = {
        {"blanks and an empty element", " a, b,,c", ',', {"a", "b", "c"}},
        {"one element", "abc", ',', {"abc"}},
        {"blanks behind an element stay", "a ,b  ", ',', {"a ", "b  "}},
        {"blanks within an element stay", " a b , c d", ',', {"a b ", "c d"}},
        {"separator first", ",a", ',', {"a"}},
        {"separator last", "a,", ',', {"a"}},
        {"separators only", ",,,", ',', {}},
        {"blank element", "a,   ,b", ',', {"a", "b"}},
        {"blanks only", "   ", ',', {}},
        {"empty", "", ',', {}},
        {"another separator", "a,b;c", ';', {"a,b", "c"}},
        {"newline", "a\nb", '\n', {"a", "b"}},
        {"blank as separator", " a  b c ", ' ', {"a", "b", "c"}},
        {"tab is no blank", "\ta,\tb", ',', {"\ta", "\tb"}},
        {"byte above 0x7F as separator",
         "a\xE9"
         "b",
         0xE9,
         {"a", "b"}},
        {"byte above 0x7F as negative separator",
         "a\xE9"
         "b",
         -23,
         {"a", "b"}},
        {"bytes above 0x7F in elements", "\xC3\xA9,\xFF", ',', {"\xC3\xA9", "\xFF"}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(split(row.text, row.separator), row.elements) << row.label;
}

TEST(ParseItemsStr, TakesTheWholeTextWithoutASeparator) {
    EXPECT_EQ(split(" a,b", 0), std::vector<std::string>{"a,b"});
}

TEST(ParseItemsStr, HandsTheContextToEveryCall) {
    char text[] = "a,b";
    calls.clear();
    parse_items_str(collect, -5, text, ',');
    EXPECT_EQ(calls, (std::vector<Call>{{-5, "a"}, {-5, "b"}}));
}

TEST(ParseItemsStr, SplitsInPlace) {
    char text[] = " a,b,";
    calls.clear();
    parse_items_str(collect, 0, text, ',');
    EXPECT_EQ(std::memcmp(text, " a\0b\0", 6), 0);
}

TEST(ParseItemsStr, LetsTheCallbackChangeItsElement) {
    char text[] = "ab,cd";
    calls.clear();
    parse_items_str(
        [](int, char *element) {
            element[0] = 'X';
            element[1] = '\0';
            return collect(0, element);
        },
        0, text, ',');
    EXPECT_EQ(calls, (std::vector<Call>{{0, "X"}, {0, "X"}}));
}

TEST(ParseItemsStr, DoesNothingForNullArguments) {
    char text[] = "a,b";
    parse_items_str(nullptr, 0, text, ',');
    EXPECT_STREQ(text, "a,b");
    calls.clear();
    parse_items_str(collect, 0, nullptr, ',');
    EXPECT_TRUE(calls.empty());
}

}  // namespace
