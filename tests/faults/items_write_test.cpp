// Writers of items when opening, reading, writing or memory fails. An item is truncated when it is
// opened, and written in place: a write that fails leaves it empty or with what was written.
#include <gtest/gtest.h>
#include <qmv/items.h>

#include <cstdlib>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Call;
using qmv_test::Manner;
using qmv_test::only;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::TempDir;

/// A value too long for the stack.
const std::string kLong(5000, 'v');

TEST(CreateItem, LeavesAnItemEmptyOrInPartWhenWritingFails) {
    Scenario([](const TempDir &dir) { return result(create_item(dir.path(), "item", "new", 3)); })
        .with("item", "old\n")
        .gives("4 item=\"new\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"n\"")
        .check();
}

TEST(CreateItem, LeavesANewItemEmptyOrInPartWhenWritingFails) {
    Scenario([](const TempDir &dir) { return result(create_item(dir.path(), "item", "new", 3)); })
        .gives("4 item=\"new\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"n\"")
        .check();
}

TEST(CreateItem, LeavesTheItemWithoutMemory) {
    Scenario([](const TempDir &dir) {
        return result(create_item(dir.path(), "item", kLong.c_str(), 5000));
    })
        .with("item", "old\n")
        .gives("5001 item=\"<5000 v>\\n\"")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"v\"")
        .check();
}

TEST(CreateItemUint, LeavesAnItemEmptyOrInPartWhenWritingFails) {
    Scenario([](const TempDir &dir) { return result(create_item_uint(dir.path(), "item", 123)); })
        .with("item", "old\n")
        .gives("4 item=\"123\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"1\"")
        .check();
}

TEST(CreateConcatItem, LeavesTheItemWithoutMemory) {
    Scenario([](const TempDir &dir) {
        return result(create_concat_item(dir.path(), "item", kLong.c_str(), "x"));
    })
        .with("item", "old\n")
        .gives("5002 item=\"<5000 v>x\\n\"")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"v\"")
        .check();
}

TEST(CompareItem, ToldApartFromADifferenceWhenItFails) {
    Scenario([](const TempDir &dir) { return result(compare_item(dir.path(), "item", "new", 63)); })
        .with("item", "old\n")
        .gives("1")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

TEST(CompareItem, FailsWithoutMemory) {
    Scenario([](const TempDir &dir) {
        return result(compare_item(dir.path(), "item", kLong.c_str(), 5000));
    })
        .with("item", kLong + "\n")
        .gives("0")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

TEST(UpdateItem, LeavesTheItemUnlessWritingItFails) {
    Scenario([](const TempDir &dir) { return result(update_item(dir.path(), "item", "new", 63)); })
        .with("item", "old\n")
        .gives("4 item=\"new\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"n\"")
        .check();
}

TEST(UpdateItem, LeavesTheItemWithoutMemory) {
    Scenario([](const TempDir &dir) {
        return result(update_item(dir.path(), "item", kLong.c_str(), 5000));
    })
        .with("item", "old\n")
        .gives("5001 item=\"<5000 v>\\n\"")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"v\"")
        .check();
}

TEST(UpdateItem, LeavesAnEqualItemWhateverFails) {
    Scenario([](const TempDir &dir) { return result(update_item(dir.path(), "item", "old", 63)); })
        .with("item", "old\n")
        .gives("0")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .check();
}

TEST(UpdateItemUint, LeavesTheItemUnlessWritingItFails) {
    Scenario([](const TempDir &dir) { return result(update_item_uint(dir.path(), "item", 123)); })
        .with("item", "9\n")
        .gives("4 item=\"123\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"1\"")
        .check();
}

TEST(WriteItemUint, LeavesTheItemUnlessWritingItFails) {
    Scenario([](const TempDir &dir) { return result(write_item_uint(dir.path(), "item", 123)); })
        .with("item", "9\n")
        .gives("4 item=\"123\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"1\"")
        .check();
}

TEST(WriteItemText, LeavesTheItemUnlessWritingItFails) {
    Scenario([](const TempDir &dir) {
        return result(write_item_text(dir.path(), "item", kLong.c_str()));
    })
        .with("item", "old\n")
        .gives("5001 item=\"<5000 v>\\n\"")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"v\"")
        .check();
}

/* ---- Row tables ---- */

struct Row {
    xtable_row head;
    char letter;
};

/// Appends a row; tells whether there was memory for it.
std::string append(xtable &table, char letter) {
    auto *row = reinterpret_cast<Row *>(xtable_new_row(&table, sizeof(Row)));
    if (row == nullptr)
        return "-";
    row->letter = letter;
    return "+";
}

std::string rows_of(const xtable &table) {
    std::string text;
    for (const xtable_row *row = table.first; row != nullptr; row = row->next)
        text += std::to_string(row->number) + reinterpret_cast<const Row *>(row)->letter;
    return text;
}

int by_letter(const void *a, const void *b) {
    return (*static_cast<Row *const *>(a))->letter - (*static_cast<Row *const *>(b))->letter;
}

TEST(XtableNewRow, LeavesTheTableWithoutMemory) {
    Scenario([](const TempDir &) {
        xtable table{nullptr, nullptr};
        std::string text;
        for (const char letter : {'c', 'a', 'b'})
            text += append(table, letter);
        text += " " + rows_of(table);
        xtable_cleanup(&table);
        return text;
    })
        .gives("+++ 1c2a3b")
        .fails(Call::kCalloc, "-++ 1a2b", only(1))
        .fails(Call::kCalloc, "+-+ 1c2b", only(2))
        .fails(Call::kCalloc, "++- 1c2a", only(3))
        .fails_for_good(Call::kCalloc, "--- ", only(1))
        .fails_for_good(Call::kCalloc, "+-- 1c", only(2))
        .fails_for_good(Call::kCalloc, "++- 1c2a", only(3))
        .check();
}

TEST(XtableSort, LeavesTheOrderWithoutMemory) {
    Scenario([](const TempDir &) {
        xtable table{nullptr, nullptr};
        Row rows[3] = {{{}, 'c'}, {{}, 'a'}, {{}, 'b'}};
        for (Row &row : rows)
            xtable_add_row(&table, &row.head);
        xtable_index_row(&table);
        const int returned = xtable_sort(&table, sizeof(xtable_row *), by_letter);
        return std::to_string(returned) + " " + rows_of(table);
    })
        .gives("1 1a2b3c")
        .fails(Call::kMalloc, "1 1c2a3b")
        .check();
}

}  // namespace
