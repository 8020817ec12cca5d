// Who is asking, and what was posted.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "frame/console.h"
#include "frame/token.h"
#include "frame/upload.h"

namespace {

constexpr auth_entry kAccess[] = {{"admin", kAdministrator}, {"viewer", kReadOnly}, {nullptr, 0}};
constexpr size_t kMaxPart = 4096;          // of a part that is no file
constexpr unsigned kFormBytes = 8 * 1024;  // of a multipart form, besides its file

std::string environment(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// The parameter of a part's Content-Disposition; null without it.
const char *parameter(const cgivar *vars, unsigned count, const char *name) {
    for (unsigned i = 1; i < count; ++i) {
        if (vars[i].parent != nullptr && std::strcmp(vars[i].name, name) == 0)
            return vars[i].value;
    }
    return nullptr;
}

// Takes a piece of a part that is no file, and one byte too many at most.
int append_text(void *text, const void *bytes, int count) {
    std::string &all = *static_cast<std::string *>(text);
    const size_t room = kMaxPart + 1 - all.size();
    all.append(static_cast<const char *>(bytes), std::min(room, static_cast<size_t>(count)));
    return 0;
}

bool is_form_type(std::string_view type) {
    constexpr std::string_view kMultipart = "multipart/form-data;";
    if (type == "application/x-www-form-urlencoded")
        return true;
    if (type.substr(0, kMultipart.size()) != kMultipart)
        return false;
    type.remove_prefix(std::min(type.find_first_not_of(' ', kMultipart.size()), type.size()));
    return type.substr(0, 9) == "boundary=" && type.size() > 9;
}

}  // namespace

Console::Console(const Page &page, Upload *upload)
    : page_(page),
      state_(environment("QMV_STATE")),
      user_(environment("REMOTE_USER")),
      level_(static_cast<Level>(get_auth(kAccess))),
      is_post_(environment("REQUEST_METHOD") == "POST"),
      upload_(upload) {
    if (state_.empty())
        stop("500 Internal Server Error", "QMV_STATE is not set: where are the items?");
    if (level_ == kNobody)
        stop("403 Forbidden", "This user may not use the console.");
    require_method();
    if (is_post_)
        require_rights();
    read_request();
    if (is_post_)
        begin_change();
    else
        lock_settings(LOCK_SH);
}

// The library would answer other methods, types and lengths itself, with the status of success.
void Console::require_method() {
    const std::string method = environment("REQUEST_METHOD");
    if (method != "GET" && method != "HEAD" && method != "POST")
        stop("405 Method Not Allowed",
             "The console takes GET and POST requests. Nothing was changed.");
    if (is_post_ && str_to_uint(environment("CONTENT_LENGTH").c_str()) == 0)
        stop("400 Bad Request", "The form is empty. Nothing was changed.");
    if (is_post_ && !is_form_type(environment("CONTENT_TYPE")))
        stop("415 Unsupported Media Type", "This is not a form. Nothing was changed.");
}

// An item is emptied and written anew in place: other programs must not look at it meanwhile. One
// that changes settings has them for itself; the lock ends with the program.
bool Console::lock_settings(int operation) const {
    const int lock = ::open(path("lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    return lock >= 0 && ::flock(lock, operation) == 0;
}

// Only now may the page change something. What it begins it finishes, although a server that gives up
// the request sends SIGTERM.
void Console::begin_change() {
    if (is_broken_)
        stop("400 Bad Request", "The form was cut off or too large. Nothing was changed.");
    if (make_token(state_, user_).empty())
        stop("500 Internal Server Error", "The device has no secret to check forms with.");
    if (!has_token())
        stop("403 Forbidden",
             "The form is not one of this console, or of another user, or older than the password. "
             "Nothing was changed. Open the page again and repeat the change.");
    std::signal(SIGTERM, [](int) {});
    if (!lock_settings(LOCK_EX))
        stop("500 Internal Server Error", "The settings are locked. Nothing was changed.");
}

// What can be refused before the body is read.
void Console::require_rights() {
    if (level_ < page_.may_post || page_.may_post == kNobody)
        stop("403 Forbidden", "You may look at this page, but not change anything here.");
    if (std::strtoull(environment("CONTENT_LENGTH").c_str(), nullptr, 10) >
        page_.max_bytes + kFormBytes)
        stop("413 Content Too Large", "What was sent is too large: this page takes up to " +
                                          std::to_string(page_.max_bytes / 1024) +
                                          " KiB. Nothing was changed.");
}

void Console::read_request() {
    getcgivars(this, receive, is_post_ ? nullptr : receive);
}

int Console::receive(void *console, cgivar *vars, unsigned count, unsigned mode) {
    Console &self = *static_cast<Console *>(console);
    if (mode == CGI_MODE_MULTIPART)
        return count > 1 ? self.take_part(vars, count) : 0;
    for (unsigned i = 0; i < count; ++i)
        self.variables_.emplace_back(vars[i].name, vars[i].value);
    return 0;
}

// Takes a part: a text, or a file when the token has come before it. Any other is skipped.
int Console::take_part(const cgivar *vars, unsigned count) {
    const char *boundary = vars[0].value;
    const char *name = parameter(vars, count, "name");
    const char *file = parameter(vars, count, "filename");
    if (file != nullptr && upload_ != nullptr && has_token())
        return upload_->receive(boundary, file);
    if (file != nullptr || name == nullptr)
        return scan_boundary(STDIN_FILENO, boundary, 3, nullptr, nullptr);
    std::string text;
    const int result = scan_boundary(STDIN_FILENO, boundary, 3, append_text, &text);
    is_broken_ = is_broken_ || text.size() > kMaxPart || (result != 0 && result != 3);
    variables_.emplace_back(name, text.c_str());
    return result;
}

bool Console::has_token() const {
    const char *token = value("token");
    return token != nullptr && is_token(token, state_, user_);
}

const char *Console::value(std::string_view name) const {
    for (const auto &[its_name, its_value] : variables_) {
        if (its_name == name)
            return its_value.c_str();
    }
    return nullptr;
}

std::string Console::path(std::string_view below) const {
    return state_ + "/" + std::string(below);
}

std::string Console::items(std::string_view group) const {
    return path("items/" + std::string(group));
}

std::string Console::item(std::string_view group, const char *name) const {
    char *text = nullptr;
    read_item_alloc(items(group).c_str(), name, &text);
    std::string value = text == nullptr ? "" : text;
    std::free(text);
    return value;
}
