// A file that is read piece by piece.
#ifndef QMV_TESTS_SUPPORT_PACKETS_H
#define QMV_TESTS_SUPPORT_PACKETS_H

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

namespace qmv_test {

/// Holds the content of a file whose every read() gives one piece of it, of at most 16.
class Packets {
  public:
    Packets(std::string_view content, std::size_t piece) {
        int ends[2];
        if (::pipe2(ends, O_DIRECT | O_CLOEXEC) != 0)
            std::abort();
        for (; !content.empty(); content.remove_prefix(std::min(piece, content.size()))) {
            const std::string_view head = content.substr(0, piece);
            if (::write(ends[1], head.data(), head.size()) != static_cast<ssize_t>(head.size()))
                std::abort();
        }
        ::close(ends[1]);
        fd_ = ends[0];
    }
    Packets(const Packets &) = delete;
    Packets &operator=(const Packets &) = delete;
    ~Packets() { ::close(fd_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

  private:
    int fd_;
};

}  // namespace qmv_test

#endif
