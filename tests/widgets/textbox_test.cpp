// Printing text boxes: whole tags.
#include <gtest/gtest.h>
#include <qmv/widgets.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/malformed.h"

namespace {

using qmv_test::kMalformed;
using qmv_test::printed;
using qmv_test::TempDir;

std::string bullets(std::size_t count) {
    std::string text;
    while (count-- > 0)
        text += "&#8226;";
    return text;
}

std::string box(int size, const char *value, unsigned flags) {
    return printed([&] { gen_xtextbox(size, value, flags, nullptr); });
}

TEST(GenXtextbox, PrintsWholeTags) {
    const struct {
        const char *label;
        int size;
        const char *value;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {"plain", 8, "abc", 0, "<input type=\"text\" maxlength=\"8\" value=\"abc\">"},
        {"unlimited", -1, "ab", 0, "<input type=\"text\" maxlength=\"2147483647\" value=\"ab\">"},
        {"lowest size", -2147483647 - 1, "ab", PRINT_SIZE,
         "<input type=\"text\" size=\"2147483647\" maxlength=\"2147483647\" value=\"ab\">"},
        {"largest size", 2147483647, "ab", 0,
         "<input type=\"text\" maxlength=\"2147483647\" value=\"ab\">"},
        {"size attribute", 8, "abc", PRINT_SIZE,
         "<input type=\"text\" size=\"8\" maxlength=\"8\" value=\"abc\">"},
        {"read-only", 8, "abc", PRINT_READONLY, "<input type=\"text\" value=\"abc\" readonly>"},
        {"read-only with size", 8, "abc", PRINT_READONLY | PRINT_SIZE,
         "<input type=\"text\" size=\"8\" value=\"abc\" readonly>"},
        {"disabled shows its value", 8, "abc", PRINT_DISABLED,
         "<input type=\"text\" maxlength=\"8\" value=\"abc\" disabled>"},
        {"escaped value", 20, "<a href=\"x\">&'", 0,
         "<input type=\"text\" maxlength=\"20\""
         " value=\"&lt;a href=&quot;x&quot;&gt;&amp;'\">"},
        {"value cut at its size", 3, "abcdef", 0,
         "<input type=\"text\" maxlength=\"3\" value=\"abc\">"},
        {"value cut by characters", 2, "\xC3\xA9\xE2\x82\xACz", 0,
         "<input type=\"text\" maxlength=\"2\" value=\"&eacute;&#8364;\">"},
        {"size 0", 0, "abc", PRINT_SIZE,
         "<input type=\"text\" size=\"0\" maxlength=\"0\" value=\"\">"},
        {"empty value", 8, "", 0, "<input type=\"text\" maxlength=\"8\" value=\"\">"},
        {"no value", 8, nullptr, 0, "<input type=\"text\" maxlength=\"8\">"},
        {"percent signs", 8, "%s%n", 0, "<input type=\"text\" maxlength=\"8\" value=\"%s%n\">"},
        {"data value without bullets", 8, "abc", PRINT_DATA_VALUE,
         "<input type=\"text\" maxlength=\"8\" value=\"abc\">"},
        {"password with size", 8, "secret", PRINT_PASSWORD | PRINT_SIZE,
         "<input type=\"password\" size=\"8\" maxlength=\"8\""
         " value=\"&#8226;&#8226;&#8226;&#8226;&#8226;&#8226;\">"},
        {"masked text", 8, "ab", PRINT_MASKED,
         "<input type=\"text\" maxlength=\"8\" value=\"&#8226;&#8226;\">"},
        {"masked password", 8, "ab", PRINT_MASKED | PRINT_PASSWORD,
         "<input type=\"password\" maxlength=\"8\" value=\"&#8226;&#8226;\">"},
        {"password with data value", 8, "a<", PRINT_PASSWORD | PRINT_DATA_VALUE,
         "<input type=\"password\" maxlength=\"8\" value=\"&#8226;&#8226;\""
         " data-value=\"a&lt;\">"},
        {"masked with data value", 8, "a\"", PRINT_MASKED | PRINT_DATA_VALUE,
         "<input type=\"text\" maxlength=\"8\" value=\"&#8226;&#8226;\""
         " data-value=\"a&quot;\">"},
        {"one bullet for each character", 8, "\xC3\xA9\xE2\x82\xAC", PRINT_PASSWORD,
         "<input type=\"password\" maxlength=\"8\" value=\"&#8226;&#8226;\">"},
        {"bullets end at the size", 2, "abcdef", PRINT_PASSWORD | PRINT_DATA_VALUE,
         "<input type=\"password\" maxlength=\"2\" value=\"&#8226;&#8226;\" data-value=\"ab\">"},
        {"unlimited password", -1, "abc", PRINT_PASSWORD,
         "<input type=\"password\" maxlength=\"2147483647\""
         " value=\"&#8226;&#8226;&#8226;\">"},
        {"empty password", 8, "", PRINT_PASSWORD | PRINT_DATA_VALUE,
         "<input type=\"password\" maxlength=\"8\" value=\"\" data-value=\"\">"},
        {"password without value", 8, nullptr, PRINT_PASSWORD | PRINT_DATA_VALUE,
         "<input type=\"password\" maxlength=\"8\" value=\"\" data-value=\"\">"},
        {"disabled password without value", 3, nullptr,
         PRINT_PASSWORD | PRINT_DATA_VALUE | PRINT_DISABLED,
         "<input type=\"password\" maxlength=\"3\" value=\"&#8226;&#8226;&#8226;\""
         " data-value=\"\" disabled>"},
        {"disabled password with data value", 3, "abcdef",
         PRINT_PASSWORD | PRINT_DATA_VALUE | PRINT_DISABLED,
         "<input type=\"password\" maxlength=\"3\" value=\"&#8226;&#8226;&#8226;\""
         " data-value=\"abc\" disabled>"},
        {"all attributes", 2, "a", 0xFFFFFFFF,
         "<input type=\"password\" size=\"2\" value=\"&#8226;&#8226;\" data-value=\"a\""
         " checked disabled readonly selected style=\"display: none;\""
         " style=\"visibility: hidden;\" autocomplete=\"default\">"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(box(row.size, row.value, row.flags), row.tag) << row.label;
}

/// A box of size 5 with the value "a<\"", put together from the meaning of each flag.
std::string expected_box(unsigned flags, bool with_value) {
    const bool disabled = (flags & 0x1) != 0;
    const bool concealed = (flags & 0x30) != 0;
    std::string tag = (flags & 0x10) != 0 ? "<input type=\"password\"" : "<input type=\"text\"";
    tag += (flags & 0x40000) != 0 ? " size=\"5\"" : "";
    tag += (flags & 0x4) != 0 ? "" : " maxlength=\"5\"";
    const std::string escaped = with_value ? "a&lt;&quot;" : "";
    if (concealed) {
        tag += " value=\"" + bullets(disabled ? 5 : with_value ? 3 : 0) + "\"";
        tag += (flags & 0x40) != 0 ? " data-value=\"" + escaped + "\"" : "";
    } else if (with_value) {
        tag += " value=\"" + escaped + "\"";
    }
    tag += " id=\"7\"";
    tag += disabled ? " disabled" : "";
    tag += (flags & 0x4) != 0 ? " readonly" : "";
    return tag + ">";
}

TEST(GenXtextbox, CombinesEveryFlagWithEveryOther) {
    constexpr unsigned kFlags[] = {PRINT_DISABLED, PRINT_READONLY,   PRINT_PASSWORD,
                                   PRINT_MASKED,   PRINT_DATA_VALUE, PRINT_SIZE};
    for (unsigned choice = 0; choice < 64; ++choice) {
        unsigned flags = 0;
        for (unsigned bit = 0; bit < 6; ++bit)
            flags |= (choice & (1u << bit)) != 0 ? kFlags[bit] : 0;
        for (const char *value : {"a<\"", static_cast<const char *>(nullptr)}) {
            EXPECT_EQ(printed([&] { gen_xtextbox(5, value, flags, " id=\"%d\"", 7); }),
                      expected_box(flags, value != nullptr))
                << "flags " << flags << (value != nullptr ? "" : ", no value");
        }
    }
}

TEST(GenXtextbox, PutsTheCallersAttributesRawInFrontOfTheFlags) {
    EXPECT_EQ(printed([] {
                  gen_xtextbox(4, "v", PRINT_DISABLED | PRINT_AUTOCOMPLETE_OFF,
                               " name=\"%s\" data-x='<%d&>'", "a<b\"", 5);
              }),
              "<input type=\"text\" maxlength=\"4\" value=\"v\" name=\"a<b\"\" data-x='<5&>'"
              " disabled autocomplete=\"off\">");
}

TEST(GenXtextbox, PrintsEveryWidthOfThePlainFormat) {
    EXPECT_EQ(printed([] { gen_xtextbox(4, "v", 0, " x=\"%05.1f %ld\"", 2.5, 7L); }),
              "<input type=\"text\" maxlength=\"4\" value=\"v\" x=\"002.5 7\">");
}

TEST(GenXtextbox, DisabledPasswordShowsItsSizeInBulletsWhateverTheValue) {
    const std::string expected =
        "<input type=\"password\" maxlength=\"16\" value=\"" + bullets(16) + "\" disabled>";
    for (const char *value : {"", "abc", "a value longer than the box", "\x80"})
        EXPECT_EQ(box(16, value, PRINT_PASSWORD | PRINT_DISABLED), expected) << value;
}

TEST(GenXtextbox, DisabledPasswordOfNegativeSizeAsksFor2147483647Bullets) {
    // Reads the first hundred thousand of them and then no more.
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::signal(SIGPIPE, SIG_DFL);
        ::close(ends[0]);
        ::dup2(ends[1], STDOUT_FILENO);
        gen_xtextbox(-1, "abc", PRINT_PASSWORD | PRINT_DISABLED, nullptr);
        std::fflush(stdout);
        ::_exit(0);
    }
    ::close(ends[1]);
    std::string tag;
    char buffer[65536];
    for (ssize_t n = 1; n > 0 && tag.size() < 700000;) {
        n = ::read(ends[0], buffer, sizeof buffer);
        tag.append(buffer, n > 0 ? static_cast<std::size_t>(n) : 0);
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE) << "it came to an end";
    const std::string expected =
        "<input type=\"password\" maxlength=\"2147483647\" value=\"" + bullets(100010);
    EXPECT_TRUE(tag.compare(0, 700000, expected, 0, 700000) == 0) << tag.substr(0, 200);
}

TEST(GenXtextbox, EndsTheValueAtItsFirstInvalidSequence) {
    for (const auto &row : kMalformed)
        EXPECT_EQ(box(20, row.text, 0), "<input type=\"text\" maxlength=\"20\" value=\"" +
                                            std::string(row.escaped_head) + "\">")
            << row.label;
}

TEST(GenXtextbox, InvalidPasswordCountsAsFull) {
    for (const auto &row : kMalformed) {
        const std::size_t count =
            row.characters < 0 ? 20 : static_cast<std::size_t>(row.characters);
        EXPECT_EQ(box(20, row.text, PRINT_PASSWORD | PRINT_DATA_VALUE),
                  "<input type=\"password\" maxlength=\"20\" value=\"" + bullets(count) +
                      "\" data-value=\"" + row.escaped_head + "\">")
            << row.label;
    }
}

TEST(GenXtextbox, ReturnsWhatTheLastCharacterReturned) {
    int result = 0;
    printed([&] { result = gen_xtextbox(4, "v", 0, nullptr); });
    EXPECT_EQ(result, '>');
}

int call_with_list(int size, const char *value, unsigned flags, const char *format, ...)
    QMV_PRINTF(4, 5);

int call_with_list(int size, const char *value, unsigned flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = vgen_xtextbox(size, value, flags, format, args);
    va_end(args);
    return result;
}

TEST(VgenXtextbox, PrintsTheSameFromAnArgumentList) {
    int result = 0;
    EXPECT_EQ(printed([&] {
                  result =
                      call_with_list(4, "<", PRINT_READONLY | PRINT_SIZE, " a=\"%s%d\"", "x", 1);
              }),
              "<input type=\"text\" size=\"4\" value=\"&lt;\" a=\"x1\" readonly>");
    EXPECT_EQ(result, '>');
    EXPECT_EQ(printed([] { call_with_list(-5, nullptr, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"2147483647\">");
}

}  // namespace
