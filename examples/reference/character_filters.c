/* What each kind of text box keeps of the same text. */
#include <qmv/widgets.h>

static int keep_upper(unsigned pos, unsigned ch) {
    (void)pos;
    return ch >= 'A' && ch <= 'Z';
}

static void show(const char *kind, textbox_filter filter) {
    char kept[64];
    if (scan_textbox("*Ab 1.2:$x", 20, 1, kept, sizeof kept - 1, filter) == 1)
        printf("%s %s\n", kind, kept);
}

int main(void) {
    show("digits:       ", textbox_filter_digit);
    show("letters too:  ", textbox_filter_alnum);
    show("host name:    ", textbox_filter_dns);
    show("with IPv6:    ", textbox_filter_dns6);
    show("certificate:  ", textbox_filter_asn1);
    show("PPP password: ", textbox_filter_ppp_password);
    show("shell:        ", textbox_filter_shell_quoted);
    show("a program's:  ", keep_upper);
    printf("%s\n", passwd_chars());
    return 0;
}
