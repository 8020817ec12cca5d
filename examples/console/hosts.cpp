// Hosts: names of this network's devices, a file that is edited as it is.
#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "pages.h"

namespace {

constexpr Field kText = {"text", "Names and addresses",
                         "One device a line: its IPv4 address, a blank, its names. \"#\" begins a comment."};
constexpr unsigned kMaxChars = 8000;
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

// Refuses a text that would not be stored as it was typed, or that holds a faulty line.
void check(Console &console, const std::string &text) {
    unsigned bytes = 0;
    utf8_length(text.c_str(), 0xFFFFFFFF, &bytes);
    const unsigned length = utf8_length(text.c_str(), kMaxChars + 1, nullptr);
    if (bytes != text.size() || text.find_first_of("\x01\x1B\x7F") != std::string::npos)
        return console.refuse(kText, "The text holds a character that cannot be stored.");
    if (length > kMaxChars)
        return console.refuse(kText, "The text is longer than " + std::to_string(kMaxChars) + " characters, or holds one that cannot be stored, an emoji for example.");
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
                                                        text.c_str(), kMaxChars));
    console.report();
}

void print_form(Console &console) {
    char *stored = nullptr;
    get_textarea_file(&stored, console.path("files").c_str(), kFile, kMaxChars);
    console.open_form("hosts", "Names of this network");
    const char *typed = console.typed_text(kText.name);
    console.field(kText, [&](const char *attributes) {
        // A line feed behind the tag is not part of the text: browsers drop the first one.
        gen_textarea(typed != nullptr ? typed : stored, 0, " rows=\"14\" spellcheck=\"false\"%s", attributes);
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
