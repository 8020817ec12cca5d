// The page of examples/hello with a C++ library for CGI programs.
#include <cgicc/Cgicc.h>

#include <iostream>
#include <string>

namespace {

std::string escaped(const std::string &text) {
    std::string html;
    for (const char c : text) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            default:
                html += c;
                break;
        }
    }
    return html;
}

}  // namespace

int main() {
    const cgicc::Cgicc request;
    const cgicc::const_form_iterator name = request.getElement("name");
    std::cout << "Content-Type: text/html; charset=utf-8\r\n\r\n<!DOCTYPE html>\r\n<html>\r\n"
                 "<head>\r\n<title>Hello</title>\r\n</head>\r\n<body>\r\n<p>Hello, "
              << (name == request.getElements().end() ? "world" : escaped(name->getValue()))
              << "!</p>\r\n</body>\r\n</html>\r\n";
    return 0;
}
