// The token that a form carries: only this console can have made it, and only for this user, so
// that a page of another site cannot post in the user's name.
#ifndef CONSOLE_TOKEN_H
#define CONSOLE_TOKEN_H

#include <string>

/// Makes a token: a salted hash of the installation's secret, the user's name and the stored
/// password. Empty without a secret.
std::string make_token(const std::string &state, const std::string &user);

bool is_token(const std::string &token, const std::string &state, const std::string &user);

#endif
