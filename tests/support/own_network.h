// Network interfaces of a test's own.
#ifndef QMV_TESTS_SUPPORT_OWN_NETWORK_H
#define QMV_TESTS_SUPPORT_OWN_NETWORK_H

#include <functional>
#include <string>

namespace qmv_test {

/// Runs a test's body in a process with a network of its own, which has nothing but the loopback
/// interface, down, until the commands for `ip -batch` were carried out. In them "type lone" stands
/// for a kind of interface that needs no peer. To be called last: failures in the body are failures
/// of the test, which is skipped where there can be no such network.
void in_own_network(const std::string &commands, const std::function<void()> &body);

}  // namespace qmv_test

#endif
