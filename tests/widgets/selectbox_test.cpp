// Select boxes: the generic printer, numbered options, text options.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <cstdio>
#include <cwchar>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/output.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::TempDir;

constexpr int kClosingLength = 11;  // of "</select>" and a line end
constexpr int kArg = -77;

/// What a class or a callback was asked.
struct Asked {
    unsigned op;
    unsigned index;
    int arg;

    bool operator==(const Asked &) const = default;
};

void PrintTo(const Asked &asked, std::ostream *out) {
    *out << '(' << asked.op << ", " << asked.index << ", " << asked.arg << ')';
}

using AskedList = std::vector<Asked>;

/// The indexes for which an operation was asked.
std::vector<unsigned> indexes(const AskedList &asked, unsigned op) {
    std::vector<unsigned> list;
    for (const Asked &one : asked) {
        if (one.op == op)
            list.push_back(one.index);
    }
    return list;
}

std::vector<unsigned> up_to(unsigned end) {
    std::vector<unsigned> list;
    for (unsigned i = 0; i < end; ++i)
        list.push_back(i);
    return list;
}

std::string decimal(unsigned number) {
    return std::to_string(number);
}

/* ---- Any class ---- */

/// A class that answers from a table and notes each call.
struct TestClass {
    struct Option {
        int exists;
        const char *value;
        int selected;
        const char *label;
    };

    std::vector<Option> options;
    int beyond = -1;  ///< whether there is an option behind the table
    const char *attributes = "";
    int ignored = 1;  ///< result of the operations whose result is ignored
    AskedList asked = {};

    static int answer(void *context, unsigned op, unsigned index, int arg) {
        auto &self = *static_cast<TestClass *>(context);
        self.asked.push_back({op, index, arg});
        const bool known = index < self.options.size();
        switch (op) {
            case 0:
                return known ? self.options[index].exists : self.beyond;
            case 1:
                std::printf("%s", known ? self.options[index].value : "v");
                return known ? self.options[index].selected : 0;
            case 2:
                std::printf("%s", known ? self.options[index].label : "l");
                return self.ignored;
            default:
                std::printf("%s", self.attributes);
                return self.ignored;
        }
    }
};

testing::AssertionResult prints_box(TestClass &cls, const char *name, unsigned count,
                                    unsigned flags, const std::string &box) {
    return prints(box, kClosingLength, [&] {
        return gen_selectbox_class(&cls, name, TestClass::answer, kArg, count, flags);
    });
}

TEST(GenSelectboxClass, PrintsOptionsInTheOrderOfTheirIndexes) {
    TestClass cls{{{1, "a", 0, "First"}, {1, "b", 1, "Second"}, {1, "c", 0, "Third"}}};
    EXPECT_TRUE(prints_box(cls, "n", 3, 0,
                           "<select name=\"n\">\r\n"
                           "<option value=\"a\">First</option>\r\n"
                           "<option value=\"b\" selected>Second</option>\r\n"
                           "<option value=\"c\">Third</option>\r\n"
                           "</select>\r\n"));
}

TEST(GenSelectboxClass, AsksForAttributesOnceAndForEachOptionThreeTimes) {
    TestClass cls{{{1, "a", 0, "A"}, {0, "b", 0, "B"}, {1, "c", 1, "C"}, {-1, "d", 0, "D"}}};
    printed([&] { gen_selectbox_class(&cls, "n", TestClass::answer, kArg, 256, 0); });
    EXPECT_EQ(cls.asked, (AskedList{{3, 0, kArg},
                                    {0, 0, kArg},
                                    {1, 0, kArg},
                                    {2, 0, kArg},
                                    {0, 1, kArg},
                                    {0, 2, kArg},
                                    {1, 2, kArg},
                                    {2, 2, kArg},
                                    {0, 3, kArg}}));
}

TEST(GenSelectboxClass, PrintsNameThenAttributesThenFlags) {
    const struct {
        const char *label;
        const char *name;
        const char *attributes;
        unsigned flags;
        const char *box;
    } rows[] = {
        {"nothing", nullptr, "", 0, "<select>\r\n</select>\r\n"},
        {"all of them", "n", " size=\"3\"", PRINT_DISABLED,
         "<select name=\"n\" size=\"3\" disabled>\r\n</select>\r\n"},
        {"raw name", "a<b\"%s", "", 0, "<select name=\"a<b\"%s\">\r\n</select>\r\n"},
        {"empty name", "", "", 0, "<select name=\"\">\r\n</select>\r\n"},
        {"all flags", nullptr, " a", 0xFFFFFFFF,
         "<select a checked disabled readonly selected style=\"display: none;\""
         " style=\"visibility: hidden;\" autocomplete=\"default\">\r\n</select>\r\n"},
        {"flags without text", nullptr, "", 0x10 | 0x200 | 0x4000 | 0x80000,
         "<select>\r\n</select>\r\n"},
    };
    for (const auto &row : rows) {
        TestClass cls{{}};
        cls.attributes = row.attributes;
        EXPECT_TRUE(prints_box(cls, row.name, 5, row.flags, row.box)) << row.label;
    }
}

TEST(GenSelectboxClass, FlagsOfTheBoxAreNotThoseOfItsOptions) {
    TestClass cls{{{1, "a", 0, "A"}, {1, "b", 1, "B"}}};
    EXPECT_TRUE(prints_box(cls, nullptr, 2, PRINT_DISABLED | PRINT_SELECTED,
                           "<select disabled selected>\r\n"
                           "<option value=\"a\">A</option>\r\n"
                           "<option value=\"b\" selected>B</option>\r\n"
                           "</select>\r\n"));
}

