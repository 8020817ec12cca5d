/* A program that has functions of its own with names of the library: the library keeps calling its
 * own. */
#define _GNU_SOURCE
#include <mtd/mtd-user.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

int html_print_text(const char *utf8);
int print_foot(void);
int read_items_str(int (*callback)(int ctx, char *element), int ctx, const char *dir,
                   const char *name, int separator);
int gen_selectbox_certs(const char *path, const char *name, const char *current,
                        const char *empty_label, uint32_t flags, const char *extra);
int read_uboot_env(const char *device_path);

void print_mem(void);
void print_str(void);
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

void print_str(void) {
    called("print_str");
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

/* Tells that the file below is a flash partition. */
int ioctl(int fd, unsigned long request, ...) {
    va_list args;
    va_start(args, request);
    struct mtd_info_user *info = va_arg(args, struct mtd_info_user *);
    va_end(args);
    if (fd < 0 || request != MEMGETINFO)
        return -1;
    info->type = MTD_NORFLASH;
    info->size = 13;
    return 0;
}

static int elements = 0;

static int count_element(int ctx, char *element) {
    (void)element;
    elements += ctx;
    return 0;
}

static int failures = 0;

static void check(const char *call, int result, int expected) {
    if (result == expected)
        return;
    fprintf(stderr, "%s: %d, not %d\n", call, result, expected);
    ++failures;
}

static void write_file(const char *path, const void *bytes, size_t size) {
    FILE *file = fopen(path, "w");
    check("fwrite", (int)fwrite(bytes, 1, size, file), (int)size);
    fclose(file);
}

int main(void) {
    char dir[] = "/tmp/qmv-namesakes-XXXXXX";
    char path[64];
    if (mkdtemp(dir) == NULL)
        return 1;
    snprintf(path, sizeof path, "%s/item", dir);

    write_file(path, "a,b\n", 4);
    check("read_items_str", read_items_str(count_element, 1, "", path, ','), 3);
    check("elements", elements, 2);
    check("html_print_text", html_print_text("<caf\xC3\xA9>"), 19);
    check("print_foot", print_foot(), 18);
    check("gen_selectbox_certs", gen_selectbox_certs(dir, NULL, NULL, NULL, 0, NULL), 9);

    /* The usual check value of CRC-32, that of "123456789", in front of these nine bytes. */
    const uint32_t crc = 0xCBF43926;
    char block[13];
    memcpy(block, &crc, sizeof crc);
    memcpy(block + sizeof crc, "123456789", 9);
    write_file(path, block, sizeof block);
    check("read_uboot_env", read_uboot_env(path), 0);

    unlink(path);
    rmdir(dir);
    return failures != 0;
}
