/* A numbered select box and one of texts: printed, and set by a post. */
#include <qmv/html.h>
#include <qmv/widgets.h>

static const char *const speeds[] = {"Auto", "100 Mbit/s", "1 Gbit/s"};
enum { SPEEDS = sizeof speeds / sizeof *speeds };

static int speed(unsigned op, unsigned index, int unused) {
    (void)unused;
    if (op == SELECTBOX_LABEL && index < SPEEDS)
        html_print_text(speeds[index]);
    return index < SPEEDS ? 1 : -1;
}

static int zone(unsigned index, int unused, selectbox_text *pair) {
    static const selectbox_text zones[] = {{"lan", "Home"}, {"dmz", "Servers"}};
    (void)unused;
    if (index >= sizeof zones / sizeof *zones)
        return -1;
    *pair = zones[index];
    return 1;
}

int main(void) {
    selectbox_state numbered = {0, {0}};
    selectbox_state text = {PRINT_DISABLED, {0}};
    unsigned number = 0;
    printf("changed: %d\n", scan_select_num("2", &number, SPEEDS, 0));
    numbered.value.number = number;
    gen_selectbox_num(&numbered, "speed", speed, 0, NULL);

    printf("changed: %d\n", scan_select_text("dmz", &text, zone, 0));
    printf("changed: %d\n", scan_select_text("wan", &text, zone, 0));
    gen_selectbox_text(&text, "zone", zone, NULL, 0, " class=\"wide\"");
    return 0;
}
