// The library on a disk that is full or cannot be written.
#include <gtest/gtest.h>
#include <qmv.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/faults/environment.h"
#include "tests/faults/scenario.h"
#include "tests/support/io.h"

namespace {

using qmv_test::OwnDisk;
using qmv_test::printed_error;
using qmv_test::result;
using qmv_test::with_own_disk;

/// Twice a page of a disk, less a newline.
std::string two_pages() {
    return std::string(2 * static_cast<std::size_t>(::getpagesize()) - 1, 'v');
}

std::string one_page() {
    return std::string(static_cast<std::size_t>(::getpagesize()), 'v');
}

/* ---- A full disk. What a file gives up when it is truncated can be written again. ---- */

TEST(FullDisk, RewrittenItemFindsTheRoomOfItsOldValue) {
    with_own_disk([](const OwnDisk &disk) {
        for (const char *name : {"a", "b", "c", "d"})
            disk.write(name, "old\n");
        disk.fill();
        EXPECT_EQ(result(update_item(disk.path(), "a", "new", 63)), "4");
        EXPECT_EQ(result(write_item_uint(disk.path(), "b", 5)), "2");
        EXPECT_EQ(result(create_item(disk.path(), "c", "new", 3)), "4");
        EXPECT_EQ(result(update_textarea_file(disk.path(), "d", "new\n", 10)), "5");
        EXPECT_EQ(disk.read("a") + disk.read("b") + disk.read("c") + disk.read("d"),
                  "new\n5\nnew\nnew\n");
    });
}

TEST(FullDisk, GrowingItemHoldsThePartThatFitted) {
    with_own_disk([](const OwnDisk &disk) {
        const std::string value = two_pages();
        const int size = static_cast<int>(value.size());
        for (const char *name : {"a", "b", "c", "d"})
            disk.write(name, "old\n");
        disk.fill();
        EXPECT_EQ(result(update_item(disk.path(), "a", value.c_str(), size)), "-1 ENOSPC");
        EXPECT_EQ(result(create_item(disk.path(), "b", value.c_str(), size)), "-1 ENOSPC");
        EXPECT_EQ(result(write_item_text(disk.path(), "c", value.c_str())), "-1 ENOSPC");
        EXPECT_EQ(result(update_textarea_file(disk.path(), "d", (value + "v").c_str(), 100000)),
                  "-1 ENOSPC");
        for (const char *name : {"a", "b", "c", "d"})
            EXPECT_EQ(disk.read(name), one_page()) << name;
    });
}

TEST(FullDisk, EmptyAndNewItemsStayEmpty) {
    with_own_disk([](const OwnDisk &disk) {
        disk.write("empty", "");
        disk.fill();
        EXPECT_EQ(result(update_item(disk.path(), "empty", "new", 63)), "-1 ENOSPC");
        EXPECT_EQ(result(create_item(disk.path(), "new", "new", 3)), "-1 ENOSPC");
        EXPECT_EQ(disk.read("empty") + disk.read("new"), "");
    });
}

TEST(FullDisk, UploadLosesWhatDoesNotFit) {
    with_own_disk([](const OwnDisk &disk) {
        disk.fill();
        std::FILE *file = std::fopen(disk.file("file").c_str(), "w");
        EXPECT_EQ(mpart_fwrite(file, "hello", 5), 0);
        EXPECT_EQ(std::fclose(file), EOF) << "only closing tells";
        std::FILE *other = std::fopen(disk.file("other").c_str(), "w");
        int fd = ::fileno(other);
        EXPECT_EQ(mpart_write_fd(&fd, "hello", 5), 0);
        EXPECT_EQ(result(full_write_fd(fd, "hello", 5)), "-1 ENOSPC");
        std::fclose(other);
        EXPECT_EQ(disk.read("file") + disk.read("other"), "");
    });
}

TEST(FullDisk, PasswordIsChangedWhereThereIsRoom) {
    with_own_disk([](const OwnDisk &disk) {
        std::filesystem::create_directory(disk.file("empty"));
        disk.write("password", "old\n");
        disk.write("empty/password", "");
        disk.fill();
        passwd_rec rec{};
        rd_passwd(disk.path(), "password", &rec, 0);
        const passwd_form form{{PW_UNCHANGED, nullptr}, {PW_VALID, "new"}, {PW_VALID, "new"}};
        update_pw(&form, &rec, disk.file("empty").c_str(), 0);
        EXPECT_EQ(rec.status, static_cast<uint32_t>(PW_CHANGED));
        EXPECT_EQ(disk.read("password").size(), 35u);
        EXPECT_EQ(disk.read("empty/password"), "");
    });
}

TEST(FullDisk, WithoutNamesNothingIsCreated) {
    with_own_disk([](const OwnDisk &disk) {
        disk.write("item", "old\n");
        disk.fill_names();
        std::string place = disk.file("a/b");
        const std::string errors = printed_error(
            [&] { EXPECT_EQ(result(make_directory(place.data(), 0700, 4)), "-1 ENOSPC"); });
        EXPECT_EQ(errors, "can't create directory '" + disk.file("a/b") + "'");
        EXPECT_EQ(result(create_item(disk.path(), "new", "new", 3)), "-1 ENOSPC");
        EXPECT_EQ(disk.read("new"), "no file");
        EXPECT_EQ(result(update_item(disk.path(), "item", "new", 63)), "4");
    });
}

/* ---- A disk that cannot be written ---- */

TEST(ReadOnlyDisk, KeepsItsItemsAndLetsThemBeRead) {
    with_own_disk([](const OwnDisk &disk) {
        disk.write("item", "old\n");
        disk.make_read_only();
        const char *dir = disk.path();
        EXPECT_EQ(result(create_item(dir, "item", "new", 3)), "-1 EROFS");
        EXPECT_EQ(result(create_item(dir, "other", "new", 3)), "-1 EROFS");
        EXPECT_EQ(result(create_concat_item(dir, "item", "new", "er")), "-1 EROFS");
        EXPECT_EQ(result(update_item(dir, "item", "new", 63)), "-1 EROFS");
        EXPECT_EQ(result(update_item(dir, "item", "old", 63)), "0") << "nothing is to be written";
        EXPECT_EQ(result(write_item_uint(dir, "item", 5)), "-1 EROFS");
        EXPECT_EQ(result(write_item_text(dir, "item", "new")), "-1 EROFS");
        EXPECT_EQ(result(update_textbox_item(dir, "item", "new", 9, nullptr)), "-1 EROFS");
        EXPECT_EQ(result(update_textarea_file(dir, "item", "new\n", 9)), "-1 EROFS");
        EXPECT_EQ(result(wr_checkbox_item(dir, "item", 0)), "-1 EROFS");
        EXPECT_EQ(result(remove_item(dir, "item")), "-1 EROFS");
        EXPECT_EQ(result(compare_item(dir, "item", "old", 63)), "0");
        EXPECT_EQ(disk.read("item"), "old\n");
        EXPECT_EQ(disk.read("other"), "no file");
    });
}

TEST(ReadOnlyDisk, KeepsItsDirectories) {
    with_own_disk([](const OwnDisk &disk) {
        std::filesystem::create_directory(disk.file("dir"));
        disk.write("dir/a", "");
        disk.make_read_only();
        std::string there = disk.file("dir");
        std::string missing = disk.file("dir/b/c");
        EXPECT_EQ(result(remove_filef("%s/dir/a", disk.path())), "-1 EROFS");
        EXPECT_EQ(result(remove_dir_leaf(there.c_str())), "-1 EROFS");
        EXPECT_EQ(result(make_directory(there.data(), 0700, 4)), "0") << "it is there";
        const std::string errors = printed_error(
            [&] { EXPECT_EQ(result(make_directory(missing.data(), 0700, 4)), "-1 EROFS"); });
        EXPECT_EQ(errors, "can't create directory '" + missing + "'");
        EXPECT_EQ(check_dir(there.c_str()), 1);
    });
}

TEST(ReadOnlyDisk, KeepsPasswordsAndCertificates) {
    with_own_disk([](const OwnDisk &disk) {
        disk.write("password", "old\n");
        disk.make_read_only();
        passwd_rec rec{};
        rd_passwd(disk.path(), "password", &rec, 0);
        const passwd_form form{{PW_UNCHANGED, nullptr}, {PW_VALID, "new"}, {PW_VALID, "new"}};
        update_pw(&form, &rec, disk.path(), 0);
        EXPECT_EQ(rec.status, static_cast<uint32_t>(PW_CHANGED)) << "failed writes do not show";
        EXPECT_EQ(disk.read("password"), "old\n");

        const std::string place = disk.file("");
        cert_dir cd{};
        EXPECT_EQ(cert_dir_setup(&cd, place.c_str(), nullptr, nullptr), 1);
        EXPECT_EQ(result(delete_certificate(&cd, 0)), "-1 EROFS");
        EXPECT_EQ(cd.count, 1);
        cert_dir_free(&cd);
    });
}

}  // namespace
