// Commands, signals, databases and the boot loader's environment when the system fails them.
#include <gtest/gtest.h>
#include <mtd/mtd-user.h>
#include <qmv/system.h>
#include <qmv/util.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Aside;
using qmv_test::Call;
using qmv_test::in_quotes;
using qmv_test::only;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::Stage;
using qmv_test::TempDir;

/* ---- Commands. One whose output is not read to its end must not mind. ---- */

constexpr const char *kTwoLines = "exec 2>/dev/null; trap '' PIPE; printf 'a<b\\nc\\n'; exit 0";
constexpr const char *kLong = "head -c 5000 /dev/zero 2>/dev/null | tr '\\0' x 2>/dev/null";

TEST(RunShell, SaysThatItCouldNotRun) {
    constexpr const char *kNotRun = "-1 printed \"<pre>unable to run script!\\n</pre>\"";
    Scenario([](const TempDir &) { return std::to_string(run_shell(PRINT_PRE, "%s", kTwoLines)); })
        .gives("0 printed \"<pre>a&lt;b\\nc\\n</pre>\"")
        .fails(Call::kFormat, "-1")
        .fails(Call::kPopen, kNotRun)
        .fails(Call::kMalloc, kNotRun)
        .fails(Call::kGetline, "0 printed \"<pre></pre>\"", only(1))
        .fails(Call::kGetline, "0 printed \"<pre>a&lt;b\\n</pre>\"", only(2))
        .fails(Call::kGetline, "0 printed \"<pre>a&lt;b\\nc\\n</pre>\"", only(3))
        .fails(Call::kPclose, "-1 printed \"<pre>a&lt;b\\nc\\nunable to run script!\\n</pre>\"")
        .check();
}

TEST(RunShell, QuietlyFails) {
    Scenario([](const TempDir &) { return result(run_shell(PRINT_QUIET, "%s", kTwoLines)); })
        .gives("0")
        .fails(Call::kFormat, "-1 ENOMEM")
        .fails(Call::kPopen, "-1 {error}")
        .fails(Call::kMalloc, "-1 ENOMEM")
        .fails(Call::kGetline, "0")
        .fails(Call::kPclose, "-1 {error}")
        .check();
}

/// What a function that hands out a text returned, and the text.
std::string returned_and(int returned, char *text) {
    const std::string outcome =
        std::to_string(returned) + " " + (text != nullptr ? in_quotes(text) : std::string("null"));
    std::free(text);
    return outcome;
}

TEST(AsprintShell, KeepsWhatItCouldHold) {
    Scenario([](const TempDir &) {
        char *text = nullptr;
        const int returned = asprint_shell(&text, kLong);
        return returned_and(returned, text);
    })
        .gives("8192 \"<5000 x>\"")
        .fails(Call::kMalloc, "-1 null")
        .fails(Call::kPopen, "-1 null")
        .fails(Call::kRealloc, "4096 \"<4095 x>\"")
        .fails(Call::kFread, "4096 \"\"", only(1))
        .fails(Call::kFread, "8192 \"<4095 x>\"", only(2))
        .fails(Call::kFread, "8192 \"<5000 x>\"", only(3))
        .fails(Call::kPclose, "8192 \"<5000 x>\"")
        .check();
}

TEST(AsprintTitleShell, GivesNoTitleWhenItFails) {
    const std::string title = "17 \" title=\"a&lt;b\\nc\"\"";
    Scenario([](const TempDir &) {
        char *text = nullptr;
        const int returned = asprint_title_shell(&text, kTwoLines);
        return returned_and(returned, text);
    })
        .gives(title)
        .fails(Call::kMalloc, "-1 null")
        .fails(Call::kPopen, "-1 null")
        .fails(Call::kFormat, "-1 null")
        .fails(Call::kFread, "-1 null", only(1))
        .fails(Call::kFread, title, only(2))
        .fails(Call::kPclose, title)
        .check();
}

std::string lines;

int note_line(int, char *line) {
    lines += " " + in_quotes(line);
    return 0;
}

TEST(ShellRun, KeepsTheLinesThatItCouldHold) {
    Scenario([](const TempDir &) {
        lines.clear();
        shell_lines list{nullptr, 0};
        const int returned = shell_run(&list, "%s", kTwoLines);
        const std::string count = std::to_string(list.count);
        shell_line(&list, note_line, 0);
        return std::to_string(returned) + ", " + count + lines;
    })
        .gives("0, 2 \"a<b\\n\" \"c\\n\"")
        .fails(Call::kFormat, "-1, 0")
        .fails(Call::kPopen, "-1, 0")
        .fails(Call::kMalloc, "-1, 0", only(1))
        .fails(Call::kMalloc, "0, 1 \"c\\n\"", only(2))
        .fails(Call::kMalloc, "0, 1 \"a<b\\n\"", only(3))
        .fails_for_good(Call::kMalloc, "0, 0", only(2))
        .fails(Call::kGetline, "0, 0", only(1))
        .fails(Call::kGetline, "0, 1 \"a<b\\n\"", only(2))
        .fails(Call::kGetline, "0, 2 \"a<b\\n\" \"c\\n\"", only(3))
        .fails(Call::kPclose, "-1, 2 \"a<b\\n\" \"c\\n\"")
        .check();
}

