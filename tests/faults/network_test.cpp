// Network interfaces, PHYs and the DSL line when the kernel or a driver refuses to answer.
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <qmv/system.h>
#include <qmv/widgets.h>
#include <sys/ioctl.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Call;
using qmv_test::in_quotes;
using qmv_test::only;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::Stage;
using qmv_test::TempDir;

/* ---- PHYs ---- */

/// The registers of a PHY: control and status.
uint16_t registers[2];

/// What a PHY is asked stands behind the name of its interface.
struct MiiBlock {
    char name[IFNAMSIZ];
    uint16_t phy;
    uint16_t number;
    uint16_t in;
    uint16_t out;
};

int phy(unsigned long request, void *block) {
    MiiBlock mii;
    std::memcpy(&mii, block, sizeof mii);
    if (request == SIOCSMIIREG)
        registers[mii.number] = mii.in;
    mii.out = registers[mii.number];
    std::memcpy(block, &mii, sizeof mii);
    return 0;
}

TEST(GetLinkStatus, IsUnknownWhenThePhyCannotBeAsked) {
    Scenario([](const TempDir &) {
        registers[1] = 0x4;
        const Stage stage(phy);
        return result(get_link_status("eth0", 1));
    })
        .gives("1")
        .fails(Call::kSocket, "-1 {error}")
        .fails(Call::kIoctl, "-1 {error}")
        .check();
}

TEST(SetLinkPwrdown, TellsTheStateAsFarAsItIsKnown) {
    Scenario([](const TempDir &) {
        registers[0] = 0x1000;
        const Stage stage(phy);
        const int returned = set_link_pwrdown("eth0", 1, 1);
        return std::to_string(returned) + (registers[0] == 0x1800 ? ", down" : ", up");
    })
        .gives("1, down")
        .fails(Call::kSocket, "-1, up")
        .fails(Call::kIoctl, "-1, up", only(1))
        .fails(Call::kIoctl, "0, up", only(2))
        .fails(Call::kIoctl, "-1, down", only(3))
        .check();
}

/* ---- Interfaces ---- */

constexpr int kConfigured = 31;  // one more than the first list has room for

int kernel(unsigned long request, void *block) {
    auto *record = static_cast<ifreq *>(block);
    switch (request) {
        case SIOCGIFFLAGS:
            record->ifr_flags = IFF_UP;
            return 0;
        case SIOCGIFADDR:
        case SIOCGIFNETMASK:
            reinterpret_cast<sockaddr_in *>(&record->ifr_addr)->sin_addr.s_addr =
                request == SIOCGIFADDR ? 1 : 2;
            return 0;
        case SIOCGIFHWADDR:
            std::memcpy(record->ifr_hwaddr.sa_data, "\1\2\3\4\5\6", 6);
            return 0;
        default:
            return -1;
    }
}

int list_of_interfaces(unsigned long, void *block) {
    auto *list = static_cast<ifconf *>(block);
    const int room = list->ifc_len / static_cast<int>(sizeof(ifreq));
    const int count = room < kConfigured ? room : kConfigured;
    for (int i = 0; i < count; ++i) {
        list->ifc_req[i] = {};
        std::snprintf(list->ifc_req[i].ifr_name, IFNAMSIZ, "eth%d", i);
    }
    list->ifc_len = count * static_cast<int>(sizeof(ifreq));
    return 0;
}

int handed_over = 0;

int count_record(ifreq *, int) {
    return ++handed_over;
}

TEST(ReadInterfaceConf, HandsOverNothingWhenItFails) {
    Scenario([](const TempDir &) {
        handed_over = 0;
        const Stage stage(list_of_interfaces);
        const std::string returned = result(read_interface_conf("eth", count_record));
        return returned + ", " + std::to_string(handed_over);
    })
        .gives("0, 31")
        .fails(Call::kSocket, "-1 {error}, 0")
        .fails(Call::kRealloc, "-1 ENOMEM, 0")
        .fails(Call::kIoctl, "-1 {error}, 0")
        .check();
}

