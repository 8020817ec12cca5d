// Lists in posted values: elements between separators, numbers, groups of numbers.
#include <qmv/items.h>

#include <algorithm>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

std::vector<std::string> *elements = nullptr;

int take(int ctx, char *element) {
    CHECK(ctx == 42);
    elements->push_back(element);
    return -1;
}

std::vector<std::string> split(std::string text, char separator) {
    std::vector<std::string> all;
    for (bool more = true; more;) {
        const std::size_t end = separator != '\0' ? text.find(separator) : text.npos;
        more = end != text.npos;
        const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
        // A blank that separates is skipped with those in front of an element.
        const std::size_t stop = separator == ' ' ? text.find(' ', start) : end;
        if (start < std::min(stop, text.size()))
            all.push_back(text.substr(start, stop == text.npos ? stop : stop - start));
        more = stop != text.npos;
        text = more ? text.substr(stop + 1) : "";
    }
    return all;
}

void check_numbers(const std::string &list) {
    const char *cursor = list.c_str();
    while (cursor != nullptr) {
        std::string left = cursor;
        unsigned value = 77;
        const char *const before = cursor;
        const auto found = fuzz::take_number(left);
        cursor = scan_uint(cursor, &value);
        CHECK(value == found.value_or(77));
        CHECK((cursor != nullptr) == (found.has_value() && left.starts_with(',')));
        CHECK(cursor == nullptr || (cursor > before && left.substr(1) == cursor));
    }
}

/// Groups of numbers in a text of any form: nothing is stored behind the capacity.
void check_groups(const std::string &list, int capacity) {
    const char *cursor = list.c_str();
    const char *const end = cursor + list.size();
    while (cursor != nullptr) {
        const std::unique_ptr<unsigned[]> array(new unsigned[static_cast<std::size_t>(capacity)]);
        unsigned count = 0;
        const char *const before = cursor;
        cursor = scan_list_uint(cursor, &count, array.get(), capacity);
        CHECK(count <= static_cast<unsigned>(capacity));
        CHECK(cursor == nullptr || (cursor > before && cursor <= end));
        if (cursor == end)
            break;
    }
}

/// A list that is made of groups gives them back.
void check_made_groups(const std::vector<std::vector<unsigned>> &groups) {
    std::string list;
    for (const auto &group : groups) {
        list += list.empty() ? "(" : ",(";
        for (std::size_t i = 0; i < group.size(); ++i)
            list += (i > 0 ? "," : "") + std::to_string(group[i]);
        list += ")";
    }
    const char *cursor = list.c_str();
    for (std::size_t i = 0; i < groups.size(); ++i) {
        std::vector<unsigned> array(groups[i].size() + 1);
        unsigned count = 1;
        CHECK(cursor != nullptr);
        cursor = scan_list_uint(cursor, &count, array.data(), static_cast<int>(groups[i].size()));
        CHECK(count == array.size());
        CHECK(std::equal(groups[i].begin(), groups[i].end(), array.begin() + 1));
        CHECK((cursor == nullptr) == (i + 1 == groups.size()));
    }
}

}  // namespace

void fuzz::run(Input &input) {
    const int separator = static_cast<int>(input.byte());
    const int capacity = static_cast<int>(input.byte() % 16);
    std::vector<std::vector<unsigned>> groups(input.byte() % 4);
    for (auto &group : groups) {
        group.resize(input.byte() % 5);
        for (unsigned &number : group)
            number = input.number();
    }
    const std::string text = c_string(input.rest());
    check_made_groups(groups);
    check_numbers(text);
    check_groups(text, capacity);

    std::vector<std::string> all;
    elements = &all;
    std::string copy = text;
    parse_items_str(take, 42, copy.data(), separator);
    CHECK(all == split(text, static_cast<char>(separator)));

    std::string digits = text.starts_with(' ') ? "" : text;
    const unsigned number = take_number(digits).value_or(0);
    CHECK(str_to_uint(text.c_str()) == number);
    CHECK(str_to_sint(("-" + text).c_str()) == static_cast<int>(0 - number));
    CHECK(bool_to_uint(text.c_str()) <= 1);
}
