// html_printf() and its integer conversions against the standard formatter.
#include <qmv/html.h>

#include <algorithm>
#include <cstdio>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

/// Leaves out bytes; at most three digits stay, so that no output is long.
std::string without(const std::string &text, const std::string &bytes) {
    std::string result;
    int digits = 0;
    for (const char c : text) {
        if (bytes.find(c) == bytes.npos && (c < '0' || c > '9' || ++digits <= 3))
            result += c;
    }
    return result;
}

/// The number that all digits of a text make.
std::size_t number_in(const std::string &text, std::size_t without_digits) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](char c) { return c >= '0' && c <= '9'; });
    return digits.empty() ? without_digits : std::stoul(digits);
}

std::string escaped(std::string_view text, std::size_t max_chars = SIZE_MAX) {
    std::string html;
    while (!text.empty() && max_chars-- > 0) {
        const fuzz::Character character = fuzz::first_character(text);
        if (character.code == 0)
            break;
        unsigned char entity[24];
        const int length = html_entity_encode(entity, character.code);
        html.append(reinterpret_cast<char *>(entity), static_cast<std::size_t>(length));
        text.remove_prefix(character.length);
    }
    return html;
}

/// Whether only flags, a width and a precision stand there, in their order.
bool is_plain(const std::string &spec) {
    std::size_t at = std::min(spec.find_first_not_of("-+ #0'"), spec.size());
    at = std::min(spec.find_first_not_of("0123456789", at), spec.size());
    if (at < spec.size() && spec[at] == '.')
        ++at;
    return spec.find_first_not_of("0123456789", at) == spec.npos;
}

/// What printf prints.
std::string formatted(const std::string &format, int value) {
    char text[1100];
    std::snprintf(text, sizeof text, format.c_str(), value);
    return text;
}

/// html_printf_signed() or html_printf_unsigned() with a conversion of any form.
void check_conversion(int (*print)(const char *, unsigned, int), const std::string &spec,
                      int value) {
    int count = 0;
    const std::string text = fuzz::printed(
        [&] { count = print(spec.data(), static_cast<unsigned>(spec.size()), value); });
    const bool known = spec.size() > 1 && spec[0] == '%' &&
                       std::string("diouxX").find(spec.back()) != std::string::npos;
    CHECK(known ? count == static_cast<int>(text.size()) : count < 0 && text.empty());
    if (known && is_plain(spec.substr(1, spec.size() - 2)))
        CHECK(text == formatted(spec, value));
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned options = input.byte();
    const bool raw = (options & 1) != 0;
    const char letter = "diuxX"[options / 2 % 5];
    const auto value = static_cast<int>(input.number());
    const unsigned code = input.number();
    const std::string first = without(input.text(), "%");
    const std::string second = without(input.text(), "%");
    const std::string string_spec = without(input.text(), "%*scduixX");
    const std::string number_spec = without(input.text(), "%*scduixX");
    const std::string code_spec = without(input.text(), "%*scduixX");
    const std::string string = c_string(input.rest());

    const std::string format = first + '%' + string_spec + 's' + second + '%' + number_spec +
                               letter + "%%%" + code_spec + 'c';
    int count = 0;
    const std::string text = printed(
        [&] { count = html_printf(raw ? 1 : 0, format.c_str(), string.c_str(), value, code); });
    CHECK(count == static_cast<int>(text.size()));
    std::string expected = (raw ? first : escaped(first)) +
                           escaped(string, number_in(string_spec, SIZE_MAX)) +
                           (raw ? second : escaped(second));
    CHECK(text.starts_with(expected));
    if (is_plain(number_spec)) {
        expected += formatted('%' + number_spec + letter, value) + '%';
        CHECK(text.starts_with(expected));
        unsigned char entity[24];
        const int length = html_entity_encode(entity, code);
        for (std::size_t i = number_in(code_spec, 1); i > 0; --i)
            expected.append(reinterpret_cast<char *>(entity), static_cast<std::size_t>(length));
        CHECK(text == expected);
    }

    // Numbers that are arguments; a negative one is ignored.
    const int limit = static_cast<int>(options) - 16;
    const std::string limited =
        printed([&] { html_printf(raw ? 1 : 0, "%*s", limit, string.c_str()); });
    CHECK(limited == escaped(string, limit < 0 ? SIZE_MAX : static_cast<std::size_t>(limit)));

    check_conversion(html_printf_signed, without(string, "*"), value);
    check_conversion(html_printf_unsigned, without(string, "*"), value);
}
