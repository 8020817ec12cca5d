#include <cstdio>
#include <cstring>
#include <string_view>

#include "qmv/util.h"
#include "qmv/xml.h"
#include "util/ascii.h"
#include "util/classes.h"
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

/// Where so many more bytes go, or null when the buffer would have to grow first.
unsigned char *find_room(const xml_data *x, uint64_t more) {
    const bool fits = x != nullptr && x->data != nullptr && x->length <= x->capacity &&
                      more <= x->capacity - x->length;
    return fits ? x->data + x->length : nullptr;
}

// What append() takes: texts, and short ones that lie in a slot.
size_t room_for(std::string_view s) {
    return s.size();
}
size_t room_for(const qmv::ShortText &s) {
    return sizeof s.text;
}
unsigned char *put(unsigned char *to, std::string_view s) {
    if (!s.empty())
        std::memcpy(to, s.data(), s.size());
    return to + s.size();
}
using qmv::put;
void append_growing(xml_data *x, std::string_view s) {
    if (s.data() != nullptr)
        xml_data_append(x, s.data(), qmv::clamp_to_int(s.size()));
}
void append_growing(xml_data *x, const qmv::ShortText &s) {
    xml_data_append(x, s.text, s.length);
}

/// Appends texts. A buffer that has to grow does so for each of them: one that finds no memory does
/// not keep the others out.
template <typename... Texts>
void append(xml_data *x, const Texts &...texts) {
    unsigned char *end = find_room(x, (uint64_t{room_for(texts)} + ...));
    if (end == nullptr) {
        (append_growing(x, texts), ...);
        return;
    }
    ((end = put(end, texts)), ...);
    x->length = static_cast<uint32_t>(end - x->data);
}

/// Of a null pointer nothing is appended, not even an empty text.
std::string_view view(const char *s) {
    return s != nullptr ? std::string_view(s) : std::string_view();
}

constexpr std::string_view kLineFeed = "&#10;";

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
        append(x, view(s));
}

void xml_data_header(xml_data *x) {
    append(x, view("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"));
}

void xml_data_tag(xml_data *x, const char *name, unsigned kind) {
    struct Ends {
        qmv::ShortText begin;
        qmv::ShortText end;
    };
    // By xml_tag_kind; any other kind is an open tag.
    constexpr Ends kEnds[] = {{{"<", 1}, {">", 1}},
                              {{"<", 1}, {">\n", 2}},
                              {{"<", 1}, {"", 0}},
                              {{"</", 2}, {">\n", 2}},
                              {{"<", 1}, {"/>\n", 3}}};
    const Ends &ends = kEnds[kind <= XML_TAG_EMPTY ? kind : unsigned{XML_TAG_OPEN}];
    if (name != nullptr)
        append(x, ends.begin, view(name), ends.end);
    else
        append(x, ends.end);
}

void xml_data_attr_str(xml_data *x, const char *name, const char *value) {
    // Intended: the value is not escaped.
    append(x, view(" "), view(name), view("=\""), view(value), view("\""));
}

void xml_data_attr_num(xml_data *x, const char *name, unsigned value) {
    char number[16];
    std::snprintf(number, sizeof number, "%u", value);
    xml_data_attr_str(x, name, number);
}

void xml_data_txt(xml_data *x, const char *text, int n) {
    if (text == nullptr || n < 0) {
        text = "";
        n = 0;
    }
    const char *const end = text + ::strnlen(text, static_cast<size_t>(n));
    for (;;) {
        const char *const run = text;
        while (text < end && (qmv::class_of(*text) & qmv::kXmlText) != 0)
            ++text;
        const std::string_view plain(run, static_cast<size_t>(text - run));
        if (text == end) {
            append(x, plain);
            return;
        }
        append(x, plain, qmv::entity_of(qmv::class_of(*text)));
        ++text;
    }
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
