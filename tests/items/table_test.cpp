// Row tables: order, numbers and memory.
#include <gtest/gtest.h>
#include <qmv/items.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/held_memory.h"

namespace {

struct Row {
    xtable_row row;
    char name;
    int key;
};

Row *as_row(xtable_row *row) {
    return reinterpret_cast<Row *>(row);
}

/// A table that frees its rows.
struct Table : xtable {
    explicit Table(const std::string &names = "") : xtable{nullptr, nullptr} {
        for (const char name : names)
            append(name);
    }
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;
    ~Table() { xtable_cleanup(this); }

    Row *append(char name, int key = 0) {
        Row *row = as_row(xtable_new_row(this, sizeof(Row)));
        row->name = name;
        row->key = key;
        return row;
    }
    Row *row(unsigned number) { return as_row(xtable_search_row(this, number)); }
};

/// A row as programs make them.
xtable_row *own_row(char name, unsigned number) {
    auto *row = static_cast<Row *>(std::malloc(sizeof(Row)));
    std::memset(static_cast<void *>(row), 0xEE, sizeof *row);
    row->name = name;
    row->row.number = number;
    return &row->row;
}

/// Names and numbers, "a1 b2", of the list forwards; what is wrong when it is broken backwards.
std::string listed(const xtable &table) {
    std::string text;
    const xtable_row *before = nullptr;
    for (xtable_row *row = table.first; row != nullptr; row = row->next) {
        if (row->prev != before)
            return "wrong previous row behind " + text;
        text += text.empty() ? "" : " ";
        text += as_row(row)->name + std::to_string(row->number);
        before = row;
    }
    return table.last == before ? text : "wrong last row behind " + text;
}

constexpr unsigned kWidth = sizeof(xtable_row *);

const Row &pointed(const void *element) {
    return **static_cast<const Row *const *>(element);
}

int by_name(const void *a, const void *b) {
    return pointed(a).name - pointed(b).name;
}

int by_key(const void *a, const void *b) {
    return pointed(a).key - pointed(b).key;
}

int compared = 0;

int count_comparisons(const void *a, const void *b) {
    ++compared;
    return by_name(a, b);
}

// ---- Rows ----

TEST(XtableNewRow, AppendsAZeroFilledRowWithTheNewCount) {
    Table table;
    for (unsigned count = 1; count <= 5; ++count) {
        xtable_row *row = xtable_new_row(&table, 400);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->number, count);
        EXPECT_EQ(row, table.last);
        EXPECT_EQ(row->next, nullptr);
        const char *bytes = reinterpret_cast<const char *>(row);
        EXPECT_EQ(std::string(bytes + sizeof *row, 400 - sizeof *row),
                  std::string(400 - sizeof *row, '\0'));
        std::memset(static_cast<void *>(row + 1), 0xEE, 400 - sizeof *row);
    }
    EXPECT_EQ(table.first->number, 1u);
}

TEST(XtableNewRow, LinksTheRowsInOrder) {
    Table table;
    EXPECT_EQ(listed(table), "");
    table.append('x');
    EXPECT_EQ(listed(table), "x1");
    EXPECT_EQ(table.first, table.last);
    table.append('y');
    table.append('a');
    EXPECT_EQ(listed(table), "x1 y2 a3");
}

TEST(XtableNewRow, NumbersTheWholeTable) {
    Table table("abc");
    for (unsigned number = 1; number <= 3; ++number)
        table.row(number)->row.number = number + 70;
    table.append('d');
    EXPECT_EQ(listed(table), "a1 b2 c3 d4");
}

TEST(XtableNewRow, AllocatesAWholeHeaderForASizeThatIsTooSmall) {
    Table table;
    for (const unsigned size : {0u, 1u, static_cast<unsigned>(sizeof(xtable_row))}) {
        const xtable_row *row = xtable_new_row(&table, size);
        ASSERT_NE(row, nullptr) << size;
        EXPECT_EQ(row, table.last) << size;
    }
    EXPECT_EQ(xtable_index_row(&table), 3u);
}

