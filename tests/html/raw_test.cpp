#include <gtest/gtest.h>
#include <qmv/html.h>

#include <string>

#include "tests/support/fenced_text.h"
#include "tests/support/io.h"
#include "tests/support/output.h"

namespace {

using qmv_test::prints;
using qmv_test::text;

/// Every byte but NUL, as one text.
std::string all_bytes() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

TEST(PrintMem, PrintsBytesVerbatim) {
    EXPECT_TRUE(prints("a<b>&\"'", [] { return print_mem("a<b>&\"'", 7); }));
}

TEST(PrintMem, PrintsNulBytes) {
    EXPECT_TRUE(prints(text("a\0b\0"), [] { return print_mem("a\0b\0", 4); }));
}

TEST(PrintMem, PrintsHighBytesVerbatim) {
    const std::string bytes = all_bytes();
    EXPECT_TRUE(prints(
        bytes, [&] { return print_mem(bytes.data(), static_cast<unsigned>(bytes.size())); }));
}

TEST(PrintMem, ReadsNoByteBehindTheLength) {
    const qmv_test::FencedText fenced("abc");
    EXPECT_TRUE(prints("abc", [&] { return print_mem(fenced.get(), 3); }));
}

TEST(PrintMem, PrintsOnlyTheLength) {
    EXPECT_TRUE(prints("ab", [] { return print_mem("abcdef", 2); }));
}

TEST(PrintMem, ReturnsZeroForNullBuffer) {
    EXPECT_TRUE(prints("", [] { return print_mem(nullptr, 5); }));
}

TEST(PrintMem, ReturnsZeroForLengthZero) {
    EXPECT_TRUE(prints("", [] { return print_mem("abc", 0); }));
}

TEST(PrintMem, PrintsEveryLengthAroundTheBufferOfStdout) {
    for (const unsigned length : {4094u, 4095u, 4096u, 4097u, 8192u, 100000u}) {
        std::string bytes(length, 'x');
        bytes.back() = 'y';
        EXPECT_TRUE(prints(bytes, [&] { return print_mem(bytes.data(), length); })) << length;
    }
}

TEST(PrintMem, KeepsTheOrderWithOtherOutput) {
    const std::string longer(5000, 'm');
    EXPECT_EQ(qmv_test::printed([&] {
                  std::printf("before ");
                  print_mem(longer.data(), 5000);
                  std::printf(" between ");
                  print_mem("end", 3);
              }),
              "before " + longer + " between end");
}

TEST(PrintStr, PrintsTheStringVerbatim) {
    EXPECT_TRUE(prints("a<b>&\"'\r\n\x7F", [] { return print_str("a<b>&\"'\r\n\x7F"); }));
}

TEST(PrintStr, PrintsInvalidUtf8Verbatim) {
    const std::string bytes = all_bytes();
    EXPECT_TRUE(prints(bytes, [&] { return print_str(bytes.c_str()); }));
}

TEST(PrintStr, ReturnsZeroForNull) {
    EXPECT_TRUE(prints("", [] { return print_str(nullptr); }));
}

TEST(PrintStr, ReturnsZeroForEmptyString) {
    EXPECT_TRUE(prints("", [] { return print_str(""); }));
}

TEST(PrintStr, PrintsLongStringWhole) {
    const std::string longer(70000, 'q');
    EXPECT_TRUE(prints(longer, [&] { return print_str(longer.c_str()); }));
}

TEST(PrintStrXcrlf, PutsCrInFrontOfEveryLf) {
    const struct {
        const char *label;
        const char *text;
        const char *expected;
    } rows[] = {
        {"between", "a\nb", "a\r\nb"},
        {"at the end", "a\n", "a\r\n"},
        {"at the beginning", "\na", "\r\na"},
        {"alone", "\n", "\r\n"},
        {"several in a row", "a\n\n\nb", "a\r\n\r\n\r\nb"},
        {"no line feed", "abc", "abc"},
        {"lone CR", "a\rb\r", "a\rb\r"},
        {"markup and high bytes", "<\xC3\xA9\xFF>\n", "<\xC3\xA9\xFF>\r\n"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.expected, [&] { return print_str_xcrlf(row.text); })) << row.label;
}

TEST(PrintStrXcrlf, DoublesCrInFrontOfLfThatHasOneAlready) {
    EXPECT_TRUE(prints("a\r\r\nb", [] { return print_str_xcrlf("a\r\nb"); }));
}

TEST(PrintStrXcrlf, ReturnsZeroForNull) {
    EXPECT_TRUE(prints("", [] { return print_str_xcrlf(nullptr); }));
}

TEST(PrintStrXcrlf, ReturnsZeroForEmptyString) {
    EXPECT_TRUE(prints("", [] { return print_str_xcrlf(""); }));
}

TEST(PrintStrXcrlf, HandlesLongLines) {
    const std::string line(5000, 'x');
    EXPECT_TRUE(prints(line + "\r\n" + line,
                       [&] { return print_str_xcrlf((line + "\n" + line).c_str()); }));
}

TEST(PrintXstr, ChoosesByFlags) {
    const struct {
        const char *label;
        unsigned flags;
        const char *expected;
    } rows[] = {
        {"none: escaped", 0, "&lt;\n"},
        {"raw", 0x4000, "<\n"},
        {"windows alone: escaped", 0x10000, "&lt;\n"},
        {"raw and windows", 0x14000, "<\r\n"},
        {"all but raw: escaped", 0xFFFFFFFF & ~0x4000u, "&lt;\n"},
        {"all but windows: raw", 0xFFFFFFFF & ~0x10000u, "<\n"},
        {"all", 0xFFFFFFFF, "<\r\n"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.expected, [&] { return print_xstr("<\n", row.flags); }))
            << row.label;
}

TEST(PrintXstr, ReturnsZeroForNullWhateverTheFlags) {
    for (const unsigned flags : {0u, 0x4000u, 0x10000u, 0x14000u})
        EXPECT_TRUE(prints("", [&] { return print_xstr(nullptr, flags); })) << flags;
}

}  // namespace
