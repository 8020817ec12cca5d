/* Copies what is posted to the null device: what no program that takes a form can do without. */
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

int main(void) {
    static char buf[65536];
    const char *const announced = getenv("CONTENT_LENGTH");
    const int to = open("/dev/null", O_WRONLY);
    long left = announced == NULL ? 0 : atol(announced);
    while (left > 0) {
        const ssize_t count = read(0, buf, sizeof buf);
        if (count < 1 || write(to, buf, (size_t)count) != count)
            return 1;
        left -= count;
    }
    return 0;
}
