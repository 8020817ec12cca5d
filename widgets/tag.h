// What the printers of all widgets share.
#ifndef QMV_WIDGETS_TAG_H
#define QMV_WIDGETS_TAG_H

#include "qmv/types.h"

namespace qmv {

/// Prints the end of a tag: the caller's attributes, the print flags, ">".
/// @param format   raw attributes; may be null
/// @return '>', or -1 after a write error
int close_tag(unsigned flags, const char *format, va_list args) QMV_PRINTF(2, 0);

}  // namespace qmv

#endif
