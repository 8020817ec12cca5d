/* A library of somebody else that has functions of the same names, in front of libqmv. */
#include <stdio.h>
#include <stdlib.h>

void base64_encode(void);
void crc32(void);
void full_read_fd(void);
void utf8_to_ucs2(void);

static void called(const char *name) {
    fprintf(stderr, "%s of another library was called\n", name);
    abort();
}

void base64_encode(void) {
    called("base64_encode");
}

void crc32(void) {
    called("crc32");
}

void full_read_fd(void) {
    called("full_read_fd");
}

void utf8_to_ucs2(void) {
    called("utf8_to_ucs2");
}
