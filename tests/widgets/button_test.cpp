// Check boxes, radio buttons, buttons, images and file inputs.
#include <gtest/gtest.h>
#include <qmv/html.h>
#include <qmv/widgets.h>

#include <string>

#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/output.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::TempDir;

constexpr const char *kAllFlags =
    " checked disabled readonly selected style=\"display: none;\" style=\"visibility: hidden;\""
    " autocomplete=\"default\"";

/* ---- Check boxes ---- */

TEST(CheckboxFlags, AnyNonzeroArgumentSetsItsFlag) {
    const struct {
        unsigned checked;
        unsigned disabled;
        unsigned flags;
    } rows[] = {
        {0, 0, 0}, {1, 0, 2}, {5, 0, 2}, {0, 1, 1},          {0, 7, 1},
        {2, 0, 2}, {1, 1, 3}, {4, 2, 3}, {0x80000000, 0, 2}, {0, 0x80000000, 1},
    };
    for (const auto &row : rows)
        EXPECT_EQ(checkbox_flags(row.checked, row.disabled), row.flags)
            << row.checked << ", " << row.disabled;
}

TEST(GenXcheckbox, PrintsAttributesThenFlags) {
    EXPECT_TRUE(prints("<input type=\"checkbox\" name=\"a<b\" value=\"1\" checked disabled>", '>',
                       [] { return gen_xcheckbox(3, " name=\"%s\" value=\"%d\"", "a<b", 1); }));
    EXPECT_TRUE(prints("<input type=\"checkbox\">", '>', [] { return gen_xcheckbox(0, nullptr); }));
    EXPECT_TRUE(prints("<input type=\"checkbox\" checked>", '>',
                       [] { return gen_xcheckbox(PRINT_CHECKED, nullptr); }));
    EXPECT_TRUE(prints(std::string("<input type=\"checkbox\"") + kAllFlags + ">", '>',
                       [] { return gen_xcheckbox(0xFFFFFFFF, nullptr); }));
}

TEST(GenXcheckbox, CallersOwnAttributeIsNotMergedWithTheFlag) {
    EXPECT_TRUE(prints("<input type=\"checkbox\" checked checked>", '>',
                       [] { return gen_xcheckbox(PRINT_CHECKED, " checked"); }));
}

