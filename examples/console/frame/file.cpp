#include "frame/file.h"

#include <fcntl.h>
#include <qmv/util.h>
#include <unistd.h>

#include <cstdio>

bool replace_file(const std::string &path, const std::string &text) {
    const std::string temporary = path + ".new-" + std::to_string(::getpid());
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int size = static_cast<int>(text.size());
    const bool written = fd >= 0 && full_write_fd(fd, text.c_str(), size) == size;
    const bool closed = fd >= 0 && ::close(fd) == 0;
    if (written && closed && std::rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    remove_filef("%s", temporary.c_str());
    return false;
}
