/* Chooses what a variant of the device can do from its information text. */
#include <qmv/system.h>

enum { HAS_DSL = 1, HAS_WIFI = 2, HAS_PHONE = 4 };

static const devinfo_row models[] = {
    {'A', "small"},
    {'F', "medium"},
    {'Z', "large"},
    {0, ""},
};

/* Which character says whether a feature is there. */
static const infoflag_row features[] = {
    {HAS_DSL, 1},
    {HAS_WIFI, 2},
    {HAS_PHONE, 3},
    {0, 0},
};

int main(void) {
    const char *info = "C10";
    const char *info2 = "---1";
    const devinfo_row *model = get_devinfo(models, info);
    if (model == NULL)
        return 1;
    const int has = get_infoflags(HAS_DSL | HAS_WIFI | HAS_PHONE, features, info, info2);
    printf("%s:%s%s%s\n", (const char *)model->data, (has & HAS_DSL) != 0 ? " DSL" : "",
           (has & HAS_WIFI) != 0 ? " WiFi" : "", (has & HAS_PHONE) != 0 ? " phone" : "");
    return 0;
}
