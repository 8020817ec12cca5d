#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include "qmv/cgi.h"
#include "qmv/util.h"
#include "util/lookahead.h"
#include "util/scratch.h"

namespace {

constexpr std::string_view kDelimiterStart = "\r\n--";
constexpr int kStartSize = static_cast<int>(kDelimiterStart.size());
constexpr int kChunkSize = 1024;  // the most that a caller's writer receives in one call
constexpr int kPlainReads = 8;  // enough for a short field; looking ahead takes some calls to begin
constexpr size_t kLargeSize = 3 * qmv::LookAhead::kWindow + 4096;

/// Searches the stream for one delimiter: "\r\n--" and the boundary. It takes no more than the rest
/// of a delimiter can hold, so that what stands behind it stays in the descriptor. It may see more
/// than it takes: the buffer then has what was taken and not yet handed over (from start_ to held_),
/// and what is only shown (to shown_).
class DelimiterSearch {
  public:
    DelimiterSearch(int fd, std::string_view boundary, qmv_writer writer, void *writer_ctx)
        : fd_(fd),
          boundary_(boundary),
          writer_(writer),
          writer_ctx_(writer_ctx),
          length_(static_cast<int>(boundary.size())),
          capacity_(std::max(kChunkSize, length_ + kStartSize)),
          small_(static_cast<size_t>(capacity_)),
          buffer_(small_.get()),
          ahead_(fd) {}

    /// Returns what scan_boundary() returns.
    int run(unsigned state) {
        if (buffer_ == nullptr)
            return 2;
        const int result = find() ? read_tail(state) : 2;
        return leave() ? result : 2;
    }

  private:
    static constexpr int kFound = -1;

    /// Takes from the descriptor what of the bytes shown last belongs to the part.
    bool leave() {
        return !is_ahead_ ||
               ahead_.take(buffer_ + window_, static_cast<size_t>(std::max(0, held_ - window_)));
    }

    /// Hands the content to the writer. True when the delimiter was read, false when the input
    /// ended or failed before.
    bool find() {
        int request = length_ + kStartSize;
        for (;;) {
            if (take(request) < 1) {
                flush();
                return false;
            }
            request = confirm();
            if (request == kFound) {
                if (writer_ != nullptr && confirmed_ == start_)
                    writer_(writer_ctx_, buffer_ + start_, 0);
                flush();
                return true;
            }
            if (request == length_)
                skip();
            if (confirmed_ - start_ >= threshold())
                flush();
        }
    }

    /// Reads what stands behind the delimiter.
    int read_tail(unsigned state) {
        start_ = confirmed_ = held_;
        if (take(2) != 2)
            return 2;
        const char *tail = buffer_ + held_ - 2;
        if (tail[0] == '\r' && tail[1] == '\n')
            return 0;
        take(2);
        return static_cast<int>(state);
    }

    /// Takes so many bytes. Returns their number, less at the end of the input, or -1 when reading
    /// failed, as full_read_fd() does.
    int take(int count) {
        while (shown_ - held_ < count) {
            const int n = show(count - (shown_ - held_));
            if (n < 0)
                return -1;
            if (n == 0)
                break;
            shown_ += n;
        }
        const int taken = std::min(count, shown_ - held_);
        held_ += taken;
        return taken;
    }

    /// Gets more bytes into the buffer, at least one of those that are wanted.
    int show(int wanted) {
        if (!is_ahead_ && ++reads_ == kPlainReads)
            look_ahead();
        if (!is_ahead_)
            return read(wanted);
        // What is shown is smaller than what is wanted, so that all of it is taken.
        const bool taken = ahead_.take(buffer_ + window_, static_cast<size_t>(shown_ - window_));
        make_room(static_cast<int>(qmv::LookAhead::kWindow));
        window_ = shown_;
        if (!taken)
            return -1;
        const int n = ahead_.show(buffer_ + shown_, static_cast<size_t>(capacity_ - shown_));
        is_ahead_ = n >= 0 || ahead_.possible();
        return is_ahead_ ? n : read(wanted);
    }

    int read(int wanted) {
        make_room(wanted);
        return qmv::read_once(fd_, buffer_ + shown_, static_cast<size_t>(wanted));
    }

    /// From now on looks ahead, if the descriptor and the memory allow it.
    void look_ahead() {
        constexpr int kMost = kLargeSize - qmv::LookAhead::kWindow;
        if (capacity_ > kMost || !ahead_.possible())
            return;
        large_ = qmv::Block<char>::allocate(kLargeSize);
        if (!large_)
            return;
        std::memcpy(large_.get(), buffer_, static_cast<size_t>(shown_));
        buffer_ = large_.get();
        capacity_ = kLargeSize;
        window_ = shown_;
        is_ahead_ = true;
    }

