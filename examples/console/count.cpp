// Counts the characters of a text message for the page's script: count.cgi?text=...
#include "frame/json.h"
#include "maintenance.h"
#include "pages.h"

int main() {
    const Console console(kMaintenance);
    const char *text = console.value("text");
    const MessageLength length = message_length(text != nullptr ? text : "");
    open_json();
    unsigned flags = json_number(length.septets, "count", 0);
    flags = json_number(kMaxSeptets, "limit", flags);
    json_text(length.foreign, "foreign", flags);
    close_json();
    return 0;
}
