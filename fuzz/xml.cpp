// XML data, appended piece by piece: the same bytes as a plain string, and text that reads back.
#include <qmv/xml.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

constexpr std::string_view kEscaped = "\t\n\r\"&'<>";
const std::string kReferences[] = {"&#9;",  "&#10;",  "&#13;", "&quot;",
                                   "&amp;", "&apos;", "&lt;",  "&gt;"};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const std::size_t place = kEscaped.find(c);
        result += place != kEscaped.npos ? kReferences[place] : std::string(1, c);
    }
    return result;
}

/// Reads escaped text back.
std::string unescaped(std::string_view xml) {
    std::string text;
    while (!xml.empty()) {
        std::size_t length = 1;
        char c = xml[0];
        if (c == '&') {
            const auto *const reference =
                std::find_if(std::begin(kReferences), std::end(kReferences),
                             [xml](const std::string &known) { return xml.starts_with(known); });
            CHECK(reference != std::end(kReferences));
            length = reference->size();
            c = kEscaped[static_cast<std::size_t>(reference - std::begin(kReferences))];
        } else {
            CHECK(kEscaped.find(c) == kEscaped.npos);
        }
        text += c;
        xml.remove_prefix(length);
    }
    return text;
}

std::string tag(const std::string &name, unsigned kind) {
    const std::string begins[] = {"<", "<", "<", "</", "<"};
    const std::string ends[] = {">", ">\n", "", ">\n", "/>\n"};
    return begins[kind] + name + ends[kind];
}

/// Appends a file's content. Returns what was appended.
std::string append_file(xml_data &x, const std::string &content) {
    std::string text;
    for (std::size_t at = 0; at < content.size(); at += 4096)
        text += fuzz::c_string(content.substr(at, 4096));
    const bool line_feed = text.ends_with('\n');
    // Without a line feed of its own a file must not complete the form of one.
    const std::string before(reinterpret_cast<char *>(x.data), x.length);
    if (!line_feed && (before + escaped(text)).ends_with("&#10;"))
        return "";
    if (line_feed)
        text.pop_back();
    CHECK(xml_data_txt_fd(&x, fuzz::open_content(content)) ==
          static_cast<int>(content.size()) - (line_feed ? 1 : 0));
    return escaped(text);
}

/// Appends one piece. Returns what was appended.
std::string append(xml_data &x, Input &input) {
    const unsigned operation = input.byte();
    const std::string text = input.text();
    const unsigned number = input.byte();
    const std::string part = text.substr(0, number);
    switch (operation % 9) {
        case 0:
            xml_data_append(&x, text.data(), static_cast<int>(text.size()));
            return text;
        case 1:
            xml_data_append(&x, nullptr, static_cast<int>(number * 8));
            return std::string(number * 8, '\0');
        case 2:
            xml_data_str(&x, text.c_str());
            return text;
        case 3:
            xml_data_tag(&x, text.c_str(), number % 5);
            return tag(text, number % 5);
        case 4:
            xml_data_attr_str(&x, part.c_str(), text.c_str());
            return ' ' + part + "=\"" + text + '"';
        case 5:
            xml_data_attr_num(&x, part.c_str(), number);
            return ' ' + part + "=\"" + std::to_string(number) + '"';
        case 6:
            xml_data_txt(&x, text.c_str(), static_cast<int>(number));
            return escaped(part);
        case 7:
            return append_file(x, text + std::string(number % 3, '\0') + part);
        default:
            xml_data_element(&x, part.c_str(), text.c_str());
            return tag(part, XML_TAG_START) + escaped(text) + tag(part, XML_TAG_END);
    }
}

}  // namespace

void fuzz::run(Input &input) {
    xml_data x{};
    std::string expected;
    for (int pieces = 0; pieces < 64 && !input.empty(); ++pieces) {
        const std::size_t before = expected.size();
        const unsigned length = x.length;
        expected += append(x, input);
        CHECK(x.length - length == expected.size() - before);
        CHECK(x.capacity % 1024 == 0 && x.capacity >= x.length);
        CHECK(expected.empty() ||
              expected.compare(0, x.length, reinterpret_cast<char *>(x.data), x.length) == 0);
    }
    std::free(x.data);

    xml_data text{};
    const std::string plain = c_string(expected);
    xml_data_txt(&text, plain.c_str(), static_cast<int>(plain.size()));
    const std::string xml(reinterpret_cast<char *>(text.data), text.length);
    CHECK(unescaped(xml) == plain);
    std::free(text.data);
}
