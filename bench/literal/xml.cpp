#include <cstdlib>
#include <cstring>

#include "bench/literal/literal.h"

namespace {

constexpr unsigned kStep = 1024;

const char *reference(char c) {
    switch (c) {
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        case '\r':
            return "&#13;";
        case '"':
            return "&quot;";
        case '&':
            return "&amp;";
        case '\'':
            return "&apos;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return nullptr;
    }
}

}  // namespace

namespace literal {

void xml_data_append(xml_data *x, const void *bytes, int n) {
    if (x->data == nullptr) {
        x->data = static_cast<unsigned char *>(std::malloc(kStep));
        x->capacity = x->data == nullptr ? 0 : kStep;
        x->length = 0;
    }
    if (n < 1)
        return;
    const auto count = static_cast<unsigned>(n);
    unsigned capacity = x->capacity;
    while (capacity < x->length + count)
        capacity += kStep;
    if (capacity != x->capacity) {
        void *const grown = std::realloc(x->data, capacity);
        x->capacity = grown == nullptr ? 0 : capacity;
        if (grown == nullptr)
            return;
        x->data = static_cast<unsigned char *>(grown);
    }
    std::memcpy(x->data + x->length, bytes, count);
    x->length += count;
}

void xml_data_str(xml_data *x, const char *s) {
    literal::xml_data_append(x, s, static_cast<int>(std::strlen(s)));
}

void xml_data_header(xml_data *x) {
    literal::xml_data_str(x, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

void xml_data_tag(xml_data *x, const char *name, unsigned kind) {
    if (name != nullptr) {
        literal::xml_data_str(x, kind == XML_TAG_END ? "</" : "<");
        literal::xml_data_str(x, name);
    }
    switch (kind) {
        case XML_TAG_START:
            literal::xml_data_str(x, ">");
            break;
        case XML_TAG_START_LINE:
        case XML_TAG_END:
            literal::xml_data_str(x, ">\n");
            break;
        case XML_TAG_EMPTY:
            literal::xml_data_str(x, "/>\n");
            break;
        default:
            break;
    }
}

void xml_data_txt(xml_data *x, const char *text, int n) {
    const char *const end = text + n;
    const char *run = text;
    for (; text < end && *text != '\0'; ++text) {
        const char *const escaped = reference(*text);
        if (escaped == nullptr)
            continue;
        literal::xml_data_append(x, run, static_cast<int>(text - run));
        literal::xml_data_str(x, escaped);
        run = text + 1;
    }
    literal::xml_data_append(x, run, static_cast<int>(text - run));
}

void xml_data_element(xml_data *x, const char *name, const char *text) {
    literal::xml_data_tag(x, name, XML_TAG_START);
    literal::xml_data_txt(x, text, static_cast<int>(std::strlen(text)));
    literal::xml_data_tag(x, name, XML_TAG_END);
}

}  // namespace literal
