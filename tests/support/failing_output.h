// Printers whose output fails, each series in a process of its own.
#ifndef QMV_TESTS_SUPPORT_FAILING_OUTPUT_H
#define QMV_TESTS_SUPPORT_FAILING_OUTPUT_H

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace qmv_test {

/// Where stdout leads to.
enum class Sink {
    kFullDevice,   ///< a device that takes nothing
    kClosedPipe,   ///< a pipe that nobody reads
    kLimitedFile,  ///< a file that takes 1000 bytes
};

/// The mode of a stdout whose buffer is left to the C library.
inline constexpr int kUntouched = -1;

/// How stdout is buffered.
struct Buffering {
    const char *label;
    int mode;          ///< _IOFBF, _IOLBF, _IONBF or kUntouched
    std::size_t size;  ///< of the buffer, at most 8192
};

/// What a series of printers left behind.
struct FailedOutput {
    std::vector<int> counts;  ///< what each returned
    std::string written;      ///< what reached the limited file; else empty

    bool operator==(const FailedOutput &) const = default;
};

std::ostream &operator<<(std::ostream &out, const FailedOutput &output);

/// Runs printers one behind the other with such a stdout.
FailedOutput print_to(Sink sink, const Buffering &buffering,
                      const std::vector<std::function<int()>> &printers);

}  // namespace qmv_test

#endif
