/* Reads a file of providers, looks one up, and offers them in a select box. */
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/system.h>

enum { FIELD_ID, FIELD_NAME, FIELD_SPEED, FIELDS };

static int write_file(void) {
    FILE *file = fopen("providers", "w");
    if (file == NULL)
        return -1;
    fputs("# id, name, Mbit/s\nfast\nFast & Sons\n100\n\nslow\nSlow Ltd\n2\n", file);
    return fclose(file);
}

int main(void) {
    db_record *list = NULL;
    if (write_file() != 0) {
        perror("providers");
        return 1;
    }
    if (read_db_file("providers", FIELDS, &list) != 0) {
        perror("providers");
        free_db(list);
        return 1;
    }
    const db_record *found = search_db(list, FIELD_ID, "fast");
    if (found != NULL && found->count == FIELDS)
        printf("%s: %s Mbit/s\n", found->fields[FIELD_NAME], found->fields[FIELD_SPEED]);

    gen_selectbox_dbase(list, FIELD_ID, FIELD_NAME, "provider", "slow", 0);
    print_str("\r\n");
    free_db(list);
    return 0;
}
