// What is known about one direction of a line.
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/system.h>

#include <cstring>
#include <string>

#include "tests/fakes/device.h"
#include "tests/support/block.h"
#include "tests/support/io.h"

namespace {

using qmv_test::BlockBytes;
using qmv_test::Device;
using qmv_test::text;

constexpr unsigned long kChannelStatus = 0xC020670B;
constexpr unsigned long kLineStatus = 0xC01C6709;
constexpr int kFd = 12345;

// Offsets in the record.
constexpr std::size_t kChannelResult = 0;
constexpr std::size_t kChannelBlock = 4;
constexpr std::size_t kDataRate = 16;
constexpr std::size_t kInterleaveDelay = 24;
constexpr std::size_t kLineResult = 36;
constexpr std::size_t kLineBlock = 40;
constexpr std::size_t kAttenuation = 52;
constexpr std::size_t kNoiseMargin = 56;
constexpr std::size_t kMaxDataRate = 60;

/// A record whose other fields are all set.
BlockBytes valid() {
    return BlockBytes(68, '\x5A').s32(kChannelResult, 0).s32(kLineResult, 0);
}

dsl_stream record(const BlockBytes &bytes) {
    dsl_stream r;
    static_assert(sizeof r == 68);
    std::memcpy(&r, bytes.str().data(), sizeof r);
    return r;
}

std::string bytes_of(const dsl_stream &r) {
    return std::string(reinterpret_cast<const char *>(&r), sizeof r);
}

using Number = char *(*)(const dsl_stream *r, char *buf, unsigned n);

/// What a function writes into a large buffer, or "null".
std::string written(Number function, const BlockBytes &bytes) {
    const dsl_stream r = record(bytes);
    char buf[32];
    std::memset(buf, '#', sizeof buf);
    const char *const result = function(&r, buf, sizeof buf);
    if (result == nullptr)
        return "null";
    EXPECT_EQ(result, buf);
    return buf;
}

/// What it leaves of a buffer of eight bytes of which it gets n.
std::string written_into(Number function, const BlockBytes &bytes, unsigned n) {
    const dsl_stream r = record(bytes);
    std::string buf(8, '#');
    const char *const result = function(&r, buf.data(), n);
    if (result == nullptr)
        return "null, " + buf;
    EXPECT_EQ(result, buf.data());
    return buf;
}

}  // namespace

TEST(DslStream, AsksForChannelAndLine) {
    const std::string channel = BlockBytes(32, '\x11').u32(12, 1024000).str();
    const std::string line = BlockBytes(28, '\x22').u32(20, 2048000).str();
    for (const unsigned direction : {0u, 1u, 7u, 0xFFFFFFFFu}) {
        dsl_stream r;
        std::memset(&r, 0xA5, sizeof r);
        Device device;
        device.expects(kChannelStatus, BlockBytes(32).u32(8, direction).str(), channel)
            .expects(kLineStatus, BlockBytes(28).u32(4, direction).u32(8, 1).str(), line);
        EXPECT_EQ(dsl_api_get_dsl_stream(kFd, &r, direction), 0) << "direction " << direction;
        EXPECT_EQ(bytes_of(r), BlockBytes(68).at(kChannelBlock, channel).at(kLineBlock, line).str())
            << "direction " << direction;
    }
}

TEST(DslStream, HandsOverTheBlocksWithinTheRecord) {
    dsl_stream r;
    Device device;
    device.expects(kChannelStatus, BlockBytes(32).u32(8, 1).str(), BlockBytes(32).str())
        .expects(kLineStatus, BlockBytes(28).u32(4, 1).u32(8, 1).str(), BlockBytes(28).str());
    dsl_api_get_dsl_stream(kFd, &r, 1);
    ASSERT_EQ(device.calls().size(), 2u);
    EXPECT_EQ(device.calls()[0].fd, kFd);
    EXPECT_EQ(device.calls()[0].block, reinterpret_cast<char *>(&r) + 4);
    EXPECT_EQ(device.calls()[1].fd, kFd);
    EXPECT_EQ(device.calls()[1].block, reinterpret_cast<char *>(&r) + 40);
}

TEST(DslStream, StoresTheDirectionInBothBlocks) {
    dsl_stream r;
    Device device;
    device.fails(kChannelStatus, EIO).fails(kLineStatus, EIO);
    dsl_api_get_dsl_stream(kFd, &r, 5);
    EXPECT_EQ(bytes_of(r), BlockBytes(68)
                               .s32(kChannelResult, -1)
                               .u32(12, 5)
                               .s32(kLineResult, -1)
                               .u32(44, 5)
                               .u32(48, 1)
                               .str());
    EXPECT_EQ(device.unused(), 0u);
}

