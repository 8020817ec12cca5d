/*
 * Shared types of libqmv: print flags, decoded request variables, callbacks.
 *
 * Conventions that hold for every function of the library, unless its own comment says otherwise:
 *  - Zero or a positive count is success, -1 a null argument, a failed system call or malformed
 *    text, -2 a second kind of failure where a function has one.
 *  - Nothing is logged; a failed system call leaves its errno.
 *  - Text is UTF-8; no character above U+FFFF exists.
 *  - Everything that is printed goes to stdout. The library is single-threaded by design.
 *  - A string that a function returns in a `char **` belongs to the caller, who calls free().
 */
#ifndef QMV_TYPES_H
#define QMV_TYPES_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#if defined(__cplusplus)
#define QMV_BEGIN_DECLS _Pragma("GCC visibility push(default)") extern "C" {
#define QMV_END_DECLS \
    }                 \
    _Pragma("GCC visibility pop")
#else
#define QMV_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define QMV_END_DECLS _Pragma("GCC visibility pop")
#endif

/* Marks a printf-like function: FMT is the number of its format argument, ARGS that of the first
 * argument to check, or 0 for a va_list. */
#if defined(__GNUC__)
#define QMV_PRINTF(FMT, ARGS) __attribute__((format(printf, FMT, ARGS)))
#else
#define QMV_PRINTF(FMT, ARGS)
#endif

QMV_BEGIN_DECLS

/// Print flags: one unsigned 32-bit word of attributes and behaviour that every widget and printer
/// takes. print_flags() prints the attributes; the bits described as "no text" are read elsewhere.
enum qmv_print_flags {
    PRINT_DISABLED = 0x1,       ///< " disabled"
    PRINT_CHECKED = 0x2,        ///< " checked"
    PRINT_READONLY = 0x4,       ///< " readonly"
    PRINT_SELECTED = 0x8,       ///< " selected"
    PRINT_PASSWORD = 0x10,      ///< no text: a text box of type "password", its value as bullets
    PRINT_MASKED = 0x20,        ///< no text: a text box shows its value as bullets
    PRINT_DATA_VALUE = 0x40,    ///< no text: a bulleted box prints its real value in data-value
    PRINT_DISPLAY_NONE = 0x80,  ///< " style=\"display: none;\""
    PRINT_HIDDEN = 0x100,       ///< " style=\"visibility: hidden;\""
    PRINT_SUBMIT = 0x200,       ///< no text: a button submits its form

    PRINT_AUTOCOMPLETE_OFF = 0x400,      ///< " autocomplete=\"off\""
    PRINT_AUTOCOMPLETE_ON = 0x800,       ///< " autocomplete=\"on\""
    PRINT_AUTOCOMPLETE_DEFAULT = 0xC00,  ///< " autocomplete=\"default\""; also the field's mask

    PRINT_PRE = 0x1000,              ///< no text: shell output goes into a pre element
    PRINT_COMMENT = 0x2000,          ///< no text: shell output goes into a comment
    PRINT_RAW = 0x4000,              ///< no text: print_xstr() does not escape
    PRINT_EMPTY_CHOICE = 0x8000,     ///< no text: a certificate select box offers an empty choice
    PRINT_WINDOWS_CLIENT = 0x10000,  ///< no text: print_xstr() prints raw text with CR LF
    PRINT_QUIET = 0x20000,           ///< no text: a shell command's output is not printed
    PRINT_SIZE = 0x40000,            ///< no text: a text box prints a size attribute
    PRINT_JSON_COMMA = 0x80000       ///< no text: the next JSON member begins with ", "
};

/// What a batch of request variables holds; the last argument of a cgivars_callback.
enum qmv_cgi_mode {
    CGI_MODE_QUERY = 0,       ///< QUERY_STRING of a GET or HEAD request
    CGI_MODE_POST_QUERY = 1,  ///< QUERY_STRING of a POST request
    CGI_MODE_URLENCODED = 2,  ///< an application/x-www-form-urlencoded body
    CGI_MODE_MULTIPART = 3    ///< the first call, one part, or the end of a multipart body
};

/// One decoded request variable. Its strings belong to the decoder, live only during the callback,
/// and may be changed by it.
typedef struct cgivar {
    struct cgivar *parent;  ///< for a header's parameter the record of that header, else null
    char *name;             ///< never null
    char *value;            ///< never null; empty for a variable without "="
} cgivar;

/// Takes one batch of variables.
/// @param ctx     the pointer that was handed to getcgivars()
/// @param vars    first of the records; null when there are none
/// @param count   number of records
/// @param mode    one of qmv_cgi_mode
/// @return handed on as getcgivars() says
typedef int (*cgivars_callback)(void *ctx, struct cgivar *vars, unsigned count, unsigned mode);

/// Takes a piece of uploaded content; see scan_boundary(), which ignores the result.
/// @param ctx   the context that was handed to scan_boundary()
/// @param buf   the bytes, valid during the call
/// @param len   0 to 1024
/// @return ignored
typedef int (*qmv_writer)(void *ctx, const void *buf, int len);

/// Decides whether a text box keeps a character.
/// @param pos   bytes that were kept so far; 0 until a first character is kept
/// @param ch    the character, a UCS-2 code
/// @return nonzero to keep it, 0 to drop it
typedef int (*textbox_filter)(unsigned pos, unsigned ch);

QMV_END_DECLS

#endif
