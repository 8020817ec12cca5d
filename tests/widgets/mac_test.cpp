// Hardware addresses: texts of every size, posted addresses, interfaces and boxes.
#include <gtest/gtest.h>
#include <net/if_arp.h>
#include <qmv/widgets.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/support/descriptor_limit.h"
#include "tests/support/failing_output.h"
#include "tests/support/io.h"
#include "tests/support/output.h"
#include "tests/support/own_network.h"

namespace {

using qmv_test::open_descriptors;
using qmv_test::prints;

/// An address whose family and unused bytes stand out.
sockaddr address(unsigned a, unsigned b, unsigned c, unsigned d, unsigned e, unsigned f) {
    sockaddr hw;
    std::memset(&hw, 0x5A, sizeof hw);
    const unsigned bytes[] = {a, b, c, d, e, f};
    for (std::size_t i = 0; i < 6; ++i)
        hw.sa_data[i] = static_cast<char>(bytes[i]);
    return hw;
}

/// The six bytes in lower case.
std::string bytes_of(const sockaddr &hw) {
    std::string text;
    for (std::size_t i = 0; i < 6; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof byte, "%02x ", static_cast<unsigned>(hw.sa_data[i]) & 0xFF);
        text += byte;
    }
    text.pop_back();
    return text;
}

/// The bytes behind the address.
std::string unused_bytes(const sockaddr &hw) {
    return std::string(hw.sa_data + 6, sizeof hw.sa_data - 6);
}

const std::string kUnused(8, 0x5A);
const sockaddr kAddress = address(0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E);

/// A buffer in the middle of guard bytes.
struct Guarded {
    static constexpr char kGuard = 0x77;
    char room[64];

    Guarded() { std::memset(room, kGuard, sizeof room); }
    char *buf() { return room + 8; }
    /// All guards but those of the first `size` bytes of the buffer are as they were.
    bool intact(std::size_t size) const {
        for (std::size_t i = 0; i < sizeof room; ++i) {
            if ((i < 8 || i >= 8 + size) && room[i] != kGuard)
                return false;
        }
        return true;
    }
};

// ---- Validity ----

TEST(MacIsvalid, RefusesAllZerosAndAllOnes) {
    const struct {
        sockaddr hw;
        int valid;
    } rows[] = {
        {address(0, 0, 0, 0, 0, 0), 0},
        {address(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF), 0},
        {address(1, 0, 0, 0, 0, 0), 1},
        {address(0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E), 1},
        {address(0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF), 1},
        {address(0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00), 1},
        {address(0x80, 0x80, 0x80, 0x80, 0x80, 0x80), 1},
        {address(0x01, 0x01, 0x01, 0x01, 0x01, 0x01), 1},
    };
    for (const auto &row : rows)
        EXPECT_EQ(mac_isvalid(&row.hw), row.valid) << bytes_of(row.hw);
}

TEST(MacIsvalid, LooksAtEachOfTheSixBytes) {
    for (std::size_t i = 0; i < 6; ++i) {
        sockaddr hw = address(0, 0, 0, 0, 0, 0);
        hw.sa_data[i] = 1;
        EXPECT_EQ(mac_isvalid(&hw), 1) << bytes_of(hw);
        hw = address(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF);
        hw.sa_data[i] = 0x7F;
        EXPECT_EQ(mac_isvalid(&hw), 1) << bytes_of(hw);
    }
}

TEST(MacIsvalid, LooksAtNothingElse) {
    sockaddr hw;
    std::memset(&hw, 0xFF, sizeof hw);
    std::memset(hw.sa_data, 0, 6);
    EXPECT_EQ(mac_isvalid(&hw), 0);
    std::memset(&hw, 0, sizeof hw);
    std::memset(hw.sa_data, 0xFF, 6);
    EXPECT_EQ(mac_isvalid(&hw), 0);
    EXPECT_EQ(mac_isvalid(nullptr), 0);
}

