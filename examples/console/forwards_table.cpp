#include "forwards.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

#include "frame/file.h"

namespace {

enum Column { kName, kProtocol, kOn, kLow, kHigh, kAddress, kTarget, kColumns };

Forward *row_of(xtable_row *row) {
    return reinterpret_cast<Forward *>(row);
}

std::string address_text(uint32_t address) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(&address);
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", bytes[0], bytes[1], bytes[2], bytes[3]);
    return text;
}

int compare_names(const void *a, const void *b) {
    const Forward *first = *static_cast<const Forward *const *>(a);
    const Forward *second = *static_cast<const Forward *const *>(b);
    const int order = ::strcasecmp(first->name, second->name);
    return order != 0 ? order : static_cast<int>(first->low) - static_cast<int>(second->low);
}

bool share_protocol(const Forward &a, const Forward &b) {
    return std::strcmp(a.protocol, b.protocol) == 0 || std::strcmp(a.protocol, "both") == 0 ||
           std::strcmp(b.protocol, "both") == 0;
}

}  // namespace

std::string Forward::ports() const {
    return low == high ? std::to_string(low) : std::to_string(low) + "-" + std::to_string(high);
}

std::string Forward::destination() const {
    return address_text(address) + ":" + std::to_string(target);
}

void Forward::assign(const Forward &other) {
    const xtable_row place = links;
    *this = other;
    links = place;
}

Forwards::Forwards(std::string path) : path_(std::move(path)) {
    read();
}

void Forwards::read() {
    xtable_cleanup(&table_);
    db_record *records = nullptr;
    is_read_ = read_db_file(path_.c_str(), kColumns, &records) == 0;
    for (const db_record *record = records; record != nullptr; record = record->next)
        add_record(*record);
    free_db(records);
}

void Forwards::add_record(const db_record &record) {
    Forward *row = record.count == kColumns ? add() : nullptr;
    if (row == nullptr)
        return;
    strsncpy(row->name, sizeof row->name, record.fields[kName]);
    strsncpy(row->protocol, sizeof row->protocol, record.fields[kProtocol]);
    row->on = bool_to_uint(record.fields[kOn]) != 0;
    row->low = str_to_uint(record.fields[kLow]);
    row->high = str_to_uint(record.fields[kHigh]);
    scan_ipv4(record.fields[kAddress], &row->address, 0);
    row->target = str_to_uint(record.fields[kTarget]);
}

Forward *Forwards::add() {
    return row_of(xtable_new_row(&table_, sizeof(Forward)));
}

unsigned Forwards::count() const {
    return table_.last != nullptr ? table_.last->number : 0;
}

Forward *Forwards::find(unsigned number) const {
    xtable table = table_;
    return row_of(xtable_search_row(&table, number));
}

const Forward *Forwards::overlapping(const Forward &row, unsigned except) const {
    for (const Forward *other = first(); other != nullptr; other = other->next()) {
        if (other->links.number != except && share_protocol(*other, row) &&
            other->low <= row.high && row.low <= other->high)
            return other;
    }
    return nullptr;
}

bool Forwards::sort() {
    return xtable_sort(&table_, sizeof(xtable_row *), compare_names) != 0;
}

std::string Forwards::text() const {
    std::string all;
    for (const Forward *row = first(); row != nullptr; row = row->next()) {
        for (const std::string &field :
             {std::string(row->name), std::string(row->protocol), std::to_string(row->on ? 1 : 0),
              std::to_string(row->low), std::to_string(row->high), address_text(row->address),
              std::to_string(row->target)})
            all += field + "\n";
        all += "\n";
    }
    return all;
}

std::string Forwards::version() const {
    const std::string all = text();
    return std::to_string(crc32(0xFFFFFFFF, reinterpret_cast<const unsigned char *>(all.c_str()),
                                static_cast<int>(all.size())));
}

bool Forwards::write() const {
    return replace_file(path_, text());
}
