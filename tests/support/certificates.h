// Real certificates, with their keys and requests, made by openssl.
#ifndef QMV_TESTS_SUPPORT_CERTIFICATES_H
#define QMV_TESTS_SUPPORT_CERTIFICATES_H

#include <string>

namespace qmv_test {

/// Texts in PEM format.
struct Certificate {
    std::string key;
    std::string request;
    std::string certificate;
};

/// Makes a certificate for a subject such as "/O=Home/CN=router".
Certificate make_certificate(const std::string &subject);

/// One for "/O=A&B \"C\" <D>/CN=router", made once.
const Certificate &router_certificate();

}  // namespace qmv_test

#endif
