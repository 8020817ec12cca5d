/* Opens an item as a file, renames it with its joined path, and removes it. */
#include <errno.h>
#include <fcntl.h>
#include <qmv/items.h>
#include <string.h>
#include <unistd.h>

static int keep_as_backup(const char *path, int unused, unsigned unused2) {
    (void)unused;
    (void)unused2;
    printf("%s becomes backup\n", path);
    return rename(path, "backup");
}

int main(void) {
    const int fd = open_path_name(".", "hostname", O_WRONLY | O_CREAT, 0644);
    if (fd < 0 || write(fd, "router\n", 7) != 7 || close(fd) != 0) {
        perror("hostname");
        return 1;
    }
    printf("hostname: %s\n", stat_item(".", "hostname") == 0 ? "there" : "missing");
    if (_func_path_name(keep_as_backup, ".", "hostname", 0, 0) != 0) {
        perror("rename");
        return 1;
    }
    printf("hostname: %s\n", stat_item(".", "hostname") == 0 ? "there" : "missing");
    if (remove_item(".", "backup") != 0 || stat_item(".", "backup") == 0)
        return 1;
    if (remove_item(".", "backup") == -1 && errno == ENOENT)
        puts("backup: removed once");
    return 0;
}
