// Prints the variables of a request, with their values escaped, when all of them have come. C++,
// with the C++ run-time library, which the library itself does without.
#include <qmv.h>

#include <string>
#include <utility>
#include <vector>

using Variables = std::vector<std::pair<std::string, std::string>>;

static int keep_variables(void *kept, cgivar *vars, unsigned count, unsigned) {
    for (unsigned i = 0; i < count; ++i)
        static_cast<Variables *>(kept)->emplace_back(vars[i].name, vars[i].value);
    return 0;
}

int main() {
    print_str("Content-Type: text/html; charset=utf-8\r\n\r\n");
    Variables variables;
    if (getcgivars(&variables, keep_variables, nullptr) != 0)
        return 1;
    for (const auto &variable : variables)
        html_printf(0, "%s: %s\n", variable.first.c_str(), variable.second.c_str());
    return 0;
}
