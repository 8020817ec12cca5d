// Hosts: names of this network's devices, a file that is edited as it is.
#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "pages.h"

namespace {

constexpr Field kText = {
    "text", "Names and addresses",
    "One device a line: its IPv4 address, a blank, its names. \"#\" begins a comment."};
constexpr const char *kFile = "hosts";

// Why a line cannot stand in the file; empty when it can.
std::string fault(const std::string &line) {
    const std::string text = line.substr(0, line.find('#'));
    const size_t begin = text.find_first_not_of(" \t");
    uint32_t addr = 0;
    if (begin == std::string::npos)
        return "";
    const size_t end = text.find_first_of(" \t", begin);
    const size_t name = end != std::string::npos ? text.find_first_not_of(" \t", end) : end;
    if (!parse_ipv4(text.substr(begin, end - begin).c_str(), &addr))
        return "does not begin with an IPv4 address";
    if (name == std::string::npos)
        return "has no name";
    for (const char c : text.substr(name)) {
        if (textbox_filter_dns(1, static_cast<unsigned char>(c)) == 0 && c != ' ' && c != '\t')
            return "holds a character that no name has";
    }
    return "";
}

// Whether every character can be stored and exported: no control characters but TAB and LF, no emoji,
// and each in its shortest form.
bool is_storable(const std::string &text) {
    for (const char *cursor = text.c_str(); *cursor != '\0';) {
        const char *begin = cursor;
        const unsigned ch = utf8_to_ucs2(&cursor, 0xFFFFFFFF);
        char again[4];
        const char *end = ucs2_to_utf8(again, sizeof again, ch);
        const bool is_control = (ch < 0x20 && ch != '\t' && ch != '\n') || ch == 0x7F;
        const bool is_no_character = (ch >= 0xD800 && ch <= 0xDFFF) || ch >= 0xFFFE;
        if (is_control || is_no_character ||
            std::string_view(begin, static_cast<size_t>(cursor - begin)) !=
                std::string_view(again, static_cast<size_t>(end - again)))
            return false;
    }
    return true;
}

// Refuses a text that would not be stored as it was typed, or that holds a faulty line.
void check(Console &console, const std::string &text) {
    if (!is_storable(text))
        return console.refuse(kText,
                              "The text holds a character that cannot be stored, such as "
                              "an emoji.");
    const unsigned length = utf8_length(text.c_str(), 0xFFFFFFFF, nullptr);
    if (length > kMaxHosts)
        return console.refuse(kText, "Use at most " + std::to_string(kMaxHosts) +
                                         " characters; these are " + std::to_string(length) + ".");
    size_t begin = 0;
    for (unsigned number = 1; begin < text.size(); ++number) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string why = fault(text.substr(begin, end - begin));
        if (!why.empty())
            return console.refuse(kText, "Line " + std::to_string(number) + " " + why + ".");
        begin = end + 1;
    }
}

void save(Console &console) {
    std::string text = console.has(kText.name) ? console.value(kText.name) : "";
    if (!console.has(kText.name))
        console.refuse(kText, "The text did not arrive. Open the page again.");
    textarea_to_unix(text.data(), text.c_str());
    text.resize(std::strlen(text.c_str()));
    check(console, text);
    if (console.accepted())
        console.wrote(kText.label, update_textarea_file(console.path("files").c_str(), kFile,
                                                        text.c_str(), kMaxHosts));
    console.report();
}

void print_form(Console &console) {
    char *stored = nullptr;
    get_textarea_file(&stored, console.path("files").c_str(), kFile, kMaxHosts);
    console.open_form("hosts", "Names of this network");
    const char *typed = console.typed_text(kText.name);
    // Browsers drop a line feed directly behind the tag: this one, and none of the text.
    console.field(kText, [&](const char *attributes) {
        std::printf("<textarea rows=\"14\" spellcheck=\"false\"%s>\n", attributes);
        print_str(html_text(typed != nullptr ? typed : stored != nullptr ? stored : "").c_str());
        print_str("</textarea>");
    });
    console.close_form("Save");
    std::free(stored);
}

}  // namespace

int main() {
    Console console(kHosts);
    if (console.is_form("hosts"))
        save(console);
    console.open_page();
    print_form(console);
    console.close_page();
    return 0;
}
