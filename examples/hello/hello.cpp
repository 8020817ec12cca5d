// The smallest CGI program: greets the name in the address, as in hello.cgi?name=Ada.
#include <qmv.h>

#include <cstring>

static int take_name(void *name, cgivar *vars, unsigned count, unsigned) {
    for (unsigned i = 0; i < count; ++i) {
        if (std::strcmp(vars[i].name, "name") == 0)
            scan_textbox(vars[i].value, 20, 0, static_cast<char *>(name), 60, nullptr);
    }
    return 0;
}

int main() {
    char name[61] = "world";  // 20 characters of up to 3 bytes, and the terminator
    getcgivars(name, nullptr, take_name);
    print_head_p1("Content-Type: text/html; charset=utf-8\r\n", "\r\n<!DOCTYPE html>\r\n", nullptr);
    print_head_p2("Hello", nullptr);
    html_printf(1, "<p>Hello, %s!</p>\r\n", name);
    print_foot();
    return 0;
}
