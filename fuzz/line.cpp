// full_line_read_fd() against a search for the line ends, with reads of every length.
#include <qmv/util.h>

#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

void fuzz::run(Input &input) {
    const unsigned size = 2 + input.byte();
    const std::string pieces = input.text();
    const std::string text = input.rest();
    const Pipe pipe(text, pieces);
    const std::unique_ptr<char[]> buffer(new char[size]);
    std::size_t at = 0;
    while (at < text.size()) {
        const int length = full_line_read_fd(pipe.fd(), buffer.get(), size);
        if (pipe.failed()) {
            CHECK(length == -1);
            return;
        }
        const std::size_t end = text.find("\r\n", at);
        if (end == text.npos || end - at > size - 2) {
            CHECK(length == 0);
            at = text.size();
            break;
        }
        CHECK(length == static_cast<int>(end - at));
        CHECK(text.compare(at, end - at, buffer.get(), end - at) == 0);
        CHECK(buffer[end - at] == '\0');
        at = end + 2;
    }
    CHECK(pipe.rest().empty());
    CHECK(full_line_read_fd(pipe.fd(), buffer.get(), size) < 1);
}
