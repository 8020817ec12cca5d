#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#if defined(__SSE2__) && !defined(QMV_SMALL)
#include <emmintrin.h>
#endif

#include "qmv/html.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/classes.h"
#include "util/owners.h"
#include "util/utf8.h"

namespace {

// Code points from the first on are printed as references, by number or, from the second to 255, by
// name.
constexpr unsigned kFirstNumbered = 127;
constexpr unsigned kFirstNamed = 160;

// Entity names of the code points 160 to 255. A name that fills its slot would lack its terminator,
// so none does.
constexpr char kNames[][8] = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml",
};
static_assert(std::size(kNames) == 256 - kFirstNamed);

constexpr auto kNameLengths = [] {
    std::array<unsigned char, std::size(kNames)> lengths{};
    for (size_t i = 0; i < lengths.size(); ++i)
        lengths[i] = static_cast<unsigned char>(std::string_view(kNames[i]).size());
    return lengths;
}();

/// Where html_asprint_text() grows its string: in steps, as soon as fewer bytes than this are free.
constexpr size_t kGrowth = 4096;
constexpr size_t kReserve = 16;

#if defined(__SSE2__) && !defined(QMV_SMALL)
/// A bit for each of 16 bytes that are not plain. Some of them may stand outside of the text.
[[gnu::no_sanitize_address]] unsigned find_special(const char *block) {
    const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i *>(block));
    const auto is = [&bytes](char either, char differing_bit) {
        const __m128i other_bits = _mm_set1_epi8(static_cast<char>(~differing_bit));
        return _mm_cmpeq_epi8(_mm_and_si128(bytes, other_bits), _mm_set1_epi8(either));
    };
    static_assert(('"' ^ '&') == 4 && ('"' & 4) == 0 && ('<' ^ '>') == 2 && ('<' & 2) == 0);
    // One more, as signed numbers, 0, 127 and all from 0x80 on are below 2.
    const __m128i one_more = _mm_add_epi8(bytes, _mm_set1_epi8(1));
    const __m128i outside = _mm_cmplt_epi8(one_more, _mm_set1_epi8(2));
    const __m128i special = _mm_or_si128(outside, _mm_or_si128(is('"', 4), is('<', 2)));
    return static_cast<unsigned>(_mm_movemask_epi8(special));
}

/// Length of the run of plain characters that a text begins with, at most `limit`.
size_t plain_run(const char *text, size_t limit) {
    if (limit == 0)
        return 0;
    // Aligned blocks do not reach into a page that the text does not reach into.
    const size_t skipped = reinterpret_cast<uintptr_t>(text) % 16;
    unsigned special = find_special(text - skipped) >> skipped;
    size_t length = 0;
    if (special == 0) {
        length = 16 - skipped;
        while (length < limit && (special = find_special(text + length)) == 0)
            length += 16;
    }
    if (special != 0)
        length += static_cast<size_t>(std::countr_zero(special));
    return std::min(length, limit);
}
#else
size_t plain_run(const char *text, size_t limit) {
    size_t length = 0;
    while (length < limit && (qmv::class_of(text[length]) & qmv::kHtmlText) != 0)
        ++length;
    return length;
}
#endif

/// Writes "#" and a number of three to five digits. Returns the length.
size_t put_number(char *out, unsigned number) {
    const size_t digits = number < 1000 ? 3 : (number < 10000 ? 4 : 5);
    out[0] = '#';
    for (size_t place = digits; place > 0; --place) {
        out[place] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return digits + 1;
}

/// Writes a plain or a markup character to a place with room for kReserve bytes. Returns the length,
/// 0 for any other byte.
size_t put_ascii(char *out, char c) {
    const unsigned kind = qmv::class_of(c);
    *out = c;
    if ((kind & qmv::kHtmlText) != 0)
        return 1;
    if (kind >> qmv::kEntityShift == 0)
        return 0;
    return static_cast<size_t>(qmv::put(out, qmv::entity_of(kind)) - out);
}

/// Writes a code point as text or as an entity to a place with room for kReserve bytes. Returns the
/// length.
size_t encode(char *out, unsigned cp) {
    if (cp < kFirstNumbered)
        return put_ascii(out, static_cast<char>(cp));
    out[0] = '&';
    size_t length = 1;
    if (cp >= kFirstNamed && cp <= 255) {
        const char *name = kNames[cp - kFirstNamed];
        std::memcpy(out + 1, name, sizeof kNames[0]);
        length += kNameLengths[cp - kFirstNamed];
    } else {
        length += put_number(out + 1, cp);
    }
    out[length] = ';';
    return length + 1;
}

/// Escaped text on its way to stdout.
class EscapedOutput {
  public:
    /// Adds the plain and markup characters that a text begins with, at most `limit`. Returns their
    /// number.
    size_t add_ascii(const char *text, size_t limit) {
        size_t length = 0;
        for (;;) {
            const size_t before = used_;
            const size_t added = add_few(text + length, std::min(limit - length, kFew));
            length += added;
            if (added < kFew)
                return length;
            if (used_ != before + kFew)
                continue;
            const size_t plain = plain_run(text + length, limit - length);
            add_plain(text + length, plain);
            length += plain;
        }
    }

    void add_plain(const char *text, size_t length) {
        if (length > sizeof buffer_ - used_)
            flush();
        if (length > sizeof buffer_) {
            print({text, length});
        } else {
            std::memcpy(buffer_ + used_, text, length);
            used_ += length;
        }
    }
    void add(unsigned cp) {
        if (sizeof buffer_ - used_ < kReserve)
            flush();
        used_ += encode(buffer_ + used_, cp);
    }
    /// Returns how many bytes were printed.
    int finish() {
        flush();
        return static_cast<int>(printed_);
    }

    void flush() { print({buffer_, std::exchange(used_, 0)}); }

    void add_printed(int count) { printed_ += static_cast<unsigned>(count); }

  private:
    static constexpr size_t kFew = 8;  // a run of fewer characters is copied faster than searched

    /// As add_ascii(), for up to kFew characters.
    size_t add_few(const char *text, size_t limit) {
        if (sizeof buffer_ - used_ < kFew * sizeof(qmv::ShortText))
            flush();
        char *to = buffer_ + used_;
        size_t length = 0;
        for (; length < limit; ++length) {
            if ((qmv::class_of(text[length]) & qmv::kHtmlText) != 0) {
                *to++ = text[length];
                continue;
            }
            const size_t printed = put_ascii(to, text[length]);
            if (printed == 0)
                break;
            to += printed;
        }
        used_ = static_cast<size_t>(to - buffer_);
        return length;
    }

    /// Each character is printed on its own account: one that fails does not keep the following
    /// ones from being tried, though nothing more of its own entity is.
    void print(std::string_view escaped) {
        for (;;) {
            const auto size = static_cast<unsigned>(escaped.size());
            const auto done = static_cast<unsigned>(print_mem(escaped.data(), size));
            printed_ += done;
            if (done == size)
                return;
            escaped.remove_prefix(behind_character(escaped, done));
        }
    }

    /// The end of the character that the byte at a place belongs to.
    static size_t behind_character(std::string_view text, size_t place) {
        size_t end = 0;
        while (end <= place && end < text.size())
            end = text[end] == '&' ? text.find(';', end) + 1 : end + 1;
        return end;
    }

    char buffer_[1024];
    size_t used_ = 0;
    unsigned printed_ = 0;
};

/// Prints the mark that the character behind an ESC selects.
int print_mark(char selector) {
    switch (selector) {
        case 'B':
            return print_str("<b>");
        case 'b':
            return print_str("</b>");
        case 'U':
            return print_str("<u>");
        case 'u':
            return print_str("</u>");
        default:
            return 0;
    }
}

}  // namespace

