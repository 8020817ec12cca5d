// IPv4 addresses and networks: arithmetic, posted texts, boxes and items.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/support/failing_output.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/output.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::prints;
using qmv_test::TempDir;

/// An address, byte by byte as on the wire.
uint32_t ip(unsigned a, unsigned b, unsigned c, unsigned d) {
    const unsigned char bytes[4] = {static_cast<unsigned char>(a), static_cast<unsigned char>(b),
                                    static_cast<unsigned char>(c), static_cast<unsigned char>(d)};
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

std::string dotted(uint32_t word) {
    unsigned char bytes[4];
    std::memcpy(bytes, &word, sizeof bytes);
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", unsigned{bytes[0]}, unsigned{bytes[1]},
                  unsigned{bytes[2]}, unsigned{bytes[3]});
    return text;
}

std::string dotted(const ipv4_cidr &cidr) {
    return dotted(cidr.addr) + "/" + std::to_string(cidr.prefix);
}

const uint32_t kNone = 0xFFFFFFFF;

// ---- Arithmetic ----

/// All masks, written out.
constexpr const char *kMasks[33] = {
    "0.0.0.0",         "128.0.0.0",       "192.0.0.0",       "224.0.0.0",       "240.0.0.0",
    "248.0.0.0",       "252.0.0.0",       "254.0.0.0",       "255.0.0.0",       "255.128.0.0",
    "255.192.0.0",     "255.224.0.0",     "255.240.0.0",     "255.248.0.0",     "255.252.0.0",
    "255.254.0.0",     "255.255.0.0",     "255.255.128.0",   "255.255.192.0",   "255.255.224.0",
    "255.255.240.0",   "255.255.248.0",   "255.255.252.0",   "255.255.254.0",   "255.255.255.0",
    "255.255.255.128", "255.255.255.192", "255.255.255.224", "255.255.255.240", "255.255.255.248",
    "255.255.255.252", "255.255.255.254", "255.255.255.255",
};

TEST(GenNetmask, MakesAllMasksInNetworkByteOrder) {
    for (unsigned prefix = 0; prefix <= 32; ++prefix) {
        EXPECT_EQ(dotted(gen_netmask(prefix)), kMasks[prefix]) << prefix;
        EXPECT_EQ(gen_netmask(prefix), ::inet_addr(kMasks[prefix])) << prefix;
    }
}

