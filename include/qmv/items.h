/*
 * Item store: configuration values, one small file for each, addressed by directory and name.
 *
 * A file holds the value and one newline. A reader takes the bytes up to the first control
 * character (0x00 to 0x1F, 0x7F). Directory and name are joined with one "/"; an empty directory
 * leaves the name as it stands. Neither is checked: a name that a client sent must be looked up
 * among known names first. Files are rewritten in place: a write that fails, -1, leaves the item
 * empty or in part.
 */
#ifndef QMV_ITEMS_H
#define QMV_ITEMS_H

#include <qmv/types.h>

QMV_BEGIN_DECLS

/* ---- Item paths ---- */

/// Joins directory and name, and calls a function with the path.
/// @param action     receives the path, valid during the call, and a and b
/// @param a,b        handed to action
/// @param dir,name   joined to the path
/// @return
///  - the function's result
///  - -1: a null argument, or no memory; nothing was called
int _func_path_name(int (*action)(const char *path, int a, unsigned b), const char *dir,
                    const char *name, int a, unsigned b);

/// Opens an item.
/// @param dir,name     the item
/// @param flags,mode   as for open()
/// @return
///  - 0 or more: the descriptor, which the caller closes
///  - -1: a null argument, or open() failed
int open_path_name(const char *dir, const char *name, int flags, unsigned mode);

/// Tells whether an item exists.
/// @param dir,name   the item
/// @return
///  - 0: it does
///  - -1: it does not, or cannot be asked for
int stat_item(const char *dir, const char *name);

/// Removes an item.
/// @param dir,name   the item
/// @return
///  - 0: it was removed
///  - -1: a null argument, or unlink() failed
int remove_item(const char *dir, const char *name);

/* ---- Reading items ---- */

/// Reads a value from a descriptor.
/// @param fd     negative: returned as it is, so that a failed open can be handed on
/// @param buf    room for size + 1 bytes; receives the value and a terminator
/// @param size   bytes to read at most
/// @return
///  - 0 or more: length of the value
///  - negative: fd itself, with buf left alone; -1 for a null buffer; -1 for a failed read, and
///    then buf holds ""
int read_item_fd(int fd, char *buf, int size);

/// Reads an item's value.
/// @param dir,name   the item
/// @param buf        room for size + 1 bytes; holds "" when the item cannot be read
/// @param size       bytes to read at most
/// @return
///  - 0 or more: length of the value
///  - -1: a null argument, or the item cannot be opened or read
int read_item(const char *dir, const char *name, char *buf, int size);

/// Reads a value from a descriptor into new memory.
/// Takes as many bytes as the file says that it has, plus one, and at least min_size + 1: a file
/// that reports no size, as under /proc, is read up to there.
/// @param fd         negative: returned as it is
/// @param out        receives the string, which the caller frees, also after a failed read; it is
///                   left alone when nothing was allocated
/// @param min_size   negative: the size of a memory page, less one
/// @return
///  - 0 or more: length of the value
///  - negative: fd itself, or -1 for a null argument, no memory, or a failed fstat or read
int read_item_alloc_fd(int fd, char **out, int min_size);

/// Reads an item's value into new memory; see read_item_alloc_fd().
/// @param dir,name   the item
/// @param out        receives the string, which the caller frees; set it to null before the call
/// @return
///  - 0 or more: length of the value
///  - -1: a null argument, no memory, or the item cannot be opened or read
int read_item_alloc(const char *dir, const char *name, char **out);

/// Reads an item that holds a list and calls back for each element, as parse_items_str() does.
/// @param callback    receives ctx and the element; its result is ignored
/// @param ctx         handed to the callback
/// @param dir,name    the item
/// @param separator   the character between elements; 0: the whole value is one element
/// @return
///  - 0 or more: length of the whole value
///  - -1: a null argument, or the item cannot be opened or read
int read_items_str(int (*callback)(int ctx, char *element), int ctx, const char *dir,
                   const char *name, int separator);

/* ---- Item numbers ---- */

/// Converts decimal digits to a number, up to the first other character.
/// @param s   null, or not beginning with a digit (a blank or a sign included): 0 is returned
/// @return the number, modulo 2^32
unsigned str_to_uint(const char *s);

/// Converts an optional "-" and decimal digits to a number, up to the first other character.
/// @param s   null, or not beginning with a digit or "-" and a digit: 0 is returned
/// @return the number, modulo 2^32
int str_to_sint(const char *s);

