// Item files: what is written is read again, and files of any content are read as they stand.
#include <qmv/items.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

constexpr const char *kName = "item";

/// The value of a file's first bytes: up to a control character.
std::string value_of(const std::string &file, std::size_t size) {
    const auto end = std::find_if(file.begin(), file.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    });
    return std::string(file.begin(), end).substr(0, size);
}

unsigned to_uint(const std::string &text) {
    unsigned value = 0;
    for (std::size_t i = 0; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    return value;
}

int to_sint(const std::string &text) {
    const bool negative = text.starts_with('-');
    const unsigned value = to_uint(text.substr(negative ? 1 : 0));
    return static_cast<int>(negative ? 0 - value : value);
}

void check_reading(const std::string &file, int size) {
    const std::string value = value_of(file, static_cast<std::size_t>(size));
    const std::unique_ptr<char[]> buffer(new char[static_cast<std::size_t>(size) + 1]);
    const int length = read_item(fuzz::directory(), kName, buffer.get(), size);
    CHECK(length == static_cast<int>(value.size()));
    CHECK(value == buffer.get());

    char *whole = nullptr;
    const std::string all = value_of(file, file.size());
    CHECK(read_item_alloc(fuzz::directory(), kName, &whole) == static_cast<int>(all.size()));
    CHECK(all == whole);
    std::free(whole);

    const std::string digits = value_of(file, 15);
    unsigned number = 0;
    const int result = read_item_uint(fuzz::directory(), kName, &number);
    CHECK(result == static_cast<int>(digits.size()));
    CHECK(number == to_uint(digits));
    int with_sign = 0;
    CHECK(read_item_sint(fuzz::directory(), kName, &with_sign) == result);
    CHECK(with_sign == to_sint(digits));
}

/// Writes a value when it differs from what the file holds.
void check_update(const std::string &file, const std::string &value, int size) {
    const std::string kept = value.substr(0, static_cast<std::size_t>(size));
    const bool same = value_of(file, static_cast<std::size_t>(size)) == kept;
    const char *const dir = fuzz::directory();
    CHECK(compare_item(dir, kName, value.c_str(), size) == (same ? 0 : 1));
    const int result = update_item(dir, kName, value.c_str(), size);
    CHECK(result == (same ? 0 : static_cast<int>(kept.size()) + 1));
    CHECK(fuzz::read_file(fuzz::path_of(kName)) == (same ? file : kept + '\n'));
}

}  // namespace

void fuzz::run(Input &input) {
    const int size = static_cast<int>(input.byte());
    const unsigned number = input.number();
    const std::string value = input.text();
    const std::string file = input.rest();
    const std::string path = path_of(kName);
    write_file(path, file);
    check_reading(file, size);
    check_update(file, value, size);

    const std::string kept = value.substr(0, static_cast<std::size_t>(size));
    const int length = create_item(directory(), kName, value.c_str(), size);
    CHECK(length == static_cast<int>(kept.size()) + 1);
    CHECK(read_file(path) == kept + '\n');
    check_reading(kept + '\n', size);
    CHECK(stat_item(directory(), kName) == 0);

    CHECK(create_concat_item(directory(), kName, value.c_str(), kept.c_str()) > 0);
    CHECK(read_file(path) == value + kept + '\n');
    CHECK(write_item_text(directory(), kName, value.c_str()) > 0);
    CHECK(read_file(path) == value + '\n');
    CHECK(write_item_uint(directory(), kName, number) > 0);
    unsigned again = 0;
    CHECK(read_item_uint(directory(), kName, &again) > 0);
    CHECK(again == number);
    CHECK(update_item_uint(directory(), kName, number) == 0);
    CHECK(remove_item(directory(), kName) == 0);
    CHECK(update_item(directory(), kName, value.c_str(), size) == -1);
    CHECK(stat_item(directory(), kName) == -1);
}
