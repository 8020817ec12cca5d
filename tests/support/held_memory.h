// Heap memory that was not freed.
#ifndef QMV_TESTS_SUPPORT_HELD_MEMORY_H
#define QMV_TESTS_SUPPORT_HELD_MEMORY_H

#include <malloc.h>

#include <cstddef>

namespace qmv_test {

/// Bytes of the heap that are in use, give or take what the allocator keeps at hand for later.
inline std::size_t held_memory() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

}  // namespace qmv_test

#endif
