#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "qmv/html.h"
#include "util/ascii.h"

namespace {

constexpr std::string_view kFlags = "-+ #0'";
constexpr std::string_view kIntegers = "diouxX";
constexpr int kUnset = -1;

/// The conversion of one integer as the standard formatter gets it: nothing of the original text
/// but flags, width, precision and the letter can reach it.
class IntegerSpec {
  public:
    /// Takes in the characters between "%" and the conversion letter, dropping what is none of its.
    explicit IntegerSpec(std::string_view between) {
        for (const char c : between)
            take(c);
    }

    [[nodiscard]] int print(char letter, int value) const {
        char text[40];
        char *end = text;
        *end++ = '%';
        for (size_t i = 0; i < kFlags.size(); ++i) {
            if ((flags_ & (1u << i)) != 0)
                *end++ = kFlags[i];
        }
        if (width_ != kUnset)
            end += std::snprintf(end, 12, "%d", width_);
        if (precision_ != kUnset)
            end += std::snprintf(end, 12, ".%d", precision_);
        *end++ = letter;
        *end = '\0';
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        return std::printf(text, value);
#pragma GCC diagnostic pop
    }

  private:
    void take(char c) {
        const size_t flag = kFlags.find(c);
        if (precision_ != kUnset) {
            if (qmv::is_digit(c))
                precision_ = qmv::append_digit(precision_, c);
        } else if (c == '.') {
            precision_ = 0;
        } else if (width_ != kUnset) {
            if (qmv::is_digit(c))
                width_ = qmv::append_digit(width_, c);
        } else if (flag != kFlags.npos) {
            flags_ |= 1u << flag;
        } else if (qmv::is_digit(c)) {
            width_ = c - '0';
        }
    }

    unsigned flags_ = 0;
    int width_ = kUnset;
    int precision_ = kUnset;
};

int print_integer(const char *spec, unsigned spec_len, int value) {
    if (spec == nullptr || spec_len < 2 || spec[0] != '%')
        return -1;
    const std::string_view text(spec, spec_len);
    if (kIntegers.find(text.back()) == kIntegers.npos)
        return -1;
    std::string_view between = text;
    between.remove_prefix(1);
    between.remove_suffix(1);
    return IntegerSpec(between).print(text.back(), value);
}

/// Prints one format. The arguments are a member because a va_list cannot be handed on by
/// reference.
class Formatter {
  public:
    explicit Formatter(bool raw) : raw_(raw) {}

    void run(const char *fmt) {
        while (fmt != nullptr) {
            const char *percent = std::strchr(fmt, '%');
            const size_t length =
                percent != nullptr ? static_cast<size_t>(percent - fmt) : std::strlen(fmt);
            print_literal(fmt, static_cast<unsigned>(length));
            fmt = percent != nullptr ? convert(percent) : nullptr;
        }
    }

    [[nodiscard]] int printed() const { return static_cast<int>(printed_); }

    va_list args;

  private:
    /// Adds what a printer returned; a negative result printed nothing.
    void add(int count) { printed_ += count > 0 ? static_cast<unsigned>(count) : 0; }

    void print_literal(const char *text, unsigned length) {
        add(raw_ ? print_mem(text, length) : html_print_text_limit(qmv::kNoLimit, text, length));
    }

    /// Prints one conversion. Returns the format behind it, or null when the format ended in it.
    const char *convert(const char *percent) {
        int number = kUnset;
        int digits = 0;
        for (const char *letter = percent + 1; *letter != '\0'; ++letter) {
            if (qmv::is_digit(*letter)) {
                // Intended: only digits count, so that "%10.5s" has the number 105.
                number = digits = qmv::append_digit(digits, *letter);
            } else if (*letter == '*') {
                const int argument = va_arg(args, int);
                number = argument < 0 ? number : argument;
            } else if (print_letter(percent, letter, number)) {
                return letter + 1;
            }
            // Intended: every other character is skipped, an unsupported letter too.
        }
        return nullptr;
    }

    /// Prints the conversion that ends in a letter. False when it is not the end of one.
    bool print_letter(const char *percent, const char *letter, int number) {
        const auto length = static_cast<unsigned>(letter - percent + 1);
        switch (*letter) {
            case '%':
                add(html_print_ucs2('%'));
                return true;
            case 's':
                add(html_print_text_limit(
                    number == kUnset ? qmv::kNoLimit : static_cast<unsigned>(number),
                    va_arg(args, const char *), qmv::kNoLimit));
                return true;
            case 'c':
                print_repeated(static_cast<unsigned>(va_arg(args, int)),
                               number == kUnset ? 1 : number);
                return true;
            case 'u':
            case 'x':
            case 'X':
                add(html_printf_unsigned(percent, length, va_arg(args, int)));
                return true;
            case 'd':
            case 'i':
                add(html_printf_signed(percent, length, va_arg(args, int)));
                return true;
            default:
                return false;
        }
    }

    void print_repeated(unsigned cp, int times) {
        while (times-- > 0)
            add(html_print_ucs2(cp));
    }

    bool raw_;
    unsigned printed_ = 0;
};

}  // namespace

int html_printf(int raw, const char *fmt, ...) {
    Formatter formatter(raw != 0);
    va_start(formatter.args, fmt);
    formatter.run(fmt);
    va_end(formatter.args);
    return formatter.printed();
}

int html_printf_unsigned(const char *spec, unsigned spec_len, int value) {
    return print_integer(spec, spec_len, value);
}

int html_printf_signed(const char *spec, unsigned spec_len, int value) {
    return print_integer(spec, spec_len, value);
}
