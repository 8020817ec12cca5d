// With --wrap=name the linker sends the library's calls of name() to __wrap_name(), and those of
// __real_name() to the C library, or to the sanitizer that stands in front of it.
#include <dirent.h>
#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/faults/calls.h"

using qmv_test::Call;
using qmv_test::due;
using qmv_test::handed_out;
using qmv_test::list_handed_out;
using qmv_test::make;
using qmv_test::make_closing;
using qmv_test::move;
using qmv_test::taken_back;

extern "C" {

/* ---- Memory ---- */

void *__real_malloc(std::size_t size);
void *__wrap_malloc(std::size_t size);
void *__wrap_malloc(std::size_t size) {
    return handed_out(make<void *>(Call::kMalloc, nullptr, __real_malloc, size));
}

void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size) {
    return handed_out(make<void *>(Call::kCalloc, nullptr, __real_calloc, count, size));
}

void *__real_realloc(void *block, std::size_t size);
void *__wrap_realloc(void *block, std::size_t size);
void *__wrap_realloc(void *block, std::size_t size) {
    const void *const before = block;
    void *const moved = make<void *>(Call::kRealloc, nullptr, __real_realloc, block, size);
    if (moved != nullptr) {
        taken_back(before);
        handed_out(moved);
    }
    return moved;
}

void __real_free(void *block);
void __wrap_free(void *block);
void __wrap_free(void *block) {
    taken_back(block);
    __real_free(block);
}

char *__real_strdup(const char *text);
char *__wrap_strdup(const char *text);
char *__wrap_strdup(const char *text) {
    return handed_out(make<char *>(Call::kStrdup, nullptr, __real_strdup, text));
}

/* ---- Texts from formats, in plain form and in the one that checks its arguments ---- */

int __real_vasprintf(char **text, const char *format, std::va_list args);
int __wrap_vasprintf(char **text, const char *format, std::va_list args);
int __wrap_vasprintf(char **text, const char *format, std::va_list args) {
    const qmv_test::Fault *wrong = due(Call::kFormat);
    if (wrong != nullptr) {
        // Nothing that may be used: what stands here after a failure is not told.
        *text = reinterpret_cast<char *>(std::uintptr_t{1});
        errno = wrong->error;
        return -1;
    }
    const int length = __real_vasprintf(text, format, args);
    if (length >= 0)
        handed_out(*text);
    return length;
}

int __wrap___vasprintf_chk(char **text, int flag, const char *format, std::va_list args);
int __wrap___vasprintf_chk(char **text, int, const char *format, std::va_list args) {
    return __wrap_vasprintf(text, format, args);
}

int __wrap_asprintf(char **text, const char *format, ...);
int __wrap_asprintf(char **text, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = __wrap_vasprintf(text, format, args);
    va_end(args);
    return length;
}

int __wrap___asprintf_chk(char **text, int flag, const char *format, ...);
int __wrap___asprintf_chk(char **text, int, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = __wrap_vasprintf(text, format, args);
    va_end(args);
    return length;
}

/* ---- Directories ---- */

using Scan = int(const char *path, dirent ***entries, int (*filter)(const dirent *),
                 int (*order)(const dirent **, const dirent **));
using Scan64 = int(const char *path, dirent64 ***entries, int (*filter)(const dirent64 *),
                   int (*order)(const dirent64 **, const dirent64 **));

Scan __real_scandir;
Scan __wrap_scandir;
int __wrap_scandir(const char *path, dirent ***entries, int (*filter)(const dirent *),
                   int (*order)(const dirent **, const dirent **)) {
    const int count = make<int>(Call::kScandir, -1, __real_scandir, path, entries, filter, order);
    return list_handed_out(count, entries);
}

Scan64 __real_scandir64;
Scan64 __wrap_scandir64;
int __wrap_scandir64(const char *path, dirent64 ***entries, int (*filter)(const dirent64 *),
                     int (*order)(const dirent64 **, const dirent64 **)) {
    const int count = make<int>(Call::kScandir, -1, __real_scandir64, path, entries, filter, order);
    return list_handed_out(count, entries);
}

