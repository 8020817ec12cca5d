/* Takes numbers, ranges, times and weekdays from posted texts, and shows them. */
#include <qmv/html.h>
#include <qmv/widgets.h>

int main(void) {
    unsigned port = 80;
    unsigned low = 0;
    unsigned high = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    char days[15];
    dow_entry names[3] = {{0, NULL, NULL}, {0, NULL, NULL}, {0, NULL, NULL}};

    if (scan_number("70000", &port, 1, 65535, 80) == 1)
        gen_numberbox("port", 5, 5, port, 0);
    print_str("\n");
    if (scan_range("2000:1000", &low, &high, 1, 65535, 80) == 1)
        gen_xrangebox(11, &low, &high, NULL, 0, " name=\"%s\"", "range");
    print_str("\n");

    if (scan_time("6:90", &hour, &minute) == 2)
        printf("%u:%02u\n", hour, minute);
    if (scan_time("", &hour, &minute) == -1)
        printf("no time: %u:%02u\n", hour, minute);

    /* Monday to Friday, for a line of cron. */
    printf("%u %u * * %s\n", minute, hour, cron_weekdays(days, sizeof days, 0x3E));
    gen_dow_table(names, 3, "1Monday\0002Tuesday\000");
    for (unsigned i = 0; i < 3 && names[i].name != NULL; ++i)
        printf("%u %s %s\n", (unsigned)names[i].day, names[i].name, names[i].text);
    return 0;
}
