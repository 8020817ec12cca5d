// IPv6 addresses of interfaces.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <qmv/system.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/fakes/device.h"
#include "tests/support/block.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/io.h"
#include "tests/support/own_network.h"
#include "tests/support/packets.h"

namespace {

using qmv_test::BlockBytes;
using qmv_test::DescriptorLimit;
using qmv_test::in_own_network;
using qmv_test::InputFile;
using qmv_test::open_descriptors;
using qmv_test::OpenInstead;
using qmv_test::Packets;
using qmv_test::run_child;
using qmv_test::TempDir;
using qmv_test::text;

constexpr char kTable[] = "/proc/net/if_inet6";
constexpr char kLinkLocal[] = "fe80000000000000021122fffe334455";
constexpr char kGlobal[] = "20010db8000000000000000000000001";

/// A record without the bytes that no field has.
using Records = std::vector<std::string>;
Records noted;

int note(interface_addr *record) {
    noted.emplace_back(reinterpret_cast<const char *>(record), 58);
    std::memset(record, 0xFF, sizeof *record);
    return -1;
}

/// A record with an address of 16 bytes.
std::string v6_record(const std::string &address, uint32_t scope, uint32_t index, uint32_t prefix,
                      uint32_t flags) {
    return BlockBytes(58)
        .u16(0, AF_INET6)
        .at(8, address)
        .u32(24, scope)
        .u32(28, index)
        .u32(32, prefix)
        .u32(36, flags)
        .str();
}

/// One line as the kernel writes it.
std::string line(const std::string &name, const std::string &address = kGlobal) {
    return address + " 03 40 00 80 " + std::string(name.size() < 8 ? 8 - name.size() : 0, ' ') +
           name + "\n";
}

/// What read_interface6_conf() returns for a file, and the records that it hands over.
struct Listing {
    int result;
    Records records;
};

Listing list_file(const std::string &path, const char *ifname) {
    noted.clear();
    const int before = open_descriptors();
    const OpenInstead table(kTable, path);
    const int result = read_interface6_conf(ifname, note);
    EXPECT_EQ(table.times(), 1);
    EXPECT_EQ(table.flags() & O_ACCMODE, O_RDONLY);
    EXPECT_EQ(open_descriptors(), before) << "descriptors";
    return {result, noted};
}

Listing list(const std::string &content, const char *ifname) {
    const InputFile file(content);
    return list_file("/proc/self/fd/" + std::to_string(file.fd()), ifname);
}

/// Number of records, which must be the result as well.
int count(const std::string &content, const char *ifname) {
    const Listing all = list(content, ifname);
    EXPECT_EQ(static_cast<std::size_t>(all.result), all.records.size()) << content;
    return all.result;
}

}  // namespace

TEST(ReadInterface6Conf, ListsLinkLocalAndGlobalAddressOfAnInterface) {
    in_own_network(
        "link add eth0 index 300 type veth peer name veth0 index 301\n"
        "link set eth0 addrgenmode none\n"
        "link set veth0 addrgenmode none\n"
        "link set eth0 up\n"
        "link set veth0 up\n"
        "addr add fe80::211:22ff:fe33:4455/64 dev eth0 nodad\n"
        "addr add 2001:db8::1/128 dev eth0 nodad\n"
        "addr add 2001:db8::2/96 dev veth0 nodad\n"
        "addr add 192.0.2.1/24 dev eth0\n",
        [] {
            noted.clear();
            const int before = open_descriptors();
            ASSERT_EQ(read_interface6_conf("eth0", note), 2);
            EXPECT_EQ(open_descriptors(), before) << "descriptors";
            ASSERT_EQ(noted.size(), 2u);
            const std::string local = v6_record(text("\xFE\x80\0\0\0\0\0\0\2\x11\x22\xFF\xFE\x33"
                                                     "\x44\x55"),
                                                0x20, 300, 64, 0x82);
            const std::string global =
                v6_record(text("\x20\1\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\1"), 0, 300, 128, 0x82);
            EXPECT_EQ(std::count(noted.begin(), noted.end(), local), 1)
                << "permanent, no detection";
            EXPECT_EQ(std::count(noted.begin(), noted.end(), global), 1);

            noted.clear();
            EXPECT_EQ(read_interface6_conf("veth0", note), 1);
            EXPECT_EQ(noted, Records{v6_record(text("\x20\1\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\2"), 0,
                                               301, 96, 0x82)});
            noted.clear();
            EXPECT_EQ(read_interface6_conf(nullptr, note), 3);
            EXPECT_EQ(read_interface6_conf("lo", note), 0);
            EXPECT_EQ(read_interface6_conf("eth", note), 0);
            EXPECT_EQ(noted, Records{});
        });
}

TEST(ReadInterface6Conf, ListsTheLoopbackAddress) {
    in_own_network("addr add ::1/128 dev lo nodad\nlink set lo up\n", [] {
        noted.clear();
        EXPECT_EQ(read_interface6_conf("lo", note), 1);
        EXPECT_EQ(noted,
                  Records{v6_record(text("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1"), 0x10, 1, 128, 0x82)});
    });
}

