#include "tests/support/program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace qmv_test {

std::string find_program(const std::string &name) {
    const char *const path = std::getenv("PATH");
    std::istringstream directories(std::string(path != nullptr ? path : "") +
                                   ":/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string file = directory + "/" + name;
        if (!directory.empty() && ::access(file.c_str(), X_OK) == 0)
            return file;
    }
    return "";
}

ChildResult run_program(const std::vector<std::string> &arguments, std::string_view input) {
    const std::string program = find_program(arguments.front());
    std::vector<char *> argv;
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    return run_child(input, [&] {
        ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
        return 127;
    });
}

std::string output_of(const std::vector<std::string> &arguments, std::string_view input) {
    const ChildResult result = run_program(arguments, input);
    EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments);
    return result.output;
}

std::string html_escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '"':
                escaped += "&quot;";
                break;
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

}  // namespace qmv_test
