// The way to the internet: connection mode, provider, user name and password, DNS, MTU, VLAN.
#include <cstring>

#include "frame/check.h"
#include "pages.h"

namespace {

constexpr Field kMode = {"mode", "Connection"};
constexpr Field kProvider = {"provider", "Provider",
                             "The user name is completed for this provider."};
constexpr Field kUser = {"ppp_user", "User name"};
constexpr Field kPassword = {"ppp_password", "Password",
                             "To change it, replace all bullets; untouched, it stays."};
constexpr Field kDns1 = {"dns1", "First DNS server", "Empty: the provider's."};
constexpr Field kDns2 = {"dns2", "Second DNS server"};
constexpr Field kMtu = {"mtu", "Largest packet (MTU)", "Bytes; 1492 for PPPoE."};
constexpr Field kVlan = {"vlan", "VLAN", "0: untagged."};

constexpr unsigned kUserChars = 64;
constexpr unsigned kPasswordChars = 64;
constexpr unsigned kItemBytes = 64;
constexpr unsigned kDatabaseFields = 3;  // key, name, what a user name ends in
constexpr unsigned kBullet = 0x2022;

int modes(unsigned index, int /*arg*/, selectbox_text *pair) {
    static constexpr selectbox_text kModes[] = {{"pppoe", "PPPoE (DSL)"},
                                                {"dhcp", "DHCP (cable, fibre)"},
                                                {"bridge", "Bridge (another device connects)"},
                                                {"off", "Off"}};
    if (index >= std::size(kModes))
        return -1;
    *pair = kModes[index];
    return 1;
}

// The providers that are known, from a record database.
class Providers {
  public:
    explicit Providers(const Console &console) {
        read_db_file(console.path("providers.db").c_str(), kDatabaseFields, &list_);
    }
    Providers(const Providers &) = delete;
    Providers &operator=(const Providers &) = delete;
    ~Providers() { free_db(list_); }

    [[nodiscard]] db_record *list() const { return list_; }
    [[nodiscard]] bool has(const char *key) const { return search_db(list_, 0, key) != nullptr; }

    // What user names of the chosen provider end in; empty for any.
    [[nodiscard]] std::string suffix(const char *key) const {
        const db_record *record = search_db(list_, 0, key);
        const char *ending = record != nullptr && record->count > 2 ? record->fields[2] : nullptr;
        return ending != nullptr ? ending : "";
    }

