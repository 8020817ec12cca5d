/*
 * Form widgets. Each kind is a family of functions named after it:
 *
 *   gen_x<kind>           prints the input; a printf format adds attributes
 *   vgen_x<kind>          the same with a va_list
 *   gen_<kind>            prints the input, without a format
 *   scan_<kind>           checks and converts one posted value
 *   rd_<kind>_item        reads the item that the widget shows; returns the print flags to use
 *   gen_[x]<kind>_item    reads the item and prints the widget; returns the flags that were used
 *   wr_<kind>_item,
 *   update_<kind>_item    checks a posted value and writes the item
 *   gen_json_<kind>[_item]  prints the value as one JSON member
 *
 * Values are escaped. The attributes that a caller's format prints are not: they must not hold text
 * from a client. Attributes stand in this order: the widget's own, the caller's, the print flags.
 * A widget whose item cannot be read is disabled.
 *
 * Text limits count characters. N characters take up to 3 * N bytes and a terminator.
 *
 * A JSON printer takes a value, the member's name and the print flags, and returns the flags for
 * the next member, with PRINT_JSON_COMMA set. Name and text are printed as they are. A null name
 * prints nothing and returns the flags unchanged.
 */
#ifndef QMV_WIDGETS_H
#define QMV_WIDGETS_H

#include <qmv/types.h>

QMV_BEGIN_DECLS

/* ---- Text boxes ---- */

/// Prints a text or password input:
/// <input type="text" size="8" maxlength="8" value="abc"[format][flags]>
/// PRINT_PASSWORD gives type "password"; with it or PRINT_MASKED the value is shown as bullets, one
/// for each character, and with PRINT_DATA_VALUE printed in data-value as well. PRINT_SIZE adds
/// size; PRINT_READONLY leaves out maxlength.
/// @param size     characters at most; negative: 2147483647
/// @param value    UTF-8, cut to size characters; null: no value attribute, or no bullets
/// @param flags    bits of qmv_print_flags
/// @param format   raw attributes, each with a blank in front; may be null
/// @return '>', or -1 after a write error
/// Intended: with PRINT_DISABLED a password box shows `size` bullets, whatever the value.
int gen_xtextbox(int size, const char *value, unsigned flags, const char *format, ...)
    QMV_PRINTF(4, 5);

/// Prints a text or password input; gen_xtextbox() with a va_list.
/// @return '>', or -1 after a write error
int vgen_xtextbox(int size, const char *value, unsigned flags, const char *format, va_list args)
    QMV_PRINTF(4, 0);

/// Copies the accepted characters of a posted value.
/// @param in         UTF-8; null counts as empty; invalid sequences are left out
/// @param maxchars   characters to keep at most
/// @param minchars   characters that must be kept
/// @param out        room for outsize + 1 bytes: the terminator may stand at out[outsize]. Holds
///                   what was kept, also when that is too little
/// @param outsize    bytes of text to keep at most
/// @param filter     null: every character is accepted
/// @return
///  - 1: some text was kept
///  - 0: none was
///  - -1: a null out or an outsize of 0
///  - -2: fewer than minchars characters were kept
int scan_textbox(const char *in, unsigned maxchars, unsigned minchars, char *out, unsigned outsize,
                 textbox_filter filter);

/// Writes a value to an existing item unless it is unchanged.
/// @param maxchars   3 * maxchars bytes are written at most
/// @return as update_item()
int update_textbox(const char *dir, const char *name, const char *value, unsigned maxchars);

/// Writes the accepted characters of a posted value to an existing item unless it is unchanged.
/// @param value      UTF-8; invalid sequences are left out
/// @param maxchars   characters to keep at most
/// @param filter     null: every character is accepted
/// @return
///  - as update_item()
///  - -1: also for a null value
int update_textbox_item(const char *dir, const char *name, const char *value, unsigned maxchars,
                        textbox_filter filter);

/// Reads the item of a text box.
/// @param buf        room for bufsize + 1 bytes; receives the text, "" when the item is missing
/// @param bufsize    bytes to read at most
/// @param maxchars   the text is cut behind so many characters
/// @return flags, with PRINT_DISABLED added when the item cannot be read
unsigned rd_textbox_item(const char *dir, const char *name, char *buf, unsigned bufsize,
                         unsigned maxchars, unsigned flags);

/// Reads an item and prints it with gen_xtextbox().
/// @param maxchars   characters at most
/// @return the flags that were used; see rd_textbox_item()
unsigned gen_xtextbox_item(const char *dir, const char *name, unsigned maxchars, unsigned flags,
                           const char *format, ...) QMV_PRINTF(5, 6);

/// Prints a text as a JSON member: "name": "value", or null with PRINT_DISABLED.
/// @param value   printed as it is (intended: no JSON escaping); null: null is printed
/// @param name    null: nothing is printed
/// @return flags for the next member, PRINT_DISABLED added when value is null
unsigned gen_json_text(const char *value, const char *name, unsigned flags);

/// Reads an item and prints it with gen_json_text().
/// @return flags for the next member, PRINT_DISABLED added when the item cannot be read
unsigned gen_json_text_item(const char *dir, const char *name, unsigned maxchars,
                            const char *jsonname, unsigned flags);

/// Writes a posted password to an existing item, unless it is the bullets that the box showed, or
/// holds bullets or refused characters.
/// @param value      UTF-8; null: -1 is returned. An empty value empties the item
/// @param maxchars   characters to keep at most
/// @param filter     null: every character is accepted
/// @param rejected   may be null; receives how many characters the filter refused, 0 when the value
///                   is nothing but bullets
/// @return
///  - as update_item()
///  - 0: also when nothing was written because of bullets or refused characters
int update_password_item(const char *dir, const char *name, const char *value, unsigned maxchars,
                         textbox_filter filter, unsigned *rejected);

/// Prints an item's value as escaped text, without a tag: a memory page less one byte at most.
/// @return
///  - above 0: bytes of the value
///  - 0: the item is empty
///  - -1: it cannot be read
int gen_text_item(const char *dir, const char *name);

QMV_END_DECLS

#endif
