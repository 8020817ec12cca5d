// The kernel's table of IPv6 addresses, in place of which the input is opened.
#include <arpa/inet.h>
#include <qmv/system.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

std::vector<interface_addr> *noted = nullptr;

int note(interface_addr *record) {
    CHECK(record->addr.v6.sin6_family == AF_INET6);
    CHECK(record->addr.v6.sin6_port == 0 && record->addr.v6.sin6_flowinfo == 0);
    CHECK(record->flags == 0);
    noted->push_back(*record);
    return -1;
}

bool is_hex(const std::string &text, std::size_t min, std::size_t max) {
    return text.size() >= min && text.size() <= max &&
           text.find_first_not_of("0123456789abcdef") == text.npos;
}

/// A line that the kernel could have written: its fields, or none.
std::vector<std::string> fields_of(const std::string &line) {
    std::istringstream words(line);
    std::vector<std::string> fields;
    for (std::string field; std::getline(words, field, ' ');) {
        if (!field.empty())
            fields.push_back(field);
    }
    if (fields.size() != 6 || line[0] == ' ' || !is_hex(fields[0], 32, 32) || fields[5].size() > 15)
        return {};
    for (std::size_t i = 1; i < 5; ++i) {
        if (!is_hex(fields[i], 1, 8))
            return {};
    }
    const auto graphic = [](char c) { return c > 0x20 && c < 0x7F; };
    return std::all_of(fields[5].begin(), fields[5].end(), graphic) ? fields
                                                                    : std::vector<std::string>();
}

bool is_record_of(const interface_addr &record, const std::vector<std::string> &fields) {
    const auto number = [&fields](std::size_t i) {
        return static_cast<uint32_t>(std::stoul(fields[i], nullptr, 16));
    };
    std::string address;
    for (std::size_t i = 0; i < 32; i += 2)
        address += static_cast<char>(std::stoi(fields[0].substr(i, 2), nullptr, 16));
    return std::memcmp(&record.addr.v6.sin6_addr, address.data(), 16) == 0 &&
           record.mask.v6.index == number(1) && record.mask.v6.prefix == number(2) &&
           record.addr.v6.sin6_scope_id == number(3) && record.mask.v6.flags == number(4);
}

}  // namespace

void fuzz::run(Input &input) {
    const std::string ifname = input.text();
    const std::string content = input.rest();
    const OpenInstead table("/proc/net/if_inet6", content);
    std::vector<interface_addr> records;
    noted = &records;
    const int own = read_interface6_conf(ifname.c_str(), note);
    CHECK(own == static_cast<int>(records.size()));
    const int all = read_interface6_conf(nullptr, note);
    CHECK(own == static_cast<int>(records.size()));
    CHECK(read_interface6_conf(ifname.c_str(), nullptr) == own);
    CHECK(own <= all);

    // What the kernel never writes may be left out or be read as something.
    std::istringstream lines(c_string(content.substr(0, 4095)));
    int possible = 0;
    int certain = 0;
    int certain_own = 0;
    std::size_t next = 0;
    for (std::string line; std::getline(lines, line) && !lines.eof(); ++possible) {
        const std::vector<std::string> fields = fields_of(line);
        if (fields.empty())
            continue;
        ++certain;
        if (fields[5] != ifname)
            continue;
        ++certain_own;
        while (next < records.size() && !is_record_of(records[next], fields))
            ++next;
        CHECK(next < records.size());
        ++next;
    }
    CHECK(all >= certain && all <= possible);
    CHECK(own <= certain_own + (possible - certain));
}