int __real_mkdir(const char *path, mode_t mode);
int __wrap_mkdir(const char *path, mode_t mode);
int __wrap_mkdir(const char *path, mode_t mode) {
    return make<int>(Call::kMkdir, -1, __real_mkdir, path, mode);
}

int __real_chmod(const char *path, mode_t mode);
int __wrap_chmod(const char *path, mode_t mode);
int __wrap_chmod(const char *path, mode_t mode) {
    return make<int>(Call::kChmod, -1, __real_chmod, path, mode);
}

int __real_rmdir(const char *path);
int __wrap_rmdir(const char *path);
int __wrap_rmdir(const char *path) {
    return make<int>(Call::kRmdir, -1, __real_rmdir, path);
}

int __real_unlink(const char *path);
int __wrap_unlink(const char *path);
int __wrap_unlink(const char *path) {
    return make<int>(Call::kUnlink, -1, __real_unlink, path);
}

/* ---- Streams ---- */

std::FILE *__real_fopen(const char *path, const char *mode);
std::FILE *__wrap_fopen(const char *path, const char *mode);
std::FILE *__wrap_fopen(const char *path, const char *mode) {
    return make<std::FILE *>(Call::kFopen, nullptr, __real_fopen, path, mode);
}

std::FILE *__real_fopen64(const char *path, const char *mode);
std::FILE *__wrap_fopen64(const char *path, const char *mode);
std::FILE *__wrap_fopen64(const char *path, const char *mode) {
    return make<std::FILE *>(Call::kFopen, nullptr, __real_fopen64, path, mode);
}

int __real_fclose(std::FILE *stream);
int __wrap_fclose(std::FILE *stream);
int __wrap_fclose(std::FILE *stream) {
    return make_closing<int>(Call::kFclose, EOF, __real_fclose, stream);
}

std::FILE *__real_popen(const char *command, const char *mode);
std::FILE *__wrap_popen(const char *command, const char *mode);
std::FILE *__wrap_popen(const char *command, const char *mode) {
    return make<std::FILE *>(Call::kPopen, nullptr, __real_popen, command, mode);
}

int __real_pclose(std::FILE *stream);
int __wrap_pclose(std::FILE *stream);
int __wrap_pclose(std::FILE *stream) {
    return make_closing<int>(Call::kPclose, -1, __real_pclose, stream);
}

ssize_t __real___getdelim(char **line, std::size_t *size, int delimiter, std::FILE *stream);
ssize_t __wrap___getdelim(char **line, std::size_t *size, int delimiter, std::FILE *stream);
ssize_t __wrap___getdelim(char **line, std::size_t *size, int delimiter, std::FILE *stream) {
    const void *const before = *line;
    const ssize_t length =
        make<ssize_t>(Call::kGetline, -1, __real___getdelim, line, size, delimiter, stream);
    if (*line != before) {
        taken_back(before);
        handed_out(*line);
    }
    return length;
}

ssize_t __wrap_getline(char **line, std::size_t *size, std::FILE *stream);
ssize_t __wrap_getline(char **line, std::size_t *size, std::FILE *stream) {
    return __wrap___getdelim(line, size, '\n', stream);
}

std::size_t __real_fread(void *items, std::size_t size, std::size_t count, std::FILE *stream);
std::size_t __wrap_fread(void *items, std::size_t size, std::size_t count, std::FILE *stream);
std::size_t __wrap_fread(void *items, std::size_t size, std::size_t count, std::FILE *stream) {
    const ssize_t moved = move(Call::kFread, count, [=](std::size_t n) {
        return static_cast<ssize_t>(__real_fread(items, size, n, stream));
    });
    return moved < 0 ? 0 : static_cast<std::size_t>(moved);
}

