// A text with an unreadable page directly behind its last byte.
#ifndef QMV_TESTS_SUPPORT_FENCED_TEXT_H
#define QMV_TESTS_SUPPORT_FENCED_TEXT_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace qmv_test {

/// Holds the bytes of a text, less than a page, and no terminator: reading one byte more ends the
/// process.
class FencedText {
  public:
    explicit FencedText(std::string_view text)
        : page_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
        void *const memory =
            ::mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED || text.size() > page_)
            std::abort();
        pages_ = static_cast<char *>(memory);
        text_ = pages_ + page_ - text.size();
        std::memcpy(text_, text.data(), text.size());
        if (::mprotect(pages_ + page_, page_, PROT_NONE) != 0)
            std::abort();
    }
    FencedText(const FencedText &) = delete;
    FencedText &operator=(const FencedText &) = delete;
    ~FencedText() { ::munmap(pages_, 2 * page_); }

    const char *get() const { return text_; }

  private:
    std::size_t page_;
    char *pages_;
    char *text_;
};

}  // namespace qmv_test

#endif
