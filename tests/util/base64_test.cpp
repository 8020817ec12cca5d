// Base64 against known texts and a simple encoder of the test's own.
#include <gtest/gtest.h>
#include <qmv/util.h>

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

#include "tests/support/fenced_text.h"
#include "tests/support/io.h"

namespace {

using qmv_test::FencedText;
using qmv_test::text;

constexpr char kGuard = 0x55;
constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

const unsigned char *bytes(const char *characters) {
    return reinterpret_cast<const unsigned char *>(characters);
}

/// What a call returned and left in a buffer that has guards around it.
struct Outcome {
    int result;
    std::string room;  ///< the buffer and all behind it
    bool guarded;      ///< nothing outside the buffer was written

    /// The first bytes of the buffer.
    std::string head(std::size_t size) const { return room.substr(0, size); }
    bool nothing_written() const {
        return room.find_first_not_of(kGuard) == std::string::npos && guarded;
    }
};

template <typename Call>
Outcome in_guarded_room(int size, const Call &call) {
    constexpr std::size_t kMargin = 16;
    const std::size_t length = size > 0 ? static_cast<std::size_t>(size) : 0;
    std::string room(kMargin + length + kMargin, kGuard);
    const int result = call(room.data() + kMargin);
    const std::string margin(kMargin, kGuard);
    const bool guarded = room.starts_with(margin) && room.ends_with(margin);
    return {result, room.substr(kMargin, length), guarded};
}

/// The input stands in front of an unreadable page.
Outcome encode(const std::string &plain, int out_size) {
    const FencedText in(plain);
    return in_guarded_room(out_size, [&](char *out) {
        return base64_encode(out, out_size, bytes(in.get()), static_cast<int>(plain.size()));
    });
}

Outcome decode(const std::string &encoded, int out_size) {
    const FencedText in(encoded);
    return in_guarded_room(out_size, [&](char *out) {
        return base64_decode(reinterpret_cast<unsigned char *>(out), out_size, in.get(),
                             static_cast<int>(encoded.size()));
    });
}

/// The decoded bytes, or the number of the failure.
std::string decoded(const std::string &encoded) {
    const Outcome outcome = decode(encoded, 1000);
    return outcome.result < 0 ? std::to_string(outcome.result)
                              : outcome.head(static_cast<std::size_t>(outcome.result));
}

/// Encodes bit by bit: digits of a text of ones and zeros.
std::string simple_encoding(const std::string &plain) {
    std::string bits;
    for (const char c : plain) {
        for (int bit = 7; bit >= 0; --bit)
            bits += ((static_cast<unsigned char>(c) >> bit) & 1) != 0 ? '1' : '0';
    }
    while (bits.size() % 6 != 0)
        bits += '0';
    std::string encoded;
    for (std::size_t i = 0; i < bits.size(); i += 6)
        encoded += kAlphabet[std::stoul(bits.substr(i, 6), nullptr, 2)];
    while (encoded.size() % 4 != 0)
        encoded += '=';
    return encoded;
}

std::string noise(std::size_t size) {
    std::string plain;
    unsigned random = static_cast<unsigned>(size) + 1;
    while (plain.size() < size) {
        random = random * 1664525 + 1013904223;
        plain += static_cast<char>(random >> 24);
    }
    return plain;
}

const struct {
    std::string plain;
    std::string encoded;
} kKnown[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
    {"a", "YQ=="},
    {"ab", "YWI="},
    {"abc", "YWJj"},
    {text("\0"), "AA=="},
    {text("\0\0"), "AAA="},
    {text("\0\0\0"), "AAAA"},
    {"\xFF", "/w=="},
    {"\xFF\xFF", "//8="},
    {"\xFF\xFF\xFF", "////"},
    {"\xFB\xEF\xBE", "++++"},
    {"\x14\xFB\x9C\x03\xD9\x7E", "FPucA9l+"},
    {"user:password", "dXNlcjpwYXNzd29yZA=="},
};

// ---- Encoding ----

TEST(Base64Encode, EncodesKnownTexts) {
    for (const auto &row : kKnown) {
        const Outcome outcome = encode(row.plain, 64);
        EXPECT_EQ(outcome.result, static_cast<int>(row.encoded.size())) << row.encoded;
        EXPECT_STREQ(outcome.room.c_str(), row.encoded.c_str());
    }
}

TEST(Base64Encode, EqualsASimpleEncoderForEveryLength) {
    for (std::size_t length = 0; length <= 300; ++length) {
        const std::string plain = noise(length);
        const std::string expected = simple_encoding(plain);
        const Outcome outcome = encode(plain, static_cast<int>(expected.size()) + 1);
        EXPECT_EQ(outcome.result, static_cast<int>(expected.size())) << length;
        EXPECT_EQ(outcome.room, expected + '\0') << length;
        EXPECT_TRUE(outcome.guarded) << length;
    }
}

TEST(Base64Encode, EncodesEveryByteInEveryPlace) {
    for (int byte = 0; byte < 256; ++byte) {
        for (std::size_t place = 0; place < 3; ++place) {
            for (const char filler : {'\0', '\xFF'}) {
                std::string plain(3, filler);
                plain[place] = static_cast<char>(byte);
                EXPECT_EQ(encode(plain, 5).room, simple_encoding(plain) + '\0') << byte;
            }
        }
    }
}

TEST(Base64Encode, NeedsRoomForTheTextAndItsTerminator) {
    for (std::size_t length = 0; length <= 20; ++length) {
        const std::string plain = noise(length);
        const int needed = static_cast<int>((length + 2) / 3 * 4 + 1);
        for (int size = -2; size < needed; ++size) {
            const Outcome outcome = encode(plain, size);
            EXPECT_EQ(outcome.result, -1) << length << " in " << size;
            EXPECT_TRUE(outcome.nothing_written()) << length << " in " << size;
        }
        for (int size = needed; size < needed + 4; ++size) {
            const Outcome outcome = encode(plain, size);
            EXPECT_EQ(outcome.result, needed - 1) << length << " in " << size;
            EXPECT_EQ(outcome.room,
                      simple_encoding(plain) + '\0' +
                          std::string(static_cast<std::size_t>(size - needed), kGuard))
                << length << " in " << size;
            EXPECT_TRUE(outcome.guarded) << length << " in " << size;
        }
    }
}

TEST(Base64Encode, ThreeBytesDoNotFitIntoFour) {
    EXPECT_EQ(encode("abc", 4).result, -1);
    EXPECT_EQ(encode("abc", 5).result, 4);
}

TEST(Base64Encode, EmptyInputNeedsRoomForTheTerminatorOnly) {
    EXPECT_EQ(encode("", 0).result, -1);
    const Outcome outcome = encode("", 1);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.room, text("\0"));
    EXPECT_TRUE(outcome.guarded);
}

