// Multipart bodies through descriptor 0, against a reader that has the whole body at once.
#include <qmv/cgi.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>

#include "fuzz/request.h"
#include "fuzz/support.h"

using fuzz::Input;
using fuzz::Part;

namespace {

/// What the callback was called with.
struct Calls {
    fuzz::Upload upload;
    unsigned first = 0;
    unsigned last = 0;
};

int append(void *ctx, const void *bytes, int len) {
    static_cast<std::string *>(ctx)->append(static_cast<const char *>(bytes),
                                            static_cast<std::size_t>(len));
    return 0;
}

int take(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    auto *calls = static_cast<Calls *>(ctx);
    CHECK(mode == CGI_MODE_MULTIPART);
    if (count < 2) {
        CHECK((count == 0) == (vars == nullptr));
        ++(count == 0 ? calls->last : calls->first);
        return 77;
    }
    CHECK(count <= 6);
    Part part;
    for (unsigned i = 1; i < count; ++i)
        part.records.push_back(
            {vars[i].parent != nullptr ? vars[i].parent->name : "", vars[i].name, vars[i].value});
    calls->upload.result = scan_boundary(0, vars[0].value, 3, append, &part.content);
    calls->upload.parts.push_back(part);
    return calls->upload.result;
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned options = input.byte();
    const std::string pieces = input.text();
    std::string type = input.text();
    const std::string boundary = input.text();
    std::string body = input.rest();
    if ((options & 0x80) == 0)
        type = "multipart/form-data; boundary=";
    type += boundary;
    if (::strcasecmp(type.c_str(), "application/x-www-form-urlencoded") == 0)
        return;
    const std::size_t semicolon = std::min(type.find(';'), type.size());
    const std::string parameter = skip_space(type.substr(std::min(semicolon + 1, type.size())));
    const bool known = semicolon < type.size() &&
                       ::strcasecmp(std::string("multipart/form-data").substr(0, semicolon).c_str(),
                                    type.substr(0, semicolon).c_str()) == 0 &&
                       ::strncasecmp(parameter.c_str(), "boundary=", 9) == 0;
    const char *const length = (options & 7) == 7 ? "0" : "1";
    ::setenv("REQUEST_METHOD", "POST", 1);
    ::setenv("CONTENT_TYPE", type.c_str(), 1);
    ::setenv("CONTENT_LENGTH", length, 1);
    ::unsetenv("QUERY_STRING");

    const Pipe pipe(body, pieces, static_cast<Pipe::Kind>(options / 16 % 3));
    Calls calls;
    const bool with_callback = (options & 8) == 0;
    int result = 0;
    std::optional<int> status;
    const std::string answer = printed([&] {
        const StandardInput standard_input(pipe);
        status = exit_status(
            [&] { result = getcgivars(&calls, with_callback ? take : nullptr, nullptr); });
    });
    if (pipe.failed() && known && *length != '0')
        return;
    CHECK(status.has_value() == !(known && *length != '0'));
    CHECK(answer.empty() == !status.has_value());
    const std::string name = known ? parameter.substr(9) : "";
    if (status || name.empty() || name[0] == '\r')
        return;
    Upload expected = take_parts(body, name);
    CHECK(pipe.rest() == body);
    CHECK(result == (with_callback ? 77 : 0));
    if (!with_callback)
        return;
    CHECK(calls.first == 1 && calls.last == 1);
    const Upload &upload = calls.upload;
    CHECK(upload.result == expected.result);
    CHECK(upload.parts.size() == expected.parts.size());
    if (!upload.parts.empty() && upload.result == 2) {
        // The last bytes of a content without an end may be lost.
        CHECK(expected.parts.back().content.starts_with(upload.parts.back().content));
        expected.parts.back().content = upload.parts.back().content;
    }
    CHECK(upload.parts == expected.parts);
}
