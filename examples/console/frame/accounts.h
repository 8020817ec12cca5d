// The users of the console: their password items, and the file that the web server checks them by.
#ifndef CONSOLE_ACCOUNTS_H
#define CONSOLE_ACCOUNTS_H

#include <string>

struct Account {
    const char *name;  // of the user and of the password item
    const char *label;
};

constexpr Account kAccounts[] = {{"admin", "Administrator"}, {"viewer", "Read-only user"}};

/// Writes STATE/htpasswd from the password items, hashing plain ones. The web server reads it at
/// every request, so that a changed password counts at once. Returns whether that worked; if not,
/// the file is what it was.
bool write_htpasswd(const std::string &state);

#endif
