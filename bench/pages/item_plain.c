/* Reads a file of one line, or compares it with a text, with as few calls as it takes.
 * Usage: item-plain DIRECTORY NAME [VALUE] */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char **argv) {
    char text[256];
    if (argc < 3)
        return 1;
    snprintf(text, sizeof text, "%s/%s", argv[1], argv[2]);
    const int fd = open(text, O_RDONLY);
    const ssize_t count = fd < 0 ? -1 : read(fd, text, sizeof text - 1);
    if (count < 1)
        return 1;
    close(fd);
    text[count - 1] = '\0';
    if (argc > 3)
        return strcmp(text, argv[3]) != 0;
    puts(text);
    return 0;
}
