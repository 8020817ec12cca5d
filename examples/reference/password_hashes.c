/* Stores a password as a hash and checks what a user enters. */
#include <qmv/accounts.h>
#include <stdlib.h>
#include <string.h>

static void enter(uint32_t kind, const char *stored, const char *entered) {
    printf("%s: %s\n", entered, crypt_cmp(kind, stored, entered) == 0 ? "right" : "wrong");
}

int main(void) {
    char *hash = crypt_encode(CRYPT_MD5, "open sesame", 1);
    if (hash == NULL) {
        fputs("the password cannot be hashed\n", stderr);
        return 1;
    }
    /* The salt differs each time, the length does not. */
    const int length = (int)strlen(hash);
    const uint32_t kind = crypt_detect(hash, length);
    printf("%d characters, %s\n", length, kind == CRYPT_MD5 ? "hashed" : "plain");
    enter(kind, hash, "open sesame");
    enter(kind, hash, "open barley");
    free(hash);

    /* A password from the factory may not be hashed yet. */
    const char *plain = "1234";
    enter(crypt_detect(plain, (int)strlen(plain)), plain, "1234");
    return 0;
}
