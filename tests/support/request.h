// CGI requests, each answered in a process of its own, and batches of variables as text.
#ifndef QMV_TESTS_SUPPORT_REQUEST_H
#define QMV_TESTS_SUPPORT_REQUEST_H

#include <functional>
#include <string>
#include <string_view>

#include "qmv/types.h"
#include "tests/support/io.h"

namespace qmv_test {

/// A text as in C source: control characters and bytes of 0x80 and above become escapes.
std::string printable(std::string_view text);

/// The environment of a request. A null member is not set.
struct Request {
    const char *method = nullptr;
    const char *query = nullptr;
    const char *type = nullptr;
    const char *length = nullptr;
};

/// What a CGI program does with a request. Its callbacks print what they receive:
///
///     body: mode 3, count 3
///       boundary = "XYZ"
///       Content-Disposition = "form-data"
///       name = "user" of Content-Disposition
struct Program {
    bool takes_body = true;    ///< false: no body callback
    bool takes_query = false;  ///< true: a query callback
    int query_result = 0;
    int body_result = 0;   ///< of the batch of a form or query, or the end of a multipart body
    int first_result = 0;  ///< of the call with the boundary record alone
    /// Takes one part; null: its content is read, printed as `content "..."`, and the result of
    /// the reading returned.
    std::function<int(struct cgivar *vars, unsigned count)> take_part = nullptr;
    /// Called in the process of the request, before it is decoded.
    std::function<void()> prepare = nullptr;
};

/// The callbacks of a program; ctx points to it.
int body_callback(void *ctx, struct cgivar *vars, unsigned count, unsigned mode);
int query_callback(void *ctx, struct cgivar *vars, unsigned count, unsigned mode);

/// Reads the content of a part, prints it and returns the result of scan_boundary().
int print_content(const char *boundary);

/// Replaces the request variables of this process.
void set_environment(const Request &request);

/// Runs a program in a process of its own, with the body as its input. Behind what its callbacks
/// printed stand `returned <result>` and, as `unread "..."`, what of the body was not read.
ChildResult serve(const Request &request, std::string_view body, const Program &program = {});

/// The whole answer to a request that cannot be decoded.
std::string fatal(std::string_view message);

}  // namespace qmv_test

#endif