TEST(GenSelectboxClass, AnyNonzeroAnswerSelectsAndAnyPositiveOneOffers) {
    TestClass cls{{{7, "a", 5, "A"}, {1, "b", -1, "B"}, {2147483647, "c", 0, "C"}}};
    EXPECT_TRUE(prints_box(cls, nullptr, 3, 0,
                           "<select>\r\n"
                           "<option value=\"a\" selected>A</option>\r\n"
                           "<option value=\"b\" selected>B</option>\r\n"
                           "<option value=\"c\">C</option>\r\n"
                           "</select>\r\n"));
}

TEST(GenSelectboxClass, StopsAtTheFirstNegativeAnswer) {
    for (const int answer : {-1, -2, -2147483647 - 1}) {
        TestClass cls{{{1, "a", 0, "A"}, {answer, "b", 0, "B"}, {1, "c", 0, "C"}}};
        EXPECT_TRUE(prints_box(cls, nullptr, 3, 0,
                               "<select>\r\n<option value=\"a\">A</option>\r\n</select>\r\n"));
        EXPECT_EQ(indexes(cls.asked, 0), up_to(2)) << answer;
    }
}

TEST(GenSelectboxClass, IgnoresTheResultsOfLabelAndAttributes) {
    for (const int ignored : {-1, 0, 1}) {
        TestClass cls{{{1, "a", 0, "A"}, {1, "b", 0, "B"}}};
        cls.ignored = ignored;
        EXPECT_TRUE(prints_box(cls, nullptr, 2, 0,
                               "<select>\r\n<option value=\"a\">A</option>\r\n"
                               "<option value=\"b\">B</option>\r\n</select>\r\n"));
    }
}

TEST(GenSelectboxClass, AsksForCountOptionsWhateverTheCount) {
    for (const unsigned count : {0u, 1u, 2u, 255u, 256u, 257u, 1000u}) {
        TestClass cls{{}};
        cls.beyond = 1;
        std::string box = "<select>\r\n";
        for (unsigned i = 0; i < count; ++i)
            box += "<option value=\"v\">l</option>\r\n";
        EXPECT_TRUE(prints_box(cls, nullptr, count, 0, box + "</select>\r\n")) << count;
        EXPECT_EQ(indexes(cls.asked, 0), up_to(count)) << count;
        EXPECT_EQ(indexes(cls.asked, 3), up_to(1)) << count;
    }
}

TEST(GenSelectboxClass, SkippedOptionsCountAgainstTheCount) {
    TestClass cls{{}};
    cls.beyond = 0;
    EXPECT_TRUE(prints_box(cls, nullptr, 300, 0, "<select>\r\n</select>\r\n"));
    EXPECT_EQ(cls.asked.size(), 301u);
}

TEST(GenSelectboxClass, NullClassGivesABoxWithoutOptions) {
    EXPECT_TRUE(prints("<select name=\"n\" disabled>\r\n</select>\r\n", kClosingLength, [] {
        return gen_selectbox_class(nullptr, "n", nullptr, kArg, 256, PRINT_DISABLED);
    }));
}

/* ---- Numbered options ---- */

AskedList asked_numbers;

/// Options 0 to 3 without 2.
int offer_numbers(unsigned op, unsigned index, int arg) {
    asked_numbers.push_back({op, index, arg});
    if (op == 0)
        return index > 3 ? -1 : index == 2 ? 0 : 1;
    if (op == 2)
        std::printf("<b>%u</b>", index);
    if (op == 3)
        std::printf(" asked");
    return -1;
}

/// Options without end.
int offer_all_numbers(unsigned op, unsigned index, int arg) {
    asked_numbers.push_back({op, index, arg});
    return 1;
}

/// Never an option, and no end.
int skip_all_numbers(unsigned op, unsigned index, int arg) {
    asked_numbers.push_back({op, index, arg});
    return 0;
}

selectbox_state number_state(unsigned flags, unsigned value) {
    selectbox_state state{};
    state.flags = flags;
    state.value.number = value;
    return state;
}

/// The four options of offer_numbers() with one of them selected.
std::string number_options(unsigned selected) {
    std::string options;
    for (const unsigned index : {0u, 1u, 3u}) {
        options += "<option value=\"" + decimal(index) + (index == selected ? "\" selected" : "\"");
        options += "><b>" + decimal(index) + "</b></option>\r\n";
    }
    return options;
}

TEST(GenSelectboxNum, SelectsTheOptionOfTheCurrentValue) {
    for (const unsigned current : {0u, 1u, 2u, 3u, 4u, 255u, 256u, 4294967295u}) {
        selectbox_state state = number_state(0, current);
        EXPECT_EQ(printed([&] { gen_selectbox_num(&state, "n", offer_numbers, kArg, nullptr); }),
                  "<select name=\"n\" asked>\r\n" + number_options(current) + "</select>\r\n")
            << current;
        EXPECT_EQ(state.value.number, current);
    }
}

