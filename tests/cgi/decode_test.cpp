// Variables of query strings and forms, and the requests that carry them. Multipart bodies have a
// file of their own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "qmv/cgi.h"
#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/request.h"

using qmv_test::body_callback;
using qmv_test::printable;
using qmv_test::printed;
using qmv_test::Program;
using qmv_test::text;

namespace {

using Variables = std::vector<std::pair<std::string, std::string>>;

struct Batch {
    Variables variables;
    unsigned mode = 99;
    int calls = 0;
    bool parents = false;
};

int keep(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    auto *batch = static_cast<Batch *>(ctx);
    batch->mode = mode;
    ++batch->calls;
    for (unsigned i = 0; i < count; ++i) {
        batch->variables.emplace_back(vars[i].name, vars[i].value);
        batch->parents = batch->parents || vars[i].parent != nullptr;
    }
    return static_cast<int>(count);
}

Batch decode(std::string encoded, unsigned mode = CGI_MODE_QUERY) {
    Batch batch;
    const int result = cgidecode(&batch, encoded.data(), keep, mode);
    EXPECT_EQ(result, static_cast<int>(batch.variables.size()))
        << "the callback's result is handed on";
    return batch;
}

std::string shown(const Variables &variables) {
    std::string shown;
    for (const auto &[name, value] : variables)
        shown += '[' + printable(name) + "]=[" + printable(value) + "] ";
    return shown;
}

std::string unescape(std::string escaped) {
    cgi_unescape(escaped.data());
    return escaped.c_str();
}

}  // namespace