TEST(GenNetmask, TakesLongerPrefixesAs32) {
    for (const uint32_t prefix : {33u, 34u, 64u, 65u, 256u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(gen_netmask(prefix), 0xFFFFFFFFu) << prefix;
}

TEST(GenPrefix, CountsTheOnesOfAllMasks) {
    for (int prefix = 0; prefix <= 32; ++prefix)
        EXPECT_EQ(gen_prefix(::inet_addr(kMasks[prefix])), prefix);
}

TEST(GenPrefix, StopsAtTheFirstZero) {
    EXPECT_EQ(gen_prefix(ip(255, 0, 255, 0)), 8);
    EXPECT_EQ(gen_prefix(ip(255, 255, 0, 255)), 16);
    EXPECT_EQ(gen_prefix(ip(0, 255, 255, 255)), 0);
    EXPECT_EQ(gen_prefix(ip(127, 255, 255, 255)), 0);
    EXPECT_EQ(gen_prefix(ip(0, 0, 0, 255)), 0);
    EXPECT_EQ(gen_prefix(ip(255, 255, 191, 255)), 17);
    EXPECT_EQ(gen_prefix(ip(255, 255, 255, 253)), 30);
}

TEST(ValidIpv4Addr, MovesNetworkAndBroadcastAddressToAHost) {
    const struct {
        const char *label;
        uint32_t addr;
        uint32_t mask;
        const char *result;
    } rows[] = {
        {"network of /24", ip(192, 168, 1, 0), ip(255, 255, 255, 0), "192.168.1.1"},
        {"broadcast of /24", ip(192, 168, 1, 255), ip(255, 255, 255, 0), "192.168.1.254"},
        {"host of /24", ip(192, 168, 1, 77), ip(255, 255, 255, 0), "192.168.1.77"},
        {"first host of /24", ip(192, 168, 1, 1), ip(255, 255, 255, 0), "192.168.1.1"},
        {"last host of /24", ip(192, 168, 1, 254), ip(255, 255, 255, 0), "192.168.1.254"},
        {"network of /8", ip(10, 0, 0, 0), ip(255, 0, 0, 0), "10.0.0.1"},
        {"broadcast of /8", ip(10, 255, 255, 255), ip(255, 0, 0, 0), "10.255.255.254"},
        {"zero byte of a host of /8", ip(10, 1, 0, 0), ip(255, 0, 0, 0), "10.1.0.0"},
        {"all-ones byte of a host of /8", ip(10, 0, 0, 255), ip(255, 0, 0, 0), "10.0.0.255"},
        {"network of /22", ip(172, 16, 4, 0), ip(255, 255, 252, 0), "172.16.4.1"},
        {"broadcast of /22", ip(172, 16, 7, 255), ip(255, 255, 252, 0), "172.16.7.254"},
        {"inside /22", ip(172, 16, 4, 255), ip(255, 255, 252, 0), "172.16.4.255"},
        {"next third byte in /22", ip(172, 16, 5, 0), ip(255, 255, 252, 0), "172.16.5.0"},
        {"network of /30", ip(10, 0, 0, 4), ip(255, 255, 255, 252), "10.0.0.5"},
        {"broadcast of /30", ip(10, 0, 0, 7), ip(255, 255, 255, 252), "10.0.0.6"},
        {"network of /1", ip(128, 0, 0, 0), ip(128, 0, 0, 0), "128.0.0.1"},
        {"almost broadcast of /0", ip(255, 255, 255, 254), ip(0, 0, 0, 0), "255.255.255.254"},
        {"host of /0", ip(0, 0, 0, 1), ip(0, 0, 0, 0), "0.0.0.1"},
        {"last address of a mask with holes", ip(10, 255, 0, 255), ip(255, 0, 255, 0),
         "10.255.0.254"},
        {"first address of a mask with holes", ip(10, 0, 7, 0), ip(255, 0, 255, 0), "10.0.7.1"},
    };
    for (const auto &row : rows) {
        uint32_t out = 0x12345678;
        EXPECT_EQ(valid_ipv4_addr(&out, row.addr, row.mask), 1) << row.label;
        EXPECT_EQ(dotted(out), row.result) << row.label;
    }
}

TEST(ValidIpv4Addr, KeepsTheAddressUnderAFullMask) {
    for (const uint32_t addr : {ip(10, 0, 0, 5), ip(10, 0, 0, 4), ip(10, 0, 0, 0),
                                ip(10, 0, 0, 255), ip(10, 255, 255, 255), ip(255, 255, 255, 254)}) {
        uint32_t out = 0;
        EXPECT_EQ(valid_ipv4_addr(&out, addr, 0xFFFFFFFF), 1);
        EXPECT_EQ(dotted(out), dotted(addr));
    }
}

TEST(ValidIpv4Addr, GivesTheEvenAddressOfAPairForBoth) {
    const uint32_t mask = ip(255, 255, 255, 254);
    const struct {
        uint32_t addr;
        const char *result;
    } rows[] = {
        {ip(10, 0, 0, 4), "10.0.0.4"}, {ip(10, 0, 0, 5), "10.0.0.4"},
        {ip(10, 0, 0, 0), "10.0.0.0"}, {ip(10, 0, 0, 255), "10.0.0.254"},
        {ip(0, 0, 0, 1), "0.0.0.0"},   {ip(255, 255, 255, 254), "255.255.255.254"},
    };
    for (const auto &row : rows) {
        uint32_t out = 0x12345678;
        EXPECT_EQ(valid_ipv4_addr(&out, row.addr, mask), 1) << dotted(row.addr);
        EXPECT_EQ(dotted(out), row.result) << dotted(row.addr);
    }
}

TEST(ValidIpv4Addr, RefusesNoAddressAndWritesNothing) {
    for (const char *mask : kMasks) {
        uint32_t out = 0x12345678;
        EXPECT_EQ(valid_ipv4_addr(&out, ip(0, 0, 0, 0), ::inet_addr(mask)), 0) << mask;
        EXPECT_EQ(valid_ipv4_addr(&out, ip(255, 255, 255, 255), ::inet_addr(mask)), 0) << mask;
        EXPECT_EQ(out, 0x12345678u) << mask;
        EXPECT_EQ(valid_ipv4_addr(nullptr, ip(10, 0, 0, 1), ::inet_addr(mask)), 0) << mask;
    }
}

// ---- Posted addresses ----

TEST(ScanIpv4, TakesAnAddressOrTheDefault) {
    const uint32_t stored = ip(10, 0, 0, 1);
    const uint32_t dflt = ip(192, 168, 1, 1);
    const struct {
        const char *label;
        const char *text;
        int result;
        const char *taken;
    } rows[] = {
        {"another address", "10.0.0.2", 1, "10.0.0.2"},
        {"the same address", "10.0.0.1", 0, "10.0.0.1"},
        {"every byte in its place", "1.2.3.4", 1, "1.2.3.4"},
        {"high bytes", "254.253.252.251", 1, "254.253.252.251"},
        {"zero address", "0.0.0.0", 1, "0.0.0.0"},
        {"almost broadcast", "255.255.255.254", 1, "255.255.255.254"},
        {"broadcast is none", "255.255.255.255", 1, "192.168.1.1"},
        {"empty", "", 1, "192.168.1.1"},
        {"word", "router", 1, "192.168.1.1"},
        {"byte above 255", "10.0.0.256", 1, "192.168.1.1"},
        {"five bytes", "10.0.0.1.2", 1, "192.168.1.1"},
        {"letters behind", "10.0.0.2x", 1, "192.168.1.1"},
        {"prefix behind", "10.0.0.2/8", 1, "192.168.1.1"},
        {"negative byte", "10.0.0.-2", 1, "192.168.1.1"},
        {"two parts, as the system reads them", "10.513", 1, "10.0.2.1"},
        {"three parts, as the system reads them", "10.1.513", 1, "10.1.2.1"},
        {"one part, as the system reads it", "167772162", 1, "10.0.0.2"},
        {"octal and hexadecimal, as the system reads them", "012.0x1.0.2", 1, "10.1.0.2"},
    };
    for (const auto &row : rows) {
        uint32_t addr = stored;
        EXPECT_EQ(scan_ipv4(row.text, &addr, dflt), row.result) << row.label;
        EXPECT_EQ(dotted(addr), row.taken) << row.label;
    }
}

TEST(ScanIpv4, BroadcastTextStoresTheDefaultIfItDiffers) {
    uint32_t addr = ip(10, 0, 0, 1);
    EXPECT_EQ(scan_ipv4("255.255.255.255", &addr, ip(10, 0, 0, 1)), 0);
    EXPECT_EQ(dotted(addr), "10.0.0.1");
    EXPECT_EQ(scan_ipv4("255.255.255.255", &addr, 0), 1);
    EXPECT_EQ(addr, 0u);
    EXPECT_EQ(scan_ipv4("255.255.255.255", &addr, 0), 0);
}

TEST(ScanIpv4, TheDefaultMayBeNoAddress) {
    uint32_t addr = ip(10, 0, 0, 1);
    EXPECT_EQ(scan_ipv4("x", &addr, kNone), 1);
    EXPECT_EQ(addr, kNone);
    EXPECT_EQ(scan_ipv4("x", &addr, kNone), 0);
}

TEST(ScanIpv4, NullArgumentsChangeNothing) {
    uint32_t addr = ip(10, 0, 0, 1);
    EXPECT_EQ(scan_ipv4(nullptr, &addr, ip(10, 0, 0, 2)), 0);
    EXPECT_EQ(dotted(addr), "10.0.0.1");
    EXPECT_EQ(scan_ipv4("10.0.0.2", nullptr, 0), 0);
    EXPECT_EQ(scan_ipv4(nullptr, nullptr, 0), 0);
}

TEST(ScanIpv4Netmask, KeepsThePrefixWithinItsLimits) {
    const struct {
        const char *label;
        const char *text;
        uint32_t min;
        uint32_t max;
        const char *mask;
    } rows[] = {
        {"within", "255.255.255.0", 8, 30, "255.255.255.0"},
        {"cut at the first zero bit", "255.255.0.255", 8, 30, "255.255.0.0"},
        {"below the minimum", "0.0.0.0", 8, 30, "255.0.0.0"},
        {"one below the minimum", "254.0.0.0", 8, 30, "255.0.0.0"},
        {"the minimum", "255.0.0.0", 8, 30, "255.0.0.0"},
        {"one above the minimum", "255.128.0.0", 8, 30, "255.128.0.0"},
        {"the maximum", "255.255.255.252", 8, 30, "255.255.255.252"},
        {"one above the maximum", "255.255.255.254", 8, 30, "255.255.255.252"},
        {"all ones", "255.255.255.255", 8, 30, "255.255.255.252"},
        {"no mask", "x", 8, 30, "255.255.255.252"},
        {"empty", "", 0, 30, "255.255.255.252"},
        {"no mask without limits", "x", 0, 32, "255.255.255.255"},
        {"no bits without limits", "0.0.0.0", 0, 32, "0.0.0.0"},
        {"no first bit", "127.255.255.255", 0, 32, "0.0.0.0"},
        {"an address", "192.168.1.1", 0, 32, "192.0.0.0"},
        {"equal limits", "255.255.255.0", 16, 16, "255.255.0.0"},
        {"limits of 0", "255.255.255.0", 0, 0, "0.0.0.0"},
        {"maximum below the minimum, below both", "0.0.0.0", 16, 8, "255.0.0.0"},
        {"maximum below the minimum, between", "255.240.0.0", 16, 8, "255.0.0.0"},
        {"maximum below the minimum, above both", "255.255.255.0", 16, 8, "255.0.0.0"},
        {"maximum below the minimum, at the minimum", "255.255.0.0", 16, 8, "255.0.0.0"},
        {"minimum above 32", "255.0.0.0", 40, 50, "255.255.255.255"},
        {"maximum above 32", "255.255.255.255", 0, 99, "255.255.255.255"},
        {"highest limits", "255.0.0.0", 0, 0xFFFFFFFF, "255.0.0.0"},
    };
    for (const auto &row : rows) {
        uint32_t mask = 0x12345678;
        EXPECT_EQ(scan_ipv4_netmask(row.text, &mask, row.min, row.max), 1) << row.label;
        EXPECT_EQ(dotted(mask), row.mask) << row.label;
    }
}

TEST(ScanIpv4Netmask, TakesAllMasks) {
    for (const char *text : kMasks) {
        uint32_t mask = 0x12345678;
        EXPECT_EQ(scan_ipv4_netmask(text, &mask, 0, 32), 1) << text;
        EXPECT_EQ(dotted(mask), text);
    }
}

TEST(ScanIpv4Netmask, ReturnsOneAlsoWhenNothingChanged) {
    uint32_t mask = ip(255, 255, 255, 0);
    EXPECT_EQ(scan_ipv4_netmask("255.255.255.0", &mask, 0, 32), 1);
    EXPECT_EQ(dotted(mask), "255.255.255.0");
}

TEST(ScanIpv4Netmask, NullArgumentsChangeNothing) {
    uint32_t mask = ip(255, 0, 0, 0);
    EXPECT_EQ(scan_ipv4_netmask(nullptr, &mask, 16, 24), 0);
    EXPECT_EQ(dotted(mask), "255.0.0.0");
    EXPECT_EQ(scan_ipv4_netmask("255.0.0.0", nullptr, 16, 24), 0);
    EXPECT_EQ(scan_ipv4_netmask(nullptr, nullptr, 16, 24), 0);
}

// ---- Posted networks ----

TEST(ScanIpv4Cidr, TakesAddressAndPrefix) {
    const uint32_t dflt = ip(192, 168, 1, 7);
    const struct {
        const char *label;
        const char *text;
        const char *kept;    ///< with host bits
        const char *masked;  ///< without
    } rows[] = {
        {"address and prefix", "192.168.1.7/24", "192.168.1.7/24", "192.168.1.0/24"},
        {"network", "10.0.0.0/8", "10.0.0.0/8", "10.0.0.0/8"},
        {"all host bits", "10.255.255.255/9", "10.255.255.255/9", "10.128.0.0/9"},
        {"prefix 31", "10.1.2.3/31", "10.1.2.3/31", "10.1.2.2/31"},
        {"prefix 32", "10.1.2.3/32", "10.1.2.3/32", "10.1.2.3/32"},
        {"prefix 33", "10.1.2.3/33", "10.1.2.3/32", "10.1.2.3/32"},
        {"prefix 99", "10.1.2.3/99", "10.1.2.3/32", "10.1.2.3/32"},
        {"prefix 0", "10.1.2.3/0", "10.1.2.3/0", "0.0.0.0/0"},
        {"no prefix behind the slash", "10.1.2.3/", "10.1.2.3/0", "0.0.0.0/0"},
        {"letters behind the prefix", "10.1.2.3/24x", "10.1.2.3/24", "10.1.2.0/24"},
        {"digits behind the letters", "10.1.2.3/8x4", "10.1.2.3/8", "10.0.0.0/8"},
        {"letters in place of the prefix", "10.1.2.3/x24", "10.1.2.3/0", "0.0.0.0/0"},
        {"blank in front of the prefix", "10.1.2.3/ 24", "10.1.2.3/0", "0.0.0.0/0"},
        {"sign in front of the prefix", "10.1.2.3/+24", "10.1.2.3/0", "0.0.0.0/0"},
        {"minus in front of the prefix", "10.1.2.3/-1", "10.1.2.3/0", "0.0.0.0/0"},
        {"leading zeros", "10.1.2.3/0016", "10.1.2.3/16", "10.1.0.0/16"},
        {"mask in place of the prefix", "10.1.2.3/255.255.0.0", "10.1.2.3/32", "10.1.2.3/32"},
        {"prefix of 2^32 - 1", "10.1.2.3/4294967295", "10.1.2.3/32", "10.1.2.3/32"},
        {"prefix of 2^32 is 0", "10.1.2.3/4294967296", "10.1.2.3/0", "0.0.0.0/0"},
        {"prefix of 2^32 + 16 is 16", "10.1.2.3/4294967312", "10.1.2.3/16", "10.1.0.0/16"},
        {"prefix of 2^33 + 40 is above 32", "10.1.2.3/8589934632", "10.1.2.3/32", "10.1.2.3/32"},
        {"no slash", "10.1.2.3", "10.1.2.3/32", "10.1.2.3/32"},
        {"two slashes", "10.1.2.3/8/24", "192.168.1.7/24", "192.168.1.0/24"},
        {"a slash at both ends", "/10.1.2.3/24", "192.168.1.7/24", "192.168.1.0/24"},
        {"two slashes at the end", "10.1.2.3//", "192.168.1.7/0", "0.0.0.0/0"},
        {"nothing but a slash", "/", "192.168.1.7/0", "0.0.0.0/0"},
        {"no address", "/16", "192.168.1.7/16", "192.168.0.0/16"},
        {"a word with a prefix", "net/16", "192.168.1.7/16", "192.168.0.0/16"},
        {"a word", "net", "192.168.1.7/32", "192.168.1.7/32"},
        {"empty", "", "192.168.1.7/32", "192.168.1.7/32"},
        {"broadcast is none", "255.255.255.255/8", "192.168.1.7/8", "192.0.0.0/8"},
        {"broadcast without a prefix is none", "255.255.255.255", "192.168.1.7/32",
         "192.168.1.7/32"},
        {"almost broadcast", "255.255.255.254/31", "255.255.255.254/31", "255.255.255.254/31"},
        {"zero address", "0.0.0.0/24", "0.0.0.0/0", "0.0.0.0/0"},
        {"zero address without a prefix", "0.0.0.0", "0.0.0.0/0", "0.0.0.0/0"},
        {"zero network keeps its prefix", "0.0.0.7/24", "0.0.0.7/24", "0.0.0.0/24"},
        {"short address, as the system reads it", "10.1/8", "10.0.0.1/8", "10.0.0.0/8"},
        {"no address in front of the blank", "10.1.2.x /8", "192.168.1.7/8", "192.0.0.0/8"},
    };
    for (const auto &row : rows) {
        ipv4_cidr cidr{ip(1, 2, 3, 4), 5};
        EXPECT_EQ(scan_ipv4cidr(row.text, &cidr, dflt, 0), 1) << row.label;
        EXPECT_EQ(dotted(cidr), row.kept) << row.label;
        EXPECT_EQ(scan_ipv4cidr(row.text, &cidr, dflt, 0), 0) << row.label << ", again";
        EXPECT_EQ(dotted(cidr), row.kept) << row.label << ", again";
        for (const int mask_host_bits : {1, -1, 256, INT_MIN}) {
            cidr = {ip(1, 2, 3, 4), 5};
            EXPECT_EQ(scan_ipv4cidr(row.text, &cidr, dflt, mask_host_bits), 1) << row.label;
            EXPECT_EQ(dotted(cidr), row.masked) << row.label << ", masked";
            EXPECT_EQ(scan_ipv4cidr(row.text, &cidr, dflt, mask_host_bits), 0) << row.label;
        }
    }
}

TEST(ScanIpv4Cidr, MasksTheHostBitsOfAllPrefixes) {
    for (unsigned prefix = 0; prefix <= 32; ++prefix) {
        ipv4_cidr cidr{ip(1, 2, 3, 4), 99};
        const std::string text = "255.255.255.254/" + std::to_string(prefix);
        EXPECT_EQ(scan_ipv4cidr(text.c_str(), &cidr, 0, 1), 1) << prefix;
        const std::string network = prefix == 32 ? "255.255.255.254" : kMasks[prefix];
        EXPECT_EQ(dotted(cidr), network + "/" + std::to_string(prefix));
        EXPECT_EQ(scan_ipv4cidr(text.c_str(), &cidr, 0, 0), prefix < 31 ? 1 : 0) << prefix;
        EXPECT_EQ(dotted(cidr), text);
    }
}

TEST(ScanIpv4Cidr, ChangesOnAnotherAddressOrPrefixOnly) {
    const struct {
        const char *label;
        const char *text;
        int mask_host_bits;
        int result;
        const char *cidr;
    } rows[] = {
        {"both equal", "192.168.1.0/24", 0, 0, "192.168.1.0/24"},
        {"another address", "192.168.2.0/24", 0, 1, "192.168.2.0/24"},
        {"another prefix", "192.168.1.0/25", 0, 1, "192.168.1.0/25"},
        {"both", "10.0.0.0/8", 0, 1, "10.0.0.0/8"},
        {"host bits", "192.168.1.7/24", 0, 1, "192.168.1.7/24"},
        {"host bits that are cleared", "192.168.1.7/24", 1, 0, "192.168.1.0/24"},
        {"default address, same prefix", "x/24", 0, 0, "192.168.1.0/24"},
        {"default address without a prefix", "x", 0, 1, "192.168.1.0/32"},
    };
    for (const auto &row : rows) {
        ipv4_cidr cidr{ip(192, 168, 1, 0), 24};
        EXPECT_EQ(scan_ipv4cidr(row.text, &cidr, ip(192, 168, 1, 0), row.mask_host_bits),
                  row.result)
            << row.label;
        EXPECT_EQ(dotted(cidr), row.cidr) << row.label;
    }
}

TEST(ScanIpv4Cidr, DefaultsThatAreNoAddress) {
    ipv4_cidr cidr{ip(10, 0, 0, 0), 8};
    EXPECT_EQ(scan_ipv4cidr("x/24", &cidr, 0, 0), 1);
    EXPECT_EQ(dotted(cidr), "0.0.0.0/0") << "an address of 0 has no prefix";
    EXPECT_EQ(scan_ipv4cidr("x", &cidr, 0, 1), 0);
    EXPECT_EQ(scan_ipv4cidr("255.255.255.255", &cidr, kNone, 0), 1);
    EXPECT_EQ(dotted(cidr), "255.255.255.255/32");
}

TEST(ScanIpv4Cidr, StoredPrefixAbove32DiffersFrom32) {
    ipv4_cidr cidr{ip(10, 0, 0, 1), 40};
    EXPECT_EQ(scan_ipv4cidr("10.0.0.1/40", &cidr, 0, 0), 1);
    EXPECT_EQ(dotted(cidr), "10.0.0.1/32");
}

TEST(ScanIpv4Cidr, NullArgumentsChangeNothing) {
    ipv4_cidr cidr{ip(10, 0, 0, 0), 8};
    EXPECT_EQ(scan_ipv4cidr(nullptr, &cidr, ip(10, 0, 0, 1), 1), 0);
    EXPECT_EQ(dotted(cidr), "10.0.0.0/8");
    EXPECT_EQ(scan_ipv4cidr("10.0.0.1/32", nullptr, 0, 1), 0);
    EXPECT_EQ(scan_ipv4cidr(nullptr, nullptr, 0, 1), 0);
}

TEST(ScanIpv4Cidr, TakesTextsOfAnyLength) {
    const std::string zeros(100000, '0');
    const std::string address = zeros + "1.2.3.4";
    ipv4_cidr cidr{};
    EXPECT_EQ(scan_ipv4cidr((address + "/8").c_str(), &cidr, 0, 0), 1);
    EXPECT_EQ(dotted(cidr), "1.2.3.4/8");
    EXPECT_EQ(scan_ipv4cidr(("10.0.0.1/" + zeros + "9").c_str(), &cidr, 0, 0), 1);
    EXPECT_EQ(dotted(cidr), "10.0.0.1/9");
    EXPECT_EQ(scan_ipv4cidr((std::string(1000000, 'x') + "/7").c_str(), &cidr, ip(9, 8, 7, 6), 0),
              1);
    EXPECT_EQ(dotted(cidr), "9.8.7.6/7");
    for (std::size_t length = 4080; length < 4110; ++length) {
        const std::string text = std::string(length - 7, '0') + "1.2.3.4/30";
        cidr = {};
        EXPECT_EQ(scan_ipv4cidr(text.c_str(), &cidr, 0, 0), 1) << length;
        EXPECT_EQ(dotted(cidr), "1.2.3.4/30") << length;
    }
}

TEST(ScanIpv4Cidr, FreesTheCopyOfALongText) {
    const std::string text = std::string(100000, '0') + "1.2.3.4/24";
    ipv4_cidr cidr{};
    const std::size_t before = qmv_test::held_memory();
    for (int i = 0; i < 3; ++i)
        scan_ipv4cidr(text.c_str(), &cidr, 0, 0);
    EXPECT_LT(qmv_test::held_memory(), before + 50000);
}

#if QMV_FAKE_ALLOCATION
TEST(ScanIpv4Cidr, TakesTheDefaultForTheAddressWithoutMemory) {
    const std::string text = std::string(100000, '0') + "1.2.3.4/24";
    ipv4_cidr cidr{};
    int result = -1;
    int failed = 0;
    {
        const qmv_test::AllocationFailure failure(0);
        result = scan_ipv4cidr(text.c_str(), &cidr, ip(192, 168, 1, 7), 1);
        failed = failure.failed();
    }
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(dotted(cidr), "192.168.1.0/24");
}
#endif

// ---- Boxes ----

TEST(GenXipv4Box, PrintsWholeTags) {
    const struct {
        const char *label;
        int size;
        uint32_t addr;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {"default size", 0, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"192.168.1.1\">"},
        {"size", 20, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" size=\"20\" maxlength=\"15\" value=\"192.168.1.1\">"},
        {"size 1", 1, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" size=\"1\" maxlength=\"15\" value=\"192.168.1.1\">"},
        {"no size", -1, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" maxlength=\"15\" value=\"192.168.1.1\">"},
        {"lowest size", INT_MIN, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" maxlength=\"15\" value=\"192.168.1.1\">"},
        {"largest size", INT_MAX, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" size=\"2147483647\" maxlength=\"15\" value=\"192.168.1.1\">"},
        {"every byte in its place", -1, ip(1, 2, 3, 4), 0,
         "<input type=\"text\" maxlength=\"15\" value=\"1.2.3.4\">"},
        {"zero address", -1, 0, 0, "<input type=\"text\" maxlength=\"15\" value=\"0.0.0.0\">"},
        {"no address", -1, kNone, 0,
         "<input type=\"text\" maxlength=\"15\" value=\"255.255.255.255\">"},
        {"read-only keeps maxlength", 0, ip(10, 0, 0, 1), PRINT_READONLY,
         "<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"10.0.0.1\" readonly>"},
        {"disabled shows its value", 0, ip(10, 0, 0, 1), PRINT_DISABLED,
         "<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"10.0.0.1\" disabled>"},
        {"flags of other boxes", 0, ip(10, 0, 0, 1),
         PRINT_PASSWORD | PRINT_MASKED | PRINT_DATA_VALUE | PRINT_SIZE,
         "<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"10.0.0.1\">"},
        {"all flags", -1, ip(10, 0, 0, 1), 0xFFFFFFFF,
         "<input type=\"text\" maxlength=\"15\" value=\"10.0.0.1\" checked disabled readonly"
         " selected style=\"display: none;\" style=\"visibility: hidden;\""
         " autocomplete=\"default\">"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_xipv4box(row.size, &row.addr, row.flags, nullptr);
        })) << row.label;
}

TEST(GenXipv4Box, PutsTheCallersAttributesRawInFrontOfTheFlags) {
    const uint32_t addr = ip(10, 0, 0, 1);
    EXPECT_TRUE(
        prints("<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"10.0.0.1\""
               " name=\"a<b&\" data-x='7%' disabled autocomplete=\"off\">",
               '>', [&] {
                   return gen_xipv4box(0, &addr, PRINT_DISABLED | PRINT_AUTOCOMPLETE_OFF,
                                       " name=\"%s\" data-x='%d%%'", "a<b&", 7);
               }));
}

TEST(GenXipv4Box, PrintsAnEmptyValueForNoAddress) {
    EXPECT_TRUE(prints("<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"\" id=\"i\">",
                       '>', [] { return gen_xipv4box(0, nullptr, 0, " id=\"%s\"", "i"); }));
}

TEST(GenIpv4Box, PrintsWholeTags) {
    const struct {
        const char *label;
        const char *name;
        uint32_t size;
        uint32_t addr;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {"default size", "lan_ip", 0, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" name=\"lan_ip\" size=\"15\" maxlength=\"15\""
         " value=\"192.168.1.1\">"},
        {"size", "lan_ip", 4, ip(192, 168, 1, 1), 0,
         "<input type=\"text\" name=\"lan_ip\" size=\"4\" maxlength=\"15\""
         " value=\"192.168.1.1\">"},
        {"largest size", "n", 0xFFFFFFFF, ip(1, 2, 3, 4), 0,
         "<input type=\"text\" name=\"n\" size=\"4294967295\" maxlength=\"15\""
         " value=\"1.2.3.4\">"},
        {"no name", nullptr, 0, ip(1, 2, 3, 4), 0,
         "<input type=\"text\" size=\"15\" maxlength=\"15\" value=\"1.2.3.4\">"},
        {"empty name", "", 0, ip(1, 2, 3, 4), 0,
         "<input type=\"text\" name=\"\" size=\"15\" maxlength=\"15\" value=\"1.2.3.4\">"},
        {"raw name", "a<&\"%s%n", 0, ip(1, 2, 3, 4), 0,
         "<input type=\"text\" name=\"a<&\"%s%n\" size=\"15\" maxlength=\"15\""
         " value=\"1.2.3.4\">"},
        {"flags", "n", 0, ip(255, 255, 255, 255), PRINT_READONLY | PRINT_DISABLED,
         "<input type=\"text\" name=\"n\" size=\"15\" maxlength=\"15\""
         " value=\"255.255.255.255\" disabled readonly>"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_ipv4box(row.name, row.size, &row.addr, row.flags);
        })) << row.label;
    EXPECT_TRUE(prints("<input type=\"text\" name=\"n\" size=\"15\" maxlength=\"15\" value=\"\">",
                       '>', [] { return gen_ipv4box("n", 0, nullptr, 0); }));
}

