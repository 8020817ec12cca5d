#include "tests/support/request.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "qmv/cgi.h"
#include "tests/fakes/allocation.h"

namespace qmv_test {
namespace {

void print_batch(const char *who, const cgivar *vars, unsigned count, unsigned mode) {
    std::printf("%s: mode %u, count %u%s\n", who, mode, count, vars == nullptr ? ", null" : "");
    for (unsigned i = 0; i < count; ++i) {
        std::printf("  %s = \"%s\"", printable(vars[i].name).c_str(),
                    printable(vars[i].value).c_str());
        if (vars[i].parent != nullptr)
            std::printf(" of %s", vars[i].parent->name);
        std::printf("\n");
    }
}

int append(void *content, const void *bytes, int len) {
    static_cast<std::string *>(content)->append(static_cast<const char *>(bytes),
                                                static_cast<std::size_t>(len));
    return -1;
}

std::string read_rest(int fd) {
    std::string rest;
    char buffer[4096];
    for (ssize_t n = 0; (n = ::read(fd, buffer, sizeof buffer)) > 0;)
        rest.append(buffer, static_cast<std::size_t>(n));
    return rest;
}

/// Leaves out the leak check of a sanitizer, which takes longer than a hundred requests.
void exit_without_leak_check() {
#if !QMV_FAKE_ALLOCATION
    ::on_exit(
        [](int status, void *) {
            std::fflush(nullptr);
            ::_exit(status);
        },
        nullptr);
#endif
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char escape[8] = {c, '\0'};
        if (c == '\r' || c == '\n')
            std::snprintf(escape, sizeof escape, "\\%c", c == '\r' ? 'r' : 'n');
        else if (byte < 0x20 || byte > 0x7E)
            std::snprintf(escape, sizeof escape, "\\x%02X", byte);
        result += escape;
    }
    return result;
}

int body_callback(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    const auto *program = static_cast<const Program *>(ctx);
    print_batch("body", vars, count, mode);
    if (mode != CGI_MODE_MULTIPART || count == 0)
        return program->body_result;
    if (count == 1)
        return program->first_result;
    return program->take_part ? program->take_part(vars, count) : print_content(vars[0].value);
}

int query_callback(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    print_batch("query", vars, count, mode);
    return static_cast<const Program *>(ctx)->query_result;
}

int print_content(const char *boundary) {
    std::string content;
    const int result = scan_boundary(STDIN_FILENO, boundary, 3, append, &content);
    std::printf("  content \"%s\", %d\n", printable(content).c_str(), result);
    return result;
}

void set_environment(const Request &request) {
    const struct {
        const char *name;
        const char *value;
    } variables[] = {{"REQUEST_METHOD", request.method},
                     {"QUERY_STRING", request.query},
                     {"CONTENT_TYPE", request.type},
                     {"CONTENT_LENGTH", request.length}};
    for (const auto &variable : variables) {
        ::unsetenv(variable.name);
        if (variable.value != nullptr)
            ::setenv(variable.name, variable.value, 1);
    }
}

ChildResult serve(const Request &request, std::string_view body, const Program &program) {
    return run_child(body, [&] {
        exit_without_leak_check();
        set_environment(request);
        if (program.prepare)
            program.prepare();
        Program copy = program;
        const int result = getcgivars(&copy, program.takes_body ? body_callback : nullptr,
                                      program.takes_query ? query_callback : nullptr);
        std::printf("returned %d\nunread \"%s\"\n", result,
                    printable(read_rest(STDIN_FILENO)).c_str());
        return 0;
    });
}

std::string fatal(std::string_view message) {
    return "Content-Type: text/plain\r\n\r\n" + std::string(message) + "\r\n";
}

}  // namespace qmv_test