TEST(GenSelectboxNum, PrintsAndReturnsTheFlagsOfTheState) {
    const struct {
        unsigned flags;
        const char *attributes;
    } rows[] = {
        {0, ""},
        {PRINT_DISABLED, " disabled"},
        {PRINT_READONLY | PRINT_HIDDEN, " readonly style=\"visibility: hidden;\""},
        {PRINT_JSON_COMMA, ""},
    };
    for (const auto &row : rows) {
        selectbox_state state = number_state(row.flags, 9);
        unsigned returned = 0;
        EXPECT_EQ(
            printed([&] { returned = gen_selectbox_num(&state, "n", offer_numbers, kArg, " x"); }),
            "<select name=\"n\" x" + std::string(row.attributes) + ">\r\n" + number_options(9) +
                "</select>\r\n");
        EXPECT_EQ(returned, row.flags);
    }
}

TEST(GenSelectboxNum, NullStateGivesADisabledBoxWithOption0Selected) {
    unsigned returned = 0;
    EXPECT_EQ(
        printed([&] { returned = gen_selectbox_num(nullptr, "n", offer_numbers, kArg, nullptr); }),
        "<select name=\"n\" asked disabled>\r\n" + number_options(0) + "</select>\r\n");
    EXPECT_EQ(returned, 1u);
}

TEST(GenSelectboxNum, PrintsAttributesRawInPlaceOfAsking) {
    selectbox_state state = number_state(PRINT_DISABLED, 9);
    const struct {
        const char *label;
        const char *attributes;
        const char *head;
    } rows[] = {
        {"raw", " a=\"<%s&%n>\"", "<select a=\"<%s&%n>\" disabled>\r\n"},
        {"empty", "", "<select disabled>\r\n"},
    };
    for (const auto &row : rows) {
        asked_numbers.clear();
        EXPECT_EQ(printed([&] {
                      gen_selectbox_num(&state, nullptr, offer_numbers, kArg, row.attributes);
                  }),
                  row.head + number_options(9) + "</select>\r\n")
            << row.label;
        EXPECT_EQ(indexes(asked_numbers, 3), std::vector<unsigned>{}) << row.label;
    }
}

TEST(GenSelectboxNum, AsksTheCallerForAllButValues) {
    selectbox_state state = number_state(0, 1);
    asked_numbers.clear();
    printed([&] { gen_selectbox_num(&state, "n", offer_numbers, kArg, nullptr); });
    EXPECT_EQ(asked_numbers, (AskedList{{3, 0, kArg},
                                        {0, 0, kArg},
                                        {2, 0, kArg},
                                        {0, 1, kArg},
                                        {2, 1, kArg},
                                        {0, 2, kArg},
                                        {0, 3, kArg},
                                        {2, 3, kArg},
                                        {0, 4, kArg}}));
}

TEST(GenSelectboxNum, AsksForIndexes0To255) {
    for (const selectbox_num_fn fn : {&offer_all_numbers, &skip_all_numbers}) {
        selectbox_state state = number_state(0, 255);
        asked_numbers.clear();
        const std::string named =
            printed([&] { gen_selectbox_num(&state, "n", fn, kArg, nullptr); });
        EXPECT_EQ(indexes(asked_numbers, 0), up_to(256));
        asked_numbers.clear();
        printed([&] { gen_xselectbox_num(&state, fn, kArg, nullptr); });
        EXPECT_EQ(indexes(asked_numbers, 0), up_to(256));
        if (fn == &offer_all_numbers) {
            const std::string last = "<option value=\"255\" selected></option>\r\n</select>\r\n";
            EXPECT_EQ(named.substr(named.size() - last.size()), last);
        }
    }
}

TEST(GenSelectboxNum, NullCallbackGivesABoxWithoutOptions) {
    selectbox_state state = number_state(0, 0);
    EXPECT_EQ(printed([&] { gen_selectbox_num(&state, "n", nullptr, kArg, nullptr); }),
              "<select name=\"n\">\r\n</select>\r\n");
}

TEST(GenXselectboxNum, PrintsFormattedAttributesAndNoName) {
    selectbox_state state = number_state(PRINT_DISABLED, 3);
    unsigned returned = 0;
    asked_numbers.clear();
    EXPECT_EQ(
        printed([&] {
            returned = gen_xselectbox_num(&state, offer_numbers, kArg, " name=\"%s\" size=\"%d\"",
                                          "a<b%", 4);
        }),
        "<select name=\"a<b%\" size=\"4\" disabled>\r\n" + number_options(3) + "</select>\r\n");
    EXPECT_EQ(returned, 1u);
    EXPECT_EQ(indexes(asked_numbers, 3), std::vector<unsigned>{});
    EXPECT_EQ(indexes(asked_numbers, 1), std::vector<unsigned>{});
}

TEST(GenXselectboxNum, AsksForAttributesWithoutAFormat) {
    selectbox_state state = number_state(0, 9);
    EXPECT_EQ(printed([&] { gen_xselectbox_num(&state, offer_numbers, kArg, nullptr); }),
              "<select asked>\r\n" + number_options(9) + "</select>\r\n");
}

TEST(GenXselectboxNum, AsksForAttributesWhenFormattingFails) {
    selectbox_state state = number_state(0, 9);
    // There is no character of this code.
    EXPECT_EQ(printed([&] {
                  gen_xselectbox_num(&state, offer_numbers, kArg, " a=\"%lc\"", wint_t{0xD800});
              }),
              "<select asked>\r\n" + number_options(9) + "</select>\r\n");
}

