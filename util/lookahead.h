// Bytes of a descriptor, seen before they are taken from it.
#ifndef QMV_UTIL_LOOKAHEAD_H
#define QMV_UTIL_LOOKAHEAD_H

#include <cstddef>

#include "util/owners.h"

namespace qmv {

/// Shows what a descriptor holds in large pieces and takes of it only as much as is wanted: what is
/// behind stays in the descriptor, for whoever reads it next. A regular file is read and its position
/// moved back, a socket is peeked at, a pipe is copied by tee() into a private one.
class LookAhead {
  public:
    static constexpr std::size_t kWindow = 64 * 1024;

    explicit LookAhead(int fd) : fd_(fd) {}

    /// Whether the descriptor is of a kind that allows it; any other can only be read. No longer when
    /// show() has failed because the system refuses to look ahead, after which nothing is lost.
    bool possible();

    /// Writes the next bytes, at most `room` and a window, to `to`. Returns their number: 0 at the
    /// end of the input, negative when reading failed. All that was shown before must be taken.
    int show(char *to, std::size_t room);

    /// Takes the first `count` of the bytes shown last, which still stand at `shown`. False when that
    /// failed.
    bool take(char *shown, std::size_t count);

  private:
    enum class Kind { kUnknown, kFile, kSocket, kPipe, kOther };

    bool make_copy();
    int show_copy(char *to, std::size_t room);

    int fd_;
    Kind kind_ = Kind::kUnknown;
    std::size_t shown_ = 0;
    Descriptor copy_out_{-1};
    Descriptor copy_in_{-1};
};

/// Calls read() until it is not interrupted.
int read_once(int fd, char *to, std::size_t count);

}  // namespace qmv

#endif
