#include "fuzz/support.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace {

/// A call that exit() ends, and the blocks that the library has allocated during it.
struct GuardedCall {
    std::jmp_buf back;
    int status = 0;
    std::set<void *> blocks;
};

/// How the reads of a pipe are cut.
struct CutReads {
    int fd = -1;
    std::string pieces;
    std::size_t next = 0;
    bool failed = false;
};

constexpr unsigned char kInterrupted = 254;

GuardedCall *guarded = nullptr;
const fuzz::OpenInstead *replacement = nullptr;
CutReads cut;

void *note_block(void *block) {
    if (guarded != nullptr && block != nullptr)
        guarded->blocks.insert(block);
    return block;
}

bool is_cut(int fd) {
    return cut.fd >= 0 && (fd == cut.fd || fd == STDIN_FILENO);
}

/// Reads by way of a copy, so that a sanitizer sees which bytes of the buffer are written.
ssize_t read_copied(int fd, void *buffer, std::size_t count) {
    static char copy[1 << 16];
    const ssize_t n = ::syscall(SYS_read, fd, copy, std::min(count, sizeof copy));
    if (n > 0)
        std::memcpy(buffer, copy, static_cast<std::size_t>(n));
    return n;
}

int open_file(const char *path, int flags, mode_t mode) {
    if (replacement != nullptr && replacement->path == path)
        return fuzz::open_content(replacement->content);
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int open_descriptors() {
    std::array<pollfd, 64> all{};
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = {static_cast<int>(i), 0, 0};
    ::poll(all.data(), all.size(), 0);
    return static_cast<int>(std::count_if(all.begin(), all.end(), [](const pollfd &entry) {
        return (entry.revents & POLLNVAL) == 0;
    }));
}

/// The directory of the process.
class Directory {
  public:
    Directory() : path_(std::filesystem::temp_directory_path() / "qmv-fuzz-XXXXXX") {
        CHECK(::mkdtemp(path_.data()) != nullptr);
    }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    ~Directory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const char *path() const { return path_.c_str(); }

  private:
    std::string path_;
};

// Names of the characters 160 to 255, in order.
constexpr const char *kLatin1 =
    "nbsp iexcl cent pound curren yen brvbar sect uml copy ordf laquo not shy reg macr deg plusmn "
    "sup2 sup3 acute micro para middot cedil sup1 ordm raquo frac14 frac12 frac34 iquest Agrave "
    "Aacute Acirc Atilde Auml Aring AElig Ccedil Egrave Eacute Ecirc Euml Igrave Iacute Icirc Iuml "
    "ETH Ntilde Ograve Oacute Ocirc Otilde Ouml times Oslash Ugrave Uacute Ucirc Uuml Yacute THORN "
    "szlig agrave aacute acirc atilde auml aring aelig ccedil egrave eacute ecirc euml igrave "
    "iacute icirc iuml eth ntilde ograve oacute ocirc otilde ouml divide oslash ugrave uacute "
    "ucirc uuml yacute thorn yuml";

std::map<std::string, unsigned> known_entities() {
    std::map<std::string, unsigned> codes = {{"quot", '"'}, {"amp", '&'}, {"lt", '<'}, {"gt", '>'}};
    std::istringstream names(kLatin1);
    unsigned code = 160;
    for (std::string name; names >> name; ++code)
        codes[name] = code;
    return codes;
}

unsigned code_of_entity(const std::string &name) {
    static const std::map<std::string, unsigned> known = known_entities();
    if (name.starts_with('#'))
        return static_cast<unsigned>(std::stoul(name.substr(1)));
    const auto found = known.find(name);
    return found != known.end() ? found->second : 0;
}

}  // namespace

// The library's allocations, by way of the linker's --wrap.
extern "C" {
void *__real_malloc(std::size_t size);
char *__real_strdup(const char *text);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) {
    return note_block(__real_malloc(size));
}
char *__wrap_strdup(const char *text) {
    return static_cast<char *>(note_block(__real_strdup(text)));
}
void __wrap_free(void *block) {
    if (guarded != nullptr)
        guarded->blocks.erase(block);
    __real_free(block);
}

void exit(int status) noexcept {
    if (guarded != nullptr) {
        guarded->status = status;
        std::longjmp(guarded->back, 1);
    }
    using Exit = void (*)(int);
    reinterpret_cast<Exit>(::dlsym(RTLD_NEXT, "exit"))(status);
    std::abort();
}

ssize_t read(int fd, void *buffer, std::size_t count) {
    if (!is_cut(fd) || cut.next == cut.pieces.size())
        return read_copied(fd, buffer, count);
    const auto piece = static_cast<unsigned char>(cut.pieces[cut.next++]);
    if (piece < kInterrupted)
        return read_copied(fd, buffer, std::min<std::size_t>(count, piece));
    cut.failed = cut.failed || piece != kInterrupted;
    errno = piece != kInterrupted ? EIO : EINTR;
    return -1;
}

// What a call of read() becomes in code that checks the size of its buffers.
ssize_t __read_chk(int fd, void *buffer, std::size_t count, std::size_t) {
    return read(fd, buffer, count);
}

int open(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return open_file(path, flags, mode);
}

// What a call of open() becomes in code that is built for large files.
int open64(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return open_file(path, flags | O_LARGEFILE, mode);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    fuzz::directory();
    const int before = open_descriptors();
    fuzz::Input input(data, size);
    fuzz::run(input);
    CHECK(open_descriptors() == before);
    return 0;
}
}

