// XML documents without memory, and from descriptors that cannot be read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/xml.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Aside;
using qmv_test::Call;
using qmv_test::in_quotes;
using qmv_test::only;
using qmv_test::result;
using qmv_test::Scenario;
using qmv_test::TempDir;

/// Capacity and content of a document that begins as zeros.
std::string document(const std::function<void(xml_data *x)> &write) {
    xml_data x{0, 0, nullptr};
    write(&x);
    const std::string_view text(reinterpret_cast<const char *>(x.data), x.length);
    const std::string outcome = std::to_string(x.capacity) + " " + in_quotes(text);
    std::free(x.data);
    return outcome;
}

TEST(XmlDataAppend, KeepsWhatWasThereAndTriesAgain) {
    Scenario([](const TempDir &) {
        return document([](xml_data *x) {
            xml_data_append(x, "ab", 2);
            xml_data_append(x, nullptr, 1500);
            xml_data_append(x, "cd", 2);
        });
    })
        .gives("2048 \"ab<1500 \\x00>cd\"")
        .fails(Call::kMalloc, "2048 \"<1500 \\x00>cd\"", only(1))
        .fails_for_good(Call::kMalloc, "0 \"\"", only(1))
        .fails(Call::kRealloc, "1024 \"abcd\"", only(1))
        .fails_for_good(Call::kRealloc, "0 \"ab\"", only(1))
        .check();
}

/// Every writer needs the first buffer; those that append piece by piece get one with the next.
struct Writer {
    const char *name;
    void (*write)(xml_data *x);
    const char *whole;
    const char *without_first;  ///< when the first allocation failed
};

TEST(XmlWriters, LeaveOutWhatHasNoMemory) {
    constexpr Writer kWriters[] = {
        {"str", [](xml_data *x) { xml_data_str(x, "ab"); }, "1024 \"ab\"", "0 \"\""},
        {"header", xml_data_header, "1024 \"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\\n\"",
         "0 \"\""},
        {"tag", [](xml_data *x) { xml_data_tag(x, "a", XML_TAG_EMPTY); }, "1024 \"<a/>\\n\"",
         "1024 \"a/>\\n\""},
        {"attr_str", [](xml_data *x) { xml_data_attr_str(x, "a", "b"); }, "1024 \" a=\"b\"\"",
         "1024 \"a=\"b\"\""},
        {"attr_num", [](xml_data *x) { xml_data_attr_num(x, "a", 5); }, "1024 \" a=\"5\"\"",
         "1024 \"a=\"5\"\""},
        {"txt", [](xml_data *x) { xml_data_txt(x, "a<b", 3); }, "1024 \"a&lt;b\"",
         "1024 \"&lt;b\""},
        {"element", [](xml_data *x) { xml_data_element(x, "a", "b"); }, "1024 \"<a>b</a>\\n\"",
         "1024 \"a>b</a>\\n\""},
    };
    for (const Writer &writer : kWriters) {
        SCOPED_TRACE(writer.name);
        Scenario([&writer](const TempDir &) { return document(writer.write); })
            .gives(writer.whole)
            .fails(Call::kMalloc, writer.without_first)
            .fails_for_good(Call::kMalloc, "0 \"\"")
            .check();
    }
}

TEST(XmlDataTxtFd, KeepsWhatWasReadAndClosesTheDescriptor) {
    Scenario([](const TempDir &dir) {
        std::string returned;
        const std::string text = document([&](xml_data *x) {
            int fd = -1;
            {
                const Aside aside;
                fd = ::open(dir.file("in").c_str(), O_RDONLY | O_CLOEXEC);
            }
            returned = result(xml_data_txt_fd(x, fd));
        });
        return returned + ", " + text;
    })
        .with("in", std::string(4096, 'a') + "<\n")
        .gives("4097, 5120 \"<4096 a>&lt;\"")
        .fails(Call::kRead, "-1 {error}, 0 \"\"", only(1))
        .fails(Call::kRead, "-1 {error}, 4096 \"<4096 a>\"", only(2))
        .fails(Call::kRead, "-1 {error}, 4096 \"<4096 a>\"", only(3))
        .fails(Call::kRead, "-1 {error}, 5120 \"<4096 a>&lt;\"", only(4))
        .fails(Call::kMalloc, "4097, 1024 \"&lt;\"")
        .fails_for_good(Call::kMalloc, "4098, 0 \"\"")
        .fails(Call::kRealloc, "4097, 1024 \"&lt;\"", only(1))
        .fails_for_good(Call::kRealloc, "4098, 0 \"\"", only(1))
        .fails(Call::kRealloc, "4097, 5120 \"<4096 a>\"", only(2))
        .fails_for_good(Call::kRealloc, "4098, 0 \"<4096 a>\"", only(2))
        .check();
}

}  // namespace