std::size_t __real_fwrite(const void *items, std::size_t size, std::size_t count,
                          std::FILE *stream);
std::size_t __wrap_fwrite(const void *items, std::size_t size, std::size_t count,
                          std::FILE *stream);
std::size_t __wrap_fwrite(const void *items, std::size_t size, std::size_t count,
                          std::FILE *stream) {
    return make<std::size_t>(Call::kFwrite, 0, __real_fwrite, items, size, count, stream);
}

/* ---- Descriptors ---- */

int __real_open(const char *path, int flags, ...);
int __real_open64(const char *path, int flags, ...);

using OpenWithMode = int(const char *path, int flags, mode_t mode);

static int open_with_mode(const char *path, int flags, mode_t mode) {
    return __real_open(path, flags, mode);
}

static int open64_with_mode(const char *path, int flags, mode_t mode) {
    return __real_open64(path, flags, mode);
}

static int open_staged(OpenWithMode *real, const char *path, int flags, std::va_list args) {
    const bool takes_mode = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = takes_mode ? va_arg(args, mode_t) : 0;
    return make<int>(Call::kOpen, -1, real, qmv_test::staged(path), flags, mode);
}

int __wrap_open(const char *path, int flags, ...);
int __wrap_open(const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const int fd = open_staged(open_with_mode, path, flags, args);
    va_end(args);
    return fd;
}

int __wrap_open64(const char *path, int flags, ...);
int __wrap_open64(const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const int fd = open_staged(open64_with_mode, path, flags, args);
    va_end(args);
    return fd;
}

int __real_close(int fd);
int __wrap_close(int fd);
int __wrap_close(int fd) {
    return make_closing<int>(Call::kClose, -1, __real_close, fd);
}

ssize_t __real_read(int fd, void *buffer, std::size_t count);
ssize_t __wrap_read(int fd, void *buffer, std::size_t count);
ssize_t __wrap_read(int fd, void *buffer, std::size_t count) {
    return move(Call::kRead, count, [=](std::size_t n) { return __real_read(fd, buffer, n); });
}

ssize_t __wrap___read_chk(int fd, void *buffer, std::size_t count, std::size_t size);
ssize_t __wrap___read_chk(int fd, void *buffer, std::size_t count, std::size_t size) {
    if (count > size)
        std::abort();
    return __wrap_read(fd, buffer, count);
}

ssize_t __real_recv(int fd, void *buffer, std::size_t count, int flags);
ssize_t __wrap_recv(int fd, void *buffer, std::size_t count, int flags);
ssize_t __wrap_recv(int fd, void *buffer, std::size_t count, int flags) {
    return move(Call::kPeek, count,
                [=](std::size_t n) { return __real_recv(fd, buffer, n, flags); });
}

ssize_t __wrap___recv_chk(int fd, void *buffer, std::size_t count, std::size_t size, int flags);
ssize_t __wrap___recv_chk(int fd, void *buffer, std::size_t count, std::size_t size, int flags) {
    if (count > size)
        std::abort();
    return __wrap_recv(fd, buffer, count, flags);
}

ssize_t __real_tee(int from, int to, std::size_t count, unsigned flags);
ssize_t __wrap_tee(int from, int to, std::size_t count, unsigned flags);
ssize_t __wrap_tee(int from, int to, std::size_t count, unsigned flags) {
    return move(Call::kPeek, count, [=](std::size_t n) { return __real_tee(from, to, n, flags); });
}

off_t __real_lseek(int fd, off_t offset, int whence);
off_t __wrap_lseek(int fd, off_t offset, int whence);
off_t __wrap_lseek(int fd, off_t offset, int whence) {
    return make<off_t>(Call::kSeek, -1, __real_lseek, fd, offset, whence);
}

off64_t __real_lseek64(int fd, off64_t offset, int whence);
off64_t __wrap_lseek64(int fd, off64_t offset, int whence);
off64_t __wrap_lseek64(int fd, off64_t offset, int whence) {
    return make<off64_t>(Call::kSeek, -1, __real_lseek64, fd, offset, whence);
}

