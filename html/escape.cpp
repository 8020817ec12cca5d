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
#include "util/owners.h"
#include "util/utf8.h"

namespace {

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

/// The name of a markup character, or an empty text.
constexpr std::string_view markup_name(unsigned cp) {
    switch (cp) {
        case '"':
            return "quot";
        case '&':
            return "amp";
        case '<':
            return "lt";
        case '>':
            return "gt";
        default:
            return {};
    }
}

/// Tells whether a byte is a whole character that prints as itself.
constexpr bool is_plain(unsigned char byte) {
    return byte != 0 && byte < 127 && markup_name(byte).empty();
}

constexpr std::array<bool, 256> make_plain_table() {
    std::array<bool, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte)
        table[byte] = is_plain(static_cast<unsigned char>(byte));
    return table;
}

constexpr auto kPlain = make_plain_table();

#if defined(__SSE2__) && !defined(QMV_SMALL)
/// Plain characters that the 16 bytes at a place begin with. Some of them may stand behind the text.
[[gnu::no_sanitize_address]] unsigned plain_bytes(const char *text) {
    const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i *>(text));
    const auto is = [&bytes](char either, char differing_bit) {
        const __m128i other_bits = _mm_set1_epi8(static_cast<char>(~differing_bit));
        return _mm_cmpeq_epi8(_mm_and_si128(bytes, other_bits), _mm_set1_epi8(either));
    };
    static_assert(('"' ^ '&') == 4 && ('"' & 4) == 0 && ('<' ^ '>') == 2 && ('<' & 2) == 0);
    // One more, as signed numbers, 0, 127 and all from 0x80 on are below 2.
    const __m128i one_more = _mm_add_epi8(bytes, _mm_set1_epi8(1));
    const __m128i outside = _mm_cmplt_epi8(one_more, _mm_set1_epi8(2));
    const __m128i special = _mm_or_si128(outside, _mm_or_si128(is('"', 4), is('<', 2)));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(special));
    return static_cast<unsigned>(std::countr_zero(mask | 0x10000U));
}
#endif

/// Length of the run of plain characters that a text begins with, at most `limit`.
size_t plain_run(const char *text, size_t limit) {
    size_t length = 0;
#if defined(__SSE2__) && !defined(QMV_SMALL)
    // Aligned blocks do not reach into a page that the text does not reach into.
    while (length < limit && reinterpret_cast<uintptr_t>(text + length) % 16 != 0) {
        if (!kPlain[static_cast<unsigned char>(text[length])])
            return length;
        ++length;
    }
    while (length < limit) {
        const unsigned plain = plain_bytes(text + length);
        length += plain;
        if (plain < 16)
            break;
    }
    return std::min(length, limit);
#else
    while (length < limit && kPlain[static_cast<unsigned char>(text[length])])
        ++length;
    return length;
#endif
}

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

/// Writes a code point as text or as an entity to a place with room for kReserve bytes. Returns the
/// length.
size_t encode(char *out, unsigned cp) {
    if (cp < 127 && kPlain[cp]) {
        *out = static_cast<char>(cp);
        return 1;
    }
    if (cp == 0)
        return 0;
    out[0] = '&';
    size_t length = 1;
    if (cp >= kFirstNamed && cp <= 255) {
        const char *name = kNames[cp - kFirstNamed];
        std::memcpy(out + 1, name, sizeof kNames[0]);
        length += kNameLengths[cp - kFirstNamed];
    } else if (const std::string_view name = markup_name(cp); !name.empty()) {
        std::memcpy(out + 1, name.data(), name.size());
        length += name.size();
    } else {
        length += put_number(out + 1, cp);
    }
    out[length] = ';';
    return length + 1;
}

/// Escaped text on its way to stdout.
class EscapedOutput {
  public:
    /// Adds the run of plain characters, at most `limit`, that a text begins with. Returns its length.
    size_t add_run(const char *text, size_t limit) {
        constexpr size_t kShort = 8;
        if (sizeof buffer_ - used_ < kShort)
            flush();
        size_t length = 0;
        for (; length < std::min(limit, kShort); ++length) {
            if (!kPlain[static_cast<unsigned char>(text[length])])
                return length;
            buffer_[used_++] = text[length];
        }
        const size_t more = plain_run(text + length, limit - length);
        add_plain(text + length, more);
        return length + more;
    }

    void add_plain(const char *text, size_t length) {
        while (length > 0) {
            if (used_ == sizeof buffer_)
                flush();
            const size_t part = std::min(length, sizeof buffer_ - used_);
            std::memcpy(buffer_ + used_, text, part);
            used_ += part;
            text += part;
            length -= part;
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

    /// Each character is printed on its own account: one that fails does not keep the following
    /// ones from being tried, though nothing more of its own entity is.
    void flush() {
        std::string_view left(buffer_, std::exchange(used_, 0));
        while (!left.empty()) {
            const auto done =
                static_cast<unsigned>(print_mem(left.data(), static_cast<unsigned>(left.size())));
            printed_ += done;
            left.remove_prefix(behind_character(left, done));
        }
    }

    void add_printed(int count) { printed_ += static_cast<unsigned>(count); }

  private:
    /// The end of the character that the byte at a place belongs to.
    static size_t behind_character(std::string_view text, size_t place) {
        size_t end = 0;
        while (end <= place && end < text.size())
            end = text[end] == '&' ? text.find(';', end) + 1 : end + 1;
        return end;
    }

    char buffer_[512];
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
        utf8 += output.add_run(utf8, INT_MAX);
        const qmv::Decoded step = qmv::decode_utf8(utf8, qmv::kNoLimit);
        output.add(step.code);
        utf8 += step.used;
    }
    return output.finish();
}

int html_print_text_limit(unsigned max_chars, const char *utf8, unsigned max_bytes) {
    if (utf8 == nullptr)
        return 0;
    EscapedOutput output;
    while (max_bytes > 0 && max_chars > 0 && *utf8 != '\0') {
        const size_t plain =
            output.add_run(utf8, std::min({max_bytes, max_chars, unsigned{INT_MAX}}));
        if (plain > 0) {
            utf8 += plain;
            max_bytes -= max_bytes == qmv::kNoLimit ? 0 : static_cast<unsigned>(plain);
            max_chars -= max_chars == qmv::kNoLimit ? 0 : static_cast<unsigned>(plain);
            continue;
        }
        const qmv::Decoded step = qmv::decode_utf8(utf8, max_bytes);
        utf8 += step.used;
        if (step.code == 0)
            break;
        output.add(step.code);
        max_bytes -= max_bytes == qmv::kNoLimit ? 0 : step.used;
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
        const qmv::Decoded step = qmv::decode_utf8(utf8, qmv::kNoLimit);
        length += encode(text.get() + length, step.code);
        utf8 += step.used;
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
            const qmv::Decoded step = qmv::decode_utf8(utf8, qmv::kNoLimit);
            output.add(step.code);
            utf8 += step.used;
        }
    }
    return output.finish();
}
