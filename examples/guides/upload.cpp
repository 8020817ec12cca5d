// Takes a firmware image: it grows under a temporary name in the directory QMV_STATE, and gets its
// own when it is whole and its CRC-32 is the one that was typed.
#include <fcntl.h>
#include <qmv.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr unsigned kMaxImage = 64 * 1024;  // bytes; a real one is larger

struct Image {
    std::string state;
    std::string temporary;
    int fd = -1;
    unsigned size = 0;
    unsigned crc = 0xFFFFFFFF;
    bool failed = false;
    std::string typed_crc;
    const char *outcome = "No image arrived.";
};

// Takes a piece of the image. Its result is ignored: a failure is remembered.
int write_image(void *ctx, const void *bytes, int count) {
    Image &image = *static_cast<Image *>(ctx);
    image.size += static_cast<unsigned>(count);
    image.crc = crc32(image.crc, static_cast<const unsigned char *>(bytes), count);
    if (image.size > kMaxImage || full_write_fd(image.fd, bytes, count) < 0)
        image.failed = true;
    return 0;
}

// Takes a piece of a short text.
int write_text(void *ctx, const void *bytes, int count) {
    std::string &text = *static_cast<std::string *>(ctx);
    if (text.size() < 100)
        text.append(static_cast<const char *>(bytes), static_cast<size_t>(count));
    return 0;
}

// Value of a header or of a parameter of a part; "" when it has none.
const char *value_of(const cgivar *vars, unsigned count, const char *name) {
    for (unsigned i = 1; i < count; ++i) {
        if (std::strcmp(vars[i].name, name) == 0)
            return vars[i].value;
    }
    return "";
}

int receive_image(Image &image, const char *boundary) {
    image.temporary = image.state + "/.image-" + std::to_string(::getpid());
    image.fd = ::open(image.temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const int result = scan_boundary(STDIN_FILENO, boundary, 3, write_image, &image);
    if (result == 2)
        image.outcome = "The image was cut off.";
    else if (image.size > kMaxImage)
        image.outcome = "The image is too large.";
    else if (image.failed)
        image.outcome = "There is no room for the image.";
    else
        image.outcome = "";
    return result;
}

// Called for each part, with its boundary in the first record and its headers behind that.
int receive(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    Image &image = *static_cast<Image *>(ctx);
    if (mode != CGI_MODE_MULTIPART || count < 2)
        return 0;  // the beginning and the end of the form
    const char *boundary = vars[0].value;
    const std::string name = value_of(vars, count, "name");
    if (name == "crc")
        return scan_boundary(STDIN_FILENO, boundary, 3, write_text, &image.typed_crc);
    if (name == "image" && image.fd < 0)
        return receive_image(image, boundary);
    return scan_boundary(STDIN_FILENO, boundary, 3, nullptr, nullptr);
}

void keep(Image &image) {
    char crc[9];
    std::snprintf(crc, sizeof crc, "%08x", ~image.crc);
    if (image.outcome[0] != '\0')
        return;
    if (image.typed_crc != crc)
        image.outcome = "The CRC-32 is another one.";
    else if (::rename(image.temporary.c_str(), (image.state + "/image").c_str()) != 0)
        image.outcome = "The image could not be stored.";
    else
        image.outcome = "The image is stored.";
}

}  // namespace

int main() {
    Image image;
    const char *state = std::getenv("QMV_STATE");
    image.state = state != nullptr ? state : ".";
    // A server that gives up a request closes its input: the image is then cut off, and removed.
    std::signal(SIGTERM, SIG_IGN);
    getcgivars(&image, receive, nullptr);
    keep(image);
    ::unlink(image.temporary.c_str());
    print_str("Content-Type: text/plain\r\n\r\n");
    html_printf(1, "%s %u bytes.\n", image.outcome, image.size);
    return 0;
}
