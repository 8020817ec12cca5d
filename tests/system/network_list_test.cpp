// The list of interfaces and their IPv4 addresses.
#include <arpa/inet.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <qmv/system.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/fakes/device.h"
#include "tests/support/block.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"
#include "tests/support/own_network.h"

namespace {

using qmv_test::BlockBytes;
using qmv_test::DescriptorLimit;
using qmv_test::Device;
using qmv_test::in_own_network;
using qmv_test::open_descriptors;
using qmv_test::run_child;
using qmv_test::text;

/// Bytes of one record of the kernel's list.
constexpr int kRecord = sizeof(void *) == 8 ? 40 : 32;

std::string dotted(const sockaddr *address) {
    sockaddr_in v4;
    std::memcpy(&v4, address, sizeof v4);
    char shown[INET_ADDRSTRLEN];
    return v4.sin_family == AF_INET ? ::inet_ntop(AF_INET, &v4.sin_addr, shown, sizeof shown)
                                    : "family " + std::to_string(v4.sin_family);
}

std::vector<std::string> noted;

int note(ifreq *record, int index) {
    const std::string name(record->ifr_name, ::strnlen(record->ifr_name, sizeof record->ifr_name));
    noted.push_back(std::to_string(index) + " " + name + " " + dotted(&record->ifr_addr));
    return -1;
}

/// What read_interface_conf() returns, and number, name and address of each record.
struct Listing {
    int result;
    std::vector<std::string> records;
};

Listing list(const char *prefix) {
    noted.clear();
    const int before = open_descriptors();
    const int result = read_interface_conf(prefix, note);
    EXPECT_EQ(open_descriptors(), before) << "descriptors";
    return {result, noted};
}

/// A list as the kernel gives it, of records with these names and the addresses 192.0.2.1, .2, ...
std::string kernel_list(const std::vector<std::string> &names) {
    std::string list;
    for (const std::string &name : names) {
        const auto host = static_cast<char>(list.size() / kRecord + 1);
        BlockBytes record(kRecord);
        record.at(0, name).u16(16, AF_INET).at(20, text("\xC0\0\2") + host);
        list += record.str();
    }
    return list;
}

/// Answers a request for the list: the caller must have room for `room` bytes, gets as many bytes
/// of the list as fit and is told that there are `length`.
Device::Driver gives_list(int room, const std::string &list, int length) {
    return [=](int fd, void *block) {
        auto *const request = static_cast<ifconf *>(block);
        EXPECT_EQ(request->ifc_len, room);
        std::memset(request->ifc_buf, 0xEE, static_cast<std::size_t>(request->ifc_len));
        std::memcpy(request->ifc_buf, list.data(),
                    std::min(list.size(), static_cast<std::size_t>(request->ifc_len)));
        request->ifc_len = length;
        int domain = 0;
        int type = 0;
        socklen_t size = sizeof domain;
        ::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size);
        ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size);
        EXPECT_EQ(domain, AF_INET);
        EXPECT_EQ(type, SOCK_DGRAM);
        return 0;
    };
}

/// Leaves a request for the list to the kernel, when the caller has room for `room` bytes.
Device::Driver real_list(int room) {
    return [room](int fd, void *block) {
        EXPECT_EQ(static_cast<ifconf *>(block)->ifc_len, room);
        return static_cast<int>(::syscall(SYS_ioctl, fd, SIOCGIFCONF, block));
    };
}

/// Commands that give an interface the addresses 10.1.0.1, 10.1.0.2, ...
std::string addresses(const std::string &interface, int count) {
    std::string commands;
    for (int i = 1; i <= count; ++i)
        commands += "addr add 10.1.0." + std::to_string(i) + "/32 dev " + interface + "\n";
    return commands;
}

std::vector<std::string> listed_addresses(const std::string &interface, int count) {
    std::vector<std::string> records;
    for (int i = 0; i < count; ++i) {
        records.push_back(std::to_string(i) + " " + interface + " 10.1.0." + std::to_string(i + 1));
    }
    return records;
}

const std::vector<std::string> kNone;

}  // namespace

TEST(ReadInterfaceConf, ListsTheLoopbackInterface) {
    in_own_network("link set lo up\n", [] {
        const Listing all = list(nullptr);
        EXPECT_EQ(all.result, 0);
        EXPECT_EQ(all.records, std::vector<std::string>{"0 lo 127.0.0.1"});
    });
}

