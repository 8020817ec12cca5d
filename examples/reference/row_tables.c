/* A table of port forwards: rows are added, moved, deleted and sorted. */
#include <qmv/items.h>

struct forward {
    xtable_row row; /* must come first */
    unsigned port;
};

static int add(xtable *table, unsigned port) {
    struct forward *forward = (struct forward *)xtable_new_row(table, sizeof *forward);
    if (forward == NULL)
        return -1;
    forward->port = port;
    return 0;
}

static void show(const char *what, const xtable *table) {
    printf("%s:", what);
    for (const xtable_row *row = table->first; row != NULL; row = row->next)
        printf(" %u=%u", (unsigned)row->number, ((const struct forward *)row)->port);
    printf("\n");
}

static int by_port(const void *a, const void *b) {
    const struct forward *left = *(struct forward *const *)a;
    const struct forward *right = *(struct forward *const *)b;
    return (left->port > right->port) - (left->port < right->port);
}

int main(void) {
    xtable table = {NULL, NULL};
    if (add(&table, 443) < 0 || add(&table, 22) < 0 || add(&table, 80) < 0) {
        fputs("no memory\n", stderr);
        xtable_cleanup(&table);
        return 1;
    }
    show("added", &table);
    if (xtable_move_up_row(&table, 3) == 1)
        show("moved", &table);
    if (xtable_del_row(&table, 1) == 1)
        show("deleted", &table);
    if (xtable_sort(&table, sizeof(xtable_row *), by_port) == 1)
        show("sorted", &table);
    xtable_cleanup(&table);
    return 0;
}
