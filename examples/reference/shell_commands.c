/* Runs commands: their output in a page, in memory, and line by line. */
#include <qmv/system.h>
#include <stdlib.h>
#include <sys/wait.h>

static int show_line(int number, char *text) {
    return printf("list %d: %s", number, text);
}

int main(void) {
    char *output = NULL;
    shell_lines lines = {NULL, 0};

    int status = run_shell(PRINT_PRE, "echo '%d < %d'; exit 3", 1, 2);
    /* The status is that of wait(), 768 here. */
    if (status > 0 && WIFEXITED(status))
        printf("\nexit code %d\n", WEXITSTATUS(status));

    if (asprint_shell(&output, "printf 'a\\nb\\n' | wc -l") < 0) {
        fputs("no shell\n", stderr);
        return 1;
    }
    printf("%d lines\n", atoi(output));
    free(output);

    status = shell_run(&lines, "printf 'one\\ntwo\\n'");
    if (status != 0)
        return 1;
    printf("%u lines\n", (unsigned)lines.count);
    shell_line(&lines, show_line, 7);
    /* The lines are freed; the list must be cleared before it is used again. */
    lines.first = NULL;
    lines.count = 0;
    return 0;
}
