/* Shows what somebody typed, whatever it is, as text of a page. */
#include <qmv/html.h>
#include <stdlib.h>

int main(void) {
    const char *typed = "<script>alert(\"1 & 2\")</script> caf\xC3\xA9";
    char *escaped = NULL;

    print_str("<p title=\"");
    html_print_text_limit(8, typed, 0xFFFFFFFF);
    print_str("\">");
    html_print_text(typed);
    print_str("</p>\n");

    print_str("<p>");
    html_print_text_nl("two\nlines");
    print_str("</p>\n");

    if (html_asprint_text(&escaped, "a < b") < 0) {
        fputs("no memory\n", stderr);
        return 1;
    }
    print_str(escaped);
    print_str("\n");
    free(escaped);
    return 0;
}
