// A library to preload: at the end of a program it adds the name of the program and the most memory
// that was resident, in KiB, as a line to the file QMV_PEAK.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

extern char *program_invocation_short_name;

namespace {

[[gnu::destructor]] void note_peak() {
    const char *path = std::getenv("QMV_PEAK");
    const int fd =
        path != nullptr ? ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600) : -1;
    if (fd < 0)
        return;
    // VmHWM: what getrusage() tells would include the web server that the program was forked from.
    long peak = 0;
    if (std::FILE *status = std::fopen("/proc/self/status", "re"); status != nullptr) {
        char line[128];
        while (std::fgets(line, sizeof line, status) != nullptr)
            std::sscanf(line, "VmHWM: %ld", &peak);
        std::fclose(status);
    }
    ::dprintf(fd, "%s %ld\n", program_invocation_short_name, peak);
    ::close(fd);
}

}  // namespace
