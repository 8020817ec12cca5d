// Readers of items when opening, reading or memory fails.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/items.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Call;
using qmv_test::in_quotes;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::TempDir;
using qmv_test::with_descriptor;

/// An item's name that is longer than any file system takes, behind a directory.
const std::string kLongName(4200, 'n');

int note_path(const char *path, int a, unsigned b) {
    return path[0] == 'd' && path[1] == '/' && a == 1 && b == 2 ? 7 : -2;
}

TEST(FuncPathName, CallsNothingWithoutMemory) {
    Scenario([](const TempDir &) {
        return result(_func_path_name(note_path, "d", kLongName.c_str(), 1, 2));
    })
        .gives("7")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .check();
}

TEST(OpenPathName, TellsWhyItFailed) {
    Scenario([](const TempDir &dir) {
        const int fd = open_path_name(dir.path(), "item", O_RDONLY, 0);
        if (fd < 0)
            return result(fd);
        ::close(fd);
        return std::string("opened");
    })
        .with("item", "value\n")
        .gives("opened")
        .fails(Call::kOpen, "-1 {error}")
        .check();
}

TEST(OpenPathName, OpensNothingWithoutMemory) {
    Scenario(
        [](const TempDir &) { return result(open_path_name("", kLongName.c_str(), O_RDONLY, 0)); })
        .gives("-1 ENAMETOOLONG")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kOpen, "-1 {error}")
        .check();
}

TEST(StatItem, TellsWhyItFailed) {
    Scenario([](const TempDir &dir) { return result(stat_item(dir.path(), "item")); })
        .with("item", "")
        .gives("0")
        .fails(Call::kStat, "-1 {error}")
        .check();
}

TEST(RemoveItem, LeavesTheItemWhenItFails) {
    Scenario([](const TempDir &dir) { return result(remove_item(dir.path(), "item")); })
        .with("item", "value\n")
        .gives("0 -item")
        .fails(Call::kUnlink, "-1 {error}")
        .check();
}

TEST(ReadItem, GivesAnEmptyTextWhenItFails) {
    Scenario([](const TempDir &dir) {
        char text[64] = "before";
        const std::string returned = result(read_item(dir.path(), "item", text, 63));
        return returned + " " + in_quotes(text);
    })
        .with("item", "value\n")
        .gives("5 \"value\"")
        .fails(Call::kOpen, "-1 {error} \"\"")
        .fails(Call::kRead, "-1 {error} \"\"")
        .check();
}

TEST(ReadItem, GivesAnEmptyTextWithoutMemoryForThePath) {
    Scenario([](const TempDir &) {
        char text[64] = "before";
        const std::string returned = result(read_item("", kLongName.c_str(), text, 63));
        return returned + " " + in_quotes(text);
    })
        .gives("-1 ENAMETOOLONG \"\"")
        .fails(Call::kMalloc, "-1 ENOMEM \"\"")
        .fails(Call::kOpen, "-1 {error} \"\"")
        .check();
}

TEST(ReadItemFd, GivesAnEmptyTextWhenItFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("item"), O_RDONLY, [](int fd) {
            char text[64] = "before";
            const std::string returned = result(read_item_fd(fd, text, 63));
            return returned + " " + in_quotes(text);
        });
    })
        .with("item", "value\n")
        .gives("5 \"value\"")
        .fails(Call::kRead, "-1 {error} \"\"")
        .check();
}

/// What a reader into new memory returned, and gave.
std::string returned_and(int returned, char *text) {
    const std::string outcome =
        result(returned) + " " + (text != nullptr ? in_quotes(text) : std::string("null"));
    std::free(text);
    return outcome;
}

TEST(ReadItemAlloc, GivesMemoryAlsoAfterAFailedRead) {
    Scenario([](const TempDir &dir) {
        char *text = nullptr;
        const int returned = read_item_alloc(dir.path(), "item", &text);
        return returned_and(returned, text);
    })
        .with("item", std::string(5000, 'v') + "\n")
        .gives("5000 \"<5000 v>\"")
        .fails(Call::kOpen, "-1 {error} null")
        .fails(Call::kFstat, "-1 {error} null")
        .fails(Call::kMalloc, "-1 ENOMEM null")
        .fails(Call::kRead, "-1 {error} \"\"")
        .check();
}

