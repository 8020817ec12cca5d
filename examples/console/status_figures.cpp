#include "status.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

// Directions as the driver counts them.
constexpr unsigned kUpstream = 0;
constexpr unsigned kDownstream = 1;

Figures *figures;  // what the callbacks, which have no context, add to

void put(const std::string &key, const char *value) {
    if (value != nullptr)
        (*figures)[key] = value;
}

void put_command(const char *key, const char *command) {
    char *output = nullptr;
    asprint_shell(&output, command);
    put(key, output);
    std::free(output);
}

// ---- The DSL line ----

void put_direction(const std::string &name, const dsl_stream &line) {
    char text[16];
    put(name + "_rate", dsl_api_get_datarate(&line, text, sizeof text));
    put(name + "_max", dsl_api_get_max_datarate(&line, text, sizeof text));
    put(name + "_delay", dsl_api_get_interleave_delay(&line, text, sizeof text));
    put(name + "_margin", dsl_api_get_snr(&line, text, sizeof text));
    put(name + "_attenuation", dsl_api_get_latn(&line, text, sizeof text));
}

void put_dsl(const std::string &device) {
    const int fd = ::open(device.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0)
        return;
    dsl_stream up{};
    dsl_stream down{};
    put("dsl_state", dsl_api_get_modem_status(fd));
    put("dsl_mode", dsl_api_get_modem_mode(fd));
    put("dsl_power", dsl_api_get_power_mode(fd));
    put("dsl_trellis", dsl_api_get_trellis_modulation(fd, "on", "off"));
    dsl_api_get_dsl_stream(fd, &up, kUpstream);
    dsl_api_get_dsl_stream(fd, &down, kDownstream);
    put("dsl_path", dsl_api_get_latency_type(&up, &down));
    put_direction("up", up);
    put_direction("down", down);
    ::close(fd);
}

// ---- Interfaces ----

void put_ports(const std::string &interface) {
    for (uint32_t phy = 0; phy < kPortCount; ++phy) {
        const int link = get_link_status(interface.c_str(), phy);
        const char *texts[] = {"unknown", "not connected", "connected"};
        put("port_" + std::to_string(phy + 1), texts[link + 1]);
    }
}

std::string *addresses;  // of the interface that is read

int add_ipv6(interface_addr *record) {
    char text[INET6_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET6, &record->addr.v6.sin6_addr, text, sizeof text);
    *addresses += std::string(", ") + text + "/" + std::to_string(record->mask.v6.prefix);
    return 0;
}

// Adds one IPv4 address; the first one of an interface brings its state and its IPv6 addresses.
int add_interface(ifreq *record, int /*index*/) {
    const std::string name(record->ifr_name, strnlen(record->ifr_name, IFNAMSIZ));
    interface_addr interface {};
    char text[INET_ADDRSTRLEN] = "";
    if (cfg_interface(&record->ifr_addr, 0) != 0 || get_interface(name.c_str(), &interface) != 0)
        return 0;
    const auto *address = reinterpret_cast<const sockaddr_in *>(&record->ifr_addr);
    ::inet_ntop(AF_INET, &address->sin_addr, text, sizeof text);
    addresses = &(*figures)["interface_" + name];
    const bool is_first = addresses->empty();
    if (is_first)
        *addresses = (interface.flags & IFF_UP) != 0 ? "up" : "down";
    *addresses += std::string(", ") + text + "/" +
                  std::to_string(gen_prefix(interface.mask.v4.sin_addr.s_addr));
    if (is_first)
        read_interface6_conf(name.c_str(), add_ipv6);
    return 0;
}

}  // namespace

Figures read_figures(const Console &console) {
    Figures all;
    figures = &all;
    put_command("uptime", "uptime -p 2>/dev/null || uptime");
    put_command("load", "cut -d ' ' -f 1-3 /proc/loadavg");
    put_dsl(console.item("device", "dsl"));
    put_ports(console.item("device", "switch"));
    read_interface_conf(nullptr, add_interface);
    return all;
}
