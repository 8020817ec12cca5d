// Passwords and certificates when hashing, files, commands or memory fail.
#include <gtest/gtest.h>
#include <qmv/accounts.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Aside;
using qmv_test::Call;
using qmv_test::from;
using qmv_test::in_quotes;
using qmv_test::Manner;
using qmv_test::only;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::TempDir;

constexpr const char *kSecretHash = "$1$saltsalt$qjXMvbEw8oaL.CzflDtaK/";  // of "password"

/* ---- Passwords ---- */

TEST(CryptEncode, GivesNoHashWhenItFails) {
    Scenario([](const TempDir &) {
        char *hash = crypt_encode(CRYPT_MD5, "secret", 1);
        const bool right = hash != nullptr && std::strlen(hash) == 34;
        const std::string text = hash == nullptr ? "null" : right ? "a hash" : "no hash";
        std::free(hash);
        return text;
    })
        .gives("a hash")
        .fails(Call::kCrypt, "null")
        .fails(Call::kStrdup, "null")
        .check();
}

TEST(CryptEncode, GivesNoCopyWithoutMemory) {
    Scenario([](const TempDir &) {
        char *copy = crypt_encode(CRYPT_PLAIN, "secret", 1);
        const std::string text = copy != nullptr ? copy : "null";
        std::free(copy);
        return text;
    })
        .gives("secret")
        .fails(Call::kStrdup, "null")
        .check();
}

TEST(CryptCmp, LetsNobodyInWhenHashingFails) {
    Scenario([](const TempDir &) {
        return std::string(crypt_cmp(CRYPT_MD5, kSecretHash, "password") == 0 ? "right" : "wrong");
    })
        .gives("right")
        .fails(Call::kCrypt, "wrong")
        .check();
}

TEST(RdPasswd, IsPlainAndEmptyWhenItFails) {
    Scenario([](const TempDir &dir) {
        passwd_rec rec{};
        const uint32_t kind = rd_passwd(dir.path(), "password", &rec, 7);
        return std::to_string(kind) + " " + std::to_string(rec.kind) + " " +
               std::to_string(rec.length) + " " + in_quotes(rec.stored);
    })
        .with("password", std::string(kSecretHash) + "\n")
        .gives("49 49 34 " + in_quotes(kSecretHash))
        .fails(Call::kOpen, "0 0 -1 \"\"")
        .fails(Call::kRead, "0 0 -1 \"\"")
        .check();
}

/// A new hash differs each time: one that is right becomes a word.
void settle(const TempDir &dir, const char *name) {
    std::string stored = dir.read(name);
    if (stored.empty() || stored.back() != '\n')
        return;
    stored.pop_back();
    if (stored.size() == 34 && crypt_cmp(CRYPT_MD5, stored.c_str(), "new") == 0)
        dir.write(name, "hash of new");
}

std::string change_password(const TempDir &dir) {
    const std::string first = dir.file("a");
    const std::string second = dir.file("b");
    passwd_rec rec{};
    {
        const Aside aside;
        rd_passwd(first.c_str(), "password", &rec, 7);
    }
    const passwd_form form{{PW_UNCHANGED, "password"}, {PW_VALID, "new"}, {PW_VALID, "new"}};
    update_pw(&form, &rec, second.c_str(), 1);
    const Aside aside;
    settle(dir, "a/password");
    settle(dir, "b/password");
    return std::to_string(rec.status);
}

TEST(UpdatePw, LeavesTheOtherItemAloneWhenOneFails) {
    const std::string in_a = " a/password=\"hash of new\"";
    const std::string in_b = " b/password=\"hash of new\"";
    Scenario(change_password)
        .prepared([](const TempDir &dir) {
            for (const char *name : {"a", "b"}) {
                std::filesystem::create_directory(dir.file(name));
                dir.write(std::string(name) + "/password", std::string(kSecretHash) + "\n");
            }
        })
        .gives("1" + in_a + in_b)
        .fails(Call::kCrypt, "4", only(1))
        .fails(Call::kCrypt, "2", only(2))
        .fails(Call::kStrdup, "2")
        .fails(Call::kOpen, "1" + in_b, only(1))
        .fails(Call::kOpen, "1" + in_b, only(2))
        .fails(Call::kOpen, "1" + in_a, only(3))
        .fails(Call::kOpen, "1" + in_a, only(4))
        .fails(Call::kRead, "1" + in_b, only(1))
        .fails(Call::kRead, "1" + in_a, only(2))
        .fails(Call::kWrite, "1 a/password=\"\"" + in_b, only(1))
        .fails(Call::kWrite, "1" + in_a + " b/password=\"\"", only(2))
        .goes(Manner::kFillsUp, Call::kWrite, "1 a/password=\"$\" b/password=\"\"", only(1))
        .goes(Manner::kFillsUp, Call::kWrite, "1" + in_a + " b/password=\"$\"", only(2))
        .check();
}

/* ---- Certificates ---- */

