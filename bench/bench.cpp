#include "bench/bench.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <vector>

namespace bench {

namespace {

/// Ends the program when a call of the system failed that none of the measurements can do without.
int need(int result, const char *what) {
    if (result < 0) {
        std::perror(what);
        std::exit(1);
    }
    return result;
}

std::string repeat(std::string_view text, std::size_t size) {
    std::string repeated;
    while (repeated.size() < size)
        repeated += text;
    return repeated;
}

}  // namespace

void expect_same(const std::string &what, std::string_view literal, std::string_view library) {
    if (literal == library)
        return;
    std::cerr << what << ": library and literal differ\n";
    std::abort();
}

void expect_same(const std::string &what, long literal, long library) {
    expect_same(what, std::to_string(literal), std::to_string(library));
}

std::string printed(const std::function<void()> &print) {
    std::fflush(stdout);
    const int before = need(::dup(1), "dup");
    const int file = need(::memfd_create("printed", MFD_CLOEXEC), "memfd_create");
    need(::dup2(file, 1), "dup2");
    print();
    std::fflush(stdout);
    need(::dup2(before, 1), "dup2");
    ::close(before);
    std::string text(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)), '\0');
    need(static_cast<int>(::pread(file, text.data(), text.size(), 0)), "pread");
    ::close(file);
    return text;
}

Source::Source(Kind kind, std::string_view bytes) : kind_(kind), bytes_(bytes) {
    int ends[2] = {-1, -1};
    const int size = static_cast<int>(bytes.size());
    switch (kind) {
        case kFile:
            out_ = need(::memfd_create("source", MFD_CLOEXEC), "memfd_create");
            need(static_cast<int>(::write(out_, bytes.data(), bytes.size())), "write");
            break;
        case kPipe:
            need(::pipe2(ends, O_CLOEXEC), "pipe2");
            need(::fcntl(ends[1], F_SETPIPE_SZ, size), "F_SETPIPE_SZ");
            break;
        case kSocket: {
            need(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
            const int room = 4 * size;  // the kernel's own records count, too
            ::setsockopt(ends[1], SOL_SOCKET, SO_SNDBUFFORCE, &room, sizeof room);
            break;
        }
    }
    if (kind != kFile) {
        out_ = ends[0];
        in_ = ends[1];
        need(::fcntl(in_, F_SETFL, O_NONBLOCK), "O_NONBLOCK");
    }
}

Source::~Source() {
    ::close(out_);
    if (in_ >= 0)
        ::close(in_);
}

const char *Source::name(Kind kind) {
    constexpr const char *kNames[] = {"file", "pipe", "socket"};
    return kNames[kind];
}

int Source::refill() {
    if (kind_ == kFile)
        return ::lseek(out_, 0, SEEK_SET) == 0 ? out_ : -1;
    const ssize_t written = ::write(in_, bytes_.data(), bytes_.size());
    return written == static_cast<ssize_t>(bytes_.size()) ? out_ : -1;
}

const Text *texts() {
    constexpr std::size_t kSize = 16384;
    static const Text all[kTexts] = {
        {"prose",
         repeat("The device connects itself as soon as its line is ready; nobody has to wait. ",
                kSize)},
        {"accents",
         repeat("Das Gerät prüft selbständig, où l'été français a été réglé, señor Müller. ",
                kSize)},
        {"cjk", repeat("設定を保存しました。路由器已连接到互联网,请稍候。", kSize)},
        {"markup",
         repeat("<a href=\"/lan?a=1&b=2\">R&D \"LAN\" <b>1 < 2 && 3 > 2</b></a>\n", kSize)}};
    return all;
}

std::string random_bytes(std::size_t size) {
    std::mt19937 random(1);
    std::string bytes(size, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

}  // namespace bench

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) ||
        std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    bench::add_codecs();
    bench::add_items();
    bench::add_requests();
    bench::add_texts();
    bench::add_uploads();
    bench::add_xml();
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