TEST(GenXipv4Cidr, PrintsWholeTags) {
    const struct {
        const char *label;
        int size;
        ipv4_cidr cidr;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {"default size",
         0,
         {ip(10, 0, 0, 0), 8},
         0,
         "<input type=\"text\" size=\"18\" maxlength=\"18\" value=\"10.0.0.0/8\">"},
        {"size",
         30,
         {ip(10, 0, 0, 0), 8},
         0,
         "<input type=\"text\" size=\"30\" maxlength=\"18\" value=\"10.0.0.0/8\">"},
        {"no size",
         -1,
         {ip(10, 0, 0, 0), 8},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"10.0.0.0/8\">"},
        {"lowest size",
         INT_MIN,
         {ip(10, 0, 0, 0), 8},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"10.0.0.0/8\">"},
        {"host bits and prefix 0",
         -1,
         {ip(10, 1, 2, 3), 0},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"10.1.2.3/0\">"},
        {"longest text",
         -1,
         {kNone, 32},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"255.255.255.255/32\">"},
        {"prefix 33 is shown as 32",
         -1,
         {ip(10, 0, 0, 1), 33},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"10.0.0.1/32\">"},
        {"prefix 40 is shown as 32",
         -1,
         {ip(10, 0, 0, 1), 40},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"10.0.0.1/32\">"},
        {"largest prefix is shown as 32",
         -1,
         {ip(10, 0, 0, 1), 0xFFFFFFFF},
         0,
         "<input type=\"text\" maxlength=\"18\" value=\"10.0.0.1/32\">"},
        {"read-only keeps maxlength",
         0,
         {ip(10, 0, 0, 1), 31},
         PRINT_READONLY,
         "<input type=\"text\" size=\"18\" maxlength=\"18\" value=\"10.0.0.1/31\" readonly>"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_xipv4cidr(row.size, &row.cidr, row.flags, nullptr);
        })) << row.label;
}

