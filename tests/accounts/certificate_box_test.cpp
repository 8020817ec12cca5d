// The select box of a certificate directory, and the item that holds the chosen file name.
#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/accounts.h>
#include <qmv/util.h>
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
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

/// A directory with the files a.pem and b.pem.
struct TwoFiles {
    TwoFiles() {
        dir.write("b.pem", "x");
        dir.write("a.pem", "x");
        dir.write(".hidden.pem", "x");
    }
    TempDir dir;
};

// ---- gen_selectbox_certs ----

TEST(GenSelectboxCerts, MarksTheCurrentFileAndHasNoEmptyChoice) {
    const TwoFiles files;
    EXPECT_TRUE(prints(
        "<select name=\"cert\">\r\n"
        "<option value=\"YS5wZW0=\">a.pem</option>\r\n"
        "<option value=\"Yi5wZW0=\" selected>b.pem</option>\r\n"
        "</select>",
        kClosingTag, [&] {
            return gen_selectbox_certs(files.dir.path(), "cert", "b.pem", "none", 0, nullptr);
        }));
}

TEST(GenSelectboxCerts, AddsTheEmptyChoiceUnselectedWhenAskedTo) {
    const TwoFiles files;
    EXPECT_TRUE(prints(
        "<select name=\"cert\">\r\n"
        "<option value=\"YS5wZW0=\" selected>a.pem</option>\r\n"
        "<option value=\"Yi5wZW0=\">b.pem</option>\r\n"
        "<option value=\"\">none</option>\r\n"
        "</select>",
        kClosingTag, [&] {
            return gen_selectbox_certs(files.dir.path(), "cert", "a.pem", "none", 0x8000, nullptr);
        }));
}

TEST(GenSelectboxCerts, SelectsTheEmptyChoiceWhenNoFileIsCurrent) {
    const TwoFiles files;
    for (const uint32_t flags : {0u, 0x8000u}) {
        for (const char *current : {"c.pem", "", "a.pe", "a.pem ", "A.pem", ".hidden.pem",
                                    "YS5wZW0=", static_cast<const char *>(nullptr)}) {
            EXPECT_TRUE(
                prints("<select name=\"cert\">\r\n"
                       "<option value=\"YS5wZW0=\">a.pem</option>\r\n"
                       "<option value=\"Yi5wZW0=\">b.pem</option>\r\n"
                       "<option value=\"\" selected>none</option>\r\n"
                       "</select>",
                       kClosingTag,
                       [&] {
                           return gen_selectbox_certs(files.dir.path(), "cert", current, "none",
                                                      flags, nullptr);
                       }))
                << (current != nullptr ? current : "null") << ", flags " << flags;
        }
    }
}

TEST(GenSelectboxCerts, ListsDirectoriesToo) {
    const TempDir dir;
    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0777), 0);
    ASSERT_EQ(::mkdir(dir.file(".git").c_str(), 0777), 0);
    EXPECT_TRUE(prints(
        "<select>\r\n"
        "<option value=\"c3Vi\" selected>sub</option>\r\n"
        "</select>",
        kClosingTag,
        [&] { return gen_selectbox_certs(dir.path(), nullptr, "sub", "none", 0, nullptr); }));
}

