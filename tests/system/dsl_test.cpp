// State, mode, power and coding of a line. What is known about a direction has a file of its own.
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/system.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <string>

#include "tests/fakes/device.h"
#include "tests/support/block.h"

namespace {

using qmv_test::BlockBytes;
using qmv_test::Device;

constexpr unsigned long kModemState = 0xC0087205;
constexpr unsigned long kTrellis = 0xC01C7208;
constexpr unsigned long kOperatingMode = 0xC00C6704;
constexpr unsigned long kPowerState = 0xC008670D;

/// A descriptor as a program might pass it: no call on it reaches the kernel.
constexpr int kFd = 12345;

/// A text or "null", so that both can be compared and printed.
std::string shown(const char *text) {
    return text != nullptr ? '"' + std::string(text) + '"' : "null";
}

std::string modem_status(uint32_t state) {
    Device device;
    device.expects(kModemState, BlockBytes(8).str(), BlockBytes(8).u32(4, state).str());
    const std::string text = shown(dsl_api_get_modem_status(kFd));
    EXPECT_EQ(device.calls().at(0).fd, kFd);
    return text;
}

std::string modem_mode(const BlockBytes &block) {
    Device device;
    device.expects(kOperatingMode, BlockBytes(12).str(), block.str());
    const std::string text = shown(dsl_api_get_modem_mode(kFd));
    EXPECT_EQ(device.calls().at(0).fd, kFd);
    return text;
}

std::string power_mode(int32_t state) {
    Device device;
    device.expects(kPowerState, BlockBytes(8).str(), BlockBytes(8).s32(4, state).str());
    const std::string text = shown(dsl_api_get_power_mode(kFd));
    EXPECT_EQ(device.calls().at(0).fd, kFd);
    return text;
}

const char *trellis(uint32_t value, const char *on, const char *off) {
    Device device;
    device.expects(kTrellis, BlockBytes(28).str(), BlockBytes(28, '\1').u32(8, value).str());
    const char *const text = dsl_api_get_trellis_modulation(kFd, on, off);
    EXPECT_EQ(device.calls().at(0).fd, kFd);
    return text;
}

const std::map<uint32_t, std::string> kModemStates = {
    {0x0, "Not Initialized"},
    {0x1, "Exception"},
    {0x10, "Not Updated"},
    {0xFF, "Idle Request"},
    {0x100, "Idle"},
    {0x1FF, "Silent Request"},
    {0x200, "Silent"},
    {0x300, "Handshake"},
    {0x380, "Full Init"},
    {0x3C0, "Not Updated"},
    {0x400, "Discovery"},
    {0x500, "Training"},
    {0x600, "Analysis"},
    {0x700, "Exchange"},
    {0x800, "Showtime, no Sync"},
    {0x801, "Showtime, Sync"},
    {0x900, "Fastretrain"},
    {0xA00, "Lowpower L2"},
    {0xB00, "Diagnostic Active"},
    {0xB10, "Diagnostic Data Exchange"},
    {0xB20, "Diagnostic Data Request"},
    {0xC00, "Diagnostic Complete"},
    {0xD00, "Resync"},
    {0x1000000, "Test"},
    {0x1000001, "Test Loop"},
    {0x1000010, "Test Reverb"},
    {0x1000020, "Test Medley"},
    {0x1000030, "Test Showtime Lock"},
    {0x1000040, "Test Quiet"},
    {0x2000000, "Lowpower L3"},
};

void expect_modem_status(uint32_t state) {
    const auto named = kModemStates.find(state);
    EXPECT_EQ(modem_status(state), named != kModemStates.end() ? '"' + named->second + '"' : "null")
        << std::hex << "state 0x" << state;
}

struct ModeBit {
    unsigned octet;  ///< from 1
    uint8_t bit;
    const char *text;
};

constexpr ModeBit kModeBits[] = {
    {1, 0x01, "\"ANSI T1.413\""},
    {1, 0x02, "\"Annex C\""},
    {1, 0x04, "\"ADSL_G.dmt, Annex A\""},
    {1, 0x10, "\"ADSL_G.dmt, Annex B\""},
    {2, 0x01, "\"ADSL_G.lite, Annex A\""},
    {3, 0x04, "\"ADSL_G.dmt.bis, Annex A\""},
    {3, 0x10, "\"ADSL_G.dmt.bis, Annex B\""},
    {4, 0x01, "\"ADSL_G.dmt.bis, Annex A \""},
    {4, 0x10, "\"ADSL_G.dmt.bis, Annex I\""},
    {4, 0x40, "\"ADSL_G.dmt.bis, Annex J\""},
    {5, 0x04, "\"ADSL_re-adsl, Annex L\""},
    {5, 0x08, "\"ADSL_re-adsl, Annex L\""},
    {5, 0x40, "\"ADSL2, Annex M\""},
    {6, 0x01, "\"ADSL2+, Annex A\""},
    {6, 0x04, "\"ADSL2+, Annex B\""},
    {6, 0x40, "\"ADSL2+, Annex I\""},
    {7, 0x01, "\"ADSL2+, Annex J\""},
    {7, 0x04, "\"ADSL2+, Annex M\""},
};

/// Offset of an octet in the block.
constexpr std::size_t octet(unsigned number) {
    return 3 + number;
}

/// What a single bit names, or "null".
std::string named_by(unsigned number, unsigned bit) {
    for (const ModeBit &known : kModeBits) {
        if (known.octet == number && known.bit == bit)
            return known.text;
    }
    return "null";
}

}  // namespace

