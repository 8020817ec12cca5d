/* Calls every function of the library from C99, each with a result that can be told from outside.
 */
#include "check.h"

char dir[] = "/tmp/qmv-every-XXXXXX";

static int failures = 0;

void check(const char *call, int holds) {
    if (!holds) {
        fprintf(stderr, "%s: unexpected result\n", call);
        ++failures;
    }
}

char *in_dir(char *buffer, size_t size, const char *name) {
    snprintf(buffer, size, "%s/%s", dir, name);
    return buffer;
}

int input(const char *text) {
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    check("full_write_fd", full_write_fd(ends[1], text, (int)strlen(text)) == (int)strlen(text));
    close(ends[1]);
    return ends[0];
}

int main(void) {
    if (mkdtemp(dir) == NULL)
        return 1;
    call_descriptors();
    call_encodings();
    call_files();
    call_cgi();
    call_html_text();
    call_html_page();
    call_items();
    call_tables();
    call_text_boxes();
    call_filters();
    call_select_boxes();
    call_buttons();
    call_numbers();
    call_addresses();
    call_accounts();
    call_certificates();
    call_shell();
    call_network();
    call_databases();
    call_devices();
    call_xml();
    putchar('\n');
    check("remove_dir_leaf", remove_dir_leaf(dir) == 0);
    return failures == 0 ? 0 : 1;
}