/// Reads an unsigned number from a descriptor: the first 15 bytes at most.
/// @param fd    negative: returned as it is
/// @param out   receives the number unless the value is empty; may be null
/// @return
///  - above 0: length of the text; with a null out the number itself, 2147483647 at most
///  - 0: the value is empty; out is left alone (with a null out also: the number is 0)
///  - negative: fd itself, or -1 for a failed read
int read_item_uint_fd(int fd, unsigned *out);

/// Reads an item that holds an unsigned number; see read_item_uint_fd().
/// @param dir,name   the item
/// @param out        receives the number unless the item is empty; may be null
/// @return
///  - 0 or more: as read_item_uint_fd()
///  - -1: a null directory or name, or the item cannot be opened or read
int read_item_uint(const char *dir, const char *name, unsigned *out);

/// Reads an unsigned number from a file whose path is given by a printf format.
/// @param out          receives the number unless the file is empty; may be null
/// @param format,...   of the path
/// @return
///  - 0 or more: as read_item_uint_fd()
///  - -1: a null format, an empty path, no memory, or the file cannot be opened or read
int read_item_uint_fmt(unsigned *out, const char *format, ...) QMV_PRINTF(2, 3);

/// Reads a signed number from a descriptor: the first 15 bytes at most.
/// @param fd    negative: returned as it is
/// @param out   receives the number unless the value is empty; may be null
/// @return
///  - above 0: length of the text, also with a null out (intended: unlike read_item_uint_fd())
///  - 0: the value is empty; out is left alone
///  - negative: fd itself, or -1 for a failed read
int read_item_sint_fd(int fd, int *out);

/// Reads an item that holds a signed number; see read_item_sint_fd().
/// @param dir,name   the item
/// @param out        receives the number unless the item is empty; may be null
/// @return
///  - 0 or more: length of the text
///  - -1: a null directory or name, or the item cannot be opened or read
int read_item_sint(const char *dir, const char *name, int *out);

/// Converts a text to a truth value.
/// @param s   null: 0 is returned
/// @return 1 for "true" in any case of letters and for a number above 0; else 0
unsigned bool_to_uint(const char *s);

/// Reads an item that holds an unsigned number and calls a function with it.
/// @param dir,name   the item
/// @param fn         receives the number; 0xFFFFFFFF for an empty item
/// @return
///  - fn's result
///  - -1: a null directory or name, or the item cannot be opened or read
///  - -2: fn is null
int call_uint(const char *dir, const char *name, int (*fn)(unsigned value));

/* ---- Posted lists ---- */

/// Takes one number from a list such as "5,6".
/// @param s     the list; leading blanks are skipped
/// @param out   receives the number, when there is one; may be null
/// @return the text behind the comma; null when no comma follows the number (it was the last, and
///         was stored) or when there is no number
const char *scan_uint(const char *s, unsigned *out);

/// Takes one group of numbers from a list such as "(1,2,3),(4,5)".
/// @param s          the list; leading blanks are skipped
/// @param count      running count of the numbers stored; not reset
/// @param array      receives numbers from array[*count] on
/// @param capacity   numbers to store at most in this call; further ones are dropped
/// @return
///  - the text behind the group and its comma: another group may follow
///  - the end of the text: the group was not closed
///  - null: the last group, or malformed text
///  - s itself: s, count or array is null
const char *scan_list_uint(const char *s, unsigned *count, unsigned *array, int capacity);

/// Splits a text in place and calls back for each element that is not empty.
/// Blanks in front of an element are skipped, those behind it are kept.
/// @param callback    receives ctx and the element; its result is ignored. Null: nothing happens
/// @param ctx         handed to the callback
/// @param s           the text; null: nothing happens
/// @param separator   the character between elements; 0: the whole text is one element
void parse_items_str(int (*callback)(int ctx, char *element), int ctx, char *s, int separator);

/* ---- Writing items ---- */

/// Creates or overwrites an item. A new file gets permission 0666 less the umask.
/// @param dir,name   the item
/// @param value      written up to its end or `len` bytes, with a newline behind
/// @param len        below 1: only the newline is written
/// @return
///  - above 0: bytes written, the newline included
///  - -1: a null argument, no memory, or the file cannot be opened or written
int create_item(const char *dir, const char *name, const char *value, int len);

/// Creates or overwrites an item with an unsigned decimal number.
/// @param dir,name   the item
/// @param value      the number
/// @return as create_item()
int create_item_uint(const char *dir, const char *name, unsigned value);

/// Creates or overwrites an item with two texts, one directly behind the other.
/// @param dir,name       the item
/// @param first,second   the texts
/// @return as create_item()
int create_concat_item(const char *dir, const char *name, const char *first, const char *second);

