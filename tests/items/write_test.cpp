#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/items.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>

#include "tests/support/io.h"
#include "tests/support/item_file.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::TempDir;

/// Sets the umask as long as it lives.
class Umask {
  public:
    explicit Umask(mode_t mask) : kept_(::umask(mask)) {}
    Umask(const Umask &) = delete;
    Umask &operator=(const Umask &) = delete;
    ~Umask() { ::umask(kept_); }

  private:
    mode_t kept_;
};

mode_t mode_of(const std::string &path) {
    struct stat state = {};
    EXPECT_EQ(::stat(path.c_str(), &state), 0) << path;
    return state.st_mode & 07777u;
}

TEST(CreateItem, StoresValueAndNewline) {
    const struct {
        const char *label;
        const char *value;
        int len;
        std::string content;
    } rows[] = {
        {"whole", "abc", 3, "abc\n"},
        {"length cuts the value", "abc", 2, "ab\n"},
        {"value ends in front of the length", "abc", 100, "abc\n"},
        {"largest length", "abc", INT_MAX, "abc\n"},
        {"empty value", "", 0, "\n"},
        {"empty value with a length", "", 5, "\n"},
        {"length zero", "abc", 0, "\n"},
        {"negative length", "abc", -1, "\n"},
        {"lowest length", "abc", INT_MIN, "\n"},
        {"control characters and high bytes", "a\nb\x7F\xFF", 6, "a\nb\x7F\xFF\n"},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        EXPECT_EQ(create_item(dir.path(), "x", row.value, row.len),
                  static_cast<int>(row.content.size()))
            << row.label;
        EXPECT_EQ(dir.read("x"), row.content) << row.label;
    }
}

TEST(CreateItem, StopsAtALengthWithoutTerminator) {
    const TempDir dir;
    const char value[] = {'a', 'b'};
    EXPECT_EQ(create_item(dir.path(), "x", value, 2), 3);
    EXPECT_EQ(dir.read("x"), "ab\n");
}

TEST(CreateItem, StoresLongValues) {
    const TempDir dir;
    for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 200000u}) {
        const std::string value(length, 'v');
        EXPECT_EQ(create_item(dir.path(), "x", value.c_str(), static_cast<int>(length)),
                  static_cast<int>(length) + 1);
        EXPECT_EQ(dir.read("x"), value + "\n") << length;
    }
}

TEST(CreateItem, RewritesAnExistingItemInPlace) {
    const ItemFile item("a longer value than the new one\n");
    std::filesystem::create_hard_link(item.dir() + std::string("/item"),
                                      item.dir() + std::string("/other"));
    EXPECT_EQ(create_item(item.dir(), item.name(), "new", 3), 4);
    EXPECT_EQ(item.content(), "new\n");
    EXPECT_TRUE(item.same_file());
    char linked[8];
    EXPECT_EQ(read_item(item.dir(), "other", linked, 7), 3) << "the hard link shows another file";
}

TEST(CreateItem, GivesTheFileReadAndWritePermissionLessTheUmask) {
    const struct {
        mode_t mask;
        mode_t mode;
    } rows[] = {{0, 0666}, {022, 0644}, {077, 0600}, {0137, 0640}, {0777, 0}};
    for (const auto &row : rows) {
        const TempDir dir;
        const Umask mask(row.mask);
        create_item(dir.path(), "x", "v", 1);
        EXPECT_EQ(mode_of(dir.file("x")), row.mode) << row.mask;
        EXPECT_EQ(::umask(row.mask), row.mask) << "the umask was changed";
    }
}

TEST(CreateItem, KeepsThePermissionOfAnExistingItem) {
    const TempDir dir;
    dir.write("x", "old\n");
    ASSERT_EQ(::chmod(dir.file("x").c_str(), 0604), 0);
    create_item(dir.path(), "x", "new", 3);
    EXPECT_EQ(mode_of(dir.file("x")), 0604u);
}

TEST(CreateItem, WritesThroughASymbolicLink) {
    const TempDir dir;
    dir.write("target", "old\n");
    std::filesystem::create_symlink("target", dir.file("link"));
    EXPECT_EQ(create_item(dir.path(), "link", "new", 3), 4);
    EXPECT_EQ(dir.read("target"), "new\n");
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link")));
}

TEST(CreateItem, RefusesNullArguments) {
    const TempDir dir;
    EXPECT_EQ(create_item(dir.path(), "x", nullptr, 3), -1);
    EXPECT_FALSE(dir.exists("x"));
    EXPECT_EQ(create_item(nullptr, "x", "v", 1), -1);
    EXPECT_EQ(create_item(dir.path(), nullptr, "v", 1), -1);
}

