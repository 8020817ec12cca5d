// The VPN tunnel: where it leads, how it is encrypted, and the certificate that it shows.
#include <cstring>

#include "frame/check.h"
#include "pages.h"

namespace {

constexpr Field kOn = {"on", "Keep the tunnel up"};
constexpr Field kRemote = {"remote", "Remote name or address", "Such as vpn.example.net."};
constexpr Field kPort = {"port", "Port"};
constexpr Field kProtocol = {"protocol", "Protocol"};
constexpr Field kCipher = {"cipher", "Cipher"};
constexpr Field kDigest = {"digest", "Digest"};
constexpr Field kCertificate = {"certificate", "Certificate"};

constexpr unsigned kRemoteChars = 128;
constexpr unsigned kItemBytes = 64;
constexpr int kNameBytes = 255;  // of a file

using Choice = int(uint32_t index, uint32_t spare, ovpn_choice *out);

template <Choice *get>
int options(unsigned index, int /*arg*/, selectbox_text *pair) {
    ovpn_choice choice{};
    const int result = get(index, 0, &choice);
    *pair = {choice.name, choice.label};
    return result;
}

int protocols(unsigned index, int /*arg*/, selectbox_text *pair) {
    static constexpr selectbox_text kProtocols[] = {{"udp", "UDP"}, {"tcp", "TCP"}};
    if (index >= std::size(kProtocols))
        return -1;
    *pair = kProtocols[index];
    return 1;
}

// Takes a certificate that is there, or none: the posted value is a file name in disguise.
std::string check_certificate(Console &console) {
    char name[kNameBytes + 1] = "";
    const std::string posted = posted_text(console, kCertificate);
    const int length = save_selectbox_cert(name, kNameBytes, posted.c_str());
    const bool is_name = length > 0 && std::strlen(name) == static_cast<size_t>(length) &&
                         *name != '.' && std::strchr(name, '/') == nullptr;
    if (posted.empty())
        return "";
    if (!is_name || stat_item(console.path("certificates").c_str(), name) != 0)
        console.refuse(kCertificate, "This certificate is not there any more. Choose another one.");
    return is_name ? name : "";
}

void save(Console &console) {
    const std::string items = console.items("vpn");
    const char *dir = items.c_str();
    const bool on = console.has(kOn.name);
    const std::string remote = check_text(console, kRemote, on ? 1 : 0, kRemoteChars,
                                          textbox_filter_dns6, "letters, digits, . - and :");
    const unsigned port = check_number(console, kPort, 1, 65535);
    const char *protocol = check_option(console, kProtocol, protocols);
    const char *cipher = check_option(console, kCipher, options<get_ovpn_cipher>);
    const char *digest = check_option(console, kDigest, options<get_ovpn_hash>);
    const std::string certificate = check_certificate(console);
    if (on && certificate.empty())
        console.refuse(kCertificate, "The tunnel needs a certificate.");
    if (console.accepted()) {
        console.wrote("Tunnel", wr_checkbox_item(dir, kOn.name, checkbox_flags(on ? 1 : 0, 0)));
        console.wrote(kRemote.label,
                      update_textbox(dir, kRemote.name, remote.c_str(), kRemoteChars));
        console.wrote(kPort.label, wr_numberbox_item(dir, kPort.name, port));
        console.wrote(kProtocol.label, update_textbox(dir, kProtocol.name, protocol, kItemBytes));
        console.wrote(kCipher.label, update_textbox(dir, kCipher.name, cipher, kItemBytes));
        console.wrote(kDigest.label, update_textbox(dir, kDigest.name, digest, kItemBytes));
        console.wrote(
            kCertificate.label,
            update_cert_item(dir, kCertificate.name, console.value(kCertificate.name), kNameBytes));
    }
    console.report();
}

void print_select(const Console &console, const Field &field, selectbox_text_fn choices) {
    const std::string items = console.items("vpn");
    console.field(field, [&](const char *attributes) {
        selectbox_state state{};
        rd_selectbox_text_item(items.c_str(), field.name, &state, choices, 0, "none");
        scan_select_text(console.typed_text(field.name), &state, choices, 0);
        gen_selectbox_text(&state, nullptr, choices, nullptr, 0, attributes);
    });
}

void print_protocols(const Console &console) {
    const char *typed = console.typed_text(kProtocol.name);
    const std::string current = typed != nullptr ? typed : console.item("vpn", kProtocol.name);
    console.group(kProtocol, [&] {
        selectbox_text option{};
        for (unsigned i = 0; protocols(i, 0, &option) > 0; ++i) {
            print_str("<label class=\"choice\">");
            gen_radio_string(kProtocol.name, option.value, current.c_str(), nullptr, 0);
            std::printf(" %s</label>\n", option.label);
        }
    });
}

void print_certificates(const Console &console) {
    const std::string items = console.items("vpn");
    const std::string files = console.path("certificates");
    const char *typed = console.typed_text(kCertificate.name);
    char name[kNameBytes + 1] = "";
    console.field(kCertificate, [&](const char *attributes) {
        if (typed != nullptr && save_selectbox_cert(name, kNameBytes, typed) < 1)
            *name = '\0';
        if (typed != nullptr)
            gen_selectbox_certs(files.c_str(), nullptr, name, "none", PRINT_EMPTY_CHOICE,
                                attributes);
        else
            gen_selectbox_certs_item(items.c_str(), kCertificate.name, nullptr, files.c_str(),
                                     "none", kNameBytes, attributes);
    });
}

void print_form(Console &console) {
    const std::string items = console.items("vpn");
    const char *dir = items.c_str();
    console.open_form("vpn", "Tunnel");
    console.check_field(kOn, rd_checkbox_item(dir, kOn.name, 0));
    console.text_field(kRemote, kRemoteChars, [&](const char *attributes) {
        gen_xtextbox_item(dir, kRemote.name, kRemoteChars, 0, "%s", attributes);
    });
    console.text_field(kPort, 5, [&](const char *attributes) {
        unsigned port = 0;
        const unsigned flags = rd_numberbox_item(dir, kPort.name, &port, 1194);
        gen_xnumberbox(5, port, flags, " inputmode=\"numeric\"%s", attributes);
    });
    print_protocols(console);
    console.next_section("Encryption");
    print_select(console, kCipher, options<get_ovpn_cipher>);
    print_select(console, kDigest, options<get_ovpn_hash>);
    print_certificates(console);
    console.close_form("Save");
}

}  // namespace

int main() {
    Console console(kVpn);
    if (console.is_form("vpn"))
        save(console);
    console.open_page();
    print_form(console);
    console.close_page();
    return 0;
}