TEST(XtableNewRow, ReturnsNullWithoutATable) {
    EXPECT_EQ(xtable_new_row(nullptr, sizeof(Row)), nullptr);
}

#if QMV_FAKE_ALLOCATION
TEST(XtableNewRow, ReturnsNullAndChangesNothingWithoutMemory) {
    Table table("ab");
    table.row(2)->row.number = 9;
    const xtable_row *row = table.first;
    {
        const qmv_test::AllocationFailure failure(0);
        row = xtable_new_row(&table, sizeof(Row));
    }
    EXPECT_EQ(row, nullptr);
    EXPECT_EQ(listed(table), "a1 b9");
    Table empty;
    {
        const qmv_test::AllocationFailure failure(0);
        row = xtable_new_row(&empty, sizeof(Row));
    }
    EXPECT_EQ(row, nullptr);
    EXPECT_EQ(listed(empty), "");
}
#endif

TEST(XtableAddRow, AppendsWithoutNumbering) {
    Table table;
    xtable_add_row(&table, own_row('a', 7));
    EXPECT_EQ(listed(table), "a7");
    EXPECT_EQ(table.first, table.last);
    xtable_add_row(&table, own_row('b', 7));
    xtable_add_row(&table, own_row('c', 0));
    EXPECT_EQ(listed(table), "a7 b7 c0");
    EXPECT_EQ(table.last->next, nullptr);
}

TEST(XtableAddRow, NullArgumentsDoNothing) {
    Table table("ab");
    xtable_add_row(&table, nullptr);
    EXPECT_EQ(listed(table), "a1 b2");
    xtable_row *row = own_row('c', 5);
    xtable_row *const before = row->prev;
    xtable_add_row(nullptr, row);
    EXPECT_EQ(row->prev, before);
    EXPECT_EQ(row->number, 5u);
    std::free(row);
    xtable_add_row(nullptr, nullptr);
}

TEST(XtableIndexRow, NumbersFromOneAndReturnsTheCount) {
    Table table;
    EXPECT_EQ(xtable_index_row(&table), 0u);
    EXPECT_EQ(xtable_index_row(nullptr), 0u);
    for (const unsigned number : {9u, 0u, 0xFFFFFFFFu, 9u})
        xtable_add_row(&table, own_row('r', number));
    EXPECT_EQ(xtable_index_row(&table), 4u);
    EXPECT_EQ(listed(table), "r1 r2 r3 r4");
    EXPECT_EQ(xtable_index_row(&table), 4u);
}

TEST(XtableSearchRow, FindsEachRowByItsNumber) {
    Table table("abc");
    EXPECT_EQ(xtable_search_row(&table, 1), table.first);
    EXPECT_EQ(table.row(2)->name, 'b');
    EXPECT_EQ(xtable_search_row(&table, 3), table.last);
    for (const unsigned number : {0u, 4u, 0x10001u, 0xFFFFFFFFu})
        EXPECT_EQ(xtable_search_row(&table, number), nullptr) << number;
    Table empty;
    for (const unsigned number : {0u, 1u}) {
        EXPECT_EQ(xtable_search_row(&empty, number), nullptr);
        EXPECT_EQ(xtable_search_row(nullptr, number), nullptr);
    }
}

TEST(XtableSearchRow, GoesByTheNumbersThatTheRowsHold) {
    Table table;
    const unsigned numbers[] = {5, 0, 5, 0xFFFFFFFF};
    for (std::size_t i = 0; i < 4; ++i)
        xtable_add_row(&table, own_row(static_cast<char>('a' + i), numbers[i]));
    EXPECT_EQ(table.row(5)->name, 'a') << "the first of two";
    EXPECT_EQ(table.row(0)->name, 'b');
    EXPECT_EQ(table.row(0xFFFFFFFF)->name, 'd');
    EXPECT_EQ(table.row(1), nullptr);
}

// ---- Moving ----

