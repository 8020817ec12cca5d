#include "check.h"

static int take_line(void *ctx, char *line) {
    *(size_t *)ctx += strlen(line);
    return 0;
}

void call_descriptors(void) {
    char buffer[64];
    char path[64];
    int fd = input("0123456789");
    check("full_read_fd", full_read_fd(fd, buffer, 4) == 4 && memcmp(buffer, "0123", 4) == 0);
    const int copy = open(in_dir(path, sizeof path, "copy"), O_RDWR | O_CREAT, 0666);
    check("full_copy_fd", full_copy_fd(fd, copy) == 6);
    close(fd);
    lseek(copy, 0, SEEK_SET);
    check("print_fd", print_fd(copy) == 6);
    close(copy);
    size_t length = 0;
    check("rd_file_line", rd_file_line(path, take_line, &length) == 0 && length == 6);
    unlink(path);
    check("print_fsize", print_fsize(2048) == 10);
    fd = input("Content-Type: x\r\n");
    check("full_line_read_fd", full_line_read_fd(fd, buffer, sizeof buffer) == 15);
    close(fd);
}

void call_encodings(void) {
    char buffer[8];
    const char *cursor = "\xE2\x82\xAC";
    unsigned bytes = 0;
    check("utf8_to_ucs2", utf8_to_ucs2(&cursor, 3) == 0x20AC);
    check("ucs2_to_utf8", ucs2_to_utf8(buffer, 8, 0xE9) == buffer + 2);
    check("utf8_length", utf8_length("h\xC3\xA9", 10, &bytes) == 2 && bytes == 3);
    check("strsncpy", strsncpy(buffer, 4, "abc") == 3);
    check("check_ucs2_to_gsm", check_ucs2_to_gsm('{') == 2);
}

void call_files(void) {
    char path[64];
    char text[] = "a.b.c";
    const unsigned char bytes[] = "abc";
    unsigned char decoded[4];
    char encoded[8];
    check("make_directory", make_directory(in_dir(path, sizeof path, "new"), 0700, 0) == 0);
    check("check_dir", check_dir(path) == 0);
    check("remove_dir_leaf", remove_dir_leaf(path) == 0);
    check("remove_filef", remove_filef("%s/missing", dir) == -1);
    check("valid_filename", strcmp(valid_filename("C:\\dir\\a.txt"), "a.txt") == 0);
    check("str_replace_chr", strcmp(str_replace_chr(text, '.', '-'), "a-b-c") == 0);
    check("base64_encode", base64_encode(encoded, sizeof encoded, bytes, 3) == 4);
    check("base64_decode", base64_decode(decoded, sizeof decoded, encoded, 4) == 3);
    check("crc32", ~crc32(0xFFFFFFFFu, (const unsigned char *)"123456789", 9) == 0xCBF43926u);
}