// What the library adds to a command is left out as a comment. One whose output is not read must
// not mind.
constexpr const char *kPrintsFile = "exec 2>/dev/null; echo file #";
constexpr const char *kPrintsKey = "exec 2>/dev/null; echo key #";

/// A directory with two certificates, the number that each holds, and one with their keys.
void add_certificates(const TempDir &dir) {
    for (const char *name : {"certs", "keys"})
        std::filesystem::create_directory(dir.file(name));
    dir.write("certs/a.pem", "7\n");
    dir.write("certs/b.pem", "8\n");
    dir.write("keys/a.key", "");
    dir.write("keys/b.key", "");
}

TEST(CertDirSetup, HoldsNoListingWhenItFails) {
    Scenario([](const TempDir &dir) {
        cert_dir cd{};
        const int returned = cert_dir_setup(&cd, dir.file("certs").c_str(), nullptr, nullptr);
        std::string text = std::to_string(returned) + " " + std::to_string(cd.count);
        for (int i = 0; i < cd.count; ++i)
            text += std::string(" ") + cd.entries[i]->d_name;
        text += cd.entries != nullptr ? "" : " null";
        cert_dir_free(&cd);
        return text;
    })
        .prepared(add_certificates)
        .gives("2 2 a.pem b.pem")
        .fails(Call::kScandir, "-1 -1 null")
        .fails(Call::kMalloc, "-1 -1 null")
        .check();
}

std::string shown;

uint32_t note_file(uint32_t, const char *name, int, const char *tooltip) {
    shown += std::string(name) + (tooltip != nullptr ? tooltip : " -");
    return 1;
}

void note_related(uint32_t, uint32_t number, uint32_t, const char *tooltip) {
    shown += ", " + std::to_string(number) + (tooltip != nullptr ? tooltip : " -");
}

