/* Who may change settings: the level of the user whom the web server has logged in. */
#define _POSIX_C_SOURCE 200809L
#include <qmv/accounts.h>
#include <stdlib.h>

enum { LEVEL_NONE, LEVEL_LOOK, LEVEL_CHANGE };

static const auth_entry users[] = {
    {"viewer", LEVEL_LOOK},
    {"admin", LEVEL_CHANGE},
    {NULL, LEVEL_NONE},
};

static void show(const char *user) {
    /* A web server sets this variable. */
    if (setenv("REMOTE_USER", user, 1) != 0) {
        perror("setenv");
        exit(1);
    }
    const int level = get_auth(users);
    if (level == LEVEL_NONE)
        printf("%s: no access\n", user);
    else
        printf("%s: may look%s\n", user, level >= LEVEL_CHANGE ? " and change" : "");
}

int main(void) {
    show("admin");
    show("viewer");
    show("guest");
    return 0;
}
