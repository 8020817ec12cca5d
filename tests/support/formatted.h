// Formats that the compiler would complain about.
#ifndef QMV_TESTS_SUPPORT_FORMATTED_H
#define QMV_TESTS_SUPPORT_FORMATTED_H

#include <gtest/gtest.h>
#include <qmv/html.h>

#include <string>
#include <string_view>

#include "tests/support/output.h"

namespace qmv_test {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
/// html_printf() with a format that the compiler does not look into.
template <typename... Args>
int html_printf_of(int raw, const std::string &format, Args... args) {
    return html_printf(raw, format.c_str(), args...);
}
#pragma GCC diagnostic pop

/// Calls html_printf_of(): true when it prints exactly the text and returns its length.
template <typename... Args>
testing::AssertionResult formats(std::string_view expected, int raw, const std::string &format,
                                 Args... args) {
    return prints(expected, [&] { return html_printf_of(raw, format, args...); });
}

}  // namespace qmv_test

#endif
