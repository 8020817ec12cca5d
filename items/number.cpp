#include <fcntl.h>
#include <strings.h>

#include <cstdarg>
#include <cstdio>

#include "qmv/items.h"
#include "util/ascii.h"
#include "util/format.h"

namespace {

/// Room for a number's text: its first 15 bytes and a terminator.
class NumberText {
  public:
    /// Reads the text. Returns its length, or what is not above 0 when there is none.
    int read(int fd) { return read_item_fd(fd, text_, kLength); }
    [[nodiscard]] const char *get() const { return text_; }

  private:
    static constexpr int kLength = 15;
    char text_[kLength + 1] = {};
};

}  // namespace

unsigned str_to_uint(const char *s) {
    return s != nullptr ? qmv::take_decimal(s) : 0;
}

int str_to_sint(const char *s) {
    if (s == nullptr || *s != '-')
        return static_cast<int>(str_to_uint(s));
    return static_cast<int>(0 - str_to_uint(s + 1));
}

int read_item_uint_fd(int fd, unsigned *out) {
    NumberText text;
    const int length = text.read(fd);
    if (length < 1)
        return length;
    const unsigned value = str_to_uint(text.get());
    // Intended: without a place to store it the number is the result, kept from being negative.
    if (out == nullptr)
        return qmv::clamp_to_int(value);
    *out = value;
    return length;
}

int read_item_uint(const char *dir, const char *name, unsigned *out) {
    const qmv::Descriptor item(open_path_name(dir, name, O_RDONLY, 0));
    return read_item_uint_fd(item.get(), out);
}

int read_item_uint_fmt(unsigned *out, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const auto path = qmv::format_text(format, args);
    va_end(args);
    if (!path || path[0] == '\0')
        return -1;
    const qmv::Descriptor item(open_path_name("", path.get(), O_RDONLY, 0));
    return read_item_uint_fd(item.get(), out);
}

int read_item_sint_fd(int fd, int *out) {
    NumberText text;
    const int length = text.read(fd);
    // Intended: without a place to store it nothing is converted, unlike an unsigned number.
    if (length > 0 && out != nullptr)
        *out = str_to_sint(text.get());
    return length;
}

int read_item_sint(const char *dir, const char *name, int *out) {
    const qmv::Descriptor item(open_path_name(dir, name, O_RDONLY, 0));
    return read_item_sint_fd(item.get(), out);
}

unsigned bool_to_uint(const char *s) {
    if (s == nullptr)
        return 0;
    return ::strcasecmp(s, "true") == 0 || str_to_uint(s) > 0 ? 1 : 0;
}

int call_uint(const char *dir, const char *name, int (*fn)(unsigned value)) {
    if (fn == nullptr)
        return -2;
    // Intended: this is what fn gets for an empty item.
    unsigned value = 0xFFFFFFFF;
    if (read_item_uint(dir, name, &value) < 0)
        return -1;
    return fn(value);
}
