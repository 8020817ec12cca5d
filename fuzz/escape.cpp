// Escaped HTML text, read back by a small reader, gives the text back.
#include <qmv/html.h>

#include <algorithm>
#include <cstdlib>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

using Codes = std::vector<unsigned>;

/// The codes up to a number of them or the first invalid sequence.
Codes beginning(std::string_view text, std::size_t max_chars) {
    Codes codes;
    while (!text.empty() && codes.size() < max_chars) {
        const fuzz::Character character = fuzz::first_character(text);
        if (character.code == 0)
            break;
        codes.push_back(character.code);
        text.remove_prefix(character.length);
    }
    return codes;
}

/// The text of html_print_text_nl(), each tag written as "<b>", each character as its code.
std::string described(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t length = 1;
        if (text[0] == '\n') {
            result += "<br>";
        } else if (text[0] == '\x1B') {
            length = std::min<std::size_t>(2, text.size());
            const char mark = length == 2 ? text[1] : '?';
            result += mark == 'B'   ? "<b>"
                      : mark == 'b' ? "</b>"
                      : mark == 'U' ? "<u>"
                      : mark == 'u' ? "</u>"
                                    : "";
        } else {
            const fuzz::Character character = fuzz::first_character(text);
            length = character.length;
            if (character.code != 0)
                result += std::to_string(character.code) + ' ';
        }
        text.remove_prefix(length);
    }
    return result;
}

/// What was printed, in the same form.
std::string described_html(std::string_view html) {
    std::string result;
    while (!html.empty()) {
        const bool tag = html[0] == '<';
        const std::size_t end = tag ? html.find('>') + 1 : std::min(html.find('<'), html.size());
        if (tag)
            result += html.substr(0, end);
        else
            for (const unsigned code : fuzz::codes_of_html(html.substr(0, end)))
                result += std::to_string(code) + ' ';
        html.remove_prefix(end);
    }
    return result;
}

void check_entity(unsigned code) {
    unsigned char entity[24];
    const int length = html_entity_encode(entity, code);
    CHECK(length >= 0 && length <= 8);
    const std::string html(reinterpret_cast<char *>(entity), static_cast<std::size_t>(length));
    CHECK(fuzz::codes_of_html(html) == ((code & 0xFFFF) == 0 ? Codes() : Codes{code & 0xFFFF}));
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned max_chars = input.byte();
    const unsigned max_bytes = input.byte();
    check_entity(input.number());
    const std::string text = c_string(input.rest());
    const Codes codes = codes_of(text);
    int count = 0;

    const std::string html = printed([&] { count = html_print_text(text.c_str()); });
    CHECK(codes_of_html(html) == codes);
    CHECK(count == static_cast<int>(html.size()));

    char *copy = nullptr;
    const int memory = html_asprint_text(&copy, text.c_str());
    CHECK(memory % 4096 == 0 && memory > static_cast<int>(html.size()));
    CHECK(html == copy);
    std::free(copy);

    char *title = nullptr;
    const int length = asprint_title(&title, text.c_str());
    CHECK(length == (html.empty() ? -1 : static_cast<int>(html.size()) + 9));
    CHECK(length < 0 || " title=\"" + html + '"' == title);
    std::free(title);

    const std::string part =
        printed([&] { count = html_print_text_limit(max_chars, text.c_str(), max_bytes); });
    CHECK(codes_of_html(part) == beginning(text.substr(0, max_bytes), max_chars));
    CHECK(count == static_cast<int>(part.size()));
    const std::string head =
        printed([&] { html_print_text_limit(0xFFFFFFFF, text.c_str(), 0xFFFFFFFF); });
    CHECK(codes_of_html(head) == beginning(text, text.size()));

    const std::string marked = printed([&] { count = html_print_text_nl(text.c_str()); });
    CHECK(described_html(marked) == described(text));
    CHECK(count == static_cast<int>(marked.size()));

    const std::string raw = printed([&] { count = print_xstr(text.c_str(), PRINT_RAW); });
    CHECK(raw == text);
    CHECK(count == static_cast<int>(text.size()));
}
