/* Writes items, and only when something has changed. */
#include <qmv/items.h>

static void report(const char *what, int result) {
    if (result < 0)
        printf("%s: not written\n", what);
    else if (result == 0)
        printf("%s: unchanged\n", what);
    else
        printf("%s: %d bytes\n", what, result);
}

int main(void) {
    /* Items are created once, with their settings at delivery. */
    report("create", create_item(".", "hostname", "router", 6));
    report("create", create_concat_item(".", "url", "http://", "router.lan"));
    /* A page updates what exists. */
    report("update", update_item(".", "hostname", "router", 63));
    report("update", update_item(".", "hostname", "gateway", 63));
    report("update", update_item(".", "domain", "lan", 63));
    report("number", update_item_uint(".", "hostname", 7));
    report("number", update_item_uint(".", "hostname", 7));
    report("write", write_item_text(".", "hostname", NULL));
    return compare_item(".", "hostname", "", 63);
}