/// Compares an item's value with a text.
/// @param dir,name   the item
/// @param value      the text
/// @param size       bytes of both that count at most
/// @return
///  - 0: equal
///  - 1: different
///  - -1: a null argument, no memory, or the item cannot be opened or read
int compare_item(const char *dir, const char *name, const char *value, int size);

/// Overwrites an existing item when its value differs from a text.
/// The text is not cut at control characters, the stored value is: a text that holds one never
/// equals.
/// @param dir,name   the item
/// @param value      the text
/// @param size       bytes of both that count at most; longer text is cut
/// @return
///  - 0: equal; nothing was written
///  - above 0: bytes written, the newline included
///  - -1: a null argument, no memory, or the item does not exist or cannot be read or written
int update_item(const char *dir, const char *name, const char *value, int size);

/// Overwrites an existing item when it differs from an unsigned decimal number.
/// @param dir,name   the item
/// @param value      the number
/// @return as update_item()
int update_item_uint(const char *dir, const char *name, unsigned value);

/// Overwrites an existing item with an unsigned decimal number, equal or not.
/// @param dir,name   the item
/// @param value      the number
/// @return
///  - above 0: bytes written, the newline included
///  - -1: a null argument, or the item does not exist or cannot be written
int write_item_uint(const char *dir, const char *name, unsigned value);

/// Overwrites an existing item with a text, equal or not.
/// @param dir,name   the item
/// @param text       null: only the newline is written
/// @return
///  - above 0: bytes written, the newline included
///  - -1: a null directory or name, no memory, or the item does not exist or cannot be written
int write_item_text(const char *dir, const char *name, const char *text);

/* ---- Row tables ---- */

/// What every row of a table begins with. The program declares its row type with this as its first
/// member, and what a row holds behind it.
typedef struct xtable_row {
    struct xtable_row *prev;  ///< null for the first row
    struct xtable_row *next;  ///< null for the last row
    uint32_t number;          ///< position in the table, from 1
} xtable_row;

/// An ordered table of rows in memory, owned by the caller, who sets both pointers to null first.
/// Its rows come from malloc. A page addresses a row by its number.
typedef struct xtable {
    xtable_row *first;  ///< null for an empty table
    xtable_row *last;   ///< null for an empty table
} xtable;

/// Allocates a row, fills it with zeros, appends it and numbers the table.
/// @param table   where the row goes
/// @param size    bytes of the whole row; at least those of an xtable_row are allocated
/// @return the row, which belongs to the table; null for a null table or without memory
xtable_row *xtable_new_row(xtable *table, unsigned size);

/// Appends a row that came from malloc, without numbering. A null argument does nothing.
/// @param table   where the row goes
/// @param row     from malloc
void xtable_add_row(xtable *table, xtable_row *row);

/// Numbers the rows from 1.
/// @param table   may be null
/// @return number of rows; 0 for a null or empty table
unsigned xtable_index_row(xtable *table);

/// Finds a row by its number.
/// @param table    may be null
/// @param number   from 1
/// @return the first row with that number; null when there is none
xtable_row *xtable_search_row(xtable *table, unsigned number);

/// Swaps a row with the one in front of it and numbers the table.
/// @param table    may be null
/// @param number   of the row, from 1
/// @return
///  - 1: done
///  - 0: there is no such row, or it is the first
int xtable_move_up_row(xtable *table, unsigned number);

/// Swaps a row with the one behind it and numbers the table.
/// @param table    may be null
/// @param number   of the row, from 1
/// @return
///  - 1: done
///  - 0: there is no such row, or it is the last
int xtable_move_dn_row(xtable *table, unsigned number);

/// Takes a row out of its table and frees it, without numbering. A null argument does nothing.
/// @param table   where the row is
/// @param row     one of its rows
void xtable_rm_row(xtable *table, xtable_row *row);

/// Removes a row by its number, frees it and numbers the table.
/// @param table    may be null
/// @param number   of the row, from 1
/// @return
///  - 1: done
///  - 0: there is no such row
int xtable_del_row(xtable *table, unsigned number);

/// Sorts the rows with qsort and numbers the table. Rows that compare equal may change order.
/// @param table     may be null
/// @param width     sizeof(xtable_row *): any other width leaves the order as it is
/// @param compare   receives two pointers to row pointers; null leaves the order as it is
/// @return
///  - 1: the rows are sorted; without memory, with another width or a null compare the order is as
///    it was
///  - 0: a null or empty table
int xtable_sort(xtable *table, unsigned width, int (*compare)(const void *, const void *));

/// Frees all rows and empties the table. Null does nothing.
/// @param table   its rows come from malloc
void xtable_cleanup(xtable *table);

QMV_END_DECLS

#endif
