#include <gtest/gtest.h>
#include <qmv/items.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/io.h"

namespace {

using qmv_test::InputFile;
using qmv_test::InputPipe;
using qmv_test::open_descriptors;
using qmv_test::TempDir;
using qmv_test::text;

constexpr char kGuard = '#';

struct Value {
    int result;
    std::string text;
};

/// Calls a reader with a buffer of size + 1 bytes and checks the byte behind it.
template <typename Reader>
Value read_into(int size, Reader reader) {
    std::vector<char> buffer(static_cast<std::size_t>(size) + 2, kGuard);
    const int result = reader(buffer.data(), size);
    EXPECT_EQ(buffer.back(), kGuard) << "more than size + 1 bytes were written";
    buffer.back() = '\0';
    return {result, buffer.data()};
}

Value read_fd(int fd, int size) {
    return read_into(size, [&](char *buf, int n) { return read_item_fd(fd, buf, n); });
}

Value read_content(std::string_view content, int size = 63) {
    const InputFile file(content);
    return read_fd(file.fd(), size);
}

Value read_named(const char *dir, const char *name, int size = 63) {
    return read_into(size, [&](char *buf, int n) { return read_item(dir, name, buf, n); });
}

TEST(ReadItemFd, EndsTheValueAtTheFirstControlCharacter) {
    const struct {
        const char *label;
        std::string content;
        const char *value;
    } rows[] = {
        {"newline", "42\n", "42"},
        {"tab", "a\tb", "a"},
        {"CR", "a\r\nb\n", "a"},
        {"NUL", text("a\0b"), "a"},
        {"ESC", "a\x1B[0m", "a"},
        {"0x1F",
         "a\x1F"
         "b",
         "a"},
        {"0x01",
         "a\x01"
         "b",
         "a"},
        {"DEL",
         "a\x7F"
         "b",
         "a"},
        {"blank is none", "a b \n", "a b "},
        {"0x80 to 0xFF are none", "\x80\x9F\xA0\xFF\n", "\x80\x9F\xA0\xFF"},
        {"UTF-8", "\xC3\xA9\xE2\x82\xAC\n", "\xC3\xA9\xE2\x82\xAC"},
        {"no end", "value", "value"},
        {"at once", "\nvalue\n", ""},
        {"only the first line", "one\ntwo\n", "one"},
    };
    for (const auto &row : rows) {
        const Value value = read_content(row.content);
        EXPECT_EQ(value.text, row.value) << row.label;
        EXPECT_EQ(value.result, static_cast<int>(std::strlen(row.value))) << row.label;
    }
}

TEST(ReadItemFd, KnowsEveryControlCharacter) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool control = byte < 0x20 || byte == 0x7F;
        const std::string content = {'a', static_cast<char>(byte), 'b'};
        EXPECT_EQ(read_content(content).result, control ? 1 : 3) << byte;
    }
}

TEST(ReadItemFd, ReturnsZeroForAnEmptyFile) {
    const Value value = read_content("");
    EXPECT_EQ(value.result, 0);
    EXPECT_EQ(value.text, "");
}

TEST(ReadItemFd, ReadsNoMoreThanItsSize) {
    EXPECT_EQ(read_content("abcdef", 3).text, "abc");
    EXPECT_EQ(read_content("abcdef", 3).result, 3);
    EXPECT_EQ(read_content("abcdef", 6).text, "abcdef");
    EXPECT_EQ(read_content("abc\n", 3).text, "abc");
    EXPECT_EQ(read_content("abcdef", 0).text, "");
    EXPECT_EQ(read_content("abcdef", 0).result, 0);
    const InputFile file("abcdef");
    read_fd(file.fd(), 4);
    EXPECT_EQ(file.rest(), "ef");
}

TEST(ReadItemFd, StoresAnEmptyValueForANegativeSize) {
    const InputFile file("abc");
    char buffer[4] = "xyz";
    EXPECT_EQ(read_item_fd(file.fd(), buffer, -1), 0);
    EXPECT_STREQ(buffer, "");
}

TEST(ReadItemFd, CollectsWhatAPipeDeliversInPieces) {
    const InputPipe pipe("abcdef", 1);
    const Value value = read_fd(pipe.fd(), 63);
    EXPECT_EQ(value.text, "abcdef");
    EXPECT_EQ(value.result, 6);
}

TEST(ReadItemFd, ReadsOnBehindAControlCharacterButDropsIt) {
    const InputPipe pipe("ab\ncd", 1);
    EXPECT_EQ(read_fd(pipe.fd(), 63).text, "ab");
    EXPECT_EQ(pipe.rest(), "");
}

TEST(ReadItemFd, StartsAtThePositionOfTheDescriptor) {
    const InputFile file("abcdef\n");
    ASSERT_EQ(::lseek(file.fd(), 2, SEEK_SET), 2);
    EXPECT_EQ(read_fd(file.fd(), 63).text, "cdef");
}

