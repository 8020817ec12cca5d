/* Copies a file, prints it, and reads it line by line. */
#include <fcntl.h>
#include <qmv/util.h>
#include <unistd.h>

static int show_line(void *count, char *line) {
    return printf("%d: %s", ++*(int *)count, line);
}

int main(void) {
    const char text[] = "first\nsecond\n";
    int lines = 0;
    const int from = open("original", O_RDWR | O_CREAT | O_TRUNC, 0644);
    const int to = open("copy", O_RDWR | O_CREAT | O_TRUNC, 0644);
    if (from < 0 || to < 0 || full_write_fd(from, text, sizeof text - 1) < 0) {
        perror("write");
        return 1;
    }
    if (lseek(from, 0, SEEK_SET) < 0 || full_copy_fd(from, to) < 0) {
        perror("copy");
        return 1;
    }
    if (lseek(to, 0, SEEK_SET) < 0 || print_fd(to) < 0) {
        perror("print");
        return 1;
    }
    close(from);
    close(to);
    if (rd_file_line("copy", show_line, &lines) != 0) {
        perror("copy");
        return 1;
    }
    print_fsize(2100);
    puts("");
    return 0;
}
