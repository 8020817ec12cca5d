// Maintenance: firmware, the configuration as a file, the log, a service, an alert by text message.
#include "maintenance.h"

#include <csignal>

#include "frame/upload.h"
#include "pages.h"

namespace {

constexpr Field kImage = {"image", "Firmware image", "Up to 32 MiB. It is stored, not installed."};
constexpr const char *kFirmware = "firmware/image.bin";

// ---- Firmware ----

std::string hexadecimal(unsigned number) {
    char text[9];
    std::snprintf(text, sizeof text, "%08X", number);
    return text;
}

void store_image(Console &console, Upload &upload) {
    const std::string items = console.items("firmware");
    const std::string crc = hexadecimal(upload.crc());
    if (upload.outcome() != Upload::kWhole)
        return console.refuse(kImage, upload.reason());
    if (upload.size() == 0)
        return console.refuse(kImage, "The file is empty.");
    if (!upload.keep(console.path(kFirmware)))
        return console.refuse(kImage, "The file could not be stored: the device may be full.");
    if (update_item_uint(items.c_str(), "size", upload.size()) < 0 ||
        update_item(items.c_str(), "crc", crc.c_str(), 8) < 0)
        return console.say("bad", "The image was stored, but not its size and CRC: send it again.");
    console.say("good", "Stored: a firmware image of " + std::to_string(upload.size()) +
                            " bytes, CRC-32 " + crc + ".");
    console.log("stored a firmware image");
}

void print_firmware(Console &console) {
    unsigned size = 0;
    const std::string items = console.items("firmware");
    console.open_form("firmware", "Firmware", " enctype=\"multipart/form-data\" data-upload=\"\"");
    print_str("<p id=\"stored-image\">");
    if (read_item_uint(items.c_str(), "size", &size) > 0 && size > 0) {
        print_str("Stored image: ");
        print_fsize(size);
        html_printf(1, " (%u bytes), CRC-32 %s.", size, console.item("firmware", "crc").c_str());
    } else {
        print_str("No image is stored.");
    }
    print_str("</p>\n");
    console.field(kImage, [](const char *attributes) { gen_upload(0, " required%s", attributes); });
    console.close_form("Upload");
}

// ---- The service ----

// The process that answers names, whose number is an item.
int signal_service(const Console &console, int signal) {
    return signal_process(console.path("run").c_str(), "names.pid", signal);
}

void restart_service(Console &console) {
    if (signal_service(console, SIGHUP) != 0)
        return console.say("bad", "The name service could not be restarted: it does not run.");
    console.say("good", "The name service was asked to restart.");
    console.log("restarted the name service");
}

void print_service(Console &console) {
    console.open_form("service", "Name service");
    html_printf(1, "<p>It %s.</p>\n", signal_service(console, 0) == 0 ? "runs" : "does not run");
    console.close_form("Restart");
}

// ---- Configuration and log: for the administrator ----

void print_export() {
    print_str(
        "<section class=\"card\">\n<h2>Configuration</h2>\n"
        "<p>All settings as an XML document, without passwords and keys.</p>\n"
        "<p><a class=\"button\" href=\"export.cgi\" download>Download</a></p>\n</section>\n");
}

// The shell takes the path from the environment, so that any path will do.
void print_log() {
    print_str(
        "<section class=\"card\" id=\"log\">\n<h2>Log</h2>\n"
        "<section class=\"log\" tabindex=\"0\" aria-label=\"The last lines\">\n<pre>");
    shell_lines lines{};
    shell_run(&lines, "cd \"$QMV_STATE\" && cat log.old log 2>/dev/null | tail -n 40");
    if (lines.count == 0)
        print_str("Nothing happened yet.\n");
    shell_print(&lines, 0);
    print_str("</pre>\n</section>\n</section>\n");
}

}  // namespace

int main() {
    Upload upload(kMaxFirmware);
    Console console(kMaintenance, &upload);
    if (console.is_form("firmware"))
        store_image(console, upload);
    if (!console.accepted())
        console.report();
    if (console.is_form("service"))
        restart_service(console);
    if (console.is_form("alert"))
        save_alert(console);
    console.open_page();
    print_firmware(console);
    print_alert(console);
    print_service(console);
    if (console.is_administrator()) {
        print_export();
        print_log();
    }
    console.close_page();
    return 0;
}
