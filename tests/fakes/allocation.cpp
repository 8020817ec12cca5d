#include "tests/fakes/allocation.h"

#if QMV_FAKE_ALLOCATION

#include <cerrno>
#include <cstddef>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
}

namespace {

constexpr int kAll = -1;
int remaining = kAll;
int refused = 0;

bool refuse() {
    if (remaining == kAll)
        return false;
    if (remaining > 0) {
        --remaining;
        return false;
    }
    ++refused;
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" void *malloc(std::size_t size) noexcept {
    return refuse() ? nullptr : __libc_malloc(size);
}

extern "C" void *calloc(std::size_t count, std::size_t size) noexcept {
    return refuse() ? nullptr : __libc_calloc(count, size);
}

extern "C" void *realloc(void *block, std::size_t size) noexcept {
    return refuse() ? nullptr : __libc_realloc(block, size);
}

namespace qmv_test {

AllocationFailure::AllocationFailure(int succeed) {
    refused = 0;
    remaining = succeed;
}

AllocationFailure::~AllocationFailure() {
    remaining = kAll;
}

int AllocationFailure::failed() const {
    return refused;
}

}  // namespace qmv_test

#endif
