/* Prints the hash of the password that is its argument, when it is accepted in turn. */
#include <qmv.h>
#include <stdlib.h>

int main(int count, char **arguments) {
    if (count != 2)
        return 2;
    char *hash = crypt_encode(CRYPT_MD5, arguments[1], 0);
    if (hash == NULL)
        return 3;
    int differs = crypt_cmp(CRYPT_MD5, hash, arguments[1]);
    puts(hash);
    free(hash);
    return differs != 0;
}
