// Calls one function on a lot of data, so that its instructions can be counted: those of
// "work nothing" are to be taken off.
// Usage: work nothing|FUNCTION
#include <qmv.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr int kSize = 65536;
constexpr char kText[] =
    "The device connects itself. Das Gerät prüft selbständig. <a href=\"/?a=1&b=2\">R&D</a> 設定\n";
constexpr char kVariable[] = "setting=Ger%C3%A4t+in+room+17%2C+on&";

char text[kSize + 1];
char query[kSize + 1];
char encoded[kSize / 3 * 4 + 8];
unsigned char bytes[kSize];

/// Whole copies only, so that no character is cut.
void repeat(char *to, const char *what) {
    const std::size_t length = std::strlen(what);
    for (std::size_t used = 0; used + length <= kSize; used += length)
        std::memcpy(to + used, what, length);
}

int take_variables(void *, cgivar *, unsigned count, unsigned) {
    return static_cast<int>(count);
}

void write_xml() {
    xml_data x = {};
    for (int i = 0; i < 500; ++i)
        xml_data_element(&x, "host", "Name & address of <a> \"host\" in the local network");
    std::free(x.data);
}

struct Task {
    const char *name;
    void (*run)();
};

const Task kTasks[] = {
    {"nothing", [] {}},
    {"html_print_text", [] { html_print_text(text); }},
    {"utf8_length", [] { utf8_length(text, kSize, nullptr); }},
    {"cgidecode", [] { cgidecode(nullptr, query, take_variables, CGI_MODE_URLENCODED); }},
    {"base64_encode", [] { base64_encode(encoded, sizeof encoded, bytes, kSize); }},
    {"base64_decode", [] { base64_decode(bytes, kSize, encoded, sizeof encoded - 8); }},
    {"crc32", [] { crc32(0xFFFFFFFF, bytes, kSize); }},
    {"xml_data_element", write_xml},
};

}  // namespace

int main(int argc, char **argv) {
    repeat(text, kText);
    repeat(query, kVariable);
    std::memset(encoded, 'A', sizeof encoded);
    for (const Task &task : kTasks) {
        if (argc == 2 && std::strcmp(argv[1], task.name) == 0) {
            task.run();
            return 0;
        }
    }
    return 1;
}
