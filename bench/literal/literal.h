/*
 * What the benchmarks compare the library with: its functions once more, step by step as their
 * comments in the headers of qmv/ say, without any means to make them faster. Each has the results
 * of its namesake; the benchmarks check that on their inputs before they measure.
 */
#ifndef QMV_BENCH_LITERAL_LITERAL_H
#define QMV_BENCH_LITERAL_LITERAL_H

#include <qmv.h>

#pragma GCC visibility push(default)

namespace literal {

int full_read_fd(int fd, void *buf, int len);
int full_write_fd(int fd, const void *buf, int len);
int full_line_read_fd(int fd, char *buf, unsigned size);

unsigned utf8_to_ucs2(const char **cursor, unsigned avail);
unsigned utf8_length(const char *s, unsigned max_chars, unsigned *byte_len);

int base64_encode(char *out, int out_size, const unsigned char *in, int in_len);
int base64_decode(unsigned char *out, int out_size, const char *in, int in_len);
unsigned crc32(unsigned crc, const unsigned char *buf, int len);

/// Of a query string or an urlencoded body only.
int cgidecode(void *ctx, char *text, cgivars_callback cb, unsigned mode);

/// For boundaries of 500 bytes at most.
int scan_boundary(int fd, const char *boundary, unsigned state, qmv_writer writer,
                  void *writer_ctx);

int html_print_text(const char *utf8);

int read_item(const char *dir, const char *name, char *buf, int size);
int update_item(const char *dir, const char *name, const char *value, int size);

void xml_data_append(xml_data *x, const void *bytes, int n);
void xml_data_str(xml_data *x, const char *s);
void xml_data_header(xml_data *x);
void xml_data_tag(xml_data *x, const char *name, unsigned kind);
void xml_data_txt(xml_data *x, const char *text, int n);
void xml_data_element(xml_data *x, const char *name, const char *text);

}  // namespace literal

#pragma GCC visibility pop

#endif
