/*
 * HTML output: escaped text, a printf whose arguments are escaped, the print flags, the frame of a
 * page, titles.
 *
 * Everything is printed to stdout through its buffer. Text that is called escaped can stand in an
 * element or a double-quoted attribute whatever it holds; text that is called raw is printed as it
 * is and must not come from a client. A write error shortens the output and the count; nothing is
 * reported. Counts are bytes printed.
 */
#ifndef QMV_HTML_H
#define QMV_HTML_H

#include <qmv/types.h>

QMV_BEGIN_DECLS

/// What print_head_script() prints and how it takes its text.
enum qmv_head_script {
    HEAD_SCRIPT_OPEN = 0x1,   ///< print the opening tag
    HEAD_SCRIPT_CLOSE = 0x2,  ///< print the closing tag
    HEAD_SCRIPT_FILE = 0x4    ///< the text is the path of a file to copy
};

/* ---- Escaped text ---- */

/// Writes the HTML form of one character, without a terminator: itself, "&amp;", "&eacute;" or
/// "&#8364;". Not "'", which stays as it is.
/// @param buf   room for 24 bytes; null: 0 is returned
/// @param cp    UCS-2 code; only the low 16 bits count
/// @return bytes written, at most 8; 0 for the code 0
int html_entity_encode(unsigned char *buf, unsigned cp);

/// Prints bytes raw.
/// @param buf   null: 0 is returned
/// @param len   bytes to print
/// @return bytes printed; fewer than len after a write error
int print_mem(const void *buf, unsigned len);

/// Prints a string raw.
/// @param s   null: 0 is returned
/// @return bytes printed
int print_str(const char *s);

/// Prints a string raw, with a CR in front of every LF.
/// @param s   null or empty: 0 is returned
/// @return bytes printed, added CRs included
/// Intended: CR LF in the text becomes CR CR LF.
int print_str_xcrlf(const char *s);

/// Prints one character escaped.
/// @param cp   UCS-2 code; only the low 16 bits count
/// @return bytes printed; 0 for the code 0
int html_print_ucs2(unsigned cp);

/// Prints a UTF-8 text escaped. Invalid sequences print nothing.
/// @param utf8   null or empty: 0 is returned
/// @return bytes printed
int html_print_text(const char *utf8);

/// Prints the beginning of a UTF-8 text escaped, up to a limit or its first invalid sequence.
/// @param max_chars   characters to print at most; 0xFFFFFFFF: no limit
/// @param utf8        null or empty: 0 is returned
/// @param max_bytes   bytes of the text to read at most; 0xFFFFFFFF: no limit
/// @return bytes printed
int html_print_text_limit(unsigned max_chars, const char *utf8, unsigned max_bytes);

/// Escapes a UTF-8 text into a new string.
/// @param out    receives the string, which the caller frees; untouched on failure
/// @param utf8   the text
/// @return
///  - above 0: size of the string's memory, a multiple of 4096 (intended: not its length)
///  - -1: a null argument or no memory. Memory that runs out later cuts the string.
int html_asprint_text(char **out, const char *utf8);

/// Prints a text as the print flags ask: escaped, or with PRINT_RAW raw, or with PRINT_RAW and
/// PRINT_WINDOWS_CLIENT raw with CR LF line ends.
/// @param s       UTF-8 when it is escaped; null: 0 is returned
/// @param flags   PRINT_RAW and PRINT_WINDOWS_CLIENT count
/// @return bytes printed
int print_xstr(const char *s, unsigned flags);

/// Prints a UTF-8 text escaped, with line breaks and marks: LF prints "<br>"; ESC and "B", "b",
/// "U" or "u" print "<b>", "</b>", "<u>", "</u>"; ESC and another byte print nothing.
/// @param utf8   null: 0 is returned
/// @return bytes printed
int html_print_text_nl(const char *utf8);

/* ---- Formatted text ---- */

/// Prints a format whose string and character arguments are escaped.
/// Conversions: %s and %c (a UCS-2 code), %d and %i, %u, %x and %X (all of type int or unsigned),
/// %%. A string ends at its first invalid sequence. A number in front of "s" limits the characters
/// printed, one in front of "c" repeats the character; "*" takes that number from an int argument,
/// which is ignored when negative. In front of an integer conversion flags, width and precision
/// mean what they mean to printf; a "*" there takes its argument and has no other effect. A width
/// above 2147483647 counts as that.
/// @param raw       0: the text between conversions is escaped; otherwise it is printed as it is
/// @param fmt,...   null: 0 is returned. A "%" without a conversion letter behind it ends the
///                  output. A null string argument prints nothing
/// @return bytes printed
/// Intended: "." does not end a number, so that "%10.5s" limits to 105 characters; an unsupported
/// conversion, such as "%f" or "%p", swallows the text up to the next supported letter.
int html_printf(int raw, const char *fmt, ...) QMV_PRINTF(2, 3);

