// An item of 20 bytes.
#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "bench/bench.h"
#include "bench/literal/literal.h"

namespace bench {

namespace {

constexpr char kName[] = "name";
constexpr char kChanging[] = "changing";
constexpr char kValue[] = "twenty bytes of text";
constexpr char kOther[] = "other bytes of text!";
constexpr int kSize = 60;

/// A directory with two items, in memory where there is such a place, removed at the end of the program.
class Directory {
  public:
    Directory() {
        if (::access("/dev/shm", W_OK) != 0)
            std::strcpy(path_, "/tmp/qmv-bench-XXXXXX");
        if (::mkdtemp(path_) == nullptr || create_item(path_, kName, kValue, kSize) < 0 ||
            create_item(path_, kChanging, kValue, kSize) < 0)
            std::abort();
    }
    ~Directory() { remove_dir_leaf(path_); }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;

    const char *path() const { return path_; }
    std::string item(const char *name) const { return std::string(path_) + '/' + name; }

  private:
    char path_[32] = "/dev/shm/qmv-bench-XXXXXX";
};

const Directory &directory() {
    static const Directory only;
    return only;
}

using Read = int (*)(const char *dir, const char *name, char *buf, int size);
using Update = int (*)(const char *dir, const char *name, const char *value, int size);

int read_with(Read read) {
    char value[kSize + 1];
    return read(directory().path(), kName, value, kSize);
}

std::string value_with(Read read, const char *name) {
    char value[kSize + 1];
    read(directory().path(), name, value, kSize);
    return value;
}

/// What each of these calls returns and leaves: the same value, another, a longer one, the first.
std::string outcome(Update update) {
    std::string outcomes;
    for (const char *value : {kValue, kOther, "a longer one than all before it", kValue})
        outcomes += std::to_string(update(directory().path(), kChanging, value, kSize)) + ' ' +
                    value_with(literal::read_item, kChanging) + '\n';
    return outcomes;
}

long read_file(const std::string &path) {
    char value[kSize];
    const int fd = ::open(path.c_str(), O_RDONLY);
    const ssize_t count = ::read(fd, value, sizeof value);
    ::close(fd);
    return count;
}

long write_file(const std::string &path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC);
    const ssize_t count = ::write(fd, kValue, sizeof kValue);
    ::close(fd);
    return count;
}

void add_peer(const std::string &name) {
    add(name, "peer:glib", [path = directory().item(kName)] {
        gchar *content = nullptr;
        gsize length = 0;
        g_file_get_contents(path.c_str(), &content, &length, nullptr);
        g_free(content);
        return length;
    });
}

/// Every call writes another value than the one before.
auto change(Update update) {
    return [update, odd = false]() mutable {
        odd = !odd;
        return update(directory().path(), kChanging, odd ? kOther : kValue, kSize);
    };
}

}  // namespace

void add_items() {
    const char *const dir = directory().path();
    expect_same("read_item", value_with(literal::read_item, kName), value_with(read_item, kName));
    add("read_item/20 bytes", "library", [] { return read_with(read_item); });
    add("read_item/20 bytes", "literal", [] { return read_with(literal::read_item); });
    add("read_item/20 bytes", "limit",
        [path = directory().item(kName)] { return read_file(path); });
    add_peer("read_item/20 bytes");

    expect_same("update_item", outcome(literal::update_item), outcome(update_item));
    add("update_item/equal", "library", [dir] { return update_item(dir, kName, kValue, kSize); });
    add("update_item/equal", "literal",
        [dir] { return literal::update_item(dir, kName, kValue, kSize); });
    add("update_item/equal", "limit", [path = directory().item(kName)] { return read_file(path); });
    add("update_item/changed", "library", change(update_item));
    add("update_item/changed", "literal", change(literal::update_item));
    add("update_item/changed", "limit",
        [path = directory().item(kChanging)] { return read_file(path) + write_file(path); });
}

}  // namespace bench
