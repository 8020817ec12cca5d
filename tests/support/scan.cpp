#include "tests/support/scan.h"

#include "qmv/cgi.h"

namespace qmv_test {
namespace {

int keep(void *ctx, const void *bytes, int len) {
    static_cast<Scan *>(ctx)->pieces.emplace_back(static_cast<const char *>(bytes),
                                                  static_cast<std::size_t>(len));
    return -1;
}

}  // namespace

std::string Scan::content() const {
    std::string joined;
    for (const std::string &piece : pieces)
        joined += piece;
    return joined;
}

Scan scan(int fd, const std::string &boundary, unsigned state) {
    Scan scan;
    scan.result = scan_boundary(fd, boundary.c_str(), state, keep, &scan);
    return scan;
}

Scan scan(const std::string &body, const std::string &boundary, unsigned state) {
    const InputFile in(body);
    Scan result = scan(in.fd(), boundary, state);
    result.rest = in.rest();
    return result;
}

Scan scan(const InputPipe &in, const std::string &boundary, unsigned state) {
    Scan result = scan(in.fd(), boundary, state);
    result.rest = in.rest();
    return result;
}

}  // namespace qmv_test
