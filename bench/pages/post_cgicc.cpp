// Takes a posted form as post.cpp does, with a C++ library for CGI programs: it keeps all in memory.
#include <cgicc/Cgicc.h>

#include <fstream>
#include <iostream>

int main() {
    const cgicc::Cgicc request;
    std::size_t bytes = 0;
    for (const cgicc::FormEntry &entry : request.getElements())
        bytes += entry.getValue().size();
    for (const cgicc::FormFile &file : request.getFiles()) {
        std::ofstream to("/dev/null");
        file.writeToStream(to);
    }
    std::cout << request.getElements().size() + request.getFiles().size() << " parts, " << bytes
              << " bytes\n";
    return 0;
}