// ---- Text ----

TEST(MacNtop, FillsBuffersOfEverySize) {
    const std::string whole = "00-1A-2B-3C-4D-5E";
    for (unsigned size = 0; size <= 24; ++size) {
        Guarded guarded;
        EXPECT_EQ(mac_ntop(&kAddress, '-', guarded.buf(), size), guarded.buf()) << size;
        const std::size_t used = size < 18 ? size : 18;
        EXPECT_TRUE(guarded.intact(used)) << size;
        if (size > 0) {
            EXPECT_EQ(std::string(guarded.buf()), whole.substr(0, used - 1)) << size;
        }
    }
}

TEST(MacNtop, CutsWithinAByteAndBehindASeparator) {
    const struct {
        unsigned size;
        const char *text;
    } rows[] = {{1, ""},
                {2, "0"},
                {3, "00"},
                {4, "00-"},
                {5, "00-1"},
                {6, "00-1A"},
                {7, "00-1A-"},
                {17, "00-1A-2B-3C-4D-5"},
                {18, "00-1A-2B-3C-4D-5E"},
                {19, "00-1A-2B-3C-4D-5E"},
                {0xFFFFFFFF, "00-1A-2B-3C-4D-5E"}};
    for (const auto &row : rows) {
        char buf[32] = "unchanged";
        EXPECT_STREQ(mac_ntop(&kAddress, '-', buf, row.size), row.text) << row.size;
    }
}

TEST(MacNtop, WritesAllByteValuesInUpperCase) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const sockaddr hw = address(byte, 0, 0, 0, 0, byte);
        char expected[18];
        std::snprintf(expected, sizeof expected, "%02X:00:00:00:00:%02X", byte, byte);
        char buf[18];
        EXPECT_STREQ(mac_ntop(&hw, ':', buf, sizeof buf), expected);
    }
}

TEST(MacNtop, SeparatesWithAnyCharacter) {
    const struct {
        int separator;
        const char *text;
    } rows[] = {{'-', "00-1A-2B-3C-4D-5E"},
                {':', "00:1A:2B:3C:4D:5E"},
                {' ', "00 1A 2B 3C 4D 5E"},
                {'%', "00%1A%2B%3C%4D%5E"},
                {0xB7,
                 "00\xB7"
                 "1A\xB7"
                 "2B\xB7"
                 "3C\xB7"
                 "4D\xB7"
                 "5E"}};
    for (const auto &row : rows) {
        char buf[18];
        EXPECT_STREQ(mac_ntop(&kAddress, row.separator, buf, sizeof buf), row.text);
    }
}

TEST(MacNtop, EmptiesTheBufferForNoAddress) {
    Guarded guarded;
    EXPECT_EQ(mac_ntop(nullptr, '-', guarded.buf(), 18), guarded.buf());
    EXPECT_STREQ(guarded.buf(), "");
    EXPECT_TRUE(guarded.intact(1));
    EXPECT_EQ(mac_ntop(&kAddress, '-', nullptr, 18), nullptr);
    EXPECT_EQ(mac_ntop(&kAddress, '-', nullptr, 0), nullptr);
}

// ---- Interfaces ----

TEST(IfHwaddrNtop, GivesTheZerosOfTheLoopbackInterface) {
    const std::string whole = "00-00-00-00-00-00";
    for (unsigned size = 0; size <= 20; ++size) {
        Guarded guarded;
        EXPECT_EQ(if_hwaddr_ntop("lo", '-', guarded.buf(), size), guarded.buf()) << size;
        const std::size_t used = size < 18 ? size : 18;
        EXPECT_TRUE(guarded.intact(used)) << size;
        if (size > 0) {
            EXPECT_EQ(std::string(guarded.buf()), whole.substr(0, used - 1)) << size;
        }
    }
    char buf[18];
    EXPECT_STREQ(if_hwaddr_ntop("lo", ':', buf, sizeof buf), "00:00:00:00:00:00");
}

