// Port forwards: a table of rows that are added, edited, moved, sorted and deleted.
#include <cstring>

#include "forwards.h"
#include "frame/check.h"
#include "pages.h"

namespace {

constexpr Field kName = {"name", "Name", "Letters, digits, blanks and hyphens."};
constexpr Field kProtocol = {"protocol", "Protocol"};
constexpr Field kPorts = {"ports", "Ports outside", "One, or a range: 8000-8010."};
constexpr Field kAddress = {"address", "To address"};
constexpr Field kTarget = {"target", "Port there"};
constexpr Field kOn = {"on", "Switched on"};

constexpr unsigned kNameChars = 32;
constexpr unsigned kMaxRows = 32;
constexpr unsigned kMaxPort = 65535;

int protocols(unsigned index, int /*arg*/, selectbox_text *pair) {
    static constexpr selectbox_text kProtocols[] = {
        {"tcp", "TCP"}, {"udp", "UDP"}, {"both", "TCP and UDP"}};
    if (index >= std::size(kProtocols))
        return -1;
    *pair = kProtocols[index];
    return 1;
}

int is_name_char(unsigned pos, unsigned ch) {
    return textbox_filter_alnum(pos, ch) != 0 || (pos > 0 && (ch == ' ' || ch == '-')) ? 1 : 0;
}

// ---- Changing rows ----

// A row is addressed by its number: that of another state of the table would be another row.
bool is_current(Console &console, const Forwards &table) {
    if (!table.is_read())
        console.say("bad", "The list cannot be read, and nothing was done.");
    else if (!console.has("version") || table.version() != console.value("version"))
        console.say("bad",
                    "The list was changed meanwhile, and nothing was done. Look at it again.");
    else
        return true;
    console.keep_typed();
    return false;
}

// A list that was not written must not be shown: the page shows what is on disk.
bool store(Console &console, Forwards &table, const std::string &what) {
    if (table.write()) {
        console.say("good", what + ".");
        console.log(what);
        return true;
    }
    console.say("bad", "The list could not be written.");
    console.keep_typed();
    table.read();
    return false;
}

// The name and the number of the button that was pressed: "up-3".
struct Action {
    std::string name;
    unsigned row = 0;
};

Action posted_action(const Console &console) {
    const std::string text = console.has("action") ? console.value("action") : "";
    const size_t dash = text.find('-');
    unsigned row = 0;
    if (dash == std::string::npos || !parse_number(text.substr(dash + 1), &row))
        return {text, 0};
    return {text.substr(0, dash), row};
}

void change_list(Console &console, Forwards &table) {
    const Action action = posted_action(console);
    if (!is_current(console, table))
        return;
    const Forward *row = table.find(action.row);
    const std::string name = row != nullptr ? row->name : "";
    if (action.name == "sort" && table.sort())
        store(console, table, "Sorted by name");
    else if (action.name == "up" && table.move_up(action.row))
        store(console, table, "Moved up: " + name);
    else if (action.name == "down" && table.move_down(action.row))
        store(console, table, "Moved down: " + name);
    else if (action.name == "delete" && table.remove(action.row))
        store(console, table, "Deleted: " + name);
    else
        console.say("bad", "That cannot be done with this row.");
}

// ---- Adding and editing ----

Forward check_row(Console &console) {
    Forward row{};
    unsigned low = 0;
    unsigned high = 0;
    const std::string name = check_text(console, kName, 1, kNameChars, is_name_char,
                                        "letters, digits and, not in front, blanks and hyphens");
    strsncpy(row.name, sizeof row.name, name.c_str());
    if (const char *protocol = check_option(console, kProtocol, protocols))
        strsncpy(row.protocol, sizeof row.protocol, protocol);
    const std::string ports = posted_text(console, kPorts);
    scan_range(ports.c_str(), &low, &high, 0, kMaxPort + 1, 0);
    const std::string one = std::to_string(low);
    const bool is_range = ports == one || ports == one + "-" + std::to_string(high);
    if (!is_range || low < 1 || high > kMaxPort)
        console.refuse(kPorts, "Enter one port from 1 to 65535, or two: 8000-8010.");
    row.low = low;
    row.high = high;
    row.address = check_ipv4(console, kAddress, false);
    row.target = check_number(console, kTarget, 1, kMaxPort);
    row.on = console.has(kOn.name);
    return row;
}

void check_overlap(Console &console, const Forwards &table, const Forward &row, unsigned edited) {
    const Forward *other = table.overlapping(row, edited);
    if (console.accepted() && other != nullptr)
        console.refuse(kPorts, std::string("These ports are taken by ") + other->name + ".");
}

// Returns whether the row is stored; otherwise its form stays open.
bool save_row(Console &console, Forwards &table) {
    const char *number = console.value("row");
    const std::string version = table.version();
    unsigned edited = 0;
    if (!is_current(console, table))
        return false;
    const bool is_there = parse_number(number != nullptr ? number : "", &edited) &&
                          (edited == 0 || table.find(edited) != nullptr);
    if (!is_there) {
        console.say("bad", "This row is not there any more.");
        console.keep_typed();
        return false;
    }
    const Forward row = check_row(console);
    check_overlap(console, table, row, edited);
    if (edited == 0 && table.count() >= kMaxRows)
        console.refuse(kName, "The list is full.");
    if (!console.accepted()) {
        console.report();
        return false;
    }
    Forward *place = edited != 0 ? table.find(edited) : table.add();
    if (place == nullptr) {
        console.say("bad", "There is no memory for another row.");
        return false;
    }
    place->assign(row);
    if (table.version() == version) {
        console.report();
        return true;
    }
    return store(console, table, std::string(edited != 0 ? "Changed: " : "Added: ") + row.name);
}

// ---- Printing ----

void print_button(const char *label, const std::string &what, const char *action, unsigned row,
                  bool possible) {
    gen_xbutton(label, nullptr, possible ? PRINT_SUBMIT : PRINT_SUBMIT | PRINT_DISABLED,
                " name=\"action\" value=\"%s-%u\" aria-label=\"%s\"", action, row, what.c_str());
    print_str("\n");
}

void print_buttons(const Forward &row) {
    const unsigned number = row.links.number;
    const std::string name = html_text(row.name);
    print_str("<td class=\"actions\">\n");
    print_button("\u2191", "Move up " + name, "up", number, row.links.prev != nullptr);
    print_button("\u2193", "Move down " + name, "down", number, row.links.next != nullptr);
    print_button("Delete", "Delete " + name, "delete", number, true);
    html_printf(1, "<a href=\"forwards.cgi?edit=%u#row\" aria-label=\"Edit %s\">Edit</a>\n</td>\n",
                number, row.name);
}

const char *protocol_label(const char *value) {
    selectbox_text option{};
    for (unsigned i = 0; protocols(i, 0, &option) > 0; ++i) {
        if (std::strcmp(option.value, value) == 0)
            return option.label;
    }
    return value;
}

void print_row(const Console &console, const Forward &row) {
    print_str(row.on ? "<tr>" : "<tr class=\"off\">");
    html_printf(1, "<th scope=\"row\">%s</th><td>%s</td><td>%s</td><td>%s</td>\n", row.name,
                protocol_label(row.protocol), row.ports().c_str(), row.destination().c_str());
    if (console.may_post())
        print_buttons(row);
    print_str("</tr>\n");
}

void print_table(const Console &console, const Forwards &table) {
    print_str(
        "<section class=\"scroll\" tabindex=\"0\" aria-label=\"Forwarded ports\">\n"
        "<table>\n<thead><tr><th scope=\"col\">Name</th><th scope=\"col\">Protocol</th>"
        "<th scope=\"col\">Ports</th><th scope=\"col\">To</th>");
    print_str(console.may_post() ? "<th scope=\"col\">Change</th>" : "");
    print_str("</tr></thead>\n<tbody>\n");
    for (const Forward *row = table.first(); row != nullptr; row = row->next())
        print_row(console, *row);
    print_str("</tbody>\n</table>\n</section>\n");
}

void print_version(const Forwards &table) {
    html_printf(1, "<input type=\"hidden\" name=\"version\" value=\"%s\">\n",
                table.version().c_str());
}

void print_list(Console &console, const Forwards &table) {
    console.open_form("list", "Forwarded ports");
    print_version(table);
    if (table.count() == 0)
        print_str("<p>None yet.</p>\n");
    else
        print_table(console, table);
    if (table.count() > 1 && console.may_post())
        gen_xbutton("Sort by name", nullptr, PRINT_SUBMIT, " name=\"action\" value=\"sort\"");
    console.close_form(nullptr);
}

void print_protocol(const Console &console, const Forward &row) {
    console.field(kProtocol, [&](const char *attributes) {
        selectbox_state state{};
        scan_select_text("tcp", &state, protocols, 0);
        scan_select_text(row.protocol, &state, protocols, 0);
        scan_select_text(console.typed_text(kProtocol.name), &state, protocols, 0);
        gen_selectbox_text(&state, nullptr, protocols, nullptr, 0, attributes);
    });
}

// The form of one row: a new one, or the one that is edited.
void print_row_form(Console &console, const Forwards &table, bool stays_open) {
    // After a refusal the same row stays open; after a save a new one can be added.
    const char *asked = console.value(stays_open ? "row" : "edit");
    unsigned number = 0;
    const bool is_number = asked != nullptr && parse_number(asked, &number);
    const Forward *edited = is_number ? table.find(number) : nullptr;
    const Forward row = edited != nullptr ? *edited : Forward{};
    console.open_form("row", edited != nullptr ? "Edit a port forward" : "Add a port forward");
    print_version(table);
    std::printf("<input type=\"hidden\" name=\"row\" value=\"%u\">\n", row.links.number);
    console.text_field(kName, kNameChars, [&](const char *attributes) {
        gen_xtextbox(kNameChars, row.name, 0, "%s", attributes);
    });
    print_protocol(console, row);
    console.text_field(kPorts, 11, [&](const char *attributes) {
        gen_xtextbox(11, row.low != 0 ? row.ports().c_str() : "", 0, "%s", attributes);
    });
    print_str("<div class=\"pair\">\n");
    console.text_field(kAddress, 15, [&](const char *attributes) {
        gen_xipv4box(-1, row.address != 0 ? &row.address : nullptr, 0, "%s", attributes);
    });
    console.text_field(kTarget, 5, [&](const char *attributes) {
        gen_xtextbox(5, row.target != 0 ? std::to_string(row.target).c_str() : "", 0,
                     " inputmode=\"numeric\"%s", attributes);
    });
    print_str("</div>\n");
    console.check_field(kOn, checkbox_flags(edited == nullptr || row.on ? 1 : 0, 0));
    console.close_form(edited != nullptr ? "Save" : "Add");
}

}  // namespace

int main() {
    Console console(kForwards);
    Forwards table(console.path("forwards.db"));
    if (console.is_form("list"))
        change_list(console, table);
    const bool is_saved = console.is_form("row") && save_row(console, table);
    console.open_page();
    print_list(console, table);
    if (console.may_post())
        print_row_form(console, table, console.is_form("row") && !is_saved);
    console.close_page();
    return 0;
}
