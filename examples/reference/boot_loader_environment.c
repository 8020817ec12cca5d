/* Shows a variable of the boot loader, or why there is none. */
#include <qmv/system.h>

static void show(const char *device, const char *name) {
    const int result = read_uboot_env(device);
    switch (result) {
        case 0: {
            const char *value = uboot_getenv(name);
            printf("%s: %s=%s\n", device, name, value != NULL ? value : "");
            break;
        }
        case 5:
            printf("%s: the environment is damaged\n", device);
            break;
        case -1:
            printf("%s: no flash partition\n", device);
            return;
        default:
            printf("%s: error %d\n", device, result);
    }
    if (result == 0 || result == 3 || result == 5)
        free_uboot_env();
}

int main(void) {
    show("/dev/null", "ethaddr");
    show("missing", "ethaddr");
    return 0;
}