int __real_pipe2(int ends[2], int flags);
int __wrap_pipe2(int ends[2], int flags);
int __wrap_pipe2(int ends[2], int flags) {
    return make<int>(Call::kPipe, -1, __real_pipe2, ends, flags);
}

ssize_t __real_write(int fd, const void *buffer, std::size_t count);
ssize_t __wrap_write(int fd, const void *buffer, std::size_t count);
ssize_t __wrap_write(int fd, const void *buffer, std::size_t count) {
    return move(Call::kWrite, count, [=](std::size_t n) { return __real_write(fd, buffer, n); });
}

int __real_stat(const char *path, void *info);
int __wrap_stat(const char *path, void *info);
int __wrap_stat(const char *path, void *info) {
    return make<int>(Call::kStat, -1, __real_stat, path, info);
}

int __real_stat64(const char *path, void *info);
int __wrap_stat64(const char *path, void *info);
int __wrap_stat64(const char *path, void *info) {
    return make<int>(Call::kStat, -1, __real_stat64, path, info);
}

int __real_fstat(int fd, void *info);
int __wrap_fstat(int fd, void *info);
int __wrap_fstat(int fd, void *info) {
    return make<int>(Call::kFstat, -1, __real_fstat, fd, info);
}

int __real_fstat64(int fd, void *info);
int __wrap_fstat64(int fd, void *info);
int __wrap_fstat64(int fd, void *info) {
    return make<int>(Call::kFstat, -1, __real_fstat64, fd, info);
}

int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol) {
    return make<int>(Call::kSocket, -1, __real_socket, domain, type, protocol);
}

int __real_ioctl(int fd, unsigned long request, ...);

static int ask_driver(int fd, unsigned long request, void *block) {
    const qmv_test::Driver *driver = qmv_test::driver();
    return driver != nullptr ? (*driver)(request, block) : __real_ioctl(fd, request, block);
}

int __wrap_ioctl(int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, ...) {
    std::va_list args;
    va_start(args, request);
    void *const block = va_arg(args, void *);
    va_end(args);
    return make<int>(Call::kIoctl, -1, ask_driver, fd, request, block);
}

/* ---- Other ---- */

// The names of programs with 64 bits of time where long has 32.
#if defined(__TIMESIZE) && __TIMESIZE == 32

int __real___stat64_time64(const char *path, void *info);
int __wrap___stat64_time64(const char *path, void *info);
int __wrap___stat64_time64(const char *path, void *info) {
    return make<int>(Call::kStat, -1, __real___stat64_time64, path, info);
}

int __real___fstat64_time64(int fd, void *info);
int __wrap___fstat64_time64(int fd, void *info);
int __wrap___fstat64_time64(int fd, void *info) {
    return make<int>(Call::kFstat, -1, __real___fstat64_time64, fd, info);
}

int __wrap___ioctl_time64(int fd, unsigned long request, ...);
int __wrap___ioctl_time64(int fd, unsigned long request, ...) {
    std::va_list args;
    va_start(args, request);
    void *const block = va_arg(args, void *);
    va_end(args);
    return make<int>(Call::kIoctl, -1, ask_driver, fd, request, block);
}

#endif

int __real_kill(pid_t pid, int signal);
int __wrap_kill(pid_t pid, int signal);
int __wrap_kill(pid_t pid, int signal) {
    return make<int>(Call::kKill, -1, __real_kill, pid, signal);
}

// libcrypt tells a failure by null or by a text that is no hash.
char *__real_crypt(const char *password, const char *salt);
char *__wrap_crypt(const char *password, const char *salt);
char *__wrap_crypt(const char *password, const char *salt) {
    static char token[] = "*0";
    char *hash = make<char *>(Call::kCrypt, token, __real_crypt, password, salt);
    return hash == token && errno == ENOMEM ? nullptr : hash;
}

}  // extern "C"
