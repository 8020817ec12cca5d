/* Prints an input by hand, with the attributes that the print flags stand for. */
#include <qmv/html.h>
#include <stdlib.h>

int main(void) {
    const char *browser = "Mozilla/5.0 (Windows NT 10.0)";
    unsigned flags = PRINT_DISABLED | PRINT_CHECKED | PRINT_AUTOCOMPLETE_OFF;
    char *title = NULL;
    if (asprint_title(&title, "needs \"DHCP\"") < 0) {
        fputs("no title\n", stderr);
        return 1;
    }
    printf("<input type=\"checkbox\"%s", title);
    print_flags(flags);
    print_str(">\n");
    free(title);

    /* One attribute alone, and line ends for the browser's system. */
    printf("<option%s>\n", html_attr(4));
    flags = get_print_flags(0, browser);
    printf("CR LF: %s\n", (flags & PRINT_WINDOWS_CLIENT) != 0 ? "yes" : "no");
    return 0;
}