  private:
    db_record *list_ = nullptr;
};

// A password that holds a character which cannot be stored, or bullets besides others, would not be
// written: the person must know.
void check_password(Console &console) {
    const char *typed = console.value(kPassword.name);
    if (typed == nullptr)
        return console.refuse(kPassword, "This field did not arrive. Open the page again.");
    unsigned bullets = 0;
    unsigned others = 0;
    for (const char *cursor = typed; *cursor != '\0';)
        ++(utf8_to_ucs2(&cursor, 0xFFFFFFFF) == kBullet ? bullets : others);
    char kept[kPasswordChars + 1];
    scan_textbox(typed, kPasswordChars, 0, kept, kPasswordChars, textbox_filter_ppp_password);
    if (bullets > 0 && others > 0)
        console.refuse(kPassword, "Replace all bullets, or leave all of them.");
    else if (others > kPasswordChars)
        console.refuse(kPassword, "Use at most " + std::to_string(kPasswordChars) + " characters.");
    else if (others > 0 && std::strcmp(typed, kept) != 0)
        console.refuse(kPassword,
                       "Use ASCII letters, digits and marks, but no blanks or quotation "
                       "marks, and no * or ? in front.");
}

void save(Console &console, const Providers &providers) {
    const std::string items = console.items("internet");
    const char *dir = items.c_str();
    const char *mode = check_option(console, kMode, modes);
    const std::string provider = posted_text(console, kProvider);
    if (!providers.has(provider.c_str()))
        console.refuse(kProvider, "Choose one of the providers.");
    std::string user =
        check_text(console, kUser, 0, kUserChars, textbox_filter_ppp_username,
                   "ASCII letters, digits and marks, but no blanks or quotation marks,");
    if (!user.empty() && user.find('@') == std::string::npos)
        user += providers.suffix(provider.c_str());
    if (user.size() > kUserChars && console.accepted())
        console.refuse(kUser, "With what the provider adds, the user name is too long.");
    if (user.empty() && mode != nullptr && std::strcmp(mode, "pppoe") == 0)
        console.refuse(kUser, "PPPoE needs a user name.");
    check_password(console);
    const uint32_t dns[] = {check_ipv4(console, kDns1, true), check_ipv4(console, kDns2, true)};
    const unsigned mtu = check_number(console, kMtu, 576, 1500);
    const unsigned vlan = check_number(console, kVlan, 0, 4094);
    if (console.accepted()) {
        console.wrote(kMode.label, update_textbox(dir, kMode.name, mode, kItemBytes));
        console.wrote(kProvider.label,
                      update_textbox(dir, kProvider.name, provider.c_str(), kItemBytes));
        console.wrote(kUser.label, update_textbox(dir, kUser.name, user.c_str(), kUserChars));
        console.wrote(kPassword.label,
                      update_password_item(dir, kPassword.name, console.value(kPassword.name),
                                           kPasswordChars, textbox_filter_ppp_password, nullptr));
        console.wrote(kDns1.label, update_optional_ipv4(items, kDns1, dns[0]));
        console.wrote(kDns2.label, update_optional_ipv4(items, kDns2, dns[1]));
        console.wrote(kMtu.label, wr_numberbox_item(dir, kMtu.name, mtu));
        console.wrote(kVlan.label, wr_numberbox_item(dir, kVlan.name, vlan));
    }
    console.report();
}

void print_mode(const Console &console, const char *dir) {
    console.field(kMode, [&](const char *attributes) {
        selectbox_state state{};
        rd_selectbox_text_item(dir, kMode.name, &state, modes, 0, "off");
        scan_select_text(console.typed_text(kMode.name), &state, modes, 0);
        gen_selectbox_text(&state, nullptr, modes, nullptr, 0, attributes);
    });
}

// The library's select box of a database takes a name, not attributes: its label encloses it.
void print_provider(const Console &console, const char *dir, const Providers &providers) {
    console.labelled(kProvider, [&] {
        if (const char *typed = console.typed_text(kProvider.name))
            gen_selectbox_dbase(providers.list(), 0, 1, kProvider.name, typed, 0);
        else
            gen_selectbox_dbase_item(providers.list(), 0, 1, dir, kProvider.name, kProvider.name,
                                     kItemBytes);
    });
}

void print_form(Console &console, const Providers &providers) {
    const std::string items = console.items("internet");
    const char *dir = items.c_str();
    console.open_form("internet", "Connection");
    print_mode(console, dir);
    print_provider(console, dir, providers);
    console.text_field(kUser, kUserChars, [&](const char *attributes) {
        gen_xtextbox_item(dir, kUser.name, kUserChars, PRINT_AUTOCOMPLETE_OFF, "%s", attributes);
    });
    // What was typed into a password box is never sent back.
    console.field(kPassword, [&](const char *attributes) {
        gen_xtextbox_item(dir, kPassword.name, kPasswordChars,
                          PRINT_PASSWORD | PRINT_AUTOCOMPLETE_OFF, "%s", attributes);
    });
    console.next_section("Names and packets");
    for (const Field &field : {kDns1, kDns2}) {
        console.text_field(field, 15, [&](const char *attributes) {
            uint32_t addr = 0;
            rd_ipv4box_item(dir, field.name, &addr, 0);
            gen_xipv4box(-1, addr != 0 ? &addr : nullptr, 0, "%s", attributes);
        });
    }
    for (const Field &field : {kMtu, kVlan}) {
        console.text_field(field, 4, [&](const char *attributes) {
            unsigned number = 0;
            const unsigned flags = rd_numberbox_item(dir, field.name, &number, 0);
            gen_xnumberbox(4, number, flags, " inputmode=\"numeric\"%s", attributes);
        });
    }
    console.close_form("Save");
}

}  // namespace

int main() {
    Console console(kInternet);
    const Providers providers(console);
    if (console.is_form("internet"))
        save(console, providers);
    console.open_page();
    print_form(console, providers);
    console.close_page();
    return 0;
}