TEST(GenXipv4Cidr, PutsTheCallersAttributesRawInFrontOfTheFlags) {
    const ipv4_cidr cidr{ip(10, 0, 0, 0), 8};
    EXPECT_TRUE(prints(
        "<input type=\"text\" maxlength=\"18\" value=\"10.0.0.0/8\" name=\"<n>\""
        " disabled>",
        '>', [&] { return gen_xipv4cidr(-1, &cidr, PRINT_DISABLED, " name=\"%s\"", "<n>"); }));
    EXPECT_TRUE(prints("<input type=\"text\" size=\"18\" maxlength=\"18\" value=\"\" id=\"9\">",
                       '>', [] { return gen_xipv4cidr(0, nullptr, 0, " id=\"%d\"", 9); }));
}

TEST(GenIpv4Cidr, PrintsWholeTags) {
    const struct {
        const char *label;
        const char *name;
        uint32_t size;
        ipv4_cidr cidr;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {"default size",
         "net",
         0,
         {ip(192, 168, 1, 0), 24},
         0,
         "<input type=\"text\" name=\"net\" size=\"18\" maxlength=\"18\""
         " value=\"192.168.1.0/24\">"},
        {"size",
         "net",
         5,
         {ip(192, 168, 1, 0), 24},
         0,
         "<input type=\"text\" name=\"net\" size=\"5\" maxlength=\"18\""
         " value=\"192.168.1.0/24\">"},
        {"largest size",
         "net",
         0xFFFFFFFF,
         {ip(1, 2, 3, 4), 0},
         0,
         "<input type=\"text\" name=\"net\" size=\"4294967295\" maxlength=\"18\""
         " value=\"1.2.3.4/0\">"},
        {"no name",
         nullptr,
         0,
         {ip(1, 2, 3, 4), 32},
         0,
         "<input type=\"text\" size=\"18\" maxlength=\"18\" value=\"1.2.3.4/32\">"},
        {"raw name",
         "a<&\"%d",
         0,
         {ip(1, 2, 3, 4), 1},
         0,
         "<input type=\"text\" name=\"a<&\"%d\" size=\"18\" maxlength=\"18\""
         " value=\"1.2.3.4/1\">"},
        {"prefix above 32 is shown as 32",
         "n",
         0,
         {ip(1, 2, 3, 4), 40},
         0,
         "<input type=\"text\" name=\"n\" size=\"18\" maxlength=\"18\" value=\"1.2.3.4/32\">"},
        {"flags",
         "n",
         0,
         {kNone, 100},
         PRINT_READONLY | PRINT_DISABLED,
         "<input type=\"text\" name=\"n\" size=\"18\" maxlength=\"18\""
         " value=\"255.255.255.255/32\" disabled readonly>"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.tag, '>', [&] {
            return gen_ipv4cidr(row.name, row.size, &row.cidr, row.flags);
        })) << row.label;
    EXPECT_TRUE(prints("<input type=\"text\" name=\"n\" size=\"18\" maxlength=\"18\" value=\"\">",
                       '>', [] { return gen_ipv4cidr("n", 0, nullptr, 0); }));
}