TEST(DslStream, KeepsBothResultsAndReturnsTheSecond) {
    struct Row {
        int channel;
        int line;
    };
    for (const auto &[channel, line] : {Row{0, 0}, Row{-1, 0}, Row{0, -1}, Row{-1, -1}, Row{3, 0},
                                        Row{0, 7}, Row{-22, 5}, Row{1, -5}}) {
        dsl_stream r;
        Device device;
        device
            .expects(kChannelStatus, BlockBytes(32).u32(8, 2).str(),
                     BlockBytes(32).u32(12, 1024000).str(), channel)
            .expects(kLineStatus, BlockBytes(28).u32(4, 2).u32(8, 1).str(),
                     BlockBytes(28).u32(20, 2048000).str(), line);
        EXPECT_EQ(dsl_api_get_dsl_stream(kFd, &r, 2), line) << channel << " and " << line;
        EXPECT_EQ(r.channel_result, channel) << channel << " and " << line;
        EXPECT_EQ(r.line_result, line) << channel << " and " << line;
        EXPECT_EQ(device.unused(), 0u) << channel << " and " << line;
        char buf[16];
        EXPECT_EQ(dsl_api_get_datarate(&r, buf, sizeof buf) != nullptr, channel == 0);
        EXPECT_EQ(dsl_api_get_max_datarate(&r, buf, sizeof buf) != nullptr, line == 0);
    }
}

TEST(DslStream, MakesNoRequestForNullRecord) {
    const Device device;
    EXPECT_EQ(dsl_api_get_dsl_stream(kFd, nullptr, 0), -1);
}

TEST(DslDatarate, IsCutToWholeThousands) {
    struct Row {
        uint32_t rate;
        const char *expected;
    };
    for (const Row &row : {Row{0, "0"}, Row{999, "0"}, Row{1000, "1"}, Row{1999, "1"},
                           Row{2000, "2"}, Row{1999999, "1999"}, Row{24000000, "24000"},
                           Row{0x80000000, "2147483"}, Row{0xFFFFFFFF, "4294967"}}) {
        EXPECT_EQ(written(dsl_api_get_datarate, valid().u32(kDataRate, row.rate)), row.expected)
            << row.rate << " bit/s";
        EXPECT_EQ(written(dsl_api_get_max_datarate, valid().u32(kMaxDataRate, row.rate)),
                  row.expected)
            << "attainable, " << row.rate << " bit/s";
    }
}

TEST(DslInterleaveDelay, IsRoundedToWholeMilliseconds) {
    struct Row {
        uint32_t delay;
        const char *expected;
    };
    for (const Row &row :
         {Row{0, "0"}, Row{49, "0"}, Row{50, "1"}, Row{100, "1"}, Row{101, "1"}, Row{149, "1"},
          Row{150, "2"}, Row{249, "2"}, Row{250, "3"}, Row{1600, "16"}, Row{0x7FFFFFFF, "21474836"},
          Row{0x80000000, "21474836"}, Row{0xFFFFFFCD, "42949672"}}) {
        EXPECT_EQ(written(dsl_api_get_interleave_delay, valid().u32(kInterleaveDelay, row.delay)),
                  row.expected)
            << "delay " << row.delay;
    }
}

TEST(DslInterleaveDelay, DoesNotWrapAround) {
    EXPECT_EQ(written(dsl_api_get_interleave_delay, valid().u32(kInterleaveDelay, 0xFFFFFFCE)),
              "42949672");
    EXPECT_EQ(written(dsl_api_get_interleave_delay, valid().u32(kInterleaveDelay, 0xFFFFFFFF)),
              "42949673");
}

TEST(DslDecibel, RoundsPositiveTenthsHalfUpAndCutsNegativeOnesTowardsZero) {
    struct Row {
        int tenths;
        const char *expected;
    };
    for (const Row &row :
         {Row{0, "0"},          Row{4, "0"},         Row{5, "1"},     Row{14, "1"},
          Row{15, "2"},         Row{254, "25"},      Row{255, "26"},  Row{256, "26"},
          Row{32767, "3277"},   Row{-1, "0"},        Row{-4, "0"},    Row{-5, "0"},
          Row{-14, "0"},        Row{-15, "-1"},      Row{-16, "-1"},  Row{-24, "-1"},
          Row{-25, "-2"},       Row{-26, "-2"},      Row{-100, "-9"}, Row{-105, "-10"},
          Row{-32767, "-3276"}, Row{-32768, "-3276"}}) {
        EXPECT_EQ(written(dsl_api_get_latn, valid().s16(kAttenuation, row.tenths)), row.expected)
            << "attenuation " << row.tenths;
        EXPECT_EQ(written(dsl_api_get_snr, valid().s16(kNoiseMargin, row.tenths)), row.expected)
            << "margin " << row.tenths;
    }
}