TEST(ReadInterfaceConf, ListsNothingWithoutAddresses) {
    in_own_network("link add eth0 type lone\nlink set eth0 up\n", [] {
        const Listing all = list(nullptr);
        EXPECT_EQ(all.result, 0);
        EXPECT_EQ(all.records, kNone);
    });
}

TEST(ReadInterfaceConf, SelectsInterfacesWhoseNameBeginsWithThePrefix) {
    in_own_network(
        "link add eth0 index 10 type veth peer name veth0 index 20\n"
        "link add eth1 index 11 type veth peer name veth1 index 21\n"
        "addr add 10.0.0.1/24 dev eth0\n"
        "addr add 10.0.1.1/24 dev eth1\n"
        "addr add 10.0.2.1/24 dev veth0\n",
        [] {
            using Records = std::vector<std::string>;
            EXPECT_EQ(list("eth").records, (Records{"0 eth0 10.0.0.1", "1 eth1 10.0.1.1"}));
            EXPECT_EQ(list("eth1").records, Records{"0 eth1 10.0.1.1"}) << "counted from 0";
            EXPECT_EQ(list("veth").records, Records{"0 veth0 10.0.2.1"});
            EXPECT_EQ(list("v").records, Records{"0 veth0 10.0.2.1"});
            EXPECT_EQ(list("eth00").records, kNone) << "longer than the name";
            EXPECT_EQ(list("Eth").records, kNone);
            EXPECT_EQ(list("th").records, kNone);
            EXPECT_EQ(list(nullptr).records.size(), 3u);
            EXPECT_EQ(list("").records, list(nullptr).records);
            EXPECT_EQ(list("wlan").result, 0) << "none is no failure";
        });
}

TEST(ReadInterfaceConf, ListsEveryAddressOfAnInterfaceByItsLabel) {
    in_own_network(
        "link add eth0 type lone\n"
        "addr add 192.0.2.1/24 dev eth0\n"
        "addr add 198.51.100.1/24 dev eth0\n"
        "addr add 203.0.113.1/24 dev eth0 label eth0:1\n",
        [] {
            EXPECT_EQ(list("eth0").records,
                      (std::vector<std::string>{"0 eth0 192.0.2.1", "1 eth0 198.51.100.1",
                                                "2 eth0:1 203.0.113.1"}));
        });
}

TEST(ReadInterfaceConf, AsksOnceFor29Addresses) {
    in_own_network("link add eth0 type lone\n" + addresses("eth0", 29), [] {
        Device device;
        device.expects(SIOCGIFCONF, real_list(30 * kRecord));
        EXPECT_EQ(list("").records, listed_addresses("eth0", 29));
        EXPECT_EQ(device.unused(), 0u);
    });
}

TEST(ReadInterfaceConf, AsksTwiceFor30To39Addresses) {
    for (const int count : {30, 31, 39}) {
        in_own_network("link add eth0 type lone\n" + addresses("eth0", count), [count] {
            Device device;
            device.expects(SIOCGIFCONF, real_list(30 * kRecord))
                .expects(SIOCGIFCONF, real_list(40 * kRecord));
            EXPECT_EQ(list("").records, listed_addresses("eth0", count));
            EXPECT_EQ(device.unused(), 0u);
        });
    }
}

TEST(ReadInterfaceConf, AsksThreeTimesFor40Addresses) {
    in_own_network("link add eth0 type lone\n" + addresses("eth0", 40), [] {
        Device device;
        device.expects(SIOCGIFCONF, real_list(30 * kRecord))
            .expects(SIOCGIFCONF, real_list(40 * kRecord))
            .expects(SIOCGIFCONF, real_list(50 * kRecord));
        EXPECT_EQ(list("").records, listed_addresses("eth0", 40));
        EXPECT_EQ(device.unused(), 0u);
    });
}

TEST(ReadInterfaceConf, AsksTwiceFor31Interfaces) {
    std::string commands;
    for (int i = 1; i <= 31; ++i) {
        const std::string name = "eth" + std::to_string(i);
        commands += "link add " + name + " index " + std::to_string(100 + i) +
                    " type lone\naddr add 10.0.0." + std::to_string(i) + "/32 dev " + name + "\n";
    }
    in_own_network(commands, [] {
        Device device;
        device.expects(SIOCGIFCONF, real_list(30 * kRecord))
            .expects(SIOCGIFCONF, real_list(40 * kRecord));
        const Listing all = list("");
        ASSERT_EQ(all.records.size(), 31u);
        EXPECT_EQ(all.records.front(), "0 eth1 10.0.0.1");
        EXPECT_EQ(all.records.back(), "30 eth31 10.0.0.31");
        EXPECT_EQ(device.unused(), 0u);
    });
}

