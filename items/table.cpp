#include <algorithm>
#include <cstdlib>

#include "qmv/items.h"
#include "util/owners.h"

namespace {

/// Takes a row out of the list; the row's own pointers stay.
void unlink_row(xtable &table, const xtable_row &row) {
    (row.prev != nullptr ? row.prev->next : table.first) = row.next;
    (row.next != nullptr ? row.next->prev : table.last) = row.prev;
}

/// Puts a row in front of another that is in the list.
void insert_before(xtable &table, xtable_row &row, xtable_row &next) {
    row.prev = next.prev;
    row.next = &next;
    (next.prev != nullptr ? next.prev->next : table.first) = &row;
    next.prev = &row;
}

/// Swaps two neighbours and numbers the table. Returns 0 when one of them does not exist.
int swap_rows(xtable *table, xtable_row *front, xtable_row *back) {
    if (front == nullptr || back == nullptr)
        return 0;
    unlink_row(*table, *back);
    insert_before(*table, *back, *front);
    xtable_index_row(table);
    return 1;
}

unsigned count_rows(const xtable &table) {
    unsigned count = 0;
    for (const xtable_row *row = table.first; row != nullptr; row = row->next)
        ++count;
    return count;
}

}  // namespace

xtable_row *xtable_new_row(xtable *table, unsigned size) {
    if (table == nullptr)
        return nullptr;
    void *block = std::calloc(1, std::max<size_t>(size, sizeof(xtable_row)));
    if (block == nullptr)
        return nullptr;
    auto *row = static_cast<xtable_row *>(block);
    xtable_add_row(table, row);
    xtable_index_row(table);
    return row;
}

void xtable_add_row(xtable *table, xtable_row *row) {
    if (table == nullptr || row == nullptr)
        return;
    row->prev = table->last;
    row->next = nullptr;
    (table->last != nullptr ? table->last->next : table->first) = row;
    table->last = row;
}

unsigned xtable_index_row(xtable *table) {
    unsigned count = 0;
    for (xtable_row *row = table != nullptr ? table->first : nullptr; row != nullptr;
         row = row->next)
        row->number = ++count;  // NOLINT(clang-analyzer-unix.Malloc): freed rows are not linked
    return count;
}

xtable_row *xtable_search_row(xtable *table, unsigned number) {
    xtable_row *row = table != nullptr ? table->first : nullptr;
    while (row != nullptr && row->number != number)
        row = row->next;
    return row;
}

int xtable_move_up_row(xtable *table, unsigned number) {
    xtable_row *row = xtable_search_row(table, number);
    return row != nullptr ? swap_rows(table, row->prev, row) : 0;
}

int xtable_move_dn_row(xtable *table, unsigned number) {
    xtable_row *row = xtable_search_row(table, number);
    return row != nullptr ? swap_rows(table, row, row->next) : 0;
}

void xtable_rm_row(xtable *table, xtable_row *row) {
    if (table == nullptr || row == nullptr)
        return;
    unlink_row(*table, *row);
    std::free(row);
}

int xtable_del_row(xtable *table, unsigned number) {
    xtable_row *row = xtable_search_row(table, number);
    if (row == nullptr)
        return 0;
    xtable_rm_row(table, row);
    xtable_index_row(table);
    return 1;
}

int xtable_sort(xtable *table, unsigned width, int (*compare)(const void *, const void *)) {
    if (table == nullptr || table->last == nullptr)
        return 0;
    // The rows are counted where they are linked: numbers that are wrong cannot do harm.
    const size_t count = count_rows(*table);
    if (count < 2 || width != sizeof(xtable_row *) || compare == nullptr)
        return 1;
    const auto rows = qmv::Block<xtable_row *>::allocate(count);
    if (!rows)
        return 1;
    size_t filled = 0;
    for (xtable_row *row = table->first; row != nullptr; row = row->next)
        rows[filled++] = row;
    std::qsort(rows.get(), count, width, compare);
    table->first = table->last = nullptr;
    for (size_t i = 0; i < count; ++i)
        xtable_add_row(table, rows[i]);
    xtable_index_row(table);
    return 1;
}

void xtable_cleanup(xtable *table) {
    if (table == nullptr)
        return;
    xtable_row *row = table->first;
    while (row != nullptr) {
        xtable_row *next = row->next;
        std::free(row);
        row = next;
    }
    *table = {nullptr, nullptr};
}
