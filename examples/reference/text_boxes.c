/* A form's text and password boxes, and what a post makes of their items. */
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/widgets.h>

int main(void) {
    char host[3 * 16 + 1];
    unsigned refused = 0;
    if (create_item(".", "host", "router", 6) < 0 || create_item(".", "key", "abc", 3) < 0) {
        perror("items");
        return 1;
    }
    gen_xtextbox_item(".", "host", 16, 0, " name=\"%s\"", "host");
    print_str("\n");
    gen_xtextbox_item(".", "key", 16, PRINT_PASSWORD, " name=\"%s\"", "key");
    print_str("\n");

    /* Refused characters are left out; nothing acceptable is too little here. */
    if (scan_textbox("my router!", 16, 1, host, sizeof host - 1, textbox_filter_dns) == 1)
        printf("host: %s\n", host);
    if (scan_textbox("???", 16, 1, host, sizeof host - 1, textbox_filter_dns) == -2)
        puts("host: one character at least");

    /* The bullets that the box showed come back: the password stays. */
    const char *bullets = "\xE2\x80\xA2\xE2\x80\xA2\xE2\x80\xA2";
    int result = update_password_item(".", "key", bullets, 16, textbox_filter_alnum, &refused);
    printf("bullets: %d\n", result);
    result = update_password_item(".", "key", "x y", 16, textbox_filter_alnum, &refused);
    printf("refused: %d, %u character\n", result, refused);
    result = update_password_item(".", "key", "xyz", 16, textbox_filter_alnum, &refused);
    printf("written: %d\n", result);
    return 0;
}
