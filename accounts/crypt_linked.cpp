// For programs that link libqmv.a, and libcrypt with it.
#include <crypt.h>

#include "accounts/crypt.h"

const char *qmv::call_crypt(const char *password, const char *salt) {
    return ::crypt(password, salt);
}
