// Descriptors, files and directories when the calls that move them fail.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/util.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Call;
using qmv_test::from;
using qmv_test::in_quotes;
using qmv_test::Manner;
using qmv_test::only;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::TempDir;
using qmv_test::with_descriptor;

constexpr int kNewFile = O_WRONLY | O_CREAT | O_TRUNC;

/* ---- Descriptors ---- */

TEST(FullReadFd, ReadsAllOrFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("in"), O_RDONLY, [](int fd) {
            char bytes[20] = "";
            const std::string returned = result(full_read_fd(fd, bytes, 19));
            return returned + (returned[0] == '-' ? "" : " " + in_quotes(bytes));
        });
    })
        .with("in", "0123456789")
        .gives("10 \"0123456789\"")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

TEST(FullWriteFd, WritesAllOrFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("out"), kNewFile,
                               [](int fd) { return result(full_write_fd(fd, "0123456789", 10)); });
    })
        .gives("10 out=\"0123456789\"")
        .fails(Call::kWrite, "-1 {error} out=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} out=\"0\"")
        .check();
}

TEST(FullCopyFd, CopiesAllOrFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("in"), O_RDONLY, [&dir](int in) {
            return with_descriptor(dir.file("out"), kNewFile,
                                   [in](int out) { return result(full_copy_fd(in, out)); });
        });
    })
        .with("in", std::string(4096, 'a') + "b")
        .gives("4097 out=\"<4096 a>b\"")
        .fails(Call::kRead, "-1 {error} out=\"\"", only(1))
        .fails(Call::kRead, "-1 {error} out=\"<4096 a>\"", from(2))
        .fails(Call::kRead, "-1 {error} out=\"<4096 a>b\"", only(4))
        .fails(Call::kWrite, "-1 {error} out=\"\"", only(1))
        .fails(Call::kWrite, "-1 {error} out=\"<4096 a>\"", only(2))
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} out=\"a\"", only(1))
        // The second write has one byte, which is what still fits.
        .goes(Manner::kFillsUp, Call::kWrite, "4097 out=\"<4096 a>b\"", only(2))
        .check();
}

TEST(PrintFd, PrintsAllOrFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("in"), O_RDONLY,
                               [](int fd) { return result(print_fd(fd)); });
    })
        .with("in", std::string(4096, 'a') + "b")
        .gives("4097 printed \"<4096 a>b\"")
        .fails(Call::kFstat, "-1 {error}")
        .fails(Call::kRead, "-1 {error}", only(1))
        .fails(Call::kRead, "-1 {error} printed \"<4096 a>\"", from(2))
        .fails(Call::kFwrite, "-1 {error}", only(1))
        .fails(Call::kFwrite, "-1 {error} printed \"<4096 a>\"", only(2))
        .check();
}

TEST(FullLineReadFd, ReadsALineOrFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("in"), O_RDONLY, [](int fd) {
            char line[20] = "";
            const std::string returned = result(full_line_read_fd(fd, line, sizeof line));
            return returned + (returned[0] == '-' ? "" : " " + in_quotes(line));
        });
    })
        .with("in", "abcd\r\nnext\r\n")
        .gives("4 \"abcd\"")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

std::string lines;

int note_line(void *, char *line) {
    lines += " " + in_quotes(line);
    return 0;
}

TEST(RdFileLine, HandsOutTheLinesThatCouldBeRead) {
    Scenario([](const TempDir &dir) {
        lines.clear();
        const std::string returned =
            result(rd_file_line(dir.file("in").c_str(), note_line, nullptr));
        return returned + lines;
    })
        .with("in", "a\n" + std::string(5000, 'b') + "\n")
        .gives("0 \"a\\n\" \"<5000 b>\\n\"")
        .fails(Call::kFopen, "-1 {error}")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kGetline, "0", only(1))
        .fails(Call::kGetline, "0 \"a\\n\"", only(2))
        .fails(Call::kGetline, "0 \"a\\n\" \"<5000 b>\\n\"", only(3))
        .fails(Call::kFclose, "-1 {error} \"a\\n\" \"<5000 b>\\n\"")
        .check();
}

