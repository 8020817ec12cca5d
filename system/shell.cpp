#include <signal.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/system.h"
#include "util/ascii.h"
#include "util/format.h"
#include "util/lines.h"
#include "util/owners.h"

namespace {

constexpr size_t kGrowth = 4096;
constexpr size_t kReserve = 256;

/// A command that runs, and the stream of its output. False when it could not be started.
class Command {
  public:
    explicit Command(const char *text) : stream_(::popen(text, "r")) {}
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;
    ~Command() { finish(); }

    explicit operator bool() const { return stream_ != nullptr; }
    [[nodiscard]] std::FILE *output() const { return stream_; }

    /// Waits for the command. Returns its raw wait status, or -1.
    int finish() {
        std::FILE *stream = std::exchange(stream_, nullptr);
        return stream != nullptr ? ::pclose(stream) : -1;
    }

  private:
    std::FILE *stream_;
};

/// Runs a command and calls back for each line. Returns its status, -1 when it was not run or read.
template <typename Callback>
int for_each_line(const char *text, Callback callback) {
    Command command(text);
    qmv::LineBuffer buffer;
    if (!command || !buffer)
        return -1;
    while (char *line = buffer.next(command.output()))
        callback(line);
    return command.finish();
}

void open_wrappers(uint32_t flags) {
    print_str((flags & PRINT_COMMENT) != 0 ? "<!--" : nullptr);
    print_str((flags & PRINT_PRE) != 0 ? "<pre>" : nullptr);
}

void close_wrappers(uint32_t flags) {
    print_str((flags & PRINT_PRE) != 0 ? "</pre>" : nullptr);
    print_str((flags & PRINT_COMMENT) != 0 ? "-->" : nullptr);
}

/// Appends lines behind those that a list has.
class LineList {
  public:
    explicit LineList(shell_lines &lines) : lines_(lines), end_(&lines.first) {
        while (*end_ != nullptr)
            end_ = &(*end_)->next;
    }

    void append(const char *line) {
        const size_t length = std::strlen(line);
        if (length == 0)
            return;
        auto block = qmv::Block<char>::allocate(
            std::max(sizeof(shell_line_node), offsetof(shell_line_node, text) + length + 1));
        if (!block)
            return;
        std::memcpy(block.get() + offsetof(shell_line_node, text), line, length + 1);
        auto *node = reinterpret_cast<shell_line_node *>(block.release());
        node->next = nullptr;
        node->length = static_cast<uint32_t>(length);
        *end_ = node;
        end_ = &node->next;
        ++lines_.count;
    }

  private:
    shell_lines &lines_;
    shell_line_node **end_;
};

/// Calls back for each line of a list that is not empty, and frees all. Intended: the head of the
/// list stays as it was.
template <typename Callback>
void consume_lines(const shell_lines &lines, Callback callback) {
    shell_line_node *node = lines.first;
    while (node != nullptr) {
        const qmv::Block<shell_line_node> owned(node);
        if (node->length != 0)
            callback(node->text);
        node = node->next;
    }
}

/// Reads a stream to its end. Returns the size of the buffer; less than all when memory runs out.
size_t read_output(std::FILE *stream, qmv::Block<char> &text, size_t size) {
    size_t length = 0;
    while (const size_t n = std::fread(text.get() + length, 1, size - 1 - length, stream)) {
        length += n;
        if (size - 1 - length >= kReserve)
            continue;
        if (size + kGrowth > INT_MAX || !text.resize(size + kGrowth))
            break;
        size += kGrowth;
    }
    if (length > 0 && text[length - 1] == '\n')
        --length;
    text[length] = '\0';
    return size;
}

}  // namespace

int run_shell(uint32_t flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const auto command = qmv::format_text(format, args);
    va_end(args);
    if (!command)
        return -1;
    const bool quiet = (flags & PRINT_QUIET) != 0;
    if (quiet)
        return for_each_line(command.get(), [](const char * /*line*/) {});
    open_wrappers(flags);
    const int status =
        for_each_line(command.get(), [flags](const char *line) { print_xstr(line, flags); });
    if (status == -1)
        print_str("unable to run script!\n");
    close_wrappers(flags);
    return status;
}

int asprint_shell(char **result, const char *command) {
    if (result == nullptr)
        return -1;
    *result = nullptr;
    if (command == nullptr)
        return -1;
    auto text = qmv::Block<char>::allocate(kGrowth);
    if (!text)
        return -1;
    const Command running(command);
    if (!running)
        return -1;
    const size_t size = read_output(running.output(), text, kGrowth);
    *result = text.release();
    // Intended: the size of the memory, not the length of the output.
    return static_cast<int>(size);
}

int asprint_title_shell(char **result, const char *command) {
    char *text = nullptr;
    if (result == nullptr || asprint_shell(&text, command) < 1)
        return -1;
    const qmv::Block<char> output(text);
    return asprint_title(result, output.get());
}

int shell_run(shell_lines *lines, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const auto command = qmv::format_text(format, args);
    va_end(args);
    if (!command)
        return -1;
    shell_lines dropped{nullptr, 0};
    LineList list(lines != nullptr ? *lines : dropped);
    return for_each_line(command.get(), [&list, lines](const char *line) {
        if (lines != nullptr)
            list.append(line);
    });
}

void shell_print(shell_lines *lines, uint32_t flags) {
    if (lines == nullptr || lines->first == nullptr)
        return;
    open_wrappers(flags);
    const bool raw = (flags & PRINT_RAW) != 0;
    consume_lines(*lines,
                  [raw](const char *line) { raw ? print_str(line) : html_print_text(line); });
    close_wrappers(flags);
}

void shell_line(shell_lines *lines, int (*callback)(int arg, char *text), int arg) {
    if (lines == nullptr)
        return;
    consume_lines(*lines, [callback, arg](char *line) {
        if (callback != nullptr)
            callback(arg, line);
    });
}

int signal_process(const char *dir, const char *name, int signal) {
    unsigned value = 0;
    read_item_uint(dir, name, &value);
    const int pid = static_cast<int>(value);
    return pid < 1 ? -1 : ::kill(pid, signal);
}

const char *get_progname(int argc, const char *argv0) {
    if (argc == 0 || argv0 == nullptr)
        return nullptr;
    const char *slash = std::strrchr(argv0, '/');
    return slash != nullptr ? slash + 1 : argv0;
}
