/* Asks about network interfaces: one that every machine has, and one that is not there. */
#define _DEFAULT_SOURCE
#include <arpa/inet.h>
#include <net/if.h>
#include <qmv/system.h>

static int count_loopback;

static int take_address(interface_addr *record) {
    if (IN6_IS_ADDR_LOOPBACK(&record->addr.v6.sin6_addr))
        ++count_loopback;
    return 0;
}

static void show(const char *name) {
    interface_addr interface;
    char address[INET_ADDRSTRLEN] = "";
    if (get_interface(name, &interface) != 0) {
        printf("%s: no such interface\n", name);
        return;
    }
    /* Without an address it is 0.0.0.0. */
    inet_ntop(AF_INET, &interface.addr.v4.sin_addr, address, sizeof address);
    if ((interface.flags & IFF_LOOPBACK) != 0)
        printf("%s: for the machine itself\n", name);
    else
        printf("%s: %s\n", name, address);
}

int main(void) {
    show("lo");
    show("dsl9");

    const int addresses = read_interface6_conf("dsl9", take_address);
    printf("IPv6: %s\n", addresses > 0 && count_loopback == 0 ? "yes" : "no");

    const int up = get_link_status("lo", 0);
    printf("PHY: %s\n", up < 0 ? "none" : up > 0 ? "link up" : "link down");
    return 0;
}
