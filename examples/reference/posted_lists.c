/* Takes lists of numbers and of texts apart. */
#include <qmv/items.h>

static int show_element(int number, char *element) {
    return printf("host of list %d: %s\n", number, element);
}

int main(void) {
    const char *ports = "80, 443,8080";
    unsigned port = 0;
    do {
        ports = scan_uint(ports, &port);
        printf("port %u\n", port);
    } while (ports != NULL);

    const char *groups = "(1,10),(2,20)";
    unsigned pair[2];
    while (groups != NULL) {
        unsigned count = 0;
        const char *behind = scan_list_uint(groups, &count, pair, 2);
        /* The text that is left is empty when a group was not closed. */
        if (count != 2 || (behind != NULL && *behind == '\0')) {
            fputs("not a list of pairs\n", stderr);
            return 1;
        }
        printf("port %u in network %u\n", pair[0], pair[1]);
        groups = behind;
    }

    char hosts[] = "alpha; beta";
    parse_items_str(show_element, 1, hosts, ';');
    return 0;
}
