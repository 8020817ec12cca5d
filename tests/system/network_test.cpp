// One interface and its IPv4 address. The list of them, IPv6 and PHYs have files of their own.
#include <errno.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <qmv/system.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "tests/fakes/device.h"
#include "tests/support/block.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/io.h"
#include "tests/support/own_network.h"

namespace {

using qmv_test::BlockBytes;
using qmv_test::DescriptorLimit;
using qmv_test::Device;
using qmv_test::in_own_network;
using qmv_test::open_descriptors;
using qmv_test::text;

/// What get_interface() makes of a record that holds something else.
interface_addr interface_of(const char *name, int expected = 0) {
    interface_addr record;
    std::memset(&record, 0xA5, sizeof record);
    const int before = open_descriptors();
    EXPECT_EQ(get_interface(name, &record), expected) << name;
    EXPECT_EQ(open_descriptors(), before) << "descriptors";
    return record;
}

/// The bytes of a record, without those that no field has.
std::string bytes_of(const interface_addr &record) {
    return std::string(reinterpret_cast<const char *>(&record), 58);
}

/// A record with an IPv4 address and netmask of four bytes each.
BlockBytes v4_record(const std::string &address, const std::string &mask, uint16_t flags) {
    return BlockBytes(58)
        .u16(0, AF_INET)
        .at(4, address)
        .u16(28, AF_INET)
        .at(32, mask)
        .u16(56, flags);
}

}  // namespace

TEST(InterfaceAddr, Has60Bytes) {
    EXPECT_EQ(sizeof(interface_addr), 60u);
    EXPECT_EQ(offsetof(interface_addr, addr), 0u);
    EXPECT_EQ(offsetof(interface_addr, mask), 28u);
    EXPECT_EQ(offsetof(interface_addr, flags), 56u);
}

TEST(GetInterface, ReadsTheLoopbackInterface) {
    in_own_network("link set lo up\n", [] {
        constexpr uint16_t kFlags = 0x1 | 0x8 | 0x40;  // up, loopback, running
        EXPECT_EQ(bytes_of(interface_of("lo")),
                  v4_record(text("\x7F\0\0\1"), text("\xFF\0\0\0"), kFlags).str());
    });
}

TEST(GetInterface, LeavesAddressesZeroWithoutAddress) {
    in_own_network("link add eth0 type veth peer name veth0\n", [] {
        EXPECT_EQ(bytes_of(interface_of("eth0")), BlockBytes(58).u16(56, 0x1002).str())
            << "broadcast and multicast, down";
        EXPECT_EQ(bytes_of(interface_of("lo")), BlockBytes(58).u16(56, 0x8).str()) << "loopback";
    });
}

TEST(GetInterface, ReadsTheFirstAddressAndItsNetmask) {
    in_own_network(
        "link add eth0 type veth peer name veth0\n"
        "addr add 192.0.2.1/24 dev eth0\n"
        "addr add 198.51.100.1/20 dev eth0\n"
        "addr add 203.0.113.1/32 dev eth0 label eth0:1\n"
        "addr add 10.0.0.1/8 dev veth0\n"
        "link set veth0 up\n",
        [] {
            EXPECT_EQ(bytes_of(interface_of("eth0")),
                      v4_record(text("\xC0\0\2\1"), text("\xFF\xFF\xFF\0"), 0x1002).str())
                << "down";
            const interface_addr label = interface_of("eth0:1");
            EXPECT_EQ(bytes_of(label),
                      v4_record(text("\xCB\0\x71\1"), "\xFF\xFF\xFF\xFF", 0x1002).str())
                << "an address with a label";
            const interface_addr up = interface_of("veth0");
            EXPECT_EQ(up.flags & IFF_UP, IFF_UP);
            EXPECT_EQ(bytes_of(up),
                      v4_record(text("\x0A\0\0\1"), text("\xFF\0\0\0"), up.flags).str())
                << "up";
        });
}

TEST(GetInterface, KeepsAllSixteenFlags) {
    in_own_network("link add eth0 type veth peer name veth0\nlink set eth0 dynamic on\n", [] {
        EXPECT_EQ(interface_of("eth0").flags, 0x9002) << "dynamic is the highest of them";
    });
}

TEST(GetInterface, FailsForAnInterfaceThatDoesNotExist) {
    for (const char *const name : {"qmv-none", "", "/", "lo\n", "qmv-none-qmv-none-qmv-none"}) {
        EXPECT_EQ(bytes_of(interface_of(name, -1)), BlockBytes(58, '\xA5').u16(56, 0).str())
            << testing::PrintToString(name) << ": flags is 0, the rest is left alone";
    }
}

