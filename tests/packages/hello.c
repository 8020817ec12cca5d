/* Prints the variables of a request, with their values escaped. C99. */
#include <qmv.h>

static int print_variables(void *ctx, struct cgivar *vars, unsigned count, unsigned mode) {
    (void)ctx;
    (void)mode;
    for (unsigned i = 0; i < count; ++i)
        html_printf(0, "%s: %s\n", vars[i].name, vars[i].value);
    return 0;
}

int main(void) {
    print_str("Content-Type: text/html; charset=utf-8\r\n\r\n");
    return getcgivars(NULL, print_variables, NULL) != 0;
}
