/* Greets the name in the query string; C and C++. */
#include <qmv.h>
#include <string.h>

static int greet(void *ctx, struct cgivar *vars, unsigned count, unsigned mode) {
    (void)ctx;
    (void)mode;
    for (unsigned i = 0; i < count; ++i) {
        if (strcmp(vars[i].name, "name") == 0)
            html_printf(0, "Hello %s\n", vars[i].value);
    }
    return 0;
}

int main(void) {
    return getcgivars(NULL, greet, NULL) < 0;
}
