// Item writers on devices and files that take nothing, and without memory.
#include <gtest/gtest.h>
#include <qmv/items.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/item_file.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::open_descriptors;
using qmv_test::run_child;
using qmv_test::TempDir;

/// A directory whose item "full" takes no byte and reads as an empty value.
class FullItem {
  public:
    FullItem() { std::filesystem::create_symlink("/dev/full", dir_.file("full")); }
    const char *dir() const { return dir_.path(); }

  private:
    TempDir dir_;
};

TEST(ItemWriters, ReturnMinusOneWhenTheWriteFails) {
    const FullItem item;
    errno = 0;
    EXPECT_EQ(create_item(item.dir(), "full", "v", 1), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(create_item_uint(item.dir(), "full", 1), -1);
    EXPECT_EQ(create_concat_item(item.dir(), "full", "a", "b"), -1);
    EXPECT_EQ(update_item(item.dir(), "full", "v", 63), -1);
    EXPECT_EQ(update_item_uint(item.dir(), "full", 1), -1);
    EXPECT_EQ(write_item_uint(item.dir(), "full", 1), -1);
    EXPECT_EQ(write_item_text(item.dir(), "full", "v"), -1);
    EXPECT_EQ(write_item_text(item.dir(), "full", nullptr), -1);
}

TEST(ItemWriters, ComparingWritesNothing) {
    const FullItem item;
    EXPECT_EQ(compare_item(item.dir(), "full", "v", 63), 1);
    EXPECT_EQ(update_item(item.dir(), "full", "", 63), 0) << "equal: nothing is written";
}

TEST(ItemWriters, FailedUpdateLeavesTheItemEmpty) {
    const ItemFile item("old\n");
    const auto child = run_child("", [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit nothing{0, 0};
        ::setrlimit(RLIMIT_FSIZE, &nothing);
        return update_item(item.dir(), item.name(), "new", 63) == -1 ? 7 : 1;
    });
    EXPECT_EQ(child.status, 7);
    EXPECT_EQ(item.content(), "");
    EXPECT_TRUE(item.same_file());
}

TEST(ItemWriters, LeaveNoDescriptorOpen) {
    const FullItem full;
    const ItemFile item("old\n");
    const TempDir empty;
    const int before = open_descriptors();
    const struct {
        const char *dir;
        const char *name;
    } places[] = {{full.dir(), "full"},
                  {item.dir(), item.name()},
                  {empty.path(), "missing"},
                  {"", empty.path()}};
    for (const auto &place : places) {
        compare_item(place.dir, place.name, "x", 63);
        compare_item(place.dir, place.name, nullptr, 63);
        update_item(place.dir, place.name, "x", 63);
        update_item(place.dir, place.name, "x", 63);
        update_item_uint(place.dir, place.name, 5);
        write_item_uint(place.dir, place.name, 6);
        write_item_text(place.dir, place.name, "x");
        create_item(place.dir, place.name, "x", 1);
        create_item_uint(place.dir, place.name, 7);
        create_concat_item(place.dir, place.name, "x", "y");
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ItemWriters, PrintNothing) {
    const FullItem item;
    const auto calls = [&] {
        create_item(item.dir(), "full", "v", 1);
        update_item(item.dir(), "full", "v", 63);
        write_item_text(item.dir(), "missing", "v");
    };
    EXPECT_EQ(qmv_test::printed(calls), "");
    EXPECT_EQ(qmv_test::printed_error(calls), "");
}

TEST(ItemWriters, WorkWithDescriptorZeroClosed) {
    const ItemFile item("old\n");
    const auto child = run_child("", [&] {
        ::close(0);
        const bool ok = update_item(item.dir(), item.name(), "new", 63) == 4 &&
                        compare_item(item.dir(), item.name(), "new", 63) == 0 &&
                        create_item(item.dir(), "created", "v", 1) == 2;
        return ok && ::dup(1) == 0 ? 7 : 1;
    });
    EXPECT_EQ(child.status, 7);
    EXPECT_EQ(item.content(), "new\n");
}

#if QMV_FAKE_ALLOCATION

TEST(ItemWriters, LeaveTheItemAloneWithoutMemory) {
    // Longer than a page, so that it cannot stand on the stack.
    const std::string value(5000, 'v');
    const ItemFile item("old\n");
    int results[4] = {};
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        results[0] = create_item(item.dir(), item.name(), value.c_str(), 5000);
        results[1] = update_item(item.dir(), item.name(), value.c_str(), 5000);
        results[2] = write_item_text(item.dir(), item.name(), value.c_str());
        results[3] = create_concat_item(item.dir(), item.name(), value.c_str(), "x");
        failed = fake.failed();
    }
    EXPECT_GE(failed, 4);
    for (const int result : results)
        EXPECT_EQ(result, -1);
    EXPECT_EQ(item.content(), "old\n");
    EXPECT_FALSE(item.touched());
}

TEST(ItemWriters, UpdateLeavesTheItemAloneWhenMemoryEndsBetweenReadAndWrite) {
    const std::string value(5000, 'v');
    const ItemFile item("old\n");
    int result = 0;
    {
        const qmv_test::AllocationFailure fake(1);
        result = update_item(item.dir(), item.name(), value.c_str(), 5000);
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(item.content(), "old\n");
}

#endif

}  // namespace