TEST(ShowCertificates, SkipsWhatFailed) {
    const std::string file = "a.pem title=\"file\"";
    const std::string related = ", 7 title=\"key\"";
    Scenario([](const TempDir &dir) {
        const std::string certs = dir.file("certs");
        const std::string keys = dir.file("keys");
        const cert_tool info{nullptr, kPrintsFile, ""};
        const cert_related rows[] = {{keys.c_str(), ".key", nullptr, kPrintsKey, "", 0, 1},
                                     {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
        cert_dir cd{};
        shown.clear();
        {
            const Aside aside;
            std::filesystem::remove(dir.file("certs/b.pem"));
            cert_dir_setup(&cd, certs.c_str(), &info, rows);
        }
        show_certificates(&cd, 0, note_file, note_related);
        cert_dir_free(&cd);
        const Aside aside;
        dir.write("certs/b.pem", "8\n");
        return shown;
    })
        .prepared(add_certificates)
        .gives(file + related)
        .fails(Call::kFormat, "", only(1))
        .fails(Call::kFormat, "a.pem -" + related, only(2))
        .fails(Call::kFormat, "a.pem -" + related, only(3))
        .fails_for_good(Call::kFormat, "a.pem -", only(2))
        .fails_for_good(Call::kFormat, "a.pem -", only(3))
        .fails(Call::kFormat, file, only(4))
        .fails(Call::kFormat, file + ", 7 -", only(5))
        .fails(Call::kFormat, file + ", 7 -", only(6))
        .fails(Call::kMalloc, "a.pem -" + related)
        .fails_for_good(Call::kMalloc, "a.pem -")
        .fails(Call::kMalloc, file + ", 7 -", from(4))
        .fails_for_good(Call::kMalloc, file + ", 7 -", from(4))
        .fails(Call::kPopen, "a.pem -" + related, only(1))
        .fails(Call::kPopen, file + ", 7 -", only(2))
        .fails(Call::kFread, "a.pem -" + related, only(1))
        .fails(Call::kFread, file + related, only(2))
        .fails(Call::kFread, file + ", 7 -", only(3))
        .fails(Call::kFread, file + related, only(4))
        .fails(Call::kPclose, file + related)
        .fails(Call::kOpen, file)
        .fails(Call::kRead, file)
        .check();
}

TEST(DeleteCertificate, DeletesNothingUnlessTheFileItselfGoes) {
    const std::string both = " -certs/a.pem -keys/a.key";
    Scenario([](const TempDir &dir) {
        const std::string certs = dir.file("certs/");
        const std::string keys = dir.file("keys/");
        const cert_related rows[] = {{keys.c_str(), ".key", nullptr, "true", "", 0, 1},
                                     {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
        cert_dir cd{};
        {
            const Aside aside;
            cert_dir_setup(&cd, certs.c_str(), nullptr, rows);
        }
        const std::string returned = result(delete_certificate(&cd, 0));
        const std::string count = std::to_string(cd.count);
        cert_dir_free(&cd);
        return returned + ", " + count;
    })
        .prepared(add_certificates)
        .gives("1, 1" + both)
        .fails(Call::kFormat, "-1 ENOMEM, 2", only(1))
        .fails(Call::kFormat, "1, 1 -certs/a.pem", only(2))
        .fails_for_good(Call::kFormat, "-1 ENOMEM, -1 -certs/a.pem", only(2))
        .fails(Call::kUnlink, "-1 {error}, 2", only(1))
        .fails(Call::kUnlink, "1, 1 -certs/a.pem", only(2))
        .fails(Call::kScandir, "-1 {error}, -1" + both)
        .fails(Call::kMalloc, "-1 ENOMEM, -1" + both)
        .check();
}

TEST(AsprintTooltip, GivesNoneWhenItFails) {
    for (const char *wrapper : {static_cast<const char *>(nullptr), kPrintsKey}) {
        SCOPED_TRACE(wrapper != nullptr);
        Scenario([wrapper](const TempDir &) {
            char *tooltip = nullptr;
            const int returned = asprint_tooltip(&tooltip, "a.pem", wrapper, kPrintsKey, "");
            const std::string text =
                std::to_string(returned) + " " + (tooltip != nullptr ? in_quotes(tooltip) : "null");
            std::free(tooltip);
            return text;
        })
            .gives("12 \" title=\"key\"\"")
            .fails(Call::kMalloc, "-1 null")
            .fails(Call::kFormat, "-1 null")
            .fails(Call::kPopen, "-1 null")
            .fails(Call::kFread, "-1 null", only(1))
            .fails(Call::kFread, "12 \" title=\"key\"\"", only(2))
            .fails(Call::kPclose, "12 \" title=\"key\"\"")
            .check();
    }
}

const std::string kEmptyChoice = "<option value=\"\" selected>none</option>\\r\\n</select>\"";
const std::string kTwoFiles =
    "<option value=\"YS5wZW0=\">a.pem</option>\\r\\n"
    "<option value=\"Yi5wZW0=\" selected>b.pem</option>\\r\\n";

TEST(GenSelectboxCerts, IsDisabledWhenTheDirectoryCannotBeRead) {
    const std::string disabled = "9 printed \"<select name=\"c\" disabled>\\r\\n" + kEmptyChoice;
    Scenario([](const TempDir &dir) {
        return std::to_string(
            gen_selectbox_certs(dir.file("certs").c_str(), "c", "b.pem", "none", 0, nullptr));
    })
        .prepared(add_certificates)
        .gives("9 printed \"<select name=\"c\">\\r\\n" + kTwoFiles + "</select>\"")
        .fails(Call::kScandir, disabled)
        .fails(Call::kMalloc, disabled)
        .check();
}

TEST(GenSelectboxCertsItem, IsDisabledWhenTheItemOrTheDirectoryCannotBeRead) {
    const std::string without_item =
        "32769 printed \"<select name=\"c\" disabled>\\r\\n"
        "<option value=\"YS5wZW0=\">a.pem</option>\\r\\n"
        "<option value=\"Yi5wZW0=\">b.pem</option>\\r\\n" +
        kEmptyChoice;
    const std::string without_directory =
        "32768 printed \"<select name=\"c\" disabled>\\r\\n" + kEmptyChoice;
    for (const uint32_t max_len : {20u, 5000u}) {
        SCOPED_TRACE(max_len);
        Scenario scenario([max_len](const TempDir &dir) {
            return std::to_string(gen_selectbox_certs_item(
                dir.path(), "item", "c", dir.file("certs").c_str(), "none", max_len, nullptr));
        });
        scenario.prepared(add_certificates).with("item", "b.pem\n");
        scenario.gives("32768 printed \"<select name=\"c\">\\r\\n" + kTwoFiles +
                       "<option value=\"\">none</option>\\r\\n</select>\"");
        scenario.fails(Call::kOpen, without_item).fails(Call::kRead, without_item);
        scenario.fails(Call::kScandir, without_directory);
        scenario.fails(Call::kMalloc, without_directory);
        if (max_len == 5000) {
            scenario.fails(Call::kMalloc, without_item, only(1));
            scenario.fails_for_good(
                Call::kMalloc, "32769 printed \"<select name=\"c\" disabled>\\r\\n" + kEmptyChoice,
                only(1));
        }
        scenario.check();
    }
}

TEST(UpdateCertItem, LeavesTheItemUnlessWritingItFails) {
    for (const uint32_t max_len : {20u, 5000u}) {
        SCOPED_TRACE(max_len);
        Scenario scenario([max_len](const TempDir &dir) {
            return result(update_cert_item(dir.path(), "item", "YS5wZW0=", max_len));
        });
        scenario.with("item", "b.pem\n").gives("6 item=\"a.pem\\n\"");
        scenario.fails(Call::kOpen, "-1 {error}").fails(Call::kRead, "-1 {error}");
        scenario.fails(Call::kWrite, "-1 {error} item=\"\"");
        scenario.goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"a\"");
        if (max_len == 5000)
            scenario.fails(Call::kMalloc, "-1 ENOMEM");
        scenario.check();
    }
}

}  // namespace
