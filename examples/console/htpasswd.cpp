// Makes the web server's password file from the password items: run once before the server starts.
#include <cstdio>

#include "frame/accounts.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: console-htpasswd STATE_DIRECTORY\n");
        return 1;
    }
    if (!write_htpasswd(argv[1])) {
        std::fprintf(stderr, "console-htpasswd: cannot make %s/htpasswd\n", argv[1]);
        return 1;
    }
    return 0;
}
