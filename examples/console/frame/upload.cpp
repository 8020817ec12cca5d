#include "frame/upload.h"

#include <dirent.h>
#include <fcntl.h>
#include <qmv.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view kTemporary = ".part-";  // and the number of the process that writes it

char file_of_this_process[PATH_MAX];

std::string uploads() {
    const char *state = std::getenv("QMV_STATE");
    return std::string(state != nullptr ? state : "") + "/uploads";
}

void remove_file() {
    ::unlink(file_of_this_process);
}

// A server that gives up a request ends the program.
void remove_and_exit(int /*signal*/) {
    remove_file();
    ::_exit(1);
}

}  // namespace

Upload::Upload(unsigned max_bytes)
    : dir_(uploads()),
      max_bytes_(max_bytes),
      temporary_(dir_ + "/" + std::string(kTemporary) + std::to_string(::getpid())) {
    remove_leftovers();
    strsncpy(file_of_this_process, sizeof file_of_this_process, temporary_.c_str());
    std::signal(SIGTERM, remove_and_exit);
    std::atexit(remove_file);  // a request that is refused ends the program, too
}

Upload::~Upload() {
    if (fd_ >= 0) {
        ::close(fd_);
        ::unlink(temporary_.c_str());
    }
}

int Upload::receive(const char *boundary, const char *client_name) {
    if (fd_ >= 0)  // one file a form
        return scan_boundary(STDIN_FILENO, boundary, 3, nullptr, nullptr);
    name_ = valid_filename(client_name);
    fd_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    failed_ = fd_ < 0;
    const int result = scan_boundary(STDIN_FILENO, boundary, 3, write, this);
    if (size_ > max_bytes_)
        outcome_ = kTooLarge;
    else if (result != 0 && result != 3)
        outcome_ = kCutOff;
    else if (failed_)
        outcome_ = kNotStored;
    else
        outcome_ = name_.empty() ? kNone : kWhole;
    return result;
}

// Takes a piece. scan_boundary() ignores the result, so a failure is remembered.
int Upload::write(void *upload, const void *bytes, int count) {
    Upload &self = *static_cast<Upload *>(upload);
    if (self.size_ > self.max_bytes_)
        return 0;
    self.size_ += static_cast<unsigned>(count);
    self.crc_ = crc32(self.crc_, static_cast<const unsigned char *>(bytes), count);
    if (self.size_ <= self.max_bytes_ && full_write_fd(self.fd_, bytes, count) < 0)
        self.failed_ = true;
    return 0;
}

bool Upload::keep(const std::string &path) {
    return outcome_ == kWhole && ::fsync(fd_) == 0 &&
           ::rename(temporary_.c_str(), path.c_str()) == 0;
}

std::string Upload::reason() const {
    switch (outcome_) {
        case kWhole:
            return "";
        case kCutOff:
            return "The file was cut off on its way. Send it again.";
        case kTooLarge:
            return "The file is larger than " + std::to_string(max_bytes_ / 1024) + " KiB.";
        case kNotStored:
            return "The file could not be stored: the device may be full.";
        default:
            return "Choose a file first.";
    }
}

void Upload::remove_leftovers() const {
    DIR *entries = ::opendir(dir_.c_str());
    if (entries == nullptr)
        return;
    while (const dirent *entry = ::readdir(entries)) {
        if (std::strncmp(entry->d_name, kTemporary.data(), kTemporary.size()) != 0)
            continue;
        const int writer = str_to_sint(entry->d_name + kTemporary.size());
        if (writer > 0 && ::kill(writer, 0) != 0 && errno == ESRCH)
            remove_item(dir_.c_str(), entry->d_name);
    }
    ::closedir(entries);
}
