#include "check.h"

static int take_variables(void *ctx, struct cgivar *vars, unsigned count, unsigned mode) {
    check("cgivars_callback", mode == CGI_MODE_QUERY && count == 2);
    *(int *)ctx += strcmp(vars[1].value, "b c") == 0;
    return 7;
}

void call_cgi(void) {
    int matches = 0;
    setenv("REQUEST_METHOD", "GET", 1);
    setenv("QUERY_STRING", "a=1&x=b+c", 1);
    check("getcgivars", getcgivars(&matches, take_variables, NULL) == 7 && matches == 1);
    char text[] = "a=1&x=b+c";
    check("cgidecode", cgidecode(&matches, text, take_variables, CGI_MODE_QUERY) == 7);
    char escaped[] = "%41%20";
    cgi_unescape(escaped);
    check("cgi_unescape", strcmp(escaped, "A ") == 0);

    char path[64];
    FILE *file = fopen(in_dir(path, sizeof path, "upload"), "w+");
    check("mpart_fwrite", mpart_fwrite(file, "abc", 3) == 0 && ftell(file) == 3);
    fclose(file);
    int out = open(path, O_WRONLY | O_TRUNC);
    check("mpart_write_fd", mpart_write_fd(&out, "abc", 3) == 0 && lseek(out, 0, SEEK_CUR) == 3);
    const int fd = input("content\r\n--XYZ--\r\n");
    check("scan_boundary", scan_boundary(fd, "XYZ", 3, mpart_write_fd, &out) == 3);
    check("scan_boundary", lseek(out, 0, SEEK_CUR) == 10);
    close(fd);
    close(out);
    unlink(path);
}
