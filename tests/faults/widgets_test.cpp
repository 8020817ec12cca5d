// Widgets whose items cannot be read or written, and which have no memory.
#include <gtest/gtest.h>
#include <qmv/widgets.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Call;
using qmv_test::in_quotes;
using qmv_test::Manner;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::TempDir;

/// A value too long for the stack.
const std::string kLong(5000, 'v');

/// Something that reads the item "item"; what it gives with it and when that cannot be read.
struct Reader {
    const char *label;
    std::string (*read)(const char *dir);
    const char *item;
    const char *whole;
    const char *without;
    bool allocates;
};

void check(const Reader &reader) {
    SCOPED_TRACE(reader.label);
    Scenario scenario([&reader](const TempDir &dir) { return reader.read(dir.path()); });
    scenario.with("item", std::string(reader.item) + "\n").gives(reader.whole);
    scenario.fails(Call::kOpen, reader.without).fails(Call::kRead, reader.without);
    if (reader.allocates)
        scenario.fails(Call::kMalloc, reader.without);
    scenario.check();
}

std::string number(unsigned value) {
    return std::to_string(value);
}

int two_options(unsigned index, int, selectbox_text *pair) {
    constexpr const char *kValues[] = {"one", "two"};
    if (index > 1)
        return -1;
    pair->value = kValues[index];
    return 1;
}

int long_option(unsigned index, int, selectbox_text *pair) {
    pair->value = kLong.c_str();
    return index == 0 ? 1 : -1;
}

std::string read_state(const char *dir, selectbox_text_fn fn) {
    selectbox_state state{0, {0}};
    rd_selectbox_text_item(dir, "item", &state, fn, 0, "none");
    return number(state.flags) + " " + in_quotes(state.value.text);
}

constexpr Reader kReaders[] = {
    {"rd_textbox_item",
     [](const char *dir) {
         char text[40] = "before";
         const unsigned flags = rd_textbox_item(dir, "item", text, 39, 10, 0);
         return number(flags) + " " + in_quotes(text);
     },
     "text", "0 \"text\"", "1 \"\"", false},
    {"gen_xtextbox_item",
     [](const char *dir) { return number(gen_xtextbox_item(dir, "item", 9, 0, nullptr)); }, "a<b",
     "0 printed \"<input type=\"text\" maxlength=\"9\" value=\"a&lt;b\">\"",
     "1 printed \"<input type=\"text\" maxlength=\"9\" value=\"\" disabled>\"", false},
    {"gen_xtextbox_item, on the heap",
     [](const char *dir) { return number(gen_xtextbox_item(dir, "item", 2000, 0, nullptr)); },
     "a<b", "0 printed \"<input type=\"text\" maxlength=\"2000\" value=\"a&lt;b\">\"",
     "1 printed \"<input type=\"text\" maxlength=\"2000\" value=\"\" disabled>\"", true},
    {"gen_json_text_item",
     [](const char *dir) { return number(gen_json_text_item(dir, "item", 9, "name", 0)); }, "text",
     "524288 printed \"\"name\": \"text\"\"", "524289 printed \"\"name\": null\"", false},
    {"gen_json_text_item, on the heap",
     [](const char *dir) { return number(gen_json_text_item(dir, "item", 2000, "name", 0)); },
     "text", "524288 printed \"\"name\": \"text\"\"", "524289 printed \"\"name\": null\"", true},
    {"rd_selectbox_text_item", [](const char *dir) { return read_state(dir, two_options); }, "two",
     "0 \"two\"", "1 \"none\"", false},
    {"rd_selectbox_text_item, on the heap",
     [](const char *dir) { return read_state(dir, long_option); }, "two", "0 \"none\"",
     "1 \"none\"", true},
    {"rd_checkbox_item", [](const char *dir) { return number(rd_checkbox_item(dir, "item", 0)); },
     "1", "2", "1", false},
    {"rd_checkbox_item, checked by the caller",
     [](const char *dir) { return number(rd_checkbox_item(dir, "item", PRINT_CHECKED)); }, "0", "0",
     "3", false},
    {"rd_numberbox_item",
     [](const char *dir) {
         unsigned value = 0;
         const unsigned flags = rd_numberbox_item(dir, "item", &value, 7);
         return number(flags) + " " + number(value);
     },
     "5", "0 5", "1 7", false},
    {"gen_numberbox_item",
     [](const char *dir) { return number(gen_numberbox_item(dir, "item", "n", 3, 7, 0)); }, "5",
     "0 printed \"<input type=\"text\" name=\"n\" size=\"3\" maxlength=\"15\" value=\"5\">\"",
     "1 printed \"<input type=\"text\" name=\"n\" size=\"3\" maxlength=\"15\" value=\"7\" "
     "disabled>\"",
     false},
    {"gen_json_number_item",
     [](const char *dir) { return number(gen_json_number_item(dir, "item", "name", 7, 0)); }, "5",
     "524288 printed \"\"name\": 5\"", "524289 printed \"\"name\": null\"", false},
    {"rd_ipv4box_item",
     [](const char *dir) {
         uint32_t addr = 9;
         const int returned = rd_ipv4box_item(dir, "item", &addr, 0);
         return std::to_string(returned) + (addr == 0 ? " default" : addr == 9 ? " left" : " read");
     },
     "10.0.0.1", "0 read", "1 default", false},
    {"rd_ipv4cidr_item",
     [](const char *dir) {
         ipv4_cidr cidr{9, 9};
         const int returned = rd_ipv4cidr_item(dir, "item", &cidr, 0);
         return std::to_string(returned) + (cidr.addr == 0 ? " default/" : " read/") +
                number(cidr.prefix);
     },
     "10.0.0.0/8", "0 read/8", "1 default/0", false},
};

