// Passwords: everybody changes the own one; the administrator sets that of the read-only user, too.
#include "frame/accounts.h"

#include "pages.h"

namespace {

constexpr const char *kRules = "8 to 32 letters, digits and the marks # + , - . / : ; @";

// The form of each account, in the order of kAccounts. Names of fields differ: one page may show
// both forms.
struct Fields {
    Field current, fresh, confirm;
};

constexpr Fields kFields[] = {
    {{"admin_current", "Current password"},
     {"admin_fresh", "New password", kRules},
     {"admin_confirm", "New password again"}},
    {{"viewer_current", "Current password"},
     {"viewer_fresh", "New password", kRules},
     {"viewer_confirm", "New password again"}},
};
static_assert(std::size(kFields) == std::size(kAccounts));

constexpr unsigned kMinChars = 8;
constexpr unsigned kMaxChars = 32;

passwd_field entered(const Console &console, const Field &field) {
    passwd_field result{PW_UNCHANGED, nullptr};
    const char *text = console.value(field.name);
    // The library's check ends at a character that it cannot store, an emoji for example.
    for (const char *cursor = text; cursor != nullptr && *cursor != '\0'; ++cursor) {
        if (static_cast<unsigned char>(*cursor) > 0x7E)
            return {PW_BAD_CHAR, nullptr};
    }
    result.code = chk_new_passwd(text, &result.text, kMinChars, kMaxChars);
    return result;
}

// Says beside the field that it concerns why a password was not changed.
void explain(Console &console, const Fields &fields, uint32_t status) {
    switch (status) {
        case PW_WRONG_OLD:
            return console.refuse(fields.current, "This is not the current password.");
        case PW_BAD_CHAR:
            return console.refuse(fields.fresh, "Only letters, digits and # + , - . / : ; @ do.");
        case PW_BAD_LENGTH:
            return console.refuse(fields.fresh, "Use 8 to 32 characters.");
        case PW_MISMATCH:
            return console.refuse(fields.confirm, "This is not the same as the new password.");
        case PW_HASH_FAILED:
            return console.refuse(fields.fresh, "The password could not be hashed. Try again.");
        default:
            return console.refuse(fields.fresh, "Enter a new password.");
    }
}

// update_pw() does not report a failed write: the item tells.
bool is_stored(const std::string &items, const Account &account, const char *password) {
    passwd_rec record{};
    rd_passwd(items.c_str(), account.name, &record, 0);
    return crypt_cmp(record.kind, record.stored, password) == 0;
}

// Puts the former password back everywhere after a change that failed halfway.
void undo(Console &console, const passwd_rec &former) {
    const auto restore = [&](const char *dir) {
        return update_item(dir, former.name, former.stored, static_cast<int>(sizeof former.stored));
    };
    const bool restored = restore(former.dir) >= 0 &&
                          restore(console.path("flash/accounts").c_str()) >= 0 &&
                          write_htpasswd(console.path(""));
    console.say("bad", restored ? "The new password could not be written. The old one still holds."
                                : "The new password could not be written everywhere: the old one "
                                  "or the new one may be asked for. Try again.");
}

void change(Console &console, const Account &account, const Fields &fields) {
    const std::string items = console.items("accounts");
    const std::string copies = console.path("flash/accounts");
    const bool is_own = console.user() == account.name;
    passwd_rec record{};
    rd_passwd(items.c_str(), account.name, &record, 0);
    passwd_form form{};
    form.current.text = console.value(fields.current.name);
    form.fresh = entered(console, fields.fresh);
    form.confirm = entered(console, fields.confirm);
    update_pw(&form, &record, copies.c_str(), is_own ? 1 : 0);
    if (record.status != PW_CHANGED) {
        explain(console, fields, record.status);
        return console.report();
    }
    if (!is_stored(items, account, form.fresh.text) ||
        !is_stored(copies, account, form.fresh.text) || !write_htpasswd(console.path("")))
        return undo(console, record);
    console.say("good", std::string("Changed: the password of ") + account.name +
                            (is_own ? ". The browser will ask for it." : "."));
    console.log(std::string("changed the password of ") + account.name);
}

void print_password(const Console &console, const Field &field, const char *autocomplete) {
    console.field(field, [&](const char *attributes) {
        gen_xtextbox(128, "", PRINT_PASSWORD, " autocomplete=\"%s\" required%s", autocomplete,
                     attributes);
    });
}

void print_form(Console &console, const Account &account, const Fields &fields) {
    const bool is_own = console.user() == account.name;
    const std::string heading =
        is_own ? "Your password" : std::string("Password of ") + account.name;
    console.open_form(account.name, heading.c_str());
    if (is_own)
        print_password(console, fields.current, "current-password");
    print_password(console, fields.fresh, "new-password");
    print_password(console, fields.confirm, "new-password");
    console.close_form("Change password");
}

void print_users(const Console &console) {
    print_str("<section class=\"card\">\n<h2>Users</h2>\n<dl class=\"facts\">\n");
    for (const Account &account : kAccounts) {
        passwd_rec record{};
        rd_passwd(console.items("accounts").c_str(), account.name, &record, 0);
        html_printf(1, "<dt>%s</dt><dd>%s, password %s</dd>\n", account.name, account.label,
                    record.kind == CRYPT_MD5 ? "stored as a hash" : "never changed");
    }
    print_str("</dl>\n</section>\n");
}

}  // namespace

int main() {
    Console console(kAccount);
    const auto may_change = [&](const Account &account) {
        return console.is_administrator() || console.user() == account.name;
    };
    for (size_t i = 0; i < std::size(kAccounts); ++i) {
        if (!console.is_form(kAccounts[i].name))
            continue;
        if (!may_change(kAccounts[i]))
            console.stop("403 Forbidden", "You may change your own password only.");
        change(console, kAccounts[i], kFields[i]);
    }
    console.open_page();
    if (console.is_administrator())
        print_users(console);
    for (size_t i = 0; i < std::size(kAccounts); ++i) {
        if (may_change(kAccounts[i]))
            print_form(console, kAccounts[i], kFields[i]);
    }
    console.close_page();
    return 0;
}
