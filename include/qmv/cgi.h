/*
 * CGI request intake: decodes the environment and the body of one request into batches of
 * variables, and streams the content of uploaded parts.
 *
 * A program calls getcgivars() once. A malformed request is answered by the library itself: the
 * line "Content-Type: text/plain", an empty line and a message are printed, each with CR LF, and
 * the process exits with status 1.
 */
#ifndef QMV_CGI_H
#define QMV_CGI_H

#include <qmv/types.h>

QMV_BEGIN_DECLS

/// Decodes the request and hands its variables to callbacks, one call per batch.
/// Reads REQUEST_METHOD, QUERY_STRING, CONTENT_TYPE and CONTENT_LENGTH; for a POST also
/// descriptor 0. GET and HEAD: one call in mode CGI_MODE_QUERY, none for an empty query string.
/// POST: query_cb first, in mode CGI_MODE_POST_QUERY; then body_cb, once in mode
/// CGI_MODE_URLENCODED or, in mode CGI_MODE_MULTIPART, with the boundary record, with each part
/// (the boundary record, then headers and their parameters, at most six records), and at the end
/// with a null record. In a part's call the callback must consume the content with
/// scan_boundary() and return its result: 0 goes on to the next part.
/// @param ctx        handed to the callbacks
/// @param body_cb    takes the body; also the query string of a GET when query_cb is null
/// @param query_cb   takes the query string; null: that of a POST is ignored
/// @return
///  - the result of the callback's only call, or of its last one for a multipart body
///  - 0: there was nothing to decode (an empty query string or body), or no memory for a copy of
///    the query string or the boundary
///  - negative: query_cb's result for a POST, whose body was then not decoded
///  - number of variables: no callback was given, or there was no memory for the records
/// Exits the process on an unknown method, content type (one of a form with a parameter such as
/// "; charset=UTF-8" included) or length, when the body of a form cannot be read or stored, and
/// when a header line of a part cannot. A body shorter than announced is decoded as far as it
/// arrived. Of a part's header lines the first five are kept that begin with "Content-" and have a
/// ":". A parameter is name="value"; what follows one of another form is left out.
/// Intended: the type in front of ";" may be any prefix of "multipart/form-data"; the boundary is
/// all behind "boundary=", quotes included; five kept lines end the headers of a part, and a line
/// of more than 1022 bytes takes the rest of the input with it.
int getcgivars(void *ctx, cgivars_callback body_cb, cgivars_callback query_cb);

/// Decodes one text of variables, or reads a multipart body from descriptor 0. Used by
/// getcgivars(), and may exit as it does when a header line cannot be read or stored.
/// @param ctx    handed to the callback
/// @param text   changed in place; in mode CGI_MODE_MULTIPART the boundary. Null, or empty in the
///               other modes: 0 is returned without a call
/// @param cb     may be null: variables are counted, parts are skipped
/// @param mode   one of qmv_cgi_mode
/// @return as getcgivars(); 0 for a multipart body without a callback
int cgidecode(void *ctx, char *text, cgivars_callback cb, unsigned mode);

/// Decodes the %XX escapes of a string in place; other characters stay.
/// @param s   may be null: nothing happens
/// A "%" without two characters behind it ends the string, and so does an encoded NUL.
/// Intended: the two characters are not validated; others than hexadecimal digits give some byte.
void cgi_unescape(char *s);

/// Streams the content of a part to a writer, up to and including the next delimiter line.
/// Never reads a byte behind the delimiter's tail, so that the next part's headers can follow.
/// @param fd           where the body is read from; 0 in a callback of getcgivars()
/// @param boundary     the boundary, up to its end or first CR; null: 2 is returned
/// @param state        the result for the closing delimiter; programs pass 3
/// @param writer       receives the content in order, at most 1024 bytes a call; the last call may
///                     have 0 bytes, and an empty part gets one such call; its result is ignored;
///                     null: the content is discarded
/// @param writer_ctx   handed to the writer
/// @return
///  - 0: another part follows; the input stands at its headers
///  - state: the closing delimiter was read, with the two bytes behind its tail
///  - 2: the input ended, a read failed or there was no memory; what was handed over stays, the
///    last bytes, fewer than a delimiter has, are lost
int scan_boundary(int fd, const char *boundary, unsigned state, qmv_writer writer,
                  void *writer_ctx);

/// Writer to a descriptor, for scan_boundary().
/// @param fd_ptr   pointer to an int, the descriptor; one below 1 is not written to
/// @param buf      the bytes
/// @param len      below 1: nothing is written
/// @return
///  - 0: done; a failed write is not reported
///  - -1: fd_ptr is null
int mpart_write_fd(void *fd_ptr, const void *buf, int len);

/// Writer to a standard I/O stream, for scan_boundary().
/// @param stream   a FILE *
/// @param buf      the bytes
/// @param len      below 1: nothing is written
/// @return
///  - 0: done; a failed write is not reported
///  - -1: stream is null
int mpart_fwrite(void *stream, const void *buf, int len);

QMV_END_DECLS

#endif
