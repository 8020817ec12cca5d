/* Changes a password as a posted form asks, and says what came of it. */
#include <qmv/accounts.h>
#include <qmv/items.h>

static const char *outcome(uint32_t status) {
    switch (status) {
        case PW_CHANGED:
            return "changed";
        case PW_WRONG_OLD:
            return "the current password is wrong";
        case PW_MISMATCH:
            return "both new ones must be equal";
        case PW_BAD_LENGTH:
            return "4 to 16 characters";
        case PW_BAD_CHAR:
            return "only letters, digits and # + , - . / : ; @";
        default:
            return "not changed";
    }
}

static void change(passwd_rec *record, const char *current, const char *fresh,
                   const char *confirm) {
    passwd_form form = {{0, current}, {0, NULL}, {0, NULL}};
    form.fresh.code = chk_new_passwd(fresh, &form.fresh.text, 4, 16);
    form.confirm.code = chk_new_passwd(confirm, &form.confirm.text, 4, 16);
    update_pw(&form, record, ".", 1);
    printf("%s, %s, %s: %s\n", current, fresh, confirm, outcome(record->status));
}

int main(void) {
    passwd_rec record;
    if (create_item(".", "password", "1234", 4) < 0) {
        perror("password");
        return 1;
    }
    rd_passwd(".", "password", &record, 0);
    change(&record, "4321", "sesame", "sesame");
    change(&record, "1234", "sesame", "seasame");
    change(&record, "1234", "abc", "abc");
    change(&record, "1234", "a b c d", "a b c d");
    change(&record, "1234", "sesame", "sesame");

    const uint32_t kind = rd_passwd(".", "password", &record, 0);
    printf("stored as a %s\n", kind == CRYPT_MD5 ? "hash" : "plain text");
    return 0;
}
