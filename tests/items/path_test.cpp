#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/items.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"

namespace {

using qmv_test::TempDir;

/// What the last call of record() was given.
struct Recorded {
    int calls = 0;
    std::string path;
    int a = 0;
    unsigned b = 0;
};

Recorded recorded;

int record(const char *path, int a, unsigned b) {
    recorded = {recorded.calls + 1, path, a, b};
    return 42;
}

/// The path that a directory and a name are joined to.
std::string joined(const std::string &dir, const std::string &name) {
    recorded = {};
    _func_path_name(record, dir.c_str(), name.c_str(), 0, 0);
    return recorded.path;
}

TEST(FuncPathName, JoinsWithOneSlash) {
    const struct {
        const char *label;
        const char *dir;
        const char *name;
        const char *path;
    } rows[] = {
        {"none has a slash", "/etc/cfg", "x", "/etc/cfg/x"},
        {"directory has one", "/etc/cfg/", "x", "/etc/cfg/x"},
        {"name has one", "/etc/cfg", "/x", "/etc/cfg/x"},
        {"both have one", "/etc/cfg/", "/x", "/etc/cfg/x"},
        {"relative directory", "cfg", "x", "cfg/x"},
        {"name of several parts", "cfg", "a/b", "cfg/a/b"},
        {"root", "/", "x", "/x"},
        {"root and slash", "/", "/x", "/x"},
        {"empty directory", "", "x", "x"},
        {"empty directory, name with slash", "", "/x", "/x"},
        {"empty name", "cfg", "", "cfg/"},
        {"empty name behind a slash", "cfg/", "", "cfg/"},
        {"both empty", "", "", ""},
        {"name is a slash", "cfg", "/", "cfg/"},
        {"both are a slash", "/", "/", "/"},
        {"dots are no matter", "cfg/..", "../x", "cfg/../../x"},
        {"bytes above 0x7F", "\xC3\xA9", "\xFF", "\xC3\xA9/\xFF"},
        {"backslash is no slash", "a\\", "\\b", "a\\/\\b"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(joined(row.dir, row.name), row.path) << row.label;
}

TEST(FuncPathName, LooksAtOneSlashOnEachSideOnly) {
    EXPECT_EQ(joined("a//", "b"), "a//b");
    EXPECT_EQ(joined("a", "//b"), "a//b");
    EXPECT_EQ(joined("a//", "/b"), "a//b");
    EXPECT_EQ(joined("a/", "//b"), "a//b");
    EXPECT_EQ(joined("a//", "//b"), "a///b");
    EXPECT_EQ(joined("//", "b"), "//b");
}

TEST(FuncPathName, HandsArgumentsAndResultThrough) {
    recorded = {};
    EXPECT_EQ(_func_path_name(record, "d", "n", -7, 0xFFFFFFFF), 42);
    EXPECT_EQ(recorded.calls, 1);
    EXPECT_EQ(recorded.a, -7);
    EXPECT_EQ(recorded.b, 0xFFFFFFFF);
}

TEST(FuncPathName, HandsNegativeResultThrough) {
    const auto refuse = [](const char *, int, unsigned) { return -123; };
    EXPECT_EQ(_func_path_name(refuse, "d", "n", 0, 0), -123);
}

TEST(FuncPathName, RefusesNullArgumentsWithoutACall) {
    recorded = {};
    EXPECT_EQ(_func_path_name(nullptr, "d", "n", 0, 0), -1);
    EXPECT_EQ(_func_path_name(record, nullptr, "n", 0, 0), -1);
    EXPECT_EQ(_func_path_name(record, "d", nullptr, 0, 0), -1);
    EXPECT_EQ(recorded.calls, 0);
}

TEST(FuncPathName, JoinsPathsOfAnyLength) {
    for (const std::size_t length : {2047u, 2048u, 4094u, 4095u, 4096u, 100000u}) {
        const std::string dir(length, 'd');
        const std::string name(length, 'n');
        EXPECT_EQ(joined(dir, name), dir + '/' + name) << length;
        EXPECT_EQ(joined(dir, ""), dir + '/') << length;
        EXPECT_EQ(joined("", name), name) << length;
    }
}

#if QMV_FAKE_ALLOCATION

TEST(FuncPathName, ReturnsMinusOneWithoutMemoryAndACall) {
    const std::string dir(100000, 'd');
    recorded = {};
    int result = 0;
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = _func_path_name(record, dir.c_str(), "n", 0, 0);
        failed = fake.failed();
    }
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(recorded.calls, 0);
}

#endif

TEST(OpenPathName, OpensForReading) {
    const TempDir dir;
    dir.write("x", "value");
    const int fd = open_path_name(dir.path(), "x", O_RDONLY, 0);
    ASSERT_GE(fd, 0);
    char content[8] = {};
    EXPECT_EQ(::read(fd, content, sizeof content), 5);
    EXPECT_STREQ(content, "value");
    ::close(fd);
}

TEST(OpenPathName, HandsFlagsAndModeThrough) {
    const TempDir dir;
    const mode_t kept = ::umask(0);
    const int fd = open_path_name(dir.path(), "new", O_WRONLY | O_CREAT | O_EXCL, 0621);
    const int again = open_path_name(dir.path(), "new", O_WRONLY | O_CREAT | O_EXCL, 0621);
    ::umask(kept);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(again, -1) << "O_EXCL was lost";
    EXPECT_EQ(::fcntl(fd, F_GETFL) & O_ACCMODE, O_WRONLY);
    ::close(fd);
    struct stat state;
    ASSERT_EQ(::stat(dir.file("new").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777u, 0621u);
}

TEST(OpenPathName, ReturnsMinusOneForAMissingFile) {
    const TempDir dir;
    EXPECT_EQ(open_path_name(dir.path(), "missing", O_RDONLY, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(OpenPathName, RefusesNullArguments) {
    EXPECT_EQ(open_path_name(nullptr, "x", O_RDONLY, 0), -1);
    EXPECT_EQ(open_path_name("/", nullptr, O_RDONLY, 0), -1);
}

TEST(OpenPathName, ReturnsMinusOneForAPathTooLong) {
    EXPECT_EQ(open_path_name("/", std::string(10000, 'x').c_str(), O_RDONLY, 0), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST(StatItem, TellsWhetherAnItemExists) {
    const TempDir dir;
    dir.write("x", "");
    EXPECT_EQ(stat_item(dir.path(), "x"), 0);
    EXPECT_EQ(stat_item(dir.path(), "missing"), -1);
    EXPECT_EQ(stat_item("", dir.path()), 0) << "a directory exists";
    EXPECT_EQ(stat_item(dir.file("x").c_str(), "below a file"), -1);
}

TEST(StatItem, FollowsLinks) {
    const TempDir dir;
    dir.write("target", "");
    std::filesystem::create_symlink("target", dir.file("link"));
    std::filesystem::create_symlink("missing", dir.file("dangling"));
    EXPECT_EQ(stat_item(dir.path(), "link"), 0);
    EXPECT_EQ(stat_item(dir.path(), "dangling"), -1);
}

TEST(StatItem, RefusesNullArguments) {
    EXPECT_EQ(stat_item(nullptr, "x"), -1);
    EXPECT_EQ(stat_item("/", nullptr), -1);
}

TEST(RemoveItem, RemovesTheFile) {
    const TempDir dir;
    dir.write("x", "value");
    dir.write("y", "other");
    EXPECT_EQ(remove_item(dir.path(), "x"), 0);
    EXPECT_FALSE(dir.exists("x"));
    EXPECT_TRUE(dir.exists("y"));
}

TEST(RemoveItem, RemovesALinkAndNotItsTarget) {
    const TempDir dir;
    dir.write("target", "value");
    std::filesystem::create_symlink("target", dir.file("link"));
    EXPECT_EQ(remove_item(dir.path(), "link"), 0);
    EXPECT_FALSE(dir.exists("link"));
    EXPECT_EQ(dir.read("target"), "value");
}

TEST(RemoveItem, ReturnsMinusOneWhenThereIsNothingToRemove) {
    const TempDir dir;
    EXPECT_EQ(remove_item(dir.path(), "missing"), -1);
    EXPECT_EQ(remove_item("", dir.path()), -1) << "a directory is no item";
    EXPECT_TRUE(std::filesystem::is_directory(dir.path()));
}

TEST(RemoveItem, RefusesNullArguments) {
    EXPECT_EQ(remove_item(nullptr, "x"), -1);
    EXPECT_EQ(remove_item("/", nullptr), -1);
}

}  // namespace