TEST(GetInterface, CutsANameToFifteenCharacters) {
    in_own_network("link add abcdefghijklmno type veth peer name veth0\n", [] {
        EXPECT_EQ(interface_of("abcdefghijklmno").flags, 0x1002);
        EXPECT_EQ(interface_of("abcdefghijklmnop").flags, 0x1002) << "16 characters";
        EXPECT_EQ(interface_of("abcdefghijklmnopqrstuvwxyz").flags, 0x1002);
        EXPECT_EQ(interface_of("abcdefghijklmn", -1).flags, 0) << "14 characters";
    });
}

TEST(GetInterface, FailsForNullArguments) {
    interface_addr record{};
    EXPECT_EQ(get_interface(nullptr, &record), -1);
    EXPECT_EQ(get_interface("lo", nullptr), -1);
    EXPECT_EQ(get_interface(nullptr, nullptr), -1);
}

TEST(GetInterface, FailsWithoutSocket) {
    interface_addr record;
    std::memset(&record, 0xA5, sizeof record);
    const DescriptorLimit none;
    EXPECT_EQ(get_interface("lo", &record), -1);
    EXPECT_EQ(record.flags, 0);
}

TEST(GetInterface, MakesItsRequestsOneBehindTheOther) {
    const auto named = [](const std::string &answer) {
        return [answer](int, void *block) {
            EXPECT_STREQ(static_cast<const char *>(block), "eth0");
            std::memcpy(static_cast<char *>(block) + 16, answer.data(), answer.size());
            return 0;
        };
    };
    const std::string flags = BlockBytes(16).u16(0, 0xFFFF).str();
    const std::string address = BlockBytes(16).u16(0, AF_INET).at(4, "\xC0\xA8\x01\x02").str();
    const std::string mask = BlockBytes(16).u16(0, AF_INET).at(4, text("\xFF\xFF\xFC\0")).str();
    {
        Device device;
        device.expects(SIOCGIFFLAGS, named(flags))
            .expects(SIOCGIFADDR, named(address))
            .expects(SIOCGIFNETMASK, named(mask));
        EXPECT_EQ(bytes_of(interface_of("eth0")),
                  v4_record("\xC0\xA8\x01\x02", text("\xFF\xFF\xFC\0"), 0xFFFF).str());
        EXPECT_EQ(device.unused(), 0u);
    }
    {
        Device device;
        device.expects(SIOCGIFFLAGS, named(flags))
            .expects(SIOCGIFADDR, named(address))
            .fails(SIOCGIFNETMASK, EADDRNOTAVAIL);
        EXPECT_EQ(bytes_of(interface_of("eth0")),
                  BlockBytes(58).u16(0, AF_INET).at(4, "\xC0\xA8\x01\x02").u16(56, 0xFFFF).str())
            << "no netmask";
        EXPECT_EQ(device.unused(), 0u);
    }
    Device device;
    device.expects(SIOCGIFFLAGS, named(flags)).fails(SIOCGIFADDR, EADDRNOTAVAIL);
    EXPECT_EQ(bytes_of(interface_of("eth0")), BlockBytes(58).u16(56, 0xFFFF).str())
        << "no address: the netmask is not asked for";
    EXPECT_EQ(device.unused(), 0u);
}

TEST(CfgInterface, LeavesOutAllButIpAddresses) {
    const auto of_family = [](int family) {
        sockaddr_storage address{};
        address.ss_family = static_cast<sa_family_t>(family);
        return cfg_interface(reinterpret_cast<const sockaddr *>(&address), 0);
    };
    EXPECT_EQ(of_family(AF_INET), 0u);
    EXPECT_EQ(of_family(AF_INET6), 0u);
    for (const int family : {AF_UNSPEC, AF_UNIX, AF_PACKET, AF_NETLINK, AF_INET + 0x100, 0xFFFF})
        EXPECT_EQ(of_family(family), 1u) << "family " << family;
    EXPECT_EQ(cfg_interface(nullptr, 0), 1u);
}

TEST(CfgInterface, ReturnsSkipWhenItIsNotZero) {
    for (const int family : {AF_INET, AF_INET6, AF_UNIX}) {
        sockaddr address{};
        address.sa_family = static_cast<sa_family_t>(family);
        for (const uint32_t skip : {1u, 2u, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_EQ(cfg_interface(&address, skip), skip) << "family " << family;
    }
    EXPECT_EQ(cfg_interface(nullptr, 5), 5u);
}
