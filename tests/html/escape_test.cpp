#include <gtest/gtest.h>
#include <qmv/html.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/support/fenced_text.h"
#include "tests/support/io.h"
#include "tests/support/malformed.h"
#include "tests/support/output.h"

namespace {

using qmv_test::kMalformed;
using qmv_test::prints;

constexpr unsigned kNoLimit = 0xFFFFFFFF;

using Text = std::unique_ptr<char, decltype(&std::free)>;

struct Escaped {
    int result;
    std::string text;
};

Escaped asprinted(const std::string &utf8) {
    char *out = nullptr;
    const int result = html_asprint_text(&out, utf8.c_str());
    const Text owner(out, std::free);
    return {result, out != nullptr ? out : "(null)"};
}

TEST(HtmlPrintText, EscapesMarkupButNotTheApostrophe) {
    EXPECT_TRUE(
        prints("a&lt;b &amp; &quot;c&quot;", [] { return html_print_text("a<b & \"c\""); }));
    EXPECT_TRUE(prints("it's &gt;", [] { return html_print_text("it's >"); }));
}

TEST(HtmlPrintText, EscapesWhatIsNotAscii) {
    EXPECT_TRUE(prints("&eacute;", [] { return html_print_text("\xC3\xA9"); }));
    EXPECT_TRUE(prints("&#8364;", [] { return html_print_text("\xE2\x82\xAC"); }));
    EXPECT_TRUE(prints("&#159;", [] { return html_print_text("\xC2\x9F"); }));
    EXPECT_TRUE(prints("&#127;", [] { return html_print_text("\x7F"); }));
    EXPECT_TRUE(prints("&#65535;", [] { return html_print_text("\xEF\xBF\xBF"); }));
}

TEST(HtmlPrintText, EscapesALongTextOfShortRuns) {
    std::string text;
    std::string escaped;
    for (int i = 0; i < 500; ++i) {
        text += "ab<c\xC3\xA9" + std::string(static_cast<std::size_t>(i % 20), 'x');
        escaped += "ab&lt;c&eacute;" + std::string(static_cast<std::size_t>(i % 20), 'x');
    }
    EXPECT_TRUE(prints(escaped, [&] { return html_print_text(text.c_str()); }));
}

TEST(HtmlPrintText, PrintsControlCharactersAsTheyAre) {
    EXPECT_TRUE(prints("\x01\t\r\n\x1B", [] { return html_print_text("\x01\t\r\n\x1B"); }));
}

TEST(HtmlPrintText, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed)
        EXPECT_TRUE(prints(row.escaped, [&] { return html_print_text(row.text); })) << row.label;
}

TEST(HtmlPrintText, PrintsEverySingleByteAsItsKindAsks) {
    for (int byte = 1; byte < 256; ++byte) {
        const char utf8[] = {static_cast<char>(byte), '\0'};
        std::string expected;
        if (byte == '&')
            expected = "&amp;";
        else if (byte == '<')
            expected = "&lt;";
        else if (byte == '>')
            expected = "&gt;";
        else if (byte == '"')
            expected = "&quot;";
        else if (byte == 127)
            expected = "&#127;";
        else if (byte < 127)
            expected = utf8;
        EXPECT_TRUE(prints(expected, [&] { return html_print_text(utf8); })) << byte;
    }
}

TEST(HtmlPrintText, ReturnsZeroForNullOrEmptyText) {
    EXPECT_TRUE(prints("", [] { return html_print_text(nullptr); }));
    EXPECT_TRUE(prints("", [] { return html_print_text(""); }));
}

TEST(HtmlPrintText, EscapesBehindARunOfAnyLength) {
    for (std::size_t length = 0; length <= 2100; ++length) {
        const std::string run(length, 'x');
        EXPECT_TRUE(prints(run + "&#8364;&#35373;&lt;" + run, [&] {
            return html_print_text((run + "\u20AC\u8A2D<" + run).c_str());
        })) << length;
    }
}

TEST(HtmlPrintText, EscapesAnywhereInALongText) {
    for (const std::size_t position : {0u, 4090u, 4095u, 4096u, 4097u, 9999u}) {
        std::string utf8(10000, 'x');
        utf8[position] = '<';
        std::string expected(10000, 'x');
        expected.replace(position, 1, "&lt;");
        EXPECT_TRUE(prints(expected, [&] { return html_print_text(utf8.c_str()); })) << position;
    }
}

