// Escaping for HTML and UTF-8, on four kinds of text.
#include <glib.h>
#include <iconv.h>
#include <libxml/HTMLparser.h>
#include <libxml/entities.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/bench.h"
#include "bench/literal/literal.h"

namespace bench {

namespace {

const xmlChar *xml_chars(const std::string &s) {
    return reinterpret_cast<const xmlChar *>(s.c_str());
}

/// What peers escape goes to stdout, as what the library escapes does.
std::size_t put(const void *text, std::size_t size) {
    return std::fwrite(text, 1, size, stdout);
}

void add_escaping(const Text &text) {
    const std::string name = std::string("html_print_text/") + text.kind;
    const std::string &utf8 = text.utf8;
    const std::string escaped = printed([&utf8] { literal::html_print_text(utf8.c_str()); });
    expect_same(name, escaped, printed([&utf8] { html_print_text(utf8.c_str()); }));
    expect_same(name, literal::html_print_text(utf8.c_str()), html_print_text(utf8.c_str()));
    add(name, "library", [&utf8] { return html_print_text(utf8.c_str()); });
    add(name, "literal", [&utf8] { return literal::html_print_text(utf8.c_str()); });
    add(name, "limit", [escaped, copy = std::vector<char>(escaped.size())]() mutable {
        return std::memcpy(copy.data(), escaped.data(), escaped.size());
    });
    // It leaves what is not ASCII as it is; the others write references for it.
    if (g_str_is_ascii(utf8.c_str()) != 0) {
        add(name, "peer:glib", [&utf8] {
            const std::unique_ptr<gchar, void (*)(gpointer)> copy(
                g_markup_escape_text(utf8.data(), static_cast<gssize>(utf8.size())), g_free);
            return put(copy.get(), std::strlen(copy.get()));
        });
    }
    add(name, "peer:libxml2 xml", [&utf8] {
        xmlChar *const copy = xmlEncodeEntitiesReentrant(nullptr, xml_chars(utf8));
        const std::size_t done = put(copy, std::strlen(reinterpret_cast<const char *>(copy)));
        xmlFree(copy);
        return done;
    });
    add(name, "peer:libxml2 html",
        [&utf8, copy = std::vector<unsigned char>(8 * utf8.size())]() mutable {
            int out_length = static_cast<int>(copy.size());
            int in_length = static_cast<int>(utf8.size());
            htmlEncodeEntities(copy.data(), &out_length, xml_chars(utf8), &in_length, '"');
            return put(copy.data(), static_cast<std::size_t>(out_length));
        });
}

using Decode = unsigned (*)(const char **cursor, unsigned avail);

std::size_t decode_all(Decode decode, const std::string &utf8, uint16_t *codes) {
    const char *cursor = utf8.c_str();
    uint16_t *code = codes;
    while (*cursor != '\0')
        *code++ = static_cast<uint16_t>(decode(&cursor, 0xFFFFFFFF));
    return static_cast<std::size_t>(code - codes);
}

void add_decoding(const Text &text) {
    const std::string name = std::string("utf8_to_ucs2/") + text.kind;
    const std::string &utf8 = text.utf8;
    std::vector<uint16_t> codes(utf8.size());
    codes.resize(decode_all(literal::utf8_to_ucs2, utf8, codes.data()));
    std::vector<uint16_t> others(utf8.size());
    others.resize(decode_all(utf8_to_ucs2, utf8, others.data()));
    const auto bytes = [](const std::vector<uint16_t> &of) {
        return std::string_view(reinterpret_cast<const char *>(of.data()), 2 * of.size());
    };
    expect_same(name, bytes(codes), bytes(others));
    others.resize(utf8.size());
    add(name, "library",
        [&utf8, to = others]() mutable { return decode_all(utf8_to_ucs2, utf8, to.data()); });
    add(name, "literal", [&utf8, to = others]() mutable {
        return decode_all(literal::utf8_to_ucs2, utf8, to.data());
    });
    add(name, "limit", [codes, to = others]() mutable {
        return std::memcpy(to.data(), codes.data(), 2 * codes.size());
    });
    add(name, "peer:iconv",
        [&utf8, to = others, handle = iconv_open("UCS-2LE", "UTF-8")]() mutable {
            char *in = const_cast<char *>(utf8.data());
            std::size_t in_left = utf8.size();
            char *out = reinterpret_cast<char *>(to.data());
            std::size_t out_left = 2 * to.size();
            return iconv(handle, &in, &in_left, &out, &out_left);
        });
}

void add_lengths(const Text &text) {
    const std::string name = std::string("utf8_length/") + text.kind;
    const std::string &utf8 = text.utf8;
    const unsigned most = static_cast<unsigned>(utf8.size());
    expect_same(name, literal::utf8_length(utf8.c_str(), most, nullptr),
                utf8_length(utf8.c_str(), most, nullptr));
    add(name, "library", [&utf8, most] { return utf8_length(utf8.c_str(), most, nullptr); });
    add(name, "literal",
        [&utf8, most] { return literal::utf8_length(utf8.c_str(), most, nullptr); });
    add(name, "limit", [&utf8] { return std::strlen(utf8.c_str()); });
    add(name, "peer:glib", [&utf8] { return g_utf8_strlen(utf8.c_str(), -1); });
}

}  // namespace

void add_texts() {
    for (int i = 0; i < kTexts; ++i)
        add_escaping(texts()[i]);
    for (int i = 0; i < kTexts; ++i)
        add_decoding(texts()[i]);
    for (int i = 0; i < kTexts; ++i)
        add_lengths(texts()[i]);
}

}  // namespace bench
