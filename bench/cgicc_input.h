// A request for the peer that takes whole requests.
#ifndef QMV_BENCH_CGICC_INPUT_H
#define QMV_BENCH_CGICC_INPUT_H

#include <cgicc/CgiInput.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

namespace bench {

class CgiccInput : public cgicc::CgiInput {
  public:
    /// @param body   null when it comes from the descriptor
    CgiccInput(std::string type, std::size_t length, const char *body, int fd)
        : type_(std::move(type)), length_(length), body_(body), fd_(fd) {}

    std::size_t read(char *data, std::size_t length) override {
        if (body_ != nullptr) {
            body_ += std::string_view(body_, length).copy(data, length);
            return length;
        }
        std::size_t done = 0;
        while (done < length) {
            const ssize_t count = ::read(fd_, data + done, length - done);
            if (count < 1)
                break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    std::string getenv(const char *name) override {
        const std::string_view asked = name;
        if (asked == "REQUEST_METHOD")
            return "POST";
        if (asked == "CONTENT_TYPE")
            return type_;
        if (asked == "CONTENT_LENGTH")
            return std::to_string(length_);
        return "";
    }

  private:
    std::string type_;
    std::size_t length_;
    const char *body_;
    int fd_;
};

}  // namespace bench

#endif
