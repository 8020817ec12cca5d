// A time of day, and the weekdays of a cron line.
#include "page.h"

namespace {

constexpr unsigned kDays = 7;
constexpr unsigned kAllDays = (1U << kDays) - 1;
constexpr char kDayTexts[] = "1Mo\0002Tu\0003We\0004Th\0005Fr\0006Sa\0000Su\000";
constexpr const char *kWeekdays[] = {"weekdays", "weekdays_all", "weekdays_none"};

unsigned read_days(const Page &page, const char *name) {
    const std::string list = read_text(page, name);
    unsigned mask = 0;
    if (list == "*")
        return kAllDays;
    for (const char *rest = list.c_str(); rest != nullptr && *rest != '\0';) {
        unsigned day = kDays;
        rest = scan_uint(rest, &day);
        mask |= day < kDays ? 1U << day : 0;
    }
    return mask;
}

std::string day_name(const char *name, const dow_entry &entry) {
    return std::string(name) + "_" + entry.name;
}

struct Week {
    Week() { gen_dow_table(days, kDays, kDayTexts); }

    dow_entry days[kDays] = {};
};

void print_days(const Page &page, const char *name) {
    const unsigned mask = read_days(page, name);
    for (const dow_entry &entry : Week().days) {
        const std::string id = day_name(name, entry);
        open_row(id);
        gen_xcheckbox(checkbox_flags(mask & (1U << entry.day), 0),
                      " id=\"%s\" name=\"%s\" title=\"%s\"", id.c_str(), id.c_str(), entry.text);
        close_row();
    }
}

void save_days(const Page &page, const Posted &posted, const char *name) {
    unsigned mask = 0;
    for (const dow_entry &entry : Week().days)
        mask |= posted.find(day_name(name, entry)) != nullptr ? 1U << entry.day : 0;
    char text[2 * kDays + 1];
    write_text(page, name, cron_weekdays(text, sizeof text, mask));
}

std::string time_text(const char *posted) {
    unsigned hour = 0;
    unsigned minute = 0;
    if (scan_time(posted, &hour, &minute) < 1)
        return "";
    return std::to_string(hour) + (minute < 10 ? ":0" : ":") + std::to_string(minute);
}

}  // namespace

void print_schedules(const Page &page) {
    open_row("time");
    gen_xtextbox(5, time_text(read_text(page, "time").c_str()).c_str(), 0, kIdAndName, "time",
                 "time");
    close_row();
    for (const char *name : kWeekdays)
        print_days(page, name);
}

void save_schedules(const Page &page, const Posted &posted) {
    const std::string time = time_text(posted.find("time"));
    if (!time.empty())
        write_text(page, "time", time);
    for (const char *name : kWeekdays)
        save_days(page, posted, name);
}
