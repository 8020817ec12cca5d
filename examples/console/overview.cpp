// The overview: what the device is, and how it is doing. Its script reads the figures again every
// few seconds; without it there is a link.
#include <algorithm>

#include "pages.h"
#include "status.h"

namespace {

// The variants of the device by the first character of its information, and its features by the
// others.
constexpr devinfo_row kVariants[] = {
    {'1', "QMV-100, ADSL"}, {'2', "QMV-200, ADSL2+"}, {'3', "QMV-300, fibre"}, {0, ""}};

enum Feature { kDsl = 1, kVpn = 2, kWifi = 4, kTelephone = 8, kUsb = 16 };

constexpr infoflag_row kFeaturePlaces[] = {{kDsl, 1},       {kVpn, 2}, {kWifi, 3},
                                           {kTelephone, 4}, {kUsb, 5}, {0, 0}};

struct FeatureName {
    Feature feature;
    const char *name;
};

constexpr FeatureName kFeatureNames[] = {
    {kDsl, "DSL"}, {kVpn, "VPN"}, {kWifi, "Wi-Fi"}, {kTelephone, "Telephone"}, {kUsb, "USB"}};

struct BootVariable {
    const char *name;
    const char *label;
};

constexpr BootVariable kBootVariables[] = {{"board", "Board"},
                                           {"serial#", "Serial number"},
                                           {"ethaddr", "Hardware address"},
                                           {"ver", "Boot loader"},
                                           {"flashsize", "Flash"}};

struct Row {
    const char *key;
    const char *label;
};

constexpr Row kLine[] = {{"dsl_state", "State"},       {"dsl_mode", "Mode"},
                         {"dsl_power", "Power"},       {"dsl_trellis", "Trellis coding"},
                         {"dsl_path", "Path"},         {"down_delay", "Delay down (ms)"},
                         {"up_delay", "Delay up (ms)"}};

struct Gauge {
    const char *key;
    const char *label;
    const char *unit;
    const char *most_key;  // figure that is the end of the scale, or null
    unsigned most;         // the end of the scale without it
};

constexpr Gauge kGauges[] = {
    {"down_rate", "Download", "kbit/s", "down_max", 0},
    {"up_rate", "Upload", "kbit/s", "up_max", 0},
    {"down_margin", "Margin, download", "dB", nullptr, 20},
    {"up_margin", "Margin, upload", "dB", nullptr, 20},
    {"down_attenuation", "Attenuation, download", "dB", nullptr, 60},
    {"up_attenuation", "Attenuation, upload", "dB", nullptr, 60},
};

std::string figure(const Figures &figures, const std::string &key) {
    const auto found = figures.find(key);
    return found != figures.end() ? found->second : "";
}

void print_fact(const char *label, const std::string &key, const std::string &value) {
    html_printf(1, "<dt>%s</dt><dd data-figure=\"%s\">%s</dd>\n", label, key.c_str(),
                value.empty() ? "unknown" : value.c_str());
}

void open_card(const char *heading, const char *attributes = "") {
    std::printf("<section class=\"card\"%s>\n<h2>%s</h2>\n", attributes, heading);
}

void print_device(const Console &console, const Figures &figures) {
    const std::string info = console.item("device", "info");
    // A variant that is not in the table gets the row of another one.
    const devinfo_row *variant = get_devinfo(kVariants, info.c_str());
    const bool is_known = !info.empty() && variant->key == info[0];
    const int features = get_infoflags(kDsl | kVpn | kWifi | kTelephone | kUsb, kFeaturePlaces,
                                       info.c_str(), nullptr);
    open_card("Device");
    print_str("<dl class=\"facts\">\n");
    html_printf(1, "<dt>Model</dt><dd>%s</dd>\n",
                is_known ? reinterpret_cast<const char *>(variant->data) : "unknown");
    print_fact("Running", "uptime", figure(figures, "uptime"));
    print_fact("Load", "load", figure(figures, "load"));
    print_str("</dl>\n<ul class=\"features\">\n");
    for (const FeatureName &row : kFeatureNames) {
        if ((features & row.feature) != 0)
            std::printf("<li>%s</li>\n", row.name);
    }
    print_str("</ul>\n</section>\n");
}

void print_boot_loader(const Console &console) {
    open_card("Boot loader");
    if (read_uboot_env(console.item("device", "flash").c_str()) != 0) {
        print_str("<p>Its environment cannot be read.</p>\n</section>\n");
        return;
    }
    print_str("<dl class=\"facts\">\n");
    for (const BootVariable &variable : kBootVariables) {
        const char *value = uboot_getenv(variable.name);
        html_printf(1, "<dt>%s</dt><dd>%s</dd>\n", variable.label,
                    value != nullptr ? value : "not set");
    }
    print_str("</dl>\n</section>\n");
    free_uboot_env();
}

void print_gauge(const Figures &figures, const Gauge &gauge) {
    const std::string value = figure(figures, gauge.key);
    const std::string most =
        gauge.most_key != nullptr ? figure(figures, gauge.most_key) : std::to_string(gauge.most);
    const unsigned end = str_to_uint(most.c_str());
    html_printf(1, "<div class=\"gauge\"><span id=\"%s-label\">%s</span>\n", gauge.key,
                gauge.label);
    html_printf(1, "<span class=\"value\"><span data-figure=\"%s\">%s</span> %s</span>\n",
                gauge.key, value.empty() ? "unknown" : value.c_str(), gauge.unit);
    std::printf(
        "<meter aria-labelledby=\"%s-label\" data-figure=\"%s\" data-most=\"%s\" min=\"0\" "
        "max=\"%u\" value=\"%d\"></meter></div>\n",
        gauge.key, gauge.key, gauge.most_key != nullptr ? gauge.most_key : "", end > 0 ? end : 1,
        std::max(str_to_sint(value.c_str()), 0));
}

void print_line(const Figures &figures) {
    open_card("DSL line", " id=\"line\"");
    print_str("<dl class=\"facts\">\n");
    for (const Row &row : kLine)
        print_fact(row.label, row.key, figure(figures, row.key));
    print_str("</dl>\n<div class=\"gauges\">\n");
    for (const Gauge &gauge : kGauges)
        print_gauge(figures, gauge);
    print_str("</div>\n<figure id=\"chart\" hidden></figure>\n</section>\n");
}

void print_interfaces(const Figures &figures) {
    constexpr std::string_view kPrefix = "interface_";
    open_card("Network");
    print_str("<dl class=\"facts\">\n");
    for (unsigned port = 1; port <= kPortCount; ++port) {
        const std::string number = std::to_string(port);
        print_fact(("Port " + number).c_str(), "port_" + number, figure(figures, "port_" + number));
    }
    for (const auto &[key, value] : figures) {
        if (key.compare(0, kPrefix.size(), kPrefix) == 0)
            html_printf(1, "<dt>%s</dt><dd data-figure=\"%s\">%s</dd>\n",
                        key.c_str() + kPrefix.size(), key.c_str(), value.c_str());
    }
    print_str("</dl>\n</section>\n");
}

// The passwords that a device comes with are known to everybody.
void warn_of_default_password(Console &console) {
    passwd_rec record{};
    const std::string items = console.items("accounts");
    if (console.is_administrator() && rd_passwd(items.c_str(), "admin", &record, 0) == CRYPT_PLAIN)
        console.say("bad",
                    "The administrator still has the password that the device came with. "
                    "Change it on the Account page.");
}

}  // namespace

int main() {
    Console console(kOverview);
    warn_of_default_password(console);
    const Figures figures = read_figures(console);
    console.open_page();
    print_str(
        "<p id=\"age\" class=\"hint\"></p>\n"
        "<noscript><p><a href=\"overview.cgi\">Read the figures again</a></p></noscript>\n"
        "<div class=\"cards\">\n");
    print_line(figures);
    print_device(console, figures);
    print_interfaces(figures);
    print_boot_loader(console);
    print_str("</div>\n");
    console.close_page();
    return 0;
}
