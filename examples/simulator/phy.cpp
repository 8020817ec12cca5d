#include "phy.h"

#include <linux/sockios.h>
#include <net/if.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned kPorts = 4;
constexpr unsigned kPlugged = 0xB;  // a cable is in all ports but the third

constexpr uint16_t kControl = 0;
constexpr uint16_t kControlDefault = 0x1000;  // auto-negotiation
constexpr uint16_t kPowerDown = 0x800;
constexpr uint16_t kStatus = 1;
constexpr uint16_t kStatusDefault = 0x7849;
constexpr uint16_t kLinkUp = 0x4;

// What the kernel lays out behind the interface's name.
struct MiiRequest {
    uint16_t phy_id;
    uint16_t reg_num;
    uint16_t val_in;
    uint16_t val_out;
};

// The ports that are powered down, one bit for each, as a number in the state file.
unsigned powered_down() {
    unsigned ports = 0;
    FILE *file = std::fopen(std::getenv("QMV_SIMULATOR"), "re");
    if (file != nullptr) {
        if (std::fscanf(file, "%u", &ports) != 1)
            ports = 0;
        std::fclose(file);
    }
    return ports;
}

// Puts a new state file in place of the old one: another program may be reading.
int store_powered_down(unsigned ports) {
    const char *path = std::getenv("QMV_SIMULATOR");
    char temporary[4096];
    std::snprintf(temporary, sizeof temporary, "%s.new-%d", path, ::getpid());
    FILE *file = std::fopen(temporary, "we");
    if (file == nullptr)
        return -1;
    const bool written = std::fprintf(file, "%u\n", ports) > 0;
    const bool closed = std::fclose(file) == 0;
    if (written && closed && std::rename(temporary, path) == 0)
        return 0;
    ::unlink(temporary);
    return -1;
}

uint16_t read_register(const MiiRequest &mii) {
    const unsigned port = 1U << mii.phy_id;
    const bool down = (powered_down() & port) != 0;
    switch (mii.reg_num) {
        case kControl:
            return down ? kControlDefault | kPowerDown : kControlDefault;
        case kStatus:
            return !down && (kPlugged & port) != 0 ? kStatusDefault | kLinkUp : kStatusDefault;
        default:
            return 0;
    }
}

int write_register(const MiiRequest &mii) {
    if (mii.reg_num != kControl)
        return 0;
    const unsigned port = 1U << mii.phy_id;
    const unsigned others = powered_down() & ~port;
    return store_powered_down((mii.val_in & kPowerDown) != 0 ? others | port : others);
}

}  // namespace

namespace simulator {

int answer_phy(unsigned long request, void *ifreq_bytes) {
    ifreq record;
    MiiRequest mii;
    std::memcpy(&record, ifreq_bytes, sizeof record);
    std::memcpy(&mii, &record.ifr_ifru, sizeof mii);
    if (request == SIOCGMIIPHY)
        mii.phy_id = 0;
    if (mii.phy_id >= kPorts) {
        errno = EIO;
        return -1;
    }
    if (request == SIOCSMIIREG)
        return write_register(mii);
    mii.val_out = read_register(mii);
    std::memcpy(&record.ifr_ifru, &mii, sizeof mii);
    std::memcpy(ifreq_bytes, &record, sizeof record);
    return 0;
}

}  // namespace simulator
