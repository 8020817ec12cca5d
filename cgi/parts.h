// What the two halves of the request decoder share.
#ifndef QMV_CGI_PARTS_H
#define QMV_CGI_PARTS_H

#include "qmv/types.h"

namespace qmv {

/// Answers the request with a message in plain text and exits with status 1.
[[noreturn]] void cgi_fatal(const char *message);

/// Reads a multipart body from descriptor 0 and calls back for each part; see getcgivars().
int decode_parts(void *ctx, char *boundary, cgivars_callback cb);

}  // namespace qmv

#endif
