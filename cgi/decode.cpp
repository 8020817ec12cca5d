#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cgi/parts.h"
#include "qmv/cgi.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/classes.h"
#include "util/owners.h"

namespace {

constexpr const char *kUnsupportedType = "getcgivars(): Unsupported Content-Type.\r";

const char *environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Converts as atoi does; a number that does not fit stays at the nearest int on every machine.
int to_int(const char *s) {
    s = qmv::skip_space(s);
    const bool negative = *s == '-';
    if (negative || *s == '+')
        ++s;
    int number = 0;
    for (; qmv::is_digit(*s); ++s)
        number = qmv::append_digit(number, *s);
    return negative ? -number : number;
}

/// The value of one character of a %XX escape. Intended: any character has one, and bytes
/// from 0x80 on are positive numbers on every machine.
unsigned escape_digit(char c) {
    const unsigned byte = static_cast<unsigned char>(c);
    return byte < 'A' ? byte - '0' : (byte & ~0x20u) - 55;
}

/// Replaces "+" by a blank and ends each piece at its separator. Returns the number of pieces.
unsigned split_pieces(char *text) {
    unsigned count = 1;
    for (;; ++text) {
        while ((qmv::class_of(*text) & qmv::kQueryText) != 0)
            ++text;
        if (*text == '\0')
            return count;
        count += *text != '+' ? 1 : 0;
        *text = *text == '+' ? ' ' : '\0';
    }
}

/// Decodes a text in place. Returns where it ended before.
char *unescape(char *s) {
    s = ::strchrnul(s, '%');
    char *out = s;
    while (*s != '\0') {
        if (s[1] == '\0' || s[2] == '\0') {
            s += s[1] == '\0' ? 1 : 2;
            break;
        }
        *out++ = static_cast<char>(escape_digit(s[1]) * 16 + escape_digit(s[2]));
        s += 3;
        if (*s == '%')
            continue;
        const auto length = static_cast<size_t>(::strchrnul(s, '%') - s);
        std::memmove(out, s, length);
        out += length;
        s += length;
    }
    *out = '\0';
    return s;
}

/// Makes a variable of the piece at a place, decoding it in place, and goes on behind it.
cgivar take_piece(char *&text) {
    char *name = text;
    char *equals = std::strchr(name, '=');
    if (equals != nullptr)
        *equals = '\0';
    char *value = unescape(name);
    char *end = value;
    if (equals != nullptr) {
        value = equals + 1;
        end = unescape(value);
    }
    text = end + 1;
    return {nullptr, name, value};
}

int decode_variables(void *ctx, char *text, cgivars_callback cb, unsigned mode) {
    if (*text == '\0')
        return 0;
    const unsigned count = split_pieces(text);
    if (cb == nullptr)
        return static_cast<int>(count);
    const auto vars = qmv::Block<cgivar>::allocate(count);
    // Intended: without memory for the records the variables are only counted.
    if (!vars)
        return static_cast<int>(count);
    for (unsigned i = 0; i < count; ++i)
        vars[i] = take_piece(text);
    return cb(ctx, vars.get(), count, mode);
}

int decode_query(void *ctx, cgivars_callback cb, unsigned mode) {
    const qmv::Block<char> copy(::strdup(environment("QUERY_STRING")));
    return cgidecode(ctx, copy.get(), cb, mode);
}

/// The boundary that a multipart content type names; exits when the type is not supported.
const char *find_boundary(const char *type) {
    constexpr std::string_view kMultipart = "multipart/form-data";
    constexpr std::string_view kParameter = "boundary=";
    const char *semicolon = std::strchr(type, ';');
    if (semicolon == nullptr)
        qmv::cgi_fatal(kUnsupportedType);
    // Intended: any prefix of the type's name is accepted, an empty one too.
    const auto length = static_cast<size_t>(semicolon - type);
    if (length > kMultipart.size() || ::strncasecmp(type, kMultipart.data(), length) != 0)
        qmv::cgi_fatal(kUnsupportedType);
    const char *parameter = qmv::skip_space(semicolon + 1);
    if (::strncasecmp(parameter, kParameter.data(), kParameter.size()) != 0)
        qmv::cgi_fatal(kUnsupportedType);
    // Intended: quotes and what follows the boundary belong to it.
    return parameter + kParameter.size();
}

/// Reads the body of a form; it ends where the input ends when that comes before its length.
qmv::Block<char> read_body(int length) {
    auto body = length < 0 ? qmv::Block<char>()
                           : qmv::Block<char>::allocate(static_cast<size_t>(length) + 1);
    if (!body)
        qmv::cgi_fatal("getcgivars(): Couldn't malloc for cgiinput.\r");
    const int arrived = full_read_fd(STDIN_FILENO, body.get(), length);
    if (arrived < 0) {
        body = qmv::Block<char>();
        qmv::cgi_fatal("getcgivars(): Couldn't read CGI input from STDIN.\r");
    }
    body[static_cast<size_t>(arrived)] = '\0';
    return body;
}

int decode_post(void *ctx, cgivars_callback body_cb, cgivars_callback query_cb) {
    const char *type = environment("CONTENT_TYPE");
    const bool urlencoded = ::strcasecmp(type, "application/x-www-form-urlencoded") == 0;
    qmv::Block<char> text(urlencoded ? nullptr : ::strdup(find_boundary(type)));
    const int length = to_int(environment("CONTENT_LENGTH"));
    if (length == 0)
        qmv::cgi_fatal("getcgivars(): No Content-Length was sent with the POST request.\r");
    const int query_result =
        query_cb != nullptr ? decode_query(ctx, query_cb, CGI_MODE_POST_QUERY) : 0;
    // Intended: the body of a form is read before the query callback's refusal takes effect.
    if (urlencoded)
        text = read_body(length);
    if (query_result < 0)
        return query_result;
    return cgidecode(ctx, text.get(), body_cb,
                     urlencoded ? CGI_MODE_URLENCODED : CGI_MODE_MULTIPART);
}

}  // namespace

namespace qmv {

void cgi_fatal(const char *message) {
    std::puts("Content-Type: text/plain\r\n\r");
    std::puts(message);
    std::exit(1);
}

}  // namespace qmv

int getcgivars(void *ctx, cgivars_callback body_cb, cgivars_callback query_cb) {
    const char *method = std::getenv("REQUEST_METHOD");
    if (method == nullptr)
        qmv::cgi_fatal("getcgivars(): no REQUEST_METHOD specified.\r");
    if (std::strcmp(method, "GET") == 0 || std::strcmp(method, "HEAD") == 0)
        return decode_query(ctx, query_cb != nullptr ? query_cb : body_cb, CGI_MODE_QUERY);
    if (std::strcmp(method, "POST") != 0)
        qmv::cgi_fatal("getcgivars(): Unsupported REQUEST_METHOD.\r");
    return decode_post(ctx, body_cb, query_cb);
}

int cgidecode(void *ctx, char *text, cgivars_callback cb, unsigned mode) {
    if (text == nullptr)
        return 0;
    return mode == CGI_MODE_MULTIPART ? qmv::decode_parts(ctx, text, cb)
                                      : decode_variables(ctx, text, cb, mode);
}

void cgi_unescape(char *s) {
    if (s != nullptr)
        unescape(s);
}
