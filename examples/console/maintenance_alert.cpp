// The text message that is sent when the line is lost: its number, and its text in the alphabet of
// text messages, whose characters count once or twice.
#include "frame/check.h"
#include "maintenance.h"

namespace {

constexpr Field kNumber = {"alert_number", "Telephone number",
                           "Such as +49 30 1234567. Empty: no alert."};
constexpr Field kText = {"alert_text", "Text message", "Sent when the line is lost."};

constexpr unsigned kNumberChars = 24;

int is_number_char(unsigned pos, unsigned ch) {
    return textbox_filter_digit(pos, ch) != 0 || (pos == 0 && ch == '+') || (pos > 0 && ch == ' ')
               ? 1
               : 0;
}

std::string count_text(const MessageLength &length) {
    return std::to_string(length.septets) + " of " + std::to_string(kMaxSeptets) + " characters";
}

void check_message(Console &console, const std::string &text) {
    const MessageLength length = message_length(text.c_str());
    if (!length.foreign.empty())
        console.refuse(kText, "Text messages cannot hold the character " + length.foreign + ".");
    else if (length.septets > kMaxSeptets)
        console.refuse(kText, "The message is too long: " + count_text(length) + ".");
}

}  // namespace

void save_alert(Console &console) {
    const std::string items = console.items("maintenance");
    const std::string number = check_text(console, kNumber, 0, kNumberChars, is_number_char,
                                          "digits, blanks and, in front, +");
    const std::string text = check_text(console, kText, number.empty() ? 0 : 1, kMaxSeptets,
                                        nullptr, "characters of text messages");
    if (console.accepted())
        check_message(console, text);
    if (console.accepted()) {
        console.wrote(kNumber.label,
                      update_textbox(items.c_str(), kNumber.name, number.c_str(), kNumberChars));
        console.wrote(kText.label,
                      update_textbox(items.c_str(), kText.name, text.c_str(), kMaxSeptets));
    }
    console.report();
}

void print_alert(Console &console) {
    const std::string items = console.items("maintenance");
    console.open_form("alert", "Alert by text message");
    const char *typed = console.typed_text(kText.name);
    const std::string shown = typed != nullptr ? typed : console.item("maintenance", kText.name);
    console.text_field(kNumber, kNumberChars, [&](const char *attributes) {
        gen_xtextbox_item(items.c_str(), kNumber.name, kNumberChars, 0,
                          " inputmode=\"tel\" autocomplete=\"off\"%s", attributes);
    });
    console.text_field(kText, kMaxSeptets, [&](const char *attributes) {
        gen_xtextbox_item(items.c_str(), kText.name, kMaxSeptets, 0, "%s", attributes);
    });
    html_printf(1, "<p class=\"count\" id=\"count\" role=\"status\">%s</p>\n",
                count_text(message_length(shown.c_str())).c_str());
    console.close_form("Save");
}
