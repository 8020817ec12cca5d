// <input type="text" size="N" maxlength="N" value="VALUE"FORMAT FLAGS>
// <input type="password" maxlength="N" value="&#8226;&#8226;" data-value="VALUE"FORMAT FLAGS>
#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/util.h"
#include "qmv/widgets.h"
#include "util/ascii.h"
#include "util/scratch.h"
#include "widgets/tag.h"
#include "widgets/text.h"

namespace {

constexpr unsigned kBullet = 0x2022;
constexpr unsigned kConcealed = PRINT_PASSWORD | PRINT_MASKED;

/// Takes the characters of a text box one by one into a buffer of `room` bytes and a terminator.
class TextCollector {
  public:
    TextCollector(char *out, unsigned room, textbox_filter filter)
        : start_(out), cursor_(out), room_(room), filter_(filter) {}

    [[nodiscard]] unsigned bytes() const { return static_cast<unsigned>(cursor_ - start_); }
    [[nodiscard]] unsigned chars() const { return chars_; }

    [[nodiscard]] bool accepts(unsigned ch) const {
        return filter_ == nullptr || filter_(bytes(), ch) != 0;
    }

    /// Adds a character. False when it does not fit.
    bool add(unsigned ch) {
        char *const next = ucs2_to_utf8(cursor_, room_ - bytes(), ch);
        if (next == cursor_)
            return false;
        cursor_ = next;
        ++chars_;
        return true;
    }

    void terminate() { *cursor_ = '\0'; }

  private:
    char *start_;
    char *cursor_;
    unsigned room_;
    textbox_filter filter_;
    unsigned chars_ = 0;
};

/// A buffer in which the characters of a posted value can be collected. An overlong sequence can
/// take one byte more than it had, so there is room for one more than the value has, and a
/// terminator.
class PostedText {
  public:
    PostedText(const char *value, textbox_filter filter)
        : length_(std::strlen(value)),
          buffer_(length_ + 2),
          collector(buffer_.get(), static_cast<unsigned>(length_) + 1, filter) {}

    explicit operator bool() const { return static_cast<bool>(buffer_); }

    int update(const char *dir, const char *name, unsigned maxchars) {
        collector.terminate();
        return update_textbox(dir, name, buffer_.get(), maxchars);
    }

  private:
    size_t length_;
    qmv::Scratch buffer_;

  public:
    TextCollector collector;
};

/// The text of an item that a box of so many characters shows, and the flags to show it with.
class ItemText {
  public:
    ItemText(const char *dir, const char *name, unsigned maxchars, unsigned flags)
        : buffer_(static_cast<size_t>(qmv::byte_limit(maxchars)) + 1),
          flags_(buffer_ ? rd_textbox_item(dir, name, buffer_.get(),
                                           static_cast<unsigned>(qmv::byte_limit(maxchars)),
                                           maxchars, flags)
                         : flags | PRINT_DISABLED) {}

    [[nodiscard]] const char *text() { return buffer_ ? buffer_.get() : ""; }
    [[nodiscard]] unsigned flags() const { return flags_; }

  private:
    qmv::Scratch buffer_;
    unsigned flags_;
};

void print_value(unsigned size, const char *value, unsigned flags) {
    const int width = static_cast<int>(size);
    if ((flags & kConcealed) == 0) {
        if (value != nullptr)
            html_printf(1, " value=\"%*s\"", width, value);
        return;
    }
    // Intended: a disabled box does not even show how long its value is; without a limit that is a
    // great many bullets.
    const int bullets =
        (flags & PRINT_DISABLED) != 0 ? width : static_cast<int>(utf8_length(value, size, nullptr));
    html_printf(1, " value=\"%*c\"", bullets, kBullet);
    if ((flags & PRINT_DATA_VALUE) != 0)
        html_printf(1, " data-value=\"%*s\"", bullets, value);
}

}  // namespace

int gen_xtextbox(int size, const char *value, unsigned flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = vgen_xtextbox(size, value, flags, format, args);
    va_end(args);
    return result;
}

int vgen_xtextbox(int size, const char *value, unsigned flags, const char *format, va_list args) {
    const unsigned limit = size < 0 ? INT_MAX : static_cast<unsigned>(size);
    qmv::open_input((flags & PRINT_PASSWORD) != 0 ? "password" : "text");
    if ((flags & PRINT_SIZE) != 0)
        std::printf(" size=\"%u\"", limit);
    qmv::print_maxlength(limit, flags);
    print_value(limit, value, flags);
    return qmv::close_tag(flags, format, args);
}