TEST(Ipv4Boxes, ReturnMinusOneWhenTheOutputFails) {
    static const uint32_t addr = ip(10, 0, 0, 1);
    static const ipv4_cidr cidr{ip(10, 0, 0, 0), 8};
    const qmv_test::FailedOutput output =
        qmv_test::print_to(qmv_test::Sink::kFullDevice, {"none", _IONBF, 0},
                           {[] { return gen_xipv4box(0, &addr, 0, " x"); },
                            [] { return gen_ipv4box("n", 0, &addr, 0); },
                            [] { return gen_xipv4cidr(0, &cidr, 0, " x"); },
                            [] { return gen_ipv4cidr("n", 0, &cidr, 0); }});
    EXPECT_EQ(output, (qmv_test::FailedOutput{{-1, -1, -1, -1}, ""}));
}

// ---- Items ----

TEST(UpdateIpv4BoxItem, WritesAnotherAddressOnly) {
    const struct {
        const char *label;
        const char *before;
        uint32_t addr;
        int result;
        const char *after;
    } rows[] = {
        {"another address", "10.0.0.1\n", ip(10, 0, 0, 2), 9, "10.0.0.2\n"},
        {"a longer address", "10.0.0.1\n", ip(10, 0, 0, 11), 10, "10.0.0.11\n"},
        {"a shorter address", "10.0.0.11\n", ip(10, 0, 0, 1), 9, "10.0.0.1\n"},
        {"longest address", "", ip(255, 255, 255, 255), 16, "255.255.255.255\n"},
        {"zero address", "x\n", 0, 8, "0.0.0.0\n"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.before);
        EXPECT_EQ(update_ipv4box_item(item.dir(), item.name(), &row.addr), row.result) << row.label;
        EXPECT_EQ(item.content(), row.after) << row.label;
    }
    const uint32_t same = ip(192, 168, 100, 200);
    const ItemFile item("192.168.100.200\n");
    EXPECT_EQ(update_ipv4box_item(item.dir(), item.name(), &same), 0);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateIpv4BoxItem, FailsWithoutAnItemAndWritesNothingWithoutAnAddress) {
    const TempDir dir;
    const uint32_t addr = ip(10, 0, 0, 1);
    EXPECT_EQ(update_ipv4box_item(dir.path(), "missing", &addr), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_ipv4box_item(nullptr, "item", &addr), -1);
    EXPECT_EQ(update_ipv4box_item(dir.path(), nullptr, &addr), -1);
    const ItemFile item("10.0.0.9\n");
    EXPECT_EQ(update_ipv4box_item(item.dir(), item.name(), nullptr), 0);
    EXPECT_FALSE(item.touched());
}