TEST(HtmlPrintTextLimit, StopsAtEitherLimit) {
    const struct {
        const char *label;
        unsigned max_chars;
        const char *text;
        unsigned max_bytes;
        const char *expected;
    } rows[] = {
        {"characters", 3, "abcdef", kNoLimit, "abc"},
        {"bytes", 3, "abcdef", 2, "ab"},
        {"both equal", 3, "abcdef", 3, "abc"},
        {"bytes alone", kNoLimit, "abcdef", 5, "abcde"},
        {"neither", kNoLimit, "abcdef", kNoLimit, "abcdef"},
        {"limits beyond the text", 100, "abc", 100, "abc"},
        {"one escaped character", 1, "<x", kNoLimit, "&lt;"},
        {"an entity counts as one character", 2, "<&>", kNoLimit, "&lt;&amp;"},
        {"an entity counts as one byte", kNoLimit, "<&>", 2, "&lt;&amp;"},
        {"a character of two bytes counts once", 2, "\xC3\xA9\xC3\xA8\xC3\xAA", kNoLimit,
         "&eacute;&egrave;"},
        {"bytes count as they stand in the text", kNoLimit, "\xC3\xA9\xC3\xA8\xC3\xAA", 4,
         "&eacute;&egrave;"},
        {"bytes end within two", kNoLimit, "a\xC3\xA9", 2, "a"},
        {"bytes end within three, one left", kNoLimit, "a\xE2\x82\xAC", 2, "a"},
        {"bytes end within three, two left", kNoLimit, "a\xE2\x82\xAC", 3, "a"},
        {"bytes end behind three", kNoLimit, "a\xE2\x82\xACz", 4, "a&#8364;"},
        {"mixed, by characters", 4,
         "a\xC3\xA9"
         "b\xE2\x82\xAC"
         "c",
         kNoLimit, "a&eacute;b&#8364;"},
        {"no characters", 0, "abc", kNoLimit, ""},
        {"no bytes", kNoLimit, "abc", 0, ""},
        {"empty", kNoLimit, "", kNoLimit, ""},
        {"null", kNoLimit, nullptr, kNoLimit, ""},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.expected, [&] {
            return html_print_text_limit(row.max_chars, row.text, row.max_bytes);
        })) << row.label;
}

TEST(HtmlPrintTextLimit, StopsAtTheFirstInvalidSequence) {
    for (const auto &row : kMalformed)
        EXPECT_TRUE(prints(row.escaped_head, [&] {
            return html_print_text_limit(kNoLimit, row.text, kNoLimit);
        })) << row.label;
}

TEST(HtmlPrintTextLimit, ReadsNoByteBehindTheLimit) {
    const qmv_test::FencedText plain("abc");
    EXPECT_TRUE(prints("abc", [&] { return html_print_text_limit(kNoLimit, plain.get(), 3); }));
    const qmv_test::FencedText markup("ab<");
    EXPECT_TRUE(prints("ab&lt;", [&] { return html_print_text_limit(9, markup.get(), 3); }));
    const qmv_test::FencedText whole("a\xC3\xA9");
    EXPECT_TRUE(prints("a&eacute;", [&] { return html_print_text_limit(9, whole.get(), 3); }));
    const qmv_test::FencedText cut("ab\xE2");
    EXPECT_TRUE(prints("ab", [&] { return html_print_text_limit(9, cut.get(), 3); }));
    const qmv_test::FencedText shorter("b\xE2\x82");
    EXPECT_TRUE(prints("b", [&] { return html_print_text_limit(9, shorter.get(), 3); }));
}

TEST(HtmlPrintTextLimit, ReadsNoByteBehindALongText) {
    for (unsigned length = 1; length <= 80; ++length) {
        const std::string text(length, 'x');
        const qmv_test::FencedText fenced(text);
        EXPECT_TRUE(prints(text, [&] {
            return html_print_text_limit(kNoLimit, fenced.get(), length);
        })) << length;
    }
}

TEST(HtmlPrintTextLimit, CountsCharactersBehindALongRun) {
    const std::string run(5000, 'x');
    EXPECT_TRUE(prints(run + "&lt;x", [&] {
        return html_print_text_limit(5002, (run + "<x<x").c_str(), kNoLimit);
    }));
    EXPECT_TRUE(prints(
        run + "&lt;", [&] { return html_print_text_limit(kNoLimit, (run + "<x").c_str(), 5001); }));
}

TEST(HtmlAsprintText, ReturnsTheSizeOfTheMemoryAndNotTheLength) {
    const Escaped one = asprinted("a");
    EXPECT_EQ(one.result, 4096);
    EXPECT_EQ(one.text, "a");
    const Escaped none = asprinted("");
    EXPECT_EQ(none.result, 4096);
    EXPECT_EQ(none.text, "");
}

TEST(HtmlAsprintText, Escapes) {
    EXPECT_EQ(asprinted("<a href=\"x\">'&\xC3\xA9\xE2\x82\xAC\x7F").text,
              "&lt;a href=&quot;x&quot;&gt;'&amp;&eacute;&#8364;&#127;");
}

TEST(HtmlAsprintText, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed) {
        const Escaped escaped = asprinted(row.text);
        EXPECT_EQ(escaped.text, row.escaped) << row.label;
        EXPECT_EQ(escaped.result, 4096) << row.label;
    }
}

TEST(HtmlAsprintText, GrowsAsSoonAsFewerThan16BytesAreFree) {
    const struct {
        std::size_t plain;
        int size;
    } rows[] = {{4080, 4096}, {4081, 4096},  {4082, 8192},   {4096, 8192},  {8176, 8192},
                {8177, 8192}, {8178, 12288}, {12273, 12288}, {12274, 16384}};
    for (const auto &row : rows) {
        const std::string plain(row.plain, 'p');
        const Escaped escaped = asprinted(plain);
        EXPECT_EQ(escaped.result, row.size) << row.plain;
        EXPECT_EQ(escaped.text, plain) << row.plain;
    }
}