TEST(Base64Encode, NegativeLengthsCountAsEmpty) {
    for (const int length : {-1, -2, -3, -100, INT_MIN}) {
        const Outcome outcome = in_guarded_room(
            1, [&](char *out) { return base64_encode(out, 1, bytes("abc"), length); });
        EXPECT_EQ(outcome.result, 0) << length;
        EXPECT_EQ(outcome.room, text("\0")) << length;
        EXPECT_TRUE(outcome.guarded) << length;
        EXPECT_EQ(base64_encode(nullptr, 0, bytes("abc"), length), -1) << length;
    }
}

TEST(Base64Encode, LengthsNearTheLargestNumberNeedMoreRoomThanThereCanBe) {
    for (const int length : {INT_MAX, INT_MAX - 1, INT_MAX - 2, 1610612734, 1610612736}) {
        char out[8] = "";
        EXPECT_EQ(base64_encode(out, INT_MAX, bytes("abc"), length), -1) << length;
        EXPECT_EQ(base64_encode(out, sizeof out, bytes("abc"), length), -1) << length;
        EXPECT_STREQ(out, "") << length;
    }
}

TEST(Base64Encode, NullArgumentsFail) {
    char out[8] = "x";
    EXPECT_EQ(base64_encode(nullptr, 8, bytes("abc"), 3), -1);
    EXPECT_EQ(base64_encode(nullptr, 8, bytes("abc"), 0), -1);
    EXPECT_EQ(base64_encode(out, sizeof out, nullptr, 3), -1);
    EXPECT_STREQ(out, "x");
    EXPECT_EQ(base64_encode(out, sizeof out, nullptr, 0), 0);
    EXPECT_STREQ(out, "");
}

// ---- Decoding ----

TEST(Base64Decode, DecodesKnownTexts) {
    for (const auto &row : kKnown) {
        const Outcome outcome = decode(row.encoded, 64);
        EXPECT_EQ(outcome.result, static_cast<int>(row.plain.size())) << row.encoded;
        EXPECT_EQ(outcome.head(row.plain.size()), row.plain) << row.encoded;
        EXPECT_EQ(outcome.room.substr(row.plain.size()), std::string(64 - row.plain.size(), kGuard))
            << row.encoded << ": it is not terminated";
    }
}

