/*
 * Files and text utilities: whole-length reading and writing of descriptors, lines, files and
 * directories, UTF-8 and UCS-2, bounded copies, the GSM 7-bit alphabet, base64, CRC-32.
 *
 * Descriptor functions retry a call that a signal interrupted, leave errno as the failed call set
 * it, and never close the descriptor that they are given. Counts are signed 32-bit.
 */
#ifndef QMV_UTIL_H
#define QMV_UTIL_H

#include <qmv/types.h>

QMV_BEGIN_DECLS

/* ---- Descriptors ---- */

/// Reads up to `len` bytes, until they are all there or the input ends.
/// @param fd    any readable descriptor
/// @param buf   room for len bytes; after a failure its contents are undefined
/// @param len   below 1: nothing is read, and buf may be null
/// @return
///  - 0 to len: bytes read; fewer than len means that the input ended
///  - -1: a read failed (EAGAIN included); bytes read before are lost to the caller
int full_read_fd(int fd, void *buf, int len);

/// Writes `len` bytes, in as many calls as it takes.
/// @param fd    any writable descriptor
/// @param buf   the bytes; may be null when len is below 1
/// @param len   below 1: nothing is written
/// @return
///  - len (0 when len is below 1): all bytes were written
///  - -1: a write failed; some bytes may have been written
/// Intended: a write that accepts 0 bytes is tried again, without limit.
int full_write_fd(int fd, const void *buf, int len);

/// Copies the rest of one descriptor to another, 4096 bytes at a time.
/// @param in_fd    any readable descriptor
/// @param out_fd   any writable descriptor
/// @return
///  - 0 or more: bytes copied, at most 2147483647 even when more were
///  - -1: a read or a write failed
int full_copy_fd(int in_fd, int out_fd);

/// Prints the file behind a descriptor, from its current position.
/// Meant for regular files: one that reports no size, such as a pipe, prints nothing.
/// @param fd   a readable file
/// @return
///  - 0 or more: bytes printed, at most 2147483647 even when more were; 0 for an empty file
///  - -1: fstat or a read failed, or stdout did not take the bytes
int print_fd(int fd);

/// Prints a file size for an HTML page: "1024&nbsp;Bytes", "1&nbsp;KiB".
/// @param size   bytes; 1025 and more print as KiB, rounded down, everything else as bytes
/// @return bytes printed, or negative when stdout failed
int print_fsize(long long size);

/// Reads one line that ends in CR LF, a byte at a time, and nothing behind it.
/// A lone CR or LF belongs to the line.
/// @param fd     any readable descriptor
/// @param buf    receives the line without CR LF and a terminator; undefined unless the result is
///               positive or an empty line was read
/// @param size   bytes at `buf`, at least 2; the longest line has size - 2 bytes
/// @return
///  - above 0: length of the line
///  - 0: an empty line, or the input ended before CR LF (what was read is lost)
///  - -1: a null buffer, a size below 2, or a read failed
/// Intended: a longer line is not returned in pieces; it is read to the end of the input.
int full_line_read_fd(int fd, char *buf, unsigned size);

/// Calls back for each line of a file.
/// @param path       the file
/// @param callback   receives ctx and the line with its newline, valid during the call and
///                   changeable; its result is ignored; null: lines are read and dropped
/// @param ctx        handed to the callback
/// @return
///  - 0: the whole file was read
///  - -1: a null path, a file that cannot be opened or closed, or no memory (no line was read)
int rd_file_line(const char *path, int (*callback)(void *ctx, char *line), void *ctx);

/* ---- Files and directories ---- */

/// Removes the file whose path a printf format gives.
/// @param format,...   of the path
/// @return
///  - 0: it was removed
///  - -1: a null format, no memory, or unlink() failed
int remove_filef(const char *format, ...) QMV_PRINTF(1, 2);

/// Removes a directory and the files in it, hidden ones too. Directories in it are not entered:
/// they stay, and so does this one.
/// @param dir   path of the directory
/// @return
///  - 0: it was removed
///  - -1: a null argument, or rmdir() failed
int remove_dir_leaf(const char *dir);

/// Counts the entries of a directory whose names do not begin with ".".
/// @param path   the directory
/// @return
///  - 0 or more: their number
///  - -1: a null argument, or the directory cannot be opened
int check_dir(const char *path);

/// Creates a directory. "." is always there.
/// @param path    changed while the function works, and restored
/// @param mode    permissions of the directory; -1: those that mkdir gives. Parents get 0777 less
///                the umask, and in any case write and search permission for their owner
/// @param flags   0x4: missing parents are created, and a directory that exists is accepted, with
///                its permissions left alone
/// @return
///  - 0: the directory is there
///  - -1: a null argument, or it failed: "can't create directory 'PATH'" or "can't set permissions
///    of directory 'PATH'" stands on stderr, without a newline
int make_directory(char *path, int mode, unsigned flags);

