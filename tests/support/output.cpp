#include "tests/support/output.h"

#include <string>

#include "tests/support/io.h"

namespace qmv_test {

testing::AssertionResult prints(std::string_view expected, const std::function<int()> &call) {
    return prints(expected, static_cast<int>(expected.size()), call);
}

testing::AssertionResult prints(std::string_view expected, int returned,
                                const std::function<int()> &call) {
    int count = 0;
    const std::string text = printed([&] { count = call(); });
    if (text != expected)
        return testing::AssertionFailure() << "it printed " << testing::PrintToString(text)
                                           << "\ninstead of " << testing::PrintToString(expected);
    if (count != returned)
        return testing::AssertionFailure() << "it returned " << count << " instead of " << returned
                                           << " after " << testing::PrintToString(text);
    return testing::AssertionSuccess();
}

}  // namespace qmv_test
