#include "frame/accounts.h"

#include <fcntl.h>
#include <qmv.h>
#include <unistd.h>

#include <cstdlib>

namespace {

// The line of one user, or an empty text when the password cannot be read or hashed.
std::string line_of(const std::string &items, const Account &account) {
    passwd_rec record{};
    rd_passwd(items.c_str(), account.name, &record, 0);
    if (record.length < 1)
        return "";
    if (record.kind == CRYPT_MD5)
        return std::string(account.name) + ":" + record.stored + "\n";
    char *hash = crypt_encode(CRYPT_MD5, record.stored, 0);
    const std::string line =
        hash != nullptr ? std::string(account.name) + ":" + hash + "\n" : "";
    std::free(hash);
    return line;
}

}  // namespace

bool write_htpasswd(const std::string &state) {
    const std::string path = state + "/htpasswd";
    const std::string temporary = path + ".new-" + std::to_string(::getpid());
    std::string text;
    for (const Account &account : kAccounts)
        text += line_of(state + "/items/accounts", account);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int size = static_cast<int>(text.size());
    const bool written = fd >= 0 && full_write_fd(fd, text.c_str(), size) == size;
    const bool closed = fd >= 0 && ::close(fd) == 0;
    if (written && closed && size > 0 && ::rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    remove_filef("%s", temporary.c_str());
    return false;
}
