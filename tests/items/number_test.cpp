#include <gtest/gtest.h>
#include <qmv/items.h>

#include <climits>
#include <string>
#include <string_view>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"

namespace {

using qmv_test::InputFile;
using qmv_test::InputPipe;
using qmv_test::open_descriptors;
using qmv_test::TempDir;

struct NumberText {
    const char *text;
    unsigned value;
};

constexpr NumberText kUnsigned[] = {
    {"0", 0},
    {"7", 7},
    {"42", 42},
    {"007", 7},
    {"2147483648", 0x80000000},
    {"4294967295", 4294967295u},
    {"12abc", 12},
    {"12 34", 12},
    {"1.5", 1},
    {"abc", 0},
    {"", 0},
    {" 7", 0},
    {"\t7", 0},
    {"+15", 0},
    {"-15", 0},
    {"0x1F", 0},
    {"/9", 0},
    {":9", 0},
    {"\xB2", 0},
    {"9\xB2", 9},
};

// Modulo 2^32.
constexpr NumberText kWrapping[] = {
    {"4294967296", 0},
    {"4294967301", 5},
    {"8589934593", 1},
    {"99999999999999999999", 1661992959},
};

TEST(StrToUint, ConvertsDecimalDigits) {
    for (const NumberText &row : kUnsigned)
        EXPECT_EQ(str_to_uint(row.text), row.value) << '"' << row.text << '"';
}

TEST(StrToUint, WrapsAt32Bits) {
    for (const NumberText &row : kWrapping)
        EXPECT_EQ(str_to_uint(row.text), row.value) << row.text;
}

TEST(StrToUint, ReturnsZeroForNull) {
    EXPECT_EQ(str_to_uint(nullptr), 0u);
}

TEST(StrToSint, ConvertsDecimalDigitsWithOptionalMinus) {
    const struct {
        const char *text;
        int value;
    } rows[] = {
        {"15", 15},
        {"-15", -15},
        {"0", 0},
        {"-0", 0},
        {"-007", -7},
        {"+15", 0},
        {" -15", 0},
        {"- 15", 0},
        {"--15", 0},
        {"-+15", 0},
        {"-", 0},
        {"", 0},
        {"-x", 0},
        {"-12abc", -12},
        {"2147483647", INT_MAX},
        {"-2147483647", -INT_MAX},
        {"-2147483648", INT_MIN},
    };
    for (const auto &row : rows)
        EXPECT_EQ(str_to_sint(row.text), row.value) << '"' << row.text << '"';
}

TEST(StrToSint, WrapsAt32Bits) {
    EXPECT_EQ(str_to_sint("2147483648"), INT_MIN);
    EXPECT_EQ(str_to_sint("4294967295"), -1);
    EXPECT_EQ(str_to_sint("-4294967295"), 1);
    EXPECT_EQ(str_to_sint("4294967296"), 0);
    EXPECT_EQ(str_to_sint("-4294967301"), -5);
}

TEST(StrToSint, ReturnsZeroForNull) {
    EXPECT_EQ(str_to_sint(nullptr), 0);
}

TEST(ReadItemUintFd, StoresTheNumberAndReturnsTheLengthOfTheText) {
    for (const NumberText &row : kUnsigned) {
        const std::string content = row.text;
        if (content.empty() || content[0] == '\t')
            continue;
        const InputFile file(content + "\n");
        unsigned value = 99;
        EXPECT_EQ(read_item_uint_fd(file.fd(), &value), static_cast<int>(content.size()))
            << content;
        EXPECT_EQ(value, row.value) << content;
    }
}

TEST(ReadItemUintFd, WrapsAt32Bits) {
    const InputFile file("4294967296\n");
    unsigned value = 99;
    EXPECT_EQ(read_item_uint_fd(file.fd(), &value), 10);
    EXPECT_EQ(value, 0u);
}

TEST(ReadItemUintFd, WithNullOutReturnsTheNumber) {
    const struct {
        const char *content;
        int result;
    } rows[] = {{"42\n", 42}, {"0\n", 0}, {"abc\n", 0}, {"12abc\n", 12}, {"2147483647\n", INT_MAX}};
    for (const auto &row : rows) {
        const InputFile file(row.content);
        EXPECT_EQ(read_item_uint_fd(file.fd(), nullptr), row.result) << row.content;
    }
}

TEST(ReadItemUintFd, WithNullOutClampsTheNumber) {
    for (const char *content : {"2147483648\n", "4294967295\n", "3000000000\n"}) {
        const InputFile file(content);
        EXPECT_EQ(read_item_uint_fd(file.fd(), nullptr), 2147483647) << content;
    }
}

TEST(ReadItemUintFd, LeavesOutAloneForAnEmptyValue) {
    for (const char *content : {"", "\n", "\t7"}) {
        const InputFile file(content);
        unsigned value = 99;
        EXPECT_EQ(read_item_uint_fd(file.fd(), &value), 0);
        EXPECT_EQ(value, 99u);
    }
    const InputFile file("");
    EXPECT_EQ(read_item_uint_fd(file.fd(), nullptr), 0);
}

TEST(ReadItemUintFd, ReadsFifteenBytesAtMost) {
    const InputFile file("000000000000004567");
    unsigned value = 99;
    EXPECT_EQ(read_item_uint_fd(file.fd(), &value), 15);
    EXPECT_EQ(value, 4u);
    EXPECT_EQ(file.rest(), "567");
}

TEST(ReadItemUintFd, CollectsWhatAPipeDeliversInPieces) {
    const InputPipe pipe("123456", 1);
    unsigned value = 0;
    EXPECT_EQ(read_item_uint_fd(pipe.fd(), &value), 6);
    EXPECT_EQ(value, 123456u);
}

TEST(ReadItemUintFd, ReturnsANegativeDescriptorAsItIs) {
    unsigned value = 99;
    EXPECT_EQ(read_item_uint_fd(-1, &value), -1);
    EXPECT_EQ(read_item_uint_fd(-42, &value), -42);
    EXPECT_EQ(read_item_uint_fd(-42, nullptr), -42);
    EXPECT_EQ(value, 99u);
}

TEST(ReadItemUint, ReadsAnItem) {
    const TempDir dir;
    dir.write("x", "4294967295\n");
    dir.write("empty", "");
    unsigned value = 99;
    EXPECT_EQ(read_item_uint(dir.path(), "empty", &value), 0);
    EXPECT_EQ(value, 99u);
    EXPECT_EQ(read_item_uint(dir.path(), "x", &value), 10);
    EXPECT_EQ(value, 4294967295u);
    EXPECT_EQ(read_item_uint(dir.path(), "x", nullptr), 2147483647);
}

TEST(ReadItemUint, ReturnsMinusOneWhenTheItemCannotBeRead) {
    const TempDir dir;
    unsigned value = 99;
    EXPECT_EQ(read_item_uint(dir.path(), "missing", &value), -1);
    EXPECT_EQ(read_item_uint("", dir.path(), &value), -1) << "a directory";
    EXPECT_EQ(read_item_uint(nullptr, "x", &value), -1);
    EXPECT_EQ(read_item_uint(dir.path(), nullptr, &value), -1);
    EXPECT_EQ(read_item_uint(dir.path(), "missing", nullptr), -1);
    EXPECT_EQ(value, 99u);
}

TEST(ReadItemUintFmt, ReadsTheFileOfAFormattedPath) {
    const TempDir dir;
    dir.write("item7", "123\n");
    unsigned value = 0;
    EXPECT_EQ(read_item_uint_fmt(&value, "%s/item%d", dir.path(), 7), 3);
    EXPECT_EQ(value, 123u);
    EXPECT_EQ(read_item_uint_fmt(nullptr, "%s/item%d", dir.path(), 7), 123);
}

TEST(ReadItemUintFmt, TakesThePathAsItIs) {
    EXPECT_EQ(read_item_uint_fmt(nullptr, "/proc/sys/%s", "kernel/ostype"), 0) << "not a number";
    const TempDir dir;
    const std::string longer(3000, '/');
    dir.write("x", "5\n");
    EXPECT_EQ(read_item_uint_fmt(nullptr, "%s%sx", dir.path(), longer.c_str()), 5);
}

TEST(ReadItemUintFmt, ReturnsMinusOneForAnEmptyPath) {
    unsigned value = 99;
    EXPECT_EQ(read_item_uint_fmt(&value, "%s", ""), -1);
    EXPECT_EQ(value, 99u);
}

TEST(ReadItemUintFmt, ReturnsMinusOneWhenTheFileCannotBeRead) {
    const TempDir dir;
    unsigned value = 99;
    EXPECT_EQ(read_item_uint_fmt(&value, "%s/missing", dir.path()), -1);
    EXPECT_EQ(read_item_uint_fmt(&value, "%s", dir.path()), -1) << "a directory";
    const char *const none = nullptr;
    EXPECT_EQ(read_item_uint_fmt(&value, none), -1);
    EXPECT_EQ(value, 99u);
}

TEST(ReadItemSintFd, StoresTheNumberAndReturnsTheLengthOfTheText) {
    const struct {
        std::string_view content;
        int result;
        int value;
    } rows[] = {
        {"-15\n", 3, -15},
        {"15\n", 2, 15},
        {"+15\n", 3, 0},
        {"abc\n", 3, 0},
        {"-2147483648", 11, INT_MIN},
    };
    for (const auto &row : rows) {
        const InputFile file(row.content);
        int value = 99;
        EXPECT_EQ(read_item_sint_fd(file.fd(), &value), row.result) << row.content;
        EXPECT_EQ(value, row.value) << row.content;
    }
}

TEST(ReadItemSintFd, WithNullOutReturnsTheLengthUnlikeAnUnsignedNumber) {
    const InputFile file("-15\n");
    EXPECT_EQ(read_item_sint_fd(file.fd(), nullptr), 3);
    const InputFile positive("4000\n");
    EXPECT_EQ(read_item_sint_fd(positive.fd(), nullptr), 4);
}

TEST(ReadItemSintFd, LeavesOutAloneForAnEmptyValue) {
    const InputFile file("\n-5");
    int value = 99;
    EXPECT_EQ(read_item_sint_fd(file.fd(), &value), 0);
    EXPECT_EQ(value, 99);
}

TEST(ReadItemSintFd, ReadsFifteenBytesAtMost) {
    const InputFile file("-00000000000001234");
    int value = 99;
    EXPECT_EQ(read_item_sint_fd(file.fd(), &value), 15);
    EXPECT_EQ(value, -1);
    EXPECT_EQ(file.rest(), "234");
}

TEST(ReadItemSintFd, ReturnsANegativeDescriptorAsItIs) {
    int value = 99;
    EXPECT_EQ(read_item_sint_fd(-42, &value), -42);
    EXPECT_EQ(value, 99);
}

TEST(ReadItemSint, ReadsAnItem) {
    const TempDir dir;
    dir.write("x", "-15\n");
    int value = 99;
    EXPECT_EQ(read_item_sint(dir.path(), "x", &value), 3);
    EXPECT_EQ(value, -15);
    EXPECT_EQ(read_item_sint(dir.path(), "x", nullptr), 3);
}

TEST(ReadItemSint, ReturnsMinusOneWhenTheItemCannotBeRead) {
    const TempDir dir;
    int value = 99;
    EXPECT_EQ(read_item_sint(dir.path(), "missing", &value), -1);
    EXPECT_EQ(read_item_sint("", dir.path(), &value), -1) << "a directory";
    EXPECT_EQ(read_item_sint(nullptr, "x", &value), -1);
    EXPECT_EQ(read_item_sint(dir.path(), nullptr, &value), -1);
    EXPECT_EQ(value, 99);
}

TEST(BoolToUint, KnowsWordsAndNumbers) {
    const struct {
        const char *text;
        unsigned value;
    } rows[] = {
        {"true", 1},       {"TRUE", 1},       {"True", 1},  {"tRuE", 1},  {"false", 0},
        {"FALSE", 0},      {"False", 0},      {"1", 1},     {"0", 0},     {"2", 1},
        {"00", 0},         {"007", 1},        {"1abc", 1},  {"0abc", 0},  {"yes", 0},
        {"on", 0},         {"", 0},           {" true", 0}, {"true ", 0}, {"truex", 0},
        {"tru", 0},        {"-1", 0},         {"+1", 0},    {" 1", 0},    {"4294967296", 0},
        {"4294967297", 1}, {"4294967295", 1},
    };
    for (const auto &row : rows)
        EXPECT_EQ(bool_to_uint(row.text), row.value) << '"' << row.text << '"';
}

TEST(BoolToUint, ReturnsZeroForNull) {
    EXPECT_EQ(bool_to_uint(nullptr), 0u);
}

TEST(NumberItems, LeaveNoDescriptorOpen) {
    const TempDir dir;
    dir.write("x", "1\n");
    const int before = open_descriptors();
    for (const char *name : {"x", "missing", ""}) {
        unsigned value = 0;
        int number = 0;
        read_item_uint(dir.path(), name, &value);
        read_item_uint_fmt(&value, "%s/%s", dir.path(), name);
        read_item_sint(dir.path(), name, &number);
        call_uint(dir.path(), name, [](unsigned) { return 0; });
    }
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION

TEST(ReadItemUintFmt, ReturnsMinusOneWithoutMemory) {
    const TempDir dir;
    dir.write("x", "1\n");
    unsigned value = 99;
    int result = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = read_item_uint_fmt(&value, "%s/x", dir.path());
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(value, 99u);
}

#endif

}  // namespace