TEST(DslModemStatus, NamesEveryState) {
    ASSERT_EQ(kModemStates.size(), 30u);
    for (const auto &[state, text] : kModemStates)
        expect_modem_status(state);
}

TEST(DslModemStatus, GivesTheTextOf0x10For0x3C0AsWell) {
    EXPECT_EQ(modem_status(0x10), "\"Not Updated\"");
    EXPECT_EQ(modem_status(0x3C0), "\"Not Updated\"");
}

TEST(DslModemStatus, ReturnsNullForEveryOtherState) {
    EXPECT_EQ(modem_status(0x802), "null");
    for (uint32_t state = 0; state <= 0xE00; ++state)
        expect_modem_status(state);
    for (uint32_t state = 0xFFFFF0; state <= 0x1000060; ++state)
        expect_modem_status(state);
    for (const uint32_t state : {0x1FFFFFFu, 0x2000001u, 0x3000000u, 0x8010000u, 0x80000000u,
                                 0x80000801u, 0xFFFFFFFFu, 0x1080000u})
        expect_modem_status(state);
}

TEST(DslModemStatus, ReadsNothingButTheStateFromTheBlock) {
    Device device;
    device.expects(kModemState, BlockBytes(8).str(), BlockBytes(8, '\xFF').u32(4, 0x801).str());
    EXPECT_EQ(shown(dsl_api_get_modem_status(kFd)), "\"Showtime, Sync\"");
}

TEST(DslModemMode, NamesEachBitAlone) {
    for (unsigned number = 1; number <= 7; ++number) {
        for (unsigned bit = 1; bit <= 0x80; bit <<= 1) {
            EXPECT_EQ(modem_mode(BlockBytes(12).u8(octet(number), static_cast<uint8_t>(bit))),
                      named_by(number, bit))
                << "octet " << number << std::hex << ", bit 0x" << bit;
        }
    }
}

TEST(DslModemMode, LetsTheLastOfTwoBitsWin) {
    for (std::size_t later = 1; later < std::size(kModeBits); ++later) {
        for (std::size_t earlier = 0; earlier < later; ++earlier) {
            const ModeBit &a = kModeBits[earlier];
            const ModeBit &b = kModeBits[later];
            BlockBytes block(12);
            if (a.octet == b.octet)
                block.u8(octet(a.octet), a.bit | b.bit);
            else
                block.u8(octet(a.octet), a.bit).u8(octet(b.octet), b.bit);
            EXPECT_EQ(modem_mode(block), b.text) << "row " << earlier << " with row " << later;
        }
    }
}

TEST(DslModemMode, LetsTheLastOfManyBitsWin) {
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(4, 0x05)), "\"ADSL_G.dmt, Annex A\"");
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(4, 0x04).u8(9, 0x04)), "\"ADSL2+, Annex B\"");
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(4, 0xFF)), "\"ADSL_G.dmt, Annex B\"");
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(4, 0xFF).u8(7, 0xFF).u8(8, 0x04)),
              "\"ADSL_re-adsl, Annex L\"");
    EXPECT_EQ(modem_mode(BlockBytes(12, '\xFF')), "\"ADSL2+, Annex M\"");
}

TEST(DslModemMode, KeepsTheBlankThatTellsOctet4FromOctet3) {
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(6, 0x04)), "\"ADSL_G.dmt.bis, Annex A\"");
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(7, 0x01)), "\"ADSL_G.dmt.bis, Annex A \"");
}

TEST(DslModemMode, GivesTheSameTextForBothBitsOfAnnexL) {
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(8, 0x04)), "\"ADSL_re-adsl, Annex L\"");
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(8, 0x08)), "\"ADSL_re-adsl, Annex L\"");
}

TEST(DslModemMode, ReturnsNullWithoutAnyBit) {
    EXPECT_EQ(modem_mode(BlockBytes(12)), "null");
}