TEST(GenXselectboxNum, AttributesThatFormatToNothingAreNotAskedFor) {
    selectbox_state state = number_state(0, 9);
    EXPECT_EQ(printed([&] { gen_xselectbox_num(&state, offer_numbers, kArg, "%s", ""); }),
              "<select>\r\n" + number_options(9) + "</select>\r\n");
}

TEST(GenXselectboxNum, NullStateGivesADisabledBoxWithOption0Selected) {
    unsigned returned = 0;
    EXPECT_EQ(
        printed([&] { returned = gen_xselectbox_num(nullptr, offer_numbers, kArg, " x=\"1\""); }),
        "<select x=\"1\" disabled>\r\n" + number_options(0) + "</select>\r\n");
    EXPECT_EQ(returned, 1u);
}

TEST(GenXselectboxNum, PrintsAttributesOfAnyLength) {
    selectbox_state state = number_state(0, 9);
    const std::string title(100000, 't');
    EXPECT_EQ(
        printed([&] { gen_xselectbox_num(&state, nullptr, kArg, " title=\"%s\"", title.c_str()); }),
        "<select title=\"" + title + "\">\r\n</select>\r\n");
}

TEST(SelectboxNumShowValue, PrintsTheIndexAndTellsWhetherItIsTheCurrentOne) {
    EXPECT_TRUE(prints("0", 1, [] { return selectbox_num_show_value(0, 0); }));
    EXPECT_TRUE(prints("7", 1, [] { return selectbox_num_show_value(7, 7); }));
    EXPECT_TRUE(prints("7", 0, [] { return selectbox_num_show_value(7, 8); }));
    EXPECT_TRUE(
        prints("4294967295", 1, [] { return selectbox_num_show_value(4294967295u, 4294967295u); }));
    EXPECT_TRUE(prints("2147483648", 0, [] { return selectbox_num_show_value(0x80000000u, 0); }));
}

TEST(ScanSelectNum, StoresTheNumberOfAnOption) {
    const struct {
        const char *label;
        const char *in;
        unsigned before;
        unsigned count;
        unsigned fallback;
        int result;
        unsigned after;
    } rows[] = {
        {"first", "0", 2, 5, 3, 1, 0},
        {"last", "4", 2, 5, 3, 1, 4},
        {"unchanged", "2", 2, 5, 3, 0, 2},
        {"clamped to the last option", "5", 2, 5, 3, 1, 4},
        {"blanks, above the count, a letter behind", "  7x", 2, 5, 0, 1, 4},
        {"clamped to the current value", "99", 4, 5, 3, 0, 4},
        {"leading zeros", "0003", 2, 5, 0, 1, 3},
        {"what follows is ignored", "3,4", 2, 5, 0, 1, 3},
        {"a blank ends the number", "1 3", 2, 5, 0, 1, 1},
        {"no number gives the fallback", "abc", 2, 5, 3, 1, 3},
        {"fallback is clamped", "abc", 0, 3, 9, 1, 2},
        {"fallback equal to the current value", "abc", 3, 5, 3, 0, 3},
        {"empty", "", 2, 5, 3, 1, 3},
        {"only blanks", "   ", 2, 5, 3, 1, 3},
        {"a tab is no blank", "\t4", 2, 5, 3, 1, 3},
        {"a line end is no blank", "\n4", 2, 5, 3, 1, 3},
        {"a minus sign is no number", "-1", 2, 5, 3, 1, 3},
        {"a plus sign is no number", "+1", 2, 5, 3, 1, 3},
        {"decimal only", "0x4", 2, 5, 3, 1, 0},
        {"wraps at 2^32", "4294967297", 2, 5, 3, 1, 1},
        {"wraps to 0", "4294967296", 2, 5, 3, 1, 0},
        {"wraps to a number above the count", "99999999999999999999", 2, 5, 3, 1, 4},
        {"one option", "7", 3, 1, 0, 1, 0},
        {"no option, a number", "3", 2, 0, 3, 1, 0},
        {"no option, no number", "abc", 2, 0, 3, 1, 0},
        {"no option, already 0", "3", 0, 0, 3, 0, 0},
        {"more options than numbers", "4294967295", 2, 4294967295u, 3, 1, 4294967294u},
        {"current value out of range stays only when it is posted", "4", 9, 5, 3, 1, 4},
    };
    for (const auto &row : rows) {
        unsigned value = row.before;
        EXPECT_EQ(scan_select_num(row.in, &value, row.count, row.fallback), row.result)
            << row.label;
        EXPECT_EQ(value, row.after) << row.label;
    }
}

TEST(ScanSelectNum, NullArgumentGivesZeroAndChangesNothing) {
    unsigned value = 9;
    EXPECT_EQ(scan_select_num(nullptr, &value, 5, 3), 0);
    EXPECT_EQ(scan_select_num(nullptr, &value, 0, 3), 0);
    EXPECT_EQ(value, 9u);
    EXPECT_EQ(scan_select_num("1", nullptr, 5, 3), 0);
}

/* ---- Text options ---- */

struct TextOption {
    int result;
    const char *value;
    const char *label;
};

/// The option table of one test and what was asked of it.
struct TextTable {
    std::vector<TextOption> options;
    int beyond = -1;  ///< result behind the table
    std::vector<unsigned> asked = {};
    bool pair_was_clear = true;
    bool arg_was_right = true;
};

TextTable *table;

