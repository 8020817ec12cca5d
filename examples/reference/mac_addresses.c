/* Takes a hardware address in the ways that people write it. */
#include <qmv/html.h>
#include <qmv/widgets.h>
#include <string.h>

static void show(const char *posted) {
    struct sockaddr hw;
    char text[18];
    memset(&hw, 0, sizeof hw);
    scan_macaddr(&hw, posted);
    printf("%s: %s%s\n", posted, mac_ntop(&hw, ':', text, sizeof text),
           mac_isvalid(&hw) ? "" : " is not one of a device");
}

int main(void) {
    struct sockaddr hw;
    char text[18];
    show("00-1a-2b-3c-4d-5e");
    show("001A2B3C4D5E");
    show("?");

    memset(&hw, 0, sizeof hw);
    if (scan_macaddr(&hw, "2:0:0:0:0:1") != 1)
        return 1;
    gen_xmacbox(0, &hw, 0, " name=\"mac\"");
    print_str("\n");

    if_hwaddr_ntop("lo", ':', text, sizeof text);
    printf("lo: %s\n", text);
    return 0;
}
