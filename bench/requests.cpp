// Urlencoded bodies and the header lines of parts.
#include <cgicc/Cgicc.h>
#include <glib.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <vector>

#include "bench/bench.h"
#include "bench/cgicc_input.h"
#include "bench/literal/literal.h"

namespace bench {

namespace {

int note(void *text, cgivar *vars, unsigned count, unsigned) {
    for (unsigned i = 0; i < count; ++i)
        static_cast<std::string *>(text)->append(vars[i].name).append("=").append(vars[i].value) +=
            '\n';
    return static_cast<int>(count);
}

int count_only(void *, cgivar *, unsigned count, unsigned) {
    return static_cast<int>(count);
}

using Decode = int (*)(void *ctx, char *text, cgivars_callback cb, unsigned mode);

std::string decoded(Decode decode, std::string body) {
    std::string text;
    decode(&text, body.data(), note, CGI_MODE_URLENCODED);
    return text;
}

void add_urlencoded(const std::string &body, const char *variables) {
    const std::string name = std::string("cgidecode/") + variables;
    expect_same(name, decoded(literal::cgidecode, body), decoded(cgidecode, body));
    // Bodies are changed in place: every way gets a copy.
    const auto decode = [body](Decode how) {
        return [how, body, text = body]() mutable {
            std::memcpy(text.data(), body.data(), body.size());
            return how(nullptr, text.data(), count_only, CGI_MODE_URLENCODED);
        };
    };
    add(name, "library", decode(cgidecode));
    add(name, "literal", decode(literal::cgidecode));
    add(name, "limit", [body, text = body]() mutable {
        return std::memcpy(text.data(), body.data(), body.size());
    });
    add(name, "peer:glib, no splitting", [body] {
        const std::unique_ptr<gchar, void (*)(gpointer)> text(
            g_uri_unescape_string(body.c_str(), nullptr), g_free);
        return text.get()[0];
    });
    add(name, "peer:cgicc", [body] {
        CgiccInput input("application/x-www-form-urlencoded", body.size(), body.data(), -1);
        const cgicc::Cgicc request(&input);
        return request.getElements().size();
    });
}

std::string make_body(int variables) {
    std::string body;
    for (int i = 0; i < variables; ++i) {
        const std::string number = std::to_string(i);
        body.append(i > 0 ? "&setting" : "setting").append(number);
        body.append("=Ger%C3%A4t+in+room+").append(number).append("%2C+on");
    }
    return body;
}

constexpr int kLines = 100;

using ReadLine = int (*)(int fd, char *buf, unsigned size);

std::string lines_of(ReadLine read_line, int fd) {
    std::string text;
    char line[1024];
    for (int i = 0; i < kLines; ++i) {
        if (read_line(fd, line, sizeof line) > 0)
            text.append(line) += '\n';
    }
    return text;
}

int take_lines(ReadLine read_line, int fd) {
    char line[1024];
    int total = 0;
    for (int i = 0; i < kLines; ++i)
        total += read_line(fd, line, sizeof line);
    return total;
}

void add_lines(Source::Kind kind, const std::string &lines) {
    const std::string name = std::string("full_line_read_fd/100 lines, ") + Source::name(kind);
    Source source(kind, lines);
    const std::string expected = lines_of(literal::full_line_read_fd, source.refill());
    expect_same(name, expected, lines_of(full_line_read_fd, source.refill()));
    add_reading(name, "library", kind, lines,
                [](int fd) { return take_lines(full_line_read_fd, fd); });
    add_reading(name, "literal", kind, lines,
                [](int fd) { return take_lines(literal::full_line_read_fd, fd); });
    add_reading(name, "limit", kind, lines,
                [buf = std::vector<char>(lines.size())](int fd) mutable {
                    return ::read(fd, buf.data(), buf.size());
                });
}

}  // namespace

void add_requests() {
    add_urlencoded(make_body(20), "20 variables");
    add_urlencoded(make_body(1000), "1000 variables");
    static std::string lines;
    for (int i = 0; i < kLines; ++i)
        lines += "Content-Disposition: form-data; name=\"setting" + std::to_string(i) + "\"\r\n";
    for (const Source::Kind kind : Source::kKinds)
        add_lines(kind, lines);
}

}  // namespace bench
