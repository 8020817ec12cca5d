/* Takes the fields of a posted form: their names are known, their values are checked. */
#define _POSIX_C_SOURCE 200809L
#include <qmv/cgi.h>
#include <qmv/widgets.h>
#include <stdlib.h>
#include <string.h>

struct settings {
    char host[3 * 20 + 1];
    unsigned port;
};

static int take(void *context, cgivar *vars, unsigned count, unsigned mode) {
    struct settings *settings = context;
    if (mode != CGI_MODE_QUERY && mode != CGI_MODE_URLENCODED)
        return 0;
    for (unsigned i = 0; i < count; ++i) {
        const char *value = vars[i].value;
        if (strcmp(vars[i].name, "host") == 0)
            scan_textbox(value, 20, 1, settings->host, sizeof settings->host - 1,
                         textbox_filter_dns);
        else if (strcmp(vars[i].name, "port") == 0)
            scan_number(value, &settings->port, 1, 65535, 80);
    }
    return (int)count;
}

int main(void) {
    struct settings settings = {"", 80};
    /* A web server sets these variables. */
    if (setenv("REQUEST_METHOD", "GET", 1) != 0 ||
        setenv("QUERY_STRING", "host=router%2Elan&port=8080&theme=dark", 1) != 0) {
        perror("setenv");
        return 1;
    }
    const int result = getcgivars(&settings, take, take);
    printf("%d fields: host %s, port %u\n", result, settings.host, settings.port);
    return 0;
}
