/* Offers the ciphers of a VPN, of which the configuration names one. */
#include <qmv/system.h>
#include <qmv/widgets.h>

static int cipher(unsigned index, int unused, selectbox_text *pair) {
    ovpn_choice choice;
    (void)unused;
    if (get_ovpn_cipher(index, 0, &choice) < 0)
        return -1;
    pair->value = choice.name;
    pair->label = choice.label;
    return 1;
}

int main(void) {
    ovpn_choice digest;
    selectbox_state state = {0, {0}};
    if (scan_select_text("AES-256-CBC", &state, cipher, 0) != 1) {
        fputs("no such cipher\n", stderr);
        return 1;
    }
    gen_selectbox_text(&state, "cipher", cipher, NULL, 0, NULL);
    for (unsigned i = 0; get_ovpn_hash(i, 0, &digest) > 0; ++i)
        printf("digest %s\n", digest.name);
    return 0;
}
