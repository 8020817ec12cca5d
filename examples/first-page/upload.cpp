// Uploaded files: each one grows under a temporary name and gets its own when it is whole.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>

#include "page.h"

namespace {

constexpr std::string_view kTemporary = ".part-";  // and the number of the process that writes it
constexpr unsigned kMaxName = 64;

// A file under its temporary name, which is removed unless it is kept.
struct Upload {
    explicit Upload(const std::string &dir)
        : path(dir + "/" + std::string(kTemporary) + std::to_string(::getpid())),
          fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)),
          failed(fd < 0) {}
    Upload(const Upload &) = delete;
    Upload &operator=(const Upload &) = delete;
    ~Upload() {
        ::unlink(path.c_str());
        ::close(fd);
    }

    bool keep(const std::string &final_path) {
        return !failed && ::rename(path.c_str(), final_path.c_str()) == 0;
    }

    std::string path;
    int fd;
    bool failed;
    unsigned long long size = 0;
};

// Writer for scan_boundary(), which ignores the result: a failure is remembered.
int write_upload(void *ctx, const void *bytes, int count) {
    Upload &upload = *static_cast<Upload *>(ctx);
    upload.failed = upload.failed || full_write_fd(upload.fd, bytes, count) < 0;
    upload.size += static_cast<unsigned>(count);
    return 0;
}

int is_file_char(unsigned pos, unsigned ch) {
    const bool alphanumeric =
        (ch >= '0' && ch <= '9') || (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z');
    return alphanumeric || ch == '_' || (pos > 0 && (ch == '-' || ch == '.'));
}

// The name to store a file under: without directories, and of harmless characters only.
std::string safe_name(std::string_view client_name) {
    const std::string name(client_name.substr(client_name.find_last_of("/\\") + 1));
    char safe[kMaxName + 1];
    const int result = scan_textbox(name.c_str(), kMaxName, 1, safe, kMaxName, is_file_char);
    return result > 0 ? safe : "unnamed";
}

// The name that the client gave the file of a part; empty when the part is none.
std::string file_name(const cgivar *vars, unsigned count) {
    for (unsigned i = 1; i < count; ++i) {
        if (std::strcmp(vars[i].name, "filename") == 0)
            return vars[i].value;
    }
    return "";
}

}  // namespace

// Stores a part that is a file and skips any other. Returns what scan_boundary() does.
int receive_part(Page &page, const cgivar *vars, unsigned count) {
    const char *boundary = vars[0].value;
    const std::string name = file_name(vars, count);
    if (name.empty())
        return scan_boundary(STDIN_FILENO, boundary, 3, nullptr, nullptr);
    Upload upload(page.uploads);
    const int result = scan_boundary(STDIN_FILENO, boundary, 3, write_upload, &upload);
    const std::string stored_name = safe_name(name);
    if (result != 0 && result != 3)
        page.say("bad", name + " was cut off and was not stored.");
    else if (!upload.keep(page.uploads + "/" + stored_name))
        page.say("bad", name + " could not be stored.");
    else
        page.say("good", name + " was stored as " + stored_name + ", " +
                             std::to_string(upload.size) + " bytes.");
    return result;
}

void remove_leftovers(const Page &page) {
    DIR *entries = ::opendir(page.uploads.c_str());
    if (entries == nullptr)
        return;
    while (const dirent *entry = ::readdir(entries)) {
        if (std::strncmp(entry->d_name, kTemporary.data(), kTemporary.size()) != 0)
            continue;
        const int writer = str_to_sint(entry->d_name + kTemporary.size());
        if (::kill(writer, 0) != 0 && errno == ESRCH)
            remove_item(page.uploads.c_str(), entry->d_name);
    }
    ::closedir(entries);
}