TEST(XtableMoveRow, SwapsNeighboursAndNumbers) {
    const struct {
        const char *label;
        const char *names;
        int (*move)(xtable *, unsigned);
        unsigned number;
        int result;
        const char *after;
    } rows[] = {
        {"first up", "abc", xtable_move_up_row, 1, 0, "a1 b2 c3"},
        {"middle up", "abc", xtable_move_up_row, 2, 1, "b1 a2 c3"},
        {"last up", "abc", xtable_move_up_row, 3, 1, "a1 c2 b3"},
        {"none up", "abc", xtable_move_up_row, 4, 0, "a1 b2 c3"},
        {"number 0 up", "abc", xtable_move_up_row, 0, 0, "a1 b2 c3"},
        {"first down", "abc", xtable_move_dn_row, 1, 1, "b1 a2 c3"},
        {"middle down", "abc", xtable_move_dn_row, 2, 1, "a1 c2 b3"},
        {"last down", "abc", xtable_move_dn_row, 3, 0, "a1 b2 c3"},
        {"none down", "abc", xtable_move_dn_row, 4, 0, "a1 b2 c3"},
        {"number 0 down", "abc", xtable_move_dn_row, 0, 0, "a1 b2 c3"},
        {"first of two down", "ab", xtable_move_dn_row, 1, 1, "b1 a2"},
        {"last of two up", "ab", xtable_move_up_row, 2, 1, "b1 a2"},
        {"between others up", "abcde", xtable_move_up_row, 3, 1, "a1 c2 b3 d4 e5"},
        {"between others down", "abcde", xtable_move_dn_row, 3, 1, "a1 b2 d3 c4 e5"},
        {"only row up", "a", xtable_move_up_row, 1, 0, "a1"},
        {"only row down", "a", xtable_move_dn_row, 1, 0, "a1"},
        {"empty up", "", xtable_move_up_row, 1, 0, ""},
        {"empty down", "", xtable_move_dn_row, 1, 0, ""},
    };
    for (const auto &row : rows) {
        Table table(row.names);
        EXPECT_EQ(row.move(&table, row.number), row.result) << row.label;
        EXPECT_EQ(listed(table), row.after) << row.label;
    }
    EXPECT_EQ(xtable_move_up_row(nullptr, 1), 0);
    EXPECT_EQ(xtable_move_dn_row(nullptr, 1), 0);
}

TEST(XtableMoveRow, RelinksRowsAndCopiesNothing) {
    Table table("abc");
    const Row *const b = table.row(2);
    const Row *const c = table.row(3);
    EXPECT_EQ(xtable_move_up_row(&table, 3), 1);
    EXPECT_EQ(table.row(2), c);
    EXPECT_EQ(table.row(3), b);
    EXPECT_EQ(table.last, &b->row);
    EXPECT_EQ(c->name, 'c');
}

TEST(XtableMoveRow, CarriesARowFromEndToEndAndBack) {
    Table table("abcdefgh");
    for (unsigned number = 1; number < 8; ++number)
        EXPECT_EQ(xtable_move_dn_row(&table, number), 1);
    EXPECT_EQ(listed(table), "b1 c2 d3 e4 f5 g6 h7 a8");
    EXPECT_EQ(xtable_move_dn_row(&table, 8), 0);
    for (unsigned number = 8; number > 1; --number)
        EXPECT_EQ(xtable_move_up_row(&table, number), 1);
    EXPECT_EQ(listed(table), "a1 b2 c3 d4 e5 f6 g7 h8");
    EXPECT_EQ(xtable_move_up_row(&table, 1), 0);
}

TEST(XtableMoveRow, NumbersATableWhoseNumbersAreWrong) {
    Table table;
    for (const unsigned number : {9u, 9u, 4u})
        xtable_add_row(&table, own_row(static_cast<char>('a' + number), number));
    EXPECT_EQ(xtable_move_dn_row(&table, 5), 0);
    EXPECT_EQ(listed(table), "j9 j9 e4") << "no row was moved: the numbers stay";
    EXPECT_EQ(xtable_move_up_row(&table, 4), 1);
    EXPECT_EQ(listed(table), "j1 e2 j3");
}

// ---- Removing ----