TEST(ReadItemFd, ReturnsANegativeDescriptorAsItIs) {
    char buffer[4] = "xyz";
    EXPECT_EQ(read_item_fd(-1, buffer, 3), -1);
    EXPECT_EQ(read_item_fd(-42, buffer, 3), -42);
    EXPECT_EQ(read_item_fd(-42, nullptr, 3), -42);
    EXPECT_STREQ(buffer, "xyz") << "the buffer was touched";
}

TEST(ReadItemFd, ReadsDescriptorZero) {
    const auto child = qmv_test::run_child("value\n", [] {
        EXPECT_EQ(read_fd(STDIN_FILENO, 63).text, "value");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}

TEST(ReadItemFd, ReturnsMinusOneForANullBuffer) {
    const InputFile file("abc");
    EXPECT_EQ(read_item_fd(file.fd(), nullptr, 3), -1);
    EXPECT_EQ(file.rest(), "abc") << "something was read";
}

TEST(ReadItemFd, StoresAnEmptyValueWhenTheReadFails) {
    const TempDir dir;
    const int fd = open_path_name(dir.path(), "", 0, 0);
    ASSERT_GE(fd, 0);
    const Value value = read_fd(fd, 63);
    EXPECT_EQ(value.result, -1);
    EXPECT_EQ(value.text, "");
    char around[] = "<xyz";
    EXPECT_EQ(read_item_fd(fd, around + 1, 2), -1);
    ::close(fd);
    EXPECT_STREQ(around, "<") << "written in front of the buffer";
}

TEST(ReadItem, ReadsAValue) {
    const TempDir dir;
    dir.write("x", "42\n");
    const Value value = read_named(dir.path(), "x");
    EXPECT_EQ(value.result, 2);
    EXPECT_EQ(value.text, "42");
    EXPECT_EQ(read_named((std::string(dir.path()) + "/").c_str(), "/x").text, "42");
    EXPECT_EQ(read_named("", dir.file("x").c_str()).text, "42");
}

TEST(ReadItem, CutsAValueAtItsSize) {
    const TempDir dir;
    dir.write("x", "abcdef\n");
    EXPECT_EQ(read_named(dir.path(), "x", 4).text, "abcd");
    EXPECT_EQ(read_named(dir.path(), "x", 0).text, "");
}

TEST(ReadItem, StoresAnEmptyStringWhenTheItemIsMissing) {
    const TempDir dir;
    char buffer[8] = "before";
    EXPECT_EQ(read_item(dir.path(), "missing", buffer, 7), -1);
    EXPECT_EQ(read_item(dir.path(), "missing", buffer, 0), -1);
    EXPECT_STREQ(buffer, "");
}

TEST(ReadItem, StoresAnEmptyStringWhenTheItemIsADirectory) {
    const TempDir dir;
    char buffer[8] = "before";
    EXPECT_EQ(read_item("", dir.path(), buffer, 7), -1);
    EXPECT_STREQ(buffer, "");
}

TEST(ReadItem, StoresAnEmptyStringForNullDirectoryOrName) {
    char buffer[8] = "before";
    EXPECT_EQ(read_item(nullptr, "x", buffer, 7), -1);
    EXPECT_STREQ(buffer, "");
    std::strcpy(buffer, "before");
    EXPECT_EQ(read_item("/", nullptr, buffer, 7), -1);
    EXPECT_STREQ(buffer, "");
}

TEST(ReadItem, ReturnsMinusOneForANullBuffer) {
    const TempDir dir;
    dir.write("x", "value\n");
    EXPECT_EQ(read_item(dir.path(), "x", nullptr, 7), -1);
}

TEST(ReadItem, ReadsFilesThatReportNoSize) {
    EXPECT_EQ(read_named("/proc/sys/kernel", "ostype").text, "Linux");
    EXPECT_EQ(read_named("/proc/sys/kernel", "ostype", 3).text, "Lin");
}

TEST(ReadItem, LeavesNoDescriptorOpen) {
    const TempDir dir;
    dir.write("x", "value\n");
    const int before = open_descriptors();
    read_named(dir.path(), "x");
    read_named(dir.path(), "missing");
    read_named("", dir.path());
    char *const none = nullptr;
    read_item(dir.path(), "x", none, 7);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ReadItem, PrintsNothing) {
    const TempDir dir;
    const auto calls = [&] {
        read_named(dir.path(), "missing");
        read_named("", dir.path());
        unsigned number = 0;
        read_item_uint(dir.path(), "missing", &number);
        remove_item(dir.path(), "missing");
        update_item(dir.path(), "missing", "x", 1);
    };
    EXPECT_EQ(qmv_test::printed(calls), "");
    EXPECT_EQ(qmv_test::printed_error(calls), "");
}

}  // namespace
