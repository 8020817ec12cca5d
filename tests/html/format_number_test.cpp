// Integer conversions of html_printf() and the printers of one conversion that it uses.
#include <gtest/gtest.h>
#include <qmv/html.h>

#include <climits>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/failing_output.h"
#include "tests/support/fenced_text.h"
#include "tests/support/formatted.h"
#include "tests/support/output.h"

namespace {

using qmv_test::formats;
using qmv_test::prints;

struct Row {
    const char *label;
    std::string format;
    int argument;
    const char *expected;
};

TEST(HtmlPrintfNumber, PrintsIntegers) {
    const Row rows[] = {
        {"d", "%d", 42, "42"},
        {"d, negative", "%d", -42, "-42"},
        {"d, lowest", "%d", INT_MIN, "-2147483648"},
        {"d, highest", "%d", INT_MAX, "2147483647"},
        {"i", "%i", -7, "-7"},
        {"u", "%u", 7, "7"},
        {"u of -1", "%u", -1, "4294967295"},
        {"x", "%x", 255, "ff"},
        {"X", "%X", 255, "FF"},
        {"x of -1", "%x", -1, "ffffffff"},
        {"between text", "<%d>", 5, "<5>"},
    };
    for (const Row &row : rows)
        EXPECT_TRUE(formats(row.expected, 1, row.format, row.argument)) << row.label;
}

TEST(HtmlPrintfNumber, TakesSeveralArgumentsInOrder) {
    EXPECT_TRUE(formats("    7|ff", 1, "%5u|%x", 7, 255));
    EXPECT_TRUE(formats("1 2 a b 3", 1, "%d %u %s %c %x", 1, 2, "a", 'b', 3));
}

TEST(HtmlPrintfNumber, FlagsWidthAndPrecisionMeanWhatTheyMeanToPrintf) {
    const Row rows[] = {
        {"width", "%5d|", 7, "    7|"},
        {"width below the length", "%2d|", 12345, "12345|"},
        {"left", "%-5d|", 7, "7    |"},
        {"zeros", "%05d|", -7, "-0007|"},
        {"zeros and width of two digits", "%08X", 0xBEEF, "0000BEEF"},
        {"width 10", "%10u|", 7, "         7|"},
        {"sign", "%+d", 7, "+7"},
        {"blank", "% d", 7, " 7"},
        {"blank, negative", "% d", -7, "-7"},
        {"prefix", "%#x", 255, "0xff"},
        {"prefix, capital", "%#X", 255, "0XFF"},
        {"prefix of zero", "%#x", 0, "0"},
        {"grouping", "%'d", 7, "7"},
        {"sign and zeros", "%+05d", 7, "+0007"},
        {"flag twice", "%++d", 7, "+7"},
        {"left wins over zeros", "%-05d|", 7, "7    |"},
        {"all flags", "%-+ #0'6x|", 255, "0xff  |"},
        {"precision", "%.3d", 7, "007"},
        {"precision, negative", "%.3d", -7, "-007"},
        {"width and precision", "%6.3d|", 7, "   007|"},
        {"left, width and precision", "%-6.3d|", 7, "007   |"},
        {"precision of two digits", "%.12u", 7, "000000000007"},
        {"precision zero of zero", "[%.0d]", 0, "[]"},
        {"point alone is precision zero", "[%.d]", 0, "[]"},
        {"precision zero of another number", "[%.0d]", 5, "[5]"},
        {"precision with leading zeros", "%.003d", 7, "007"},
    };
    for (const Row &row : rows)
        EXPECT_TRUE(formats(row.expected, 1, row.format, row.argument)) << row.label;
}

TEST(HtmlPrintfNumber, DropsLengthModifiers) {
    const Row rows[] = {
        {"l", "%ld", -7, "-7"},
        {"ll", "%lld", -7, "-7"},
        {"h", "%hd", 70000, "70000"},
        {"hh", "%hhd", 300, "300"},
        {"hhu", "%hhu", -1, "4294967295"},
        {"z", "%zu", 7, "7"},
        {"j", "%jd", 7, "7"},
        {"t", "%td", 7, "7"},
        {"L", "%Lx", 255, "ff"},
        {"q", "%qd", 7, "7"},
        {"I", "%Id", 7, "7"},
        {"w", "%wd", 7, "7"},
        {"behind the width", "%5ld|", 7, "    7|"},
        {"in front of the width", "%l5d|", 7, "    7|"},
        {"behind the precision", "%.3ld|", 7, "007|"},
    };
    for (const Row &row : rows)
        EXPECT_TRUE(formats(row.expected, 1, row.format, row.argument)) << row.label;
}

TEST(HtmlPrintfNumber, DropsWhatIsNoPartOfAConversion) {
    const Row rows[] = {
        {"flag behind the width", "%5-d|", 7, "    7|"},
        {"sign behind the width", "%3+d|", 7, "  7|"},
        {"flag within the precision", "%.-3d|", 7, "007|"},
        {"argument number", "%1$d", 7, "7"},
        {"argument number of none", "%9$d|", 7, "        7|"},
        {"dollar sign is no point", "[%$d]", 0, "[0]"},
        {"digits behind a dollar sign are a width", "%$3d|", 7, "  7|"},
        {"letters of other conversions", "%aefgopnAEFGd", 7, "7"},
        {"bytes above 0x7F",
         "%\xC3\xA9\x80\xFF"
         "u",
         7, "7"},
        {"control characters",
         "%\x01\n\x1B\x7F"
         "d",
         7, "7"},
        {"semicolon and quotes", "%;\"<>&d", 7, "7"},
        {"a thousand modifiers", '%' + std::string(1000, 'l') + 'd', 7, "7"},
        {"several hundred flags", '%' + std::string(400, '-') + "5d|", 7, "7    |"},
        {"several hundred zeros", '%' + std::string(400, '0') + "5d|", 7, "00007|"},
        {"several hundred points", '%' + std::string(400, '.') + "3d|", 7, "007|"},
        {"several hundred zeros of a precision", "%." + std::string(400, '0') + "3d|", 7, "007|"},
        {"several hundred characters and a width",
         '%' + std::string(300, '~') + '6' + std::string(300, '!') + "x|", 255, "    ff|"},
    };
    for (const Row &row : rows)
        EXPECT_TRUE(formats(row.expected, 1, row.format, row.argument)) << row.label;
}

TEST(HtmlPrintfNumber, StarTakesItsArgumentAndHasNoOtherEffect) {
    EXPECT_TRUE(formats("7|", 1, "%*d|", 5, 7));
    EXPECT_TRUE(formats("7|", 1, "%-*d|", 5, 7));
    EXPECT_TRUE(formats("7|", 1, "%*u|", -5, 7));
    EXPECT_TRUE(formats("7|8", 1, "%**x|%d", 5, 6, 7, 8));
    EXPECT_TRUE(formats("7 x", 1, "%.*d %s", 3, 7, "x"));
}

TEST(HtmlPrintfNumber, WidthThatDoesNotFitIsNotTakenModulo) {
    // 2^32 + 5; as 5 it would fit in the buffer, as any clamped width it does not.
    const qmv_test::Buffering wide{"full", _IOFBF, 4096};
    const std::string formats_of_five[] = {"%4294967301d",           "%.4294967301u",
                                           "%04294967301x",          "%-4294967301d",
                                           "%99999999999999999999d", "%.99999999999999999999d"};
    for (const std::string &format : formats_of_five) {
        const qmv_test::FailedOutput output =
            print_to(qmv_test::Sink::kFullDevice, wide,
                     {[&] { return qmv_test::html_printf_of(1, format, 7); }});
        ASSERT_EQ(output.counts.size(), 1u) << format;
        EXPECT_LE(output.counts[0], 0) << format;
    }
}

TEST(HtmlPrintfNumber, GoesOnBehindAConversionThatPrintfRefuses) {
    // The wide conversion cannot be printed; the string behind it takes its own argument.
    const qmv_test::Buffering wide{"full", _IOFBF, 4096};
    const qmv_test::FailedOutput output =
        print_to(qmv_test::Sink::kFullDevice, wide,
                 {[] { return qmv_test::html_printf_of(1, "%99999999999d%s", 7, "abc"); }});
    EXPECT_EQ(output.counts, std::vector<int>{3});
}

struct OneConversion {
    const char *label;
    std::string_view spec;
    int value;
    const char *expected;
};

using Conversion = int (*)(const char *spec, unsigned spec_len, int value);
constexpr struct {
    const char *label;
    Conversion print;
} kPrinters[] = {{"unsigned", html_printf_unsigned}, {"signed", html_printf_signed}};

TEST(HtmlPrintfConversion, PrintsAsItsLetterAsks) {
    const OneConversion rows[] = {
        {"d", "%d", -5, "-5"},
        {"i", "%i", -5, "-5"},
        {"u", "%u", -1, "4294967295"},
        {"o", "%o", 8, "10"},
        {"x", "%x", 255, "ff"},
        {"X", "%08X", 0xBEEF, "0000BEEF"},
        {"width", "%5u", 7, "    7"},
        {"left", "%-5d", 7, "7    "},
        {"length modifier", "%ld", 7, "7"},
    };
    for (const auto &printer : kPrinters) {
        for (const OneConversion &row : rows) {
            const qmv_test::FencedText spec(row.spec);
            EXPECT_TRUE(prints(row.expected,
                               [&] {
                                   return printer.print(spec.get(),
                                                        static_cast<unsigned>(row.spec.size()),
                                                        row.value);
                               }))
                << printer.label << ' ' << row.label;
        }
    }
}

TEST(HtmlPrintfConversion, TakesOnlyItsLengthOfTheText) {
    for (const auto &printer : kPrinters)
        EXPECT_TRUE(prints("  7", [&] { return printer.print("%3d and %s", 3, 7); }))
            << printer.label;
}

TEST(HtmlPrintfConversion, RefusesWhatIsNoIntegerConversion) {
    const struct {
        const char *label;
        const char *spec;
        unsigned length;
    } rows[] = {
        {"null", nullptr, 5},
        {"nothing", "", 0},
        {"percent sign alone", "%", 1},
        {"no percent sign", "5d", 2},
        {"string", "%s", 2},
        {"pointer", "%p", 2},
        {"count", "%n", 2},
        {"floating point", "%f", 2},
        {"no letter", "%5", 2},
        {"percent signs", "%%", 2},
        {"NUL for a letter", "%d", 3},
    };
    for (const auto &printer : kPrinters) {
        for (const auto &row : rows) {
            int result = 0;
            EXPECT_TRUE(prints("", 0,
                               [&] {
                                   result = printer.print(row.spec, row.length, 7);
                                   return 0;
                               }))
                << printer.label << ' ' << row.label;
            EXPECT_LT(result, 0) << printer.label << ' ' << row.label;
        }
    }
}

}  // namespace
