// Takes a posted form: files go to the null device, other content is counted. Prints the number of
// parts and the bytes of the fields.
#include <fcntl.h>
#include <qmv.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#ifdef BENCH_LITERAL
#include "bench/literal/literal.h"
namespace way = literal;
#else
namespace way {
using ::scan_boundary;
}
#endif

namespace {

struct Form {
    unsigned parts;
    int bytes;
    int null_device;
};

int count_bytes(void *form, const void *, int len) {
    static_cast<Form *>(form)->bytes += len;
    return 0;
}

int take_part(void *ctx, cgivar *vars, unsigned count, unsigned) {
    auto *const form = static_cast<Form *>(ctx);
    if (count < 2)
        return 0;  // the first call, or the end
    ++form->parts;
    const char *const boundary = vars[0].value;
    for (unsigned i = 1; i < count; ++i) {
        if (std::strcmp(vars[i].name, "filename") == 0)
            return way::scan_boundary(0, boundary, 3, mpart_write_fd, &form->null_device);
    }
    return way::scan_boundary(0, boundary, 3, count_bytes, form);
}

}  // namespace

int main() {
    Form form = {0, 0, ::open("/dev/null", O_WRONLY)};
    getcgivars(&form, take_part, nullptr);
    std::printf("%u parts, %d bytes\n", form.parts, form.bytes);
    return 0;
}
