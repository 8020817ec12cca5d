#include "cgi/parts.h"

#include <strings.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string_view>

#include "qmv/cgi.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/lines.h"
#include "util/lookahead.h"
#include "util/owners.h"

namespace {

constexpr unsigned kLineSize = 1024;
constexpr const char *kReadFailed = "cgidecode(): Couldn't read multipart line from STDIN.\r";
constexpr std::string_view kHeaderStart = "Content-";

/// Descriptor 0 while the header lines of a part are read: looks ahead where that is possible.
class HeaderInput {
  public:
    /// To be called where header lines begin.
    void begin() { is_ahead_ = ahead_.possible(); }

    /// To be called where they end. False when what was read could not be taken.
    bool end() {
        const bool taken = !is_ahead_ || ahead_.take(window_, static_cast<size_t>(at_));
        at_ = size_ = 0;
        return taken;
    }

    /// Reads a line as full_line_read_fd() does.
    int read_line(char *line) {
        return qmv::read_crlf_line([this](char *to, int count) { return read(to, count); }, line,
                                   kLineSize);
    }

  private:
    int read(char *to, int count) {
        for (int done = 0; done < count; ++done) {
            if (at_ == size_ && fill() < 1)
                return size_ < 0 ? -1 : done;
            to[done] = window_[at_++];
        }
        return count;
    }

    /// Returns what was got: 0 at the end of the input, negative when reading failed.
    int fill() {
        if (!end())
            return size_ = -1;
        if (is_ahead_) {
            size_ = ahead_.show(window_, sizeof window_);
            is_ahead_ = size_ >= 0 || ahead_.possible();
        }
        if (!is_ahead_)
            size_ = qmv::read_once(STDIN_FILENO, window_, 1);
        return size_;
    }

    qmv::LookAhead ahead_{STDIN_FILENO};
    bool is_ahead_ = false;
    char window_[kLineSize];
    int at_ = 0;
    int size_ = 0;
};

/// The records of one part and the header lines that their strings point into.
class Batch {
  public:
    explicit Batch(char *boundary) : records_{{{nullptr, name_, boundary}}} {}
    Batch(const Batch &) = delete;
    Batch &operator=(const Batch &) = delete;
    ~Batch() {
        // Last first, so that the allocator can give the memory back.
        while (line_count_ > 0)
            lines_[--line_count_] = qmv::Block<char>();
    }

    [[nodiscard]] bool has_headers() const { return count_ > 1; }
    [[nodiscard]] bool full() const { return count_ == records_.size(); }
    [[nodiscard]] cgivar *records() { return records_.data(); }
    [[nodiscard]] unsigned count() const { return static_cast<unsigned>(count_); }

    /// Reads the header lines of the part, up to its empty line. Returns null, or the message of a
    /// failure.
    const char *read_headers(HeaderInput &input);

  private:
    bool add_header(char *line);
    void add_parameters(cgivar *header, char *cursor);

    cgivar *add(cgivar *parent, char *name, char *value) {
        records_[count_] = {parent, name, value};
        return &records_[count_++];
    }

    char name_[9] = "boundary";
    std::array<cgivar, 6> records_;
    size_t count_ = 1;
    std::array<qmv::Block<char>, 5> lines_;
    size_t line_count_ = 0;
};

const char *Batch::read_headers(HeaderInput &input) {
    // Intended: five kept lines end the headers, and a line that does not fit the buffer ends the
    // input.
    while (line_count_ < lines_.size()) {
        auto line = qmv::Block<char>::allocate(kLineSize);
        if (!line)
            return "cgidecode(): Couldn't malloc for multipart.\r";
        const int length = input.read_line(line.get());
        if (length < 0)
            return kReadFailed;
        if (length == 0)
            break;
        if (add_header(line.get()))
            lines_[line_count_++] = std::move(line);
    }
    return nullptr;
}

/// Makes records of a header line. False when the line is not kept.
bool Batch::add_header(char *line) {
    if (full() || ::strncasecmp(line, kHeaderStart.data(), kHeaderStart.size()) != 0)
        return false;
    char *colon = std::strchr(line + kHeaderStart.size(), ':');
    if (colon == nullptr)
        return false;
    *colon = '\0';
    cgivar *header = add(nullptr, line, qmv::skip_space(colon + 1));
    char *semicolon = std::strchr(header->value, ';');
    if (semicolon != nullptr) {
        *semicolon = '\0';
        add_parameters(header, semicolon + 1);
    }
    return true;
}

/// Makes records of the parameters name="value" behind a header's value, until one is malformed.
void Batch::add_parameters(cgivar *header, char *cursor) {
    while (!full()) {
        char *name = qmv::skip_space(cursor);
        char *equals = std::strchr(name, '=');
        if (equals == nullptr || equals[1] != '"')
            return;
        char *value = equals + 2;
        char *quote = std::strchr(value, '"');
        if (quote == nullptr)
            return;
        *equals = '\0';
        *quote = '\0';
        add(header, name, value);
        if (quote[1] != ';')
            return;
        cursor = quote + 2;
    }
}

/// Hands one part to the callback, or skips it. Returns the part's result: 0 when another follows.
/// `failure` becomes the message of one.
int decode_part(void *ctx, char *boundary, cgivars_callback cb, HeaderInput &input,
                const char *&failure) {
    Batch batch(boundary);
    input.begin();
    failure = batch.read_headers(input);
    if (!input.end() && failure == nullptr)
        failure = kReadFailed;
    if (failure != nullptr)
        return -1;
    if (cb == nullptr || !batch.has_headers())
        return scan_boundary(STDIN_FILENO, boundary, 3, nullptr, nullptr);
    return cb(ctx, batch.records(), batch.count(), CGI_MODE_MULTIPART);
}

/// Decodes the parts up to the last. Returns null, or the message of a failure.
const char *decode_all(void *ctx, char *boundary, cgivars_callback cb) {
    HeaderInput input;
    const char *failure = nullptr;
    while (decode_part(ctx, boundary, cb, input, failure) == 0) {
    }
    return failure;
}

}  // namespace

namespace qmv {

int decode_parts(void *ctx, char *boundary, cgivars_callback cb) {
    if (cb != nullptr) {
        char name[] = "boundary";
        cgivar record{nullptr, name, boundary};
        cb(ctx, &record, 1, CGI_MODE_MULTIPART);
    }
    if (const char *failure = decode_all(ctx, boundary, cb); failure != nullptr)
        cgi_fatal(failure);
    return cb != nullptr ? cb(ctx, nullptr, 0, CGI_MODE_MULTIPART) : 0;
}

}  // namespace qmv
