#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/html.h>
#include <qmv/system.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/process_state.h"

namespace {

using qmv_test::NoDescriptors;
using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::printed_error;
using qmv_test::run_child;
using qmv_test::TempDir;
using qmv_test::text;
using Lines = std::vector<std::string>;

struct Free {
    void operator()(char *block) const { std::free(block); }
};
using Text = std::unique_ptr<char, Free>;

constexpr int kExit1 = 256;

/// Prints so many times "x".
std::string print_x(int count) {
    return "head -c " + std::to_string(count) + " /dev/zero | tr '\\0' x";
}

/// What run_shell() returned and printed.
struct Outcome {
    int status;
    std::string output;

    bool operator==(const Outcome &) const = default;
};

void PrintTo(const Outcome &run, std::ostream *out) {
    *out << run.status << " " << testing::PrintToString(run.output);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
// With formats that the compiler does not look into.
int run_shell_of(uint32_t flags, const char *format) {
    return run_shell(flags, format);
}
int shell_run_of(shell_lines *lines, const char *format) {
    return shell_run(lines, format);
}
#pragma GCC diagnostic pop

Outcome run(uint32_t flags, const std::string &command) {
    Outcome result{};
    result.output = printed([&] { result.status = run_shell(flags, "%s", command.c_str()); });
    return result;
}

// ---- run_shell ----

TEST(RunShell, PrintsTheOutputAsTheFlagsAsk) {
    const struct {
        const char *label;
        uint32_t flags;
        const char *output;
    } rows[] = {
        {"none: escaped", 0, "a&lt;b\n"},
        {"pre", 0x1000, "<pre>a&lt;b\n</pre>"},
        {"comment", 0x2000, "<!--a&lt;b\n-->"},
        {"comment around pre", 0x3000, "<!--<pre>a&lt;b\n</pre>-->"},
        {"raw", 0x4000, "a<b\n"},
        {"raw pre", 0x5000, "<pre>a<b\n</pre>"},
        {"Windows alone: escaped", 0x10000, "a&lt;b\n"},
        {"raw for Windows", 0x14000, "a<b\r\n"},
        {"raw for Windows in comment and pre", 0x17000, "<!--<pre>a<b\r\n</pre>-->"},
        {"quiet", 0x20000, ""},
        {"quiet wins", 0x37000, ""},
        {"flags of other printers", 0xFFFC8FFF & ~0x20000u, "a&lt;b\n"},
        {"all but quiet", 0xFFFDFFFF, "<!--<pre>a<b\r\n</pre>-->"},
        {"all", 0xFFFFFFFF, ""},
    };
    for (const auto &row : rows)
        EXPECT_EQ(run(row.flags, "echo 'a<b'"), (Outcome{0, row.output})) << row.label;
}

TEST(RunShell, BuildsTheCommandFromTheFormat) {
    int status = -1;
    EXPECT_EQ(printed([&] {
                  status = run_shell(0, "printf '%%s|%%s|%%s' %s %d \"%c%%\"", "one", -2, 'c');
              }),
              "one|-2|c%");
    EXPECT_EQ(status, 0);
}

TEST(RunShell, AddsNoQuoting) {
    EXPECT_EQ(run(0, "printf '%s;' a  b 'c  d' `echo e` $((1+1)); echo f | cat"),
              (Outcome{0, "a;b;c  d;e;2;f\n"}));
}

TEST(RunShell, PrintsLinesOfEveryKind) {
    const struct {
        const char *label;
        const char *command;
        std::string output;
    } rows[] = {
        {"several lines", "printf 'a\\nb\\nc\\n'", "a\nb\nc\n"},
        {"empty lines", "printf '\\n\\na\\n\\n'", "\n\na\n\n"},
        {"no line feed at the end", "printf 'a\\nb'", "a\nb"},
        {"nothing", "true", ""},
        {"CR LF", "printf 'a\\r\\nb\\r\\n'", "a\r\nb\r\n"},
        {"markup", "printf '<a href=\"x\">&'", "&lt;a href=&quot;x&quot;&gt;&amp;"},
        {"not ASCII", "printf '\\303\\251 \\342\\202\\254'", "&eacute; &#8364;"},
        {"control characters", "printf 'a\\t\\033b\\177'", "a\t\033b&#127;"},
        {"a NUL ends the line that is printed", "printf 'a\\0b\\nc\\n'", "ac\n"},
        {"a line that begins with a NUL", "printf '\\0b\\nc\\n'", "c\n"},
        {"percent signs", "echo %s%n%d", "%s%n%d\n"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(run(0, row.command), (Outcome{0, row.output})) << row.label;
}

TEST(RunShell, PrintsLongLines) {
    for (const int length : {4094, 4095, 4096, 4097, 8192, 100000}) {
        const std::string x(static_cast<std::size_t>(length), 'x');
        EXPECT_EQ(run(0x1000, print_x(length)), (Outcome{0, "<pre>" + x + "</pre>"})) << length;
        EXPECT_EQ(run(0, print_x(length) + "; echo; echo y"), (Outcome{0, x + "\ny\n"})) << length;
    }
}

TEST(RunShell, ReturnsTheRawWaitStatus) {
    const struct {
        const char *command;
        int status;
    } rows[] = {
        {"exit 0", 0},       {"exit 1", kExit1},
        {"exit 2", 512},     {"exit 255", 65280},
        {"false", kExit1},   {"false; true", 0},
        {"kill -9 $$", 9},   {"kill -15 $$", 15},
        {"kill -14 $$", 14}, {"exec sh -c 'exit 7'", 1792},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(run(0, row.command), (Outcome{row.status, ""})) << row.command;
        EXPECT_EQ(run(0x20000, row.command), (Outcome{row.status, ""})) << row.command << ", quiet";
    }
}

TEST(RunShell, DoesNotInterpretTheFailureOfACommand) {
    EXPECT_EQ(run(0x3000, "echo half; exit 1"), (Outcome{kExit1, "<!--<pre>half\n</pre>-->"}));
    Outcome result{};
    const std::string error = printed_error([&] { result = run(0, "/nowhere/tool"); });
    EXPECT_EQ(result, (Outcome{127 * 256, ""})) << "a command that does not exist";
    EXPECT_NE(error.find("/nowhere/tool"), std::string::npos) << error;
}

TEST(RunShell, LeavesStandardErrorAlone) {
    Outcome result{};
    EXPECT_EQ(printed_error([&] { result = run(0, "echo out; echo err >&2"); }), "err\n");
    EXPECT_EQ(result, (Outcome{0, "out\n"}));
}

TEST(RunShell, ReadsTheOutputOfAQuietCommandToItsEnd) {
    // More than a pipe holds: the command would be ended by a signal.
    EXPECT_EQ(run(0x20000, print_x(200000) + "; exit 3"), (Outcome{768, ""}));
}

TEST(RunShell, KeepsTheOrderWithOtherOutput) {
    EXPECT_EQ(printed([] {
                  std::printf("before ");
                  run_shell(0, "printf within");
                  std::printf(" behind");
              }),
              "before within behind");
}

TEST(RunShell, ReportsACommandThatCannotBeStartedInsideTheWrappers) {
    const struct {
        const char *label;
        uint32_t flags;
        const char *output;
    } rows[] = {
        {"none", 0, "unable to run script!\n"},
        {"pre", 0x1000, "<pre>unable to run script!\n</pre>"},
        {"comment", 0x2000, "<!--unable to run script!\n-->"},
        {"comment around pre", 0x3000, "<!--<pre>unable to run script!\n</pre>-->"},
        {"raw for Windows", 0x14000, "unable to run script!\n"},
        {"quiet", 0x20000, ""},
        {"quiet with all others", 0x37000, ""},
    };
    for (const auto &row : rows) {
        int status = 0;
        const std::string output = printed([&] {
            const NoDescriptors none;
            status = run_shell(row.flags, "echo x");
        });
        EXPECT_EQ((Outcome{status, output}), (Outcome{-1, row.output})) << row.label;
    }
}

TEST(RunShell, PrintsNothingWhenTheCommandCannotBeBuilt) {
    // A character that has no bytes in any locale.
    const wchar_t unprintable[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    for (const uint32_t flags : {0u, 0x3000u, 0x20000u}) {
        int status = 0;
        EXPECT_EQ(printed([&] { status = run_shell(flags, "echo %ls", unprintable); }), "")
            << flags;
        EXPECT_EQ(status, -1) << flags;
    }
    int status = 0;
    EXPECT_EQ(printed([&] { status = run_shell_of(0x3000, nullptr); }), "") << "null format";
    EXPECT_EQ(status, -1) << "null format";
}

TEST(RunShell, LeavesNoDescriptorAndNoProcess) {
    const int before = open_descriptors();
    run(0, "echo a");
    run(0x20000, "exit 1");
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

#if QMV_FAKE_ALLOCATION
TEST(RunShell, FailsWithoutMemory) {
    const std::string longer(5000, 'x');
    const std::string command = "echo a; " + print_x(5000);
    const int before = open_descriptors();
    bool not_started = false;
    for (int n = 0;; ++n) {
        int status = 0;
        int failed = 0;
        const std::string output = printed([&] {
            const qmv_test::AllocationFailure failure(n);
            status = run_shell(0x3000, "%s", command.c_str());
            failed = failure.failed();
        });
        if (failed == 0) {
            EXPECT_EQ((Outcome{status, output}),
                      (Outcome{0, "<!--<pre>a\n" + longer + "</pre>-->"}));
            break;
        }
        if (n == 0) {
            EXPECT_EQ((Outcome{status, output}), (Outcome{-1, ""})) << "no command was built";
        } else if (status == -1 && !output.empty()) {
            not_started = true;
            EXPECT_EQ(output, "<!--<pre>unable to run script!\n</pre>-->") << "allocation " << n;
        } else if (status != -1) {
            // A line for which the buffer cannot grow ends the output.
            EXPECT_TRUE(output == "<!--<pre>a\n</pre>-->" ||
                        output == "<!--<pre>a\n" + longer + "</pre>-->")
                << "allocation " << n << ": " << output;
        }
    }
    EXPECT_TRUE(not_started);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
}
#endif

// ---- asprint_shell ----

/// What asprint_shell() returned, and the text up to its terminator.
struct Captured {
    int size;
    std::string output;

    bool operator==(const Captured &) const = default;
};

void PrintTo(const Captured &captured, std::ostream *out) {
    *out << captured.size << " " << testing::PrintToString(captured.output);
}

Captured capture(const std::string &command) {
    char *result = nullptr;
    const int size = asprint_shell(&result, command.c_str());
    const Text owned(result);
    return {size, result != nullptr ? result : "(null)"};
}

TEST(AsprintShell, RemovesOneLineFeedAtTheEnd) {
    const struct {
        const char *label;
        const char *command;
        const char *output;
    } rows[] = {
        {"one", "printf 'ok\\n'", "ok"},
        {"two", "printf 'ok\\n\\n'", "ok\n"},
        {"three", "printf 'ok\\n\\n\\n'", "ok\n\n"},
        {"none", "printf ok", "ok"},
        {"alone", "printf '\\n'", ""},
        {"two alone", "printf '\\n\\n'", "\n"},
        {"within", "printf 'a\\nb'", "a\nb"},
        {"CR LF", "printf 'ok\\r\\n'", "ok\r"},
        {"blank behind", "printf 'ok\\n '", "ok\n "},
        {"nothing", "true", ""},
        {"percent signs are no format", "printf '%%s%%n%s' x", "%s%nx"},
        {"markup is not escaped", "printf '<&>\"\\303\\251'", "<&>\"\xC3\xA9"},
        {"a failed command", "echo half; exit 9", "half"},
        {"a command ended by a signal", "echo half; kill -9 $$", "half"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(capture(row.command), (Captured{4096, row.output})) << row.label;
}

TEST(AsprintShell, ReturnsTheSizeOfTheMemoryAndNotTheLength) {
    const struct {
        int length;
        int size;
    } rows[] = {
        {0, 4096},     {1, 4096},     {3838, 4096},  {3839, 4096},     {3840, 8192}, {3900, 8192},
        {4094, 8192},  {4095, 8192},  {4096, 8192},  {4097, 8192},     {7935, 8192}, {7936, 12288},
        {8000, 12288}, {8191, 12288}, {8192, 12288}, {100000, 102400},
    };
    for (const auto &row : rows) {
        const std::string x(static_cast<std::size_t>(row.length), 'x');
        EXPECT_EQ(capture(print_x(row.length)), (Captured{row.size, x})) << row.length;
    }
}

TEST(AsprintShell, CountsTheLineFeedItRemoves) {
    EXPECT_EQ(capture(print_x(3838) + "; echo"), (Captured{4096, std::string(3838, 'x')}));
    EXPECT_EQ(capture(print_x(3839) + "; echo"), (Captured{8192, std::string(3839, 'x')}));
    EXPECT_EQ(capture(print_x(4094) + "; echo"), (Captured{8192, std::string(4094, 'x')}));
    EXPECT_EQ(capture(print_x(4095) + "; echo"), (Captured{8192, std::string(4095, 'x')}));
    EXPECT_EQ(capture(print_x(4095) + "; echo; echo"),
              (Captured{8192, std::string(4095, 'x') + "\n"}));
}

TEST(AsprintShell, KeepsNulBytes) {
    char *result = nullptr;
    EXPECT_EQ(asprint_shell(&result, "printf 'a\\0b\\0\\n'"), 4096);
    const Text owned(result);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(std::string(result, 5), text("a\0b\0\0"));
}

TEST(AsprintShell, JoinsOutputThatArrivesInPieces) {
    EXPECT_EQ(capture("printf a; sleep 0.02; printf b; sleep 0.02; " + print_x(4000)),
              (Captured{8192, "ab" + std::string(4000, 'x')}));
}

TEST(AsprintShell, LeavesStandardErrorAlone) {
    Captured captured{};
    EXPECT_EQ(printed_error([&] { captured = capture("echo err >&2; echo out"); }), "err\n");
    EXPECT_EQ(captured, (Captured{4096, "out"}));
}

TEST(AsprintShell, FailsForNullArguments) {
    char untouched[] = "untouched";
    char *result = untouched;
    EXPECT_EQ(asprint_shell(nullptr, "echo a"), -1);
    EXPECT_EQ(asprint_shell(&result, nullptr), -1);
    EXPECT_EQ(result, nullptr) << "null on failure";
}

TEST(AsprintShell, FailsWhenTheCommandCannotBeStarted) {
    char untouched[] = "untouched";
    char *result = untouched;
    int size = 0;
    {
        const NoDescriptors none;
        size = asprint_shell(&result, "echo a");
    }
    EXPECT_EQ(size, -1);
    EXPECT_EQ(result, nullptr);
}

TEST(AsprintShell, LeavesNoDescriptorAndNoProcess) {
    const int before = open_descriptors();
    capture("echo a");
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

#if QMV_FAKE_ALLOCATION
TEST(AsprintShell, KeepsWhatWasReadWhenMemoryRunsOut) {
    const std::string command = print_x(9000);
    const int before = open_descriptors();
    bool cut_to_first = false;
    bool cut_to_second = false;
    for (int n = 0;; ++n) {
        char untouched[] = "untouched";
        char *result = untouched;
        int size = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            size = asprint_shell(&result, command.c_str());
            failed = failure.failed();
        }
        const Text owned(result);
        if (failed == 0) {
            EXPECT_EQ(size, 12288);
            EXPECT_EQ(result, std::string(9000, 'x'));
            break;
        }
        if (n == 0 || size == -1) {
            EXPECT_EQ(size, -1) << "allocation " << n;
            EXPECT_EQ(result, nullptr) << "allocation " << n;
            continue;
        }
        ASSERT_NE(result, nullptr) << "allocation " << n;
        cut_to_first = cut_to_first || size == 4096;
        cut_to_second = cut_to_second || size == 8192;
        EXPECT_EQ(result, std::string(static_cast<std::size_t>(size) - 1, 'x'))
            << "allocation " << n << ", size " << size;
    }
    EXPECT_TRUE(cut_to_first);
    EXPECT_TRUE(cut_to_second);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
}

TEST(AsprintShell, KeepsSmallOutputWithoutMemoryForMore) {
    // 3900 bytes fit, but the memory ought to grow; the line feed is removed all the same.
    const std::string command = print_x(3900) + "; echo";
    for (int n = 1;; ++n) {
        char *result = nullptr;
        int size = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            size = asprint_shell(&result, command.c_str());
            failed = failure.failed();
        }
        const Text owned(result);
        if (size == 4096) {
            EXPECT_EQ(result, std::string(3900, 'x'));
            return;
        }
        ASSERT_NE(failed, 0) << "the memory always grew";
    }
}
#endif

// ---- asprint_title_shell ----

TEST(AsprintTitleShell, BuildsATitleFromTheOutput) {
    const struct {
        const char *label;
        const char *command;
        const char *title;
    } rows[] = {
        {"text", "echo 'a<b'", " title=\"a&lt;b\""},
        {"one line feed is removed", "printf 'a\\n\\n'", " title=\"a\n\""},
        {"several lines", "printf 'a\\nb\\n'", " title=\"a\nb\""},
        {"quotation marks", "printf '\"x\" & y'", " title=\"&quot;x&quot; &amp; y\""},
        {"percent signs", "printf '%%s%%n'", " title=\"%s%n\""},
        {"up to a NUL", "printf 'a\\0b'", " title=\"a\""},
        {"a failed command", "echo a; exit 1", " title=\"a\""},
        {"not ASCII", "printf '\\303\\251'", " title=\"&eacute;\""},
    };
    for (const auto &row : rows) {
        char *result = nullptr;
        EXPECT_EQ(asprint_title_shell(&result, row.command), static_cast<int>(strlen(row.title)))
            << row.label;
        const Text owned(result);
        EXPECT_STREQ(result, row.title) << row.label;
    }
}

TEST(AsprintTitleShell, BuildsLongTitles) {
    const std::string expected = " title=\"" + std::string(20000, 'x') + "\"";
    char *result = nullptr;
    EXPECT_EQ(asprint_title_shell(&result, print_x(20000).c_str()), 20009);
    const Text owned(result);
    EXPECT_EQ(result, expected);
}

TEST(AsprintTitleShell, FailsWithoutOutput) {
    for (const char *command : {"true", "echo", "false", "printf '\\0a'"}) {
        char untouched[] = "untouched";
        char *result = untouched;
        EXPECT_EQ(asprint_title_shell(&result, command), -1) << command;
        EXPECT_EQ(result, untouched) << command;
    }
}

TEST(AsprintTitleShell, FailsForNullArguments) {
    char *result = nullptr;
    EXPECT_EQ(asprint_title_shell(nullptr, "echo a"), -1);
    EXPECT_EQ(asprint_title_shell(&result, nullptr), -1);
    EXPECT_EQ(result, nullptr);
}

TEST(AsprintTitleShell, RunsNothingForANullResult) {
    const TempDir dir;
    EXPECT_EQ(asprint_title_shell(nullptr, ("touch " + dir.file("ran")).c_str()), -1);
    EXPECT_EQ(asprint_shell(nullptr, ("touch " + dir.file("ran")).c_str()), -1);
    EXPECT_FALSE(dir.exists("ran"));
}

TEST(AsprintTitleShell, FailsWhenTheCommandCannotBeStarted) {
    char *result = nullptr;
    int length = 0;
    {
        const NoDescriptors none;
        length = asprint_title_shell(&result, "echo a");
    }
    EXPECT_EQ(length, -1);
    EXPECT_EQ(result, nullptr);
}

#if QMV_FAKE_ALLOCATION
TEST(AsprintTitleShell, FailsWithoutMemory) {
    for (int n = 0;; ++n) {
        char *result = nullptr;
        int length = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            length = asprint_title_shell(&result, "echo a");
            failed = failure.failed();
        }
        const Text owned(result);
        if (failed == 0) {
            EXPECT_STREQ(result, " title=\"a\"");
            break;
        }
        if (length >= 0)
            EXPECT_STREQ(result, " title=\"a\"") << "allocation " << n;
        else
            EXPECT_EQ(result, nullptr) << "allocation " << n;
    }
}
#endif

// ---- shell_run, shell_print, shell_line ----

/// Runs a command and appends its lines to a list.
int append(shell_lines *lines, const std::string &command) {
    return shell_run(lines, "%s", command.c_str());
}

// What take_line() saw.
Lines taken;
std::vector<int> arguments;

int take_line(int arg, char *line) {
    taken.emplace_back(line);
    arguments.push_back(arg);
    return -1;
}

/// The lines of a list, which is freed.
Lines take(shell_lines *lines, int arg = 0) {
    taken.clear();
    arguments.clear();
    shell_line(lines, take_line, arg);
    return std::move(taken);
}

/// Runs a command on an empty list and returns its lines.
Lines lines_of(const std::string &command) {
    shell_lines lines{};
    append(&lines, command);
    return take(&lines);
}

TEST(ShellRun, KeepsEachLineWithItsLineFeed) {
    const std::string x(5000, 'x');
    const struct {
        const char *label;
        std::string command;
        Lines lines;
    } rows[] = {
        {"several", "printf 'a\\nbc\\nd\\n'", {"a\n", "bc\n", "d\n"}},
        {"no line feed at the end", "printf 'a\\nb'", {"a\n", "b"}},
        {"empty lines", "printf '\\na\\n\\n'", {"\n", "a\n", "\n"}},
        {"nothing", "true", {}},
        {"CR LF", "printf 'a\\r\\n'", {"a\r\n"}},
        {"a line with only a NUL is skipped", "printf 'a\\n\\0\\nb\\n'", {"a\n", "b\n"}},
        {"a line that begins with a NUL is skipped", "printf '\\0abc\\nb\\n'", {"b\n"}},
        {"a line up to its NUL", "printf 'ab\\0cd\\ne\\n'", {"ab", "e\n"}},
        {"markup is not escaped", "echo '<&>'", {"<&>\n"}},
        {"a long line", print_x(5000) + "; echo; echo y", {x + "\n", "y\n"}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(lines_of(row.command), row.lines) << row.label;
}

TEST(ShellRun, FillsHeadAndNodes) {
    shell_lines lines{};
    EXPECT_EQ(append(&lines, "printf 'ab\\nc'"), 0);
    EXPECT_EQ(lines.count, 2u);
    ASSERT_NE(lines.first, nullptr);
    EXPECT_EQ(lines.first->length, 3u);
    EXPECT_STREQ(lines.first->text, "ab\n");
    ASSERT_NE(lines.first->next, nullptr);
    EXPECT_EQ(lines.first->next->length, 1u);
    EXPECT_STREQ(lines.first->next->text, "c");
    EXPECT_EQ(lines.first->next->next, nullptr);
    take(&lines);
}

TEST(ShellRun, AppendsBehindTheLinesThatAreThere) {
    shell_lines lines{};
    append(&lines, "printf 'a\\nb\\n'");
    const shell_line_node *const first = lines.first;
    EXPECT_EQ(append(&lines, "printf 'c\\n\\0\\n'; exit 1"), kExit1);
    EXPECT_EQ(lines.count, 3u);
    EXPECT_EQ(append(&lines, "true"), 0);
    EXPECT_EQ(lines.count, 3u);
    append(&lines, "printf 'd\\ne'");
    EXPECT_EQ(lines.count, 5u);
    EXPECT_EQ(lines.first, first);
    EXPECT_EQ(take(&lines), (Lines{"a\n", "b\n", "c\n", "d\n", "e"}));
}

TEST(ShellRun, AddsToTheCountThatIsThere) {
    shell_lines lines{nullptr, 7};
    append(&lines, "echo a; echo b");
    EXPECT_EQ(lines.count, 9u);
    take(&lines);
}

TEST(ShellRun, ReturnsTheRawWaitStatus) {
    const struct {
        const char *command;
        int status;
    } rows[] = {
        {"echo a; exit 0", 0},     {"echo a; exit 1", 256},     {"echo a; exit 255", 65280},
        {"echo a; kill -9 $$", 9}, {"echo a; kill -15 $$", 15},
    };
    for (const auto &row : rows) {
        shell_lines lines{};
        EXPECT_EQ(append(&lines, row.command), row.status) << row.command;
        EXPECT_EQ(take(&lines), Lines{"a\n"}) << row.command;
        EXPECT_EQ(append(nullptr, row.command), row.status) << row.command << ", no list";
    }
}

TEST(ShellRun, BuildsTheCommandFromTheFormat) {
    shell_lines lines{};
    EXPECT_EQ(shell_run(&lines, "printf '%%s\\n' %s %u", "a", 5u), 0);
    EXPECT_EQ(take(&lines), (Lines{"a\n", "5\n"}));
}

TEST(ShellRun, RunsTheCommandAndReadsItsOutputWithoutAList) {
    const TempDir dir;
    EXPECT_EQ(append(nullptr, print_x(200000) + "; touch " + dir.file("ran") + "; exit 2"), 512);
    EXPECT_TRUE(dir.exists("ran"));
}

TEST(ShellRun, PrintsNothing) {
    shell_lines lines{};
    EXPECT_EQ(printed([&] { append(&lines, "echo a"); }), "");
    take(&lines);
}

TEST(ShellRun, LeavesTheListAloneWhenTheCommandCannotBeRun) {
    shell_lines lines{};
    append(&lines, "echo a");
    int status = 0;
    const std::string output = printed([&] {
        const NoDescriptors none;
        status = shell_run(&lines, "echo b");
    });
    EXPECT_EQ(status, -1) << "not started";
    EXPECT_EQ(output, "") << "not started";
    const wchar_t unprintable[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    EXPECT_EQ(shell_run(&lines, "echo %ls", unprintable), -1) << "not built";
    EXPECT_EQ(shell_run(nullptr, "echo %ls", unprintable), -1) << "not built, no list";
    EXPECT_EQ(shell_run_of(&lines, nullptr), -1) << "null format";
    EXPECT_EQ(lines.count, 1u);
    EXPECT_EQ(take(&lines), Lines{"a\n"});
}

TEST(ShellRun, LeavesNoDescriptorAndNoProcess) {
    const int before = open_descriptors();
    lines_of("echo a");
    append(nullptr, "echo a");
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

#if QMV_FAKE_ALLOCATION
TEST(ShellRun, DropsLinesWithoutMemory) {
    const int before = open_descriptors();
    bool dropped = false;
    for (int n = 0;; ++n) {
        shell_lines lines{};
        int status = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            status = shell_run(&lines, "printf 'a\\nb\\nc\\n'");
            failed = failure.failed();
        }
        const uint32_t count = lines.count;
        const Lines kept = take(&lines);
        EXPECT_EQ(kept.size(), count) << "allocation " << n;
        if (failed == 0) {
            EXPECT_EQ(kept, (Lines{"a\n", "b\n", "c\n"}));
            break;
        }
        if (status == -1) {
            EXPECT_EQ(kept, Lines{}) << "allocation " << n;
            continue;
        }
        EXPECT_EQ(status, 0) << "allocation " << n;
        EXPECT_LE(count, 3u) << "allocation " << n;
        dropped = dropped || count < 3;
    }
    EXPECT_TRUE(dropped);
    EXPECT_EQ(open_descriptors(), before);
}
#endif

TEST(ShellPrint, PrintsTheLinesAsTheFlagsAsk) {
    const struct {
        const char *label;
        uint32_t flags;
        const char *output;
    } rows[] = {
        {"none: escaped", 0, "a&lt;b\n\n&eacute;"},
        {"pre", 0x1000, "<pre>a&lt;b\n\n&eacute;</pre>"},
        {"comment", 0x2000, "<!--a&lt;b\n\n&eacute;-->"},
        {"comment around pre", 0x3000, "<!--<pre>a&lt;b\n\n&eacute;</pre>-->"},
        {"raw", 0x4000, "a<b\n\n\xC3\xA9"},
        {"raw in comment and pre", 0x7000, "<!--<pre>a<b\n\n\xC3\xA9</pre>-->"},
        {"line ends are never converted", 0x14000, "a<b\n\n\xC3\xA9"},
        {"Windows alone: escaped", 0x10000, "a&lt;b\n\n&eacute;"},
        {"quiet is not looked at", 0x20000, "a&lt;b\n\n&eacute;"},
    };
    for (const auto &row : rows) {
        shell_lines lines{};
        append(&lines, "printf 'a<b\\n\\n\\303\\251'");
        EXPECT_EQ(printed([&] { shell_print(&lines, row.flags); }), row.output) << row.label;
    }
}

TEST(ShellPrint, PrintsNothingForAnEmptyListNotEvenTheWrappers) {
    for (const uint32_t flags : {0u, 0x3000u, 0x7000u}) {
        shell_lines empty{};
        EXPECT_EQ(printed([&] { shell_print(&empty, flags); }), "") << "empty list, " << flags;
        shell_lines miscounted{nullptr, 3};
        EXPECT_EQ(printed([&] { shell_print(&miscounted, flags); }), "")
            << "no first line, " << flags;
        EXPECT_EQ(printed([&] { shell_print(nullptr, flags); }), "") << "null, " << flags;
    }
}

TEST(ShellPrint, LeavesTheHeadAsItWas) {
    shell_lines lines{};
    append(&lines, "echo a; echo b");
    const shell_line_node *const first = lines.first;
    printed([&] { shell_print(&lines, 0); });
    EXPECT_EQ(lines.first, first);
    EXPECT_EQ(lines.count, 2u);
}

/// A node without a text, as a program may make one.
shell_line_node *empty_node(shell_line_node *next) {
    auto *node = static_cast<shell_line_node *>(std::calloc(1, sizeof(shell_line_node)));
    node->next = next;
    return node;
}

TEST(ShellPrint, SkipsAndFreesLinesOfLengthZero) {
    shell_lines lines{};
    append(&lines, "echo a");
    lines.first = empty_node(lines.first);
    lines.first->next->next = empty_node(nullptr);
    EXPECT_EQ(printed([&] { shell_print(&lines, 0x1000); }), "<pre>a\n</pre>");
    shell_lines only{empty_node(nullptr), 1};
    EXPECT_EQ(printed([&] { shell_print(&only, 0x1000); }), "<pre></pre>");
}

TEST(ShellLine, HandsOverArgumentAndLines) {
    for (const int arg : {0, 1, -1, INT_MAX, INT_MIN}) {
        shell_lines lines{};
        append(&lines, "printf 'a\\nb<\\n'");
        EXPECT_EQ(take(&lines, arg), (Lines{"a\n", "b<\n"}));
        EXPECT_EQ(arguments, (std::vector<int>{arg, arg}));
    }
}

TEST(ShellLine, SkipsAndFreesLinesOfLengthZero) {
    shell_lines lines{};
    append(&lines, "echo a");
    lines.first = empty_node(lines.first);
    lines.first->next->next = empty_node(nullptr);
    EXPECT_EQ(take(&lines), Lines{"a\n"});
}

TEST(ShellLine, FreesTheLinesWithoutACallback) {
    shell_lines lines{};
    append(&lines, "echo a; echo b");
    shell_line(&lines, nullptr, 5);
    EXPECT_EQ(lines.count, 2u);
}

TEST(ShellLine, LeavesTheHeadAsItWas) {
    shell_lines lines{};
    append(&lines, "echo a; echo b");
    const shell_line_node *const first = lines.first;
    take(&lines);
    EXPECT_EQ(lines.first, first);
    EXPECT_EQ(lines.count, 2u);
}

TEST(ShellLine, DoesNothingForAnEmptyList) {
    shell_lines empty{};
    EXPECT_EQ(take(&empty), Lines{});
    EXPECT_EQ(take(nullptr), Lines{}) << "null";
}

TEST(ShellLine, AllowsTheLineToBeChanged) {
    shell_lines lines{};
    append(&lines, "printf 'a,b\\n'");
    taken.clear();
    shell_line(
        &lines,
        [](int, char *line) {
            line[1] = '\0';
            taken.emplace_back(line);
            return 0;
        },
        0);
    EXPECT_EQ(taken, Lines{"a"});
}

// ---- signal_process ----

/// A process that waits for a signal, in a process group of its own.
class WaitingProcess {
  public:
    WaitingProcess() {
        int ready[2];
        if (::pipe(ready) != 0)
            std::abort();
        std::fflush(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::setpgid(0, 0);
            ::close(ready[0]);
            ::close(ready[1]);
            for (;;)
                ::pause();
        }
        ::close(ready[1]);
        // The end of the pipe tells that the process has its group.
        char byte;
        while (::read(ready[0], &byte, 1) < 0 && errno == EINTR) {
        }
        ::close(ready[0]);
    }
    WaitingProcess(const WaitingProcess &) = delete;
    WaitingProcess &operator=(const WaitingProcess &) = delete;
    ~WaitingProcess() { kill_and_wait(); }

    unsigned pid() const { return static_cast<unsigned>(pid_); }
    /// Waits for its end; returns the signal that ended it.
    int wait() {
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = 0;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    /// Kills it; returns the signal that ended it, another one when that was sent before.
    int kill_and_wait() {
        if (pid_ == 0)
            return 0;
        ::kill(pid_, SIGKILL);
        return wait();
    }

  private:
    pid_t pid_;
};

TEST(SignalProcess, SendsTheSignal) {
    const struct {
        const char *label;
        int signal;
        const char *behind;  ///< what stands behind the number
    } rows[] = {
        {"with line feed", SIGTERM, "\n"},
        {"without line feed", SIGUSR1, ""},
        {"up to the first character that is no digit", SIGALRM, " running"},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        WaitingProcess process;
        dir.write("pid", std::to_string(process.pid()) + row.behind);
        ASSERT_EQ(signal_process(dir.path(), "pid", row.signal), 0) << row.label;
        EXPECT_EQ(process.wait(), row.signal) << row.label;
    }
}

TEST(SignalProcess, ReturnsTheResultOfKill) {
    const TempDir dir;
    dir.write("pid", std::to_string(::getpid()) + "\n");
    EXPECT_EQ(signal_process(dir.path(), "pid", 0), 0) << "this process";
    errno = 0;
    EXPECT_EQ(signal_process(dir.path(), "pid", 100000), -1) << "no such signal";
    EXPECT_EQ(errno, EINVAL) << "no such signal";
    dir.write("pid", "1\n");
    errno = 0;
    EXPECT_TRUE(signal_process(dir.path(), "pid", 0) == 0 || errno == EPERM)
        << "the lowest number must reach kill";
    dir.write("pid", "2147483647\n");
    errno = 0;
    EXPECT_EQ(signal_process(dir.path(), "pid", 0), -1) << "no such process";
    EXPECT_EQ(errno, ESRCH) << "the highest number must reach kill";
}

TEST(SignalProcess, SendsNothingForANumberBelowOne) {
    // The signal 0 only asks whether there is a process: every one of these would be, if the number
    // were not refused.
    const struct {
        const char *label;
        const char *content;
    } rows[] = {
        {"0: the own process group", "0\n"},
        {"empty", ""},
        {"empty line", "\n1\n"},
        {"no number", "abc\n"},
        {"negative text", "-1\n"},
        {"blank in front", " 1\n"},
        {"wraps to 0", "4294967296\n"},
        {"-1: all processes", "4294967295\n"},
        {"-2", "4294967294\n"},
        {"lowest", "2147483648\n"},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        dir.write("pid", row.content);
        EXPECT_EQ(signal_process(dir.path(), "pid", 0), -1) << row.label;
    }
}

TEST(SignalProcess, SignalsNoProcessGroup) {
    const TempDir dir;
    WaitingProcess process;
    dir.write("pid", std::to_string(4294967296 - process.pid()) + "\n");
    EXPECT_EQ(signal_process(dir.path(), "pid", SIGTERM), -1);
    EXPECT_EQ(process.kill_and_wait(), SIGKILL) << "the group was signalled";
}

TEST(SignalProcess, SendsNothingWithoutAnItem) {
    const TempDir dir;
    const int before = open_descriptors();
    EXPECT_EQ(signal_process(dir.path(), "missing", 0), -1);
    EXPECT_EQ(signal_process(nullptr, "pid", 0), -1);
    EXPECT_EQ(signal_process(dir.path(), nullptr, 0), -1);
    EXPECT_EQ(open_descriptors(), before);
}

// ---- get_progname ----

TEST(GetProgname, FindsWhatStandsBehindTheLastSlash) {
    const struct {
        const char *path;
        const char *name;
    } rows[] = {
        {"/www/cgi-bin/status.cgi", "status.cgi"},
        {"status.cgi", "status.cgi"},
        {"./status.cgi", "status.cgi"},
        {"/status.cgi", "status.cgi"},
        {"/www/cgi-bin/", ""},
        {"/", ""},
        {"//", ""},
        {"", ""},
        {"a\\b", "a\\b"},
        {"a/b\\c", "b\\c"},
    };
    for (const auto &row : rows) {
        const char *const name = get_progname(1, row.path);
        EXPECT_STREQ(name, row.name) << row.path;
        EXPECT_EQ(name, row.path + strlen(row.path) - strlen(row.name))
            << row.path << ": not a place in the path";
    }
}

TEST(GetProgname, ReturnsNullWithoutArguments) {
    EXPECT_EQ(get_progname(0, "/www/status.cgi"), nullptr);
    EXPECT_EQ(get_progname(1, nullptr), nullptr);
    EXPECT_EQ(get_progname(0, nullptr), nullptr);
}

TEST(GetProgname, LooksOnlyWhetherThereIsNoArgument) {
    for (const int argc : {2, INT_MAX, -1, INT_MIN})
        EXPECT_STREQ(get_progname(argc, "/www/status.cgi"), "status.cgi") << argc;
}

}  // namespace
