// ioctl() as every C library takes it: the type of a request differs.
#ifndef QMV_UTIL_IOCTL_H
#define QMV_UTIL_IOCTL_H

#include <sys/ioctl.h>

namespace qmv {

template <typename Request>
int call_ioctl(int (*function)(int, Request, ...), int fd, unsigned long request, void *block) {
    return function(fd, static_cast<Request>(request), block);
}

inline int ioctl(int fd, unsigned long request, void *block) {
    return call_ioctl(::ioctl, fd, request, block);
}

}  // namespace qmv

#endif