TEST(XtableRmRow, UnlinksWithoutNumbering) {
    const struct {
        const char *label;
        unsigned number;
        const char *after;
    } rows[] = {
        {"first", 1, "b2 c3"},
        {"middle", 2, "a1 c3"},
        {"last", 3, "a1 b2"},
    };
    for (const auto &row : rows) {
        Table table("abc");
        xtable_rm_row(&table, xtable_search_row(&table, row.number));
        EXPECT_EQ(listed(table), row.after) << row.label;
    }
}

TEST(XtableRmRow, EmptiesATableOfOneRow) {
    Table table("a");
    xtable_rm_row(&table, table.first);
    EXPECT_EQ(table.first, nullptr);
    EXPECT_EQ(table.last, nullptr);
}

TEST(XtableRmRow, NullArgumentsDoNothing) {
    Table table("ab");
    xtable_rm_row(&table, nullptr);
    xtable_rm_row(nullptr, table.first);
    xtable_rm_row(nullptr, nullptr);
    EXPECT_EQ(listed(table), "a1 b2");
}

TEST(XtableDelRow, RemovesARowAndNumbers) {
    const struct {
        const char *label;
        const char *names;
        unsigned number;
        int result;
        const char *after;
    } rows[] = {
        {"first", "abc", 1, 1, "b1 c2"},
        {"middle", "abc", 2, 1, "a1 c2"},
        {"last", "abc", 3, 1, "a1 b2"},
        {"number 0", "abc", 0, 0, "a1 b2 c3"},
        {"behind the last", "abc", 4, 0, "a1 b2 c3"},
        {"first of two", "ab", 1, 1, "b1"},
        {"last of two", "ab", 2, 1, "a1"},
        {"only row", "a", 1, 1, ""},
        {"empty table", "", 1, 0, ""},
    };
    for (const auto &row : rows) {
        Table table(row.names);
        EXPECT_EQ(xtable_del_row(&table, row.number), row.result) << row.label;
        EXPECT_EQ(listed(table), row.after) << row.label;
    }
    EXPECT_EQ(xtable_del_row(nullptr, 1), 0);
}

TEST(XtableDelRow, OnlyRowLeavesBothPointersNull) {
    Table table("a");
    EXPECT_EQ(xtable_del_row(&table, 1), 1);
    EXPECT_EQ(table.first, nullptr);
    EXPECT_EQ(table.last, nullptr);
    table.append('b');
    EXPECT_EQ(listed(table), "b1");
}

TEST(XtableDelRow, RemovesTheFirstOfTwoRowsWithTheSameNumber) {
    Table table;
    for (const char name : {'a', 'b', 'c'})
        xtable_add_row(&table, own_row(name, name == 'a' ? 0 : 8));
    EXPECT_EQ(xtable_del_row(&table, 1), 0);
    EXPECT_EQ(listed(table), "a0 b8 c8") << "no row was removed: the numbers stay";
    EXPECT_EQ(xtable_del_row(&table, 8), 1);
    EXPECT_EQ(listed(table), "a1 c2");
}

TEST(XtableCleanup, EmptiesTheTable) {
    for (const char *names : {"", "a", "abc"}) {
        Table table(names);
        xtable_cleanup(&table);
        EXPECT_EQ(table.first, nullptr) << names;
        EXPECT_EQ(table.last, nullptr) << names;
        xtable_cleanup(&table);
        table.append('z');
        EXPECT_EQ(listed(table), "z1") << names;
    }
    xtable_cleanup(nullptr);
}

// ---- Sorting ----

TEST(XtableSort, SortsAndNumbers) {
    for (const char *names : {"ab", "ba", "cab", "abc", "cba", "hgfedcba", "dbfhaceg"}) {
        Table table(names);
        std::string expected;
        for (unsigned i = 0; i < std::strlen(names); ++i)
            expected += (i > 0 ? " " : "") + std::string(1, static_cast<char>('a' + i)) +
                        std::to_string(i + 1);
        EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 1) << names;
        EXPECT_EQ(listed(table), expected) << names;
        EXPECT_EQ(table.first->prev, nullptr);
        EXPECT_EQ(table.last->next, nullptr);
    }
}