TEST(WidgetReaders, TakeWhatStandsForAnItemThatCannotBeRead) {
    for (const Reader &reader : kReaders)
        check(reader);
}

TEST(GenTextItem, PrintsNothingWhenItFails) {
    // A page of memory has more than 4096 bytes on some machines; the text then lies on the heap.
    const bool allocates = ::getpagesize() > 4096;
    Scenario scenario([](const TempDir &dir) { return result(gen_text_item(dir.path(), "item")); });
    scenario.with("item", "a<b\n").gives("3 printed \"a&lt;b\"");
    scenario.fails(Call::kOpen, "-1 {error}").fails(Call::kRead, "-1 {error}");
    if (allocates)
        scenario.fails(Call::kMalloc, "-1 ENOMEM");
    scenario.check();
}

/* ---- Writers of items: one that could not be opened, read or held in memory is left alone ---- */

struct Writer {
    const char *label;
    int (*write)(const char *dir);
    const char *whole;
    const char *cut;  ///< when the disk filled up behind the first byte
    bool allocates;
};

constexpr Writer kWriters[] = {
    {"update_textbox", [](const char *dir) { return update_textbox(dir, "item", "new", 10); },
     "4 item=\"new\\n\"", "n", false},
    {"update_textbox, on the heap",
     [](const char *dir) { return update_textbox(dir, "item", kLong.c_str(), 5000); },
     "5001 item=\"<5000 v>\\n\"", "v", true},
    {"update_textbox_item",
     [](const char *dir) { return update_textbox_item(dir, "item", "new", 10, nullptr); },
     "4 item=\"new\\n\"", "n", false},
    {"update_textbox_item, on the heap",
     [](const char *dir) {
         return update_textbox_item(dir, "item", kLong.c_str(), 5000, textbox_filter_alnum);
     },
     "5001 item=\"<5000 v>\\n\"", "v", true},
    {"update_password_item",
     [](const char *dir) { return update_password_item(dir, "item", "new", 10, nullptr, nullptr); },
     "4 item=\"new\\n\"", "n", false},
    {"update_password_item, on the heap",
     [](const char *dir) {
         return update_password_item(dir, "item", kLong.c_str(), 5000, nullptr, nullptr);
     },
     "5001 item=\"<5000 v>\\n\"", "v", true},
    {"wr_checkbox_item",
     [](const char *dir) { return wr_checkbox_item(dir, "item", PRINT_CHECKED); },
     "2 item=\"1\\n\"", "1", false},
    {"wr_numberbox_item", [](const char *dir) { return wr_numberbox_item(dir, "item", 5); },
     "2 item=\"5\\n\"", "5", false},
    {"update_ipv4box_item",
     [](const char *dir) {
         const uint32_t addr = 0;
         return update_ipv4box_item(dir, "item", &addr);
     },
     "8 item=\"0.0.0.0\\n\"", "0", false},
    {"update_ipv4cidr_item",
     [](const char *dir) {
         const ipv4_cidr cidr{0, 8};
         return update_ipv4cidr_item(dir, "item", &cidr);
     },
     "10 item=\"0.0.0.0/8\\n\"", "0", false},
};

