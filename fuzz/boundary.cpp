// scan_boundary() against a search of the whole body, with reads of every length.
#include <qmv/cgi.h>

#include <algorithm>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

struct Content {
    std::string text;
    int calls = 0;
    int last = -1;
};

int take(void *ctx, const void *bytes, int len) {
    auto *content = static_cast<Content *>(ctx);
    CHECK(len >= 0 && len <= 1024);
    CHECK(content->last != 0);  // only the last piece may be empty
    content->text.append(static_cast<const char *>(bytes), static_cast<std::size_t>(len));
    content->last = len;
    ++content->calls;
    return -1;
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned options = input.byte();
    const unsigned state = 3 + input.byte();
    const std::string pieces = input.text();
    std::string boundary = input.text();
    if ((options & 1) != 0)
        boundary += std::string(options * 17, '-');  // up to more than the work buffer has
    std::string body = input.rest();
    const std::size_t middle = body.find('@');
    if ((options & 2) != 0 && middle != body.npos)
        body.insert(middle, std::string(options * 16, '\r'));

    const Pipe pipe(body, pieces, static_cast<Pipe::Kind>(options / 4 % 3));
    Content content;
    const int result = scan_boundary(pipe.fd(), boundary.c_str(), state, take, &content);
    const std::string rest = pipe.rest();
    const std::string delimiter = "\r\n--" + boundary.substr(0, boundary.find('\r'));
    const std::size_t place = body.find(delimiter);
    CHECK(body.starts_with(content.text));
    CHECK(result == 0 || result == 2 || result == static_cast<int>(state));
    if (pipe.failed() || delimiter.size() == 4) {
        CHECK(content.text.size() <= place);
        return;
    }
    if (place == body.npos) {
        CHECK(result == 2);
        CHECK(rest.empty());
        CHECK(body.size() - content.text.size() < delimiter.size());
        return;
    }
    CHECK(content.text.size() == place);
    CHECK(content.calls > 0);
    const std::string behind = body.substr(place + delimiter.size());
    if (behind.size() < 2) {
        CHECK(result == 2);
        CHECK(rest.empty());
    } else if (behind.starts_with("\r\n")) {
        CHECK(result == 0);
        CHECK(rest == behind.substr(2));
    } else {
        CHECK(result == static_cast<int>(state));
        CHECK(rest == behind.substr(std::min<std::size_t>(4, behind.size())));
    }
}
