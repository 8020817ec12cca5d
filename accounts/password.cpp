#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "accounts/crypt.h"
#include "qmv/accounts.h"
#include "qmv/items.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/owners.h"

namespace {

constexpr std::string_view kMd5Prefix = "$1$";
constexpr int kHashLength = 34;
constexpr size_t kSaltLength = 8;
static_assert(sizeof(passwd_rec::stored) == kHashLength + 1);

/// A salt for MD5-based crypt: the prefix, eight characters, a terminator.
using Salt = std::array<char, kMd5Prefix.size() + kSaltLength + 1>;

constexpr char salt_char(unsigned bits) {
    constexpr std::string_view kAlphabet =
        "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    return kAlphabet[bits & 0x3F];
}

Salt make_salt(int seed) {
    uint32_t state = static_cast<uint32_t>(::getpid()) + static_cast<uint32_t>(std::time(nullptr)) +
                     static_cast<uint32_t>(seed);
    Salt salt{'$', '1', '$'};
    for (size_t i = kMd5Prefix.size(); i + 1 < salt.size(); i += 2) {
        state = state * 1664525 + 1013904223;
        salt[i] = salt_char(state >> 16);
        salt[i + 1] = salt_char(state >> 22);
    }
    return salt;
}

/// Hashes a password. Null when that fails: crypt may return a text that is no hash then.
const char *hash(const char *password, const char *salt) {
    const char *result = qmv::call_crypt(password, salt);
    return result != nullptr && result[0] != '*' ? result : nullptr;
}

bool is_allowed(unsigned ch) {
    constexpr std::string_view kMarks = "#+,-./:;@";
    const bool letter = (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z');
    const bool digit = ch >= '0' && ch <= '9';
    return letter || digit || (ch < 0x80 && kMarks.find(static_cast<char>(ch)) != kMarks.npos);
}

/// What a posted form asks for: PW_VALID when the password is to be changed, otherwise the outcome.
uint32_t check_form(const passwd_form &form, const passwd_rec &rec, bool need_current) {
    if (form.fresh.code != PW_VALID)
        return form.fresh.code;
    if (form.confirm.code != PW_VALID)
        return PW_MISMATCH;
    if (form.confirm.text == nullptr || form.fresh.text == nullptr)
        return PW_UNCHANGED;
    if (need_current && crypt_cmp(rec.kind, rec.stored, form.current.text) != 0)
        return PW_WRONG_OLD;
    return std::strcmp(form.confirm.text, form.fresh.text) == 0 ? PW_VALID : PW_MISMATCH;
}

}  // namespace

int get_auth(const auth_entry *table) {
    const char *user = std::getenv("REMOTE_USER");
    if (table == nullptr || user == nullptr)
        return 0;
    for (; table->user != nullptr; ++table) {
        if (std::strcmp(table->user, user) == 0)
            return table->level;
    }
    return 0;
}

uint32_t crypt_detect(const char *text, int length) {
    if (text == nullptr || length != kHashLength)
        return CRYPT_PLAIN;
    const bool prefixed = std::strncmp(text, kMd5Prefix.data(), kMd5Prefix.size()) == 0;
    return prefixed && text[kMd5Prefix.size()] != '\0' ? CRYPT_MD5 : CRYPT_PLAIN;
}

char *crypt_encode(uint32_t kind, const char *password, int seed) {
    if (password == nullptr)
        return nullptr;
    const char *encoded = kind == CRYPT_MD5 ? hash(password, make_salt(seed).data()) : password;
    return encoded != nullptr ? ::strdup(encoded) : nullptr;
}

int crypt_cmp(uint32_t kind, const char *stored, const char *entered) {
    if (stored == nullptr || entered == nullptr)
        return -1;
    const char *encoded = kind != CRYPT_PLAIN ? hash(entered, stored) : entered;
    return encoded != nullptr ? std::strcmp(stored, encoded) : -1;
}

uint32_t chk_new_passwd(const char *text, const char **accepted, uint32_t min_chars,
                        uint32_t max_chars) {
    if (text == nullptr)
        return PW_UNCHANGED;
    uint32_t count = 0;
    const char *cursor = text;
    while (const unsigned ch = utf8_to_ucs2(&cursor, qmv::kNoLimit)) {
        if (!is_allowed(ch))
            return PW_BAD_CHAR;
        ++count;
    }
    if (count == 0)
        return PW_UNCHANGED;
    if (count < min_chars || count > max_chars)
        return PW_BAD_LENGTH;
    if (accepted != nullptr)
        *accepted = text;
    return PW_VALID;
}

uint32_t rd_passwd(const char *dir, const char *name, passwd_rec *rec, uint32_t tag) {
    if (rec == nullptr)
        return CRYPT_PLAIN;
    rec->tag = tag;
    rec->dir = dir;
    rec->name = name;
    rec->status = PW_UNCHANGED;
    rec->length = read_item(dir, name, rec->stored, kHashLength);
    rec->kind = crypt_detect(rec->stored, rec->length);
    return rec->kind;
}

void update_pw(const passwd_form *form, passwd_rec *rec, const char *copy_dir, int need_current) {
    if (form == nullptr || rec == nullptr)
        return;
    rec->status = check_form(*form, *rec, need_current != 0);
    if (rec->status != PW_VALID)
        return;
    rec->status = PW_HASH_FAILED;
    const qmv::Block<char> encoded(crypt_encode(CRYPT_MD5, form->fresh.text, 1));
    if (!encoded)
        return;
    const int length = static_cast<int>(std::strlen(encoded.get()));
    update_item(rec->dir, rec->name, encoded.get(), length);
    update_item(copy_dir, rec->name, encoded.get(), length);
    rec->status = PW_CHANGED;
    rec->kind = CRYPT_MD5;
    // Intended: the stored text stays as it was read.
}
