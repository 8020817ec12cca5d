// A process that can open nothing more.
#ifndef QMV_TESTS_SUPPORT_DESCRIPTOR_LIMIT_H
#define QMV_TESTS_SUPPORT_DESCRIPTOR_LIMIT_H

#include <sys/resource.h>

#include <cstdlib>

namespace qmv_test {

/// While it lives, calls that would open another descriptor fail with EMFILE.
class DescriptorLimit {
  public:
    DescriptorLimit() {
        rlimit none{};
        if (::getrlimit(RLIMIT_NOFILE, &before_) != 0)
            std::abort();
        none.rlim_max = before_.rlim_max;
        if (::setrlimit(RLIMIT_NOFILE, &none) != 0)
            std::abort();
    }
    DescriptorLimit(const DescriptorLimit &) = delete;
    DescriptorLimit &operator=(const DescriptorLimit &) = delete;
    ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

}  // namespace qmv_test

#endif
