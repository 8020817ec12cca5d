#include "tests/fakes/descriptor.h"

#if QMV_FAKE_DESCRIPTOR

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

namespace {

enum class Kind { kFails, kMoves, kReturnsNothing, kPretends };

struct Step {
    Kind kind;
    long value;
};

struct Script {
    int fd;
    std::deque<Step> steps;
    std::vector<std::size_t> requests;
};

Script *script = nullptr;

/// Answers a call, or cuts its count and leaves it to the system. True when it was answered.
bool answer(int fd, void *target, std::size_t &count, ssize_t &result) {
    if (script == nullptr || fd != script->fd)
        return false;
    if (!script->steps.empty() && script->steps.front().kind == Kind::kPretends) {
        if (target != nullptr)
            std::memset(target, 'x', count);
        result = static_cast<ssize_t>(count);
        if (--script->steps.front().value == 0)
            script->steps.pop_front();
        return true;
    }
    script->requests.push_back(count);
    if (script->steps.empty())
        return false;
    const Step step = script->steps.front();
    script->steps.pop_front();
    if (step.kind == Kind::kMoves) {
        count = std::min(count, static_cast<std::size_t>(step.value));
        return false;
    }
    result = step.kind == Kind::kFails ? -1 : 0;
    if (step.kind == Kind::kFails)
        errno = static_cast<int>(step.value);
    return true;
}

}  // namespace

extern "C" ssize_t read(int fd, void *buffer, std::size_t count) {
    ssize_t result = 0;
    return answer(fd, buffer, count, result) ? result : ::syscall(SYS_read, fd, buffer, count);
}

// What a call of read() becomes in code that checks the size of its buffers.
extern "C" ssize_t __read_chk(int fd, void *buffer, std::size_t count, std::size_t) {
    return read(fd, buffer, count);
}

extern "C" ssize_t write(int fd, const void *buffer, std::size_t count) {
    ssize_t result = 0;
    return answer(fd, nullptr, count, result) ? result : ::syscall(SYS_write, fd, buffer, count);
}

namespace qmv_test {

DescriptorCalls::DescriptorCalls(int fd) {
    script = new Script{fd, {}, {}};
}

DescriptorCalls::~DescriptorCalls() {
    delete script;
    script = nullptr;
}

DescriptorCalls &DescriptorCalls::fails(int error) {
    script->steps.push_back({Kind::kFails, error});
    return *this;
}

DescriptorCalls &DescriptorCalls::moves(std::size_t count) {
    script->steps.push_back({Kind::kMoves, static_cast<long>(count)});
    return *this;
}

DescriptorCalls &DescriptorCalls::returns_nothing() {
    script->steps.push_back({Kind::kReturnsNothing, 0});
    return *this;
}

DescriptorCalls &DescriptorCalls::pretends(long calls) {
    script->steps.push_back({Kind::kPretends, calls});
    return *this;
}

const std::vector<std::size_t> &DescriptorCalls::requests() const {
    return script->requests;
}

std::size_t DescriptorCalls::unused() const {
    return script->steps.size();
}

}  // namespace qmv_test

#endif
