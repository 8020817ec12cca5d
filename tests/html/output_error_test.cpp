// What the printers return when stdout fails: as many bytes as a loop of putc over the same text
// would have got through, whatever the buffer.
#include <gtest/gtest.h>
#include <qmv/html.h>
#include <qmv/util.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/failing_output.h"

namespace {

using qmv_test::Buffering;
using qmv_test::FailedOutput;
using qmv_test::print_to;
using qmv_test::Sink;

using Printer = std::function<int(const std::string &)>;

const std::vector<Buffering> kBufferings = {
    {"full, 4096 bytes", _IOFBF, 4096},
    {"full, 700 bytes", _IOFBF, 700},
    {"full, 128 bytes", _IOFBF, 128},
    {"lines, 4096 bytes", _IOLBF, 4096},
    {"lines, 32 bytes", _IOLBF, 32},
    {"none", _IONBF, 0},
    {"the C library's", qmv_test::kUntouched, 0},
};

// Below 128 bytes the C library hands a first piece to the file at once.
const std::vector<Buffering> kSmallBufferings = {
    {"full, 64 bytes", _IOFBF, 64},
    {"full, 16 bytes", _IOFBF, 16},
    {"full, 2 bytes", _IOFBF, 2},
};

constexpr struct {
    const char *label;
    Sink sink;
} kSinks[] = {
    {"full device", Sink::kFullDevice},
    {"closed pipe", Sink::kClosedPipe},
    {"limited file", Sink::kLimitedFile},
};

/// Texts with plain runs, markup, line ends and characters of every length, short and long.
std::vector<std::string> sample_texts() {
    std::string mixed;
    for (int i = 0; i < 40; ++i)
        mixed += "run <b> & \"\xC3\xA9\"\n\xE2\x82\xAC\x80 end" +
                 std::string(static_cast<std::size_t>(i), '.');
    return {"a",
            "abc",
            "a\nb",
            "\n",
            "line\r\nline\n",
            "<>",
            std::string(15, 'c'),
            std::string(16, 'd'),
            std::string(17, 'e'),
            std::string(64, 'f') + "\n",
            std::string(300, 'g'),
            mixed,
            std::string(4095, 'h'),
            std::string(4097, 'i') + "<",
            std::string(9000, '\n'),
            "tail"};
}

/// Writes byte by byte and ends at the first that fails.
int put_each(const char *bytes, std::size_t length) {
    int count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (std::putc(static_cast<unsigned char>(bytes[i]), stdout) == EOF)
            break;
        ++count;
    }
    return count;
}

int put_string(const std::string &text) {
    return put_each(text.data(), text.size());
}

int put_code(unsigned code) {
    unsigned char entity[24];
    const int length = html_entity_encode(entity, code);
    return put_each(reinterpret_cast<const char *>(entity), static_cast<std::size_t>(length));
}

/// Each character on its own account, also behind one that failed.
int put_escaped(const std::string &text) {
    int count = 0;
    for (const char *cursor = text.c_str(); *cursor != '\0';)
        count += put_code(utf8_to_ucs2(&cursor, 0xFFFFFFFF));
    return count;
}

int put_escaped_limit(const std::string &text, int max_chars) {
    int count = 0;
    const char *cursor = text.c_str();
    for (; max_chars > 0 && *cursor != '\0'; --max_chars) {
        const unsigned code = utf8_to_ucs2(&cursor, 0xFFFFFFFF);
        if (code == 0)
            break;
        count += put_code(code);
    }
    return count;
}

int put_with_crlf(const std::string &text) {
    int count = 0;
    for (const char c : text) {
        if (c == '\n' && put_each("\r", 1) == 0)
            return count;
        count += c == '\n' ? 1 : 0;
        if (put_each(&c, 1) == 0)
            return count;
        ++count;
    }
    return count;
}

int put_with_breaks(const std::string &text) {
    int count = 0;
    for (const char *cursor = text.c_str(); *cursor != '\0';) {
        if (*cursor == '\n') {
            count += put_each("<br>", 4);
            ++cursor;
        } else {
            count += put_code(utf8_to_ucs2(&cursor, 0xFFFFFFFF));
        }
    }
    return count;
}