TEST(CreateItem, ReturnsMinusOneWhereNoFileCanBe) {
    const TempDir dir;
    EXPECT_EQ(create_item(dir.file("missing").c_str(), "x", "v", 1), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(create_item("", dir.path(), "v", 1), -1) << "a directory";
}

TEST(CreateItemUint, StoresDecimalNumber) {
    const TempDir dir;
    const struct {
        unsigned value;
        const char *content;
        int result;
    } rows[] = {{0, "0\n", 2},
                {42, "42\n", 3},
                {2147483648u, "2147483648\n", 11},
                {4294967295u, "4294967295\n", 11}};
    for (const auto &row : rows) {
        EXPECT_EQ(create_item_uint(dir.path(), "x", row.value), row.result) << row.value;
        EXPECT_EQ(dir.read("x"), row.content) << row.value;
    }
}

TEST(CreateItemUint, RefusesNullArguments) {
    EXPECT_EQ(create_item_uint(nullptr, "x", 1), -1);
    EXPECT_EQ(create_item_uint("/", nullptr, 1), -1);
}

TEST(CreateConcatItem, JoinsBothTextsDirectly) {
    const TempDir dir;
    const struct {
        const char *first;
        const char *second;
        const char *content;
    } rows[] = {{"ab", "cd", "abcd\n"},
                {"", "cd", "cd\n"},
                {"ab", "", "ab\n"},
                {"", "", "\n"},
                {"a ", "\xC3\xA9", "a \xC3\xA9\n"}};
    for (const auto &row : rows) {
        const std::string content = row.content;
        EXPECT_EQ(create_concat_item(dir.path(), "x", row.first, row.second),
                  static_cast<int>(content.size()))
            << content;
        EXPECT_EQ(dir.read("x"), content);
    }
}

TEST(CreateConcatItem, JoinsLongTexts) {
    const TempDir dir;
    const std::string first(3000, 'f');
    // Among the lengths are some that fill a block of the allocator to its last byte.
    for (int length = 1080; length < 1120; ++length) {
        const std::string second(static_cast<std::size_t>(length), 's');
        EXPECT_EQ(create_concat_item(dir.path(), "x", first.c_str(), second.c_str()),
                  3000 + length + 1);
        EXPECT_EQ(dir.read("x"), first + second + "\n");
    }
}

TEST(CreateConcatItem, RefusesNullArguments) {
    const TempDir dir;
    EXPECT_EQ(create_concat_item(nullptr, "x", "a", "b"), -1);
    EXPECT_EQ(create_concat_item(dir.path(), nullptr, "a", "b"), -1);
    EXPECT_EQ(create_concat_item(dir.path(), "x", nullptr, "b"), -1);
    EXPECT_EQ(create_concat_item(dir.path(), "x", "a", nullptr), -1);
    EXPECT_FALSE(dir.exists("x"));
}

TEST(WriteItemUint, OverwritesAnExistingItem) {
    const ItemFile item("a long value\n");
    EXPECT_EQ(write_item_uint(item.dir(), item.name(), 0), 2);
    EXPECT_EQ(item.content(), "0\n");
    EXPECT_EQ(write_item_uint(item.dir(), item.name(), 4294967295u), 11);
    EXPECT_EQ(item.content(), "4294967295\n");
    EXPECT_TRUE(item.same_file());
}

TEST(WriteItemUint, WritesAlsoWhenEqual) {
    const ItemFile item("7\n");
    EXPECT_EQ(write_item_uint(item.dir(), item.name(), 7), 2);
    EXPECT_TRUE(item.touched());
}

TEST(WriteItemUint, CreatesNothing) {
    const TempDir dir;
    EXPECT_EQ(write_item_uint(dir.path(), "missing", 1), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(write_item_uint("", dir.path(), 1), -1) << "a directory";
    EXPECT_EQ(write_item_uint(nullptr, "x", 1), -1);
    EXPECT_EQ(write_item_uint(dir.path(), nullptr, 1), -1);
}

TEST(WriteItemText, OverwritesAnExistingItem) {
    const ItemFile item("a long value\n");
    EXPECT_EQ(write_item_text(item.dir(), item.name(), "new"), 4);
    EXPECT_EQ(item.content(), "new\n");
    EXPECT_EQ(write_item_text(item.dir(), item.name(), ""), 1);
    EXPECT_EQ(item.content(), "\n");
    EXPECT_EQ(write_item_text(item.dir(), item.name(), "a\nb%s\xFF"), 7);
    EXPECT_EQ(item.content(), "a\nb%s\xFF\n");
    EXPECT_TRUE(item.same_file());
}

TEST(WriteItemText, WritesOnlyTheNewlineForNullText) {
    const ItemFile item("old\n");
    EXPECT_EQ(write_item_text(item.dir(), item.name(), nullptr), 1);
    EXPECT_EQ(item.content(), "\n");
}

TEST(WriteItemText, WritesAlsoWhenEqual) {
    const ItemFile item("same\n");
    EXPECT_EQ(write_item_text(item.dir(), item.name(), "same"), 5);
    EXPECT_TRUE(item.touched());
}

TEST(WriteItemText, WritesLongTexts) {
    const ItemFile item("old\n");
    for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 200000u}) {
        const std::string value(length, 'v');
        EXPECT_EQ(write_item_text(item.dir(), item.name(), value.c_str()),
                  static_cast<int>(length) + 1);
        EXPECT_EQ(item.content(), value + "\n") << length;
    }
}

TEST(WriteItemText, CreatesNothing) {
    const TempDir dir;
    EXPECT_EQ(write_item_text(dir.path(), "missing", "v"), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(write_item_text(dir.path(), "missing", nullptr), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(write_item_text("", dir.path(), "v"), -1) << "a directory";
    EXPECT_EQ(write_item_text(nullptr, "x", "v"), -1);
    EXPECT_EQ(write_item_text(dir.path(), nullptr, "v"), -1);
}

}  // namespace