TEST(XtableSort, RelinksRowsAndCopiesNothing) {
    Table table("ba");
    xtable_row *const b = table.first;
    xtable_row *const a = table.last;
    EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 1);
    EXPECT_EQ(table.first, a);
    EXPECT_EQ(table.last, b);
}

TEST(XtableSort, SortsManyRows) {
    Table table;
    unsigned random = 1;
    for (int i = 0; i < 2000; ++i) {
        random = random * 1103515245 + 12345;
        // Equal keys, too.
        table.append('r', static_cast<int>((random >> 16) % 500));
    }
    std::vector<int> keys(500);
    for (xtable_row *row = table.first; row != nullptr; row = row->next)
        ++keys[static_cast<std::size_t>(as_row(row)->key)];
    EXPECT_EQ(xtable_sort(&table, kWidth, by_key), 1);
    unsigned number = 0;
    for (xtable_row *row = table.first; row != nullptr; row = row->next) {
        EXPECT_EQ(row->number, ++number);
        EXPECT_TRUE(row->prev == nullptr || as_row(row->prev)->key <= as_row(row)->key) << number;
        --keys[static_cast<std::size_t>(as_row(row)->key)];
    }
    EXPECT_EQ(number, 2000u);
    EXPECT_EQ(table.last->number, 2000u);
    EXPECT_EQ(keys, std::vector<int>(500)) << "no row was lost or doubled";
}

TEST(XtableSort, EmptyTableReturnsZero) {
    Table table;
    compared = 0;
    EXPECT_EQ(xtable_sort(&table, kWidth, count_comparisons), 0);
    EXPECT_EQ(xtable_sort(nullptr, kWidth, count_comparisons), 0);
    EXPECT_EQ(xtable_sort(&table, 0, nullptr), 0);
    EXPECT_EQ(xtable_sort(nullptr, 0, nullptr), 0);
    EXPECT_EQ(compared, 0);
}

TEST(XtableSort, OneRowReturnsOneAndIsNotTouched) {
    Table table("a");
    table.first->number = 9;
    compared = 0;
    EXPECT_EQ(xtable_sort(&table, kWidth, count_comparisons), 1);
    EXPECT_EQ(compared, 0);
    EXPECT_EQ(listed(table), "a9");
}

TEST(XtableSort, OtherWidthsThanThatOfAPointerLeaveTheOrder) {
    Table table("cab");
    compared = 0;
    for (const unsigned width :
         {0u, 1u, kWidth / 2, kWidth - 1, kWidth + 1, 2 * kWidth,
          static_cast<unsigned>(sizeof(Row)), 0x7FFFFFFFu, 0x80000000u + kWidth, 0xFFFFFFFFu}) {
        EXPECT_EQ(xtable_sort(&table, width, count_comparisons), 1) << width;
        EXPECT_EQ(listed(table), "c1 a2 b3") << width;
    }
    EXPECT_EQ(compared, 0);
}

TEST(XtableSort, WithoutACompareLeavesTheOrder) {
    Table table("cab");
    EXPECT_EQ(xtable_sort(&table, kWidth, nullptr), 1);
    EXPECT_EQ(listed(table), "c1 a2 b3");
}

TEST(XtableSort, CountsTheRowsWhereTheLastNumberIsWrong) {
    for (const unsigned number : {0u, 1u, 2u, 4u, 100000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        Table table("cab");
        table.last->number = number;
        EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 1) << number;
        EXPECT_EQ(listed(table), "a1 b2 c3") << number;
    }
}

