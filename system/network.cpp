#include <fcntl.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "qmv/system.h"
#include "qmv/util.h"
#include "util/ioctl.h"
#include "util/owners.h"

namespace {

static_assert(sizeof(interface_addr) == 60);
static_assert(sizeof(ifreq) == (sizeof(void *) == 8 ? 40 : 32), "the kernel's layout");

/// What a PHY is asked, as the kernel lays it out behind the interface's name.
struct MiiRequest {
    uint16_t phy_id;
    uint16_t reg_num;
    uint16_t val_in;
    uint16_t val_out;
};
static_assert(sizeof(MiiRequest) == 8);

constexpr uint16_t kControl = 0;
constexpr unsigned kPowerDown = 0x800;
constexpr unsigned kRestartNegotiation = 0x200;

constexpr uint16_t kStatus = 1;
constexpr unsigned kLinkUp = 0x4;
constexpr unsigned kRemoteFault = 0x10;
constexpr unsigned kJabber = 0x2;

/// A socket that is only there to ask the kernel about one interface.
class Interface {
  public:
    explicit Interface(const char *name) : socket_(::socket(AF_INET, SOCK_DGRAM, 0)) {
        strsncpy(request_.ifr_name, sizeof request_.ifr_name, name);
    }

    /// Makes a request. False when it, or the socket, failed.
    bool ask(unsigned long request) {
        return socket_.get() >= 0 && qmv::ioctl(socket_.get(), request, &request_) >= 0;
    }
    [[nodiscard]] const ifreq &answer() const { return request_; }

    /// Reads a register of a PHY. Returns its value, or -1.
    int read_mii(uint32_t phy_id, uint16_t reg) {
        put_mii({static_cast<uint16_t>(phy_id), reg, 0, 0});
        if (!ask(SIOCGMIIREG))
            return -1;
        MiiRequest mii;
        std::memcpy(&mii, &request_.ifr_ifru, sizeof mii);
        return mii.val_out;
    }
    bool write_mii(uint32_t phy_id, uint16_t reg, unsigned value) {
        put_mii({static_cast<uint16_t>(phy_id), reg, static_cast<uint16_t>(value), 0});
        return ask(SIOCSMIIREG);
    }

  private:
    void put_mii(const MiiRequest &mii) { std::memcpy(&request_.ifr_ifru, &mii, sizeof mii); }