TEST(DslModemMode, ReadsTheSevenOctetsOnly) {
    EXPECT_EQ(modem_mode(BlockBytes(12).u32(0, 0xFFFFFFFF)), "null") << "before the first octet";
    EXPECT_EQ(modem_mode(BlockBytes(12).u8(11, 0xFF)), "null") << "behind the last octet";
}

TEST(DslPowerMode, NamesEveryState) {
    EXPECT_EQ(power_mode(-1), "\"DSL_G997_PMS_NA\"");
    EXPECT_EQ(power_mode(0), "\"DSL_G997_PMS_L0\"");
    EXPECT_EQ(power_mode(1), "\"DSL_G997_PMS_L1\"");
    EXPECT_EQ(power_mode(2), "\"DSL_G997_PMS_L2\"");
    EXPECT_EQ(power_mode(3), "\"DSL_G997_PMS_L3\"");
}

TEST(DslPowerMode, ReturnsNullForEveryOtherState) {
    for (const int state : {-2, 4, 5, -3, 255, 256, -256, 0x10000, INT_MIN, INT_MIN + 1, INT_MAX})
        EXPECT_EQ(power_mode(state), "null") << "state " << state;
}

TEST(DslPowerMode, ReadsNothingButTheStateFromTheBlock) {
    Device device;
    device.expects(kPowerState, BlockBytes(8).str(), BlockBytes(8, '\xFF').s32(4, 2).str());
    EXPECT_EQ(shown(dsl_api_get_power_mode(kFd)), "\"DSL_G997_PMS_L2\"");
}

TEST(DslTrellis, ReturnsTheValueForOnOrOff) {
    static const char on[] = "yes";
    static const char off[] = "no";
    EXPECT_EQ(trellis(1, on, off), on);
    EXPECT_EQ(trellis(0, on, off), off);
}

TEST(DslTrellis, ReturnsNullForEveryOtherValue) {
    for (const uint32_t value : {2u, 3u, 256u, 0x10000u, 0x1000000u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(trellis(value, "yes", "no"), nullptr) << "value " << value;
}

TEST(DslTrellis, NeverLooksIntoTheTwoValues) {
    const auto *const on = reinterpret_cast<const char *>(uintptr_t{1});
    const auto *const off = reinterpret_cast<const char *>(uintptr_t{2});
    EXPECT_EQ(trellis(1, on, off), on);
    EXPECT_EQ(trellis(0, on, off), off);
    EXPECT_EQ(trellis(1, nullptr, off), nullptr);
    EXPECT_EQ(trellis(0, on, nullptr), nullptr);
}

TEST(DslRequests, GiveNullWhenTheRequestFails) {
    using Function = const char *(*)(int);
    struct Row {
        const char *label;
        Function function;
        unsigned long request;
        std::string before;
        std::string after;  ///< names a value when the failure is not noticed
    };
    const Row rows[] = {
        {"modem state", dsl_api_get_modem_status, kModemState, BlockBytes(8).str(),
         BlockBytes(8).u32(4, 0x801).str()},
        {"operating mode", dsl_api_get_modem_mode, kOperatingMode, BlockBytes(12).str(),
         BlockBytes(12, '\xFF').str()},
        {"power state", dsl_api_get_power_mode, kPowerState, BlockBytes(8).str(),
         BlockBytes(8).s32(4, 1).str()},
        {"trellis coding", [](int fd) { return dsl_api_get_trellis_modulation(fd, "yes", "no"); },
         kTrellis, BlockBytes(28).str(), BlockBytes(28).u32(8, 1).str()},
    };
    for (const Row &row : rows) {
        for (const int result : {-1, 1, -5, 2, INT_MIN}) {
            Device device;
            device.expects(row.request, row.before, row.after, result);
            EXPECT_EQ(shown(row.function(kFd)), "null") << row.label << ", result " << result;
            EXPECT_EQ(device.unused(), 0u) << row.label << ", result " << result;
        }
    }
}

TEST(DslRequests, GiveNullForADescriptorThatIsNotOpen) {
    Device device;
    device.reaches_kernel(kModemState)
        .reaches_kernel(kOperatingMode)
        .reaches_kernel(kPowerState)
        .reaches_kernel(kTrellis);
    EXPECT_EQ(dsl_api_get_modem_status(-1), nullptr);
    EXPECT_EQ(dsl_api_get_modem_mode(-1), nullptr);
    EXPECT_EQ(dsl_api_get_power_mode(-1), nullptr);
    EXPECT_EQ(dsl_api_get_trellis_modulation(-1, "yes", "no"), nullptr);
    EXPECT_EQ(device.unused(), 0u);
}
