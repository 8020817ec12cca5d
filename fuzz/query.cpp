// Query strings and urlencoded bodies, by way of the environment, against a plain splitter.
#include <qmv/cgi.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "fuzz/request.h"
#include "fuzz/support.h"

using fuzz::Input;

namespace {

/// What a program does, and what it was called with.
struct Program {
    int query_result;
    int body_result;
    std::string query;
    std::string body;
    unsigned calls = 0;
};

int take(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    auto *program = static_cast<Program *>(ctx);
    ++program->calls;
    const bool body = mode == CGI_MODE_URLENCODED;
    const std::vector<fuzz::Sent> expected = fuzz::split(body ? program->body : program->query);
    CHECK(count == expected.size());
    for (unsigned i = 0; i < count; ++i) {
        CHECK(vars[i].parent == nullptr);
        CHECK(fuzz::decodes_to(expected[i].name, vars[i].name));
        CHECK(fuzz::decodes_to(expected[i].value, vars[i].value));
    }
    return body ? program->body_result : program->query_result;
}

/// A number as atoi() reads it, kept within an int.
long long to_int(const std::string &text) {
    return std::clamp<long long>(std::strtoll(text.c_str(), nullptr, 10), INT_MIN, INT_MAX);
}

void set(const char *name, const char *value) {
    if (value != nullptr)
        ::setenv(name, value, 1);
    else
        ::unsetenv(name);
}

}  // namespace

void fuzz::run(Input &input) {
    const char *const methods[] = {"GET", "HEAD", "POST", "POST", "POST", "POST", "post", nullptr};
    const char *const types[] = {"application/x-www-form-urlencoded",
                                 "Application/X-WWW-Form-Urlencoded",
                                 "application/x-www-form-urlencoded; charset=UTF-8", nullptr};
    const unsigned options = input.byte();
    const std::string method = methods[options & 7] != nullptr ? methods[options & 7] : "";
    const unsigned type = (options & 0x20) != 0 ? options >> 3 & 3 : 0;
    const bool body_cb = (options & 0x40) == 0;
    const bool query_cb = (options & 0x80) == 0;
    Program program{static_cast<int>(input.byte()) - 8, static_cast<int>(input.byte()), "", "", 0};
    program.query = input.text();
    const std::string length = input.text();
    const std::string pieces = input.text();
    const std::string sent = input.rest();
    const long long announced = to_int(length);
    if (announced > 100000)
        return;  // memory for such a body need not be there
    const auto arrived = std::min(sent.size(), static_cast<std::size_t>(std::max(announced, 0LL)));
    program.body = c_string(sent.substr(0, arrived));

    set("REQUEST_METHOD", methods[options & 7]);
    set("QUERY_STRING", program.query.c_str());
    set("CONTENT_TYPE", types[type]);
    set("CONTENT_LENGTH", length.c_str());
    const Pipe pipe(sent, pieces);
    int result = 0;
    std::optional<int> status;
    const std::string answer = printed([&] {
        const StandardInput standard_input(pipe);
        status = exit_status([&] {
            result = getcgivars(&program, body_cb ? take : nullptr, query_cb ? take : nullptr);
        });
    });
    const bool failed = pipe.failed();
    const bool get = method == "GET" || method == "HEAD";
    const bool post = method == "POST" && type < 2 && announced > 0 && !failed;
    CHECK(status.has_value() == !(get || post));
    if (status) {
        CHECK(*status == 1);
        CHECK(answer.starts_with("Content-Type: text/plain\r\n\r\n") && answer.ends_with("\r\n"));
        return;
    }
    CHECK(answer.empty());
    CHECK(pipe.rest() == (get ? sent : sent.substr(arrived)));
    const bool queried = !program.query.empty() && (query_cb || (get && body_cb));
    if (get) {
        const auto count =
            program.query.empty() ? 0 : static_cast<int>(split(program.query).size());
        CHECK(program.calls == (queried ? 1 : 0));
        CHECK(result == (queried ? program.query_result : count));
        return;
    }
    const bool refused = queried && program.query_result < 0;
    const bool decoded = !refused && !program.body.empty() && body_cb;
    CHECK(program.calls == (queried ? 1u : 0u) + (decoded ? 1u : 0u));
    if (refused)
        CHECK(result == program.query_result);
    else if (decoded)
        CHECK(result == program.body_result);
    else
        CHECK(result == (program.body.empty() ? 0 : static_cast<int>(split(program.body).size())));
}
