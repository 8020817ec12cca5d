// What a printer prints together with what it returns.
#ifndef QMV_TESTS_SUPPORT_OUTPUT_H
#define QMV_TESTS_SUPPORT_OUTPUT_H

#include <gtest/gtest.h>

#include <functional>
#include <string_view>

namespace qmv_test {

/// Calls a printer: true when it prints exactly the text and returns its length.
testing::AssertionResult prints(std::string_view expected, const std::function<int()> &call);

/// The same for a printer that returns something else than the length.
testing::AssertionResult prints(std::string_view expected, int returned,
                                const std::function<int()> &call);

}  // namespace qmv_test

#endif
