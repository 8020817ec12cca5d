/* Takes an address, a netmask and a network from a form, and stores the network. */
#include <arpa/inet.h>
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/widgets.h>

int main(void) {
    const uint32_t dflt = inet_addr("192.168.1.1");
    uint32_t addr = 0;
    uint32_t mask = 0;
    ipv4_cidr network = {0, 0};

    scan_ipv4("no address", &addr, dflt);
    gen_ipv4box("addr", 0, &addr, 0);
    print_str("\n");

    /* A posted network address becomes the first address of a host. */
    if (scan_ipv4("10.1.2.0", &addr, dflt) == 1 &&
        scan_ipv4_netmask("255.255.255.0", &mask, 8, 30) == 1 &&
        valid_ipv4_addr(&addr, addr, mask) == 1)
        gen_xipv4box(0, &addr, 0, " name=\"host\"");
    printf("/%d\n", gen_prefix(mask));

    if (create_item(".", "route", "", 0) < 0) {
        perror("route");
        return 1;
    }
    if (scan_ipv4cidr("10.1.2.3/8", &network, 0, 1) == 1)
        printf("written: %d\n", update_ipv4cidr_item(".", "route", &network));
    if (rd_ipv4cidr_item(".", "route", &network, 0) == 0)
        gen_ipv4cidr("route", 0, &network, 0);
    print_str("\n");
    return 0;
}
