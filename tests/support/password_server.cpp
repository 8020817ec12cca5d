#include "tests/support/password_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/support/program.h"

namespace qmv_test {
namespace {

/// A socket that listens on a free port of the loopback address.
int listening_socket(int &port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *const any = reinterpret_cast<sockaddr *>(&address);
    if (fd < 0 || ::bind(fd, any, size) != 0 || ::listen(fd, 16) != 0 ||
        ::getsockname(fd, any, &size) != 0)
        std::abort();
    port = ntohs(address.sin_port);
    return fd;
}

std::string configuration(const std::string &dir) {
    // The socket that already listens is the server's standard input.
    return "server.modules = (\"mod_auth\", \"mod_authn_file\")\n"
           "server.bind = \"/dev/stdin\"\n"
           "server.document-root = \"" +
           dir +
           "/pages\"\n"
           "index-file.names = (\"index.html\")\n"
           "auth.backend = \"htpasswd\"\n"
           "auth.backend.htpasswd.userfile = \"" +
           dir +
           "/users\"\n"
           "auth.require = (\"\" => (\"method\" => \"basic\", \"realm\" => \"router\", "
           "\"require\" => \"valid-user\"))\n";
}

}  // namespace

std::string PasswordServer::missing() {
    std::string names;
    for (const char *name : {"lighttpd", "curl"}) {
        if (find_program(name).empty())
            names += std::string(names.empty() ? "" : ", ") + name;
    }
    return names;
}

PasswordServer::PasswordServer(const std::string &htpasswd) {
    set_users(htpasswd);
    if (::mkdir(dir_.file("pages").c_str(), 0777) != 0)
        std::abort();
    dir_.write("pages/index.html", "<html></html>\n");
    const std::string config = dir_.write("config", configuration(dir_.path()));
    const std::string program = find_program("lighttpd");
    const int socket = listening_socket(port_);
    const int parent = ::getpid();
    pid_ = ::fork();
    if (pid_ == 0) {
        // It does not outlive a test that is ended.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(socket, STDIN_FILENO);
        ::dup2(null, STDOUT_FILENO);
        ::dup2(null, STDERR_FILENO);
        if (::getppid() == parent)
            ::execl(program.c_str(), "lighttpd", "-D", "-f", config.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(socket);
}

PasswordServer::~PasswordServer() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

void PasswordServer::set_users(const std::string &htpasswd) const {
    dir_.write("users", htpasswd);
}

std::string PasswordServer::status(const std::string &user, const std::string &password) const {
    return run_program({"curl", "--silent", "--noproxy", "*", "--max-time", "60", "--output",
                        "/dev/null", "--write-out", "%{http_code}", "--user", user + ":" + password,
                        "http://127.0.0.1:" + std::to_string(port_) + "/"})
        .output;
}

}  // namespace qmv_test