int offer_texts(unsigned index, int arg, selectbox_text *pair) {
    table->asked.push_back(index);
    table->pair_was_clear &= pair->value == nullptr && pair->label == nullptr;
    table->arg_was_right &= arg == kArg;
    if (index >= table->options.size())
        return table->beyond;
    const TextOption &option = table->options[index];
    if (option.value != nullptr)
        pair->value = option.value;
    if (option.label != nullptr)
        pair->label = option.label;
    return option.result;
}

/// Makes a table the one that offer_texts() answers from.
class TableScope {
  public:
    explicit TableScope(TextTable &used) { table = &used; }
    TableScope(const TableScope &) = delete;
    TableScope &operator=(const TableScope &) = delete;
    ~TableScope() { table = nullptr; }
};

selectbox_state text_state(unsigned flags, const char *value) {
    selectbox_state state{};
    state.flags = flags;
    state.value.text = value;
    return state;
}

/// Prints a box named "n".
std::string text_box(TextTable &used, const char *current, selectbox_num_fn printer = nullptr,
                     const char *attributes = nullptr) {
    const TableScope scope(used);
    selectbox_state state = text_state(0, current);
    std::string box =
        printed([&] { gen_selectbox_text(&state, "n", offer_texts, printer, kArg, attributes); });
    EXPECT_TRUE(used.pair_was_clear);
    EXPECT_TRUE(used.arg_was_right);
    EXPECT_EQ(state.value.text, current);
    return box;
}

AskedList asked_printer;

/// Labels of its own for options 0 to 2 without 1.
int print_labels(unsigned op, unsigned index, int arg) {
    asked_printer.push_back({op, index, arg});
    if (op == 0)
        return index > 2 ? -1 : index == 1 ? 0 : 1;
    std::printf(op == 2 ? "<i>%u</i>" : " own=\"%u\"", index);
    return -1;
}

TEST(GenSelectboxText, PrintsOptionsAndSelectsTheCurrentOne) {
    TextTable used{{{1, "a", "First"}, {1, "b", "Second"}, {0, "c", "Third"}, {5, "d", "Fourth"}}};
    const std::string current = "b";
    EXPECT_EQ(text_box(used, current.c_str()),
              "<select name=\"n\">\r\n"
              "<option value=\"a\">First</option>\r\n"
              "<option value=\"b\" selected>Second</option>\r\n"
              "<option value=\"d\">Fourth</option>\r\n"
              "</select>\r\n");
}

TEST(GenSelectboxText, EscapesValuesAndLabels) {
    TextTable used{{{1, "<\"&", "A & \"B\" <c>"}, {1, "\xC3\xA9", "\xE2\x82\xAC\x80%s"}}};
    EXPECT_EQ(text_box(used, "<\"&"),
              "<select name=\"n\">\r\n"
              "<option value=\"&lt;&quot;&amp;\" selected>A &amp; &quot;B&quot; &lt;c&gt;</option>"
              "\r\n"
              "<option value=\"&eacute;\">&#8364;%s</option>\r\n"
              "</select>\r\n");
}

TEST(GenSelectboxText, ComparesWholeValues) {
    TextTable used{{{1, "on", "1"}, {1, "ON", "2"}, {1, "only", "3"}, {1, "o", "4"}, {1, "", "5"}}};
    EXPECT_EQ(text_box(used, "on"),
              "<select name=\"n\">\r\n"
              "<option value=\"on\" selected>1</option>\r\n"
              "<option value=\"ON\">2</option>\r\n"
              "<option value=\"only\">3</option>\r\n"
              "<option value=\"o\">4</option>\r\n"
              "<option value=\"\">5</option>\r\n"
              "</select>\r\n");
}

TEST(GenSelectboxText, EqualOptionsAreAllSelected) {
    TextTable used{{{1, "a", "1"}, {1, "a", "2"}}};
    EXPECT_EQ(text_box(used, "a"),
              "<select name=\"n\">\r\n<option value=\"a\" selected>1</option>\r\n"
              "<option value=\"a\" selected>2</option>\r\n</select>\r\n");
}

TEST(GenSelectboxText, OptionWithoutValuePrintsAnEmptyOneAndIsSelected) {
    TextTable used{{{1, nullptr, "None"}, {1, "a", "A"}}};
    EXPECT_EQ(text_box(used, "a"),
              "<select name=\"n\">\r\n"
              "<option value=\"\" selected>None</option>\r\n"
              "<option value=\"a\" selected>A</option>\r\n"
              "</select>\r\n");
}

TEST(GenSelectboxText, OptionWithoutLabelPrintsAnEmptyOne) {
    TextTable used{{{1, "a", nullptr}, {1, "b", ""}}};
    EXPECT_EQ(text_box(used, "x"),
              "<select name=\"n\">\r\n<option value=\"a\"></option>\r\n"
              "<option value=\"b\"></option>\r\n</select>\r\n");
}

TEST(GenSelectboxText, NullCurrentValueSelectsOnlyOptionsWithoutValue) {
    TextTable used{{{1, "", "Empty"}, {1, nullptr, "None"}, {1, "a", "A"}}};
    EXPECT_EQ(text_box(used, nullptr),
              "<select name=\"n\">\r\n"
              "<option value=\"\">Empty</option>\r\n"
              "<option value=\"\" selected>None</option>\r\n"
              "<option value=\"a\">A</option>\r\n"
              "</select>\r\n");
}