TEST(ReadInterface6Conf, FillsTheRecordFromTheLine) {
    const Listing all = list("000102030405060708090a0b0c0d0e0f 1f 80 20 c0     eth0\n", "eth0");
    EXPECT_EQ(all.result, 1);
    EXPECT_EQ(all.records,
              Records{v6_record(text("\0\1\2\3\4\5\6\7\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F"), 0x20,
                                0x1F, 128, 0xC0)})
        << "all numbers are hexadecimal, and the address keeps the order of its bytes";
}

TEST(ReadInterface6Conf, KeepsAll32BitsOfEachNumber) {
    const Listing all =
        list("ffffffff80000000fedcba987fffffff 89abcdef 80000000 ffffffff fffffffe eth0\n", "eth0");
    EXPECT_EQ(all.records,
              Records{v6_record("\xFF\xFF\xFF\xFF" + text("\x80\0\0\0\xFE\xDC\xBA\x98\x7F\xFF\xFF"
                                                          "\xFF"),
                                0xFFFFFFFF, 0x89ABCDEF, 0x80000000, 0xFFFFFFFE)});
}

TEST(ReadInterface6Conf, CallsBackForEachAddressOfTheInterfaceInOrder) {
    const Listing all = list(line("eth0", kLinkLocal) + line("eth1", kGlobal) +
                                 line("eth0", kGlobal) + line("lo", kGlobal),
                             "eth0");
    EXPECT_EQ(all.result, 2);
    EXPECT_EQ(all.records,
              (Records{v6_record(text("\xFE\x80\0\0\0\0\0\0\2\x11\x22\xFF\xFE\x33\x44\x55"), 0, 3,
                                 64, 0x80),
                       v6_record(text("\x20\1\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\1"), 0, 3, 64, 0x80)}));
}

TEST(ReadInterface6Conf, ComparesWholeNames) {
    const std::string table =
        line("eth0") + line("eth01") + line("eth") + line("veth0") + line("eth0.1") + line("Eth0");
    EXPECT_EQ(count(table, "eth0"), 1);
    EXPECT_EQ(count(table, "eth01"), 1);
    EXPECT_EQ(count(table, "eth"), 1);
    EXPECT_EQ(count(table, "et"), 0);
    EXPECT_EQ(count(table, "eth0.1"), 1);
    EXPECT_EQ(count(table, "eth0.11"), 0);
    EXPECT_EQ(count(table, " eth0"), 0);
    EXPECT_EQ(count(table, ""), 0);
}

TEST(ReadInterface6Conf, CountsAllAddressesWithoutCallForNullName) {
    const std::string table = line("eth0") + line("eth1") + "no address\n" + line("lo");
    const Listing all = list(table, nullptr);
    EXPECT_EQ(all.result, 3);
    EXPECT_EQ(all.records, Records{});
}

TEST(ReadInterface6Conf, AllowsNullCallback) {
    const TempDir dir;
    const OpenInstead table(
        kTable, dir.write("if_inet6", line("eth0") + line("lo") + line("eth0", kLinkLocal)));
    EXPECT_EQ(read_interface6_conf("eth0", nullptr), 2);
    EXPECT_EQ(read_interface6_conf("eth1", nullptr), 0);
    EXPECT_EQ(read_interface6_conf(nullptr, nullptr), 3);
    EXPECT_EQ(table.times(), 3);
}

TEST(ReadInterface6Conf, LeavesOutALastLineWithoutNewline) {
    const std::string last = line("eth0", kLinkLocal);
    EXPECT_EQ(count(line("eth0") + last.substr(0, last.size() - 1), "eth0"), 1);
    EXPECT_EQ(count(last.substr(0, last.size() - 1), "eth0"), 0);
    EXPECT_EQ(list(last.substr(0, last.size() - 1), nullptr).result, 0);
}

TEST(ReadInterface6Conf, SkipsLinesThatDoNotGiveAllNineFields) {
    const std::string address = kGlobal;
    const std::string lines[] = {
        "\n",
        "\n\n\n",
        " \n",
        address + "\n",
        address + " 03\n",
        address + " 03 40\n",
        address + " 03 40 00\n",
        address + " 03 40 00 80\n",
        address + " 03 40 00 80 \n",
        address + " 03 40 00 lo\n",
        address + " lo\n",
        "lo\n",
        "20010db80000000000000000000000zz 03 40 00 80 lo\n",
        "20010db800000000000000 03 40 00 80 lo\n",
        "x" + address + " 03 40 00 80 lo\n",
        address + " x3 40 00 80 lo\n",
        address + " 03 x0 00 80 lo\n",
        address + " 03 40 x0 80 lo\n",
        address + " 03 40 00 x0 lo\n",
        address.substr(0, 24) + " eth0 03 40 00 80 lo\n",
    };
    for (const std::string &malformed : lines) {
        const Listing alone = list(malformed, nullptr);
        EXPECT_EQ(alone.result, 0) << malformed;
        EXPECT_EQ(count(line("eth0") + malformed + line("eth0"), "eth0"), 2)
            << "between two lines: " << malformed;
    }
}