TEST(HtmlAsprintText, CountsEscapedBytesWhenItGrows) {
    // Four bytes each: in front of the 1022nd, 4084 are used and 12 free.
    const Escaped fits = asprinted(std::string(1021, '<'));
    EXPECT_EQ(fits.result, 4096);
    EXPECT_EQ(fits.text.size(), 4084u);
    const Escaped grown = asprinted(std::string(1022, '<'));
    EXPECT_EQ(grown.result, 8192);
    EXPECT_EQ(grown.text.size(), 4088u);
}

TEST(HtmlAsprintText, GrowsInFrontOfAByteThatPrintsNothing) {
    EXPECT_EQ(asprinted(std::string(4081, 'p') + "\x80").result, 8192);
    EXPECT_EQ(asprinted(std::string(4080, 'p') + "\x80").result, 4096);
}

TEST(HtmlAsprintText, FitsTheLongestEntitiesAtTheEndOfTheMemory) {
    for (std::size_t plain = 4060; plain <= 4096; ++plain) {
        const std::string head(plain, 'p');
        ASSERT_EQ(asprinted(head + "\xEF\xBF\xBF\xEF\xBF\xBF\xEF\xBF\xBF").text,
                  head + "&#65535;&#65535;&#65535;")
            << plain;
    }
}

TEST(HtmlAsprintText, RefusesNullArguments) {
    char marker = 0;
    char *out = &marker;
    EXPECT_EQ(html_asprint_text(nullptr, "a"), -1);
    EXPECT_EQ(html_asprint_text(&out, nullptr), -1);
    EXPECT_EQ(out, &marker) << "out was touched";
}

TEST(HtmlAsprintText, PrintsNothing) {
    EXPECT_EQ(qmv_test::printed([] { asprinted("abc<"); }), "");
}

#if QMV_FAKE_ALLOCATION

TEST(HtmlAsprintText, LeavesOutUntouchedWithoutMemory) {
    char marker = 0;
    char *out = &marker;
    int result = 0;
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = html_asprint_text(&out, "abc");
        failed = fake.failed();
    }
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(out, &marker);
}

TEST(HtmlAsprintText, KeepsTheTextSoFarWhenItCannotGrow) {
    const std::string plain(9000, 'p');
    char *out = nullptr;
    int result = 0;
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(1);
        result = html_asprint_text(&out, plain.c_str());
        failed = fake.failed();
    }
    const Text owner(out, std::free);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(result, 4096);
    EXPECT_EQ(std::string(out), std::string(4081, 'p'));
}

#endif

TEST(HtmlPrintTextNl, PrintsBreaksAndMarks) {
    const struct {
        const char *label;
        const char *text;
        const char *expected;
    } rows[] = {
        {"line break and bold",
         "x\n\x1B"
         "By\x1B"
         "b",
         "x<br><b>y</b>"},
        {"underline", "\x1BUu\x1Bu", "<u>u</u>"},
        {"line break alone", "\n", "<br>"},
        {"line breaks in a row", "a\n\nb", "a<br><br>b"},
        {"CR stays", "a\r\nb", "a\r<br>b"},
        {"unknown mark prints nothing", "a\x1Bxz", "az"},
        {"unknown mark takes the line feed", "a\x1B\nz", "az"},
        {"unknown mark takes an ESC",
         "a\x1B\x1B"
         "Bz",
         "aBz"},
        {"unknown mark takes a markup character", "a\x1B<z", "az"},
        {"mark takes one byte of a character", "a\x1B\xC3\xA9z", "az"},
        {"ESC at the end", "a\x1B", "a"},
        {"ESC alone", "\x1B", ""},
        {"escaped text", "<b>&\"'", "&lt;b&gt;&amp;&quot;'"},
        {"letters without ESC", "BbUu", "BbUu"},
        {"other characters", "\xC3\xA9\xE2\x82\xAC\t\x7F", "&eacute;&#8364;\t&#127;"},
        {"line feed taken by a bad lead byte", "a\xC3\nz", "az"},
        {"ESC taken by a bad lead byte",
         "a\xC3\x1B"
         "Bz",
         "aBz"},
        {"overlong line feed is no break", "a\xC0\x8Az", "a\nz"},
        {"empty", "", ""},
        {"null", nullptr, ""},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.expected, [&] { return html_print_text_nl(row.text); }))
            << row.label;
}

TEST(HtmlPrintTextNl, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed)
        EXPECT_TRUE(prints(row.escaped, [&] { return html_print_text_nl(row.text); })) << row.label;
}

TEST(PrintXstr, LeavesOutInvalidSequencesWhenItEscapes) {
    for (const auto &row : kMalformed) {
        EXPECT_TRUE(prints(row.escaped, [&] { return print_xstr(row.text, 0); })) << row.label;
        EXPECT_TRUE(prints(row.text, [&] { return print_xstr(row.text, PRINT_RAW); })) << row.label;
    }
}

}  // namespace
