/*
 * XML data output: a document is appended piece by piece to a growing buffer of the caller's, who
 * then sends or stores its bytes. Nothing checks that elements nest.
 *
 * Text is escaped for elements and for attributes in double quotes; names and attribute values are
 * appended as they are. A null record does nothing. Memory that runs out leaves a capacity of 0 and
 * what was there before; a later append tries again.
 */
#ifndef QMV_XML_H
#define QMV_XML_H

#include <qmv/types.h>

QMV_BEGIN_DECLS

/// A buffer, to be set to zeros before its first use. The owner frees `data` when done.
typedef struct xml_data {
    uint32_t capacity;    ///< bytes allocated, in steps of 1024; 0 marks a failed allocation
    uint32_t length;      ///< bytes used
    unsigned char *data;  ///< not terminated; null until the first append
} xml_data;

/// What xml_data_tag() appends, with a name and, in brackets, with a null name.
enum xml_tag_kind {
    XML_TAG_START = 0,       ///< <name>        [>]
    XML_TAG_START_LINE = 1,  ///< <name> LF     [> LF]
    XML_TAG_OPEN = 2,        ///< <name         []: attributes follow; any other kind does the same
    XML_TAG_END = 3,         ///< </name> LF    [> LF]
    XML_TAG_EMPTY = 4        ///< <name/> LF    [/> LF]
};

/// Appends bytes.
/// @param x       the buffer
/// @param bytes   null: zeros are appended
/// @param n       below 1: nothing is appended, but the first buffer is allocated
void xml_data_append(xml_data *x, const void *bytes, int n);

/// Appends a string as it is; null appends nothing.
/// @param x   the buffer
/// @param s   may be null
void xml_data_str(xml_data *x, const char *s);

/// Appends the declaration: <?xml version="1.0" encoding="UTF-8"?> LF
/// @param x   the buffer
void xml_data_header(xml_data *x);

/// Appends a tag.
/// @param x      the buffer
/// @param name   null: only the end of a tag that was left open
/// @param kind   one of xml_tag_kind
void xml_data_tag(xml_data *x, const char *name, unsigned kind);

/// Appends an attribute: a blank, name="value".
/// @param x       the buffer
/// @param name    appended as it is; null counts as empty
/// @param value   appended as it is (intended): escape it first unless it is safe
void xml_data_attr_str(xml_data *x, const char *name, const char *value);

/// Appends an attribute whose value is an unsigned number.
/// @param x       the buffer
/// @param name    appended as it is; null counts as empty
/// @param value   appended in decimal
void xml_data_attr_num(xml_data *x, const char *name, unsigned value);

/// Appends text escaped. TAB, LF and CR become references, so that they survive in attributes.
/// @param x      the buffer
/// @param text   null: nothing is appended
/// @param n      bytes at most, below 1: none; the text ends at a NUL, too
void xml_data_txt(xml_data *x, const char *text, int n);

/// Appends all that a descriptor holds, escaped, and closes it. Reads 4096 bytes at a time; a NUL
/// ends the text of its piece. A line feed at the very end is left out (intended).
/// @param x    the buffer; null: all is read all the same
/// @param fd   any readable descriptor
/// @return
///  - 0 or more: bytes read, less one when the line feed at the end was left out
///  - -1: a read failed; what was read before is there
int xml_data_txt_fd(xml_data *x, int fd);

/// Appends an element with escaped text: <name>text</name> LF
/// @param x      the buffer
/// @param name   appended as it is; null: only the ends of both tags
/// @param text   null counts as empty
void xml_data_element(xml_data *x, const char *name, const char *text);

QMV_END_DECLS

#endif
