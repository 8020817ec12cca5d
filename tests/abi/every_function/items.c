#include "check.h"

static int path_length(const char *path, int a, unsigned b) {
    return (int)(strlen(path) - strlen(dir)) + a + (int)b;
}

static int twice(unsigned value) {
    return (int)(2 * value);
}

static int count_element(int ctx, char *element) {
    check("parse_items_str", ctx == 5 && strlen(element) == 1);
    return 0;
}

void call_items(void) {
    char buffer[16];
    char *value = NULL;
    unsigned number = 0;
    int sign = 0;
    char list[] = "a,b";
    unsigned array[2];
    check("create_item", create_item(dir, "n", "42", 2) == 3);
    check("_func_path_name", _func_path_name(path_length, dir, "n", 1, 2) == 5);
    check("stat_item", stat_item(dir, "n") == 0);
    check("read_item", read_item(dir, "n", buffer, 15) == 2);
    check("read_item_alloc", read_item_alloc(dir, "n", &value) == 2);
    free(value);
    check("read_items_str", read_items_str(count_element, 5, dir, "n", '4') == 2);
    check("read_item_uint", read_item_uint(dir, "n", &number) == 2 && number == 42);
    check("read_item_uint_fmt", read_item_uint_fmt(&number, "%s/n", dir) == 2);
    check("read_item_sint", read_item_sint(dir, "n", &sign) == 2 && sign == 42);
    check("call_uint", call_uint(dir, "n", twice) == 84);
    int fd = open_path_name(dir, "n", O_RDONLY, 0);
    check("read_item_fd", read_item_fd(fd, buffer, 15) == 2);
    lseek(fd, 0, SEEK_SET);
    check("read_item_alloc_fd", read_item_alloc_fd(fd, &value, -1) == 2);
    free(value);
    lseek(fd, 0, SEEK_SET);
    check("read_item_uint_fd", read_item_uint_fd(fd, NULL) == 42);
    lseek(fd, 0, SEEK_SET);
    check("read_item_sint_fd", read_item_sint_fd(fd, &sign) == 2);
    check("open_path_name", close(fd) == 0);
    check("str_to_uint", str_to_uint("12x") == 12);
    check("str_to_sint", str_to_sint("-12") == -12);
    check("bool_to_uint", bool_to_uint("TRUE") == 1);
    check("scan_uint", scan_uint("5", &number) == NULL && number == 5);
    number = 0;
    check("scan_list_uint", scan_list_uint("(1,2)", &number, array, 2) == NULL && number == 2);
    parse_items_str(count_element, 5, list, ',');
    check("parse_items_str", list[1] == '\0');
    check("create_item_uint", create_item_uint(dir, "n", 7) == 2);
    check("create_concat_item", create_concat_item(dir, "n", "a", "b") == 3);
    check("compare_item", compare_item(dir, "n", "ab", 5) == 0);
    check("update_item", update_item(dir, "n", "abc", 5) == 4);
    check("update_item_uint", update_item_uint(dir, "n", 3) == 2);
    check("write_item_uint", write_item_uint(dir, "n", 3) == 2);
    check("write_item_text", write_item_text(dir, "n", "text") == 5);
    check("remove_item", remove_item(dir, "n") == 0);
}

static int by_number_down(const void *a, const void *b) {
    const xtable_row *const *first = a;
    const xtable_row *const *second = b;
    return (*first)->number < (*second)->number ? 1 : -1;
}

void call_tables(void) {
    xtable table = {NULL, NULL};
    xtable_row *row = xtable_new_row(&table, sizeof *row);
    check("xtable_new_row", row != NULL && row->number == 1);
    xtable_add_row(&table, malloc(sizeof *row));
    check("xtable_add_row", table.last->prev == row);
    check("xtable_index_row", xtable_index_row(&table) == 2);
    check("xtable_search_row", xtable_search_row(&table, 1) == row);
    check("xtable_move_up_row", xtable_move_up_row(&table, 2) == 1 && row->number == 2);
    check("xtable_move_dn_row", xtable_move_dn_row(&table, 1) == 1 && row->number == 1);
    check("xtable_sort", xtable_sort(&table, sizeof row, by_number_down) == 1 && row->number == 2);
    check("xtable_del_row", xtable_del_row(&table, 1) == 1 && table.first == row);
    xtable_rm_row(&table, row);
    check("xtable_rm_row", table.first == NULL);
    xtable_new_row(&table, sizeof *row);
    xtable_cleanup(&table);
    check("xtable_cleanup", table.last == NULL);
}
