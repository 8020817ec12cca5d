#include "frame/token.h"

#include <qmv/accounts.h>
#include <qmv/items.h>

#include <cstdlib>

namespace {

constexpr int kSecretBytes = 64;
constexpr int kPasswordBytes = 64;

// What is hashed: a token ends with the password that its user had. Empty when there is no secret
// that deserves the name.
std::string text_of(const std::string &state, const std::string &user) {
    char secret[kSecretBytes + 1];
    char password[kPasswordBytes + 1];
    const int length = read_item(state.c_str(), "secret", secret, kSecretBytes);
    read_item((state + "/items/accounts").c_str(), user.c_str(), password, kPasswordBytes);
    return length < 32 ? "" : std::string(secret) + ":" + user + ":" + password;
}

}  // namespace

std::string make_token(const std::string &state, const std::string &user) {
    const std::string text = text_of(state, user);
    char *hash = text.empty() ? nullptr : crypt_encode(CRYPT_MD5, text.c_str(), 0);
    std::string token = hash == nullptr ? "" : hash;
    std::free(hash);
    return token;
}

bool is_token(const std::string &token, const std::string &state, const std::string &user) {
    const std::string text = text_of(state, user);
    // Only a hash will do: a plain token would be compared as it is.
    return !text.empty() &&
           crypt_detect(token.c_str(), static_cast<int>(token.size())) == CRYPT_MD5 &&
           crypt_cmp(CRYPT_MD5, token.c_str(), text.c_str()) == 0;
}
