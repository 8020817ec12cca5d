/* Shows the DSL line, or that there is none. */
#include <fcntl.h>
#include <qmv/system.h>
#include <unistd.h>

enum { UPSTREAM, DOWNSTREAM };

static const char *or_dash(const char *text) {
    return text != NULL ? text : "-";
}

static void show(int fd) {
    dsl_stream down;
    char rate[16];
    char margin[16];
    /* A failed request leaves what it asks for marked as not valid. */
    dsl_api_get_dsl_stream(fd, &down, DOWNSTREAM);
    printf("state: %s\n", or_dash(dsl_api_get_modem_status(fd)));
    printf("mode: %s\n", or_dash(dsl_api_get_modem_mode(fd)));
    printf("kbit/s: %s\n", or_dash(dsl_api_get_datarate(&down, rate, sizeof rate)));
    printf("margin: %s dB\n", or_dash(dsl_api_get_snr(&down, margin, sizeof margin)));
}

int main(void) {
    int fd = open("/dev/dsl_cpe_api/0", O_RDWR);
    if (fd < 0) {
        puts("no DSL driver");
        /* What every request answers that the driver does not know. */
        fd = open("/dev/null", O_RDWR);
        if (fd < 0)
            return 1;
    }
    show(fd);
    close(fd);
    return 0;
}
