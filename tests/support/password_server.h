// A real web server that asks for a password.
#ifndef QMV_TESTS_SUPPORT_PASSWORD_SERVER_H
#define QMV_TESTS_SUPPORT_PASSWORD_SERVER_H

#include <string>

#include "tests/support/io.h"

namespace qmv_test {

/// A lighttpd on a free port of the loopback address that lets in the users of a htpasswd file.
class PasswordServer {
  public:
    /// What is missing to run one; empty when nothing is.
    static std::string missing();

    explicit PasswordServer(const std::string &htpasswd);
    PasswordServer(const PasswordServer &) = delete;
    PasswordServer &operator=(const PasswordServer &) = delete;
    ~PasswordServer();

    /// Replaces the htpasswd file.
    void set_users(const std::string &htpasswd) const;

    /// Asks for the page with a user and a password: "200", "401", or "000" without an answer.
    std::string status(const std::string &user, const std::string &password) const;

  private:
    TempDir dir_;
    int port_ = 0;
    int pid_ = -1;
};

}  // namespace qmv_test

#endif
