// CRC-32 against known values and a bitwise computation.
#include <gtest/gtest.h>
#include <qmv/util.h>

#include <climits>
#include <string>
#include <string_view>

#include "tests/support/fenced_text.h"

namespace {

const unsigned char *bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char *>(text.data());
}

unsigned updated(unsigned crc, std::string_view text) {
    return crc32(crc, bytes(text), static_cast<int>(text.size()));
}

/// The usual CRC-32 of a text.
unsigned usual(std::string_view text) {
    return ~updated(0xFFFFFFFF, text);
}

/// Divides by the polynomial bit by bit.
unsigned bitwise(unsigned crc, std::string_view text) {
    for (const char c : text) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const unsigned in = (static_cast<unsigned char>(c) >> bit) & 1;
            const bool subtract = ((crc ^ in) & 1) != 0;
            crc >>= 1;
            if (subtract)
                crc ^= 0xEDB88320;
        }
    }
    return crc;
}

std::string noise(std::size_t size) {
    std::string text;
    unsigned random = 12345;
    while (text.size() < size) {
        random = random * 1664525 + 1013904223;
        text += static_cast<char>(random >> 24);
    }
    return text;
}

TEST(Crc32, GivesKnownValues) {
    const struct {
        std::string text;
        unsigned crc;
    } rows[] = {
        {"", 0x00000000},
        {"a", 0xE8B7BE43},
        {"abc", 0x352441C2},
        {"123456789", 0xCBF43926},
        {"message digest", 0x20159D7F},
        {"abcdefghijklmnopqrstuvwxyz", 0x4C2750BD},
        {"The quick brown fox jumps over the lazy dog", 0x414FA339},
        {std::string(32, '\0'), 0x190A55AD},
        {std::string(32, '\xFF'), 0xFF6CAB0B},
        {std::string(1, '\0'), 0xD202EF8D},
        {std::string(4, '\xFF'), 0xFFFFFFFF},
    };
    for (const auto &row : rows)
        EXPECT_EQ(usual(row.text), row.crc) << testing::PrintToString(row.text);
}

TEST(Crc32, InvertsNothingItself) {
    EXPECT_EQ(updated(0, std::string_view("\0", 1)), 0u);
    EXPECT_EQ(updated(0, "\x01"), 0x77073096u);
    EXPECT_EQ(updated(0, "\x80"), 0xEDB88320u);
    EXPECT_EQ(updated(0, "\xFF"), 0x2D02EF8Du);
    EXPECT_EQ(updated(0xFFFFFFFF, "123456789"), ~0xCBF43926u);
    EXPECT_EQ(updated(0, "123456789"), 0x2DFD2D88u);
}

TEST(Crc32, UpdatesEveryByteFromAnyCrc) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char text[] = {static_cast<char>(byte)};
        for (const unsigned crc : {0u, 1u, 0xFFu, 0x100u, 0x12345678u, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_EQ(updated(crc, std::string_view(text, 1)), bitwise(crc, {text, 1}))
                << byte << " from " << crc;
    }
}

TEST(Crc32, EqualsABitwiseComputationForEveryLength) {
    const std::string text = noise(300);
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const std::string_view head = std::string_view(text).substr(0, length);
        EXPECT_EQ(updated(0xFFFFFFFF, head), bitwise(0xFFFFFFFF, head)) << length;
    }
}

TEST(Crc32, EqualsABitwiseComputationForAMegabyte) {
    const std::string text = noise(1 << 20);
    EXPECT_EQ(updated(0xFFFFFFFF, text), bitwise(0xFFFFFFFF, text));
    EXPECT_EQ(updated(0, text), bitwise(0, text));
}

TEST(Crc32, TakesATextInPieces) {
    const std::string_view text = "The quick brown fox jumps over the lazy dog";
    for (std::size_t i = 0; i <= text.size(); ++i) {
        for (std::size_t j = i; j <= text.size(); ++j) {
            unsigned crc = updated(0xFFFFFFFF, text.substr(0, i));
            crc = updated(crc, text.substr(i, j - i));
            crc = updated(crc, text.substr(j));
            EXPECT_EQ(~crc, 0x414FA339u) << i << ", " << j;
        }
    }
}

TEST(Crc32, GoesOnFromTheComplementOfAnEarlierResult) {
    const unsigned first = usual("12345");
    EXPECT_EQ(~updated(~first, "6789"), 0xCBF43926u);
}

TEST(Crc32, NoBytesLeaveTheCrc) {
    for (const unsigned crc : {0u, 1u, 0x12345678u, 0xFFFFFFFFu}) {
        for (const int length : {0, -1, -256, INT_MIN}) {
            EXPECT_EQ(crc32(crc, bytes("abc"), length), crc) << length;
            EXPECT_EQ(crc32(crc, nullptr, length), crc) << length;
        }
        EXPECT_EQ(crc32(crc, nullptr, 3), crc);
    }
}

TEST(Crc32, ReadsNothingBehindTheLength) {
    const qmv_test::FencedText fenced("123456789");
    EXPECT_EQ(~crc32(0xFFFFFFFF, bytes({fenced.get(), 9}), 9), 0xCBF43926u);
    EXPECT_EQ(updated(0xFFFFFFFF, std::string_view("abcdef", 3)), ~0x352441C2u);
}

}  // namespace