TEST(RdIpv4BoxItem, ReadsTheAddressOrTakesTheDefault) {
    const struct {
        const char *label;
        const char *content;
        const char *addr;
    } rows[] = {
        {"address", "10.0.0.2\n", "10.0.0.2"},
        {"without a newline", "10.0.0.2", "10.0.0.2"},
        {"longest address", "192.168.100.200\n", "192.168.100.200"},
        {"second line", "10.0.0.2\n10.0.0.3\n", "10.0.0.2"},
        {"ends at a control character", "10.0.0.2\t9\n", "10.0.0.2"},
        {"no more than 15 characters are read", "192.168.100.2001\n", "192.168.100.200"},
        {"zero address", "0.0.0.0\n", "0.0.0.0"},
        {"broadcast is none", "255.255.255.255\n", "9.8.7.6"},
        {"network", "10.0.0.0/8\n", "9.8.7.6"},
        {"word", "router\n", "9.8.7.6"},
        {"empty line", "\n", "9.8.7.6"},
        {"empty", "", "9.8.7.6"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        uint32_t addr = ip(1, 1, 1, 1);
        EXPECT_EQ(rd_ipv4box_item(item.dir(), item.name(), &addr, ip(9, 8, 7, 6)), 0) << row.label;
        EXPECT_EQ(dotted(addr), row.addr) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(RdIpv4BoxItem, TakesTheDefaultWhenTheItemCannotBeRead) {
    const TempDir dir;
    const struct {
        const char *label;
        const char *dir;
        const char *name;
    } rows[] = {
        {"missing", dir.path(), "missing"},
        {"a directory", dir.path(), "."},
        {"no directory", nullptr, "item"},
        {"no name", dir.path(), nullptr},
    };
    for (const auto &row : rows) {
        uint32_t addr = ip(1, 1, 1, 1);
        EXPECT_EQ(rd_ipv4box_item(row.dir, row.name, &addr, ip(9, 8, 7, 6)), 1) << row.label;
        EXPECT_EQ(dotted(addr), "9.8.7.6") << row.label;
    }
    EXPECT_EQ(rd_ipv4box_item(dir.path(), "missing", nullptr, 0), 0);
}

TEST(UpdateIpv4CidrItem, WritesAnotherNetworkOnly) {
    const struct {
        const char *label;
        const char *before;
        ipv4_cidr cidr;
        int result;
        const char *after;
    } rows[] = {
        {"another network", "10.0.0.0/8\n", {ip(10, 0, 0, 0), 9}, 11, "10.0.0.0/9\n"},
        {"host bits stay", "", {ip(192, 168, 1, 7), 24}, 15, "192.168.1.7/24\n"},
        {"longest text", "", {kNone, 32}, 19, "255.255.255.255/32\n"},
        {"prefix 40 is written as it is", "", {ip(10, 0, 0, 1), 40}, 12, "10.0.0.1/40\n"},
        {"prefix 40 differs from 32", "10.0.0.1/32\n", {ip(10, 0, 0, 1), 40}, 12, "10.0.0.1/40\n"},
        {"largest prefix", "", {ip(1, 2, 3, 4), 0xFFFFFFFF}, 19, "1.2.3.4/4294967295\n"},
        {"cut to 18 characters", "", {kNone, 0xFFFFFFFF}, 19, "255.255.255.255/42\n"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.before);
        EXPECT_EQ(update_ipv4cidr_item(item.dir(), item.name(), &row.cidr), row.result)
            << row.label;
        EXPECT_EQ(item.content(), row.after) << row.label;
        EXPECT_EQ(update_ipv4cidr_item(item.dir(), item.name(), &row.cidr), 0) << row.label;
    }
    const ipv4_cidr same{ip(192, 168, 100, 200), 32};
    const ItemFile item("192.168.100.200/32\n");
    EXPECT_EQ(update_ipv4cidr_item(item.dir(), item.name(), &same), 0);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateIpv4CidrItem, FailsWithoutAnItemAndWritesNothingWithoutANetwork) {
    const TempDir dir;
    const ipv4_cidr cidr{ip(10, 0, 0, 0), 8};
    EXPECT_EQ(update_ipv4cidr_item(dir.path(), "missing", &cidr), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_ipv4cidr_item(nullptr, "item", &cidr), -1);
    EXPECT_EQ(update_ipv4cidr_item(dir.path(), nullptr, &cidr), -1);
    const ItemFile item("10.0.0.0/9\n");
    EXPECT_EQ(update_ipv4cidr_item(item.dir(), item.name(), nullptr), 0);
    EXPECT_FALSE(item.touched());
}

TEST(RdIpv4CidrItem, ReadsTheNetworkAndKeepsHostBits) {
    const struct {
        const char *label;
        const char *content;
        const char *cidr;
    } rows[] = {
        {"network", "10.0.0.0/8\n", "10.0.0.0/8"},
        {"host bits", "192.168.1.7/24\n", "192.168.1.7/24"},
        {"longest text", "192.168.100.200/32\n", "192.168.100.200/32"},
        {"no more than 18 characters are read", "192.168.100.200/161\n", "192.168.100.200/16"},
        {"address alone", "10.0.0.1\n", "10.0.0.1/32"},
        {"prefix above 32", "10.0.0.1/40\n", "10.0.0.1/32"},
        {"ends at a control character", "10.0.0.1/1\t6\n", "10.0.0.1/1"},
        {"no address", "x/16\n", "9.8.7.6/16"},
        {"broadcast is none", "255.255.255.255/8\n", "9.8.7.6/8"},
        {"zero address", "0.0.0.0/24\n", "0.0.0.0/0"},
        {"empty", "", "9.8.7.6/32"},
        {"as it was", "1.1.1.1/1\n", "1.1.1.1/1"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        ipv4_cidr cidr{ip(1, 1, 1, 1), 1};
        EXPECT_EQ(rd_ipv4cidr_item(item.dir(), item.name(), &cidr, ip(9, 8, 7, 6)), 0) << row.label;
        EXPECT_EQ(dotted(cidr), row.cidr) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(RdIpv4CidrItem, TakesTheDefaultWhenTheItemCannotBeRead) {
    const TempDir dir;
    const struct {
        const char *label;
        const char *dir;
        const char *name;
    } rows[] = {
        {"missing", dir.path(), "missing"},
        {"a directory", dir.path(), "."},
        {"no directory", nullptr, "item"},
        {"no name", dir.path(), nullptr},
    };
    for (const auto &row : rows) {
        ipv4_cidr cidr{ip(1, 1, 1, 1), 1};
        EXPECT_EQ(rd_ipv4cidr_item(row.dir, row.name, &cidr, ip(9, 8, 7, 6)), 1) << row.label;
        EXPECT_EQ(dotted(cidr), "9.8.7.6/32") << row.label;
        EXPECT_EQ(rd_ipv4cidr_item(row.dir, row.name, &cidr, 0), 1) << row.label;
        EXPECT_EQ(dotted(cidr), "0.0.0.0/0") << row.label;
    }
    EXPECT_EQ(rd_ipv4cidr_item(dir.path(), "missing", nullptr, 0), 0);
}

TEST(Ipv4Items, LeaveNoDescriptorOpen) {
    const ItemFile item("10.0.0.1/8\n");
    uint32_t addr = 0;
    ipv4_cidr cidr{};
    const int before = qmv_test::open_descriptors();
    for (const char *name : {item.name(), "missing"}) {
        rd_ipv4box_item(item.dir(), name, &addr, 0);
        rd_ipv4cidr_item(item.dir(), name, &cidr, 0);
        update_ipv4box_item(item.dir(), name, &addr);
        update_ipv4cidr_item(item.dir(), name, &cidr);
    }
    EXPECT_EQ(qmv_test::open_descriptors(), before);
}

}  // namespace