TEST(WidgetWriters, LeaveTheItemUnlessWritingItFails) {
    for (const Writer &writer : kWriters) {
        SCOPED_TRACE(writer.label);
        Scenario scenario(
            [&writer](const TempDir &dir) { return result(writer.write(dir.path())); });
        scenario.with("item", "old\n").gives(writer.whole);
        scenario.fails(Call::kOpen, "-1 {error}").fails(Call::kRead, "-1 {error}");
        scenario.fails(Call::kWrite, "-1 {error} item=\"\"");
        scenario.goes(Manner::kFillsUp, Call::kWrite,
                      "-1 {error} item=\"" + std::string(writer.cut) + "\"");
        if (writer.allocates)
            scenario.fails(Call::kMalloc, "-1 ENOMEM");
        scenario.check();
    }
}

/* ---- Text areas ---- */

TEST(GetTextareaFile, IsEmptyWhenTheFileCannotBeRead) {
    Scenario([](const TempDir &dir) {
        char *text = nullptr;
        const int returned = get_textarea_file(&text, dir.path(), "item", 10);
        const std::string outcome =
            std::to_string(returned) + " " + (text != nullptr ? in_quotes(text) : "null");
        std::free(text);
        return outcome;
    })
        .with("item", "a\nb\n")
        .gives("31 \"a\\nb\\n\"")
        .fails(Call::kMalloc, "-1 null")
        .fails(Call::kOpen, "0 \"\"")
        .fails(Call::kRead, "31 \"\"")
        .check();
}

TEST(UpdateTextareaFile, LeavesTheFileUnlessWritingItFails) {
    Scenario([](const TempDir &dir) {
        return result(update_textarea_file(dir.path(), "item", "new\n", 10));
    })
        .with("item", "old\n")
        .gives("5 item=\"new\\n\"")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kMalloc, "-2 ENOMEM [1 descriptors left]")
        // A file that cannot be read counts as an empty one.
        .fails(Call::kRead, "5 item=\"new\\n\"")
        .fails(Call::kWrite, "-1 {error} item=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "-1 {error} item=\"n\"")
        .check();
}

/* ---- Others ---- */

int one_option(unsigned op, unsigned index, int) {
    return op == SELECTBOX_EXISTS && index > 0 ? -1 : 1;
}

TEST(GenXselectboxNum, HasNoAttributesWithoutMemory) {
    const std::string option = "<option value=\"0\" selected></option>\\r\\n</select>\\r\\n\"";
    Scenario([](const TempDir &) {
        selectbox_state state{0, {0}};
        return number(gen_xselectbox_num(&state, one_option, 0, " id=\"%s\"", "box"));
    })
        .gives("0 printed \"<select id=\"box\">\\r\\n" + option)
        .fails(Call::kFormat, "0 printed \"<select>\\r\\n" + option)
        .check();
}

TEST(ScanIpv4Cidr, TakesTheDefaultWithoutMemory) {
    const std::string text = std::string(5000, ' ') + "/8";
    const std::string address = "10.0.0.0" + text;
    Scenario([&address](const TempDir &) {
        ipv4_cidr cidr{9, 9};
        const int returned = scan_ipv4cidr(address.c_str(), &cidr, 0, 0);
        return std::to_string(returned) + (cidr.addr == 0 ? " default/" : " read/") +
               number(cidr.prefix);
    })
        .gives("1 read/8")
        .fails(Call::kMalloc, "1 default/0")
        .check();
}

}  // namespace
