#include <cstdio>
#include <cstring>
#include <string_view>

#include "qmv/util.h"
#include "qmv/xml.h"
#include "util/ascii.h"
#include "util/owners.h"

namespace {

constexpr uint32_t kGrowth = 1024;

/// Makes room for so many more bytes. Returns where they go, or null.
unsigned char *reserve(xml_data &x, uint32_t more) {
    if (x.data == nullptr) {
        x.data = static_cast<unsigned char *>(std::malloc(kGrowth));
        x.capacity = x.data != nullptr ? kGrowth : 0;
        x.length = 0;
    }
    const uint64_t needed = uint64_t{x.length} + more;
    if (x.data != nullptr && needed > x.capacity) {
        const uint64_t steps = (needed - x.capacity + kGrowth - 1) / kGrowth;
        const uint64_t capacity = x.capacity + steps * kGrowth;
        void *grown =
            capacity <= UINT32_MAX ? std::realloc(x.data, static_cast<size_t>(capacity)) : nullptr;
        x.data = grown != nullptr ? static_cast<unsigned char *>(grown) : x.data;
        x.capacity = grown != nullptr ? static_cast<uint32_t>(capacity) : 0;
    }
    return x.capacity != 0 ? x.data + x.length : nullptr;
}

void append(xml_data *x, std::string_view text) {
    xml_data_append(x, text.data(), qmv::clamp_to_int(text.size()));
}

/// What is written for a byte of text, or an empty text when it stands for itself.
constexpr std::string_view reference(char c) {
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
            return {};
    }
}

constexpr std::string_view kLineFeed = reference('\n');

/// Drops a line feed from the end of the buffer. Returns how many bytes of the input that were.
int drop_line_feed(xml_data *x) {
    if (x == nullptr || x->data == nullptr || x->length < kLineFeed.size())
        return 0;
    const unsigned char *end = x->data + x->length;
    if (std::memcmp(end - kLineFeed.size(), kLineFeed.data(), kLineFeed.size()) != 0)
        return 0;
    x->length -= static_cast<uint32_t>(kLineFeed.size());
    return 1;
}

}  // namespace

void xml_data_append(xml_data *x, const void *bytes, int n) {
    if (x == nullptr)
        return;
    const auto count = n > 0 ? static_cast<uint32_t>(n) : 0;
    unsigned char *end = reserve(*x, count);
    if (end == nullptr || count == 0)
        return;
    if (bytes != nullptr)
        std::memcpy(end, bytes, count);
    else
        std::memset(end, 0, count);
    x->length += count;
}

void xml_data_str(xml_data *x, const char *s) {
    if (s != nullptr)
        append(x, s);
}

void xml_data_header(xml_data *x) {
    append(x, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

void xml_data_tag(xml_data *x, const char *name, unsigned kind) {
    struct Ends {
        char begin[4];
        char end[4];
    };
    // By xml_tag_kind; any other kind is an open tag.
    constexpr Ends kEnds[] = {{"<", ">"}, {"<", ">\n"}, {"<", ""}, {"</", ">\n"}, {"<", "/>\n"}};
    const Ends &ends = kEnds[kind <= XML_TAG_EMPTY ? kind : unsigned{XML_TAG_OPEN}];
    if (name != nullptr) {
        append(x, ends.begin);
        append(x, name);
    }
    append(x, ends.end);
}

void xml_data_attr_str(xml_data *x, const char *name, const char *value) {
    append(x, " ");
    xml_data_str(x, name);
    append(x, "=\"");
    // Intended: not escaped.
    xml_data_str(x, value);
    append(x, "\"");
}

void xml_data_attr_num(xml_data *x, const char *name, unsigned value) {
    char number[16];
    std::snprintf(number, sizeof number, "%u", value);
    xml_data_attr_str(x, name, number);
}

void xml_data_txt(xml_data *x, const char *text, int n) {
    const char *run = text;
    const char *cursor = text;
    for (int left = text != nullptr ? n : 0; left > 0 && *cursor != '\0'; --left, ++cursor) {
        const std::string_view written = reference(*cursor);
        if (written.empty())
            continue;
        append(x, {run, static_cast<size_t>(cursor - run)});
        append(x, written);
        run = cursor + 1;
    }
    append(x, {run, static_cast<size_t>(cursor - run)});
}

int xml_data_txt_fd(xml_data *x, int fd) {
    const qmv::Descriptor file(fd);
    char chunk[4096];
    long long total = 0;
    int n = 0;
    while ((n = full_read_fd(fd, chunk, sizeof chunk)) > 0) {
        xml_data_txt(x, chunk, n);
        total += n;
    }
    // Intended: the line feed at the end of a file is left out.
    if (total > 0)
        total -= drop_line_feed(x);
    return n < 0 ? -1 : qmv::clamp_to_int(total);
}

void xml_data_element(xml_data *x, const char *name, const char *text) {
    xml_data_tag(x, name, XML_TAG_START);
    if (text != nullptr)
        xml_data_txt(x, text, qmv::clamp_to_int(std::strlen(text)));
    xml_data_tag(x, name, XML_TAG_END);
}
