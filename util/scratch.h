// Working memory of one call, whose size a caller chooses.
#ifndef QMV_UTIL_SCRATCH_H
#define QMV_UTIL_SCRATCH_H

#include "util/owners.h"

namespace qmv {

/// A text buffer: on the stack up to a page, beyond that on the heap, so that no argument can run
/// the stack over. Starts as an empty string. False when there was no memory.
class [[nodiscard]] Scratch {
  public:
    explicit Scratch(std::size_t size)
        : heap_(size > sizeof page_ ? static_cast<char *>(std::malloc(size)) : nullptr),
          data_(size > sizeof page_ ? heap_.get() : page_) {
        if (data_ != nullptr)
            data_[0] = '\0';
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    [[nodiscard]] char *get() { return data_; }
    explicit operator bool() const { return data_ != nullptr; }

  private:
    char page_[4096];
    Block<char> heap_;
    char *data_;
};

}  // namespace qmv

#endif