TEST(ReadInterface6Conf, IgnoresWhatStandsBehindTheName) {
    EXPECT_EQ(count(std::string(kGlobal) + " 03 40 00 80 eth0 more\n", "eth0"), 1);
}

TEST(ReadInterface6Conf, ReadsSixteenCharactersOfANameAtMost) {
    const std::string name = "abcdefghijklmnop";
    EXPECT_EQ(count(line(name), name.c_str()), 1) << "16 characters";
    EXPECT_EQ(count(line(name.substr(0, 15)), name.c_str()), 0);
    EXPECT_EQ(count(line(name), name.substr(0, 15).c_str()), 0);
    EXPECT_EQ(count(line(name + "q"), name.c_str()), 1) << "cut";
    EXPECT_EQ(count(line(name + "q"), (name + "q").c_str()), 0);
    EXPECT_EQ(count(line(name + std::string(3000, 'q')), name.c_str()), 1);
}

TEST(ReadInterface6Conf, ReadsTheFirst4095BytesOnly) {
    std::string table;
    for (int i = 0; i < 75; ++i)
        table += line("eth0");
    ASSERT_EQ(table.size(), 4050u);
    EXPECT_EQ(count(table, "eth0"), 75);
    const std::string last = "20010db8000000000000000000000001 3 40 0 80 e\n";
    ASSERT_EQ(last.size(), 45u);
    EXPECT_EQ(list(table + last, nullptr).result, 76) << "4095 bytes";
    EXPECT_EQ(list(table + " " + last, nullptr).result, 75) << "4096 bytes";
    EXPECT_EQ(count(table + table, "eth0"), 75) << "a line that is cut";
    EXPECT_EQ(list(table + last + table, nullptr).result, 76) << "much more";
    EXPECT_EQ(list(std::string(5000, 'x'), nullptr).result, 0) << "no line within";
    EXPECT_EQ(list(std::string(5000, '\n'), nullptr).result, 0) << "nothing but newlines";
    EXPECT_EQ(list(std::string(4040, ' ') + line("eth0"), nullptr).result, 1) << "4094 bytes";
}

TEST(ReadInterface6Conf, JoinsWhatIsReadInPieces) {
    const Packets pieces(line("eth0") + line("lo") + line("eth0"), 20);
    EXPECT_EQ(list_file(pieces.path(), "eth0").result, 2);
}

TEST(ReadInterface6Conf, EndsAtANulByte) {
    EXPECT_EQ(count(line("eth0") + '\0' + line("eth0"), "eth0"), 1);
    EXPECT_EQ(count('\0' + line("eth0"), "eth0"), 0);
}

TEST(ReadInterface6Conf, ReturnsZeroForAnEmptyFile) {
    EXPECT_EQ(list("", "eth0").result, 0);
    EXPECT_EQ(list("", nullptr).result, 0);
}

TEST(ReadInterface6Conf, ReturnsZeroForAnUnreadableFile) {
    const TempDir directory;
    EXPECT_EQ(list_file(directory.path(), "eth0").result, 0);
    EXPECT_EQ(list_file(directory.path(), nullptr).result, 0);
}

TEST(ReadInterface6Conf, FailsWhenTheFileCannotBeOpened) {
    const TempDir dir;
    EXPECT_EQ(list_file(dir.file("none"), "eth0").result, -1);
    EXPECT_EQ(list_file(dir.file("none"), nullptr).result, -1);
    noted.clear();
    const DescriptorLimit none;
    EXPECT_EQ(read_interface6_conf("eth0", note), -1);
    EXPECT_EQ(noted, Records{});
}

TEST(ReadInterface6Conf, ForgetsWhatItReadBefore) {
    // The lines behind the NUL are not looked at, and not changed in memory.
    const InputFile longer('\0' + std::string(line("lo").size() - 1, ' ') + line("eth0") +
                           line("eth0"));
    const InputFile shorter(line("eth0"));
    int results[2] = {};
    for (int i = 0; i < 2; ++i) {
        const int fd = i == 0 ? longer.fd() : shorter.fd();
        const OpenInstead table(kTable, "/proc/self/fd/" + std::to_string(fd));
        results[i] = read_interface6_conf("eth0", nullptr);
    }
    EXPECT_EQ(results[0], 0);
    EXPECT_EQ(results[1], 1);
}

TEST(ReadInterface6Conf, ReadsThroughDescriptorZeroAsWell) {
    const auto child = run_child("", [] {
        ::close(STDIN_FILENO);
        // The first free descriptor is 0 again once the file has another one.
        const int zero = ::dup(STDOUT_FILENO);
        const InputFile file(line("eth0"));
        ::close(zero);
        EXPECT_EQ(list_file("/proc/self/fd/" + std::to_string(file.fd()), "eth0").result, 1);
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}