TEST(SignalProcess, SendsNothingWhenItFails) {
    Scenario([](const TempDir &dir) { return result(signal_process(dir.path(), "pid", 0)); })
        .prepared([](const TempDir &dir) { dir.write("pid", std::to_string(::getpid()) + "\n"); })
        .gives("0")
        .fails(Call::kOpen, "-1 {error}")
        .fails(Call::kRead, "-1 {error}")
        .fails(Call::kKill, "-1 {error}")
        .check();
}

/* ---- Record databases ---- */

/// Its records and their fields; "-" for a field without memory.
std::string records_of(const db_record *list) {
    std::string text;
    for (; list != nullptr; list = list->next) {
        text += " [";
        for (unsigned i = 0; i < list->count; ++i)
            text += list->fields[i] != nullptr ? list->fields[i] : "-";
        text += "]";
    }
    return text;
}

TEST(ReadDbFile, LeavesOutWhatHasNoMemory) {
    Scenario([](const TempDir &dir) {
        db_record *list = nullptr;
        std::string text = result(read_db_file(dir.file("db").c_str(), 2, &list));
        text += records_of(list);
        free_db(list);
        return text;
    })
        .with("db", "a\nb\n\nc\n")
        .gives("0 [ab] [c]")
        .fails(Call::kFopen, "-1 {error}")
        .fails(Call::kMalloc, "-1 ENOMEM", only(1))
        .fails(Call::kMalloc, "0 [-b] [c]", only(2))
        .fails(Call::kMalloc, "0 [a-] [c]", only(3))
        .fails(Call::kMalloc, "0 [ab] [-]", only(4))
        // Without memory for the second record, its line counts as one of the first, which is full.
        .fails_for_good(Call::kMalloc, "0 [--]", only(2))
        .fails_for_good(Call::kMalloc, "0 [a-]", only(3))
        .fails(Call::kCalloc, "0 [b] [c]", only(1))
        .fails(Call::kCalloc, "0 [ab]", only(2))
        .fails_for_good(Call::kCalloc, "0", only(1))
        .fails(Call::kGetline, "0", only(1))
        .fails(Call::kGetline, "0 [a]", only(2))
        .fails(Call::kGetline, "0 [ab]", only(3))
        .fails(Call::kGetline, "0 [ab] []", only(4))
        .fails(Call::kGetline, "0 [ab] [c]", only(5))
        .fails(Call::kFclose, "-1 {error} [ab] [c]")
        .check();
}

/// Prints the select box of a database with an item of up to so many bytes.
std::string print_box(const TempDir &dir, unsigned size) {
    db_record *list = nullptr;
    {
        const Aside aside;
        read_db_file(dir.file("db").c_str(), 1, &list);
    }
    const int returned = gen_selectbox_dbase_item(list, 0, 0, dir.path(), "item", "s", size);
    free_db(list);
    return std::to_string(returned);
}

constexpr const char *kBox =
    "9 printed \"<select name=\"s\">\\r\\n<option value=\"a\" selected>a</option>\\r\\n</select>\"";
constexpr const char *kDisabledBox =
    "9 printed \"<select name=\"s\" disabled>\\r\\n<option value=\"a\">a</option>\\r\\n</select>\"";

TEST(GenSelectboxDbaseItem, IsDisabledWhenTheItemCannotBeRead) {
    for (const unsigned size : {5u, 5000u}) {
        SCOPED_TRACE(size);
        Scenario scenario([size](const TempDir &dir) { return print_box(dir, size); });
        scenario.with("db", "a\n").with("item", "a\n").gives(kBox);
        scenario.fails(Call::kOpen, kDisabledBox).fails(Call::kRead, kDisabledBox);
        if (size == 5000)
            scenario.fails(Call::kMalloc, kDisabledBox);
        scenario.check();
    }
}

/* ---- The boot loader's environment ---- */

std::string image(std::string area) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(area.data());
    const uint32_t crc = ~crc32(0xFFFFFFFF, bytes, static_cast<int>(area.size()));
    return std::string(reinterpret_cast<const char *>(&crc), sizeof crc) + area;
}

int flash_of_16_bytes(unsigned long request, void *block) {
    if (request != MEMGETINFO)
        return -1;
    mtd_info_user info{};
    info.type = MTD_NORFLASH;
    info.size = 16;
    std::memcpy(block, &info, sizeof info);
    return 0;
}

TEST(ReadUbootEnv, HoldsNothingWhenItFails) {
    Scenario([](const TempDir &dir) {
        const Stage stage(flash_of_16_bytes);
        const int returned = read_uboot_env(dir.file("mtd").c_str());
        std::string text = result(returned);
        const char *value = uboot_getenv("name");
        text += std::string(", ") + (value != nullptr ? value : "null");
        if (returned == 0 || returned == 3 || returned == 5)
            free_uboot_env();
        return text;
    })
        // The environment is one of the process.
        .fed("")
        .with("mtd", image(std::string("name=value\0", 11) + '\0'))
        .gives("0, value")
        .fails(Call::kOpen, "-1 {error}, null")
        .fails(Call::kIoctl, "-1 {error}, null")
        .fails(Call::kMalloc, "4, null")
        .fails(Call::kRead, "3, null")
        .check();
}

}  // namespace