int html_entity_encode(unsigned char *buf, unsigned cp) {
    if (buf == nullptr)
        return 0;
    char entity[kReserve];
    const size_t length = encode(entity, cp & 0xFFFF);
    std::memcpy(buf, entity, length);
    return static_cast<int>(length);
}

int html_print_ucs2(unsigned cp) {
    unsigned char entity[24];
    return print_mem(entity, static_cast<unsigned>(html_entity_encode(entity, cp)));
}

int html_print_text(const char *utf8) {
    if (utf8 == nullptr)
        return 0;
    EscapedOutput output;
    while (*utf8 != '\0') {
        if (static_cast<unsigned char>(*utf8) < kFirstNumbered) {
            utf8 += output.add_ascii(utf8, INT_MAX);
            continue;
        }
        output.add(qmv::take_code(utf8, qmv::kNoLimit));
    }
    return output.finish();
}

int html_print_text_limit(unsigned max_chars, const char *utf8, unsigned max_bytes) {
    if (utf8 == nullptr)
        return 0;
    EscapedOutput output;
    while (max_bytes > 0 && max_chars > 0 && *utf8 != '\0') {
        const size_t plain =
            output.add_ascii(utf8, std::min({max_bytes, max_chars, unsigned{INT_MAX}}));
        if (plain > 0) {
            utf8 += plain;
            max_bytes -= max_bytes == qmv::kNoLimit ? 0 : static_cast<unsigned>(plain);
            max_chars -= max_chars == qmv::kNoLimit ? 0 : static_cast<unsigned>(plain);
            continue;
        }
        const char *const begin = utf8;
        const unsigned code = qmv::take_code(utf8, max_bytes);
        if (code == 0)
            break;
        output.add(code);
        max_bytes -= max_bytes == qmv::kNoLimit ? 0 : static_cast<unsigned>(utf8 - begin);
        max_chars -= max_chars == qmv::kNoLimit ? 0 : 1;
    }
    return output.finish();
}

int html_asprint_text(char **out, const char *utf8) {
    if (out == nullptr || utf8 == nullptr)
        return -1;
    size_t capacity = kGrowth;
    size_t length = 0;
    auto text = qmv::Block<char>::allocate(capacity);
    if (!text)
        return -1;
    while (*utf8 != '\0') {
        if (capacity - length < kReserve) {
            if (capacity + kGrowth > INT_MAX || !text.resize(capacity + kGrowth))
                break;
            capacity += kGrowth;
        }
        length += encode(text.get() + length, qmv::take_code(utf8, qmv::kNoLimit));
    }
    text[length] = '\0';
    *out = text.release();
    // Intended: the size of the memory, not the length of the text.
    return static_cast<int>(capacity);
}

int html_print_text_nl(const char *utf8) {
    constexpr char kEscape = 27;
    if (utf8 == nullptr)
        return 0;
    EscapedOutput output;
    while (*utf8 != '\0') {
        if (*utf8 == '\n') {
            output.flush();
            output.add_printed(print_str("<br>"));
            ++utf8;
        } else if (*utf8 == kEscape) {
            ++utf8;
            output.flush();
            output.add_printed(print_mark(*utf8));
            if (*utf8 != '\0')
                ++utf8;
        } else {
            output.add(qmv::take_code(utf8, qmv::kNoLimit));
        }
    }
    return output.finish();
}