TEST(RdCheckboxItem, ReadsWhetherTheBoxIsChecked) {
    const struct {
        const char *label;
        const char *content;
        unsigned flags;
        unsigned result;
    } rows[] = {
        {"1", "1\n", 0, 2},
        {"0 clears", "0\n", 2, 0},
        {"0 stays", "0\n", 0, 0},
        {"1 stays", "1\n", 2, 2},
        {"any other number", "17", 0, 2},
        {"leading zeros", "00", 2, 0},
        {"other flags stay, 1", "1\n", 0xFFFFFFFD, 0xFFFFFFFF},
        {"other flags stay, 0", "0\n", 0xFFFFFFFF, 0xFFFFFFFD},
        {"disabled by the caller", "1", 1, 3},
        {"no number", "on\n", 2, 0},
        {"negative", "-1\n", 2, 0},
        {"empty", "", 2, 0},
        {"wraps to 0", "4294967296\n", 2, 0},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_EQ(rd_checkbox_item(item.dir(), item.name(), row.flags), row.result) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(RdCheckboxItem, UnreadableItemIsDisabledAndKeepsTheCallersTick) {
    const TempDir dir;
    EXPECT_EQ(rd_checkbox_item(dir.path(), "missing", 0x2), 0x3u);
    EXPECT_EQ(rd_checkbox_item(dir.path(), "missing", 0), 0x1u);
    EXPECT_EQ(rd_checkbox_item(dir.path(), "missing", 0xFFFFFFFE), 0xFFFFFFFFu);
    EXPECT_EQ(rd_checkbox_item("", dir.path(), 0x2), 0x3u) << "a directory";
    EXPECT_EQ(rd_checkbox_item(nullptr, "x", 0x2), 0x3u);
    EXPECT_EQ(rd_checkbox_item(dir.path(), nullptr, 0x4), 0x5u);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(WrCheckboxItem, Writes1WhenCheckedAnd0Otherwise) {
    const struct {
        unsigned flags;
        const char *content;
    } rows[] = {
        {0, "0\n"},    {2, "1\n"},          {3, "1\n"},          {1, "0\n"},
        {0xFD, "0\n"}, {0xFFFFFFFF, "1\n"}, {0xFFFFFFFD, "0\n"},
    };
    for (const auto &row : rows) {
        const ItemFile item("old\n");
        EXPECT_EQ(wr_checkbox_item(item.dir(), item.name(), row.flags), 2) << row.flags;
        EXPECT_EQ(item.content(), row.content) << row.flags;
        EXPECT_TRUE(item.same_file()) << row.flags;
    }
}

TEST(WrCheckboxItem, LeavesTheItemAloneWhenUnchanged) {
    const ItemFile checked("1\n");
    EXPECT_EQ(wr_checkbox_item(checked.dir(), checked.name(), 3), 0);
    EXPECT_FALSE(checked.touched());
    const ItemFile unchecked("0");
    EXPECT_EQ(wr_checkbox_item(unchecked.dir(), unchecked.name(), 1), 0);
    EXPECT_FALSE(unchecked.touched());
    EXPECT_EQ(unchecked.content(), "0");
}

TEST(WrCheckboxItem, ComparesTwoBytes) {
    const ItemFile item("12\n");
    EXPECT_EQ(wr_checkbox_item(item.dir(), item.name(), 2), 2);
    EXPECT_EQ(item.content(), "1\n");
}

TEST(WrCheckboxItem, ReturnsTheItemWritersFailuresAndCreatesNothing) {
    const TempDir dir;
    EXPECT_EQ(wr_checkbox_item(dir.path(), "missing", 2), -1);
    EXPECT_EQ(wr_checkbox_item(nullptr, "missing", 2), -1);
    EXPECT_EQ(wr_checkbox_item(dir.path(), nullptr, 2), -1);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(CheckboxItems, LeaveNoDescriptorOpenAndPrintNothing) {
    const ItemFile item("old\n");
    const int before = open_descriptors();
    EXPECT_EQ(printed([&] {
                  for (const char *name : {item.name(), "missing"}) {
                      rd_checkbox_item(item.dir(), name, 0);
                      wr_checkbox_item(item.dir(), name, 0);
                  }
              }),
              "");
    EXPECT_EQ(open_descriptors(), before);
}

/* ---- Radio buttons ---- */

TEST(GenRadio, PrintsNameValueAttributesAndFlags) {
    const struct {
        const char *label;
        const char *name;
        unsigned value;
        int current;
        const char *attributes;
        unsigned flags;
        std::string tag;
    } rows[] = {
        {"not checked", "n", 2, 3, nullptr, 0, "<input type=\"radio\" name=\"n\" value=\"2\">"},
        {"checked", "n", 2, 2, nullptr, 0, "<input type=\"radio\" name=\"n\" value=\"2\" checked>"},
        {"0 is checked", "n", 0, 0, nullptr, 0,
         "<input type=\"radio\" name=\"n\" value=\"0\" checked>"},
        {"no name", nullptr, 2, 3, nullptr, 0, "<input type=\"radio\" value=\"2\">"},
        {"raw name and attributes", "a<b\"", 2, 2, " x=\"<%s&>\"", PRINT_DISABLED,
         "<input type=\"radio\" name=\"a<b\"\" value=\"2\" x=\"<%s&>\" checked disabled>"},
        {"empty attributes", "", 2, 3, "", 0, "<input type=\"radio\" name=\"\" value=\"2\">"},
        {"checked by the caller", "n", 2, 3, nullptr, PRINT_CHECKED,
         "<input type=\"radio\" name=\"n\" value=\"2\" checked>"},
        {"checked by both", "n", 2, 2, nullptr, PRINT_CHECKED,
         "<input type=\"radio\" name=\"n\" value=\"2\" checked>"},
        {"a tick among the attributes is not merged", "n", 2, 2, " checked", 0,
         "<input type=\"radio\" name=\"n\" value=\"2\" checked checked>"},
        {"highest current value", "n", 2147483647, 2147483647, nullptr, 0,
         "<input type=\"radio\" name=\"n\" value=\"2147483647\" checked>"},
        {"value above every current one", "n", 2147483648u, 0, nullptr, 0,
         "<input type=\"radio\" name=\"n\" value=\"2147483648\">"},
        {"all flags", nullptr, 7, 8, nullptr, 0xFFFFFFFF,
         std::string("<input type=\"radio\" value=\"7\"") + kAllFlags + ">"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_radio(row.name, row.value, row.current, row.attributes, row.flags);
        })) << row.label;
}

TEST(GenRadio, NegativeCurrentValueChecksNone) {
    const struct {
        unsigned value;
        int current;
    } rows[] = {{0, -1},           {1, -1},           {2, -1},
                {4294967295u, -1}, {4294967294u, -2}, {2147483648u, -2147483647 - 1}};
    for (const auto &row : rows)
        EXPECT_TRUE(prints("<input type=\"radio\" value=\"" + std::to_string(row.value) + "\">",
                           '>',
                           [&] { return gen_radio(nullptr, row.value, row.current, nullptr, 0); }))
            << row.current;
}

TEST(GenRadioString, PrintsNameValueAttributesAndFlags) {
    const struct {
        const char *label;
        const char *name;
        std::string value;
        const char *current;
        const char *attributes;
        unsigned flags;
        std::string tag;
    } rows[] = {
        {"not checked", "n", "a", "b", nullptr, 0, "<input type=\"radio\" name=\"n\" value=\"a\">"},
        {"checked", "n", "a", "a", nullptr, 0,
         "<input type=\"radio\" name=\"n\" value=\"a\" checked>"},
        {"both empty", "n", "", "", nullptr, 0,
         "<input type=\"radio\" name=\"n\" value=\"\" checked>"},
        {"other case", "n", "a", "A", nullptr, 0, "<input type=\"radio\" name=\"n\" value=\"a\">"},
        {"longer", "n", "ab", "a", nullptr, 0, "<input type=\"radio\" name=\"n\" value=\"ab\">"},
        {"shorter", "n", "a", "ab", nullptr, 0, "<input type=\"radio\" name=\"n\" value=\"a\">"},
        {"no name", nullptr, "a", "b", nullptr, 0, "<input type=\"radio\" value=\"a\">"},
        {"raw name and attributes", "a<b\"", "a", "a", " x=\"<%s&>\"", PRINT_DISABLED,
         "<input type=\"radio\" name=\"a<b\"\" value=\"a\" x=\"<%s&>\" checked disabled>"},
        {"checked by the caller", "n", "a", "b", nullptr, PRINT_CHECKED,
         "<input type=\"radio\" name=\"n\" value=\"a\" checked>"},
        {"all flags", nullptr, "a", "b", nullptr, 0xFFFFFFFF,
         std::string("<input type=\"radio\" value=\"a\"") + kAllFlags + ">"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_radio_string(row.name, row.value.c_str(), row.current, row.attributes,
                                    row.flags);
        })) << row.label;
}

TEST(GenRadioString, DoesNotEscapeItsValue) {
    EXPECT_TRUE(prints("<input type=\"radio\" value=\"<a&\"%s\xC3\xA9\x80>\" checked>", '>', [] {
        return gen_radio_string(nullptr, "<a&\"%s\xC3\xA9\x80>", "<a&\"%s\xC3\xA9\x80>", nullptr,
                                0);
    }));
}

TEST(GenRadioString, NullValueOrCurrentIsNeverChecked) {
    const struct {
        const char *label;
        const char *value;
        const char *current;
        const char *tag;
    } rows[] = {
        {"null current", "a", nullptr, "<input type=\"radio\" name=\"n\" value=\"a\">"},
        {"null current, empty value", "", nullptr, "<input type=\"radio\" name=\"n\" value=\"\">"},
        {"null value", nullptr, "a", "<input type=\"radio\" name=\"n\">"},
        {"null value, empty current", nullptr, "", "<input type=\"radio\" name=\"n\">"},
        {"both null", nullptr, nullptr, "<input type=\"radio\" name=\"n\">"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_radio_string("n", row.value, row.current, nullptr, 0);
        })) << row.label;
}

/* ---- Buttons ---- */

unsigned content_flags;

void print_icon(unsigned flags) {
    content_flags = flags;
    print_str("<i>&</i>");
}

TEST(GenXbutton, PrintsTypeAttributesFlagsContentAndLabel) {
    const struct {
        const char *label;
        const char *text;
        void (*content)(unsigned);
        unsigned flags;
        std::string element;
    } rows[] = {
        {"plain", "Save", nullptr, 0, "<button type=\"button\">Save</button>"},
        {"submit", "Save", nullptr, 0x200, "<button type=\"submit\">Save</button>"},
        {"disabled submit", "Save", nullptr, 0x201,
         "<button type=\"submit\" disabled>Save</button>"},
        {"every flag but submit", "Save", nullptr, 0xFFFFFDFF,
         std::string("<button type=\"button\"") + kAllFlags + ">Save</button>"},
        {"every flag", "Save", nullptr, 0xFFFFFFFF,
         std::string("<button type=\"submit\"") + kAllFlags + ">Save</button>"},
        {"escaped label", "<b>\"&%s\xE2\x82\xAC", nullptr, 0,
         "<button type=\"button\">&lt;b&gt;&quot;&amp;%s&#8364;</button>"},
        {"content in front of the label", "Save", print_icon, 0,
         "<button type=\"button\"><i>&</i>Save</button>"},
        {"content alone", nullptr, print_icon, 0, "<button type=\"button\"><i>&</i></button>"},
        {"neither", nullptr, nullptr, 0, "<button type=\"button\"></button>"},
        {"empty label", "", nullptr, 0, "<button type=\"button\"></button>"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.element, 9, [&] {
            return gen_xbutton(row.text, row.content, row.flags, nullptr);
        })) << row.label;
}

TEST(GenXbutton, PutsTheCallersAttributesRawInFrontOfTheFlags) {
    EXPECT_TRUE(prints(
        "<button type=\"submit\" name=\"a<b\" x=\"7\" disabled><i>&</i>Save</button>", 9, [] {
            return gen_xbutton("Save", print_icon, PRINT_SUBMIT | PRINT_DISABLED,
                               " name=\"%s\" x=\"%d\"", "a<b", 7);
        }));
}

TEST(GenXbutton, HandsItsFlagsToTheContent) {
    for (const unsigned flags : {0u, 0x201u, 0xFFFFFFFFu}) {
        content_flags = 99;
        printed([&] { gen_xbutton(nullptr, print_icon, flags, nullptr); });
        EXPECT_EQ(content_flags, flags);
    }
}

/* ---- Images ---- */

TEST(GenImage, JoinsPathAndFileRaw) {
    const struct {
        const char *label;
        const char *path;
        const char *file;
        const char *alt;
        const char *tag;
    } rows[] = {
        {"no separator is added", "/img", "a.png", nullptr, "<img src=\"/imga.png\">"},
        {"none is taken away", "/img/", "/a.png", nullptr, "<img src=\"/img//a.png\">"},
        {"empty path", "", "a.png", nullptr, "<img src=\"a.png\">"},
        {"both empty", "", "", nullptr, "<img src=\"\">"},
        {"raw path and file", "<&/", "%s\"", nullptr, "<img src=\"<&/%s\"\">"},
        {"alternative text", "/", "a", "Logo", "<img src=\"/a\" alt=\"Logo\">"},
        {"empty alternative text", "/", "a", "", "<img src=\"/a\" alt=\"\">"},
        {"escaped alternative text", "/", "a", "<\"&%s\xC3\xA9",
         "<img src=\"/a\" alt=\"&lt;&quot;&amp;%s&eacute;\">"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_image(row.path, row.file, row.alt, nullptr);
        })) << row.label;
}