/// Finds the file name in a path that a browser sent: what stands behind the last backslash
/// and, within that, behind the last "/".
/// @param path   with the separators of any system; may be null
/// @return a place in path; null for null
const char *valid_filename(const char *path);

/// Replaces each byte of a string that equals another, in place.
/// @param s      null: null is returned
/// @param from   compared with the byte as a signed char (intended): a byte above 0x7F is found by
///               its negative value only
/// @param to     what it is replaced by; 0 does not end the search
/// @return s
char *str_replace_chr(char *s, int from, int to);

/* ---- Text encodings ---- */

/// Decodes one UTF-8 character to a UCS-2 code and moves the cursor behind it.
/// @param cursor   the text; null, or pointing to null: 0 is returned
/// @param avail    bytes that may be read; 0xFFFFFFFF for a text that ends with a NUL
/// @return
///  - 1 to 0xFFFF: the character
///  - 0: the end of the text, or an invalid sequence. The cursor stays at a NUL and at a sequence
///    that `avail` cuts; it moves behind a stray continuation byte, a lead byte of four or more
///    bytes, and a lead byte with what follows it up to the first byte that does not belong there.
/// Intended: an ASCII byte where a continuation byte must stand is consumed with its lead byte;
/// bytes of 0xC0 and above count as continuation bytes; overlong forms and surrogates are accepted.
unsigned utf8_to_ucs2(const char **cursor, unsigned avail);

/// Encodes the low 16 bits of a code as UTF-8, without a terminator.
/// @param out    null: null is returned
/// @param room   bytes free at `out`
/// @param code   UCS-2 code; only the low 16 bits count
/// @return the place behind what was written: out itself when the 1 to 3 bytes do not fit
char *ucs2_to_utf8(char *out, unsigned room, unsigned code);

/// Counts the characters of a text.
/// @param s           null: 0 is returned and byte_len is left alone
/// @param max_chars   counting stops here
/// @param byte_len    may be null; receives the bytes that the counted characters take
/// @return characters counted; max_chars when an invalid sequence was met (intended: such a text
///         counts as full; byte_len then includes that sequence)
unsigned utf8_length(const char *s, unsigned max_chars, unsigned *byte_len);

/// Copies a string into a buffer and always terminates it.
/// @param dst    receives the copy
/// @param size   bytes at `dst`, terminator included
/// @param src    ended by a NUL, or at least `size` bytes long
/// @return
///  - 0 or more: length of the copy, which is whole
///  - -1: a null argument or a size of 0 (nothing is written), or the copy was cut to size - 1
int strsncpy(char *dst, unsigned size, const char *src);

/// Tells how many septets a character takes in the GSM 7-bit alphabet.
/// Two entries of the table are its own: U+00E7 stands in place of U+00C7, and U+00A0 is never
/// encodable.
/// @param code   UCS-2 code; only the low 16 bits count
/// @return
///  - 0: it cannot be encoded
///  - 1: one septet
///  - 2: two septets, an escape and another
int check_ucs2_to_gsm(unsigned code);

/* ---- Base64 and CRC-32 ---- */

/// Encodes bytes as base64, without line breaks, and terminates the text.
/// @param out        room for out_size bytes; nothing is written on failure
/// @param out_size   at least (in_len + 2) / 3 * 4 + 1
/// @param in         the bytes; may be null when there are none
/// @param in_len     negative: 0
/// @return
///  - 0 or more: length of the text, without the terminator
///  - -1: a null argument, or out_size is too small
int base64_encode(char *out, int out_size, const unsigned char *in, int in_len);

/// Decodes base64. Characters that are not part of it, line breaks and blanks among them, are
/// skipped.
/// @param out        room for out_size bytes, not terminated; undefined after a failure
/// @param out_size   bytes at `out`
/// @param in         the text; needs no terminator
/// @param in_len     characters of `in`; below 1: nothing is decoded
/// @return
///  - 0 or more: bytes written
///  - -1: a null argument, an incomplete last group, more than three "=", or text behind a "="
///  - -2: out_size is too small
int base64_decode(unsigned char *out, int out_size, const char *in, int in_len);

/// Updates a CRC-32 (IEEE 802.3) with more bytes, without inverting: the usual CRC of a text is the
/// complement of crc32(0xFFFFFFFF, text, length).
/// @param crc   the sum so far, 0xFFFFFFFF at first
/// @param buf   null: crc is returned
/// @param len   below 1: crc is returned
/// @return the new CRC
unsigned crc32(unsigned crc, const unsigned char *buf, int len);

QMV_END_DECLS

#endif