#if QMV_FAKE_ALLOCATION
TEST(XtableSort, LeavesTheOrderWithoutMemory) {
    Table table("cab");
    table.row(2)->row.number = 7;
    compared = 0;
    int result = -1;
    int failed = 0;
    {
        const qmv_test::AllocationFailure failure(0);
        result = xtable_sort(&table, kWidth, count_comparisons);
        failed = failure.failed();
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(compared, 0);
    EXPECT_EQ(listed(table), "c1 a7 b3");
}
#endif

// ---- Together ----

TEST(Xtable, FreesTheRowsThatItRemoves) {
    constexpr unsigned kSize = 100000;
    constexpr std::size_t kNoise = 20000;
    Table table;
    const std::size_t before = qmv_test::held_memory();
    const auto fill = [&table] {
        for (int i = 0; i < 3; ++i)
            xtable_new_row(&table, kSize);
    };
    fill();
    for (int i = 0; i < 3; ++i)
        xtable_rm_row(&table, table.first);
    EXPECT_LT(qmv_test::held_memory(), before + kNoise) << "rm";
    fill();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(xtable_del_row(&table, 1), 1);
    EXPECT_LT(qmv_test::held_memory(), before + kNoise) << "del";
    fill();
    xtable_cleanup(&table);
    EXPECT_LT(qmv_test::held_memory(), before + kNoise) << "cleanup";
}

TEST(Xtable, FreesWhatItSortsWith) {
    Table table(std::string(4000, 'x'));
    const std::size_t before = qmv_test::held_memory();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 1);
    EXPECT_LT(qmv_test::held_memory(), before + 4000 * sizeof(xtable_row *));
}

TEST(Xtable, IsSortedMovedAndDeletedDownToNothing) {
    Table table("dacb");
    table.append('e');
    EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 1);
    EXPECT_EQ(listed(table), "a1 b2 c3 d4 e5");
    EXPECT_EQ(xtable_move_up_row(&table, 5), 1);
    EXPECT_EQ(xtable_move_dn_row(&table, 1), 1);
    EXPECT_EQ(listed(table), "b1 a2 c3 e4 d5");
    EXPECT_EQ(xtable_del_row(&table, 3), 1);
    EXPECT_EQ(listed(table), "b1 a2 e3 d4");
    table.append('c');
    EXPECT_EQ(listed(table), "b1 a2 e3 d4 c5");
    EXPECT_EQ(xtable_del_row(&table, 5), 1);
    EXPECT_EQ(xtable_del_row(&table, 1), 1);
    EXPECT_EQ(listed(table), "a1 e2 d3");
    EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 1);
    EXPECT_EQ(listed(table), "a1 d2 e3");
    EXPECT_EQ(xtable_del_row(&table, 2), 1);
    EXPECT_EQ(listed(table), "a1 e2");
    EXPECT_EQ(xtable_del_row(&table, 1), 1);
    EXPECT_EQ(xtable_del_row(&table, 2), 0);
    EXPECT_EQ(xtable_del_row(&table, 1), 1);
    EXPECT_EQ(table.first, nullptr);
    EXPECT_EQ(table.last, nullptr);
    EXPECT_EQ(xtable_sort(&table, kWidth, by_name), 0);
}

TEST(Xtable, EqualsAVectorAfterAnyOperations) {
    Table table;
    std::string model;
    unsigned random = 7;
    const auto next = [&random](unsigned limit) {
        random = random * 1103515245 + 12345;
        return (random >> 16) % limit;
    };
    for (int step = 0; step < 3000; ++step) {
        const unsigned number = next(static_cast<unsigned>(model.size()) + 2);
        const bool exists = number >= 1 && number <= model.size();
        switch (next(model.size() < 12 ? 5 : 4)) {
            case 0: {
                const bool moved = exists && number > 1;
                EXPECT_EQ(xtable_move_up_row(&table, number), moved ? 1 : 0);
                if (moved)
                    std::swap(model[number - 1], model[number - 2]);
                break;
            }
            case 1: {
                const bool moved = exists && number < model.size();
                EXPECT_EQ(xtable_move_dn_row(&table, number), moved ? 1 : 0);
                if (moved)
                    std::swap(model[number - 1], model[number]);
                break;
            }
            case 2:
                EXPECT_EQ(xtable_del_row(&table, number), exists ? 1 : 0);
                if (exists)
                    model.erase(number - 1, 1);
                break;
            default:
                model += static_cast<char>('a' + next(26));
                table.append(model.back());
        }
        std::string expected;
        for (std::size_t i = 0; i < model.size(); ++i)
            expected += (i > 0 ? " " : "") + std::string(1, model[i]) + std::to_string(i + 1);
        ASSERT_EQ(listed(table), expected) << "step " << step;
    }
}

}  // namespace
