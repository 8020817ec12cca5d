// Schedules: what is switched on and off by the clock, on which days, and the cron lines of it.
#include <array>

#include "frame/check.h"
#include "pages.h"

namespace {

constexpr unsigned kDays = 7;
constexpr unsigned kAllDays = 0x7F;
constexpr int kTimeChars = 5;

// The names that cron lines and items use, and the days as the page shows them.
constexpr const char *kDayList =
    "1Mon\0"
    "2Tue\0"
    "3Wed\0"
    "4Thu\0"
    "5Fri\0"
    "6Sat\0"
    "0Sun\0";

struct Schedule {
    const char *name;  // of its form, and the beginning of its items and fields
    const char *label;
    Field on, from, to, days;
};

constexpr Schedule kTable[] = {
    {"wifi",
     "Wi-Fi",
     {"wifi_on", "Switch Wi-Fi by the clock"},
     {"wifi_from", "On from", "Such as 7:30."},
     {"wifi_to", "Off at"},
     {"wifi_days", "On these days"}},
    {"guests",
     "Guest network",
     {"guests_on", "Switch the guest network by the clock"},
     {"guests_from", "On from", "Such as 7:30."},
     {"guests_to", "Off at"},
     {"guests_days", "On these days"}},
};

struct Time {
    unsigned hour = 0;
    unsigned minute = 0;

    bool operator<(const Time &other) const {
        return hour != other.hour ? hour < other.hour : minute < other.minute;
    }

    [[nodiscard]] std::string text() const {
        char buf[16];
        std::snprintf(buf, sizeof buf, "%u:%02u", hour % 24, minute % 60);
        return buf;
    }
};

std::array<dow_entry, kDays> days() {
    std::array<dow_entry, kDays> table{};
    gen_dow_table(table.data(), kDays, kDayList);
    return table;
}

// The field of one day: wifi_mon, say.
std::string day_field(const Schedule &schedule, const dow_entry &day) {
    return std::string(schedule.name) + "_" + day.name;
}

// ---- Saving ----

Time check_time(Console &console, const Field &field) {
    const std::string text = posted_text(console, field);
    Time time;
    const int read = scan_time(text.c_str(), &time.hour, &time.minute);
    const std::string plain = time.text();
    if (read != 2 || (text != plain && text != "0" + plain))
        console.refuse(field, "Enter a time from 0:00 to 23:59, hours and minutes.");
    return time;
}

unsigned posted_days(const Console &console, const Schedule &schedule) {
    unsigned mask = 0;
    for (const dow_entry &day : days()) {
        if (console.has(day_field(schedule, day)))
            mask |= 1U << day.day;
    }
    return mask;
}

void save(Console &console, const Schedule &schedule) {
    const std::string items = console.items("schedules");
    const char *dir = items.c_str();
    const bool on = console.has(schedule.on.name);
    const Time from = check_time(console, schedule.from);
    const Time to = check_time(console, schedule.to);
    const unsigned mask = posted_days(console, schedule);
    if (console.accepted() && from.text() == to.text())
        console.refuse(schedule.to, "This is the time of switching on, too.");
    if (on && mask == 0)
        console.refuse(schedule.days, "Choose at least one day, or switch the schedule off.");
    if (console.accepted()) {
        const std::string name = schedule.label;
        console.wrote((name + " schedule").c_str(),
                      wr_checkbox_item(dir, schedule.on.name, checkbox_flags(on ? 1 : 0, 0)));
        console.wrote((name + " on").c_str(),
                      update_textbox(dir, schedule.from.name, from.text().c_str(), kTimeChars));
        console.wrote((name + " off").c_str(),
                      update_textbox(dir, schedule.to.name, to.text().c_str(), kTimeChars));
        console.wrote((name + " days").c_str(), wr_numberbox_item(dir, schedule.days.name, mask));
    }
    console.report();
}

// ---- Printing ----

Time stored_time(const Console &console, const Field &field) {
    Time time;
    scan_time(console.item("schedules", field.name).c_str(), &time.hour, &time.minute);
    return time;
}

unsigned stored_days(const Console &console, const Schedule &schedule) {
    unsigned mask = kAllDays;
    read_item_uint(console.items("schedules").c_str(), schedule.days.name, &mask);
    return mask & kAllDays;
}

void print_time(const Console &console, const Field &field) {
    console.text_field(field, kTimeChars, [&](const char *attributes) {
        gen_xtextbox(kTimeChars, stored_time(console, field).text().c_str(), 0, "%s", attributes);
    });
}

void print_days(const Console &console, const Schedule &schedule) {
    const unsigned mask =
        console.is_typed() ? posted_days(console, schedule) : stored_days(console, schedule);
    console.group(schedule.days, [&] {
        for (const dow_entry &day : days()) {
            print_str("<label class=\"choice\">");
            gen_xcheckbox(checkbox_flags(mask >> day.day & 1, 0), " name=\"%s\" value=\"1\"",
                          day_field(schedule, day).c_str());
            std::printf(" %s</label>\n", day.text);
        }
    });
}

void print_cron_line(const Time &time, unsigned mask, const char *schedule, const char *what) {
    char buf[16];
    html_printf(1, "%u %u * * %s %s %s\n", time.minute, time.hour,
                cron_weekdays(buf, sizeof buf, mask), schedule, what);
}

unsigned next_days(unsigned mask) {
    return (mask << 1 | mask >> (kDays - 1)) & kAllDays;
}

// The lines that the device's cron gets, as they are stored now. A time of switching off that is
// earlier than that of switching on is one of the next day.
void print_cron(const Console &console, const Schedule &schedule) {
    const Time from = stored_time(console, schedule.from);
    const Time to = stored_time(console, schedule.to);
    const unsigned mask = stored_days(console, schedule);
    if (mask == 0 || console.item("schedules", schedule.on.name) != "1") {
        print_str("<p class=\"hint\">Switched off: cron gets no lines.</p>\n");
        return;
    }
    print_str("<section class=\"cron\" tabindex=\"0\" aria-label=\"Cron lines\"><pre>");
    print_cron_line(from, mask, schedule.name, "up");
    print_cron_line(to, to < from ? next_days(mask) : mask, schedule.name, "down");
    print_str("</pre></section>\n");
}

void print_form(Console &console, const Schedule &schedule) {
    const std::string items = console.items("schedules");
    console.open_form(schedule.name, schedule.label);
    console.check_field(schedule.on, rd_checkbox_item(items.c_str(), schedule.on.name, 0));
    print_str("<div class=\"pair\">\n");
    print_time(console, schedule.from);
    print_time(console, schedule.to);
    print_str("</div>\n");
    print_days(console, schedule);
    print_cron(console, schedule);
    console.close_form("Save");
}

}  // namespace

int main() {
    Console console(kSchedules);
    for (const Schedule &schedule : kTable) {
        if (console.is_form(schedule.name))
            save(console, schedule);
    }
    console.open_page();
    for (const Schedule &schedule : kTable)
        print_form(console, schedule);
    console.close_page();
    return 0;
}