TEST(Base64Decode, DecodesEveryLength) {
    for (std::size_t length = 0; length <= 300; ++length) {
        const std::string plain = noise(length);
        const Outcome outcome = decode(simple_encoding(plain), static_cast<int>(length));
        EXPECT_EQ(outcome.result, static_cast<int>(length));
        EXPECT_EQ(outcome.room, plain) << length;
        EXPECT_TRUE(outcome.guarded) << length;
    }
}

TEST(Base64Decode, TakesTheOddTextsToo) {
    const struct {
        const char *label;
        std::string encoded;
        std::string result;
    } rows[] = {
        {"line end inside", "YW\r\nJj", "abc"},
        {"blanks around", " Y W J j ", "abc"},
        {"NUL inside", text("YW\0Jj\0"), "abc"},
        {"blank between padding", "YQ= =", "a"},
        {"line end behind the padding", "YQ==\r\n", "a"},
        {"skipped characters behind the padding", "YQ==-_.!", "a"},
        {"letters of the other alphabet", "Y-W_Jj", "abc"},
        {"bytes above 0x7F", "Y\x80W\xFFJ\xC3j", "abc"},
        {"two lines", "Zm9v\nYmFy\n", "foobar"},
        {"lines of one character", "Z\nm\n9\nv\n", "foo"},
        {"nothing but skipped characters", " \r\n\t.-", ""},
        {"only NULs", text("\0\0\0\0"), ""},
        {"bits behind the first byte", "YR==", "a"},
        {"all bits behind the first byte", "Yf==", "a"},
        {"bits behind the second byte", "YWL=", "ab"},
        {"three padding characters decode to nothing", "Y===", ""},
        {"three padding characters behind a group", "YWJjX===", "abc"},
        {"one character", "Y", "-1"},
        {"two characters", "YQ", "-1"},
        {"three characters", "YWI", "-1"},
        {"one padding character of two", "YQ=", "-1"},
        {"one character behind a group", "YWJjY", "-1"},
        {"two characters behind a group", "YWJjYQ", "-1"},
        {"three characters behind a group", "YWJjYWI", "-1"},
        {"incomplete through skipped characters", "YW.j", "-1"},
        {"a text behind padding", "YQ==YQ==", "-1"},
        {"a text behind one padding character", "YWI=YWI=", "-1"},
        {"a character between padding", "YQ=Q", "-1"},
        {"a character behind one padding character", "YWI=Y", "-1"},
        {"a character behind three padding characters", "Y===Y", "-1"},
        {"padding behind padding", "YQ===", "-1"},
        {"padding behind one padding character", "YWI==", "-1"},
        {"two padding characters behind one", "YWI===", "-1"},
        {"padding behind a group", "YWJj=", "-1"},
        {"two padding characters behind a group", "YWJj==", "-1"},
        {"three padding characters behind a whole group", "YWJj===", "-1"},
        {"four padding characters", "====", "-1"},
        {"four padding characters behind a group", "YWJj====", "-1"},
        {"one padding character", "=", "-1"},
        {"two padding characters", "==", "-1"},
        {"three padding characters", "===", "-1"},
        {"padding in front", "=YWJj", "-1"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(decoded(row.encoded), row.result) << row.label;
}

TEST(Base64Decode, ThreePaddingCharactersWriteNothing) {
    for (const char c : kAlphabet) {
        const Outcome outcome = decode(std::string(1, c) + "===", 8);
        EXPECT_EQ(outcome.result, 0) << c;
        EXPECT_TRUE(outcome.nothing_written()) << c;
    }
    EXPECT_EQ(decode("X===", 0).result, 0) << "no room is needed";
    const Outcome behind = decode("YWJjX===", 3);
    EXPECT_EQ(behind.result, 3);
    EXPECT_EQ(behind.room, "abc");
    EXPECT_TRUE(behind.guarded);
}

TEST(Base64Decode, SkipsEveryByteThatIsNotPartOfIt) {
    int skipped = 0;
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        if (kAlphabet.find(c) != std::string_view::npos || c == '=')
            continue;
        ++skipped;
        for (std::size_t place = 0; place <= 8; ++place) {
            std::string encoded = "Zm9vYg==";
            encoded.insert(place, 1, c);
            EXPECT_EQ(decoded(encoded), "foob") << code << " at " << place;
        }
    }
    EXPECT_EQ(skipped, 191);
}

TEST(Base64Decode, NeedsRoomForEachWholeGroup) {
    for (std::size_t length = 0; length <= 20; ++length) {
        const std::string plain = noise(length);
        const std::string encoded = simple_encoding(plain);
        for (int size = -2; size <= static_cast<int>(length) + 4; ++size) {
            const Outcome outcome = decode(encoded, size);
            const bool fits = size >= static_cast<int>(length);
            EXPECT_EQ(outcome.result, fits || length == 0 ? static_cast<int>(length) : -2)
                << length << " in " << size;
            EXPECT_TRUE(outcome.guarded) << length << " in " << size;
            if (fits) {
                EXPECT_EQ(outcome.room,
                          plain + std::string(static_cast<std::size_t>(size) - length, kGuard))
                    << length << " in " << size;
            }
        }
    }
}

TEST(Base64Decode, ThreeBytesDoNotFitIntoTwo) {
    const Outcome outcome = decode("YWJj", 2);
    EXPECT_EQ(outcome.result, -2);
    EXPECT_TRUE(outcome.guarded);
}

TEST(Base64Decode, AnswersWhatItMeetsFirst) {
    EXPECT_EQ(decode("YWJj=", 2).result, -2) << "no room in front of the malformed place";
    EXPECT_EQ(decode("YQ=YYWJj", 0).result, -1) << "malformed in front of the end of its group";
    EXPECT_EQ(decode("YWJ", 0).result, -1) << "an incomplete group asks for no room";
}

TEST(Base64Decode, LengthsBelowOneDecodeNothing) {
    for (const int length : {0, -1, -4, INT_MIN}) {
        const Outcome outcome = in_guarded_room(8, [&](char *out) {
            return base64_decode(reinterpret_cast<unsigned char *>(out), 8, "YWJj", length);
        });
        EXPECT_EQ(outcome.result, 0) << length;
        EXPECT_TRUE(outcome.nothing_written()) << length;
        EXPECT_EQ(base64_decode(nullptr, 0, nullptr, length), 0) << length;
    }
}

TEST(Base64Decode, NullArgumentsFail) {
    unsigned char out[8] = {};
    EXPECT_EQ(base64_decode(nullptr, 8, "YWJj", 4), -1);
    EXPECT_EQ(base64_decode(out, sizeof out, nullptr, 4), -1);
    EXPECT_EQ(out[0], 0);
}

/// Decodes without skipping: what a text of eight characters, all of them symbols, gives.
std::string simple_decoding(const std::string &encoded) {
    const std::size_t end = std::min(encoded.find('='), encoded.size());
    const std::size_t padding = encoded.size() - end;
    if (encoded.find_first_not_of('=', end) != std::string::npos || padding > 3)
        return "-1";
    std::string bits;
    for (const char c : encoded.substr(0, end)) {
        for (int bit = 5; bit >= 0; --bit)
            bits += ((kAlphabet.find(c) >> bit) & 1) != 0 ? '1' : '0';
    }
    std::string plain;
    for (std::size_t i = 0; i + 8 <= bits.size() && plain.size() < 6 - padding; i += 8)
        plain += static_cast<char>(std::stoul(bits.substr(i, 8), nullptr, 2));
    return plain;
}

TEST(Base64Decode, EveryChangeOfOneCharacterGivesWhatItSays) {
    for (const std::string original : {"Zm9vYmFy", "Zm9vYmE=", "Zm9vYg==", "Zm9vY==="}) {
        for (std::size_t place = 0; place < original.size(); ++place) {
            for (int code = 0; code < 256; ++code) {
                std::string changed = original;
                changed[place] = static_cast<char>(code);
                const bool symbol = changed[place] == '=' ||
                                    kAlphabet.find(changed[place]) != std::string_view::npos;
                // Seven symbols are left: an incomplete group.
                EXPECT_EQ(decoded(changed), symbol ? simple_decoding(changed) : "-1")
                    << testing::PrintToString(changed);
            }
        }
    }
}

TEST(Base64Decode, GivesBackWhatWasEncodedFromASmallerPart) {
    const std::string plain = noise(30);
    const std::string encoded = simple_encoding(plain);
    for (std::size_t length = 0; length <= encoded.size(); ++length)
        EXPECT_EQ(decoded(encoded.substr(0, length)),
                  length % 4 == 0 ? plain.substr(0, length / 4 * 3) : "-1")
            << length;
}

}  // namespace