TEST(GetInterface, LeavesOutWhatItIsNotTold) {
    Scenario([](const TempDir &) {
        interface_addr found{};
        found.flags = 0xFFFF;
        const Stage stage(kernel);
        std::string text = result(get_interface("eth0", &found));
        for (const unsigned value :
             {unsigned{found.flags}, found.addr.v4.sin_addr.s_addr, found.mask.v4.sin_addr.s_addr})
            text += " " + std::to_string(value);
        return text;
    })
        .gives("0 1 1 2")
        .fails(Call::kSocket, "-1 {error} 0 0 0")
        .fails(Call::kIoctl, "-1 {error} 0 0 0", only(1))
        .fails(Call::kIoctl, "0 1 0 0", only(2))
        .fails(Call::kIoctl, "0 1 1 0", only(3))
        .check();
}

int count_address(interface_addr *) {
    return ++handed_over;
}

TEST(ReadInterface6Conf, HasNoAddressesWhenReadingFails) {
    Scenario([](const TempDir &dir) {
        handed_over = 0;
        const Stage stage(nullptr, "/proc/net/if_inet6", dir.file("if_inet6"));
        const std::string returned = result(read_interface6_conf("lo", count_address));
        return returned + ", " + std::to_string(handed_over);
    })
        .with("if_inet6",
              "00000000000000000000000000000001 01 80 10 80       lo\n"
              "fe800000000000000000000000000001 01 40 20 80       lo\n")
        .gives("2, 2")
        .fails(Call::kOpen, "-1 {error}, 0")
        .fails(Call::kRead, "0, 0")
        .check();
}

TEST(IfHwaddrNtop, IsEmptyWhenItFails) {
    Scenario([](const TempDir &) {
        char text[18] = "before";
        const Stage stage(kernel);
        if_hwaddr_ntop("eth0", ':', text, sizeof text);
        return in_quotes(text);
    })
        .gives("\"01:02:03:04:05:06\"")
        .fails(Call::kSocket, "\"\"")
        .fails(Call::kIoctl, "\"\"")
        .check();
}

/* ---- The DSL line: every block is filled with the same number ---- */

int dsl_driver(unsigned long request, void *block) {
    std::memset(block, 0, _IOC_SIZE(request));
    const uint32_t one = 1;
    const std::size_t place = request == 0xC01C7208 ? 8 : 4;
    std::memcpy(static_cast<char *>(block) + place, &one, sizeof one);
    return 0;
}

struct Question {
    const char *label;
    const char *(*ask)(int fd);
    const char *answer;
};

const char *ask_trellis(int fd) {
    return dsl_api_get_trellis_modulation(fd, "on", "off");
}

TEST(DslTexts, AreNullWhenTheDriverRefuses) {
    constexpr Question kQuestions[] = {
        {"modem status", dsl_api_get_modem_status, "Exception"},
        {"power mode", dsl_api_get_power_mode, "DSL_G997_PMS_L1"},
        {"trellis", ask_trellis, "on"},
    };
    for (const Question &question : kQuestions) {
        SCOPED_TRACE(question.label);
        Scenario([&question](const TempDir &) {
            const Stage stage(dsl_driver);
            const char *text = question.ask(5);
            return std::string(text != nullptr ? text : "null");
        })
            .gives(question.answer)
            .fails(Call::kIoctl, "null")
            .check();
    }
}

/// The mode is told by single bytes.
int mode_driver(unsigned long, void *block) {
    std::memset(block, 0, 12);
    static_cast<unsigned char *>(block)[4 + 5] = 0x04;
    return 0;
}

TEST(DslModemMode, IsNullWhenTheDriverRefuses) {
    Scenario([](const TempDir &) {
        const Stage stage(mode_driver);
        const char *text = dsl_api_get_modem_mode(5);
        return std::string(text != nullptr ? text : "null");
    })
        .gives("ADSL2+, Annex B")
        .fails(Call::kIoctl, "null")
        .check();
}

TEST(DslStream, MarksThePartThatTheDriverRefused) {
    Scenario([](const TempDir &) {
        dsl_stream stream{};
        const Stage stage(dsl_driver);
        const int returned = dsl_api_get_dsl_stream(5, &stream, 1);
        char rate[12] = "";
        char margin[12] = "";
        const char *first = dsl_api_get_datarate(&stream, rate, sizeof rate);
        const char *second = dsl_api_get_snr(&stream, margin, sizeof margin);
        return std::to_string(returned) + " " + (first != nullptr ? first : "null") + " " +
               (second != nullptr ? second : "null");
    })
        .gives("0 0 0")
        .fails(Call::kIoctl, "0 null 0", only(1))
        .fails(Call::kIoctl, "-1 0 null", only(2))
        .check();
}

}  // namespace