TEST(ReadInterfaceConf, GrowsUntilTheListDoesNotFillTheBuffer) {
    const std::string three = kernel_list({"eth0", "eth1", "lo"});
    Device device;
    for (const int records : {30, 40, 50})
        device.expects(SIOCGIFCONF, gives_list(records * kRecord, "", records * kRecord));
    device.expects(SIOCGIFCONF, gives_list(60 * kRecord, three, 3 * kRecord));
    const Listing all = list(nullptr);
    EXPECT_EQ(all.result, 0);
    EXPECT_EQ(all.records,
              (std::vector<std::string>{"0 eth0 192.0.2.1", "1 eth1 192.0.2.2", "2 lo 192.0.2.3"}));
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, StopsWhenTheListIsOneByteShorterThanTheBuffer) {
    std::string list_of_29;
    for (int i = 0; i < 29; ++i)
        list_of_29 += kernel_list({"eth0"});
    Device device;
    device.expects(SIOCGIFCONF, gives_list(30 * kRecord, list_of_29, 30 * kRecord - 1));
    EXPECT_EQ(list(nullptr).records.size(), 29u) << "and leaves out the record that was cut";
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, LeavesOutARecordThatWasCut) {
    const std::string three = kernel_list({"eth0", "eth1", "lo"});
    Device device;
    device.expects(SIOCGIFCONF, gives_list(30 * kRecord, three, 2 * kRecord + 20));
    EXPECT_EQ(list(nullptr).records,
              (std::vector<std::string>{"0 eth0 192.0.2.1", "1 eth1 192.0.2.2"}));
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, ListsNothingForLengthBelowOne) {
    const std::string three = kernel_list({"eth0", "eth1", "lo"});
    for (const int length : {0, -1, -kRecord, -30 * kRecord}) {
        Device device;
        device.expects(SIOCGIFCONF, gives_list(30 * kRecord, three, length));
        const Listing all = list(nullptr);
        EXPECT_EQ(all.result, 0) << "length " << length;
        EXPECT_EQ(all.records, kNone) << "length " << length;
        EXPECT_EQ(device.unused(), 0u) << "length " << length;
    }
}

TEST(ReadInterfaceConf, ReadsNothingBehindTheBufferForALongerLength) {
    Device device;
    device.expects(SIOCGIFCONF, gives_list(30 * kRecord, "", 35 * kRecord))
        .expects(SIOCGIFCONF, gives_list(40 * kRecord, kernel_list({"lo"}), kRecord));
    EXPECT_EQ(list(nullptr).records, std::vector<std::string>{"0 lo 192.0.2.1"});
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, ComparesNoByteBehindANameOfSixteenCharacters) {
    const std::string name = "abcdefghijklmnop";
    const BlockBytes family = BlockBytes(2).u16(0, AF_INET);
    const std::string behind = name + (family.str()[0] != '\0' ? family.str().substr(0, 1) : "?");
    for (const std::string &prefix : {name, behind}) {
        Device device;
        device.expects(SIOCGIFCONF, gives_list(30 * kRecord, kernel_list({name}), kRecord));
        EXPECT_EQ(list(prefix.c_str()).records.size(), prefix == name ? 1u : 0u);
        EXPECT_EQ(device.unused(), 0u);
    }
}

TEST(ReadInterfaceConf, HandsOverWholeRecords) {
    static std::string copy;
    const std::string three = kernel_list({"eth0", "eth1", "lo"});
    Device device;
    device.expects(SIOCGIFCONF, gives_list(30 * kRecord, three, 3 * kRecord));
    copy.clear();
    read_interface_conf("", [](ifreq *record, int) {
        copy.append(reinterpret_cast<const char *>(record), kRecord);
        return 0;
    });
    EXPECT_EQ(copy, three);
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, IgnoresTheCallbacksResult) {
    for (int (*const callback)(ifreq *, int) :
         {+[](ifreq *, int) { return 0; }, +[](ifreq *, int) { return -1; },
          +[](ifreq *, int) { return 7; }}) {
        Device device;
        device.expects(SIOCGIFCONF, gives_list(30 * kRecord, kernel_list({"lo"}), kRecord));
        EXPECT_EQ(read_interface_conf(nullptr, callback), 0);
        EXPECT_EQ(device.unused(), 0u);
    }
}

