#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/system.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/output.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::TempDir;
using qmv_test::text;

constexpr int kClosingTag = 9;  // "</select>"

using Fields = std::vector<std::string>;
using Records = std::vector<Fields>;

struct FreeDb {
    void operator()(db_record *list) const { free_db(list); }
};
using List = std::unique_ptr<db_record, FreeDb>;

/// The fields of all records. One whose memory ran out reads "(null)".
Records records_of(const db_record *list) {
    Records records;
    for (; list != nullptr; list = list->next) {
        Fields fields;
        for (uint32_t i = 0; i < list->count; ++i)
            fields.emplace_back(list->fields[i] != nullptr ? list->fields[i] : "(null)");
        records.push_back(fields);
    }
    return records;
}

List read_list(const std::string &content, unsigned maxfields = 4) {
    const TempDir dir;
    db_record *list = nullptr;
    EXPECT_EQ(read_db_file(dir.write("db", content).c_str(), maxfields, &list), 0);
    return List(list);
}

Records read_records(const std::string &content, unsigned maxfields = 4) {
    return records_of(read_list(content, maxfields).get());
}

// ---- read_db_file ----

TEST(ReadDbFile, DividesLinesIntoRecordsAndFields) {
    const std::string x4095(4095, 'x');
    const std::string x4096(4096, 'y');
    const std::string x10000(10000, 'z');
    const struct {
        const char *label;
        std::string content;
        Records records;
    } rows[] = {
        {"empty file", "", {}},
        {"one field", "a\n", {{"a"}}},
        {"one record", "a\nb\nc\n", {{"a", "b", "c"}}},
        {"two records", "a\nb\n\nc\nd\n", {{"a", "b"}, {"c", "d"}}},
        {"no newline at the end", "a\nb\n\nc", {{"a", "b"}, {"c"}}},
        {"one byte", "a", {{"a"}}},
        {"comment within a record", "a\n#no\nb\n\nc\n", {{"a", "b"}, {"c"}}},
        {"comment between records does not end one", "a\n#no\n\n#no\nb\n", {{"a"}, {"b"}}},
        {"comment in front of all", "#no\na\n", {{"a"}}},
        {"comments only", "#no\n#\n", {}},
        {"comment of one character", "a\n#\nb\n", {{"a", "b"}}},
        {"comment up to a tab", "a\n#\tno\nb\n", {{"a", "b"}}},
        {"comment at the end without newline", "a\n#no", {{"a"}}},
        {"number sign behind the first character", "a#b\n #c\n", {{"a#b", " #c"}}},
        {"empty lines in front of all", "\n\n\na\n", {{"a"}}},
        {"empty lines only", "\n\n\n", {}},
        {"two empty lines in a row", "a\n\n\nb\n", {{"a"}, {}, {"b"}}},
        {"three empty lines in a row", "a\n\n\n\nb\n", {{"a"}, {}, {}, {"b"}}},
        {"empty line at the end", "a\n\n", {{"a"}, {}}},
        {"two empty lines at the end", "a\n\n\n", {{"a"}, {}, {}}},
        {"empty lines around a comment", "a\n\n#no\n\nb\n", {{"a"}, {}, {"b"}}},
        {"field up to a tab", "a\tx\nb c\ty\n", {{"a", "b c"}}},
        {"line that starts with a tab ends a record", "a\n\tx\nb\n", {{"a"}, {"b"}}},
        {"line that starts with a tab in front of all", "\tx\na\n", {{"a"}}},
        {"line that starts with a CR ends a record", "a\n\rx\nb\n", {{"a"}, {"b"}}},
        {"CR LF", "a\r\nb\r\n\r\nc\r\n", {{"a", "b"}, {"c"}}},
        {"blanks are kept", " a \n  \n", {{" a ", "  "}}},
        {"a blank line of blanks is a field", "a\n \nb\n", {{"a", " ", "b"}}},
        {"field up to DEL", "a\177b\n\177\nc\n", {{"a"}, {"c"}}},
        {"field up to NUL", text("a\0b\nc\n"), {{"a", "c"}}},
        {"line that starts with NUL ends a record", text("a\n\0b\nc\n"), {{"a"}, {"c"}}},
        {"not ASCII", "\xC3\xA9\n\xFF\x80\n", {{"\xC3\xA9", "\xFF\x80"}}},
        {"markup", "<&\">\n", {{"<&\">"}}},
        {"as many fields as there may be", "a\nb\nc\nd\n", {{"a", "b", "c", "d"}}},
        {"one field too many", "a\nb\nc\nd\ne\n\nf\n", {{"a", "b", "c", "d"}, {"f"}}},
        {"many too many", "a\nb\nc\nd\ne\nf\ng\nh\ni\n", {{"a", "b", "c", "d"}}},
        {"long lines",
         x4095 + "\n" + x4096 + "\n" + x10000 + "\nb\n",
         {{x4095, x4096, x10000, "b"}}},
        {"long line without newline", "a\n" + x10000, {{"a", x10000}}},
        {"long comment", "a\n#" + x10000 + "\nb\n", {{"a", "b"}}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(read_records(row.content), row.records) << row.label;
}

TEST(ReadDbFile, KeepsTheFirstFieldsUpToTheMaximum) {
    const char content[] = "a\nb\nc\n\nd\ne\n";
    EXPECT_EQ(read_records(content, 1), (Records{{"a"}, {"d"}}));
    EXPECT_EQ(read_records(content, 2), (Records{{"a", "b"}, {"d", "e"}}));
    EXPECT_EQ(read_records(content, 3), (Records{{"a", "b", "c"}, {"d", "e"}}));
    EXPECT_EQ(read_records(content, 0), (Records{{}, {}})) << "records without fields";
}

TEST(ReadDbFile, LeavesFieldsBeyondTheCountNull) {
    const List list = read_list("a\n\n\nb\nc\n", 4);
    uint32_t expected = 1;
    for (const db_record *record = list.get(); record != nullptr; record = record->next) {
        EXPECT_EQ(record->count, expected);
        for (uint32_t i = record->count; i < 4; ++i)
            EXPECT_EQ(record->fields[i], nullptr) << "record with " << expected << ", field " << i;
        expected = expected == 1 ? 0 : 2;
    }
}

TEST(ReadDbFile, ReadsManyRecords) {
    std::string content;
    Records records;
    for (int i = 0; i < 3000; ++i) {
        const std::string number = std::to_string(i);
        content += "id " + number + "\nlabel " + number + "\n\n";
        records.push_back({"id " + number, "label " + number});
    }
    content.pop_back();
    EXPECT_EQ(read_records(content), records);
}

TEST(ReadDbFile, StartsAnewWithEachFile) {
    const TempDir dir;
    const std::string first = dir.write("first", "a\n");
    const std::string second = dir.write("second", "b\n");
    const std::string empty = dir.write("empty", "\n#\n");
    db_record *list = nullptr;
    EXPECT_EQ(read_db_file(first.c_str(), 2, &list), 0);
    const List a(list);
    EXPECT_EQ(read_db_file(second.c_str(), 2, &list), 0);
    const List b(list);
    EXPECT_EQ(read_db_file(empty.c_str(), 2, &list), 0);
    EXPECT_EQ(list, nullptr) << "a file without records";
    EXPECT_EQ(records_of(a.get()), (Records{{"a"}}));
    EXPECT_EQ(records_of(b.get()), (Records{{"b"}}));
}

TEST(ReadDbFile, StoresANullListWhenTheFileCannotBeOpened) {
    const TempDir dir;
    const std::string missing = dir.file("missing");
    const int before = open_descriptors();
    for (const char *path : {missing.c_str(), "", static_cast<const char *>(nullptr)}) {
        db_record left{};
        db_record *list = &left;
        EXPECT_EQ(read_db_file(path, 4, &list), -1) << (path != nullptr ? path : "null");
        EXPECT_EQ(list, nullptr) << (path != nullptr ? path : "null");
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ReadDbFile, ForgetsTheLastListWhenTheFileCannotBeOpened) {
    const List list = read_list("a\n");
    db_record *second = list.get();
    EXPECT_EQ(read_db_file("/nowhere/db", 4, &second), -1);
    EXPECT_EQ(second, nullptr);
}

TEST(ReadDbFile, DoesNothingWithoutAList) {
    const TempDir dir;
    EXPECT_EQ(read_db_file(dir.write("db", "a\n").c_str(), 4, nullptr), 0);
    EXPECT_EQ(read_db_file(dir.file("missing").c_str(), 4, nullptr), 0) << "missing file";
    EXPECT_EQ(read_db_file(nullptr, 4, nullptr), 0) << "null path";
}

TEST(ReadDbFile, LeavesNoDescriptorOpen) {
    const TempDir dir;
    const std::string path = dir.write("db", "a\n");
    const int before = open_descriptors();
    db_record *list = nullptr;
    read_db_file(path.c_str(), 4, &list);
    const List owned(list);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ReadDbFile, LeavesTheFileAlone) {
    const TempDir dir;
    const std::string path = dir.write("db", "a\n\nb");
    db_record *list = nullptr;
    read_db_file(path.c_str(), 4, &list);
    const List owned(list);
    EXPECT_EQ(dir.read("db"), "a\n\nb");
}

#if QMV_FAKE_ALLOCATION
TEST(ReadDbFile, DropsLinesWithoutMemoryAndCountsFieldsWithoutText) {
    const TempDir dir;
    const std::string path = dir.write("db", "a\nb\n\nc\n");
    const Records all = {{"a", "b"}, {"c"}};
    const int before = open_descriptors();
    std::vector<Records> results;
    for (bool whole = false; !whole;) {
        db_record *list = nullptr;
        int result = 0;
        {
            const qmv_test::AllocationFailure failure(static_cast<int>(results.size()));
            result = read_db_file(path.c_str(), 4, &list);
            whole = failure.failed() == 0;
        }
        const List owned(list);
        const Records records = records_of(list);
        if (result == -1)
            EXPECT_EQ(records, Records{}) << "allocation " << results.size();
        else
            EXPECT_EQ(result, 0) << "allocation " << results.size();
        results.push_back(records);
    }
    // Record, two fields, record, field: each is the first to fail once.
    ASSERT_GE(results.size(), 6u);
    const auto *const last = &results.back();
    EXPECT_EQ(last[0], all);
    EXPECT_EQ(last[-1], (Records{{"a", "b"}, {"(null)"}}));
    EXPECT_EQ(last[-2], (Records{{"a", "b", "(null)"}})) << "the lost line started no record";
    EXPECT_EQ(last[-3], (Records{{"a", "(null)", "(null)"}}));
    EXPECT_EQ(last[-4], (Records{{"(null)", "(null)", "(null)"}}));
    EXPECT_EQ(last[-5], Records{});
    EXPECT_EQ(open_descriptors(), before);
}
#endif

// ---- search_db ----

TEST(SearchDb, FindsTheFirstRecordWithTheValue) {
    const List list = read_list("a\n1\n\nb\n2\n\na\n3\n\n\nc\n\nA\n\xC3\xA9\n\n\n");
    const db_record *const records[] = {list.get(),
                                        list->next,
                                        list->next->next,
                                        list->next->next->next,
                                        list->next->next->next->next,
                                        list->next->next->next->next->next};
    const struct {
        const char *label;
        unsigned field;
        const char *value;
        const db_record *record;
    } rows[] = {
        {"first record", 0, "a", records[0]},
        {"second record", 0, "b", records[1]},
        {"behind one with the same value elsewhere", 1, "3", records[2]},
        {"behind an empty record", 0, "c", records[4]},
        {"other case is another value", 0, "A", records[5]},
        {"bytes above 0x7F", 1, "\xC3\xA9", records[5]},
        {"value of another field", 1, "a", nullptr},
        {"beginning of a value", 1, "\xC3", nullptr},
        {"value and more", 0, "ab", nullptr},
        {"no such value", 0, "z", nullptr},
        {"empty value, no empty field", 0, "", nullptr},
        {"field that no record has", 2, "a", nullptr},
        {"field beyond the maximum", 4, "a", nullptr},
        {"highest field", UINT_MAX, "a", nullptr},
        {"null value", 0, nullptr, nullptr},
    };
    for (const auto &row : rows)
        EXPECT_EQ(search_db(list.get(), row.field, row.value), row.record) << row.label;
}

TEST(SearchDb, SkipsRecordsWithoutTheField) {
    const List list = read_list("a\n\nb\nx\n\n\n");
    EXPECT_EQ(search_db(list.get(), 1, "x"), list->next) << "field 1 of a record with one field";
    EXPECT_EQ(search_db(list->next->next, 0, "a"), nullptr) << "a record without fields";
}

TEST(SearchDb, LooksAtNoFieldBeyondTheCount) {
    const List list = read_list("a\nb\n");
    list->count = 1;
    const db_record *const found = search_db(list.get(), 1, "b");
    const std::string box =
        printed([&] { gen_selectbox_dbase(list.get(), 1, 0, nullptr, "b", 0); }) +
        printed([&] { gen_selectbox_dbase(list.get(), 0, 1, nullptr, "a", 0); });
    list->count = 2;
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(box, "<select>\r\n</select><select>\r\n</select>");
}

TEST(SearchDb, StartsAtTheRecordThatIsGiven) {
    const List list = read_list("a\n\na\n\nb\n");
    EXPECT_EQ(search_db(list->next, 0, "a"), list->next);
    EXPECT_EQ(search_db(list->next->next, 0, "a"), nullptr);
}

TEST(SearchDb, ReturnsNullForANullList) {
    EXPECT_EQ(search_db(nullptr, 0, "a"), nullptr);
    EXPECT_EQ(search_db(nullptr, 0, nullptr), nullptr);
}

/// A record of two fields whose first one has no text.
db_record *record_without_text() {
    const List list = read_list("a\nb\n", 2);
    auto *record = static_cast<db_record *>(std::calloc(1, sizeof(db_record) + 8));
    record->count = 2;
    record->fields[1] = list->fields[1];
    list->fields[1] = nullptr;
    return record;
}

TEST(SearchDb, MatchesNoFieldThatIsWithoutMemory) {
    const List list(record_without_text());
    EXPECT_EQ(search_db(list.get(), 0, ""), nullptr);
    EXPECT_EQ(search_db(list.get(), 0, "a"), nullptr);
    EXPECT_EQ(search_db(list.get(), 0, nullptr), nullptr);
    EXPECT_EQ(search_db(list.get(), 1, "b"), list.get());
}

// ---- free_db ----

TEST(FreeDb, ReturnsZero) {
    EXPECT_EQ(free_db(nullptr), 0) << "null";
    EXPECT_EQ(free_db(read_list("a\nb\n\n\nc\n").release()), 0);
    EXPECT_EQ(free_db(record_without_text()), 0) << "a field without memory";
}

TEST(FreeDb, FreesRecordsAndFields) {
    std::string content;
    for (int i = 0; i < 200; ++i)
        content += std::string(500, 'a') + "\n" + std::string(500, 'b') + "\n\n";
    const std::size_t before = qmv_test::held_memory();
    EXPECT_EQ(free_db(read_list(content, 60).release()), 0);
    EXPECT_LT(qmv_test::held_memory(), before + 50000);
}

// ---- gen_selectbox_dbase ----

TEST(GenSelectboxDbase, PrintsAnOptionForEachRecord) {
    const List list = read_list("1\nfirst\n\n2\nsecond\n\n3\nthird\n");
    EXPECT_TRUE(
        prints("<select name=\"sel\">\r\n"
               "<option value=\"1\">first</option>\r\n"
               "<option value=\"2\" selected>second</option>\r\n"
               "<option value=\"3\">third</option>\r\n"
               "</select>",
               kClosingTag, [&] { return gen_selectbox_dbase(list.get(), 0, 1, "sel", "2", 0); }));
}

TEST(GenSelectboxDbase, TakesValueAndLabelFromAnyField) {
    const List list = read_list("a\nb\nc\n");
    const struct {
        unsigned value;
        unsigned label;
        const char *option;
    } rows[] = {
        {0, 1, "<option value=\"a\">b</option>\r\n"},
        {2, 0, "<option value=\"c\">a</option>\r\n"},
        {1, 1, "<option value=\"b\">b</option>\r\n"},
        {0, 3, ""},
        {3, 0, ""},
        {UINT_MAX, 0, ""},
        {0, UINT_MAX, ""},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints("<select>\r\n" + std::string(row.option) + "</select>", kClosingTag,
                           [&] {
                               return gen_selectbox_dbase(list.get(), row.value, row.label, nullptr,
                                                          nullptr, 0);
                           }))
            << row.value << " and " << row.label;
}

TEST(GenSelectboxDbase, SkipsRecordsThatLackAField) {
    const List list = read_list("only\n\n\nv\nl\n\nalone\n\n");
    EXPECT_TRUE(prints("<select>\r\n<option value=\"v\" selected>l</option>\r\n</select>",
                       kClosingTag,
                       [&] { return gen_selectbox_dbase(list.get(), 0, 1, nullptr, "v", 0); }));
    EXPECT_TRUE(prints("<select>\r\n<option value=\"l\">v</option>\r\n</select>", kClosingTag,
                       [&] { return gen_selectbox_dbase(list.get(), 1, 0, nullptr, "v", 0); }));
}

TEST(GenSelectboxDbase, SelectsEveryRecordWithTheCurrentValue) {
    const List list = read_list("a\n1\n\na\n2\n\nA\n3\n");
    const struct {
        const char *current;
        const char *first;
        const char *second;
        const char *third;
    } rows[] = {
        {"a", " selected", " selected", ""},
        {"A", "", "", " selected"},
        {"1", "", "", ""},
        {"", "", "", ""},
        {"aa", "", "", ""},
        {nullptr, "", "", ""},
    };
    for (const auto &row : rows) {
        std::string box = "<select>\r\n";
        box += "<option value=\"a\"" + std::string(row.first) + ">1</option>\r\n";
        box += "<option value=\"a\"" + std::string(row.second) + ">2</option>\r\n";
        box += "<option value=\"A\"" + std::string(row.third) + ">3</option>\r\n</select>";
        EXPECT_TRUE(prints(box, kClosingTag, [&] {
            return gen_selectbox_dbase(list.get(), 0, 1, nullptr, row.current, 0);
        })) << (row.current != nullptr ? row.current : "null");
    }
}

TEST(GenSelectboxDbase, EscapesValueAndLabelButNotTheName) {
    const List list = read_list("\"a\" <&> 'b' %s\n<b>\"\xC3\xA9\" & %n</b>\n");
    EXPECT_TRUE(prints(
        "<select name=\"x\"<&%s\">\r\n"
        "<option value=\"&quot;a&quot; &lt;&amp;&gt; 'b' %s\" selected>"
        "&lt;b&gt;&quot;&eacute;&quot; &amp; %n&lt;/b&gt;</option>\r\n"
        "</select>",
        kClosingTag,
        [&] { return gen_selectbox_dbase(list.get(), 0, 1, "x\"<&%s", "\"a\" <&> 'b' %s", 0); }));
}

TEST(GenSelectboxDbase, PrintsLongFields) {
    const std::string longer(10000, 'x');
    const List list = read_list(longer + "\n" + longer + "\n");
    EXPECT_TRUE(prints("<select>\r\n<option value=\"" + longer + "\" selected>" + longer +
                           "</option>\r\n</select>",
                       kClosingTag, [&] {
                           return gen_selectbox_dbase(list.get(), 0, 1, nullptr, longer.c_str(), 0);
                       }));
}

TEST(GenSelectboxDbase, PrintsNameAndFlags) {
    const List list = read_list("a\n");
    const struct {
        const char *name;
        unsigned flags;
        const char *tag;
    } rows[] = {
        {nullptr, 0, "<select>\r\n"},
        {"", 0, "<select name=\"\">\r\n"},
        {"n", 0x1, "<select name=\"n\" disabled>\r\n"},
        {"n", 0x5, "<select name=\"n\" disabled readonly>\r\n"},
        {nullptr, 0x980,
         "<select style=\"display: none;\" style=\"visibility: hidden;\" "
         "autocomplete=\"on\">\r\n"},
    };
    for (const auto &row : rows) {
        EXPECT_TRUE(prints(
            std::string(row.tag) + "<option value=\"a\">a</option>\r\n</select>", kClosingTag,
            [&] { return gen_selectbox_dbase(list.get(), 0, 0, row.name, nullptr, row.flags); }))
            << row.tag;
        EXPECT_TRUE(
            prints(std::string(row.tag) + "</select>", kClosingTag,
                   [&] { return gen_selectbox_dbase(nullptr, 0, 0, row.name, "a", row.flags); }))
            << row.tag << ", null list";
    }
}

TEST(GenSelectboxDbase, EndsWithoutALineEnd) {
    EXPECT_EQ(printed([] { gen_selectbox_dbase(nullptr, 0, 1, "sel", nullptr, 0); }),
              "<select name=\"sel\">\r\n</select>");
}

TEST(GenSelectboxDbase, PrintsAFieldWithoutMemoryAsEmptyAndNeverSelectsIt) {
    const List list(record_without_text());
    EXPECT_TRUE(prints("<select>\r\n<option value=\"\">b</option>\r\n</select>", kClosingTag,
                       [&] { return gen_selectbox_dbase(list.get(), 0, 1, nullptr, "", 0); }));
    EXPECT_TRUE(prints("<select>\r\n<option value=\"b\" selected></option>\r\n</select>",
                       kClosingTag,
                       [&] { return gen_selectbox_dbase(list.get(), 1, 0, nullptr, "b", 0); }));
}

// ---- gen_selectbox_dbase_item ----

TEST(GenSelectboxDbaseItem, SelectsTheValueOfTheItem) {
    const List list = read_list("abc\nfirst\n\nb\nsecond\n");
    const auto box = [](const char *flags, const char *first, const char *second) {
        return "<select name=\"sel\"" + std::string(flags) + ">\r\n<option value=\"abc\"" + first +
               ">first</option>\r\n<option value=\"b\"" + second + ">second</option>\r\n</select>";
    };
    const struct {
        const char *label;
        const char *content;
        unsigned size;
        std::string expected;
    } rows[] = {
        {"first", "abc\n", 63, box("", " selected", "")},
        {"second", "b\n", 63, box("", "", " selected")},
        {"no newline", "b", 63, box("", "", " selected")},
        {"CR LF", "b\r\n", 63, box("", "", " selected")},
        {"as long as allowed", "abc\n", 3, box("", " selected", "")},
        {"only the first bytes count", "abcdef\n", 3, box("", " selected", "")},
        {"cut", "abc\n", 2, box("", "", "")},
        {"high limit", "abc\n", 100000, box("", " selected", "")},
        {"other value", "x\n", 63, box("", "", "")},
        {"empty item is disabled", "", 63, box(" disabled", "", "")},
        {"empty line is disabled", "\nb\n", 63, box(" disabled", "", "")},
        {"nothing allowed is disabled", "b\n", 0, box(" disabled", "", "")},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_TRUE(prints(row.expected, kClosingTag, [&] {
            return gen_selectbox_dbase_item(list.get(), 0, 1, item.dir(), item.name(), "sel",
                                            row.size);
        })) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(GenSelectboxDbaseItem, IsDisabledForAMissingItem) {
    const TempDir dir;
    const List list = read_list("a\nfirst\n");
    EXPECT_TRUE(prints(
        "<select name=\"sel\" disabled>\r\n<option value=\"a\">first</option>\r\n</select>",
        kClosingTag, [&] {
            return gen_selectbox_dbase_item(list.get(), 0, 1, dir.path(), "missing", "sel", 63);
        }));
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(GenSelectboxDbaseItem, PrintsAnEmptyBoxForANullList) {
    const ItemFile item("a\n");
    EXPECT_TRUE(prints("<select>\r\n</select>", kClosingTag, [&] {
        return gen_selectbox_dbase_item(nullptr, 0, 1, item.dir(), item.name(), nullptr, 63);
    }));
    EXPECT_TRUE(prints("<select disabled>\r\n</select>", kClosingTag, [&] {
        return gen_selectbox_dbase_item(nullptr, 0, 1, nullptr, nullptr, nullptr, 63);
    }));
}

TEST(GenSelectboxDbaseItem, UsesTheFieldsThatAreAskedFor) {
    const ItemFile item("c\n");
    const List list = read_list("a\nb\nc\n");
    EXPECT_TRUE(prints(
        "<select>\r\n<option value=\"c\" selected>b</option>\r\n</select>", kClosingTag, [&] {
            return gen_selectbox_dbase_item(list.get(), 2, 1, item.dir(), item.name(), nullptr, 63);
        }));
}

TEST(GenSelectboxDbaseItem, LeavesNoDescriptorOpen) {
    const ItemFile item("a\n");
    const int before = open_descriptors();
    printed([&] { gen_selectbox_dbase_item(nullptr, 0, 1, item.dir(), item.name(), nullptr, 63); });
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(GenSelectboxDbaseItem, IsDisabledWithoutMemory) {
    const ItemFile item("a\n");
    const List list = read_list("a\nb\n");
    int failed = 0;
    EXPECT_EQ(printed([&] {
                  const qmv_test::AllocationFailure failure(0);
                  gen_selectbox_dbase_item(list.get(), 0, 1, item.dir(), item.name(), nullptr,
                                           100000);
                  failed = failure.failed();
              }),
              "<select disabled>\r\n<option value=\"a\">b</option>\r\n</select>");
    EXPECT_GT(failed, 0);
}
#endif

}  // namespace
