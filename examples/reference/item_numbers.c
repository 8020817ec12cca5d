/* Reads items that hold numbers, and one that is not there. */
#include <qmv/items.h>

static int start_timer(unsigned seconds) {
    return printf("timer of %u s\n", seconds) > 0 ? 0 : 1;
}

int main(void) {
    unsigned mtu = 1500;
    int offset = 0;
    if (create_item_uint(".", "mtu", 1492) < 0 || create_item_uint(".", "lease", 3600) < 0 ||
        create_item(".", "offset", "-12", 3) < 0) {
        perror("items");
        return 1;
    }
    if (read_item_uint(".", "mtu", &mtu) > 0)
        printf("mtu %u\n", mtu);
    if (read_item_sint(".", "offset", &offset) > 0)
        printf("offset %d\n", offset);
    if (read_item_uint_fmt(&mtu, "./port%u.mtu", 2u) < 0)
        printf("port 2: still %u\n", mtu);
    printf("\"TRUE\" is %u, \"0\" is %u\n", bool_to_uint("TRUE"), bool_to_uint("0"));
    printf("result %d\n", call_uint(".", "lease", start_timer));
    return 0;
}
