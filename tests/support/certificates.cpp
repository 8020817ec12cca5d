#include "tests/support/certificates.h"

#include "tests/support/io.h"
#include "tests/support/program.h"

namespace qmv_test {

Certificate make_certificate(const std::string &subject) {
    const TempDir dir;
    const std::string key = dir.file("key");
    const std::string request = dir.file("request");
    output_of({"openssl", "req", "-new", "-newkey", "ec", "-pkeyopt",
               "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", key, "-out", request, "-subj",
               subject});
    const std::string certificate =
        output_of({"openssl", "x509", "-req", "-in", request, "-signkey", key, "-days", "2"});
    return {dir.read("key"), dir.read("request"), certificate};
}

const Certificate &router_certificate() {
    static const Certificate certificate = make_certificate("/O=A&B \"C\" <D>/CN=router");
    return certificate;
}

}  // namespace qmv_test
