#include "tests/support/io.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace qmv_test {
namespace {

int nameless_file() {
    const int fd = ::memfd_create("qmv-test", MFD_CLOEXEC);
    if (fd < 0)
        std::abort();
    return fd;
}

std::string read_all(int fd) {
    std::string content;
    char buffer[4096];
    for (ssize_t n = 0; (n = ::read(fd, buffer, sizeof buffer)) > 0;)
        content.append(buffer, static_cast<std::size_t>(n));
    return content;
}

void write_all(int fd, std::string_view content, std::size_t piece) {
    while (!content.empty()) {
        const std::string_view head = content.substr(0, piece);
        const ssize_t n = ::write(fd, head.data(), head.size());
        if (n < 0)
            return;
        content.remove_prefix(static_cast<std::size_t>(n));
    }
}

std::string captured(std::FILE *stream, const std::function<void()> &call) {
    const int number = ::fileno(stream);
    std::fflush(stream);
    const int kept = ::dup(number);
    const int file = nameless_file();
    ::dup2(file, number);
    call();
    std::fflush(stream);
    ::dup2(kept, number);
    ::close(kept);
    ::lseek(file, 0, SEEK_SET);
    std::string content = read_all(file);
    ::close(file);
    return content;
}

}  // namespace

std::string printed(const std::function<void()> &call) {
    return captured(stdout, call);
}

std::string printed_error(const std::function<void()> &call) {
    return captured(stderr, call);
}

int open_descriptors() {
    int count = 0;
    DIR *directory = ::opendir("/proc/self/fd");
    while (::readdir(directory) != nullptr)
        ++count;
    ::closedir(directory);
    return count;
}

TempDir::TempDir() : path_((std::filesystem::temp_directory_path() / "qmv-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr)
        std::abort();
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::file(std::string_view name) const {
    return path_ + "/" + std::string(name);
}

std::string TempDir::write(std::string_view name, std::string_view content) const {
    std::ofstream(file(name), std::ios::binary | std::ios::trunc) << content;
    return file(name);
}

std::string TempDir::read(std::string_view name) const {
    std::ifstream in(file(name), std::ios::binary);
    EXPECT_TRUE(in.is_open()) << name << " does not exist";
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool TempDir::exists(std::string_view name) const {
    return ::access(file(name).c_str(), F_OK) == 0;
}

InputFile::InputFile(std::string_view content) : fd_(nameless_file()) {
    write_all(fd_, content, content.size());
    ::lseek(fd_, 0, SEEK_SET);
}

InputFile::~InputFile() {
    ::close(fd_);
}

std::string InputFile::rest() const {
    return read_all(fd_);
}

InputPipe::InputPipe(std::string_view content, std::size_t piece) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        std::abort();
    std::fflush(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::close(ends[0]);
        write_all(ends[1], content, piece);
        ::_exit(0);
    }
    ::close(ends[1]);
    fd_ = ends[0];
}

InputPipe::~InputPipe() {
    ::close(fd_);
    ::waitpid(pid_, nullptr, 0);
}

std::string InputPipe::rest() const {
    return read_all(fd_);
}

ChildResult run_child(std::string_view input, const std::function<int()> &call) {
    const InputFile in(input);
    const int out = nameless_file();
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(in.fd(), STDIN_FILENO);
        ::dup2(out, STDOUT_FILENO);
        std::exit(call());
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ::lseek(out, 0, SEEK_SET);
    ChildResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_all(out)};
    ::close(out);
    return result;
}

}  // namespace qmv_test