    void make_room(int count) {
        if (capacity_ - shown_ >= count)
            return;
        if (is_own_writer())
            flush();
        std::memmove(buffer_, buffer_ + start_, static_cast<size_t>(shown_ - start_));
        shown_ -= start_;
        held_ -= start_;
        confirmed_ -= start_;
        searched_ = std::max(0, searched_ - start_);
        start_ = 0;
    }

    /// Counts as content what cannot begin a delimiter. Returns how many bytes to take next, or
    /// kFound.
    int confirm() {
        if (held_ - confirmed_ < kStartSize)
            return length_;
        const int match = next_match();
        if (match > held_ - kStartSize) {
            confirmed_ = held_ - (kStartSize - 1);
            return length_;
        }
        confirmed_ = match;
        const int missing = match + kStartSize + length_ - held_;
        if (missing > 0)
            return missing;
        if (std::memcmp(buffer_ + match + kStartSize, boundary_.data(), boundary_.size()) == 0)
            return kFound;
        ++confirmed_;
        return 1;
    }

    /// Takes as many pieces of the boundary's length as show no start of a delimiter and do not
    /// complete a piece for the writer, all at once. What comes behind them is looked at as usual.
    void skip() {
        if (!is_ahead_)
            return;
        const int end = std::min(shown_, next_match() + kStartSize - 1);
        int pieces = (end - held_) / length_;
        const int missing = threshold() - (held_ - (kStartSize - 1) - start_);
        pieces = std::min(pieces, missing > 0 ? (missing + length_ - 1) / length_ : 0);
        if (pieces > 0) {
            held_ += pieces * length_;
            confirmed_ = held_ - (kStartSize - 1);
        }
    }

    /// The first place, not before confirmed_, where a delimiter starts among the bytes that are
    /// shown; when there is none, the first place that could not be searched.
    int next_match() {
        searched_ = std::max(searched_, confirmed_);
        const int end = shown_ - (kStartSize - 1);
        while (searched_ < end) {
            const char *from = buffer_ + searched_;
            const void *cr = std::memchr(from, '\r', static_cast<size_t>(end - searched_));
            if (cr == nullptr) {
                searched_ = end;
                break;
            }
            searched_ = static_cast<int>(static_cast<const char *>(cr) - buffer_);
            if (std::memcmp(cr, kDelimiterStart.data(), kDelimiterStart.size()) == 0)
                break;
            ++searched_;
        }
        return searched_;
    }

    [[nodiscard]] bool is_own_writer() const {
        return writer_ == nullptr || writer_ == mpart_write_fd || writer_ == mpart_fwrite;
    }

    /// So many confirmed bytes are handed over before more are taken.
    [[nodiscard]] int threshold() const {
        return is_ahead_ && is_own_writer() ? INT_MAX / 2 : kChunkSize - length_ - kStartSize;
    }

    /// Hands over the confirmed bytes.
    void flush() {
        const int most = is_ahead_ && is_own_writer() ? INT_MAX : kChunkSize;
        for (; writer_ != nullptr && start_ < confirmed_;) {
            const int count = std::min(most, confirmed_ - start_);
            writer_(writer_ctx_, buffer_ + start_, count);
            start_ += count;
        }
        start_ = confirmed_;
    }

    int fd_;
    std::string_view boundary_;
    qmv_writer writer_;
    void *writer_ctx_;
    int length_;
    int capacity_;
    qmv::Scratch small_;
    qmv::Block<char> large_;
    char *buffer_;
    qmv::LookAhead ahead_;
    bool is_ahead_ = false;
    int reads_ = 0;
    int start_ = 0;      // of what was not yet handed over
    int confirmed_ = 0;  // its end
    int held_ = 0;       // end of what was taken
    int shown_ = 0;      // end of what was shown
    int window_ = 0;     // start of what was shown last
    int searched_ = 0;   // no delimiter starts between confirmed_ and this
};

}  // namespace

int scan_boundary(int fd, const char *boundary, unsigned state, qmv_writer writer,
                  void *writer_ctx) {
    if (boundary == nullptr)
        return 2;
    const std::string_view name(boundary, std::strcspn(boundary, "\r"));
    if (name.size() > INT_MAX - kChunkSize)
        return 2;
    return DelimiterSearch(fd, name, writer, writer_ctx).run(state);
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