    qmv::Descriptor socket_;
    ifreq request_{};
};

int power_down_bit(int control) {
    return (static_cast<unsigned>(control) & kPowerDown) != 0 ? 1 : 0;
}

/// The kernel's list of configured addresses.
class InterfaceList {
  public:
    /// Reads the list, with a buffer that grows until the list does not fill it. False on failure.
    bool read() {
        constexpr size_t kFirst = 30;
        constexpr size_t kMore = 10;
        const qmv::Descriptor socket(::socket(AF_INET, SOCK_DGRAM, 0));
        if (socket.get() < 0)
            return false;
        for (size_t room = kFirst; records_.resize(room); room += kMore) {
            ifconf request{};
            const int size = static_cast<int>(room * sizeof(ifreq));
            request.ifc_len = size;
            request.ifc_req = records_.get();
            if (qmv::ioctl(socket.get(), SIOCGIFCONF, &request) < 0)
                return false;
            if (request.ifc_len < size) {
                count_ = static_cast<size_t>(std::max(request.ifc_len, 0)) / sizeof(ifreq);
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] ifreq *begin() const { return records_.get(); }
    [[nodiscard]] ifreq *end() const { return records_.get() + count_; }

  private:
    qmv::Block<ifreq> records_;
    size_t count_ = 0;
};

/// One line of /proc/net/if_inet6.
struct Inet6Line {
    unsigned long address[4];
    unsigned index;
    unsigned prefix;
    unsigned scope;
    unsigned flags;
    char name[17];

    bool parse(const char *line) {
        return std::sscanf(line, "%8lx%8lx%8lx%8lx %x %x %x %x %16s", &address[0], &address[1],
                           &address[2], &address[3], &index, &prefix, &scope, &flags, name) == 9;
    }

    [[nodiscard]] interface_addr record() const {
        interface_addr record{};
        record.addr.v6.sin6_family = AF_INET6;
        record.addr.v6.sin6_scope_id = scope;
        for (size_t i = 0; i < std::size(address); ++i) {
            const uint32_t group = htonl(static_cast<uint32_t>(address[i]));
            std::memcpy(&record.addr.v6.sin6_addr.s6_addr[4 * i], &group, sizeof group);
        }
        record.mask.v6 = {index, prefix, flags};
        return record;
    }
};

/// Hands over a line when it is one of an address of this interface. Returns how many it counts.
int take_line(const char *line, const char *ifname, int (*callback)(interface_addr *record)) {
    Inet6Line parsed;
    if (!parsed.parse(line))
        return 0;
    // Intended: without a name every address counts, and none is handed over.
    if (ifname == nullptr)
        return 1;
    if (std::strcmp(parsed.name, ifname) != 0)
        return 0;
    interface_addr record = parsed.record();
    if (callback != nullptr)
        callback(&record);
    return 1;
}

}  // namespace

int get_link_status(const char *ifname, uint32_t phy_id) {
    if (ifname == nullptr)
        return -1;
    const int status = Interface(ifname).read_mii(phy_id, kStatus);
    if (status < 0)
        return -1;
    const unsigned bits = static_cast<unsigned>(status);
    return (bits & (kLinkUp | kRemoteFault | kJabber)) == kLinkUp ? 1 : 0;
}

int set_link_pwrdown(const char *ifname, uint32_t phy_id, int down) {
    if (ifname == nullptr)
        return -1;
    Interface interface(ifname);
    const int control = interface.read_mii(phy_id, kControl);
    if (control < 0)
        return -1;
    if (power_down_bit(control) == (down != 0 ? 1 : 0))
        return power_down_bit(control);
    const unsigned bits = static_cast<unsigned>(control);
    const unsigned wanted =
        down != 0 ? bits | kPowerDown : (bits & ~kPowerDown) | kRestartNegotiation;
    if (!interface.write_mii(phy_id, kControl, wanted))
        return power_down_bit(control);
    const int after = interface.read_mii(phy_id, kControl);
    return after < 0 ? -1 : power_down_bit(after);
}

int read_interface_conf(const char *prefix, int (*callback)(struct ifreq *record, int index)) {
    InterfaceList list;
    if (!list.read())
        return -1;
    const std::string_view wanted = prefix != nullptr ? prefix : "";
    int index = 0;
    for (ifreq &record : list) {
        const std::string_view name(record.ifr_name,
                                    ::strnlen(record.ifr_name, sizeof record.ifr_name));
        if (!name.starts_with(wanted))
            continue;
        if (callback != nullptr)
            callback(&record, index);
        ++index;
    }
    return 0;
}

int get_interface(const char *ifname, interface_addr *out) {
    if (ifname == nullptr || out == nullptr)
        return -1;
    Interface interface(ifname);
    if (!interface.ask(SIOCGIFFLAGS)) {
        out->flags = 0;
        return -1;
    }
    *out = interface_addr{};
    out->flags = static_cast<uint16_t>(interface.answer().ifr_flags);
    if (!interface.ask(SIOCGIFADDR))
        return 0;
    std::memcpy(&out->addr.v4, &interface.answer().ifr_addr, sizeof out->addr.v4);
    if (interface.ask(SIOCGIFNETMASK))
        std::memcpy(&out->mask.v4, &interface.answer().ifr_netmask, sizeof out->mask.v4);
    return 0;
}

int read_interface6_conf(const char *ifname, int (*callback)(interface_addr *record)) {
    const qmv::Descriptor file(::open("/proc/net/if_inet6", O_RDONLY));
    if (file.get() < 0)
        return -1;
    char text[4096];
    const int length = full_read_fd(file.get(), text, sizeof text - 1);
    text[std::max(length, 0)] = '\0';
    int count = 0;
    char *line = text;
    // A last line without newline may have been cut, and is not looked at.
    while (char *end = std::strchr(line, '\n')) {
        *end = '\0';
        count += take_line(line, ifname, callback);
        line = end + 1;
    }
    return count;
}

uint32_t cfg_interface(const struct sockaddr *addr, uint32_t skip) {
    if (skip != 0)
        return skip;
    const bool known =
        addr != nullptr && (addr->sa_family == AF_INET || addr->sa_family == AF_INET6);
    return known ? 0 : 1;
}
