// What the printers of all widgets share. A widget opens its tag, prints its own attributes, then
// the caller's, then the print flags, and closes the tag.
#ifndef QMV_WIDGETS_TAG_H
#define QMV_WIDGETS_TAG_H

#include "qmv/types.h"

namespace qmv {

/// Prints `<input type="TYPE"`.
void open_input(const char *type);

/// Prints ` name="NAME"`, raw; nothing for null.
void print_name(const char *name);

/// Prints ` maxlength="N"`, unless the box is read-only.
void print_maxlength(unsigned maxlength, unsigned flags);

/// Prints the caller's raw attributes; nothing for a null format.
void print_attributes(const char *format, va_list args) QMV_PRINTF(1, 0);

/// Prints the print flags and ">". Returns '>', or -1 after a write error.
int close_tag(unsigned flags);

/// Prints the caller's raw attributes, the print flags and ">".
int close_tag(unsigned flags, const char *format, va_list args) QMV_PRINTF(2, 0);

/// The flags of a widget whose item was read with this result: disabled when that failed.
constexpr unsigned flags_after_read(int result, unsigned flags) {
    return result < 0 ? flags | PRINT_DISABLED : flags;
}

/// Prints a JSON member without a value.
void print_json_null(const char *name);

}  // namespace qmv

#endif
