#include "frame/accounts.h"

#include <qmv.h>

#include <cstdlib>
#include <cstring>

#include "frame/file.h"

namespace {

// The line of one user, or an empty text when the password cannot be read or hashed. The seed makes
// the salts of users differ.
std::string line_of(const std::string &items, const Account &account, int seed) {
    passwd_rec record{};
    rd_passwd(items.c_str(), account.name, &record, 0);
    if (record.length < 1)
        return "";
    char *hash = record.kind == CRYPT_MD5 ? ::strdup(record.stored)
                                          : crypt_encode(CRYPT_MD5, record.stored, seed);
    const std::string line = hash != nullptr ? std::string(account.name) + ":" + hash + "\n" : "";
    std::free(hash);
    return line;
}

}  // namespace

bool write_htpasswd(const std::string &state) {
    std::string text;
    for (size_t i = 0; i < std::size(kAccounts); ++i) {
        const std::string line =
            line_of(state + "/items/accounts", kAccounts[i], static_cast<int>(i));
        if (line.empty())
            return false;
        text += line;
    }
    return replace_file(state + "/htpasswd", text);
}