TEST(ReadItemAllocFd, GivesMemoryAlsoAfterAFailedRead) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("item"), O_RDONLY, [](int fd) {
            char *text = nullptr;
            const int returned = read_item_alloc_fd(fd, &text, 10);
            return returned_and(returned, text);
        });
    })
        .with("item", "value\n")
        .gives("5 \"value\"")
        .fails(Call::kFstat, "-1 {error} null")
        .fails(Call::kMalloc, "-1 ENOMEM null")
        .fails(Call::kRead, "-1 {error} \"\"")
        .check();
}

std::string elements;

int note_element(int, char *element) {
    elements += std::string(" ") + element;
    return 0;
}

TEST(ReadItemsStr, HandsOutNothingWhenItFails) {
    Scenario([](const TempDir &dir) {
        elements.clear();
        const std::string returned =
            result(read_items_str(note_element, 0, dir.path(), "item", ','));
        return returned + elements;
    })
        .with("item", "a,b\n")
        .gives("3 a b")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kFstat, "-1 {error}")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

TEST(ReadItemUint, LeavesTheNumberWhenItFails) {
    Scenario([](const TempDir &dir) {
        unsigned number = 9;
        const std::string returned = result(read_item_uint(dir.path(), "item", &number));
        return returned + ", " + std::to_string(number);
    })
        .with("item", "1234\n")
        .gives("4, 1234")
        .fails(Call::kOpen, "-1 {error}, 9")
        .fails(Call::kRead, "-1 {error}, 9")
        .check();
}

TEST(ReadItemUintFd, LeavesTheNumberWhenItFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("item"), O_RDONLY, [](int fd) {
            unsigned number = 9;
            const std::string returned = result(read_item_uint_fd(fd, &number));
            return returned + ", " + std::to_string(number);
        });
    })
        .with("item", "1234\n")
        .gives("4, 1234")
        .fails(Call::kRead, "-1 {error}, 9")
        .check();
}

TEST(ReadItemUintFmt, LeavesTheNumberWhenItFails) {
    Scenario([](const TempDir &dir) {
        unsigned number = 9;
        const std::string returned =
            result(read_item_uint_fmt(&number, "%s/%s", dir.path(), "item"));
        return returned + ", " + std::to_string(number);
    })
        .with("item", "1234\n")
        .gives("4, 1234")
        .fails(Call::kFormat, "-1 ENOMEM, 9")
        .fails(Call::kOpen, "-1 {error}, 9")
        .fails(Call::kRead, "-1 {error}, 9")
        .check();
}

TEST(ReadItemSint, LeavesTheNumberWhenItFails) {
    Scenario([](const TempDir &dir) {
        int number = 9;
        const std::string returned = result(read_item_sint(dir.path(), "item", &number));
        return returned + ", " + std::to_string(number);
    })
        .with("item", "-1234\n")
        .gives("5, -1234")
        .fails(Call::kOpen, "-1 {error}, 9")
        .fails(Call::kRead, "-1 {error}, 9")
        .check();
}

TEST(ReadItemSintFd, LeavesTheNumberWhenItFails) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("item"), O_RDONLY, [](int fd) {
            int number = 9;
            const std::string returned = result(read_item_sint_fd(fd, &number));
            return returned + ", " + std::to_string(number);
        });
    })
        .with("item", "-1234\n")
        .gives("5, -1234")
        .fails(Call::kRead, "-1 {error}, 9")
        .check();
}

int add_one(unsigned value) {
    return static_cast<int>(value) + 1;
}

TEST(CallUint, CallsNothingWhenItFails) {
    Scenario([](const TempDir &dir) { return result(call_uint(dir.path(), "item", add_one)); })
        .with("item", "1234\n")
        .gives("1235")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

}  // namespace
