// Calls of scan_boundary() and all that they left behind.
#ifndef QMV_TESTS_SUPPORT_SCAN_H
#define QMV_TESTS_SUPPORT_SCAN_H

#include <string>
#include <vector>

#include "tests/support/io.h"

namespace qmv_test {

/// What a call of scan_boundary() returned, handed to its writer, and did not read.
struct Scan {
    int result = -1;
    std::vector<std::string> pieces;  ///< one for each call of the writer
    std::string rest;

    std::string content() const;
};

/// Scans a descriptor, whose rest is not looked at, a body, or what a process sends.
Scan scan(int fd, const std::string &boundary, unsigned state);
Scan scan(const std::string &body, const std::string &boundary, unsigned state);
Scan scan(const InputPipe &in, const std::string &boundary, unsigned state);

}  // namespace qmv_test

#endif
