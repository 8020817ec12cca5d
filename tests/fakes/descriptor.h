// read() and write() of one descriptor, noted and answered as a test says.
#ifndef QMV_TESTS_FAKES_DESCRIPTOR_H
#define QMV_TESTS_FAKES_DESCRIPTOR_H

#include <cstddef>
#include <vector>

#include "tests/fakes/allocation.h"

// A sanitizer checks the buffers of read() and write() itself and is left to it.
#define QMV_FAKE_DESCRIPTOR QMV_FAKE_ALLOCATION

namespace qmv_test {

/// While it lives, notes each read() and write() of one descriptor. The first calls are answered by
/// the script, in order; the others reach the system. One at a time.
class DescriptorCalls {
  public:
    explicit DescriptorCalls(int fd);
    DescriptorCalls(const DescriptorCalls &) = delete;
    DescriptorCalls &operator=(const DescriptorCalls &) = delete;
    ~DescriptorCalls();

    /// The next call fails with this errno.
    DescriptorCalls &fails(int error);
    /// The next call reaches the system with a count cut to this one.
    DescriptorCalls &moves(std::size_t count);
    /// The next call returns 0 and does nothing.
    DescriptorCalls &returns_nothing();
    /// The next calls claim to have moved all they were asked for; a read gives bytes 'x'.
    DescriptorCalls &pretends(long calls);

    /// Counts that were asked for, in order; those of pretended calls are left out.
    const std::vector<std::size_t> &requests() const;
    /// Steps of the script that were not used.
    std::size_t unused() const;
};

}  // namespace qmv_test

#endif
