// The C library's password hashing.
#ifndef QMV_ACCOUNTS_CRYPT_H
#define QMV_ACCOUNTS_CRYPT_H

namespace qmv {

/// Calls crypt(3). Null when it fails, or when there is no such function on the device.
const char *call_crypt(const char *password, const char *salt);

}  // namespace qmv

#endif