TEST(ReadInterfaceConf, AllowsNullCallback) {
    Device device;
    device.expects(SIOCGIFCONF, gives_list(30 * kRecord, kernel_list({"lo"}), kRecord));
    EXPECT_EQ(read_interface_conf(nullptr, nullptr), 0);
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, FailsWhenARequestFails) {
    {
        Device device;
        device.fails(SIOCGIFCONF, ENOMEM);
        const Listing all = list(nullptr);
        EXPECT_EQ(all.result, -1);
        EXPECT_EQ(all.records, kNone);
        EXPECT_EQ(device.unused(), 0u);
    }
    Device device;
    device.expects(SIOCGIFCONF, gives_list(30 * kRecord, kernel_list({"lo"}), 30 * kRecord))
        .fails(SIOCGIFCONF, ENOMEM);
    const Listing all = list(nullptr);
    EXPECT_EQ(all.result, -1);
    EXPECT_EQ(all.records, kNone) << "what the first request gave may have been cut";
    EXPECT_EQ(device.unused(), 0u);
}

TEST(ReadInterfaceConf, AsksThroughDescriptorZeroAsWell) {
    const auto child = run_child("", [] {
        ::close(STDIN_FILENO);
        {
            Device device;
            device.expects(SIOCGIFCONF, gives_list(30 * kRecord, kernel_list({"lo"}), kRecord));
            EXPECT_EQ(list(nullptr).records, std::vector<std::string>{"0 lo 192.0.2.1"});
            EXPECT_EQ(device.calls().at(0).fd, STDIN_FILENO);
        }
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}

TEST(ReadInterfaceConf, FailsWithoutSocket) {
    noted.clear();
    const DescriptorLimit none;
    EXPECT_EQ(read_interface_conf(nullptr, note), -1);
    EXPECT_EQ(noted, kNone);
}

#if QMV_FAKE_ALLOCATION

TEST(ReadInterfaceConf, FailsWithoutMemory) {
    for (const int succeed : {0, 1}) {
        Device device;
        if (succeed == 1)
            device.expects(SIOCGIFCONF, gives_list(30 * kRecord, "", 30 * kRecord));
        const int before = open_descriptors();
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure none(succeed);
            result = read_interface_conf(nullptr, note);
            failed = none.failed();
        }
        EXPECT_EQ(result, -1) << succeed << " allocations";
        EXPECT_EQ(failed, 1) << succeed << " allocations";
        EXPECT_EQ(open_descriptors(), before) << succeed << " allocations";
    }
}

TEST(ReadInterfaceConf, FreesTheListOnEveryPath) {
    constexpr int kTimes = 1000;
    constexpr std::size_t kFewLists = 300 * 30 * kRecord;
    {
        Device device;
        for (int i = 0; i < kTimes; ++i) {
            device.expects(SIOCGIFCONF, gives_list(30 * kRecord, "", 30 * kRecord))
                .expects(SIOCGIFCONF, gives_list(40 * kRecord, "", 0));
        }
        const std::size_t before = qmv_test::held_memory();
        for (int i = 0; i < kTimes; ++i)
            read_interface_conf(nullptr, nullptr);
        EXPECT_LT(qmv_test::held_memory(), before + kFewLists) << "after a success";
        EXPECT_EQ(device.unused(), 0u);
    }
    {
        Device device;
        for (int i = 0; i < kTimes; ++i)
            device.fails(SIOCGIFCONF, ENOMEM);
        const std::size_t before = qmv_test::held_memory();
        for (int i = 0; i < kTimes; ++i)
            read_interface_conf(nullptr, nullptr);
        EXPECT_LT(qmv_test::held_memory(), before + kFewLists) << "after a failed request";
        EXPECT_EQ(device.unused(), 0u);
    }
    Device device;
    for (int i = 0; i < kTimes; ++i)
        device.expects(SIOCGIFCONF, gives_list(30 * kRecord, "", 30 * kRecord));
    const std::size_t before = qmv_test::held_memory();
    for (int i = 0; i < kTimes; ++i) {
        const qmv_test::AllocationFailure none(1);
        read_interface_conf(nullptr, nullptr);
    }
    EXPECT_LT(qmv_test::held_memory(), before + kFewLists) << "after a failed allocation";
    EXPECT_EQ(device.unused(), 0u);
}

#endif