TEST(DslNumbers, AreCutToTheBuffer) {
    struct Row {
        const char *label;
        Number function;
        BlockBytes bytes;
        const char *number;  ///< of three digits
    };
    const Row rows[] = {
        {"data rate", dsl_api_get_datarate, valid().u32(kDataRate, 256000), "256"},
        {"attainable", dsl_api_get_max_datarate, valid().u32(kMaxDataRate, 256000), "256"},
        {"delay", dsl_api_get_interleave_delay, valid().u32(kInterleaveDelay, 25600), "256"},
        {"attenuation", dsl_api_get_latn, valid().s16(kAttenuation, 2560), "256"},
        {"margin", dsl_api_get_snr, valid().s16(kNoiseMargin, 2560), "256"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(written_into(row.function, row.bytes, 2), text("2\0######")) << row.label;
        EXPECT_EQ(written_into(row.function, row.bytes, 3), text("25\0#####")) << row.label;
        EXPECT_EQ(written_into(row.function, row.bytes, 4), text("256\0####")) << row.label;
        EXPECT_EQ(written_into(row.function, row.bytes, 8).substr(0, 4), text("256\0"))
            << row.label;
    }
}

TEST(DslNumbers, RefuseABufferBelowTwoBytesForRatesAndDelay) {
    for (const Number function :
         {dsl_api_get_datarate, dsl_api_get_max_datarate, dsl_api_get_interleave_delay}) {
        EXPECT_EQ(written_into(function, valid(), 0), "null, ########");
        EXPECT_EQ(written_into(function, valid(), 1), "null, ########");
    }
}

TEST(DslNumbers, TakeABufferOfAnySizeForAttenuationAndMargin) {
    const BlockBytes bytes = valid().s16(kAttenuation, 255).s16(kNoiseMargin, 255);
    for (const Number function : {dsl_api_get_latn, dsl_api_get_snr}) {
        EXPECT_EQ(written_into(function, bytes, 0), "########");
        EXPECT_EQ(written_into(function, bytes, 1), text("\0#######"));
        EXPECT_EQ(written_into(function, bytes, 2), text("2\0######"));
        EXPECT_EQ(written_into(function, bytes, 3), text("26\0#####"));
    }
}

TEST(DslNumbers, RefuseNullBufferAndNullRecord) {
    const dsl_stream r = record(valid());
    char buf[] = "####";
    for (const Number function :
         {dsl_api_get_datarate, dsl_api_get_max_datarate, dsl_api_get_interleave_delay,
          dsl_api_get_latn, dsl_api_get_snr}) {
        EXPECT_EQ(function(&r, nullptr, 16), nullptr);
        EXPECT_EQ(function(&r, nullptr, 0), nullptr);
        EXPECT_EQ(function(nullptr, buf, sizeof buf), nullptr);
        EXPECT_STREQ(buf, "####");
    }
}

TEST(DslNumbers, RefuseTheHalfThatIsNotValidAndNoOther) {
    for (const int result : {-1, 1, 256, INT_MIN, INT_MAX}) {
        const BlockBytes no_channel = valid().s32(kChannelResult, result);
        const BlockBytes no_line = valid().s32(kLineResult, result);
        for (const Number function : {dsl_api_get_datarate, dsl_api_get_interleave_delay}) {
            EXPECT_EQ(written_into(function, no_channel, 8), "null, ########") << result;
            EXPECT_NE(written(function, no_line), "null") << result;
        }
        for (const Number function :
             {dsl_api_get_max_datarate, dsl_api_get_latn, dsl_api_get_snr}) {
            EXPECT_EQ(written_into(function, no_line, 8), "null, ########") << result;
            EXPECT_NE(written(function, no_channel), "null") << result;
        }
    }
}

TEST(DslLatencyType, IsInterleaveFromMoreThanOneMillisecondOn) {
    struct Row {
        uint32_t a;
        uint32_t b;
        const char *expected;
    };
    for (const Row &row : {Row{0, 0, "Fast"}, Row{100, 100, "Fast"}, Row{101, 100, "Interleave"},
                           Row{100, 101, "Interleave"}, Row{101, 101, "Interleave"},
                           Row{0, 101, "Interleave"}, Row{101, 0, "Interleave"},
                           Row{0xFFFFFFFF, 0, "Interleave"}, Row{0, 0x80000000, "Interleave"}}) {
        const dsl_stream a = record(valid().u32(kInterleaveDelay, row.a));
        const dsl_stream b = record(valid().u32(kInterleaveDelay, row.b));
        EXPECT_STREQ(dsl_api_get_latency_type(&a, &b), row.expected) << row.a << " and " << row.b;
    }
}

TEST(DslLatencyType, IsNullUnlessBothChannelsAreValid) {
    const dsl_stream good = record(valid().u32(kInterleaveDelay, 101));
    const dsl_stream no_line = record(valid().u32(kInterleaveDelay, 0).s32(kLineResult, -1));
    for (const int result : {-1, 1, INT_MIN}) {
        const dsl_stream bad = record(valid().s32(kChannelResult, result));
        EXPECT_EQ(dsl_api_get_latency_type(&bad, &good), nullptr) << result;
        EXPECT_EQ(dsl_api_get_latency_type(&good, &bad), nullptr) << result;
        EXPECT_EQ(dsl_api_get_latency_type(&bad, &bad), nullptr) << result;
    }
    EXPECT_STREQ(dsl_api_get_latency_type(&no_line, &no_line), "Fast") << "lines do not matter";
    EXPECT_EQ(dsl_api_get_latency_type(nullptr, &good), nullptr);
    EXPECT_EQ(dsl_api_get_latency_type(&good, nullptr), nullptr);
}