namespace fuzz {

unsigned Input::byte() {
    if (left_.empty())
        return 0;
    const auto first = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return first;
}

uint32_t Input::number() {
    uint32_t number = 0;
    for (int shift = 0; shift < 32; shift += 8)
        number |= uint32_t{byte()} << shift;
    return number;
}

std::string Input::text() {
    std::string text(left_.substr(0, left_.find('\0')));
    left_.remove_prefix(std::min(left_.size(), text.size() + 1));
    return text;
}

std::string Input::rest() {
    std::string all(left_);
    left_ = {};
    return all;
}

void fail(const char *file, int line, const char *condition) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

std::string printed(const std::function<void()> &call) {
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *const before = stdout;
    stdout = ::open_memstream(&text, &size);
    call();
    std::fclose(stdout);
    stdout = before;
    std::string result(text, size);
    std::free(text);
    return result;
}

std::optional<int> exit_status(const std::function<void()> &call) {
    GuardedCall here;
    guarded = &here;
    if (setjmp(here.back) == 0) {
        call();
        guarded = nullptr;
        return std::nullopt;
    }
    guarded = nullptr;
    for (void *block : here.blocks)
        std::free(block);
    return here.status;
}

Pipe::Pipe(std::string_view content, std::string pieces, Kind kind) {
    if (kind == Kind::kFile) {
        fd_ = open_content(content);
        cut = {fd_, std::move(pieces), 0, false};
        return;
    }
    int ends[2];
    if (kind == Kind::kPipe)
        CHECK(::pipe2(ends, O_CLOEXEC) == 0);
    else
        CHECK(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    CHECK(::write(ends[1], content.data(), content.size()) == static_cast<ssize_t>(content.size()));
    ::close(ends[1]);
    fd_ = ends[0];
    cut = {fd_, std::move(pieces), 0, false};
}

Pipe::~Pipe() {
    ::close(fd_);
    cut = {};
}

bool Pipe::failed() const {
    return cut.failed;
}

std::string Pipe::rest() const {
    std::string rest;
    char buffer[4096];
    for (ssize_t n = 0; (n = ::syscall(SYS_read, fd_, buffer, sizeof buffer)) > 0;)
        rest.append(buffer, static_cast<std::size_t>(n));
    return rest;
}

StandardInput::StandardInput(const Pipe &pipe) : kept_(::dup(STDIN_FILENO)) {
    ::dup2(pipe.fd(), STDIN_FILENO);
}

StandardInput::~StandardInput() {
    if (kept_ >= 0)
        ::dup2(kept_, STDIN_FILENO);
    ::close(kept_ >= 0 ? kept_ : STDIN_FILENO);
}

int open_content(std::string_view content) {
    const int fd = ::memfd_create("qmv-fuzz", MFD_CLOEXEC);
    CHECK(::write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
    ::lseek(fd, 0, SEEK_SET);
    return fd;
}

OpenInstead::OpenInstead(std::string which, std::string what)
    : path(std::move(which)), content(std::move(what)) {
    replacement = this;
}

OpenInstead::~OpenInstead() {
    replacement = nullptr;
}

const char *directory() {
    static const Directory directory;
    return directory.path();
}

std::string path_of(std::string_view name) {
    return directory() + ("/" + std::string(name));
}

void write_file(const std::string &path, std::string_view content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

Character first_character(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1};
    if (lead < 0xC0 || lead >= 0xF0)
        return {0, 1};
    const std::size_t length = lead < 0xE0 ? 2 : 3;
    unsigned code = lead & (length == 2 ? 0x1F : 0x0F);
    for (std::size_t i = 1; i < length; ++i) {
        if (i == text.size() || text[i] == '\0')
            return {0, i};
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80)
            return {0, i + 1};
        code = code * 64 + (byte - 0x80);
    }
    return {code % 0x10000, length};
}

std::vector<unsigned> codes_of(std::string_view text) {
    std::vector<unsigned> codes;
    while (!text.empty()) {
        const Character character = first_character(text);
        if (character.code != 0)
            codes.push_back(character.code);
        text.remove_prefix(character.length);
    }
    return codes;
}

std::vector<unsigned> codes_of_html(std::string_view html) {
    std::vector<unsigned> codes;
    while (!html.empty()) {
        if (html[0] != '&') {
            CHECK(html[0] > 0 && html[0] < 0x7F);
            CHECK(html[0] != '<' && html[0] != '>' && html[0] != '"');
            codes.push_back(static_cast<unsigned char>(html[0]));
            html.remove_prefix(1);
            continue;
        }
        const std::size_t end = html.find(';');
        CHECK(end != html.npos);
        codes.push_back(code_of_entity(std::string(html.substr(1, end - 1))));
        CHECK(codes.back() > 0 && codes.back() <= 0xFFFF);
        html.remove_prefix(end + 1);
    }
    return codes;
}

std::string between(std::string_view text, std::string_view begin, std::string_view end) {
    const std::size_t start = text.find(begin);
    CHECK(start != text.npos);
    text.remove_prefix(start + begin.size());
    const std::size_t stop = text.find(end);
    CHECK(stop != text.npos);
    return std::string(text.substr(0, stop));
}

std::string value_shown(const std::function<void()> &print) {
    return between(printed(print), " value=\"", "\"");
}

std::optional<unsigned> take_number(std::string &text) {
    text.erase(0, text.find_first_not_of(' '));
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    unsigned value = 0;
    for (const char digit : text.substr(0, end))
        value = value * 10 + static_cast<unsigned>(digit - '0');
    text.erase(0, end);
    return end > 0 ? std::optional(value) : std::nullopt;
}

std::string c_string(const std::string &text) {
    return text.c_str();
}

}  // namespace fuzz