/// Prints one unsigned conversion with printf. Used by html_printf().
/// @param spec       from "%" to the conversion letter (d, i, o, u, x or X); characters between
///                   them other than flags, width and precision are left out
/// @param spec_len   its length
/// @param value      the number; an unsigned one as an int of the same bits
/// @return
///  - 0 or more: bytes printed
///  - negative: no such conversion (nothing is printed), or printf failed
int html_printf_unsigned(const char *spec, unsigned spec_len, int value);

/// Prints one signed conversion with printf; the same as html_printf_unsigned(), for %d and %i.
/// @param spec,spec_len   as for html_printf_unsigned()
/// @param value           the number
/// @return
///  - 0 or more: bytes printed
///  - negative: no such conversion (nothing is printed), or printf failed
int html_printf_signed(const char *spec, unsigned spec_len, int value);

/* ---- Attributes ---- */

/// Prints the attributes that the print flags stand for, each with a blank in front, in this order:
/// checked, disabled, readonly, selected, display none, visibility hidden, autocomplete.
/// @param flags   bits of qmv_print_flags
/// @return bytes printed
int print_flags(unsigned flags);

/// Names an attribute: 0 "", 1 " disabled", 2 " checked", 3 " readonly", 4 " selected".
/// @param index   0 to 4
/// @return a constant text; "" for every other index
const char *html_attr(unsigned index);

/// Adds PRINT_WINDOWS_CLIENT to print flags when the browser says that it runs on Windows.
/// @param flags        bits of qmv_print_flags
/// @param user_agent   text of the User-Agent header; may be null
/// @return the flags to use
unsigned get_print_flags(unsigned flags, const char *user_agent);

/// Prints ", " when PRINT_JSON_COMMA is set: the beginning of every JSON member but the first.
/// @param flags   bits of qmv_print_flags
/// @return bytes printed
int print_json_flags(unsigned flags);

/// Builds a title attribute, " title=\"...\"", from an escaped text.
/// @param out    receives the attribute, which the caller frees; untouched on failure
/// @param text   UTF-8
/// @return
///  - above 0: length of the attribute
///  - -1: a null argument, a text that is empty once escaped, or no memory
int asprint_title(char **out, const char *text);

/* ---- Page frame ---- */

/// Prints the beginning of a page: the program's header lines, "<html>", "<head>".
/// @param header1,header2   raw; each may be null; the last line must be followed by an empty one
/// @param extra             raw, behind "<head>"; may be null
/// @return result of the last print_str()
int print_head_p1(const char *header1, const char *header2, const char *extra);

/// Prints the end of the head and the body tag.
/// @param title        escaped; null: no title element
/// @param body_attrs   raw, with a blank in front; may be null
/// @return result of the last print_str()
int print_head_p2(const char *title, const char *body_attrs);

/// Prints a script element of the head, or one of its tags.
/// @param how      bits of qmv_head_script
/// @param script   raw text, or with HEAD_SCRIPT_FILE the path of a file to copy. Null: one tag is
///                 printed, the opening one when `how` has HEAD_SCRIPT_OPEN without
///                 HEAD_SCRIPT_CLOSE, else the closing one when it has HEAD_SCRIPT_CLOSE.
/// @return result of the last print_str(); 0 when nothing was printed
/// Intended: a file that cannot be opened gives the tags around nothing.
int print_head_script(unsigned how, const char *script);

/// Prints a style element that holds the given files, one behind the other.
/// @param path,...   files to copy, the list ended by a null pointer; null: nothing is printed
/// @return result of the last print_str(); 0 when nothing was printed
/// Intended: a file that cannot be opened counts, so that the element is printed around nothing.
int print_head_css(const char *path, ...);

/// Prints a meta element that loads a page after some seconds.
/// @param seconds       how long to wait
/// @param url_fmt,...   printf format of the address, printed raw; null: this page again
/// @return result of the last piece printed
/// Intended: when the address cannot be formatted, the tag is left open.
int print_head_refresh(unsigned seconds, const char *url_fmt, ...) QMV_PRINTF(2, 3);

/// Prints a whole page, without a body, that leads to another one.
/// @param header1,header2   raw header lines; each may be null
/// @param seconds           how long to wait
/// @param url_fmt,...       printf format of the address, printed raw; null: no meta element
/// @return result of the last print_str()
int print_refresh(const char *header1, const char *header2, unsigned seconds, const char *url_fmt,
                  ...) QMV_PRINTF(4, 5);

/// Prints the end of a page.
/// @return bytes printed
int print_foot(void);

/// Prints the head line of a page: an item, a text, and a clock that the page's own script function
/// fl_time() writes.
/// @param dir,name   the item; one that is missing or empty prints nothing
/// @param size       bytes of the item that are shown at most
/// @param text       escaped; may be null
/// @return result of the last print_str()
int print_timeline(const char *dir, const char *name, unsigned size, const char *text);

/// Prints a number's digits in groups of three: "1234567" and "." print "1.234.567".
/// @param digits   raw; null: 0 is returned
/// @param mark     raw, between groups; null or empty: the digits are printed as they are
/// @return bytes printed when there was nothing to group (intended), 0 after grouping
int print_num_str_mark(const char *digits, const char *mark);

QMV_END_DECLS

#endif
