#include <gtest/gtest.h>
#include <qmv/items.h>

#include "tests/support/io.h"

namespace {

using qmv_test::TempDir;

unsigned called_with = 0;
int calls = 0;

int take_value(unsigned value) {
    called_with = value;
    ++calls;
    return 1234;
}

TEST(CallUint, CallsWithTheNumberAndReturnsTheResult) {
    const TempDir dir;
    dir.write("x", "4000000000\n");
    calls = 0;
    EXPECT_EQ(call_uint(dir.path(), "x", take_value), 1234);
    EXPECT_EQ(called_with, 4000000000u);
    EXPECT_EQ(calls, 1);
}

TEST(CallUint, CallsWithAllBitsSetForAnEmptyItem) {
    const TempDir dir;
    dir.write("empty", "");
    dir.write("line", "\n");
    for (const char *name : {"empty", "line"}) {
        called_with = 0;
        EXPECT_EQ(call_uint(dir.path(), name, take_value), 1234) << name;
        EXPECT_EQ(called_with, 0xFFFFFFFF) << name;
    }
}

TEST(CallUint, CallsWithZeroForTextThatIsNoNumber) {
    const TempDir dir;
    dir.write("x", "abc\n");
    called_with = 99;
    EXPECT_EQ(call_uint(dir.path(), "x", take_value), 1234);
    EXPECT_EQ(called_with, 0u);
}

TEST(CallUint, HandsANegativeResultThrough) {
    const TempDir dir;
    dir.write("x", "1\n");
    EXPECT_EQ(call_uint(dir.path(), "x", [](unsigned) { return -77; }), -77);
}

TEST(CallUint, ReturnsMinusOneWithoutACallWhenTheItemCannotBeRead) {
    const TempDir dir;
    calls = 0;
    EXPECT_EQ(call_uint(dir.path(), "missing", take_value), -1);
    EXPECT_EQ(call_uint("", dir.path(), take_value), -1) << "a directory";
    EXPECT_EQ(call_uint(nullptr, "x", take_value), -1);
    EXPECT_EQ(call_uint(dir.path(), nullptr, take_value), -1);
    EXPECT_EQ(calls, 0);
}

TEST(CallUint, ReturnsMinusTwoForANullFunction) {
    const TempDir dir;
    dir.write("x", "1\n");
    EXPECT_EQ(call_uint(dir.path(), "x", nullptr), -2);
    EXPECT_EQ(call_uint(dir.path(), "missing", nullptr), -2);
}

}  // namespace