TEST(GenSelectboxText, CallsBackOnceForEachOperation) {
    TextTable used{{{1, "a", "A"}, {0, "b", "B"}, {1, "c", "C"}}};
    text_box(used, "a");
    // Attributes, then three for each option, one for a skipped one and one for the end.
    EXPECT_EQ(used.asked, (std::vector<unsigned>{0, 0, 0, 0, 1, 2, 2, 2, 3}));
}

TEST(GenSelectboxText, PrintsAttributesRaw) {
    TextTable used{{}};
    EXPECT_EQ(text_box(used, "a", nullptr, " x=\"<%s&>\""),
              "<select name=\"n\" x=\"<%s&>\">\r\n</select>\r\n");
    EXPECT_EQ(text_box(used, "a", nullptr, ""), "<select name=\"n\">\r\n</select>\r\n");
    EXPECT_EQ(text_box(used, "a", nullptr, nullptr), "<select name=\"n\">\r\n</select>\r\n");
}

TEST(GenSelectboxText, PrinterTakesOverAllButValues) {
    // What the table says of existence and labels does not count.
    TextTable used{{{0, "a", "A"}, {1, "b", "B"}, {-1, "c", "C"}, {1, "d", "D"}}};
    asked_printer.clear();
    EXPECT_EQ(text_box(used, "c", print_labels),
              "<select name=\"n\" own=\"0\">\r\n"
              "<option value=\"a\"><i>0</i></option>\r\n"
              "<option value=\"c\" selected><i>2</i></option>\r\n"
              "</select>\r\n");
    EXPECT_EQ(asked_printer, (AskedList{{3, 0, kArg},
                                        {0, 0, kArg},
                                        {2, 0, kArg},
                                        {0, 1, kArg},
                                        {0, 2, kArg},
                                        {2, 2, kArg},
                                        {0, 3, kArg}}));
    EXPECT_EQ(used.asked, (std::vector<unsigned>{0, 0, 0, 0, 1, 2, 2, 2, 3}));
}

TEST(GenSelectboxText, PrinterIsNotAskedForAttributesThatAreGiven) {
    TextTable used{{{1, "a", "A"}}};
    asked_printer.clear();
    EXPECT_EQ(text_box(used, "x", print_labels, " given").substr(0, 25),
              "<select name=\"n\" given>\r\n");
    EXPECT_EQ(indexes(asked_printer, 3), std::vector<unsigned>{});
}

TEST(GenSelectboxText, AsksForIndexes0To255) {
    for (const int beyond : {0, 1}) {
        TextTable used{{}};
        used.beyond = beyond;
        text_box(used, "a");
        const std::size_t operations = beyond == 0 ? 1 : 3;
        ASSERT_EQ(used.asked.size(), 1 + 256 * operations);
        EXPECT_EQ(used.asked.back(), 255u);
    }
}

TEST(GenSelectboxText, PrintsAndReturnsTheFlagsOfTheState) {
    TextTable used{{}};
    const TableScope scope(used);
    for (const unsigned flags : {0u, 1u, 0x80001u, 0x4u}) {
        selectbox_state state = text_state(flags, "a");
        unsigned returned = 99;
        const std::string box = printed([&] {
            returned = gen_selectbox_text(&state, nullptr, offer_texts, nullptr, kArg, " x");
        });
        const char *attributes = flags == 0 ? "" : flags == 4 ? " readonly" : " disabled";
        EXPECT_EQ(box, std::string("<select x") + attributes + ">\r\n</select>\r\n") << flags;
        EXPECT_EQ(returned, flags);
    }
}

TEST(GenSelectboxText, NullStateOrCallbackPrintsNothingAndReturnsOne) {
    selectbox_state state = text_state(PRINT_READONLY, "a");
    unsigned without_state = 0;
    unsigned without_callback = 0;
    EXPECT_EQ(
        printed([&] {
            without_state = gen_selectbox_text(nullptr, "n", offer_texts, nullptr, kArg, " x");
            without_callback = gen_selectbox_text(&state, "n", nullptr, print_labels, kArg, " x");
        }),
        "");
    EXPECT_EQ(without_state, 1u);
    EXPECT_EQ(without_callback, 1u);
}

/// Scans a text; the state holds `current` before. Returns the result and the text behind it.
std::pair<int, const char *> scan_text(TextTable &used, const char *in, const char *current) {
    const TableScope scope(used);
    selectbox_state state = text_state(0xABCD, current);
    const int result = scan_select_text(in, &state, offer_texts, kArg);
    EXPECT_EQ(state.flags, 0xABCDu) << "flags are left alone";
    EXPECT_TRUE(used.pair_was_clear);
    EXPECT_TRUE(used.arg_was_right);
    return {result, state.value.text};
}

TEST(ScanSelectText, BorrowsTheOptionsOwnText) {
    const char value[] = "dhcp";
    TextTable used{{{1, "static", "Static"}, {1, value, "DHCP"}, {1, "dhcp", "Again"}}};
    const std::string posted = "dhcp";
    const auto [result, text] = scan_text(used, posted.c_str(), "static");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(text, value) << "the first that equals, not the posted text";
    EXPECT_EQ(used.asked, up_to(2)) << "asks no further";
}

TEST(ScanSelectText, KeepsTheCurrentTextWhenEqual) {
    TextTable used{{{1, "a", "A"}}};
    const char current[] = "a";
    const auto [result, text] = scan_text(used, "a", current);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(text, current);
}

