// For libqmv.so: libcrypt is loaded when a password is hashed. Few programs do; all others start
// without it.
#include <dlfcn.h>

#include "accounts/crypt.h"

const char *qmv::call_crypt(const char *password, const char *salt) {
    using Crypt = char *(const char *, const char *);
    // It stays loaded: what crypt() returns lies in it.
    void *const library = ::dlopen(QMV_LIBCRYPT, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return nullptr;
    auto *const crypt = reinterpret_cast<Crypt *>(::dlsym(library, "crypt"));
    return crypt != nullptr ? crypt(password, salt) : nullptr;
}
