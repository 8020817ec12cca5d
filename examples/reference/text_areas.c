/* Shows a file in a text area and stores what is posted. */
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/widgets.h>
#include <stdlib.h>

enum { MAXCHARS = 1000 };

int main(void) {
    char posted[] = "10.0.0.1 a\r\n10.0.0.2 <b>\r\n";
    char *text = NULL;
    if (create_item(".", "hosts", "", 0) < 0 || textarea_to_unix(posted, posted) == NULL) {
        perror("hosts");
        return 1;
    }
    /* The first time it is written, then it is unchanged. */
    printf("hosts: %d\n", update_textarea_file(".", "hosts", posted, MAXCHARS));
    printf("hosts: %d\n", update_textarea_file(".", "hosts", posted, MAXCHARS));
    printf("missing: %d\n", update_textarea_file(".", "missing", posted, MAXCHARS));

    const int size = get_textarea_file(&text, ".", "hosts", MAXCHARS);
    if (size < 0) {
        fputs("no memory\n", stderr);
        return 1;
    }
    gen_textarea(text, size == 0 ? PRINT_DISABLED : 0, " name=\"hosts\" rows=\"%u\"", 4u);
    print_str("\n");
    free(text);
    return 0;
}
