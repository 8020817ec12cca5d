#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/accounts.h>
#include <qmv/widgets.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/password_server.h"
#include "tests/support/process_state.h"
#include "tests/support/program.h"

namespace {

using qmv_test::EnvironmentVariable;
using qmv_test::ItemFile;
using qmv_test::open_descriptors;
using qmv_test::output_of;
using qmv_test::PasswordServer;
using qmv_test::TempDir;

struct Free {
    void operator()(char *block) const { std::free(block); }
};
using Text = std::unique_ptr<char, Free>;

// What `openssl passwd -1 -salt abcdefgh` prints.
constexpr char kHashOfSecret[] = "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1";
constexpr char kHashOfMarks[] = "$1$abcdefgh$ACb/Up5q/xgJm2bg0s5qW0";
constexpr char kMarks[] = "a#b+c,d-e.f/g:h;i@j";

/// A password that the system's crypt refuses to hash.
const std::string kUnhashable(600, 'x');

/// The hash that openssl makes of a password.
std::string openssl_hash(const std::string &salt, const std::string &password) {
    std::string line =
        output_of({"openssl", "passwd", "-1", "-salt", salt, "-stdin"}, password + "\n");
    if (!line.empty())
        line.pop_back();
    return line;
}

char crypt_character(unsigned value) {
    if (value < 12)
        return static_cast<char>(value + 46);
    return static_cast<char>(value < 38 ? value + 53 : value + 59);
}

/// The salt of a process at a time.
std::string salt_of(unsigned pid, time_t time, int seed) {
    unsigned state = pid + static_cast<unsigned>(time) + static_cast<unsigned>(seed);
    std::string salt;
    for (int i = 0; i < 4; ++i) {
        state = state * 1664525u + 1013904223u;
        salt += crypt_character(state / 65536 % 64);
        salt += crypt_character(state / 4194304 % 64);
    }
    return salt;
}

/// Tells whether a hash has the salt of this process at a time of the interval.
testing::AssertionResult salted(const std::string &hash, int seed, time_t from, time_t to) {
    for (time_t time = from; time <= to; ++time) {
        const std::string salt = salt_of(static_cast<unsigned>(::getpid()), time, seed);
        if (hash.substr(0, 12) == "$1$" + salt + "$")
            return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << hash << " has another salt than that of process id, "
                                       << "time and the seed " << seed;
}

// ---- get_auth ----

constexpr auth_entry kUsers[] = {
    {"admin", 2}, {"guest", -1}, {"admin", 7},   {"root", INT32_MIN},   {"J\xC3\xB6rg", 42},
    {"", 9},      {"zero", 0},   {nullptr, 100}, {"behind the end", 5},
};

int level_of(const char *user) {
    const EnvironmentVariable variable("REMOTE_USER", user);
    return get_auth(kUsers);
}

TEST(GetAuth, ReturnsTheLevelOfTheFirstRowOfTheUser) {
    const struct {
        const char *label;
        const char *user;
        int level;
    } rows[] = {
        {"first of two rows", "admin", 2},   {"negative level", "guest", -1},
        {"lowest level", "root", INT32_MIN}, {"bytes above 0x7F", "J\xC3\xB6rg", 42},
        {"empty name that is set", "", 9},   {"level 0", "zero", 0},
        {"no such user", "nobody", 0},       {"other case", "Admin", 0},
        {"beginning of a name", "admi", 0},  {"name and more", "admins", 0},
        {"blank in front", " admin", 0},     {"behind the end of the table", "behind the end", 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(level_of(row.user), row.level) << row.label;
}

TEST(GetAuth, ReturnsZeroWithoutRemoteUserEvenWithARowForTheEmptyName) {
    EXPECT_EQ(level_of(nullptr), 0);
}

TEST(GetAuth, ReturnsZeroForNullTable) {
    const EnvironmentVariable variable("REMOTE_USER", "admin");
    EXPECT_EQ(get_auth(nullptr), 0);
}

TEST(GetAuth, ReturnsZeroForEmptyTable) {
    const EnvironmentVariable variable("REMOTE_USER", "admin");
    const auth_entry table[] = {{nullptr, 3}};
    EXPECT_EQ(get_auth(table), 0);
}

// ---- crypt_detect ----

TEST(CryptDetect, NamesTheKindByLengthAndPrefix) {
    const struct {
        const char *label;
        const char *text;
        int length;
        uint32_t kind;
    } rows[] = {
        {"a hash", kHashOfSecret, 34, 49},
        {"length 33", kHashOfSecret, 33, 0},
        {"length 35", kHashOfSecret, 35, 0},
        {"length 4", "$1$a", 4, 0},
        {"length 3", "$1$", 3, 0},
        {"length 0", "", 0, 0},
        {"negative length", kHashOfSecret, -34, 0},
        {"lowest length", kHashOfSecret, INT_MIN, 0},
        {"highest length", kHashOfSecret, INT_MAX, 0},
        {"another hash", "$5$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1", 34, 0},
        {"identifier of two digits", "$11abcdefgh$cHJi5PXp/ki/ktXzqlk6I1", 34, 0},
        {"no first dollar sign", "x1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1", 34, 0},
        {"no second dollar sign", "$1xabcdefgh$cHJi5PXp/ki/ktXzqlk6I1", 34, 0},
        {"nothing behind the prefix", "$1$", 34, 0},
        {"only the prefix counts", "$1$a", 34, 49},
        {"plain text of this length", "abcdefghijklmnopqrstuvwxyz12345678", 34, 0},
        {"null", nullptr, 34, 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(crypt_detect(row.text, row.length), row.kind) << row.label;
}

// ---- crypt_encode ----

TEST(CryptEncode, CopiesThePasswordForEveryKindButMd5) {
    for (const uint32_t kind : {0u, 1u, 5u, 48u, 50u, 305u, 0xFFFFFFFFu}) {
        for (const char *password : {"", "secret", "$1$x", "J\xC3\xB6rg"}) {
            const Text copy(crypt_encode(kind, password, 1));
            ASSERT_NE(copy, nullptr) << "kind " << kind;
            EXPECT_STREQ(copy.get(), password) << "kind " << kind;
            EXPECT_NE(copy.get(), password) << "not a copy, kind " << kind;
        }
    }
}

TEST(CryptEncode, MakesTheSaltOfProcessIdTimeAndSeed) {
    for (const int seed : {0, 1, 2, -1, 1000000, INT_MAX, INT_MIN}) {
        const time_t before = std::time(nullptr);
        const Text hash(crypt_encode(49, "secret", seed));
        const time_t after = std::time(nullptr);
        ASSERT_NE(hash, nullptr) << seed;
        EXPECT_EQ(std::strlen(hash.get()), 34u) << seed;
        EXPECT_TRUE(salted(hash.get(), seed, before, after));
    }
}

TEST(CryptEncode, MakesTheSaltOfManySeeds) {
    for (int i = 0; i < 64; ++i) {
        const int seed = i * 1009;
        const time_t before = std::time(nullptr);
        const Text hash(crypt_encode(CRYPT_MD5, "x", seed));
        const time_t after = std::time(nullptr);
        ASSERT_NE(hash, nullptr) << seed;
        ASSERT_TRUE(salted(hash.get(), seed, before, after));
    }
}

TEST(CryptEncode, GivesTheSameSaltTwiceInOneSecond) {
    for (;;) {
        const time_t before = std::time(nullptr);
        const Text first(crypt_encode(CRYPT_MD5, "secret", 1));
        const Text second(crypt_encode(CRYPT_MD5, "secret", 1));
        if (std::time(nullptr) != before)
            continue;
        ASSERT_NE(first, nullptr);
        ASSERT_NE(second, nullptr);
        EXPECT_STREQ(first.get(), second.get());
        EXPECT_NE(first.get(), second.get()) << "both calls returned the same memory";
        return;
    }
}

TEST(CryptEncode, HashesAsOpensslDoes) {
    const std::string passwords[] = {
        "",          "a",           "secret",      kMarks,
        "two words", "\"quotes'\\", "J\xC3\xB6rg", std::string(255, 'p')};
    for (const std::string &password : passwords) {
        const Text hash(crypt_encode(CRYPT_MD5, password.c_str(), 1));
        ASSERT_NE(hash, nullptr) << password;
        EXPECT_EQ(hash.get(), openssl_hash(std::string(hash.get() + 3, 8), password)) << password;
        EXPECT_EQ(crypt_detect(hash.get(), 34), CRYPT_MD5) << password;
        EXPECT_EQ(crypt_cmp(CRYPT_MD5, hash.get(), password.c_str()), 0) << password;
    }
}

TEST(CryptEncode, ReturnsNullWhenHashingFails) {
    EXPECT_EQ(crypt_encode(CRYPT_MD5, kUnhashable.c_str(), 1), nullptr);
}

TEST(CryptEncode, ReturnsNullForNullPassword) {
    EXPECT_EQ(crypt_encode(CRYPT_MD5, nullptr, 1), nullptr);
    EXPECT_EQ(crypt_encode(CRYPT_PLAIN, nullptr, 1), nullptr);
}

#if QMV_FAKE_ALLOCATION
TEST(CryptEncode, ReturnsNullWithoutMemory) {
    for (const uint32_t kind : {uint32_t{CRYPT_PLAIN}, uint32_t{CRYPT_MD5}}) {
        for (int n = 0;; ++n) {
            const qmv_test::AllocationFailure failure(n);
            const Text hash(crypt_encode(kind, "secret", 1));
            if (failure.failed() == 0) {
                EXPECT_NE(hash, nullptr);
                EXPECT_GT(n, 0) << "kind " << kind << " allocates nothing";
                break;
            }
            EXPECT_EQ(hash, nullptr) << "kind " << kind << ", allocation " << n;
        }
    }
}
#endif

// ---- crypt_cmp ----

TEST(CryptCmp, ReturnsZeroOnlyForTheRightPassword) {
    const struct {
        const char *label;
        uint32_t kind;
        const char *stored;
        const char *entered;
        bool right;
    } rows[] = {
        {"plain", 0, "secret", "secret", true},
        {"plain, both empty", 0, "", "", true},
        {"plain, other case", 0, "secret", "Secret", false},
        {"plain, beginning", 0, "secret", "secre", false},
        {"plain, more", 0, "secret", "secrets", false},
        {"plain, nothing entered", 0, "secret", "", false},
        {"plain, nothing stored", 0, "", "secret", false},
        {"plain text that looks like a hash", 0, kHashOfSecret, kHashOfSecret, true},
        {"hash compared in plain", 0, kHashOfSecret, "secret", false},
        {"hash", 49, kHashOfSecret, "secret", true},
        {"hash of marks", 49, kHashOfMarks, kMarks, true},
        {"hash, other case", 49, kHashOfSecret, "Secret", false},
        {"hash, beginning", 49, kHashOfSecret, "secre", false},
        {"hash, more", 49, kHashOfSecret, "secret ", false},
        {"hash, nothing entered", 49, kHashOfSecret, "", false},
        {"hash, the hash itself entered", 49, kHashOfSecret, kHashOfSecret, false},
        {"every kind but 0 is a hash: 1", 1, kHashOfSecret, "secret", true},
        {"every kind but 0 is a hash: highest", 0xFFFFFFFF, kHashOfSecret, "secret", true},
        {"other last character", 49, "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I2", "secret", false},
        {"hash that is cut", 49, "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I", "secret", false},
        {"hash and more", 49, "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1x", "secret", false},
        {"stored text that is no hash", 49, "secret", "secret", false},
        {"stored text is empty", 49, "", "", false},
        {"stored text is a failure text", 49, "*0", "secret", false},
        {"stored text is the other failure text", 49, "*1", "secret", false},
        {"unknown hash", 49, "$zz$abc", "secret", false},
        {"nothing stored", 0, nullptr, "secret", false},
        {"no hash stored", 49, nullptr, "secret", false},
        {"null entered", 0, "secret", nullptr, false},
        {"null entered for a hash", 49, kHashOfSecret, nullptr, false},
        {"both null", 0, nullptr, nullptr, false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(crypt_cmp(row.kind, row.stored, row.entered) == 0, row.right) << row.label;
}

TEST(CryptCmp, DoesNotMatchWhatCannotBeHashed) {
    for (const char *stored : {"*0", "*1", kHashOfSecret})
        EXPECT_NE(crypt_cmp(CRYPT_MD5, stored, kUnhashable.c_str()), 0) << stored;
}

TEST(CryptCmp, OrdersPlainTextsAsStrcmpDoes) {
    EXPECT_LT(crypt_cmp(CRYPT_PLAIN, "a", "b"), 0);
    EXPECT_GT(crypt_cmp(CRYPT_PLAIN, "b", "a"), 0);
}

// ---- chk_new_passwd ----

constexpr char kAllowed[] =
    "#+,-./:;@"
    "0123456789"
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
    "abcdefghijklmnopqrstuvwxyz";

TEST(ChkNewPasswd, ReturnsTheCodeOfTheText) {
    const struct {
        const char *label;
        const char *text;
        uint32_t min;
        uint32_t max;
        uint32_t code;
    } rows[] = {
        {"every mark", kMarks, 1, 19, 3},
        {"shortest", "abc", 3, 8, 3},
        {"longest", "abcdefgh", 3, 8, 3},
        {"one too short", "ab", 3, 8, 6},
        {"one too long", "abcdefghi", 3, 8, 6},
        {"limits that nothing meets", "abc", 5, 2, 6},
        {"no limits", "a", 0, 0xFFFFFFFF, 3},
        {"highest minimum", "abc", 0xFFFFFFFF, 0xFFFFFFFF, 6},
        {"empty", "", 3, 8, 0},
        {"empty without a minimum", "", 0, 8, 0},
        {"null", nullptr, 3, 8, 0},
        {"blank", "abc def", 3, 8, 7},
        {"blank at the beginning", " abc", 3, 8, 7},
        {"blank at the end", "abc ", 3, 8, 7},
        {"underscore", "abc_", 3, 8, 7},
        {"exclamation mark", "!abc", 3, 8, 7},
        {"line feed", "abc\n", 3, 8, 7},
        {"e acute", "abc\xC3\xA9", 3, 8, 7},
        {"letter whose low byte is an ASCII letter: U+0141", "abc\xC5\x81", 3, 8, 7},
        {"digit whose low byte is an ASCII digit: U+0130", "abc\xC4\xB0", 3, 8, 7},
        {"mark whose low byte is an ASCII mark: U+0123", "abc\xC4\xA3", 3, 8, 7},
        {"U+0080", "abc\xC2\x80", 3, 8, 7},
        {"full-width letter", "abc\xEF\xBC\xA1", 3, 8, 7},
        {"character before length, too short", "a ", 3, 8, 7},
        {"character before length, too long", "abcdefghijklm ", 3, 8, 7},
    };
    for (const auto &row : rows) {
        const char *accepted = "untouched";
        EXPECT_EQ(chk_new_passwd(row.text, &accepted, row.min, row.max), row.code) << row.label;
        if (row.code == 3)
            EXPECT_EQ(static_cast<const void *>(accepted), row.text) << row.label;
        else
            EXPECT_STREQ(accepted, "untouched") << row.label;
    }
}

TEST(ChkNewPasswd, AcceptsExactlyTheLettersDigitsAndNineMarks) {
    for (int c = 1; c < 128; ++c) {
        const char text[] = {'a', static_cast<char>(c), '\0'};
        const uint32_t code = std::strchr(kAllowed, c) != nullptr ? 3 : 7;
        EXPECT_EQ(chk_new_passwd(text, nullptr, 1, 8), code) << "character " << c;
    }
}

TEST(ChkNewPasswd, AcceptsWhatPasswdCharsTellsTheUser) {
    // Ranges such as a-z, and marks, with blanks between them.
    std::string described;
    const std::string told = passwd_chars();
    for (std::size_t i = 0; i < told.size(); ++i) {
        if (i + 2 < told.size() && told[i] != ' ' && told[i + 1] == '-' && told[i + 2] != ' ') {
            for (int c = told[i]; c <= told[i + 2]; ++c)
                described += static_cast<char>(c);
            i += 2;
        } else if (told[i] != ' ') {
            described += told[i];
        }
    }
    for (int c = 1; c < 128; ++c) {
        const char text[] = {static_cast<char>(c), '\0'};
        const bool accepted = chk_new_passwd(text, nullptr, 1, 8) == PW_VALID;
        EXPECT_EQ(accepted, described.find(static_cast<char>(c)) != std::string::npos)
            << "character " << c;
    }
}

TEST(ChkNewPasswd, CountsCharactersAndNotBytes) {
    // 0xC1 0x81 is an overlong "A".
    const char text[] = "\xC1\x81\xC1\x81yz";
    EXPECT_EQ(chk_new_passwd(text, nullptr, 4, 4), PW_VALID);
    EXPECT_EQ(chk_new_passwd(text, nullptr, 5, 6), PW_BAD_LENGTH);
}

TEST(ChkNewPasswd, EndsAtInvalidUtf8) {
    const char *accepted = nullptr;
    EXPECT_EQ(chk_new_passwd("abc\xFF !", &accepted, 3, 3), PW_VALID);
    EXPECT_STREQ(accepted, "abc\xFF !") << "the whole text is accepted";
    EXPECT_EQ(chk_new_passwd("\xFF"
                             "abc",
                             nullptr, 1, 8),
              PW_UNCHANGED);
}

TEST(ChkNewPasswd, TakesNullForAccepted) {
    EXPECT_EQ(chk_new_passwd("abc", nullptr, 1, 8), PW_VALID);
}

// ---- rd_passwd ----

TEST(RdPasswd, ReadsTheItem) {
    const struct {
        const char *label;
        const char *content;
        uint32_t kind;
        int length;
        const char *stored;
    } rows[] = {
        {"plain", "secret\n", 0, 6, "secret"},
        {"hash", "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1\n", 49, 34, kHashOfSecret},
        {"hash without newline", kHashOfSecret, 49, 34, kHashOfSecret},
        {"empty line", "\n", 0, 0, ""},
        {"empty file", "", 0, 0, ""},
        {"plain text up to a tab", "sec\tret\n", 0, 3, "sec"},
        {"hash that is one too short", "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I\n", 0, 33,
         "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I"},
        {"first 34 characters of a longer text", "abcdefghijklmnopqrstuvwxyz0123456789\n", 0, 34,
         "abcdefghijklmnopqrstuvwxyz01234567"},
        {"first 34 characters make it a hash", "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1xyz\n", 49, 34,
         kHashOfSecret},
        {"other hash", "$5$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1\n", 0, 34,
         "$5$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        passwd_rec record;
        std::memset(&record, 0x55, sizeof record);
        EXPECT_EQ(rd_passwd(item.dir(), item.name(), &record, 77), row.kind) << row.label;
        EXPECT_EQ(record.tag, 77u) << row.label;
        EXPECT_EQ(record.dir, item.dir()) << row.label;
        EXPECT_EQ(record.name, item.name()) << row.label;
        EXPECT_EQ(record.status, 0u) << row.label;
        EXPECT_EQ(record.kind, row.kind) << row.label;
        EXPECT_EQ(record.length, row.length) << row.label;
        EXPECT_STREQ(record.stored, row.stored) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(RdPasswd, GivesAnEmptyPlainPasswordForAMissingItem) {
    const TempDir dir;
    passwd_rec record;
    std::memset(&record, 0x55, sizeof record);
    const int before = open_descriptors();
    EXPECT_EQ(rd_passwd(dir.path(), "missing", &record, 0xFFFFFFFF), 0u);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(record.tag, 0xFFFFFFFFu);
    EXPECT_STREQ(record.name, "missing");
    EXPECT_EQ(record.status, 0u);
    EXPECT_EQ(record.kind, 0u);
    EXPECT_LT(record.length, 0);
    EXPECT_STREQ(record.stored, "");
    EXPECT_FALSE(dir.exists("missing")) << "the item was created";
}

TEST(RdPasswd, LeavesNoDescriptorOpen) {
    const ItemFile item("secret\n");
    passwd_rec record;
    const int before = open_descriptors();
    rd_passwd(item.dir(), item.name(), &record, 0);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(RdPasswd, TakesNoRecord) {
    const ItemFile item("secret\n");
    EXPECT_EQ(rd_passwd(item.dir(), item.name(), nullptr, 0), 0u);
}

// ---- update_pw ----

/// The item of a password and the one of the same name in the other directory.
struct Items {
    explicit Items(const char *content) : main(content), copy("copy\n") {}

    passwd_rec read() const {
        passwd_rec record;
        rd_passwd(main.dir(), main.name(), &record, 1);
        return record;
    }
    bool touched() const { return main.touched() || copy.touched(); }

    ItemFile main;
    ItemFile copy;
};

/// Both items hold the same hash of a password, made with the seed 1.
testing::AssertionResult both_hold(const Items &items, const char *password, time_t from) {
    const std::string line = items.main.content();
    if (items.copy.content() != line)
        return testing::AssertionFailure()
               << "the copy holds " << items.copy.content() << "and the item " << line;
    if (line.size() != 35 || line.back() != '\n')
        return testing::AssertionFailure() << "the item holds " << testing::PrintToString(line);
    const std::string hash = line.substr(0, 34);
    if (hash != openssl_hash(hash.substr(3, 8), password))
        return testing::AssertionFailure() << line << "is not the hash of " << password;
    if (!items.main.same_file() || !items.copy.same_file())
        return testing::AssertionFailure() << "an item was replaced and not rewritten";
    return salted(hash, 1, from, std::time(nullptr));
}

TEST(UpdatePw, TakesTheStepsInOrder) {
    const struct {
        const char *label;
        passwd_form form;
        int need_current;
        uint32_t status;
    } rows[] = {
        {"nothing entered", {{0, nullptr}, {0, nullptr}, {0, nullptr}}, 1, 0},
        {"nothing new, the others filled", {{3, "secret"}, {0, nullptr}, {3, "fresh"}}, 1, 0},
        {"nothing new, wrong current", {{3, "wrong"}, {0, nullptr}, {6, nullptr}}, 1, 0},
        {"code 0 with a text", {{3, "secret"}, {0, "fresh"}, {3, "fresh"}}, 1, 0},
        {"bad length", {{3, "secret"}, {6, nullptr}, {3, "fresh"}}, 1, 6},
        {"bad character", {{3, "secret"}, {7, nullptr}, {7, nullptr}}, 1, 7},
        {"bad character with texts", {{3, "secret"}, {7, "fresh"}, {3, "fresh"}}, 1, 7},
        {"any other code", {{3, "secret"}, {99, "fresh"}, {3, "fresh"}}, 1, 99},
        {"bad length before wrong current", {{3, "wrong"}, {6, nullptr}, {3, "fresh"}}, 1, 6},
        {"bad length before the confirmation", {{3, "secret"}, {6, nullptr}, {7, nullptr}}, 1, 6},
        {"confirmation missing", {{3, "secret"}, {3, "fresh"}, {0, nullptr}}, 1, 5},
        {"confirmation of bad length", {{3, "secret"}, {3, "fresh"}, {6, "fresh"}}, 1, 5},
        {"confirmation with bad character", {{3, "secret"}, {3, "fresh"}, {7, "fresh"}}, 1, 5},
        {"confirmation before wrong current", {{3, "wrong"}, {3, "fresh"}, {0, nullptr}}, 1, 5},
        {"confirmation without text", {{3, "secret"}, {3, "fresh"}, {3, nullptr}}, 1, 0},
        {"new one without text", {{3, "secret"}, {3, nullptr}, {3, "fresh"}}, 1, 0},
        {"null text before wrong current", {{3, "wrong"}, {3, "fresh"}, {3, nullptr}}, 1, 0},
        {"current missing", {{0, nullptr}, {3, "fresh"}, {3, "fresh"}}, 1, 4},
        {"current wrong", {{3, "Secret"}, {3, "fresh"}, {3, "fresh"}}, 1, 4},
        {"current empty", {{0, ""}, {3, "fresh"}, {3, "fresh"}}, 1, 4},
        {"current wrong before mismatch", {{3, "wrong"}, {3, "fresh"}, {3, "other"}}, 1, 4},
        {"current wrong, any nonzero need", {{3, "wrong"}, {3, "fresh"}, {3, "fresh"}}, -1, 4},
        {"mismatch", {{3, "secret"}, {3, "fresh"}, {3, "freshe"}}, 1, 5},
        {"mismatch in case", {{3, "secret"}, {3, "fresh"}, {3, "Fresh"}}, 1, 5},
        {"mismatch without need of current", {{3, "wrong"}, {3, "fresh"}, {3, "other"}}, 0, 5},
    };
    for (const char *stored : {"secret\n", "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1\n"}) {
        for (const auto &row : rows) {
            const Items items(stored);
            passwd_rec record = items.read();
            const passwd_rec before = record;
            record.status = 1234;
            update_pw(&row.form, &record, items.copy.dir(), row.need_current);
            EXPECT_EQ(record.status, row.status) << row.label << ", stored " << stored;
            EXPECT_FALSE(items.touched()) << row.label << ", stored " << stored;
            EXPECT_EQ(record.kind, before.kind) << row.label << ", stored " << stored;
            EXPECT_STREQ(record.stored, before.stored) << row.label << ", stored " << stored;
        }
    }
}

TEST(UpdatePw, WritesTheHashToBothItems) {
    const struct {
        const char *label;
        const char *stored;
        passwd_form form;
        int need_current;
    } rows[] = {
        {"plain", "secret\n", {{3, "secret"}, {3, "fresh"}, {3, "fresh"}}, 1},
        {"hash",
         "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1\n",
         {{3, "secret"}, {3, "fresh"}, {3, "fresh"}},
         1},
        {"code of the current one is not looked at",
         "secret\n",
         {{7, "secret"}, {3, "fresh"}, {3, "fresh"}},
         1},
        {"wrong current that is not needed",
         "secret\n",
         {{3, "wrong"}, {3, "fresh"}, {3, "fresh"}},
         0},
        {"no current that is not needed",
         "secret\n",
         {{0, nullptr}, {3, "fresh"}, {3, "fresh"}},
         0},
        {"the same password again", "fresh\n", {{3, "fresh"}, {3, "fresh"}, {3, "fresh"}}, 1},
        {"empty password stored", "\n", {{0, ""}, {3, "fresh"}, {3, "fresh"}}, 1},
    };
    for (const auto &row : rows) {
        const Items items(row.stored);
        passwd_rec record = items.read();
        const int descriptors = open_descriptors();
        const time_t before = std::time(nullptr);
        update_pw(&row.form, &record, items.copy.dir(), row.need_current);
        EXPECT_EQ(open_descriptors(), descriptors) << row.label;
        EXPECT_EQ(record.status, 1u) << row.label;
        EXPECT_EQ(record.kind, 49u) << row.label;
        EXPECT_TRUE(both_hold(items, "fresh", before)) << row.label;
    }
}

constexpr passwd_form kChange = {{3, "secret"}, {3, "fresh"}, {3, "fresh"}};

TEST(UpdatePw, LeavesTheStoredTextAsItWas) {
    const Items items("secret\n");
    passwd_rec record = items.read();
    update_pw(&kChange, &record, items.copy.dir(), 1);
    EXPECT_EQ(record.status, 1u);
    EXPECT_STREQ(record.stored, "secret");
    EXPECT_EQ(record.length, 6);
    EXPECT_EQ(record.tag, 1u);
    update_pw(&kChange, &record, items.copy.dir(), 1);
    EXPECT_EQ(record.status, 4u) << "the plain text in the record is no hash";
}

TEST(UpdatePw, AcceptsOnlyAnEmptyCurrentPasswordWhenTheItemCannotBeRead) {
    const Items items("x\n");
    passwd_rec record;
    rd_passwd(items.main.dir(), "missing", &record, 0);
    passwd_form form = kChange;
    update_pw(&form, &record, items.copy.dir(), 1);
    EXPECT_EQ(record.status, 4u) << "a text";
    form.current.text = nullptr;
    update_pw(&form, &record, items.copy.dir(), 1);
    EXPECT_EQ(record.status, 4u) << "null";
    form.current.text = "";
    update_pw(&form, &record, items.copy.dir(), 1);
    EXPECT_EQ(record.status, 1u) << "an empty text";
    EXPECT_FALSE(items.touched());
}

TEST(UpdatePw, IsChangedAlsoWhenAnItemCannotBeWritten) {
    const TempDir empty;
    {
        const ItemFile item("secret\n");
        passwd_rec record;
        rd_passwd(item.dir(), item.name(), &record, 0);
        update_pw(&kChange, &record, empty.path(), 1);
        EXPECT_EQ(record.status, 1u) << "no item in the other directory";
        EXPECT_TRUE(item.touched()) << "no item in the other directory";
        EXPECT_FALSE(empty.exists("item")) << "the other item was created";
    }
    {
        const ItemFile item("secret\n");
        passwd_rec record;
        rd_passwd(item.dir(), item.name(), &record, 0);
        update_pw(&kChange, &record, nullptr, 1);
        EXPECT_EQ(record.status, 1u) << "no other directory";
        EXPECT_TRUE(item.touched()) << "no other directory";
    }
    const ItemFile copy("copy\n");
    passwd_rec record;
    rd_passwd(empty.path(), copy.name(), &record, 0);
    update_pw(&kChange, &record, copy.dir(), 0);
    EXPECT_EQ(record.status, 1u) << "no item";
    EXPECT_EQ(copy.content().size(), 35u) << "no item";
    EXPECT_FALSE(empty.exists("item")) << "the item was created";
}

TEST(UpdatePw, WritesNothingWhenHashingFails) {
    const Items items("secret\n");
    passwd_rec record = items.read();
    const passwd_form form = {{3, "secret"}, {3, kUnhashable.c_str()}, {3, kUnhashable.c_str()}};
    update_pw(&form, &record, items.copy.dir(), 1);
    EXPECT_EQ(record.status, 2u);
    EXPECT_EQ(record.kind, 0u);
    EXPECT_FALSE(items.touched());
}

#if QMV_FAKE_ALLOCATION
TEST(UpdatePw, WritesNothingWithoutMemory) {
    const Items items("secret\n");
    for (int n = 0;; ++n) {
        passwd_rec record = items.read();
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            update_pw(&kChange, &record, items.copy.dir(), 1);
            failed = failure.failed();
        }
        if (failed == 0) {
            EXPECT_EQ(record.status, 1u);
            EXPECT_GT(n, 0) << "it allocates nothing";
            break;
        }
        EXPECT_EQ(record.status, 2u) << "allocation " << n;
        EXPECT_EQ(record.kind, 0u) << "allocation " << n;
        EXPECT_FALSE(items.touched()) << "allocation " << n;
    }
}
#endif

TEST(UpdatePw, TakesNullArguments) {
    const Items items("secret\n");
    passwd_rec record = items.read();
    update_pw(nullptr, &record, items.copy.dir(), 1);
    update_pw(&kChange, nullptr, items.copy.dir(), 1);
    EXPECT_FALSE(items.touched());
}

// ---- A web server that reads the hashes ----

TEST(PasswordHashes, LetUsersIntoARealWebServer) {
    if (const std::string missing = PasswordServer::missing(); !missing.empty())
        GTEST_SKIP() << "not installed: " << missing;
    const struct {
        const char *user;
        const char *password;
    } rows[] = {
        {"admin", "secret"},
        {"marks", kMarks},
        {"words", "two words & \"quotes\""},
        {"umlaut", "J\xC3\xB6rg"},
    };
    std::string users;
    for (const auto &row : rows) {
        const Text hash(crypt_encode(CRYPT_MD5, row.password, 1));
        users += std::string(row.user) + ":" + hash.get() + "\n";
    }
    const PasswordServer server(users);
    for (const auto &row : rows)
        EXPECT_EQ(server.status(row.user, row.password), "200") << row.user;
    // The server lets a refused client wait: one refusal is enough.
    EXPECT_EQ(server.status("admin", "Secret"), "401");
}

TEST(PasswordHashes, LetTheUserInAfterAChange) {
    if (const std::string missing = PasswordServer::missing(); !missing.empty())
        GTEST_SKIP() << "not installed: " << missing;
    const Items items("$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1\n");
    const PasswordServer server("admin:" + items.main.content());
    EXPECT_EQ(server.status("admin", "secret"), "200") << "before";
    passwd_rec record = items.read();
    passwd_form form{};
    form.current.code = chk_new_passwd("secret", &form.current.text, 4, 32);
    form.fresh.code = chk_new_passwd("fresh;1", &form.fresh.text, 4, 32);
    form.confirm.code = chk_new_passwd("fresh;1", &form.confirm.text, 4, 32);
    update_pw(&form, &record, items.copy.dir(), 1);
    ASSERT_EQ(record.status, 1u);
    // The server keeps the file for a while: the changed hash stands for another user.
    server.set_users("changed:" + items.copy.content());
    EXPECT_EQ(server.status("changed", "fresh;1"), "200") << "after";
    EXPECT_EQ(server.status("changed", "secret"), "401") << "after";
}

}  // namespace
