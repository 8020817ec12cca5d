// An XML document of 1000 elements.
#include <tinyxml2.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <pugixml.hpp>

#include "bench/bench.h"
#include "bench/literal/literal.h"

namespace bench {

namespace {

constexpr char kText[] = "Name & address of <a> \"host\" in the local network";

/// The functions of one way.
struct Writer {
    void (*header)(xml_data *x);
    void (*tag)(xml_data *x, const char *name, unsigned kind);
    void (*element)(xml_data *x, const char *name, const char *text);
};

constexpr Writer kLibrary = {xml_data_header, xml_data_tag, xml_data_element};
constexpr Writer kLiteral = {literal::xml_data_header, literal::xml_data_tag,
                             literal::xml_data_element};

xml_data write(const Writer &writer) {
    xml_data x = {};
    writer.header(&x);
    writer.tag(&x, "hosts", XML_TAG_START_LINE);
    for (int i = 0; i < 1000; ++i)
        writer.element(&x, "host", kText);
    writer.tag(&x, "hosts", XML_TAG_END);
    return x;
}

std::string written(const Writer &writer) {
    const xml_data x = write(writer);
    const std::string text(reinterpret_cast<const char *>(x.data), x.length);
    std::free(x.data);
    return text;
}

unsigned measured(const Writer &writer) {
    const xml_data x = write(writer);
    std::free(x.data);
    return x.length;
}

struct Sink : pugi::xml_writer {
    void write(const void *data, std::size_t size) override {
        text.append(static_cast<const char *>(data), size);
    }
    std::string text;
};

std::size_t write_pugixml() {
    pugi::xml_document document;
    pugi::xml_node hosts = document.append_child("hosts");
    for (int i = 0; i < 1000; ++i)
        hosts.append_child("host").append_child(pugi::node_pcdata).set_value(kText);
    Sink sink;
    document.save(sink, "", pugi::format_raw);
    return sink.text.size();
}

int write_tinyxml2() {
    tinyxml2::XMLPrinter printer(nullptr, true);
    printer.PushHeader(false, true);
    printer.OpenElement("hosts");
    for (int i = 0; i < 1000; ++i) {
        printer.OpenElement("host");
        printer.PushText(kText);
        printer.CloseElement();
    }
    printer.CloseElement();
    return printer.CStrSize();
}

}  // namespace

void add_xml() {
    const std::string name = "xml_data_element/1000 elements";
    const std::string text = written(kLiteral);
    expect_same(name, text, written(kLibrary));
    add(name, "library", [] { return measured(kLibrary); });
    add(name, "literal", [] { return measured(kLiteral); });
    add(name, "limit", [text] {
        void *const copy = std::malloc(text.size());
        benchmark::DoNotOptimize(std::memcpy(copy, text.data(), text.size()));
        std::free(copy);
        return text.size();
    });
    add(name, "peer:pugixml", write_pugixml);
    add(name, "peer:tinyxml2", write_tinyxml2);
}

}  // namespace bench
