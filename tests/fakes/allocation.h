// Memory that runs out at a chosen allocation.
#ifndef QMV_TESTS_FAKES_ALLOCATION_H
#define QMV_TESTS_FAKES_ALLOCATION_H

#if defined(__SANITIZE_ADDRESS__)
#define QMV_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QMV_ADDRESS_SANITIZER 1
#endif
#endif
#ifndef QMV_ADDRESS_SANITIZER
#define QMV_ADDRESS_SANITIZER 0
#endif

// A sanitizer has an allocator of its own, and valgrind, too: there the tests that need this one are
// left out.
#ifndef QMV_FAKE_ALLOCATION
#define QMV_FAKE_ALLOCATION (!QMV_ADDRESS_SANITIZER)
#endif

namespace qmv_test {

/// While it lives, lets `succeed` calls of malloc, calloc or realloc succeed and fails all behind
/// them. At its end failed() tells how many it refused.
class AllocationFailure {
  public:
    explicit AllocationFailure(int succeed);
    AllocationFailure(const AllocationFailure &) = delete;
    AllocationFailure &operator=(const AllocationFailure &) = delete;
    ~AllocationFailure();

    int failed() const;
};

}  // namespace qmv_test

#endif
