// Memory that runs out at a chosen allocation.
#ifndef QMV_TESTS_FAKES_ALLOCATION_H
#define QMV_TESTS_FAKES_ALLOCATION_H

// A sanitizer has an allocator of its own; the tests that need this one are left out there.
#if defined(__SANITIZE_ADDRESS__)
#define QMV_FAKE_ALLOCATION 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QMV_FAKE_ALLOCATION 0
#endif
#endif
#ifndef QMV_FAKE_ALLOCATION
#define QMV_FAKE_ALLOCATION 1
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
