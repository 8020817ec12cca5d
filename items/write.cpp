#include <fcntl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "qmv/items.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/owners.h"
#include "util/scratch.h"

namespace {

constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
constexpr int kOverwrite = O_WRONLY | O_TRUNC;
constexpr unsigned kItemMode = 0666;

/// A number as an item holds it.
class Decimal {
  public:
    explicit Decimal(unsigned value) : length_(std::snprintf(text_, sizeof text_, "%u", value)) {}
    [[nodiscard]] const char *text() const { return text_; }
    [[nodiscard]] int length() const { return length_; }

  private:
    char text_[16];
    int length_;
};

/// The first bytes of a text, `size` at most.
std::string_view first_bytes(const char *text, int size) {
    return {text, ::strnlen(text, static_cast<size_t>(std::max(size, 0)))};
}

/// Stores a value and its newline in one write. Returns the number of bytes written.
int store(const char *dir, const char *name, std::string_view value, int flags) {
    qmv::Scratch line(value.size() + 1);
    if (!line)
        return -1;
    const qmv::Descriptor item(open_path_name(dir, name, flags, kItemMode));
    if (item.get() < 0)
        return item.get();
    std::memcpy(line.get(), value.data(), value.size());
    line.get()[value.size()] = '\n';
    return full_write_fd(item.get(), line.get(), qmv::clamp_to_int(value.size() + 1));
}

/// Compares the stored value with a text of which the first `size` bytes count.
/// One byte more than the text has is enough to tell that they differ.
int compare(const char *dir, const char *name, std::string_view value, int size) {
    const int limit = std::min(qmv::clamp_to_int(value.size() + 1), std::max(size, 0));
    qmv::Scratch stored(static_cast<size_t>(limit) + 1);
    if (!stored)
        return -1;
    const int length = read_item(dir, name, stored.get(), limit);
    if (length < 0)
        return length;
    return std::string_view(stored.get(), static_cast<size_t>(length)) == value ? 0 : 1;
}

}  // namespace

int create_item(const char *dir, const char *name, const char *value, int len) {
    if (value == nullptr)
        return -1;
    return store(dir, name, first_bytes(value, len), kCreate);
}

int create_item_uint(const char *dir, const char *name, unsigned value) {
    const Decimal number(value);
    return create_item(dir, name, number.text(), number.length());
}

int create_concat_item(const char *dir, const char *name, const char *first, const char *second) {
    if (dir == nullptr || name == nullptr || first == nullptr || second == nullptr)
        return -1;
    const size_t first_length = std::strlen(first);
    const size_t second_length = std::strlen(second);
    qmv::Scratch joined(first_length + second_length + 1);
    if (!joined)
        return -1;
    std::memcpy(joined.get(), first, first_length);
    std::memcpy(joined.get() + first_length, second, second_length + 1);
    return create_item(dir, name, joined.get(), qmv::clamp_to_int(first_length + second_length));
}

int compare_item(const char *dir, const char *name, const char *value, int size) {
    if (value == nullptr)
        return -1;
    return compare(dir, name, first_bytes(value, size), size);
}

int update_item(const char *dir, const char *name, const char *value, int size) {
    const int different = compare_item(dir, name, value, size);
    if (different <= 0)
        return different;
    return store(dir, name, first_bytes(value, size), kOverwrite);
}

int update_item_uint(const char *dir, const char *name, unsigned value) {
    return update_item(dir, name, Decimal(value).text(), 15);
}

int write_item_uint(const char *dir, const char *name, unsigned value) {
    return store(dir, name, Decimal(value).text(), kOverwrite);
}

int write_item_text(const char *dir, const char *name, const char *text) {
    return store(dir, name, text != nullptr ? text : "", kOverwrite);
}
