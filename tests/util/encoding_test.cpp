#include <gtest/gtest.h>

#include "qmv/util.h"

TEST(Utf8ToUcs2, DecodesOneToThreeBytes) {
    const char *cursor = "A";
    EXPECT_EQ(utf8_to_ucs2(&cursor, 0xFFFFFFFF), 0x41u);
}
