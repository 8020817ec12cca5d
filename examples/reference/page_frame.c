/* A whole page: header lines, head, and what stands around the body. */
#include <qmv/html.h>

int main(void) {
    print_head_p1("Content-Type: text/html; charset=utf-8\r\n", "\r\n<!DOCTYPE html>\r\n", NULL);
    print_head_refresh(30, "status.cgi?port=%u", 2u);
    print_head_script(HEAD_SCRIPT_OPEN | HEAD_SCRIPT_CLOSE, "var port = 2;");
    print_head_p2("Port 2", " class=\"status\"");
    print_str("<p>");
    print_num_str_mark("1234567", ",");
    print_str(" packets</p>\r\n");
    print_foot();
    if (fflush(stdout) != 0) {
        perror("stdout");
        return 1;
    }
    return 0;
}
