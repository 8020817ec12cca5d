/* Reads items: into a buffer, into new memory, and a list. */
#include <qmv/items.h>
#include <stdlib.h>

static int show_server(int number, char *element) {
    return printf("server for zone %d: %s\n", number, element);
}

int main(void) {
    char host[64];
    char *banner = NULL;
    if (create_item(".", "host", "router", 6) < 0 || create_item(".", "banner", "Hi!", 3) < 0 ||
        create_item(".", "servers", "10.0.0.1, 10.0.0.2", 18) < 0) {
        perror("items");
        return 1;
    }
    /* One byte more than it says is needed for the terminator. */
    if (read_item(".", "host", host, sizeof host - 1) >= 0)
        printf("host: %s\n", host);
    if (read_item(".", "domain", host, sizeof host - 1) < 0)
        printf("domain: \"%s\", not set\n", host);

    if (read_item_alloc(".", "banner", &banner) >= 0)
        printf("banner: %s\n", banner);
    free(banner);

    return read_items_str(show_server, 5, ".", "servers", ',') < 0;
}
