// What the stand-ins of wrap.cpp do with a call: count it, make it, or let a fault come up.
#ifndef QMV_TESTS_FAULTS_CALLS_H
#define QMV_TESTS_FAULTS_CALLS_H

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <type_traits>

#include "tests/faults/faults.h"

namespace qmv_test {

/// Counts a call. Returns what goes wrong with it, or null.
const Fault *due(Call call);
/// Tells whether a call with a fault moves one byte all the same.
bool moves_a_byte(const Fault &wrong);

/// The account of the memory that calls hand out.
void note_handed_out(const void *block);
void taken_back(const void *block);

/// The path to open in place of another.
const char *staged(const char *path);
/// What answers the requests of ioctl(); null: the kernel.
const Driver *driver();

template <typename T>
T *handed_out(T *block) {
    note_handed_out(block);
    return block;
}

/// A list of entries, each of them a block.
template <typename Entry>
int list_handed_out(int count, Entry ***entries) {
    for (int i = 0; i < count; ++i)
        handed_out((*entries)[i]);
    if (count >= 0)
        handed_out(*entries);
    return count;
}

/// Makes a call, or fails it.
template <typename Result, typename... Args>
Result make(Call call, Result failure, Result (*real)(Args...),
            std::type_identity_t<Args>... args) {
    const Fault *wrong = due(call);
    if (wrong == nullptr)
        return real(args...);
    errno = wrong->error;
    return failure;
}

/// Makes a call that closes something; it does so in any case.
template <typename Result, typename Arg>
Result make_closing(Call call, Result failure, Result (*real)(Arg), std::type_identity_t<Arg> arg) {
    const Fault *wrong = due(call);
    const Result result = real(arg);
    if (wrong == nullptr)
        return result;
    errno = wrong->error;
    return failure;
}

/// Makes a call that moves bytes, perhaps fewer than asked for.
template <typename Function>
ssize_t move(Call call, std::size_t count, Function real) {
    const Fault *wrong = due(call);
    if (wrong == nullptr)
        return real(count);
    if (wrong->manner == Manner::kNothing)
        return 0;
    if (moves_a_byte(*wrong))
        return real(std::min<std::size_t>(count, 1));
    errno = wrong->error;
    return -1;
}

}  // namespace qmv_test

#endif