TEST(ScanSelectText, ChangesNothingWithoutAMatch) {
    TextTable used{{{1, "a", "A"}, {1, nullptr, "None"}, {0, "skipped", "S"}, {1, "B", "b"}}};
    const char current[] = "current";
    for (const char *posted : {"b", "", " a", "a ", "aa", "A", "None", "skipped", "current"}) {
        const auto [result, text] = scan_text(used, posted, current);
        EXPECT_EQ(result, 0) << posted;
        EXPECT_EQ(text, current) << posted;
    }
}

TEST(ScanSelectText, FindsOptionsBehindThoseWithoutValueAndSkippedOnes) {
    const char value[] = "a";
    TextTable used{{{1, nullptr, "None"}, {0, "a", "Skipped"}, {3, value, "A"}}};
    const auto [result, text] = scan_text(used, "a", "x");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(text, value);
}

TEST(ScanSelectText, EmptyTextFindsAnEmptyOption) {
    const char empty[] = "";
    TextTable used{{{1, "a", "A"}, {1, empty, "Empty"}}};
    const auto [result, text] = scan_text(used, "", "a");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(text, empty);
}

TEST(ScanSelectText, EndsTheSearchAtANegativeResult) {
    TextTable used{{{1, "a", "A"}, {-1, "b", "B"}, {1, "b", "B"}}};
    EXPECT_EQ(scan_text(used, "b", "a").first, 0);
    EXPECT_EQ(used.asked, up_to(2));
}

TEST(ScanSelectText, SearchesIndexes0To255) {
    for (const std::size_t place : {255u, 256u}) {
        TextTable used{std::vector<TextOption>(place, {1, "x", "X"})};
        used.options.push_back({1, "a", "A"});
        EXPECT_EQ(scan_text(used, "a", "x").first, place == 255 ? 1 : 0) << place;
        EXPECT_EQ(used.asked, up_to(256)) << place;
    }
}

TEST(ScanSelectText, NullCurrentTextIsChanged) {
    const char value[] = "a";
    TextTable used{{{1, value, "A"}}};
    EXPECT_EQ(scan_text(used, "a", nullptr), (std::pair<int, const char *>{1, value}));
    EXPECT_EQ(scan_text(used, "b", nullptr), (std::pair<int, const char *>{0, nullptr}));
}

TEST(ScanSelectText, NullArgumentGivesZeroAndChangesNothing) {
    TextTable used{{{1, "a", "A"}}};
    const TableScope scope(used);
    const char current[] = "x";
    selectbox_state state = text_state(7, current);
    EXPECT_EQ(scan_select_text(nullptr, &state, offer_texts, kArg), 0);
    EXPECT_EQ(scan_select_text("a", nullptr, offer_texts, kArg), 0);
    EXPECT_EQ(scan_select_text("a", &state, nullptr, kArg), 0);
    EXPECT_EQ(state.flags, 7u);
    EXPECT_EQ(state.value.text, current);
    EXPECT_EQ(used.asked, up_to(0));
}

/* ---- The item of a text box ---- */

constexpr const char *kFallback = "fallback";

/// The state behind rd_selectbox_text_item().
selectbox_state read_state(TextTable &used, const char *dir, const char *name) {
    const TableScope scope(used);
    selectbox_state state = text_state(0xFFFFFFFF, "before");
    rd_selectbox_text_item(dir, name, &state, offer_texts, kArg, kFallback);
    EXPECT_TRUE(used.pair_was_clear);
    EXPECT_TRUE(used.arg_was_right);
    return state;
}

TEST(RdSelectboxTextItem, BorrowsTheOptionThatTheItemNames) {
    const char value[] = "dhcp";
    for (const char *content : {"dhcp", "dhcp\n", "dhcp\r\nmore"}) {
        TextTable used{{{1, "static", "Static"}, {1, value, "DHCP"}, {1, "dhcp", "Again"}}};
        const ItemFile item(content);
        const selectbox_state state = read_state(used, item.dir(), item.name());
        EXPECT_EQ(state.flags, 0u) << "flags of the caller are replaced";
        EXPECT_EQ(state.value.text, value) << content;
        EXPECT_FALSE(item.touched());
    }
}

TEST(RdSelectboxTextItem, ItemThatNamesNoOptionGivesTheFallbackButIsNotDisabled) {
    for (const char *content : {"other", "a", "DHCP", "dhcp ", " dhcp", "skipped", "behind"}) {
        TextTable used{{{1, "dhcp", "DHCP"},
                        {1, nullptr, "None"},
                        {0, "skipped", "S"},
                        {1, "longer than all of these", "L"},
                        {-1, "behind", "B"},
                        {1, "behind", "B"}}};
        const ItemFile item(content);
        const selectbox_state state = read_state(used, item.dir(), item.name());
        EXPECT_EQ(state.flags, 0u) << content;
        EXPECT_EQ(state.value.text, kFallback) << content;
    }
}

