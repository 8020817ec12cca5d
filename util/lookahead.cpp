#include "util/lookahead.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "qmv/util.h"

namespace {

/// Repeats a call of the system while signals interrupt it.
template <typename Call>
int uninterrupted(Call call) {
    for (;;) {
        const ssize_t result = call();
        if (result >= 0 || errno != EINTR)
            return static_cast<int>(result);
    }
}

/// Of other sockets a read takes a whole message, however little it asks for.
bool is_stream(int fd) {
    int type = 0;
    socklen_t size = sizeof type;
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
}

}  // namespace

namespace qmv {

int read_once(int fd, char *to, size_t count) {
    return uninterrupted([=] { return ::read(fd, to, count); });
}

bool LookAhead::possible() {
    // A file is looked at again each time: to seek in anything else would lose what was read.
    if (kind_ != Kind::kUnknown && kind_ != Kind::kFile)
        return kind_ != Kind::kOther;
    kind_ = Kind::kOther;
    struct stat info;
    if (::fstat(fd_, &info) != 0)
        return false;
    if (S_ISREG(info.st_mode))
        kind_ = Kind::kFile;
    else if (S_ISSOCK(info.st_mode) && is_stream(fd_))
        kind_ = Kind::kSocket;
    else if (S_ISFIFO(info.st_mode) && make_copy())
        kind_ = Kind::kPipe;
    return kind_ != Kind::kOther;
}

bool LookAhead::make_copy() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    copy_out_ = Descriptor(ends[0]);
    copy_in_ = Descriptor(ends[1]);
    return true;
}

int LookAhead::show(char *to, size_t room) {
    room = std::min(room, kWindow);
    int count = 0;
    if (kind_ == Kind::kFile)
        count = read_once(fd_, to, room);
    else if (kind_ == Kind::kSocket)
        count = uninterrupted([=, this] { return ::recv(fd_, to, room, MSG_PEEK); });
    else
        count = show_copy(to, room);
    if (count < 0 && (errno == ENOSYS || errno == EPERM || errno == EINVAL || errno == EOPNOTSUPP))
        kind_ = Kind::kOther;
    shown_ = static_cast<size_t>(std::max(count, 0));
    return count;
}

int LookAhead::show_copy(char *to, size_t room) {
    const int count = uninterrupted([=, this] { return ::tee(fd_, copy_in_.get(), room, 0); });
    return count > 0 ? full_read_fd(copy_out_.get(), to, count) : count;
}

bool LookAhead::take(char *shown, size_t count) {
    const size_t left = shown_ - count;
    shown_ = 0;
    if (kind_ == Kind::kFile)
        return left == 0 || ::lseek(fd_, -static_cast<off_t>(left), SEEK_CUR) >= 0;
    // The same bytes again.
    const int length = static_cast<int>(count);
    return length == 0 || full_read_fd(fd_, shown, length) == length;
}

}  // namespace qmv
