/* A program that has functions of its own with names of the library: the library keeps calling its
 * own. */
#define _GNU_SOURCE
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

int html_print_text(const char *utf8);
int read_items_str(int (*callback)(int ctx, char *element), int ctx, const char *dir,
                   const char *name, int separator);
void print_mem(void);
void html_print_ucs2(void);
void html_entity_encode(void);
void parse_items_str(void);

static void called(const char *name) {
    fprintf(stderr, "%s of the program was called\n", name);
    abort();
}

void print_mem(void) {
    called("print_mem");
}

void html_print_ucs2(void) {
    called("html_print_ucs2");
}

void html_entity_encode(void) {
    called("html_entity_encode");
}

void parse_items_str(void) {
    called("parse_items_str");
}

static int elements = 0;

static int count_element(int ctx, char *element) {
    (void)element;
    elements += ctx;
    return 0;
}

int main(void) {
    char path[] = "/tmp/qmv-namesakes-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0 || write(fd, "a,b\n", 4) != 4)
        return 1;
    close(fd);
    const int length = read_items_str(count_element, 1, "", path, ',');
    unlink(path);
    const int printed = html_print_text("<caf\xC3\xA9>");
    if (length != 3 || elements != 2 || printed != (int)strlen("&lt;caf&eacute;&gt;")) {
        fprintf(stderr, "length %d, elements %d, printed %d\n", length, elements, printed);
        return 1;
    }
    return 0;
}
