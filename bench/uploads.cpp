// The content of an uploaded file, 1 MiB, to the null device.
#include <cgicc/Cgicc.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "bench/bench.h"
#include "bench/cgicc_input.h"
#include "bench/literal/literal.h"

namespace bench {

namespace {

constexpr char kBoundary[] = "----------------------------735323031399963166993862";
// With what stands around it, the content is a body of 1 MiB: as much as fits into a pipe.
constexpr std::size_t kBody = 1U << 20;

struct Upload {
    const char *kind;
    std::string body;
    std::string_view content;  ///< of the body, and what ends it

    Upload(const char *which, std::string bytes) : kind(which), body(std::move(bytes)) {
        const std::string head = std::string("--") + kBoundary +
                                 "\r\nContent-Disposition: form-data; name=\"image\"; "
                                 "filename=\"image.bin\"\r\n\r\n";
        const std::string tail = std::string("\r\n--") + kBoundary + "--\r\n";
        body.resize(kBody - head.size() - tail.size());
        body = head + body + tail;
        content = std::string_view(body).substr(head.size());
    }
};

std::string near_delimiters() {
    const std::string delimiter = std::string("\r\n--") + kBoundary;
    std::string bytes;
    for (std::size_t i = 0; bytes.size() < kBody; ++i)
        bytes += delimiter.substr(0, 1 + i % (delimiter.size() - 1)) + '.';
    return bytes;
}

struct Collected {
    std::string bytes;
    int calls = 0;
};

int collect(void *collected, const void *buf, int len) {
    auto *const all = static_cast<Collected *>(collected);
    all->bytes.append(static_cast<const char *>(buf), static_cast<std::size_t>(len));
    ++all->calls;
    return 0;
}

using ScanContent = int (*)(int fd, const char *boundary, unsigned state, qmv_writer writer,
                            void *writer_ctx);

void check(const std::string &name, Source &source) {
    const int fd = source.refill();
    if (fd < 0)
        return;
    Collected literal;
    Collected library;
    const int result = literal::scan_boundary(fd, kBoundary, 3, collect, &literal);
    expect_same(name, result, scan_boundary(source.refill(), kBoundary, 3, collect, &library));
    expect_same(name, literal.bytes, library.bytes);
    expect_same(name, literal.calls, library.calls);
}

int null_device() {
    static int fd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    return fd;
}

int scan_to_null(ScanContent scan, int fd) {
    int to = null_device();
    return scan(fd, kBoundary, 3, mpart_write_fd, &to);
}

long copy_to_null(int fd, std::size_t size) {
    static char buf[65536];
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(fd, buf, sizeof buf);
        if (count < 1 || ::write(null_device(), buf, static_cast<std::size_t>(count)) != count)
            std::abort();
        done += static_cast<std::size_t>(count);
    }
    return static_cast<long>(done);
}

void add_upload(const Upload &upload, Source::Kind kind) {
    const std::string name =
        std::string("scan_boundary/") + upload.kind + ", " + Source::name(kind);
    const std::string_view content = upload.content;
    Source source(kind, content);
    check(name, source);
    add_reading(name, "library", kind, content,
                [](int fd) { return scan_to_null(scan_boundary, fd); });
    add_reading(name, "literal", kind, content,
                [](int fd) { return scan_to_null(literal::scan_boundary, fd); });
    add_reading(name, "limit", kind, content,
                [size = content.size()](int fd) { return copy_to_null(fd, size); });
    // Decodes the whole request, whose content it keeps in memory.
    add_reading(name, "peer:cgicc", kind, upload.body, [](int fd) {
        CgiccInput input(std::string("multipart/form-data; boundary=") + kBoundary, kBody, nullptr,
                         fd);
        const cgicc::Cgicc request(&input);
        return request.getFiles().size();
    });
}

}  // namespace

void add_uploads() {
    static const Upload uploads[] = {{"random", random_bytes(kBody)},
                                     {"near-delimiters", near_delimiters()}};
    for (const Upload &upload : uploads) {
        for (const Source::Kind kind : Source::kKinds)
            add_upload(upload, kind);
    }
}

}  // namespace bench
