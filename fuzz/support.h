// What all fuzzers share: the input, checks, and what the library reads, prints and ends with.
#ifndef QMV_FUZZ_SUPPORT_H
#define QMV_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Ends the process with a message when a condition does not hold.
#define CHECK(condition) \
    (static_cast<bool>(condition) ? void() : fuzz::fail(__FILE__, __LINE__, #condition))

namespace fuzz {

/// The bytes that the fuzzer made up, taken piece by piece. At the end every piece is 0 or empty.
class Input {
  public:
    Input(const uint8_t *data, std::size_t size)
        : left_(reinterpret_cast<const char *>(data), size) {}

    bool empty() const { return left_.empty(); }
    unsigned byte();
    /// Four bytes, the lowest one first.
    uint32_t number();
    /// The bytes up to a NUL, which is dropped.
    std::string text();
    /// All bytes that are left.
    std::string rest();

  private:
    std::string_view left_;
};

/// What each fuzzer does with an input. Behind it no more descriptors may be open than before.
void run(Input &input);

[[noreturn]] void fail(const char *file, int line, const char *condition);

/// Calls a function and returns what it printed to stdout.
std::string printed(const std::function<void()> &call);

/// Calls a function. Returns the status of exit() when the function ended the process; what the
/// library had allocated is freed then.
std::optional<int> exit_status(const std::function<void()> &call);

/// A pipe, or what stands in for one, that holds a content, read in pieces. Each byte of `pieces`
/// cuts one read() to so many
/// bytes: 254 is a signal that interrupts it, 255 a failure. Behind them reads are not cut.
class Pipe {
  public:
    enum class Kind { kPipe, kFile, kSocket };

    explicit Pipe(std::string_view content, std::string pieces = "", Kind kind = Kind::kPipe);
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe();

    int fd() const { return fd_; }
    /// Whether a read failed.
    bool failed() const;
    /// All that was not read yet.
    std::string rest() const;

  private:
    int fd_;
};

/// A pipe in place of the standard input.
class StandardInput {
  public:
    explicit StandardInput(const Pipe &pipe);
    StandardInput(const StandardInput &) = delete;
    StandardInput &operator=(const StandardInput &) = delete;
    ~StandardInput();

  private:
    int kept_;
};

/// A nameless file that holds a content, open at its beginning; the caller closes it.
int open_content(std::string_view content);

/// While it lives, open() of exactly this path opens a content instead. One at a time.
class OpenInstead {
  public:
    OpenInstead(std::string path, std::string content);
    OpenInstead(const OpenInstead &) = delete;
    OpenInstead &operator=(const OpenInstead &) = delete;
    ~OpenInstead();

    std::string path;
    std::string content;
};

/// A directory that lives as long as the process, without "/" at the end.
const char *directory();
/// The path of a file in it.
std::string path_of(std::string_view name);
void write_file(const std::string &path, std::string_view content);
std::string read_file(const std::string &path);

/// A character of a UTF-8 text: its code, 0 for an invalid sequence, and the bytes that it takes.
struct Character {
    unsigned code;
    std::size_t length;
};

/// The character that a text, which is not empty, begins with.
Character first_character(std::string_view text);

/// The codes of a UTF-8 text, invalid sequences left out.
std::vector<unsigned> codes_of(std::string_view text);

/// Reads escaped HTML text, such as "&lt;&eacute;&#8364;a". Fails when it holds anything that does
/// not belong into an attribute.
std::vector<unsigned> codes_of_html(std::string_view html);

/// The text behind a beginning and in front of an end, both of which must be there.
std::string between(std::string_view text, std::string_view begin, std::string_view end);

/// The value attribute of a box that is printed.
std::string value_shown(const std::function<void()> &print);

/// The number, modulo 2^32, that stands behind blanks at the beginning of a text; the text loses
/// both.
std::optional<unsigned> take_number(std::string &text);

/// A text up to its first NUL.
std::string c_string(const std::string &text);

}  // namespace fuzz

#endif
