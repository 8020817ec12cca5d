// Values that are read into memory of their own, and lists that are read from items.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/items.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"

namespace {

using qmv_test::InputFile;
using qmv_test::InputPipe;
using qmv_test::open_descriptors;
using qmv_test::TempDir;

struct Value {
    int result;
    bool allocated;
    std::string text;
};

template <typename Reader>
Value allocated(Reader reader) {
    char *out = nullptr;
    const int result = reader(&out);
    const std::unique_ptr<char, decltype(&std::free)> owner(out, std::free);
    return {result, out != nullptr, out != nullptr ? out : ""};
}

Value alloc_fd(int fd, int min_size) {
    return allocated([&](char **out) { return read_item_alloc_fd(fd, out, min_size); });
}

Value alloc_named(const char *dir, const char *name) {
    return allocated([&](char **out) { return read_item_alloc(dir, name, out); });
}

std::size_t page_size() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

TEST(ReadItemAllocFd, ReadsAValue) {
    const InputFile file("value\nmore\n");
    const Value value = alloc_fd(file.fd(), 0);
    EXPECT_EQ(value.result, 5);
    EXPECT_EQ(value.text, "value");
}

TEST(ReadItemAllocFd, ReadsAFileOfAnySizeWhole) {
    for (const std::size_t size : {1u, 4094u, 4095u, 4096u, 4097u, 100000u}) {
        const std::string content(size, 'v');
        for (const int min_size : {-1, 0, 1, 4095, 5000}) {
            const InputFile file(content);
            const Value value = alloc_fd(file.fd(), min_size);
            EXPECT_EQ(value.result, static_cast<int>(size)) << size << ' ' << min_size;
            EXPECT_EQ(value.text, content) << size << ' ' << min_size;
        }
    }
}

TEST(ReadItemAllocFd, ReadsOneByteMoreThanTheMinimumWhereNoSizeIsReported) {
    const struct {
        int min_size;
        std::size_t length;
    } rows[] = {{0, 1}, {1, 2}, {10, 11}, {99, 100}, {5000, 5001}};
    for (const auto &row : rows) {
        const InputPipe pipe(std::string(6000, 'p'));
        const Value value = alloc_fd(pipe.fd(), row.min_size);
        EXPECT_EQ(value.result, static_cast<int>(row.length)) << row.min_size;
        EXPECT_EQ(value.text, std::string(row.length, 'p')) << row.min_size;
        EXPECT_EQ(pipe.rest().size(), 6000 - row.length) << row.min_size;
    }
}

TEST(ReadItemAllocFd, TakesAPageForANegativeMinimum) {
    for (const int min_size : {-1, -2, -2147483647 - 1}) {
        const InputPipe pipe(std::string(page_size() + 10, 'p'));
        EXPECT_EQ(alloc_fd(pipe.fd(), min_size).text, std::string(page_size(), 'p')) << min_size;
        EXPECT_EQ(pipe.rest().size(), 10u) << min_size;
    }
}

TEST(ReadItemAllocFd, TakesTheWholeSizeOfAFileForTheReadFromItsMiddle) {
    const InputFile file("abcdef\n");
    ASSERT_EQ(::lseek(file.fd(), 4, SEEK_SET), 4);
    EXPECT_EQ(alloc_fd(file.fd(), 0).text, "ef");
}

TEST(ReadItemAllocFd, ReturnsANegativeDescriptorAsItIs) {
    char marker = 0;
    char *out = &marker;
    EXPECT_EQ(read_item_alloc_fd(-1, &out, 5), -1);
    EXPECT_EQ(read_item_alloc_fd(-42, &out, 5), -42);
    EXPECT_EQ(out, &marker) << "out was touched";
}

TEST(ReadItemAllocFd, ReadsDescriptorZero) {
    const auto child = qmv_test::run_child("value\n", [] {
        EXPECT_EQ(alloc_fd(STDIN_FILENO, 20).text, "value");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}

TEST(ReadItemAllocFd, StoresTheBufferAlsoWhenTheReadFails) {
    const TempDir dir;
    const int fd = ::open(dir.path(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    const Value value = alloc_fd(fd, -1);
    ::close(fd);
    EXPECT_EQ(value.result, -1);
    EXPECT_TRUE(value.allocated);
    EXPECT_EQ(value.text, "");
}

TEST(ReadItemAllocFd, ReturnsMinusOneWhenTheDescriptorIsNotOpen) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    ::close(ends[1]);
    char marker = 0;
    char *out = &marker;
    EXPECT_EQ(read_item_alloc_fd(ends[0], &out, 5), -1);
    EXPECT_EQ(out, &marker) << "out was touched";
}

TEST(ReadItemAllocFd, ReturnsMinusOneForNullOut) {
    const InputFile file("value");
    EXPECT_EQ(read_item_alloc_fd(file.fd(), nullptr, 5), -1);
}

TEST(ReadItemAlloc, ReadsAValue) {
    const TempDir dir;
    dir.write("x", "a value\n");
    dir.write("empty", "");
    dir.write("long", std::string(20000, 'l') + "\n");
    EXPECT_EQ(alloc_named(dir.path(), "x").text, "a value");
    EXPECT_EQ(alloc_named(dir.path(), "x").result, 7);
    EXPECT_EQ(alloc_named(dir.path(), "empty").result, 0);
    EXPECT_EQ(alloc_named(dir.path(), "empty").text, "");
    EXPECT_EQ(alloc_named(dir.path(), "long").text, std::string(20000, 'l'));
}

TEST(ReadItemAlloc, ReadsFilesThatReportNoSize) {
    EXPECT_EQ(alloc_named("/proc/sys/kernel", "ostype").text, "Linux");
}

TEST(ReadItemAlloc, ReadsAPageOfAPipe) {
    const InputPipe pipe(std::string(page_size() + 10, 'p'));
    const std::string name = std::to_string(pipe.fd());
    EXPECT_EQ(alloc_named("/proc/self/fd", name.c_str()).text, std::string(page_size(), 'p'));
}

TEST(ReadItemAlloc, ReturnsMinusOneForAMissingItem) {
    const TempDir dir;
    char marker = 0;
    char *out = &marker;
    EXPECT_EQ(read_item_alloc(dir.path(), "missing", &out), -1);
    EXPECT_EQ(read_item_alloc(nullptr, "x", &out), -1);
    EXPECT_EQ(read_item_alloc(dir.path(), nullptr, &out), -1);
    EXPECT_EQ(out, &marker) << "out was touched";
}

TEST(ReadItemAlloc, ReturnsMinusOneForADirectory) {
    const TempDir dir;
    EXPECT_EQ(alloc_named("", dir.path()).result, -1);
}

TEST(ReadItemAlloc, LeavesNoDescriptorOpen) {
    const TempDir dir;
    dir.write("x", "value\n");
    const int before = open_descriptors();
    alloc_named(dir.path(), "x");
    alloc_named(dir.path(), "missing");
    alloc_named("", dir.path());
    read_item_alloc(dir.path(), "x", nullptr);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ReadItemAlloc, KeepsToItsMemoryWhileTheFileGrows) {
    const TempDir dir;
    dir.write("x", std::string(4096, 'g'));
    std::atomic<bool> done = false;
    std::thread writer([&] {
        const std::string piece(997, 'g');
        const int fd = ::open(dir.file("x").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        for (int i = 0; i < 300 && !done; ++i) {
            if (::write(fd, piece.data(), piece.size()) < 0)
                break;
        }
        ::close(fd);
    });
    for (int i = 0; i < 50; ++i) {
        const Value value = alloc_named(dir.path(), "x");
        EXPECT_GE(value.result, 4096);
        EXPECT_EQ(value.text.size(), static_cast<std::size_t>(value.result));
        EXPECT_EQ(value.text.find_first_not_of('g'), std::string::npos);
    }
    done = true;
    writer.join();
}

#if QMV_FAKE_ALLOCATION

TEST(ReadItemAlloc, LeavesOutUntouchedWithoutMemory) {
    const TempDir dir;
    dir.write("x", "value\n");
    char marker = 0;
    char *out = &marker;
    const int before = open_descriptors();
    int result = 0;
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = read_item_alloc(dir.path(), "x", &out);
        failed = fake.failed();
    }
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(out, &marker);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ReadItemsStr, CallsNothingWithoutMemory) {
    const TempDir dir;
    dir.write("x", "a,b\n");
    const auto fail = [](int, char *) {
        ADD_FAILURE() << "called";
        return 0;
    };
    int result = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = read_items_str(fail, 0, dir.path(), "x", ',');
    }
    EXPECT_EQ(result, -1);
}

#endif

std::vector<std::string> elements;
int element_ctx = 0;

int collect(int ctx, char *element) {
    element_ctx = ctx;
    elements.emplace_back(element);
    return -1;
}

TEST(ReadItemsStr, CallsBackForEachElement) {
    const TempDir dir;
    dir.write("x", " a, b,,c\nd,e\n");
    elements.clear();
    EXPECT_EQ(read_items_str(collect, 77, dir.path(), "x", ','), 8);
    EXPECT_EQ(elements, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(element_ctx, 77);
}

TEST(ReadItemsStr, ReadsAListOfOneShortElement) {
    const TempDir dir;
    dir.write("x", "a\n");
    elements.clear();
    EXPECT_EQ(read_items_str(collect, 0, dir.path(), "x", ','), 1);
    EXPECT_EQ(elements, std::vector<std::string>{"a"});
}

TEST(ReadItemsStr, ReadsListsOfAnyLength) {
    const TempDir dir;
    std::string list;
    for (int i = 0; i < 3000; ++i)
        list += "item" + std::to_string(i) + ';';
    dir.write("x", list + "\n");
    elements.clear();
    EXPECT_EQ(read_items_str(collect, 0, dir.path(), "x", ';'), static_cast<int>(list.size()));
    ASSERT_EQ(elements.size(), 3000u);
    EXPECT_EQ(elements.back(), "item2999");
}

TEST(ReadItemsStr, ReturnsZeroForAnEmptyItem) {
    const TempDir dir;
    dir.write("x", "\n");
    elements.clear();
    EXPECT_EQ(read_items_str(collect, 0, dir.path(), "x", ','), 0);
    EXPECT_TRUE(elements.empty());
}

TEST(ReadItemsStr, ReturnsMinusOneWithoutACallForWhatCannotBeRead) {
    const TempDir dir;
    elements.clear();
    EXPECT_EQ(read_items_str(collect, 0, dir.path(), "missing", ','), -1);
    EXPECT_EQ(read_items_str(collect, 0, "", dir.path(), ','), -1) << "a directory";
    EXPECT_EQ(read_items_str(collect, 0, nullptr, "x", ','), -1);
    EXPECT_EQ(read_items_str(collect, 0, dir.path(), nullptr, ','), -1);
    EXPECT_TRUE(elements.empty());
}

TEST(ReadItemsStr, RefusesNullCallback) {
    const TempDir dir;
    dir.write("x", "a,b\n");
    EXPECT_EQ(read_items_str(nullptr, 0, dir.path(), "x", ','), -1);
}

TEST(ReadItemsStr, LeavesNoDescriptorOpen) {
    const TempDir dir;
    dir.write("x", "a,b\n");
    const int before = open_descriptors();
    read_items_str(collect, 0, dir.path(), "x", ',');
    read_items_str(collect, 0, "", dir.path(), ',');
    read_items_str(nullptr, 0, dir.path(), "x", ',');
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
