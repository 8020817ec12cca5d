/* Encodes credentials, decodes them again, and sums up a text. */
#include <qmv/util.h>
#include <string.h>

int main(void) {
    const char *text = "admin:secret";
    char encoded[32];
    unsigned char decoded[16];
    int length =
        base64_encode(encoded, sizeof encoded, (const unsigned char *)text, (int)strlen(text));
    if (length < 0) {
        fputs("does not fit\n", stderr);
        return 1;
    }
    printf("%s\n", encoded);
    length = base64_decode(decoded, sizeof decoded, encoded, length);
    if (length < 0)
        return 1;
    printf("%.*s\n", length, (const char *)decoded);
    printf("one character too few: %d\n", base64_decode(decoded, sizeof decoded, "YWJ", 3));
    printf("no room: %d\n", base64_decode(decoded, 2, "YWJj", 4));

    /* In pieces, then inverted: the usual CRC-32 of "123456789". */
    unsigned crc = crc32(0xFFFFFFFF, (const unsigned char *)"1234", 4);
    crc = crc32(crc, (const unsigned char *)"56789", 5);
    printf("%08x\n", ~crc);
    return 0;
}
