// Owners of what the C library hands out: descriptors, heap blocks, streams. Move-only; release()
// gives the thing away to the C caller, who then frees it.
#ifndef QMV_UTIL_OWNERS_H
#define QMV_UTIL_OWNERS_H

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace qmv {

/// A descriptor, closed at the end of its scope without touching errno. Negative: none.
class [[nodiscard]] Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() { close_now(); }

    [[nodiscard]] int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

    void close_now() {
        if (fd_ < 0)
            return;
        const int kept = errno;
        ::close(std::exchange(fd_, -1));
        errno = kept;
    }

  private:
    int fd_;
};

/// An array of T from malloc. Null when the allocation failed or the size does not fit.
template <typename T>
class [[nodiscard]] Block {
  public:
    explicit Block(T *data = nullptr) : data_(data) {}
    Block(Block &&other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
    Block &operator=(Block &&other) noexcept {
        std::swap(data_, other.data_);
        return *this;
    }
    ~Block() { std::free(data_); }

    /// Allocates without initialising. Never asks for 0 bytes, so that null always means failure.
    static Block allocate(std::size_t count) {
        std::size_t bytes = 0;
        if (__builtin_mul_overflow(count, sizeof(T), &bytes))
            return Block();
        return Block(static_cast<T *>(std::malloc(bytes > 0 ? bytes : 1)));
    }

    /// Changes the number of elements, keeping what is there. False, and no change, without memory.
    bool resize(std::size_t count) {
        std::size_t bytes = 0;
        if (__builtin_mul_overflow(count, sizeof(T), &bytes) || bytes == 0)
            return false;
        void *moved = std::realloc(data_, bytes);
        if (moved == nullptr)
            return false;
        data_ = static_cast<T *>(moved);
        return true;
    }

    [[nodiscard]] T *get() const { return data_; }
    [[nodiscard]] T *release() { return std::exchange(data_, nullptr); }
    T &operator[](std::size_t index) const { return data_[index]; }
    explicit operator bool() const { return data_ != nullptr; }

  private:
    T *data_;
};

}  // namespace qmv

#endif
