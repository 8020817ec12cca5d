// Programs that tests run by themselves, without a shell.
#ifndef QMV_TESTS_SUPPORT_PROGRAM_H
#define QMV_TESTS_SUPPORT_PROGRAM_H

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/io.h"

namespace qmv_test {

/// The path of an installed program; empty when there is none of this name.
std::string find_program(const std::string &name);

/// Runs a program with the input as its standard input. Its error messages are dropped; a program
/// that is not installed ends with the exit status 127.
ChildResult run_program(const std::vector<std::string> &arguments, std::string_view input = "");

/// The same, of a program that must succeed: returns its output, fails the test otherwise.
std::string output_of(const std::vector<std::string> &arguments, std::string_view input = "");

/// A text as the library puts it into an attribute. For ASCII texts.
std::string html_escaped(std::string_view text);

}  // namespace qmv_test

#endif
