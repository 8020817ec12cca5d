#include "qmv/widgets.h"

namespace {

constexpr unsigned low16(unsigned ch) {
    return ch & 0xFFFF;
}

constexpr bool is_digit(unsigned ch) {
    return ch >= '0' && ch <= '9';
}

constexpr bool is_letter(unsigned ch) {
    return (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z');
}

constexpr bool is_hex_digit(unsigned ch) {
    return is_digit(ch) || (ch >= 'A' && ch <= 'F') || (ch >= 'a' && ch <= 'f');
}

constexpr bool is_quote(unsigned ch) {
    return ch == '"' || ch == '\'' || ch == '`';
}

}  // namespace

int textbox_filter_alnum(unsigned /*pos*/, unsigned ch) {
    ch = low16(ch);
    return is_letter(ch) || is_digit(ch) ? 1 : 0;
}

int textbox_filter_digit(unsigned /*pos*/, unsigned ch) {
    return is_digit(low16(ch)) ? 1 : 0;
}

int textbox_filter_ascii_printable(unsigned /*pos*/, unsigned ch) {
    ch = low16(ch);
    return ch >= 0x21 && ch <= 0x7E && !is_quote(ch) ? 1 : 0;
}

int textbox_filter_dns(unsigned pos, unsigned ch) {
    ch = low16(ch);
    return ch == '-' || ch == '.' ? 1 : textbox_filter_alnum(pos, ch);
}

int textbox_filter_dns6(unsigned pos, unsigned ch) {
    return low16(ch) == ':' ? 1 : textbox_filter_dns(pos, ch);
}

int textbox_filter_cname(unsigned pos, unsigned ch) {
    ch = low16(ch);
    return ch == '_' || ch == '@' ? 1 : textbox_filter_dns(pos, ch);
}

int textbox_filter_asn1(unsigned pos, unsigned ch) {
    ch = low16(ch);
    return ch == ' ' || ch == '*' ? 1 : textbox_filter_cname(pos, ch);
}

int textbox_filter_ip6prefix(unsigned /*pos*/, unsigned ch) {
    ch = low16(ch);
    return is_hex_digit(ch) || ch == ':' || ch == '/' ? 1 : 0;
}

int textbox_filter_octet(unsigned pos, unsigned ch) {
    ch = low16(ch);
    // Intended: control characters are accepted, and a blank as soon as something was kept.
    return ch < 0x80 && (ch != ' ' || pos != 0) ? 1 : 0;
}

int textbox_filter_ppp_username(unsigned /*pos*/, unsigned ch) {
    ch = low16(ch);
    // Intended: DEL is accepted, one character more than the printable ones.
    return ch >= 0x21 && ch <= 0x7F && !is_quote(ch) ? 1 : 0;
}

int textbox_filter_ppp_password(unsigned pos, unsigned ch) {
    const unsigned low = low16(ch);
    // Intended: a wildcard is accepted as soon as something was kept.
    return pos == 0 && (low == '*' || low == '?') ? 0 : textbox_filter_ppp_username(pos, ch);
}

int textbox_filter_shell_quoted(unsigned /*pos*/, unsigned ch) {
    ch = low16(ch);
    // Intended: control characters are accepted.
    return ch != '\\' && ch != '$' && !is_quote(ch) ? 1 : 0;
}

int textbox_filter_smtp(unsigned pos, unsigned ch) {
    const unsigned low = low16(ch);
    const bool refused = low == ':' || low == ' ' || low == '*' || low == '?';
    return refused ? 0 : textbox_filter_shell_quoted(pos, ch);
}

const char *passwd_chars() {
    return "a-z A-Z 0-9 . , - + / : ; # @";
}
