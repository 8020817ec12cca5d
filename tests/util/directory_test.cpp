// Files and directories, file names of uploads, and replaced characters.
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/util.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/fakes/directory.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"
#include "tests/support/process_state.h"

namespace {

using qmv_test::DirectoryCall;
using qmv_test::DirectoryCalls;
using qmv_test::NoDescriptors;
using qmv_test::open_descriptors;
using qmv_test::printed_error;
using qmv_test::run_child;
using qmv_test::TempDir;
using qmv_test::text;
using qmv_test::UmaskScope;
using qmv_test::WorkingDirectory;

/// Names that hold everything but a slash.
const std::string kOddNames[] = {
    "two words",
    "\"quoted\"",
    "it's",
    "a\nb",
    "\n",
    "-rf",
    "*",
    "$(touch ran)",
    "`ran`",
    "%s%n%d",
    "\\",
    "...",
    "..a",
    "\xC3\xA9",
    "\xFF\xFE",
    "\x01",
    std::string(255, 'x'),
};

void make_directory_in(const TempDir &dir, const std::string &name) {
    ASSERT_EQ(::mkdir(dir.file(name).c_str(), 0777), 0) << name;
}

// ---- remove_filef ----

TEST(RemoveFilef, RemovesTheFileOfTheFormat) {
    const TempDir dir;
    dir.write("a.1", "x");
    dir.write("a.2", "x");
    EXPECT_EQ(remove_filef("%s/%c.%d", dir.path(), 'a', 1), 0);
    EXPECT_FALSE(dir.exists("a.1"));
    EXPECT_TRUE(dir.exists("a.2"));
}

TEST(RemoveFilef, RemovesFilesOfAnyName) {
    const TempDir dir;
    for (const std::string &name : kOddNames) {
        dir.write(name, "x");
        EXPECT_EQ(remove_filef("%s/%s", dir.path(), name.c_str()), 0) << name;
        EXPECT_FALSE(dir.exists(name)) << name;
    }
}

TEST(RemoveFilef, ReturnsTheResultOfUnlink) {
    const TempDir dir;
    make_directory_in(dir, "sub");
    const std::string missing = dir.file("missing");
    errno = 0;
    EXPECT_EQ(remove_filef("%s", missing.c_str()), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(remove_filef("%s/sub", dir.path()), -1) << "a directory";
    EXPECT_TRUE(dir.exists("sub"));
    EXPECT_EQ(remove_filef("%s", ""), -1) << "an empty path";
}

TEST(RemoveFilef, RemovesALinkAndNotItsTarget) {
    const TempDir dir;
    dir.write("target", "x");
    ASSERT_EQ(::symlink("target", dir.file("link").c_str()), 0);
    EXPECT_EQ(remove_filef("%s/link", dir.path()), 0);
    EXPECT_FALSE(dir.exists("link"));
    EXPECT_TRUE(dir.exists("target"));
}

TEST(RemoveFilef, FailsWhenThePathCannotBeFormed) {
    // A character that has no bytes in any locale.
    const wchar_t unprintable[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    EXPECT_EQ(remove_filef("%ls", unprintable), -1);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    const char *format = nullptr;
    EXPECT_EQ(remove_filef(format), -1) << "null";
#pragma GCC diagnostic pop
}

#if QMV_FAKE_ALLOCATION
TEST(RemoveFilef, RemovesNothingWithoutMemory) {
    const TempDir dir;
    const std::string path = dir.write("a", "x");
    for (int n = 0;; ++n) {
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = remove_filef("%s", path.c_str());
            failed = failure.failed();
        }
        if (failed == 0) {
            EXPECT_EQ(result, 0);
            EXPECT_GT(n, 0) << "it allocates nothing";
            EXPECT_FALSE(dir.exists("a"));
            break;
        }
        if (result == -1)
            EXPECT_TRUE(dir.exists("a")) << "allocation " << n;
        else
            dir.write("a", "x");
    }
}
#endif

// ---- remove_dir_leaf ----

TEST(RemoveDirLeaf, RemovesTheDirectoryAndEveryFileInIt) {
    const TempDir dir;
    make_directory_in(dir, "leaf");
    dir.write("beside", "x");
    for (const std::string &name : kOddNames)
        dir.write("leaf/" + name, "x");
    for (const char *name : {"x", ".x", "x.", "..x", "..."})
        dir.write(std::string("leaf/") + name, "x");
    ASSERT_EQ(::symlink("../beside", dir.file("leaf/link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", dir.file("leaf/broken").c_str()), 0);
    ASSERT_EQ(::mkfifo(dir.file("leaf/fifo").c_str(), 0666), 0);
    const int before = open_descriptors();
    EXPECT_EQ(remove_dir_leaf(dir.file("leaf").c_str()), 0);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_FALSE(dir.exists("leaf"));
    EXPECT_TRUE(dir.exists("beside")) << "the target of a link was removed";
}

TEST(RemoveDirLeaf, RemovesAnEmptyDirectory) {
    const TempDir dir;
    make_directory_in(dir, "leaf");
    EXPECT_EQ(remove_dir_leaf(dir.file("leaf/").c_str()), 0);
    EXPECT_FALSE(dir.exists("leaf"));
}

TEST(RemoveDirLeaf, LeavesSubdirectoriesAndFails) {
    const TempDir dir;
    make_directory_in(dir, "leaf");
    make_directory_in(dir, "leaf/sub");
    dir.write("leaf/a", "x");
    dir.write("leaf/z", "x");
    dir.write("leaf/sub/b", "x");
    EXPECT_EQ(remove_dir_leaf(dir.file("leaf").c_str()), -1);
    EXPECT_FALSE(dir.exists("leaf/a"));
    EXPECT_FALSE(dir.exists("leaf/z"));
    EXPECT_TRUE(dir.exists("leaf/sub/b"));
}

TEST(RemoveDirLeaf, RemovesManyFiles) {
    const TempDir dir;
    make_directory_in(dir, "leaf");
    for (int i = 0; i < 500; ++i)
        dir.write("leaf/" + std::to_string(i), "");
    EXPECT_EQ(remove_dir_leaf(dir.file("leaf").c_str()), 0);
    EXPECT_FALSE(dir.exists("leaf"));
}

TEST(RemoveDirLeaf, FailsForWhatIsNoDirectory) {
    const TempDir dir;
    dir.write("file", "x");
    EXPECT_EQ(remove_dir_leaf(dir.file("file").c_str()), -1) << "a file";
    EXPECT_TRUE(dir.exists("file")) << "a file";
    EXPECT_EQ(remove_dir_leaf(dir.file("missing").c_str()), -1) << "missing";
    EXPECT_EQ(remove_dir_leaf(nullptr), -1) << "null";
}

TEST(RemoveDirLeaf, ReturnsTheResultOfRmdirWhenTheDirectoryCannotBeListed) {
    const TempDir dir;
    make_directory_in(dir, "empty");
    make_directory_in(dir, "leaf");
    dir.write("leaf/a", "x");
    const std::string empty = dir.file("empty");
    const std::string leaf = dir.file("leaf");
    int empty_result = 0;
    int leaf_result = 0;
    {
        const NoDescriptors none;
        empty_result = remove_dir_leaf(empty.c_str());
        leaf_result = remove_dir_leaf(leaf.c_str());
    }
    EXPECT_EQ(empty_result, 0);
    EXPECT_FALSE(dir.exists("empty"));
    EXPECT_EQ(leaf_result, -1);
    EXPECT_TRUE(dir.exists("leaf/a"));
}

#if QMV_FAKE_ALLOCATION
TEST(RemoveDirLeaf, FailsWithoutMemoryAndCanBeCalledAgain) {
    const TempDir dir;
    make_directory_in(dir, "leaf");
    const std::string leaf = dir.file("leaf");
    const int before = open_descriptors();
    for (int n = 0;; ++n) {
        dir.write("leaf/a", "x");
        dir.write("leaf/b", "x");
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = remove_dir_leaf(leaf.c_str());
            failed = failure.failed();
        }
        EXPECT_EQ(result, dir.exists("leaf") ? -1 : 0) << "allocation " << n;
        if (failed == 0)
            break;
        if (!dir.exists("leaf"))
            make_directory_in(dir, "leaf");
    }
    EXPECT_FALSE(dir.exists("leaf"));
    EXPECT_EQ(open_descriptors(), before);
}
#endif

// ---- check_dir ----

TEST(CheckDir, CountsVisibleEntries) {
    const TempDir dir;
    EXPECT_EQ(check_dir(dir.path()), 0) << "empty";
    dir.write(".hidden", "x");
    make_directory_in(dir, ".git");
    dir.write("..x", "x");
    EXPECT_EQ(check_dir(dir.path()), 0) << "hidden ones only";
    dir.write("f", "x");
    EXPECT_EQ(check_dir(dir.path()), 1) << "a file";
    make_directory_in(dir, "sub");
    dir.write("sub/g", "x");
    dir.write("sub/h", "x");
    EXPECT_EQ(check_dir(dir.path()), 2) << "a directory, without what it holds";
    ASSERT_EQ(::symlink("nowhere", dir.file("link").c_str()), 0);
    EXPECT_EQ(check_dir(dir.path()), 3) << "a broken link";
    EXPECT_EQ(check_dir(dir.file("").c_str()), 3) << "slash at the end";
    EXPECT_EQ(check_dir(dir.file("sub/..").c_str()), 3) << "by another path";
}

TEST(CheckDir, CountsNamesOfAnyKind) {
    const TempDir dir;
    int expected = 0;
    for (const std::string &name : kOddNames) {
        dir.write(name, "x");
        expected += name[0] != '.' ? 1 : 0;
    }
    EXPECT_EQ(check_dir(dir.path()), expected);
}

TEST(CheckDir, CountsManyEntries) {
    const TempDir dir;
    for (int i = 0; i < 1000; ++i)
        dir.write(std::to_string(i), "");
    EXPECT_EQ(check_dir(dir.path()), 1000);
}

TEST(CheckDir, FreesWhatItReads) {
    const TempDir dir;
    for (int i = 0; i < 50; ++i)
        dir.write(std::to_string(i), "x");
    EXPECT_EQ(check_dir(dir.path()), 50) << "what the allocator keeps is there from now on";
    const std::size_t before = qmv_test::held_memory();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(check_dir(dir.path()), 50);
    EXPECT_LT(qmv_test::held_memory(), before + 20000);
}

TEST(CheckDir, FailsForWhatCannotBeOpened) {
    const TempDir dir;
    EXPECT_EQ(check_dir(dir.file("missing").c_str()), -1) << "missing";
    EXPECT_EQ(check_dir(dir.write("file", "x").c_str()), -1) << "a file";
    EXPECT_EQ(check_dir(""), -1) << "empty path";
    EXPECT_EQ(check_dir(nullptr), -1) << "null";
}

TEST(CheckDir, LeavesNoDescriptorOpen) {
    const TempDir dir;
    const int before = open_descriptors();
    check_dir(dir.path());
    check_dir("/nowhere");
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(CheckDir, FailsWithoutMemory) {
    const TempDir dir;
    dir.write("a", "x");
    dir.write("b", "x");
    const int before = open_descriptors();
    for (int n = 0;; ++n) {
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = check_dir(dir.path());
            failed = failure.failed();
        }
        EXPECT_EQ(result, failed == 0 ? 2 : -1) << "allocation " << n;
        if (failed == 0)
            break;
    }
    EXPECT_EQ(open_descriptors(), before);
}
#endif

// ---- make_directory ----

constexpr unsigned kRecursive = 0x4;

/// What make_directory() returned and wrote to stderr. That it restores path and umask is checked
/// with every call.
struct Made {
    int result;
    std::string message;

    bool operator==(const Made &) const = default;
};

void PrintTo(const Made &made, std::ostream *out) {
    *out << made.result << " " << testing::PrintToString(made.message);
}

const Made kMade = {0, ""};

Made make(const std::string &path, int mode, unsigned flags) {
    const mode_t mask = UmaskScope::now();
    std::string writable = path;
    Made made{};
    made.message =
        printed_error([&] { made.result = make_directory(writable.data(), mode, flags); });
    EXPECT_EQ(writable, path) << "the path was not restored";
    EXPECT_EQ(UmaskScope::now(), mask) << "the umask was not restored, " << path;
    return made;
}

Made not_created(const std::string &path) {
    return {-1, "can't create directory '" + path + "'"};
}

/// Permissions of a directory; 0xFFFF when there is none.
unsigned mode_of(const std::string &path) {
    struct stat state;
    if (::stat(path.c_str(), &state) != 0 || !S_ISDIR(state.st_mode))
        return 0xFFFF;
    return state.st_mode & 07777;
}

/// A directory that is the working directory, with a chosen umask.
class Place {
  public:
    explicit Place(mode_t mask = 022) : working_(dir_.path()), mask_(mask) {}
    const TempDir &dir() const { return dir_; }

  private:
    TempDir dir_;
    WorkingDirectory working_;
    UmaskScope mask_;
};

TEST(MakeDirectory, CreatesParentsAndSetsTheMode) {
    const Place place;
    EXPECT_EQ(make("a/b/c", 0700, kRecursive), kMade);
    EXPECT_EQ(mode_of("a"), 0755u);
    EXPECT_EQ(mode_of("a/b"), 0755u);
    EXPECT_EQ(mode_of("a/b/c"), 0700u);
    ASSERT_EQ(::chmod("a/b/c", 0711), 0);
    EXPECT_EQ(make("a/b/c", 0700, kRecursive), kMade) << "again";
    EXPECT_EQ(mode_of("a/b/c"), 0711u) << "the permissions of a directory that exists were changed";
    EXPECT_EQ(make("a/b/d/e", 01777, kRecursive), kMade) << "parents that exist";
    EXPECT_EQ(mode_of("a/b/d"), 0755u);
    EXPECT_EQ(mode_of("a/b/d/e"), 01777u);
}

TEST(MakeDirectory, CreatesOneDirectoryWithoutTheFlag) {
    const Place place;
    EXPECT_EQ(make("a", 0750, 0), kMade);
    EXPECT_EQ(mode_of("a"), 0750u);
    EXPECT_EQ(make("a/b", -1, 0), kMade);
    EXPECT_EQ(mode_of("a/b"), 0755u);
    EXPECT_EQ(make("a/b/c/", 0, 0), kMade) << "slash at the end";
    EXPECT_EQ(mode_of("a/b/c"), 0u);
}

TEST(MakeDirectory, LooksAtNoOtherFlag) {
    const Place place;
    EXPECT_EQ(make("a/b", -1, 0xFFFFFFFB), not_created("a/b")) << "without the flag";
    EXPECT_EQ(make("a/b", -1, 0xFFFFFFFF), kMade) << "with the flag";
    EXPECT_EQ(mode_of("a/b"), 0755u);
}

TEST(MakeDirectory, ReportsAParentThatIsMissing) {
    const Place place;
    EXPECT_EQ(make("a/b", -1, 0), not_created("a/b"));
    EXPECT_EQ(mode_of("a"), 0xFFFFu);
}

TEST(MakeDirectory, ReportsADirectoryThatExistsWithoutTheFlag) {
    const Place place;
    ASSERT_EQ(::mkdir("a", 0711), 0);
    EXPECT_EQ(make("a", 0700, 0), not_created("a"));
    EXPECT_EQ(mode_of("a"), 0711u);
    EXPECT_EQ(make("..", -1, 0), not_created(".."));
    EXPECT_EQ(make("./", -1, 0), not_created("./"));
    EXPECT_EQ(make("/", -1, 0), not_created("/"));
}

TEST(MakeDirectory, ReportsFilesAndPathsThatCannotBe) {
    const Place place;
    place.dir().write("file", "x");
    ASSERT_EQ(::symlink("nowhere", "broken"), 0);
    ASSERT_EQ(::symlink("loop", "loop"), 0);
    const std::string longer(256, 'x');
    for (const unsigned flags : {0u, kRecursive}) {
        for (const std::string &path :
             {std::string("file"), std::string("file/"), std::string("file/b"),
              std::string("file/b/c"), std::string("broken"), std::string("broken/b"),
              std::string("loop/b"), longer, longer + "/b", std::string(5000, 'x'),
              std::string("")}) {
            EXPECT_EQ(make(path, 0700, flags), not_created(path)) << "flags " << flags;
        }
    }
    EXPECT_EQ(place.dir().read("file"), "x");
    EXPECT_EQ(mode_of("nowhere"), 0xFFFFu);
    EXPECT_EQ(check_dir("."), 3) << "something was created";
}

TEST(MakeDirectory, NamesTheWholePathWhenAParentCannotBeMade) {
    const Place place;
    place.dir().write("file", "x");
    EXPECT_EQ(make("a/b/../../file/c/d", -1, kRecursive), not_created("a/b/../../file/c/d"));
    EXPECT_EQ(mode_of("a/b"), 0755u) << "parents made before stay";
}

TEST(MakeDirectory, AcceptsLinksToDirectories) {
    const Place place;
    ASSERT_EQ(::mkdir("a", 0711), 0);
    ASSERT_EQ(::symlink("a", "link"), 0);
    EXPECT_EQ(make("link", 0700, kRecursive), kMade) << "last component";
    EXPECT_EQ(mode_of("a"), 0711u);
    EXPECT_EQ(make("link/b/c", 0700, kRecursive), kMade) << "parent";
    EXPECT_EQ(mode_of("a/b/c"), 0700u);
}

TEST(MakeDirectory, AcceptsDotsAndSlashes) {
    const Place place;
    // Without a mode: whatever goes wrong, directories outside this one keep their permissions.
    for (const char *path : {"..", "/", "//", "../."})
        EXPECT_EQ(make(path, -1, kRecursive), kMade) << path;
    for (const char *path : {"./", "./././", "a/../b", "./c/.", "d/./e/.."})
        EXPECT_EQ(make(path, 0700, kRecursive), kMade) << path;
    EXPECT_EQ(mode_of("a"), 0755u);
    EXPECT_EQ(mode_of("b"), 0700u);
    EXPECT_EQ(mode_of("c"), 0755u);
    EXPECT_EQ(mode_of("d/e"), 0755u);
    const std::string absolute = place.dir().file("f/g");
    EXPECT_EQ(make(absolute, 0700, kRecursive), kMade) << "absolute path";
    EXPECT_EQ(mode_of(absolute), 0700u);
}

TEST(MakeDirectory, DoesNothingForADot) {
    const Place place(0777);
    const DirectoryCalls calls;
    for (const unsigned flags : {0u, kRecursive})
        EXPECT_EQ(make(".", 0700, flags), kMade);
    EXPECT_EQ(calls.all(), std::vector<DirectoryCall>{});
}

TEST(MakeDirectory, TakesDirectoriesOfAnyName) {
    const Place place;
    for (const std::string &name : kOddNames) {
        EXPECT_EQ(make(name + "/" + name, 0700, kRecursive), kMade) << name;
        EXPECT_EQ(mode_of(name + "/" + name), 0700u) << name;
        EXPECT_EQ(make(name, -1, 0), not_created(name)) << name;
    }
}

/// The calls of make_directory() in an empty directory.
std::vector<DirectoryCall> calls_of(const std::string &path, int mode, unsigned flags) {
    const Place place;
    const DirectoryCalls calls;
    EXPECT_EQ(make(path, mode, flags), kMade) << path;
    return calls.all();
}

TEST(MakeDirectory, CutsThePathBehindEachRunOfSlashes) {
    using Calls = std::vector<DirectoryCall>;
    EXPECT_EQ(calls_of("x//y/", -1, kRecursive),
              (Calls{{"mkdir", "x//", 0777}, {"mkdir", "x//y/", 0777}}));
    EXPECT_EQ(calls_of("x/y/z", 0700, kRecursive), (Calls{{"mkdir", "x/", 0777},
                                                          {"mkdir", "x/y/", 0777},
                                                          {"mkdir", "x/y/z", 0777},
                                                          {"chmod", "x/y/z", 0700}}));
    EXPECT_EQ(calls_of("x", 0700, kRecursive), (Calls{{"mkdir", "x", 0777}, {"chmod", "x", 0700}}));
    EXPECT_EQ(calls_of("x///", -1, kRecursive), (Calls{{"mkdir", "x///", 0777}}));
    EXPECT_EQ(calls_of(".//x", -1, kRecursive),
              (Calls{{"mkdir", ".//", 0777}, {"mkdir", ".//x", 0777}}));
    EXPECT_EQ(calls_of("//", -1, kRecursive), (Calls{{"mkdir", "//", 0777}}));
    EXPECT_EQ(calls_of("x", -1, 0), (Calls{{"mkdir", "x", 0777}}));
    EXPECT_EQ(calls_of("x//", 0, 0), (Calls{{"mkdir", "x//", 0777}, {"chmod", "x//", 0}}));
}

TEST(MakeDirectory, StopsAtAParentThatCannotBeMade) {
    const Place place;
    place.dir().write("file", "x");
    const DirectoryCalls calls;
    EXPECT_EQ(make("file/a/b", 0700, kRecursive), not_created("file/a/b"));
    EXPECT_EQ(calls.all(), (std::vector<DirectoryCall>{{"mkdir", "file/", 0777}}));
}

TEST(MakeDirectory, CreatesUnderEveryUmask) {
    const struct {
        mode_t mask;
        unsigned parent;  ///< 0777 less the umask, and write and search for the owner
        unsigned last;    ///< 0777 less the umask
    } rows[] = {
        {0, 0777, 0777},    {022, 0755, 0755},  {077, 0700, 0700},  {0300, 0777, 0477},
        {0777, 0300, 0000}, {0200, 0777, 0577}, {0100, 0777, 0677}, {0377, 0700, 0400},
        {0477, 0300, 0300}, {0007, 0770, 0770},
    };
    for (const auto &row : rows) {
        {
            const Place place(row.mask);
            EXPECT_EQ(make("a/b/c", -1, kRecursive), kMade) << std::oct << row.mask;
            EXPECT_EQ(mode_of("a"), row.parent) << "first parent, umask " << std::oct << row.mask;
            EXPECT_EQ(mode_of("a/b"), row.parent)
                << "second parent, umask " << std::oct << row.mask;
            EXPECT_EQ(mode_of("a/b/c"), row.last) << "umask " << std::oct << row.mask;
        }
        {
            const Place place(row.mask);
            EXPECT_EQ(make("a/b", 0751, kRecursive), kMade) << std::oct << row.mask;
            EXPECT_EQ(mode_of("a/b"), 0751u) << "mode, umask " << std::oct << row.mask;
        }
        {
            const Place place(row.mask);
            EXPECT_EQ(make("a", -1, 0), kMade) << std::oct << row.mask;
            EXPECT_EQ(mode_of("a"), row.last) << "no flag, umask " << std::oct << row.mask;
        }
        {
            const Place place(row.mask);
            EXPECT_EQ(make("a", -1, kRecursive), kMade) << std::oct << row.mask;
            EXPECT_EQ(mode_of("a"), row.last) << "no parent, umask " << std::oct << row.mask;
        }
    }
}

TEST(MakeDirectory, RestoresTheUmaskOnEveryPath) {
    // Each call checks it.
    for (const mode_t mask : {0u, 022u, 077u, 0300u, 0777u}) {
        const Place place(mask);
        place.dir().write("file", "x");
        EXPECT_EQ(make(".", -1, kRecursive), kMade);
        EXPECT_EQ(make("a/b", -1, 0), not_created("a/b"));
        EXPECT_EQ(make("file/a/b", -1, kRecursive), not_created("file/a/b"));
        EXPECT_EQ(make("a/../file", -1, kRecursive), not_created("a/../file"));
        EXPECT_EQ(make("a/b", -1, kRecursive), kMade);
        EXPECT_EQ(make("a/b", -1, kRecursive), kMade) << "again";
        DirectoryCalls calls;
        calls.refuse_chmod();
        EXPECT_EQ(make("a/c", 0700, kRecursive).result, -1);
        EXPECT_EQ(make("d", 0700, 0).result, -1);
    }
}

TEST(MakeDirectory, ReportsPermissionsThatCannotBeSet) {
    const Place place;
    DirectoryCalls calls;
    calls.refuse_chmod();
    EXPECT_EQ(make("a/b", 0700, kRecursive),
              (Made{-1, "can't set permissions of directory 'a/b'"}));
    EXPECT_EQ(make("c", 0700, 0), (Made{-1, "can't set permissions of directory 'c'"}));
    EXPECT_EQ(mode_of("a/b"), 0755u) << "the directory stays";
    EXPECT_EQ(make("d/e", -1, kRecursive), kMade) << "nothing to set";
    EXPECT_EQ(make("a/b", 0700, kRecursive), kMade) << "a directory that exists";
}

TEST(MakeDirectory, SetsEveryModeButMinusOne) {
    const Place place;
    for (const int mode : {0, 1, 0777, 01777, 02750, 07777}) {
        const std::string name = std::to_string(mode);
        EXPECT_EQ(make(name, mode, 0), kMade);
        EXPECT_EQ(mode_of(name), static_cast<unsigned>(mode));
    }
}

/// Calls make_directory() with the recursive flag in a directory, as a user who is not root.
/// Returns its exit status, which is 0 for the expected result, and what it wrote to stderr.
qmv_test::ChildResult make_as_user(const TempDir &dir, std::string path, mode_t mask,
                                   int expected) {
    return run_child("", [&] {
        ::dup2(STDOUT_FILENO, STDERR_FILENO);
        // The directories above may be closed to the user.
        if (::chdir(dir.path()) != 0)
            ::_exit(76);
        if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(77);
        ::umask(mask);
        // A user who has changed may not look for leaks at the end.
        ::_exit(make_directory(path.data(), 0700, kRecursive) == expected ? 0 : 1);
        return 1;
    });
}

TEST(MakeDirectory, LetsAnOrdinaryUserIntoTheParents) {
    const TempDir dir;
    ASSERT_EQ(::chmod(dir.path(), 0777), 0);
    for (const mode_t mask : {0u, 0300u, 0777u}) {
        const std::string first = std::to_string(mask);
        const auto child = make_as_user(dir, first + "/b/c", mask, 0);
        EXPECT_EQ(child.status, 0) << "umask " << std::oct << mask;
        EXPECT_EQ(child.output, "") << "umask " << std::oct << mask;
        // Lets the directory be removed by whoever runs the test.
        ::chmod(dir.file(first).c_str(), 0777);
        ::chmod(dir.file(first + "/b").c_str(), 0777);
        EXPECT_EQ(mode_of(dir.file(first + "/b/c")), 0700u) << "umask " << std::oct << mask;
    }
}

TEST(MakeDirectory, ReportsWhatAnOrdinaryUserMayNotDo) {
    const TempDir dir;
    ASSERT_EQ(::chmod(dir.path(), 0555), 0);
    const auto child = make_as_user(dir, "a/b", 022, -1);
    ASSERT_EQ(::chmod(dir.path(), 0755), 0);
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.output, "can't create directory 'a/b'");
    EXPECT_FALSE(dir.exists("a"));
}

TEST(MakeDirectory, KeepsErrnoOfTheFailure) {
    const Place place;
    char path[] = "a/b";
    int error = 0;
    printed_error([&] {
        errno = 0;
        make_directory(path, 0700, 0);
        error = errno;
    });
    EXPECT_EQ(error, ENOENT);
}

TEST(MakeDirectory, FailsForNull) {
    EXPECT_EQ(make_directory(nullptr, 0700, 0), -1);
    EXPECT_EQ(make_directory(nullptr, 0700, kRecursive), -1);
}

TEST(MakeDirectory, LeavesNoDescriptorOpen) {
    const Place place;
    const int before = open_descriptors();
    make("a/b", 0700, kRecursive);
    make("a/b", 0700, 0);
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(MakeDirectory, NeedsNoMemory) {
    const Place place;
    char path[] = "a/b/c";
    int result = -1;
    {
        const qmv_test::AllocationFailure failure(0);
        result = make_directory(path, 0700, kRecursive);
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(mode_of("a/b/c"), 0700u);
}
#endif

// ---- valid_filename ----

TEST(ValidFilename, FindsTheNameInAnUploadedPath) {
    const struct {
        const char *path;
        const char *name;
    } rows[] = {
        {"C:\\dir\\a.txt", "a.txt"},
        {"/tmp/up/a.txt", "a.txt"},
        {"a.txt", "a.txt"},
        {"\\\\server\\share\\a.txt", "a.txt"},
        {"C:\\dir/sub/a.txt", "a.txt"},
        {"dir/sub\\a.txt", "a.txt"},
        {"dir\\sub/a.txt", "a.txt"},
        {"C:a.txt", "C:a.txt"},
        {"C:\\dir\\", ""},
        {"/tmp/up/", ""},
        {"dir/sub\\", ""},
        {"dir\\sub/", ""},
        {"/", ""},
        {"\\", ""},
        {"", ""},
        {"../../etc/passwd", "passwd"},
        {"..\\..\\passwd", "passwd"},
        {"..", ".."},
        {"/a b\"c", "a b\"c"},
        {"\\\xC3\xA9/\xFF", "\xFF"},
    };
    for (const auto &row : rows) {
        const char *const name = valid_filename(row.path);
        EXPECT_STREQ(name, row.name) << row.path;
        EXPECT_EQ(name, row.path + strlen(row.path) - strlen(row.name))
            << row.path << ": not a place in the path";
    }
}

TEST(ValidFilename, ReturnsNullForNull) {
    EXPECT_EQ(valid_filename(nullptr), nullptr);
}

// ---- str_replace_chr ----

TEST(StrReplaceChr, ReplacesEveryByteThatEquals) {
    const struct {
        const char *label;
        const char *text;
        int from;
        int to;
        const char *replaced;
    } rows[] = {
        {"several", "a,b,,c,", ',', ';', "a;b;;c;"},
        {"none", "abc", ',', ';', "abc"},
        {"first and last", "xax", 'x', 'y', "yay"},
        {"all", "xxx", 'x', 'y', "yyy"},
        {"by itself", "a,b", ',', ',', "a,b"},
        {"empty", "", ',', ';', ""},
        {"other case", "aA", 'a', 'b', "bA"},
        {"the terminator stays", "abc", 0, 'x', "abc"},
        {"control character", "a\nb\n", '\n', ' ', "a b "},
        {"highest positive byte", "a\x7F", 0x7F, '_', "a_"},
        {"to a byte above 0x7F", "a,b", ',', 0xE9,
         "a\xE9"
         "b"},
        {"to a negative value", "a,b", ',', -23,
         "a\xE9"
         "b"},
        {"from a number that no byte has", "a,b", ',' + 256, ';', "a,b"},
        {"from a negative number that no byte has", "a,b", ',' - 256, ';', "a,b"},
        {"from the highest number", "a\xFF", INT_MAX, ';', "a\xFF"},
    };
    for (const auto &row : rows) {
        std::string bytes = row.text;
        EXPECT_EQ(str_replace_chr(bytes.data(), row.from, row.to), bytes.data()) << row.label;
        EXPECT_EQ(bytes, row.replaced) << row.label;
    }
}

TEST(StrReplaceChr, FindsAByteAbove7fByItsNegativeValueOnly) {
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        const std::string before = {'a', static_cast<char>(byte), 'b'};
        std::string bytes = before;
        str_replace_chr(bytes.data(), byte, '_');
        EXPECT_EQ(bytes, before) << byte;
        str_replace_chr(bytes.data(), byte - 256, '_');
        EXPECT_EQ(bytes, "a_b") << byte - 256;
    }
}

TEST(StrReplaceChr, GoesOnBehindAByteThatBecameNul) {
    std::string bytes = "a,b,c";
    str_replace_chr(bytes.data(), ',', 0);
    EXPECT_EQ(bytes, text("a\0b\0c"));
}

TEST(StrReplaceChr, ReturnsNullForNull) {
    EXPECT_EQ(str_replace_chr(nullptr, 'a', 'b'), nullptr);
}

}  // namespace