TEST(CgiUnescape, DecodesHexadecimalEscapes) {
    const struct {
        const char *label;
        const char *escaped;
        const char *expected;
    } rows[] = {
        {"empty", "", ""},
        {"nothing to decode", "a+b=c&d;e", "a+b=c&d;e"},
        {"one", "%41", "A"},
        {"several", "x%20%2Dy%2d", "x -y-"},
        {"digits behind", "%411", "A1"},
        {"not twice", "%2541", "%41"},
        {"ends at a cut escape", "%41%", "A"},
        {"ends at an escape of one digit", "ab%4", "ab"},
        {"only a percent sign", "%", ""},
        {"only one digit", "%4", ""},
        {"ends at an encoded NUL", "a%00b", "a"},
        {"text above 0x7F", "\xC3\xA9%C3%A9", "\xC3\xA9\xC3\xA9"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(unescape(row.escaped), row.expected) << row.label;
}

TEST(CgiUnescape, DecodesEveryByteInEitherCase) {
    for (unsigned byte = 1; byte <= 0xFF; ++byte) {
        char upper[8];
        char lower[8];
        std::snprintf(upper, sizeof upper, "%%%02X", byte);
        std::snprintf(lower, sizeof lower, "%%%02x", byte);
        EXPECT_EQ(unescape(upper), std::string(1, static_cast<char>(byte))) << upper;
        EXPECT_EQ(unescape(lower), std::string(1, static_cast<char>(byte))) << lower;
    }
}

TEST(CgiUnescape, GivesSomeByteForInvalidDigits) {
    const struct {
        const char *escaped;
        const char *expected;
    } rows[] = {
        {"%G1", "\x01"},  // (71 - 55) * 16 + 1 = 257
        {"%g1", "\x01"},  // the same without bit 0x20
        {"%1G", " "},     // 1 * 16 + 16
        {"%Zz", "S"},     // (90 - 55) * 16 + 35 = 595 = 2 * 256 + 83
        {"%@1", "\x01"},  // 64 is below 'A': 16 * 16 + 1
        {"%:0", "\xA0"},  // 58 - 48 = 10
        {"%`0", "\x90"},  // 96 without bit 0x20 is 64: 64 - 55 = 9
        {"%[0", "\x40"},  // 91 without bit 0x20 stays: 36 * 16 = 576
        {"%{0", "\x40"},  // 123 without bit 0x20 is 91
        {"%/1", "\xF1"},  // 47 - 48 = -1: -16 + 1
        {"%1/", "\x0F"},  // 16 - 1
        {"%%41", "T1"},   // (37 - 48) * 16 + 4 = -172
        {"%4%1", "51"},   // 4 * 16 - 11 = 53
        {"%  ", "\xF0"},  // (32 - 48) * 17 = -272
        {"%\x7F"
         "0",
         "\x80"},  // 127 without bit 0x20 is 95: 40 * 16 = 640
    };
    for (const auto &row : rows)
        EXPECT_EQ(printable(unescape(row.escaped)), printable(row.expected)) << row.escaped;
}

TEST(CgiUnescape, CountsBytesFrom0x80AsUnsigned) {
    const struct {
        const char *escaped;
        const char *expected;
    } rows[] = {
        {"%\x80"
         "0",
         "\x90"},  // 128 - 55 = 73: 1168 = 4 * 256 + 144
        {"%\xA0"
         "0",
         "\x90"},            // without bit 0x20 the same
        {"%0\x80", "I"},     // 73
        {"%0\xC3", "\x8C"},  // 195 - 55 = 140
        {"%\xC3"
         "0",
         "\xC0"},               // 140 * 16 = 2240 = 8 * 256 + 192
        {"%0\xFF", "\xA8"},     // 223 - 55 = 168
        {"%\xE9\xE9", "\xB2"},  // 201 - 55 = 146: 146 * 17 = 2482 = 9 * 256 + 178
    };
    for (const auto &row : rows)
        EXPECT_EQ(printable(unescape(row.escaped)), printable(row.expected)) << row.escaped;
}

TEST(CgiUnescape, LeavesNullAlone) {
    cgi_unescape(nullptr);
    SUCCEED();
}

TEST(CgiUnescape, WritesNothingBehindTheString) {
    char buffer[] = "%41%42\0##";
    cgi_unescape(buffer);
    EXPECT_STREQ(buffer, "AB");
    EXPECT_EQ(std::string(buffer + 6, 3), text("\0##"));
}

TEST(CgiDecode, SplitsVariables) {
    const struct {
        const char *label;
        std::string encoded;
        Variables expected;
    } rows[] = {
        {"one", "a=1", {{"a", "1"}}},
        {"both separators", "a=1&b=2;c", {{"a", "1"}, {"b", "2"}, {"c", ""}}},
        {"without =", "abc", {{"abc", ""}}},
        {"empty value", "a=", {{"a", ""}}},
        {"empty name", "=1", {{"", "1"}}},
        {"only =", "=", {{"", ""}}},
        {"the first = separates", "a=b=c", {{"a", "b=c"}}},
        {"two = in a row", "a==", {{"a", "="}}},
        {"the same name twice", "a=1&a=2", {{"a", "1"}, {"a", "2"}}},
        {"trailing separator", "a=1&", {{"a", "1"}, {"", ""}}},
        {"leading separator", "&a=1", {{"", ""}, {"a", "1"}}},
        {"empty piece between", "a&;b", {{"a", ""}, {"", ""}, {"b", ""}}},
        {"only separators", "&;", {{"", ""}, {"", ""}, {"", ""}}},
        {"+ is a blank", "a+b=c+d+", {{"a b", "c d "}}},
        {"+ and an escape", "x=a+b%3d", {{"x", "a b="}}},
        {"escaped + stays", "x=%2B%2b", {{"x", "++"}}},
        {"escaped separators stay inside", "a%26b=c%3Bd%26", {{"a&b", "c;d&"}}},
        {"escaped = stays in the name", "a%3Db=c", {{"a=b", "c"}}},
        {"escaped name without =", "%41", {{"A", ""}}},
        {"cut escape at the end of a value", "a=%4&b=%41%", {{"a", ""}, {"b", "A"}}},
        {"cut escape in a name", "a%=1", {{"a", "1"}}},
        {"escapes do not reach over =", "a%4=1&b", {{"a", "1"}, {"b", ""}}},
        {"escapes do not reach over &", "a=%&41", {{"a", ""}, {"41", ""}}},
        {"encoded NUL", "a%00b=c%00d&e=f", {{"a", "c"}, {"e", "f"}}},
        {"shrinking name without =", "%41%42%43&d", {{"ABC", ""}, {"d", ""}}},
        {"other control characters stay", "a=\r\n\t&b", {{"a", "\r\n\t"}, {"b", ""}}},
    };
    for (const auto &row : rows) {
        for (const unsigned mode : {0u, 1u, 2u}) {
            const Batch batch = decode(row.encoded, mode);
            EXPECT_EQ(shown(batch.variables), shown(row.expected)) << row.label;
            EXPECT_EQ(batch.mode, mode) << row.label;
            EXPECT_EQ(batch.calls, 1) << row.label << ": one call a batch";
            EXPECT_FALSE(batch.parents) << row.label << ": no variable has a parent";
        }
    }
}

TEST(CgiDecode, DecodesManyVariables) {
    std::string encoded = "0=0";
    for (int i = 1; i < 5000; ++i)
        encoded += '&' + std::to_string(i) + '=' + std::to_string(i * 7);
    const Batch batch = decode(encoded);
    ASSERT_EQ(batch.variables.size(), 5000u);
    for (int i = 0; i < 5000; ++i) {
        const auto &[name, value] = batch.variables[static_cast<std::size_t>(i)];
        ASSERT_EQ(name + '=' + value, std::to_string(i) + '=' + std::to_string(i * 7));
    }
}

TEST(CgiDecode, ReturnsZeroWithoutACallForNoText) {
    for (const unsigned mode : {0u, 1u, 2u, 3u}) {
        Batch batch;
        EXPECT_EQ(cgidecode(&batch, nullptr, keep, mode), 0) << "null, mode " << mode;
        EXPECT_EQ(cgidecode(&batch, nullptr, nullptr, mode), 0) << "null, mode " << mode;
        char empty[] = "";
        if (mode != CGI_MODE_MULTIPART) {
            EXPECT_EQ(cgidecode(&batch, empty, keep, mode), 0) << "empty, mode " << mode;
        }
        EXPECT_EQ(batch.calls, 0) << "mode " << mode;
    }
}

TEST(CgiDecode, CountsPiecesWithoutACallback) {
    const struct {
        const char *encoded;
        int count;
    } rows[] = {{"", 0}, {"a", 1}, {"a=1&b=2;c", 3}, {"&", 2}, {"a=1&b=2&", 3}};
    for (const auto &row : rows) {
        std::string encoded = row.encoded;
        EXPECT_EQ(cgidecode(nullptr, encoded.data(), nullptr, CGI_MODE_QUERY), row.count)
            << row.encoded;
    }
}

TEST(CgiDecode, HandsOnTheResultOfTheCallback) {
    for (const int result : {-5, -1, 0, 1, 42}) {
        Program program;
        program.body_result = result;
        char encoded[] = "a=1&b=2";
        int returned = 99;
        printed([&] { returned = cgidecode(&program, encoded, body_callback, CGI_MODE_QUERY); });
        EXPECT_EQ(returned, result);
    }
}

TEST(CgiDecode, LetsTheCallbackChangeItsStrings) {
    const auto change = [](void *ctx, cgivar *vars, unsigned count, unsigned) {
        for (unsigned i = 0; i < count; ++i) {
            std::memset(vars[i].name, 'n', std::strlen(vars[i].name));
            std::memset(vars[i].value, 'v', std::strlen(vars[i].value));
            *static_cast<std::string *>(ctx) += std::string(vars[i].name) + vars[i].value + ' ';
        }
        return 0;
    };
    std::string seen;
    char encoded[] = "aa=11&bb=22&c";
    EXPECT_EQ(cgidecode(&seen, encoded, change, CGI_MODE_QUERY), 0);
    EXPECT_EQ(seen, "nnvv nnvv n ");
}

TEST(CgiDecode, AgreesWithSplittingTheWholeTextAtOnce) {
    const auto decoded = [](std::string piece) {
        for (char &c : piece)
            c = c == '+' ? ' ' : c;
        return unescape(piece);
    };
    std::mt19937 random(977);
    const std::string letters = "a=&;+%4G\x80";
    for (int i = 0; i < 5000; ++i) {
        std::string encoded;
        for (std::size_t length = 1 + random() % 20; length > 0; --length)
            encoded += letters[random() % letters.size()];
        Variables expected;
        for (std::size_t at = 0; at <= encoded.size();) {
            const std::size_t end = std::min(encoded.find_first_of("&;", at), encoded.size());
            const std::string piece = encoded.substr(at, end - at);
            const std::size_t equals = piece.find('=');
            expected.emplace_back(
                decoded(piece.substr(0, equals)),
                equals == std::string::npos ? "" : decoded(piece.substr(equals + 1)));
            at = end + 1;
        }
        ASSERT_EQ(shown(decode(encoded).variables), shown(expected)) << printable(encoded);
    }
}

#if QMV_FAKE_ALLOCATION
TEST(CgiDecode, CountsPiecesWithoutMemoryForTheRecords) {
    char encoded[] = "a=1&b=2;c";
    Batch batch;
    int result = 0;
    {
        const qmv_test::AllocationFailure no_memory(0);
        result = cgidecode(&batch, encoded, keep, CGI_MODE_QUERY);
        EXPECT_EQ(no_memory.failed(), 1);
    }
    EXPECT_EQ(result, 3);
    EXPECT_EQ(batch.calls, 0) << "the callback is not called";
}
#endif