TEST(IfHwaddrNtop, EmptiesTheBufferWithoutAnInterface) {
    const std::string names[] = {"",
                                 "qmv-missing",
                                 "lo ",
                                 "LO",
                                 std::string(15, 'x'),
                                 std::string(16, 'x'),
                                 std::string(5000, 'x')};
    for (const std::string &name : names) {
        Guarded guarded;
        EXPECT_EQ(if_hwaddr_ntop(name.c_str(), '-', guarded.buf(), 18), guarded.buf()) << name;
        EXPECT_STREQ(guarded.buf(), "") << name;
        EXPECT_TRUE(guarded.intact(1)) << name;
    }
}

TEST(IfHwaddrNtop, NullArgumentsAreHarmless) {
    char buf[18] = "unchanged";
    EXPECT_EQ(if_hwaddr_ntop(nullptr, '-', buf, 0), buf);
    EXPECT_STREQ(buf, "unchanged");
    EXPECT_EQ(if_hwaddr_ntop(nullptr, '-', buf, sizeof buf), buf);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(if_hwaddr_ntop("lo", '-', nullptr, 18), nullptr);
}

TEST(IfHwaddrNtop, EmptiesTheBufferWithoutADescriptor) {
    char buf[18] = "unchanged";
    {
        const qmv_test::DescriptorLimit limit;
        if_hwaddr_ntop("lo", '-', buf, sizeof buf);
    }
    EXPECT_STREQ(buf, "");
}

