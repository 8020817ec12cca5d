/* Prints a row of a table: markup as it stands, arguments escaped. */
#include <qmv/html.h>

int main(void) {
    const char *name = "Tom & \"Jerry\"";
    html_printf(1, "<tr><td>%s</td><td>%d</td></tr>\n", name, -5);
    /* The first 3 characters, and a bullet for each of 4. */
    html_printf(1, "<tr><td>%3s</td><td>%*c</td></tr>\n", name, 4, 0x2022u);
    /* Here the text between the conversions is escaped, too. */
    const int printed = html_printf(0, "%u < 0x%04X", 9u, 0x1Fu);
    if (printed <= 0) {
        fputs("nothing printed\n", stderr);
        return 1;
    }
    printf("\n%d bytes\n", printed);
    return 0;
}