FailedOutput run(Sink sink, const Buffering &buffering, const Printer &printer) {
    std::vector<std::function<int()>> calls;
    for (const std::string &text : sample_texts())
        calls.emplace_back([&printer, text] { return printer(text); });
    return print_to(sink, buffering, calls);
}

void expect_same(const Printer &printer, const Printer &literal,
                 const std::vector<Buffering> &bufferings = kBufferings) {
    for (const auto &sink : kSinks) {
        for (const Buffering &buffering : bufferings) {
            const FailedOutput expected = run(sink.sink, buffering, literal);
            ASSERT_EQ(expected.counts.size(), sample_texts().size());
            EXPECT_EQ(run(sink.sink, buffering, printer), expected)
                << sink.label << ", buffering " << buffering.label;
        }
    }
}

TEST(OutputError, PrintMemCountsAsPutcWould) {
    expect_same(
        [](const std::string &text) {
            return print_mem(text.data(), static_cast<unsigned>(text.size()));
        },
        put_string);
}

TEST(OutputError, PrintStrCountsAsPutcWould) {
    expect_same([](const std::string &text) { return print_str(text.c_str()); }, put_string);
}

TEST(OutputError, SmallBufferCountsAsPutcWould) {
    expect_same([](const std::string &text) { return print_str(text.c_str()); }, put_string,
                kSmallBufferings);
}

TEST(OutputError, PrintStrXcrlfEndsAtTheFirstErrorAndCountsAddedCr) {
    expect_same([](const std::string &text) { return print_str_xcrlf(text.c_str()); },
                put_with_crlf);
}

TEST(OutputError, HtmlPrintTextTriesEveryCharacterAgain) {
    expect_same([](const std::string &text) { return html_print_text(text.c_str()); }, put_escaped);
}

TEST(OutputError, HtmlPrintTextLimitTriesEveryCharacterAgain) {
    expect_same(
        [](const std::string &text) {
            return html_print_text_limit(0xFFFFFFFF, text.c_str(), 0xFFFFFFFF);
        },
        [](const std::string &text) { return put_escaped_limit(text, 1 << 30); });
}

TEST(OutputError, HtmlPrintTextLimitCountsFailedCharactersAgainstItsLimit) {
    expect_same(
        [](const std::string &text) { return html_print_text_limit(70, text.c_str(), 0xFFFFFFFF); },
        [](const std::string &text) { return put_escaped_limit(text, 70); });
}

TEST(OutputError, HtmlPrintTextNlGoesOnBehindAFailedBreak) {
    expect_same([](const std::string &text) { return html_print_text_nl(text.c_str()); },
                put_with_breaks);
}

TEST(OutputError, HtmlPrintUcs2EndsWithinAnEntity) {
    expect_same([](const std::string &) { return html_print_ucs2(0xFFFF); },
                [](const std::string &) { return put_code(0xFFFF); });
}

TEST(OutputError, HtmlPrintfSumsWhatItsPiecesPrinted) {
    expect_same(
        [](const std::string &text) { return html_printf(1, "<td>%s%3c</td>", text.c_str(), '<'); },
        [](const std::string &text) {
            int count = put_string("<td>") + put_escaped_limit(text, 1 << 30);
            for (int i = 0; i < 3; ++i)
                count += put_code('<');
            return count + put_string("</td>");
        });
}

TEST(OutputError, UnbufferedFullDeviceTakesNothing) {
    const Buffering none{"none", _IONBF, 0};
    EXPECT_EQ(run(Sink::kFullDevice, none,
                  [](const std::string &text) { return html_print_text(text.c_str()); })
                  .counts,
              std::vector<int>(sample_texts().size(), 0));
}

TEST(OutputError, FullBufferTakesWhatFitsInIt) {
    const Buffering wide{"full", _IOFBF, 64};
    const FailedOutput output = print_to(
        Sink::kFullDevice, wide,
        {[] { return print_str("0123456789"); },
         [] { return print_str(std::string(54, 'x').c_str()); }, [] { return print_str("over"); }});
    EXPECT_EQ(output.counts, (std::vector<int>{10, 54, 0}));
}

}  // namespace
