/* Cuts a text for a short message, and counts what it takes there. */
#include <qmv/util.h>

static int septets(const char *text) {
    int sum = 0;
    unsigned code = 0;
    while ((code = utf8_to_ucs2(&text, 0xFFFFFFFF)) != 0) {
        const int one = check_ucs2_to_gsm(code);
        if (one == 0)
            return -1;
        sum += one;
    }
    return sum;
}

int main(void) {
    const char *text = "5 \xE2\x82\xAC f\xC3\xBCr Tee";
    unsigned bytes = 0;
    const unsigned chars = utf8_length(text, 160, &bytes);
    printf("%u characters, %u bytes, %d septets\n", chars, bytes, septets(text));
    printf("with a snowman: %d\n", septets("\xE2\x98\x83"));

    char encoded[4];
    const char *end = ucs2_to_utf8(encoded, sizeof encoded, 0xFC);
    printf("U+00FC: %d bytes\n", (int)(end - encoded));

    char name[8];
    if (strsncpy(name, sizeof name, "livingroom") < 0)
        printf("cut to %s\n", name);
    return 0;
}
