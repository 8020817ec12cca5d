// The library in surroundings where calls of the system really fail: no descriptors, no output, a
// directory that goes away.
#include <gtest/gtest.h>
#include <qmv.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/environment.h"
#include "tests/faults/scenario.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/io.h"
#include "tests/support/request.h"

namespace {

using qmv_test::BrokenOutput;
using qmv_test::DescriptorLimit;
using qmv_test::in_own_process;
using qmv_test::printed_error;
using qmv_test::result;
using qmv_test::TempDir;

/* ---- No descriptors ---- */

/// Calls something while nothing can be opened.
template <typename Function>
std::string without_descriptors(Function call) {
    const DescriptorLimit limit;
    errno = 0;
    return result(call());
}

int ignore_line(void *, char *) {
    return 0;
}
int ignore_element(int, char *) {
    return 0;
}
int ignore_number(unsigned) {
    return 0;
}

TEST(NoDescriptors, NothingIsOpenedAndNothingIsLost) {
    in_own_process([] {
        const TempDir dir;
        dir.write("item", "old\n");
        const char *const path = dir.path();
        const std::string file = dir.file("item");
        const std::string place = dir.file("");
        char text[64];
        char *block = nullptr;
        interface_addr address{};
        cert_dir cd{};
        db_record *list = nullptr;
        unsigned number = 0;
        const struct {
            const char *label;
            std::function<int()> call;
        } calls[] = {
            {"open_path_name", [&] { return open_path_name(path, "item", 0, 0); }},
            {"read_item", [&] { return read_item(path, "item", text, 63); }},
            {"read_item_alloc", [&] { return read_item_alloc(path, "item", &block); }},
            {"read_items_str", [&] { return read_items_str(ignore_element, 0, path, "item", 0); }},
            {"read_item_uint", [&] { return read_item_uint(path, "item", &number); }},
            {"read_item_uint_fmt", [&] { return read_item_uint_fmt(&number, "%s", file.c_str()); }},
            {"call_uint", [&] { return call_uint(path, "item", ignore_number); }},
            {"create_item", [&] { return create_item(path, "item", "new", 3); }},
            {"compare_item", [&] { return compare_item(path, "item", "new", 63); }},
            {"update_item", [&] { return update_item(path, "item", "new", 63); }},
            {"write_item_text", [&] { return write_item_text(path, "item", "new"); }},
            {"update_textarea_file", [&] { return update_textarea_file(path, "item", "new", 9); }},
            {"rd_file_line", [&] { return rd_file_line(file.c_str(), ignore_line, nullptr); }},
            {"read_db_file", [&] { return read_db_file(file.c_str(), 1, &list); }},
            {"check_dir", [&] { return check_dir(path); }},
            {"cert_dir_setup",
             [&] { return cert_dir_setup(&cd, place.c_str(), nullptr, nullptr); }},
            {"run_shell", [&] { return run_shell(PRINT_QUIET, "true"); }},
            {"shell_run", [&] { return shell_run(nullptr, "true"); }},
            {"asprint_shell", [&] { return asprint_shell(&block, "true"); }},
            {"asprint_title_shell", [&] { return asprint_title_shell(&block, "echo a"); }},
            {"get_link_status", [&] { return get_link_status("lo", 0); }},
            {"set_link_pwrdown", [&] { return set_link_pwrdown("lo", 0, 0); }},
            {"read_interface_conf", [&] { return read_interface_conf(nullptr, nullptr); }},
            {"get_interface", [&] { return get_interface("lo", &address); }},
            {"read_interface6_conf", [&] { return read_interface6_conf(nullptr, nullptr); }},
            {"read_uboot_env", [&] { return read_uboot_env(file.c_str()); }},
        };
        for (const auto &call : calls)
            EXPECT_EQ(without_descriptors(call.call), "-1 EMFILE") << call.label;
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(dir.read("item"), "old\n");
    });
}

/* ---- No output ---- */

void print_nothing(unsigned) {}

int no_option(unsigned, unsigned, int) {
    return -1;
}

int one_text(unsigned index, int, selectbox_text *pair) {
    *pair = {"value", "label"};
    return index == 0 ? 1 : -1;
}

/// Printers, with what each returns when stdout takes nothing.
struct Printer {
    const char *label;
    std::function<int(const TempDir &dir)> print;
    int returned;
};

const std::vector<Printer> &printers() {
    static const std::vector<Printer> all = {
        {"print_mem", [](const TempDir &) { return print_mem("abc", 3); }, 0},
        {"print_str", [](const TempDir &) { return print_str("abc"); }, 0},
        {"print_str_xcrlf", [](const TempDir &) { return print_str_xcrlf("a\nb"); }, 0},
        {"print_xstr", [](const TempDir &) { return print_xstr("abc", 0); }, 0},
        {"html_print_ucs2", [](const TempDir &) { return html_print_ucs2('<'); }, 0},
        {"html_print_text", [](const TempDir &) { return html_print_text("a<b"); }, 0},
        {"html_print_text_limit",
         [](const TempDir &) { return html_print_text_limit(2, "a<b", 3); }, 0},
        {"html_print_text_nl", [](const TempDir &) { return html_print_text_nl("a\nb"); }, 0},
        {"html_printf", [](const TempDir &) { return html_printf(1, "a%sb%d", "<", 5); }, 0},
        {"html_printf_signed", [](const TempDir &) { return html_printf_signed("%d", 2, 5); }, -1},
        {"print_flags", [](const TempDir &) { return print_flags(PRINT_CHECKED); }, 0},
        {"print_json_flags", [](const TempDir &) { return print_json_flags(PRINT_JSON_COMMA); }, 0},
        {"print_head_p1", [](const TempDir &) { return print_head_p1("h", "h", "e"); }, 0},
        {"print_head_p2", [](const TempDir &) { return print_head_p2("t", " b"); }, 0},
        {"print_head_script",
         [](const TempDir &dir) { return print_head_script(7, dir.file("item").c_str()); }, 0},
        {"print_head_css",
         [](const TempDir &dir) {
             return print_head_css(dir.file("item").c_str(), static_cast<const char *>(nullptr));
         },
         0},
        {"print_head_refresh", [](const TempDir &) { return print_head_refresh(5, "%s", "u"); },
         -1},
        {"print_refresh", [](const TempDir &) { return print_refresh("h", nullptr, 5, "%s", "u"); },
         0},
        {"print_timeline",
         [](const TempDir &dir) { return print_timeline(dir.path(), "item", 9, "t"); }, 0},
        {"print_foot", [](const TempDir &) { return print_foot(); }, 0},
        {"print_fsize", [](const TempDir &) { return print_fsize(5); }, -1},
        {"gen_xtextbox", [](const TempDir &) { return gen_xtextbox(5, "a", 0, nullptr); }, -1},
        {"gen_textarea", [](const TempDir &) { return gen_textarea("a", 0, nullptr); }, 0},
        {"gen_xcheckbox", [](const TempDir &) { return gen_xcheckbox(0, nullptr); }, -1},
        {"gen_radio", [](const TempDir &) { return gen_radio("n", 1, 1, nullptr, 0); }, -1},
        {"gen_xbutton", [](const TempDir &) { return gen_xbutton("l", print_nothing, 0, nullptr); },
         0},
        {"gen_upload", [](const TempDir &) { return gen_upload(0, nullptr); }, -1},
        {"gen_numberbox", [](const TempDir &) { return gen_numberbox("n", 1, 1, 1, 0); }, -1},
        {"gen_ipv4box", [](const TempDir &) { return gen_ipv4box("n", 0, nullptr, 0); }, -1},
        {"gen_ipv4cidr", [](const TempDir &) { return gen_ipv4cidr("n", 0, nullptr, 0); }, -1},
        {"gen_xmacbox", [](const TempDir &) { return gen_xmacbox(0, nullptr, 0, nullptr); }, -1},
        {"gen_selectbox_num",
         [](const TempDir &) {
             return static_cast<int>(gen_selectbox_num(nullptr, "n", no_option, 0, nullptr));
         },
         PRINT_DISABLED},
        {"html_printf_unsigned", [](const TempDir &) { return html_printf_unsigned("%u", 2, 5); },
         -1},
        {"print_num_str_mark", [](const TempDir &) { return print_num_str_mark("1234", "."); }, 0},
        {"gen_json_text",
         [](const TempDir &) { return static_cast<int>(gen_json_text("a", "n", 0)); },
         PRINT_JSON_COMMA},
        {"gen_radio_string",
         [](const TempDir &) { return gen_radio_string("n", "v", "v", nullptr, 0); }, -1},
        {"gen_image", [](const TempDir &) { return gen_image("p", "f", "a", nullptr); }, -1},
        {"gen_xnumberbox", [](const TempDir &) { return gen_xnumberbox(1, 1, 0, nullptr); }, -1},
        {"gen_xrangebox",
         [](const TempDir &) { return gen_xrangebox(1, nullptr, nullptr, nullptr, 0, nullptr); },
         -1},
        {"gen_xipv4box", [](const TempDir &) { return gen_xipv4box(0, nullptr, 0, nullptr); }, -1},
        {"gen_xipv4cidr", [](const TempDir &) { return gen_xipv4cidr(0, nullptr, 0, nullptr); },
         -1},
        {"gen_selectbox_class",
         [](const TempDir &) { return gen_selectbox_class(nullptr, "n", nullptr, 0, 1, 0); }, 0},
        {"gen_selectbox_text",
         [](const TempDir &) {
             selectbox_state state{PRINT_HIDDEN, {0}};
             return static_cast<int>(
                 gen_selectbox_text(&state, "n", one_text, nullptr, 0, nullptr));
         },
         PRINT_HIDDEN},
        {"selectbox_num_show_value", [](const TempDir &) { return selectbox_num_show_value(1, 1); },
         1},
        {"gen_text_item", [](const TempDir &dir) { return gen_text_item(dir.path(), "item"); }, 3},
        {"gen_selectbox_certs",
         [](const TempDir &dir) {
             return gen_selectbox_certs(dir.path(), "n", "item", nullptr, 0, nullptr);
         },
         0},
        {"gen_selectbox_dbase",
         [](const TempDir &) { return gen_selectbox_dbase(nullptr, 0, 0, "n", nullptr, 0); }, 0},
        {"run_shell", [](const TempDir &) { return run_shell(PRINT_PRE, "printf 'a\\nb\\n'"); }, 0},
        {"update_item, not a printer",
         [](const TempDir &dir) { return update_item(dir.path(), "other", "new", 63); }, 4},
    };
    return all;
}

class NoOutput : public testing::TestWithParam<BrokenOutput::Kind> {};

TEST_P(NoOutput, PrintersSayThatTheyPrintedNothing) {
    in_own_process([] {
        for (const Printer &printer : printers()) {
            const TempDir dir;
            dir.write("item", "old\n");
            dir.write("other", "old\n");
            int returned = 0;
            {
                const BrokenOutput broken(GetParam());
                returned = printer.print(dir);
            }
            EXPECT_EQ(returned, printer.returned) << printer.label;
            EXPECT_EQ(dir.read("item"), "old\n") << printer.label;
            EXPECT_EQ(dir.read("other"), printer.returned == 4 ? "new\n" : "old\n");
        }
    });
}

TEST_P(NoOutput, FilesAreNotPrinted) {
    in_own_process([] {
        const qmv_test::InputFile file("content");
        int returned = 0;
        {
            const BrokenOutput broken(GetParam());
            returned = print_fd(file.fd());
        }
        EXPECT_EQ(returned, -1);
    });
}

TEST_P(NoOutput, ShellLinesAreFreed) {
    in_own_process([] {
        shell_lines lines{nullptr, 0};
        EXPECT_EQ(shell_run(&lines, "printf 'a\\nb\\n'"), 0);
        EXPECT_EQ(lines.count, 2u);
        const BrokenOutput broken(GetParam());
        shell_print(&lines, PRINT_PRE);
    });
}

TEST_P(NoOutput, RefusedRequestEndsTheProcess) {
    const auto child = qmv_test::run_child("", [] {
        qmv_test::set_environment({"DELETE", nullptr, nullptr, nullptr});
        const BrokenOutput broken(GetParam());
        return getcgivars(nullptr, nullptr, nullptr);
    });
    EXPECT_EQ(child.status, 1);
    EXPECT_EQ(child.output, "");
}

INSTANTIATE_TEST_SUITE_P(Output, NoOutput,
                         testing::Values(BrokenOutput::Kind::kFull, BrokenOutput::Kind::kClosed),
                         [](const auto &test) {
                             return test.param == BrokenOutput::Kind::kFull ? "Full" : "Closed";
                         });

/* ---- A directory that goes away ---- */

TEST(RemovedDirectory, AsCurrentDirectoryHoldsNothing) {
    in_own_process([] {
        const TempDir dir;
        std::filesystem::create_directory(dir.file("here"));
        std::filesystem::current_path(dir.file("here"));
        std::filesystem::remove(dir.file("here"));
        char text[64];
        char place[] = "a/b";
        EXPECT_EQ(result(read_item("", "item", text, 63)), "-1 ENOENT");
        EXPECT_EQ(result(create_item("", "item", "new", 3)), "-1 ENOENT");
        EXPECT_EQ(result(update_item(".", "item", "new", 63)), "-1 ENOENT");
        EXPECT_EQ(result(stat_item("", "item")), "-1 ENOENT");
        EXPECT_EQ(check_dir("."), 0);
        const std::string errors =
            printed_error([&] { EXPECT_EQ(result(make_directory(place, -1, 4)), "-1 ENOENT"); });
        EXPECT_EQ(errors, "can't create directory 'a/b'");
        cert_dir cd{};
        EXPECT_EQ(cert_dir_setup(&cd, "./", nullptr, nullptr), 0);
        EXPECT_EQ(delete_certificate(&cd, 0), 0);
        cert_dir_free(&cd);
        // The shell complains.
        printed_error([] { EXPECT_EQ(run_shell(PRINT_QUIET, "exit 3"), 3 << 8); });
        std::filesystem::current_path("/");
    });
}

TEST(RemovedDirectory, BehindAListingDeletesNothingMore) {
    in_own_process([] {
        const TempDir dir;
        std::filesystem::create_directory(dir.file("certs"));
        dir.write("certs/a.pem", "7\n");
        const std::string place = dir.file("certs/");
        cert_dir cd{};
        EXPECT_EQ(cert_dir_setup(&cd, place.c_str(), nullptr, nullptr), 1);
        std::filesystem::remove_all(dir.file("certs"));
        EXPECT_EQ(result(delete_certificate(&cd, 0)), "-1 ENOENT");
        EXPECT_EQ(cd.count, 1) << "the listing stays";
        cert_dir_free(&cd);
        EXPECT_EQ(cert_dir_setup(&cd, place.c_str(), nullptr, nullptr), -1);
        EXPECT_EQ(result(check_dir(place.c_str())), "-1 ENOENT");
        EXPECT_EQ(result(remove_dir_leaf(place.c_str())), "-1 ENOENT");
    });
}

std::string certificates;  // the directory that goes away
std::string seen;

uint32_t remove_directory(uint32_t, const char *name, int, const char *tooltip) {
    std::filesystem::remove_all(certificates);
    seen += std::string(name) + (tooltip != nullptr ? tooltip : " -") + ";";
    return 1;
}

void see_related(uint32_t, uint32_t, uint32_t, const char *) {
    seen += "related;";
}

TEST(RemovedDirectory, WhileItIsShownGivesNamesAlone) {
    in_own_process([] {
        const TempDir dir;
        certificates = dir.file("certs");
        std::filesystem::create_directory(certificates);
        dir.write("certs/a.pem", "7\n");
        dir.write("certs/b.pem", "8\n");
        // Prints the file whose path follows "-in".
        const cert_tool info{nullptr, "show() { cat \"$2\" 2>/dev/null; }; show", ""};
        const cert_related rows[] = {{certificates.c_str(), ".pem", nullptr, "true", "", 0, 1},
                                     {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0}};
        cert_dir cd{};
        EXPECT_EQ(cert_dir_setup(&cd, certificates.c_str(), &info, rows), 2);
        show_certificates(&cd, 0, remove_directory, see_related);
        EXPECT_EQ(seen, "a.pem title=\"7\";b.pem -;");
        cert_dir_free(&cd);
    });
}

std::string open_file;  // the file that goes away
int lines_seen = 0;

int remove_file(void *, char *) {
    std::filesystem::remove(open_file);
    return ++lines_seen;
}

TEST(RemovedFile, IsReadToItsEndWhileItIsOpen) {
    in_own_process([] {
        const TempDir dir;
        open_file = dir.write("lines", "a\nb\nc\n");
        EXPECT_EQ(rd_file_line(open_file.c_str(), remove_file, nullptr), 0);
        EXPECT_EQ(lines_seen, 3);
    });
}

}  // namespace