TEST(GenSelectboxCerts, PrintsNameFlagsAndExtraInThisOrder) {
    const TempDir dir;
    const struct {
        const char *label;
        const char *name;
        uint32_t flags;
        const char *extra;
        const char *tag;
    } rows[] = {
        {"nothing", nullptr, 0, nullptr, "<select>\r\n"},
        {"name", "n", 0, nullptr, "<select name=\"n\">\r\n"},
        {"empty name", "", 0, nullptr, "<select name=\"\">\r\n"},
        {"name is not escaped", "a\"<&%s", 0, nullptr, "<select name=\"a\"<&%s\">\r\n"},
        {"flags", nullptr, 0x7, nullptr, "<select checked disabled readonly>\r\n"},
        {"other flags", nullptr, 0x588, nullptr,
         "<select selected style=\"display: none;\" style=\"visibility: hidden;\" "
         "autocomplete=\"off\">\r\n"},
        {"extra is not escaped", nullptr, 0, " class=\"a\" title='<&%s>'",
         "<select class=\"a\" title='<&%s>'>\r\n"},
        {"extra without a blank", nullptr, 0, "x", "<selectx>\r\n"},
        {"all", "n", 0x8001, " id=\"i\"", "<select name=\"n\" disabled id=\"i\">\r\n"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(
            prints(std::string(row.tag) + "<option value=\"\" selected>none</option>\r\n</select>",
                   kClosingTag,
                   [&] {
                       return gen_selectbox_certs(dir.path(), row.name, nullptr, "none", row.flags,
                                                  row.extra);
                   }))
            << row.label;
}

TEST(GenSelectboxCerts, EscapesTheEmptyLabel) {
    const TempDir dir;
    const struct {
        const char *label;
        const char *escaped;
    } rows[] = {
        {"<none> & \"\xC3\xA9\"", "&lt;none&gt; &amp; &quot;&eacute;&quot;"},
        {"", ""},
        {nullptr, ""},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints("<select>\r\n<option value=\"\" selected>" + std::string(row.escaped) +
                               "</option>\r\n</select>",
                           kClosingTag, [&] {
                               return gen_selectbox_certs(dir.path(), nullptr, nullptr, row.label,
                                                          0, nullptr);
                           }));
}

TEST(GenSelectboxCerts, IsDisabledWhenTheDirectoryCannotBeRead) {
    const TempDir dir;
    const std::string file = dir.write("file", "x");
    const std::string missing = dir.file("missing");
    for (const char *path :
         {missing.c_str(), file.c_str(), "", static_cast<const char *>(nullptr)}) {
        for (const uint32_t flags : {0u, 1u, 0x8000u}) {
            EXPECT_TRUE(prints(
                "<select name=\"cert\" disabled id=\"i\">\r\n"
                "<option value=\"\" selected>none</option>\r\n"
                "</select>",
                kClosingTag,
                [&] {
                    return gen_selectbox_certs(path, "cert", "file", "none", flags, " id=\"i\"");
                }))
                << (path != nullptr ? path : "null") << ", flags " << flags;
        }
    }
}

TEST(GenSelectboxCerts, SendsOddNamesAsBase64AndShowsThemEscaped) {
    const struct {
        const char *name;
        const char *value;
        const char *label;
    } rows[] = {
        {"d", "ZA==", "d"},
        {"a \"q\" & <b>.pem", "YSAicSIgJiA8Yj4ucGVt", "a &quot;q&quot; &amp; &lt;b&gt;.pem"},
        {"a\nb", "YQpi", "a\nb"},
        {"\xC3\xA9.pem", "w6kucGVt", "&eacute;.pem"},
        {"-rf", "LXJm", "-rf"},
        {"it's", "aXQncw==", "it's"},
        {"$HOME`x`\\", "JEhPTUVgeGBc", "$HOME`x`\\"},
        {"%s.pem", "JXMucGVt", "%s.pem"},
        {"\xFFx", "/3g=", "x"},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        dir.write(row.name, "x");
        EXPECT_TRUE(prints("<select>\r\n<option value=\"" + std::string(row.value) +
                               "\" selected>" + row.label + "</option>\r\n</select>",
                           kClosingTag, [&] {
                               return gen_selectbox_certs(dir.path(), nullptr, row.name, "none", 0,
                                                          nullptr);
                           }));
        char posted[16 + 1];
        EXPECT_EQ(save_selectbox_cert(posted, 16, row.value), static_cast<int>(strlen(row.name)));
        EXPECT_STREQ(posted, row.name) << "what the browser sends back";
    }
}

TEST(GenSelectboxCerts, PrintsTheLongestName) {
    const TempDir dir;
    const std::string name(255, 'A');
    dir.write(name, "x");
    std::string value;
    for (int i = 0; i < 85; ++i)
        value += "QUFB";
    EXPECT_TRUE(prints(
        "<select>\r\n<option value=\"" + value + "\" selected>" + name + "</option>\r\n</select>",
        kClosingTag, [&] {
            return gen_selectbox_certs(dir.path(), nullptr, name.c_str(), "none", 0, nullptr);
        }));
}

TEST(GenSelectboxCerts, LeavesNoDescriptorOpen) {
    const TwoFiles files;
    const int before = open_descriptors();
    printed([&] { gen_selectbox_certs(files.dir.path(), "n", nullptr, "none", 0, nullptr); });
    printed([&] { gen_selectbox_certs("/nowhere", "n", nullptr, "none", 0, nullptr); });
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(GenSelectboxCerts, IsDisabledWithoutMemory) {
    const TwoFiles files;
    for (int n = 0;; ++n) {
        int failed = 0;
        const std::string box = printed([&] {
            const qmv_test::AllocationFailure failure(n);
            gen_selectbox_certs(files.dir.path(), nullptr, nullptr, "none", 0, nullptr);
            failed = failure.failed();
        });
        if (failed == 0) {
            EXPECT_EQ(box,
                      "<select>\r\n"
                      "<option value=\"YS5wZW0=\">a.pem</option>\r\n"
                      "<option value=\"Yi5wZW0=\">b.pem</option>\r\n"
                      "<option value=\"\" selected>none</option>\r\n"
                      "</select>");
            break;
        }
        EXPECT_EQ(box,
                  "<select disabled>\r\n<option value=\"\" selected>none</option>\r\n</select>")
            << "allocation " << n;
    }
}
#endif

// ---- save_selectbox_cert ----

TEST(SaveSelectboxCert, DecodesAndTerminates) {
    const struct {
        const char *label;
        const char *posted;
        int size;
        int result;
        std::string out;  ///< the terminator and what follows it included
    } rows[] = {
        {"three bytes", "YWJj", 8, 3, text("abc\0#####")},
        {"two bytes", "YWI=", 8, 2, text("ab\0######")},
        {"one byte", "YQ==", 8, 1, text("a\0#######")},
        {"fits exactly: the terminator stands behind the size", "YWJj", 3, 3, text("abc\0#####")},
        {"line breaks and blanks", "YW\r\n Jj", 8, 3, text("abc\0#####")},
        {"slash in the name", "Li4vYQ==", 8, 4, text("../a\0####")},
        {"NUL in the name", "YQBi", 8, 3, text("a\0b\0#####")},
        {"bytes above 0x7F", "w6n/", 8, 3, text("\xC3\xA9\xFF\0#####")},
        {"empty", "", 8, 0, text("\0########")},
        {"nothing but blanks", "  ", 8, 0, text("\0########")},
        {"empty into no room", "", 0, 0, text("\0########")},
    };
    for (const auto &row : rows) {
        std::string out(9, '#');
        EXPECT_EQ(save_selectbox_cert(out.data(), row.size, row.posted), row.result) << row.label;
        EXPECT_EQ(out, row.out) << row.label;
    }
}

TEST(SaveSelectboxCert, ReturnsZeroForWhatDoesNotDecode) {
    const struct {
        const char *label;
        const char *posted;
        int size;
    } rows[] = {
        {"incomplete group", "YQ", 8},
        {"incomplete second group", "YWJjYQ", 8},
        {"text behind padding", "YQ==YQ==", 8},
        {"too much padding", "====", 8},
        {"does not fit", "YWJj", 2},
        {"does not fit, second group", "YWJjZA==", 3},
        {"no room", "YQ==", 0},
        {"negative size", "YQ==", -1},
        {"lowest size", "YQ==", INT_MIN},
        {"null", nullptr, 8},
    };
    for (const auto &row : rows) {
        std::string out(9, '#');
        EXPECT_EQ(save_selectbox_cert(out.data(), row.size, row.posted), 0) << row.label;
        const auto room = static_cast<std::size_t>(row.size > 0 ? row.size : 0);
        EXPECT_EQ(out.substr(room + 1), std::string(9, '#').substr(room + 1))
            << row.label << ": it wrote behind the buffer";
    }
    EXPECT_EQ(save_selectbox_cert(nullptr, 8, "YWJj"), 0) << "null buffer";
}

TEST(SaveSelectboxCert, GivesBackEveryByteOfAName) {
    std::string name;
    for (int byte = 1; byte < 256; ++byte)
        name += static_cast<char>(byte);
    char posted[400];
    ASSERT_EQ(base64_encode(posted, sizeof posted,
                            reinterpret_cast<const unsigned char *>(name.data()), 255),
              340);
    char out[256];
    EXPECT_EQ(save_selectbox_cert(out, 255, posted), 255);
    EXPECT_EQ(out, name);
}

// ---- update_cert_item ----

TEST(UpdateCertItem, WritesTheDecodedName) {
    const std::string longest(200, 'A');
    std::string longest_value;
    for (int i = 0; i < 66; ++i)
        longest_value += "QUFB";
    longest_value += "QUE=";
    const struct {
        const char *label;
        std::string content;
        std::string posted;
        uint32_t max_len;
        int result;
        std::string after;
    } rows[] = {
        {"another file", "a.pem\n", "Yi5wZW0=", 63, 6, "b.pem\n"},
        {"from empty", "", "Yi5wZW0=", 63, 6, "b.pem\n"},
        {"longer than before", "a\n", "Yi5wZW0=", 63, 6, "b.pem\n"},
        {"shorter than before", "a.pem.pem\n", "ZA==", 63, 2, "d\n"},
        {"empty choice", "a.pem\n", "", 63, 1, "\n"},
        {"as long as allowed", "a\n", "Yi5wZW0=", 5, 6, "b.pem\n"},
        {"bytes above 0x7F", "a\n", "w6kucGVt", 63, 7, "\xC3\xA9.pem\n"},
        {"line feed in the name", "a\n", "YQpi", 63, 4, "a\nb\n"},
        {"up to a NUL", "x\n", "YQBi", 63, 2, "a\n"},
        {"a long name", "a\n", longest_value, 255, 201, longest + "\n"},
        {"high limit", "a\n", "Yi5wZW0=", 100000, 6, "b.pem\n"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_EQ(update_cert_item(item.dir(), item.name(), row.posted.c_str(), row.max_len),
                  row.result)
            << row.label;
        EXPECT_EQ(item.content(), row.after) << row.label;
        EXPECT_TRUE(item.same_file()) << row.label;
    }
}

TEST(UpdateCertItem, LeavesTheItemAloneWhenEqual) {
    const struct {
        const char *label;
        const char *content;
        const char *posted;
        uint32_t max_len;
    } rows[] = {
        {"same name", "b.pem\n", "Yi5wZW0=", 63},
        {"same name without newline", "b.pem", "Yi5wZW0=", 63},
        {"same name, as long as allowed", "b.pem\n", "Yi5wZW0=", 5},
        {"both empty", "\n", "", 63},
        {"empty and not decodable", "\n", "YQ", 63},
        {"no length allowed", "a.pem\n", "", 0},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_EQ(update_cert_item(item.dir(), item.name(), row.posted, row.max_len), 0)
            << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(UpdateCertItem, WritesAnEmptyNameForAValueThatDoesNotDecode) {
    const struct {
        const char *label;
        const char *posted;
        uint32_t max_len;
    } rows[] = {
        {"incomplete group", "YQ", 63},
        {"incomplete behind a whole group", "YWJjYQ", 63},
        {"text behind padding", "YQ==YQ==", 63},
        {"longer than allowed", "Yi5wZW0=", 4},
        {"longer than allowed behind a whole group", "YWJjZGVm", 5},
    };
    for (const auto &row : rows) {
        const ItemFile item("a.pem\n");
        EXPECT_EQ(update_cert_item(item.dir(), item.name(), row.posted, row.max_len), 1)
            << row.label;
        EXPECT_EQ(item.content(), "\n") << row.label;
    }
}

TEST(UpdateCertItem, CreatesNoItem) {
    const TempDir dir;
    const int before = open_descriptors();
    EXPECT_LT(update_cert_item(dir.path(), "missing", "Yi5wZW0=", 63), 0);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_LT(update_cert_item(nullptr, "missing", "Yi5wZW0=", 63), 0) << "null directory";
    EXPECT_LT(update_cert_item(dir.path(), nullptr, "Yi5wZW0=", 63), 0) << "null name";
    EXPECT_EQ(open_descriptors(), before);
}

TEST(UpdateCertItem, WritesNothingForANullValue) {
    const ItemFile item("a.pem\n");
    EXPECT_EQ(update_cert_item(item.dir(), item.name(), nullptr, 63), -1);
    EXPECT_FALSE(item.touched());
}

#if QMV_FAKE_ALLOCATION
TEST(UpdateCertItem, WritesNothingWithoutMemory) {
    const ItemFile item("a.pem\n");
    for (int n = 0;; ++n) {
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure failure(n);
            result = update_cert_item(item.dir(), item.name(), "Yi5wZW0=", 100000);
            failed = failure.failed();
        }
        if (failed == 0) {
            EXPECT_EQ(result, 6);
            EXPECT_EQ(item.content(), "b.pem\n");
            break;
        }
        EXPECT_EQ(result, -1) << "allocation " << n;
        EXPECT_FALSE(item.touched()) << "allocation " << n;
    }
}
#endif

// ---- gen_selectbox_certs_item ----

/// Prints the box of an item; the flags it returns are checked with the text.
testing::AssertionResult prints_item(const std::string &expected, uint32_t flags, const char *dir,
                                     const char *item, const char *path, uint32_t max_len) {
    return prints(expected, static_cast<int>(flags), [&] {
        return static_cast<int>(
            gen_selectbox_certs_item(dir, item, "cert", path, "no <file>", max_len, " id=\"i\""));
    });
}

TEST(GenSelectboxCertsItem, SelectsTheFileOfTheItem) {
    const TwoFiles files;
    const std::string first =
        "<select name=\"cert\" id=\"i\">\r\n"
        "<option value=\"YS5wZW0=\" selected>a.pem</option>\r\n"
        "<option value=\"Yi5wZW0=\">b.pem</option>\r\n"
        "<option value=\"\">no &lt;file&gt;</option>\r\n</select>";
    const std::string none =
        "<select name=\"cert\" id=\"i\">\r\n"
        "<option value=\"YS5wZW0=\">a.pem</option>\r\n"
        "<option value=\"Yi5wZW0=\">b.pem</option>\r\n"
        "<option value=\"\" selected>no &lt;file&gt;</option>\r\n</select>";
    const struct {
        const char *label;
        const char *content;
        uint32_t max_len;
        const std::string &expected;
    } rows[] = {
        {"a file", "a.pem\n", 63, first},
        {"no newline", "a.pem", 63, first},
        {"CR LF", "a.pem\r\n", 63, first},
        {"as long as allowed", "a.pem\n", 5, first},
        {"only the first characters count", "a.pem.old\n", 5, first},
        {"cut", "a.pem\n", 4, none},
        {"nothing allowed", "a.pem\n", 0, none},
        {"high limit", "a.pem\n", 100000, first},
        {"a file that is gone", "c.pem\n", 63, none},
        {"empty line", "\n", 63, none},
        {"empty", "", 63, none},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_TRUE(prints_item(row.expected, 0x8000, item.dir(), item.name(), files.dir.path(),
                                row.max_len))
            << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(GenSelectboxCertsItem, IsDisabledWithTheEmptyChoiceWhenTheItemIsMissing) {
    const TwoFiles files;
    EXPECT_TRUE(
        prints_item("<select name=\"cert\" disabled id=\"i\">\r\n"
                    "<option value=\"YS5wZW0=\">a.pem</option>\r\n"
                    "<option value=\"Yi5wZW0=\">b.pem</option>\r\n"
                    "<option value=\"\" selected>no &lt;file&gt;</option>\r\n</select>",
                    0x8001, files.dir.path(), "missing", files.dir.path(), 63));
}

TEST(GenSelectboxCertsItem, DoesNotReturnThatTheDirectoryCannotBeRead) {
    const ItemFile item("a.pem\n");
    EXPECT_TRUE(
        prints_item("<select name=\"cert\" disabled id=\"i\">\r\n"
                    "<option value=\"\" selected>no &lt;file&gt;</option>\r\n</select>",
                    0x8000, item.dir(), item.name(), "/nowhere", 63));
}

TEST(GenSelectboxCertsItem, LeavesNoDescriptorOpen) {
    const TwoFiles files;
    const ItemFile item("a.pem\n");
    const int before = open_descriptors();
    printed([&] {
        gen_selectbox_certs_item(item.dir(), item.name(), "n", files.dir.path(), "", 63, nullptr);
    });
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION
TEST(GenSelectboxCertsItem, IsDisabledWithoutMemory) {
    const TwoFiles files;
    const ItemFile item("a.pem\n");
    bool whole = false;
    for (int n = 0; !whole; ++n) {
        uint32_t flags = 0;
        const std::string box = printed([&] {
            const qmv_test::AllocationFailure failure(n);
            flags = gen_selectbox_certs_item(item.dir(), item.name(), nullptr, files.dir.path(),
                                             "none", 100000, nullptr);
            whole = failure.failed() == 0;
        });
        EXPECT_EQ(flags, n == 0 ? 0x8001u : 0x8000u) << "allocation " << n;
        if (!whole) {
            EXPECT_EQ(box,
                      "<select disabled>\r\n<option value=\"\" selected>none</option>\r\n</select>")
                << "allocation " << n;
        }
    }
}
#endif

}  // namespace
