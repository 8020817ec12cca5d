// Drivers behind ioctl(), and files of the kernel behind open(), answered as a test says.
#ifndef QMV_TESTS_FAKES_DEVICE_H
#define QMV_TESTS_FAKES_DEVICE_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace qmv_test {

/// While it lives, answers the requests of its script, which must come in its order and all of
/// them: a request that is left over fails the test. A request of a DSL or MTD driver or of a PHY
/// that is not the next one of the script fails the test at any time and returns -1; all other
/// requests that the script does not name reach the kernel. One at a time.
class Device {
  public:
    /// Stands in for a driver: gets descriptor and block, returns what ioctl() returns.
    using Driver = std::function<int(int fd, void *block)>;

    struct Call {
        int fd;
        unsigned long request;
        void *block;
    };

    Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;
    ~Device();

    Device &expects(unsigned long request, Driver driver);
    /// The block must hold exactly the bytes `before`, and holds `after` when ioctl() returns.
    Device &expects(unsigned long request, std::string before, std::string after, int result = 0);
    /// The request fails with this errno; the block is not looked at.
    Device &fails(unsigned long request, int error);
    /// The request is left to the kernel.
    Device &reaches_kernel(unsigned long request);

    /// The scripted requests that were made.
    const std::vector<Call> &calls() const;
    std::size_t unused() const;
};

/// While it lives, open() of exactly this path opens another file instead. It fails the test when
/// that path was never opened. One at a time.
class OpenInstead {
  public:
    OpenInstead(std::string path, std::string instead);
    OpenInstead(const OpenInstead &) = delete;
    OpenInstead &operator=(const OpenInstead &) = delete;
    ~OpenInstead();

    int times() const;
    /// Flags of the last time.
    int flags() const;
};

}  // namespace qmv_test

#endif