/* ---- Directories ---- */

TEST(RemoveFilef, LeavesTheFileWhenItFails) {
    Scenario([](const TempDir &dir) { return result(remove_filef("%s/%s", dir.path(), "file")); })
        .with("file", "")
        .gives("0 -file")
        .fails(Call::kFormat, "-1 ENOMEM")
        .fails(Call::kUnlink, "-1 {error}")
        .check();
}

/// What a scan hands out comes in no order: the outcome names the number of files that are left.
TEST(RemoveDirLeaf, LeavesTheDirectoryWhenAFileStays) {
    Scenario([](const TempDir &dir) {
        const std::string returned = result(remove_dir_leaf(dir.file("dir").c_str()));
        const qmv_test::Aside aside;
        int left = 0;
        for (const char *name : {"dir/a", "dir/b"})
            left += std::filesystem::remove(dir.file(name)) ? 1 : 0;
        return returned + ", files " + std::to_string(left);
    })
        .prepared([](const TempDir &dir) {
            std::filesystem::create_directory(dir.file("dir"));
            dir.write("dir/a", "a");
            dir.write("dir/b", "b");
        })
        .gives("0, files 0 -dir -dir/a -dir/b")
        .fails(Call::kScandir, "-1 ENOTEMPTY, files 2 -dir/a -dir/b")
        .fails(Call::kFormat, "-1 ENOTEMPTY, files 1 -dir/a -dir/b")
        .fails_for_good(Call::kFormat, "-1 ENOTEMPTY, files 2 -dir/a -dir/b", only(1))
        .fails(Call::kUnlink, "-1 ENOTEMPTY, files 1 -dir/a -dir/b")
        .fails(Call::kRmdir, "-1 {error}, files 0 -dir/a -dir/b")
        .check();
}

TEST(CheckDir, IsNotEmptyWhenItFails) {
    Scenario([](const TempDir &dir) { return result(check_dir(dir.path())); })
        .with("a", "")
        .with(".hidden", "")
        .gives("1")
        .fails(Call::kScandir, "-1 {error}")
        .check();
}

mode_t umask_now() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

/// What make_directory() returned, and whether it restored what it changes while it works.
std::string make(const std::string &path, int mode, unsigned flags) {
    std::string place = path;
    const mode_t mask = umask_now();
    const std::string returned = result(make_directory(place.data(), mode, flags));
    return returned + (place == path && umask_now() == mask ? "" : ", path or umask differ");
}

TEST(MakeDirectory, SaysWhatFailed) {
    Scenario([](const TempDir &) { return make("dir", 0700, 0); })
        .prepared([](const TempDir &dir) { std::filesystem::current_path(dir.path()); })
        .gives("0 dir/")
        .fails(Call::kMkdir, "-1 {error} said \"can't create directory 'dir'\"")
        .fails(Call::kChmod, "-1 {error} said \"can't set permissions of directory 'dir'\" dir/")
        .check();
}

TEST(MakeDirectory, LeavesTheParentsThatItMade) {
    Scenario([](const TempDir &) { return make("a/b/c", -1, 4); })
        .prepared([](const TempDir &dir) {
            std::filesystem::current_path(dir.path());
            std::filesystem::create_directory("a");
        })
        .gives("0 a/b/ a/b/c/")
        .fails(Call::kMkdir, "-1 {error} said \"can't create directory 'a/b/c'\"", only(1))
        .fails(Call::kMkdir, "-1 {error} said \"can't create directory 'a/b/c'\"", only(2))
        .fails(Call::kMkdir, "-1 {error} said \"can't create directory 'a/b/c'\" a/b/", only(3))
        .fails(Call::kStat, "-1 {error} said \"can't create directory 'a/b/c'\"")
        .check();
}

}  // namespace