TEST(RdSelectboxTextItem, MissingItemIsDisabledAndGivesTheFallback) {
    TextTable used{{{1, "a", "A"}}};
    const TempDir dir;
    for (const char *directory : {dir.path(), static_cast<const char *>(nullptr)}) {
        const selectbox_state state = read_state(used, directory, "missing");
        EXPECT_EQ(state.flags, 1u);
        EXPECT_EQ(state.value.text, kFallback);
    }
    EXPECT_EQ(read_state(used, dir.path(), nullptr).flags, 1u);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(RdSelectboxTextItem, EmptyItemIsDisabledAndGivesTheFallback) {
    for (const char *content : {"", "\n"}) {
        TextTable used{{{1, "a", "A"}}};
        const ItemFile item(content);
        const selectbox_state state = read_state(used, item.dir(), item.name());
        EXPECT_EQ(state.flags, 1u);
        EXPECT_EQ(state.value.text, kFallback);
    }
}

TEST(RdSelectboxTextItem, EmptyOrMissingItemIsDisabledButFindsAnEmptyOption) {
    const char empty[] = "";
    TextTable used{{{1, "a", "A"}, {1, empty, "Empty"}}};
    const ItemFile item("\n");
    for (const char *name : {item.name(), "missing"}) {
        const selectbox_state state = read_state(used, item.dir(), name);
        EXPECT_EQ(state.flags, 1u) << name;
        EXPECT_EQ(state.value.text, empty) << name;
    }
}

TEST(RdSelectboxTextItem, CutsALongerItemToTheLongestOptionBeforeTheLookup) {
    const char longest[] = "bcd";
    for (const char *content : {"bcd", "bcdef", "bcd and more", "bcde\n"}) {
        TextTable used{{{1, "a", "A"}, {1, longest, "B"}, {1, "xy", "X"}}};
        const ItemFile item(content);
        const selectbox_state state = read_state(used, item.dir(), item.name());
        EXPECT_EQ(state.flags, 0u) << content;
        EXPECT_EQ(state.value.text, longest) << content;
    }
}

TEST(RdSelectboxTextItem, OnlyOptionsThatCanBeFoundMakeTheLimit) {
    const char value[] = "ab";
    const struct {
        const char *label;
        TextOption option;
    } rows[] = {
        {"skipped option", {0, "abcd", "S"}},
        {"no value", {1, nullptr, "a long label"}},
        {"end of the options", {-1, "abcd", "E"}},
    };
    for (const auto &row : rows) {
        TextTable used{{{1, value, "A"}, row.option}};
        const ItemFile item("abcd");
        EXPECT_EQ(read_state(used, item.dir(), item.name()).value.text, value) << row.label;
    }
}

TEST(RdSelectboxTextItem, WithoutOptionsTheItemCountsAsEmpty) {
    TextTable used{{}};
    const ItemFile item("a");
    const selectbox_state state = read_state(used, item.dir(), item.name());
    EXPECT_EQ(state.flags, 1u);
    EXPECT_EQ(state.value.text, kFallback);
}

TEST(RdSelectboxTextItem, WalksTheOptionsForTheLimitAndThenForTheMatch) {
    TextTable used{{{1, "a", "A"}, {1, "b", "B"}, {1, "c", "C"}}};
    const ItemFile item("b");
    read_state(used, item.dir(), item.name());
    EXPECT_EQ(used.asked, (std::vector<unsigned>{0, 1, 2, 3, 0, 1}));
}

TEST(RdSelectboxTextItem, LooksAtIndexes0To255) {
    for (const std::size_t place : {255u, 256u}) {
        TextTable used{std::vector<TextOption>(place, {1, "xyz", "X"})};
        const char value[] = "a";
        used.options.push_back({1, value, "A"});
        const ItemFile item("a");
        EXPECT_EQ(read_state(used, item.dir(), item.name()).value.text,
                  place == 255 ? value : kFallback)
            << place;
        std::vector<unsigned> twice = up_to(256);
        twice.insert(twice.end(), used.asked.begin(), used.asked.begin() + 256);
        EXPECT_EQ(used.asked, twice) << place;
    }
}

TEST(RdSelectboxTextItem, TakesOptionsOfAnyLength) {
    for (const std::size_t length : {4095u, 4096u, 100000u}) {
        const std::string value(length, 'v');
        TextTable used{{{1, "a", "A"}, {1, value.c_str(), "V"}}};
        const ItemFile item(value + "\n");
        EXPECT_EQ(read_state(used, item.dir(), item.name()).value.text, value.c_str()) << length;
    }
}

TEST(RdSelectboxTextItem, FallbackMayBeNull) {
    TextTable used{{{1, "a", "A"}}};
    const TableScope scope(used);
    selectbox_state state = text_state(0, "before");
    rd_selectbox_text_item("", nullptr, &state, offer_texts, kArg, nullptr);
    EXPECT_EQ(state.value.text, nullptr);
}

TEST(RdSelectboxTextItem, NullStateOrCallbackDoesNothing) {
    const ItemFile item("a");
    TextTable used{{{1, "a", "A"}}};
    const TableScope scope(used);
    const char before[] = "before";
    selectbox_state state = text_state(7, before);
    rd_selectbox_text_item(item.dir(), item.name(), nullptr, offer_texts, kArg, kFallback);
    rd_selectbox_text_item(item.dir(), item.name(), &state, nullptr, kArg, kFallback);
    EXPECT_EQ(state.flags, 7u);
    EXPECT_EQ(state.value.text, before);
    EXPECT_EQ(used.asked, up_to(0));
}

TEST(RdSelectboxTextItem, LeavesNoDescriptorOpenAndPrintsNothing) {
    const ItemFile item("a");
    TextTable used{{{1, "a", "A"}}};
    const int before = open_descriptors();
    EXPECT_EQ(printed([&] {
                  read_state(used, item.dir(), item.name());
                  read_state(used, item.dir(), "missing");
              }),
              "");
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
