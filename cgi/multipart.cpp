#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include "qmv/cgi.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/scratch.h"

namespace {

constexpr std::string_view kDelimiterStart = "\r\n--";
constexpr int kChunkSize = 1024;  // the most that a writer receives in one call
constexpr int kStartSize = static_cast<int>(kDelimiterStart.size());

/// Searches the stream for one delimiter: "\r\n--" and the boundary. It reads no more than the rest
/// of a delimiter can hold, so that what stands behind it stays in the descriptor.
class DelimiterSearch {
  public:
    DelimiterSearch(int fd, std::string_view boundary, qmv_writer writer, void *writer_ctx)
        : fd_(fd),
          boundary_(boundary),
          writer_(writer),
          writer_ctx_(writer_ctx),
          length_(qmv::clamp_to_int(boundary.size())),
          buffer_(std::max<size_t>(kChunkSize, boundary.size() + kDelimiterStart.size())) {}

    /// Hands the content to the writer. True when the delimiter was read, false when the input
    /// ended or failed before.
    bool run() {
        if (!buffer_)
            return false;
        int request = length_ + kStartSize;
        for (;;) {
            const int n = full_read_fd(fd_, buffer_.get() + held_, request);
            if (n < 1) {
                flush();
                return false;
            }
            held_ += n;
            request = confirm();
            if (request == kFound) {
                if (writer_ != nullptr && confirmed_ == 0)
                    writer_(writer_ctx_, buffer_.get(), 0);
                flush();
                return true;
            }
            if (confirmed_ >= kChunkSize - length_ - kStartSize)
                flush();
        }
    }

  private:
    static constexpr int kFound = -1;

    /// Counts as content what cannot begin a delimiter. Returns how many bytes to read next, or
    /// kFound.
    int confirm() {
        const std::string_view rest(buffer_.get() + confirmed_,
                                    static_cast<size_t>(held_ - confirmed_));
        const int unconfirmed = static_cast<int>(rest.size());
        if (unconfirmed < kStartSize)
            return length_;
        const size_t match = rest.find(kDelimiterStart);
        if (match == rest.npos) {
            confirmed_ += unconfirmed - (kStartSize - 1);
            return length_;
        }
        confirmed_ += static_cast<int>(match);
        const int missing = confirmed_ + kStartSize + length_ - held_;
        if (missing > 0)
            return missing;
        const char *candidate = buffer_.get() + confirmed_ + kStartSize;
        if (std::memcmp(candidate, boundary_.data(), boundary_.size()) == 0)
            return kFound;
        ++confirmed_;
        return 1;
    }

    /// Hands over the confirmed bytes and moves the others to the front.
    void flush() {
        for (int done = 0; writer_ != nullptr && done < confirmed_; done += kChunkSize)
            writer_(writer_ctx_, buffer_.get() + done, std::min(kChunkSize, confirmed_ - done));
        held_ -= confirmed_;
        std::memmove(buffer_.get(), buffer_.get() + confirmed_, static_cast<size_t>(held_));
        confirmed_ = 0;
    }

    int fd_;
    std::string_view boundary_;
    qmv_writer writer_;
    void *writer_ctx_;
    int length_;
    qmv::Scratch buffer_;
    int held_ = 0;
    int confirmed_ = 0;
};

}  // namespace

int scan_boundary(int fd, const char *boundary, unsigned state, qmv_writer writer,
                  void *writer_ctx) {
    if (boundary == nullptr)
        return 2;
    const std::string_view name(boundary, std::strcspn(boundary, "\r"));
    if (name.size() > INT_MAX - kChunkSize)
        return 2;
    if (!DelimiterSearch(fd, name, writer, writer_ctx).run())
        return 2;
    char tail[2];
    if (full_read_fd(fd, tail, 2) != 2)
        return 2;
    if (tail[0] == '\r' && tail[1] == '\n')
        return 0;
    full_read_fd(fd, tail, 2);
    return static_cast<int>(state);
}

int mpart_write_fd(void *fd_ptr, const void *buf, int len) {
    if (fd_ptr == nullptr)
        return -1;
    const int fd = *static_cast<const int *>(fd_ptr);
    if (fd >= 1)
        full_write_fd(fd, buf, len);
    return 0;
}

int mpart_fwrite(void *stream, const void *buf, int len) {
    if (stream == nullptr)
        return -1;
    if (len > 0) {
        // A writer has no way to report a failure.
        [[maybe_unused]] const size_t items =
            std::fwrite(buf, static_cast<size_t>(len), 1, static_cast<std::FILE *>(stream));
    }
    return 0;
}