int scan_textbox(const char *in, unsigned maxchars, unsigned minchars, char *out, unsigned outsize,
                 textbox_filter filter) {
    if (out == nullptr || outsize == 0)
        return -1;
    TextCollector text(out, outsize, filter);
    const char *cursor = in != nullptr ? in : "";
    while (*cursor != '\0' && text.chars() < maxchars) {
        const unsigned ch = utf8_to_ucs2(&cursor, qmv::kNoLimit);
        if (ch != 0 && text.accepts(ch) && !text.add(ch))
            break;
    }
    text.terminate();
    if (text.chars() < minchars)
        return -2;
    return text.bytes() > 0 ? 1 : 0;
}

int update_textbox(const char *dir, const char *name, const char *value, unsigned maxchars) {
    return update_item(dir, name, value, qmv::byte_limit(maxchars));
}

int update_textbox_item(const char *dir, const char *name, const char *value, unsigned maxchars,
                        textbox_filter filter) {
    if (value == nullptr)
        return -1;
    PostedText text(value, filter);
    if (!text)
        return -1;
    while (*value != '\0' && text.collector.chars() < maxchars) {
        const unsigned ch = utf8_to_ucs2(&value, qmv::kNoLimit);
        // One that does not fit is left out.
        if (ch != 0 && text.collector.accepts(ch))
            text.collector.add(ch);
    }
    return text.update(dir, name, maxchars);
}

unsigned rd_textbox_item(const char *dir, const char *name, char *buf, unsigned bufsize,
                         unsigned maxchars, unsigned flags) {
    if (buf == nullptr)
        return flags | PRINT_DISABLED;
    const int length = read_item(dir, name, buf, qmv::clamp_to_int(bufsize));
    qmv::cut_text(buf, maxchars);
    return qmv::flags_after_read(length, flags);
}

unsigned gen_xtextbox_item(const char *dir, const char *name, unsigned maxchars, unsigned flags,
                           const char *format, ...) {
    ItemText item(dir, name, maxchars, flags);
    va_list args;
    va_start(args, format);
    vgen_xtextbox(qmv::clamp_to_int(maxchars), item.text(), item.flags(), format, args);
    va_end(args);
    return item.flags();
}

unsigned gen_json_text(const char *value, const char *name, unsigned flags) {
    if (name == nullptr)
        return flags;
    print_json_flags(flags);
    if (value == nullptr || (flags & PRINT_DISABLED) != 0)
        qmv::print_json_null(name);
    else  // Intended: neither is escaped.
        std::printf("\"%s\": \"%s\"", name, value);
    return flags | PRINT_JSON_COMMA | (value == nullptr ? PRINT_DISABLED : 0);
}

unsigned gen_json_text_item(const char *dir, const char *name, unsigned maxchars,
                            const char *jsonname, unsigned flags) {
    ItemText item(dir, name, maxchars, flags);
    return gen_json_text(item.text(), jsonname, item.flags());
}

int update_password_item(const char *dir, const char *name, const char *value, unsigned maxchars,
                         textbox_filter filter, unsigned *rejected) {
    if (value == nullptr)
        return -1;
    PostedText text(value, filter);
    if (!text)
        return -1;
    unsigned seen = 0;
    unsigned refused = 0;
    while (*value != '\0' && text.collector.chars() < maxchars) {
        const unsigned ch = utf8_to_ucs2(&value, qmv::kNoLimit);
        if (ch == 0)
            continue;
        ++seen;
        if (ch == kBullet)
            continue;
        if (!text.collector.accepts(ch))
            ++refused;
        else
            text.collector.add(ch);
    }
    if (rejected != nullptr)
        *rejected = refused;
    // Intended: with any bullet or refused character in it, nothing is written; an empty value is.
    return seen == text.collector.chars() ? text.update(dir, name, maxchars) : 0;
}

int gen_text_item(const char *dir, const char *name) {
    const int limit = static_cast<int>(::sysconf(_SC_PAGESIZE)) - 1;
    qmv::Scratch text(static_cast<size_t>(limit) + 1);
    const int length = text ? read_item(dir, name, text.get(), limit) : -1;
    if (length > 0)
        html_print_text(text.get());
    return length;
}