TEST(IfHwaddrNtop, AsksThroughDescriptorZeroAsWell) {
    const auto child = qmv_test::run_child("", [] {
        ::close(STDIN_FILENO);
        char buf[18] = "";
        EXPECT_STREQ(if_hwaddr_ntop("lo", '-', buf, sizeof buf), "00-00-00-00-00-00");
        EXPECT_EQ(::dup(STDOUT_FILENO), STDIN_FILENO) << "it is in use";
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}

TEST(IfHwaddrNtop, LeavesNoDescriptorOpen) {
    const int before = open_descriptors();
    char buf[18];
    for (const char *name : {"lo", "qmv-missing", "a-name-that-is-much-too-long"}) {
        for (const unsigned size : {0u, 1u, 18u})
            if_hwaddr_ntop(name, '-', buf, size);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(IfHwaddrNtop, ReadsTheAddressOfAnInterfaceByTheFirst15CharactersOfItsName) {
    qmv_test::in_own_network(
        "link add name port0 type lone\nlink set port0 address 02:aa:bb:cc:dd:fe\n"
        "link add name port56789012345 type lone\nlink set port56789012345 address"
        " 02:10:20:30:40:51\n",
        [] {
            char buf[18];
            EXPECT_STREQ(if_hwaddr_ntop("port0", '-', buf, sizeof buf), "02-AA-BB-CC-DD-FE");
            EXPECT_STREQ(if_hwaddr_ntop("port0", ':', buf, 9), "02:AA:BB");
            EXPECT_STREQ(if_hwaddr_ntop("port56789012345", '-', buf, sizeof buf),
                         "02-10-20-30-40-51");
            EXPECT_STREQ(if_hwaddr_ntop("port567890123456789", '-', buf, sizeof buf),
                         "02-10-20-30-40-51");
            EXPECT_STREQ(if_hwaddr_ntop("port5678901234", '-', buf, sizeof buf), "");
        });
}

// ---- Posted addresses ----

TEST(ScanMacaddr, TakesSixBytes) {
    const struct {
        const char *label;
        const char *text;
        const char *bytes;
    } rows[] = {
        {"colons", "00:1a:2b:3c:4d:5e", "00 1a 2b 3c 4d 5e"},
        {"dashes", "00-1A-2B-3C-4D-5E", "00 1a 2b 3c 4d 5e"},
        {"no separators", "001A2B3C4D5E", "00 1a 2b 3c 4d 5e"},
        {"dots", "00.1a.2b.3c.4d.5e", "00 1a 2b 3c 4d 5e"},
        {"blanks", "00 1a 2b 3c 4d 5e", "00 1a 2b 3c 4d 5e"},
        {"letters that are no digits", "00g1aG2bz3cx4d/5e", "00 1a 2b 3c 4d 5e"},
        {"bytes above 0x7F separate",
         "00\xFF"
         "1a\x80"
         "2b\xC1"
         "3c\xE1"
         "4d\xB0"
         "5e",
         "00 1a 2b 3c 4d 5e"},
        {"separators of several kinds", "00:1a-2b.3c 4d_5e", "00 1a 2b 3c 4d 5e"},
        {"two groups", "001a2b-3c4d5e", "00 1a 2b 3c 4d 5e"},
        {"three groups", "001a.2b3c.4d5e", "00 1a 2b 3c 4d 5e"},
        {"both cases", "aB:Cd:eF:Fe:dC:bA", "ab cd ef fe dc ba"},
        {"all digits", "01:23:45:67:89:af", "01 23 45 67 89 af"},
        {"all high", "ff:ff:ff:ff:ff:ff", "ff ff ff ff ff ff"},
        {"one digit each", "0:1:2:3:4:5", "00 01 02 03 04 05"},
        {"one digit each, letters", "a:b:c:D:E:F", "0a 0b 0c 0d 0e 0f"},
        {"one digit here and there", "0:1a:2:3c:4:5e", "00 1a 02 3c 04 5e"},
        {"one digit at the end", "001A2B3C4D5", "00 1a 2b 3c 4d 05"},
        {"two bytes", "11:22", "11 22 00 00 00 00"},
        {"two bytes and a separator", "11:22:", "11 22 00 00 00 00"},
        {"one digit", "7", "07 00 00 00 00 00"},
        {"three digits", "712", "71 02 00 00 00 00"},
        {"empty", "", "00 00 00 00 00 00"},
        {"separator in front takes a byte", ":11:22:33:44:55:66", "00 11 22 33 44 55"},
        {"two separators take a byte", "11::22:33:44:55:66", "11 00 22 33 44 55"},
        {"blank behind a separator takes a byte", "11: 22: 33", "11 00 22 00 33 00"},
        {"nothing but separators", "::::::::", "00 00 00 00 00 00"},
        {"no digits", "xyz", "00 00 00 00 00 00"},
        {"words", "word", "00 00 00 0d 00 00"},
        {"prefix of hexadecimal numbers", "0x11:0x22", "00 11 00 22 00 00"},
        {"seven bytes", "11:22:33:44:55:66:77", "11 22 33 44 55 66"},
        {"letters behind the sixth", "11:22:33:44:55:66zz", "11 22 33 44 55 66"},
        {"fourteen digits", "11223344556677", "11 22 33 44 55 66"},
        {"line end behind", "11:22:33:44:55:66\r\n", "11 22 33 44 55 66"},
        {"characters next to the digits", "/0:@1[`2g", "00 00 00 01 00 02"},
    };
    for (const auto &row : rows) {
        sockaddr hw = address(0xA5, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5);
        EXPECT_EQ(scan_macaddr(&hw, row.text), 1) << row.label;
        EXPECT_EQ(bytes_of(hw), row.bytes) << row.label;
        EXPECT_EQ(hw.sa_family, ARPHRD_ETHER) << row.label;
        EXPECT_EQ(unused_bytes(hw), kUnused) << row.label;
        EXPECT_EQ(scan_macaddr(&hw, row.text), 0) << row.label << ", again";
        EXPECT_EQ(bytes_of(hw), row.bytes) << row.label << ", again";
    }
}

TEST(ScanMacaddr, TakesEveryCharacterAsADigitOrASeparator) {
    const std::string lower = "0123456789abcdef";
    const std::string upper = "0123456789ABCDEF";
    for (int code = 1; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const std::size_t value = std::min(lower.find(c), upper.find(c));
        const bool is_digit = value != std::string::npos;
        sockaddr hw = address(9, 9, 9, 9, 9, 9);
        scan_macaddr(&hw, (std::string("1") + c + "2").c_str());
        EXPECT_EQ(bytes_of(hw),
                  (is_digit ? std::string("1") + lower[value] : "01") + " 02 00 00 00 00")
            << code;
        scan_macaddr(&hw, (std::string(1, c) + "23").c_str());
        EXPECT_EQ(bytes_of(hw), is_digit ? std::string(1, lower[value]) + "2 03 00 00 00 00"
                                         : "00 23 00 00 00 00")
            << code << " in front";
    }
}

TEST(ScanMacaddr, ReadsAllByteValuesInBothCases) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        char upper[18];
        char lower[18];
        std::snprintf(upper, sizeof upper, "%02X-00-00-00-00-%02X", byte, byte);
        std::snprintf(lower, sizeof lower, "%02x 00 00 00 00 %02x", byte, byte);
        for (const char *text : {upper, lower}) {
            sockaddr hw = address(1, 2, 3, 4, 5, 6);
            EXPECT_EQ(scan_macaddr(&hw, text), 1) << text;
            EXPECT_EQ(bytes_of(hw), lower);
        }
    }
}

TEST(ScanMacaddr, ReturnsOneWhenAnyByteChanged) {
    const std::string same = "11:22:33:44:55:66";
    for (std::size_t i = 0; i < 6; ++i) {
        sockaddr hw = address(0x11, 0x22, 0x33, 0x44, 0x55, 0x66);
        std::string text = same;
        text[3 * i] = 'e';
        EXPECT_EQ(scan_macaddr(&hw, text.c_str()), 1) << text;
        EXPECT_EQ(scan_macaddr(&hw, text.c_str()), 0) << text;
        EXPECT_EQ(scan_macaddr(&hw, same.c_str()), 1) << text;
        EXPECT_EQ(bytes_of(hw), "11 22 33 44 55 66");
    }
}

TEST(ScanMacaddr, SetsTheFamilyAlsoWhenNoByteChanged) {
    sockaddr hw = address(0x11, 0x22, 0x33, 0x44, 0x55, 0x66);
    EXPECT_EQ(scan_macaddr(&hw, "11:22:33:44:55:66"), 0);
    EXPECT_EQ(hw.sa_family, 1);
    EXPECT_EQ(unused_bytes(hw), kUnused);
    hw.sa_family = 0x5A5A;
    std::memset(hw.sa_data, 0, 6);
    EXPECT_EQ(scan_macaddr(&hw, nullptr), 0);
    EXPECT_EQ(hw.sa_family, 1);
}

TEST(ScanMacaddr, NoTextAndEmptyTextGiveZeros) {
    for (const char *text : {"", static_cast<const char *>(nullptr)}) {
        sockaddr hw = address(0, 0, 0, 0, 0, 1);
        EXPECT_EQ(scan_macaddr(&hw, text), 1);
        EXPECT_EQ(bytes_of(hw), "00 00 00 00 00 00");
        EXPECT_EQ(hw.sa_family, 1);
        EXPECT_EQ(scan_macaddr(&hw, text), 0);
    }
}

TEST(ScanMacaddr, NoAddressReturnsZero) {
    EXPECT_EQ(scan_macaddr(nullptr, "11:22:33:44:55:66"), 0);
    EXPECT_EQ(scan_macaddr(nullptr, nullptr), 0);
}

// ---- Boxes ----

TEST(GenXmacbox, PrintsWholeTags) {
    const struct {
        const char *label;
        uint32_t size;
        sockaddr hw;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {"default size", 0, kAddress, 0,
         "<input type=\"text\" maxlength=\"18\" size=\"18\" value=\"00-1A-2B-3C-4D-5E\">"},
        {"size", 17, kAddress, 0,
         "<input type=\"text\" maxlength=\"18\" size=\"17\" value=\"00-1A-2B-3C-4D-5E\">"},
        {"size 1", 1, kAddress, 0,
         "<input type=\"text\" maxlength=\"18\" size=\"1\" value=\"00-1A-2B-3C-4D-5E\">"},
        {"largest size", 0x7FFFFFFF, kAddress, 0,
         "<input type=\"text\" maxlength=\"18\" size=\"2147483647\""
         " value=\"00-1A-2B-3C-4D-5E\">"},
        {"lowest negative size", 0x80000000, kAddress, 0,
         "<input type=\"text\" maxlength=\"18\" value=\"00-1A-2B-3C-4D-5E\">"},
        {"size -1", 0xFFFFFFFF, kAddress, 0,
         "<input type=\"text\" maxlength=\"18\" value=\"00-1A-2B-3C-4D-5E\">"},
        {"read-only", 0, kAddress, PRINT_READONLY,
         "<input type=\"text\" size=\"18\" value=\"00-1A-2B-3C-4D-5E\" readonly>"},
        {"read-only without size", 0xFFFFFFFF, kAddress, PRINT_READONLY,
         "<input type=\"text\" value=\"00-1A-2B-3C-4D-5E\" readonly>"},
        {"disabled shows its value", 0, kAddress, PRINT_DISABLED,
         "<input type=\"text\" maxlength=\"18\" size=\"18\" value=\"00-1A-2B-3C-4D-5E\""
         " disabled>"},
        {"invalid address", 0, address(0, 0, 0, 0, 0, 0), 0,
         "<input type=\"text\" maxlength=\"18\" size=\"18\" value=\"00-00-00-00-00-00\">"},
        {"all flags", 0, address(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF), 0xFFFFFFFF,
         "<input type=\"text\" size=\"18\" value=\"FF-FF-FF-FF-FF-FF\" checked disabled readonly"
         " selected style=\"display: none;\" style=\"visibility: hidden;\""
         " autocomplete=\"default\">"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_xmacbox(row.size, &row.hw, row.flags, nullptr);
        })) << row.label;
}

TEST(GenXmacbox, AllowsOneCharacterMoreThanTheTextHas) {
    char text[32];
    EXPECT_EQ(std::strlen(mac_ntop(&kAddress, '-', text, sizeof text)), 17u);
    EXPECT_TRUE(
        prints("<input type=\"text\" maxlength=\"18\" size=\"4\" value=\"00-1A-2B-3C-4D-5E\">", '>',
               [] { return gen_xmacbox(4, &kAddress, 0, nullptr); }));
}

TEST(GenXmacbox, PutsTheCallersAttributesRawInFrontOfTheFlags) {
    EXPECT_TRUE(
        prints("<input type=\"text\" maxlength=\"18\" size=\"18\""
               " value=\"00-1A-2B-3C-4D-5E\" name=\"a<b&\" data-x='5%' disabled>",
               '>', [] {
                   return gen_xmacbox(0, &kAddress, PRINT_DISABLED, " name=\"%s\" data-x='%d%%'",
                                      "a<b&", 5);
               }));
}

TEST(GenXmacbox, PrintsAnEmptyValueForNoAddress) {
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"18\" size=\"18\" value=\"\" id=\"i\">",
                       '>', [] { return gen_xmacbox(0, nullptr, 0, " id=\"%s\"", "i"); }));
}

TEST(GenXmacbox, ReturnsMinusOneWhenTheOutputFails) {
    const qmv_test::FailedOutput output =
        qmv_test::print_to(qmv_test::Sink::kFullDevice, {"none", _IONBF, 0},
                           {[] { return gen_xmacbox(0, &kAddress, 0, " x"); }});
    EXPECT_EQ(output, (qmv_test::FailedOutput{{-1}, ""}));
}

}  // namespace