TEST(GenImage, PutsTheCallersAttributesRawBehindTheAlternativeText) {
    EXPECT_TRUE(prints("<img src=\"/a\" alt=\"&lt;\" title=\"<&>\" width=\"16\">", '>', [] {
        return gen_image("/", "a", "<", " title=\"%s\" width=\"%d\"", "<&>", 16);
    }));
    EXPECT_TRUE(prints("<img src=\"/a\" width=\"16\">", '>',
                       [] { return gen_image("/", "a", nullptr, " width=\"%d\"", 16); }));
}

TEST(GenImage, NullPathOrFilePrintsNothing) {
    EXPECT_TRUE(prints("", 0, [] { return gen_image("/", nullptr, "Logo", " x=\"%d\"", 1); }));
    EXPECT_TRUE(prints("", 0, [] { return gen_image(nullptr, "a", "Logo", " x=\"%d\"", 1); }));
    EXPECT_TRUE(prints("", 0, [] { return gen_image(nullptr, nullptr, nullptr, nullptr); }));
}

/* ---- File inputs ---- */

TEST(GenUpload, PrintsAttributesThenFlags) {
    EXPECT_TRUE(prints("<input type=\"file\" name=\"fw\" disabled>", '>',
                       [] { return gen_upload(0x1, " name=\"%s\"", "fw"); }));
    EXPECT_TRUE(prints("<input type=\"file\">", '>', [] { return gen_upload(0, nullptr); }));
    EXPECT_TRUE(prints("<input type=\"file\" x=\"<&\"7\">", '>',
                       [] { return gen_upload(0, " x=\"%s%d\"", "<&\"", 7); }));
    EXPECT_TRUE(prints(std::string("<input type=\"file\" a") + kAllFlags + ">", '>',
                       [] { return gen_upload(0xFFFFFFFF, " a"); }));
}

}  // namespace
