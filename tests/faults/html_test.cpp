// Pages and escaped texts without memory, and with files that cannot be read.
#include <gtest/gtest.h>
#include <qmv/html.h>

#include <cstdlib>
#include <string>

#include "tests/faults/scenario.h"

namespace {

using qmv_test::Call;
using qmv_test::in_quotes;
using qmv_test::only;
using qmv_test::Scenario;
using qmv_test::TempDir;

std::string returned_and(int returned, char *text) {
    const std::string outcome =
        std::to_string(returned) + " " + (text != nullptr ? in_quotes(text) : std::string("null"));
    std::free(text);
    return outcome;
}

TEST(HtmlAsprintText, CutsTheTextWhenMemoryRunsOut) {
    const std::string text(5000, 'a');
    Scenario([&text](const TempDir &) {
        char *escaped = nullptr;
        const int returned = html_asprint_text(&escaped, text.c_str());
        return returned_and(returned, escaped);
    })
        .gives("8192 \"<5000 a>\"")
        .fails(Call::kMalloc, "-1 null")
        .fails(Call::kRealloc, "4096 \"<4081 a>\"")
        .check();
}

TEST(AsprintTitle, GivesNoneWithoutMemory) {
    Scenario([](const TempDir &) {
        char *title = nullptr;
        const int returned = asprint_title(&title, "a<b");
        return returned_and(returned, title);
    })
        .gives("15 \" title=\"a&lt;b\"\"")
        .fails(Call::kMalloc, "-1 null")
        .fails(Call::kFormat, "-1 null")
        .check();
}

TEST(PrintHeadScript, PrintsItsTagsAroundWhatCouldBeRead) {
    const std::string empty = "11 printed \"<script>\\r\\n</script>\\r\\n\"";
    const std::string whole = "11 printed \"<script>\\r\\nvar a;\\n</script>\\r\\n\"";
    Scenario([](const TempDir &dir) {
        return std::to_string(
            print_head_script(HEAD_SCRIPT_OPEN | HEAD_SCRIPT_CLOSE | HEAD_SCRIPT_FILE,
                              dir.file("script.js").c_str()));
    })
        .with("script.js", "var a;\n")
        .gives(whole)
        .fails(Call::kOpen, empty)
        .fails(Call::kFstat, empty)
        .fails(Call::kRead, empty)
        .fails(Call::kFwrite, empty)
        .check();
}

TEST(PrintHeadCss, PrintsTheFilesThatCouldBeRead) {
    const std::string neither = "10 printed \"<style>\\r\\n</style>\\r\\n\"";
    const std::string first = "10 printed \"<style>\\r\\na{}\\n</style>\\r\\n\"";
    const std::string second = "10 printed \"<style>\\r\\nb{}\\n</style>\\r\\n\"";
    Scenario([](const TempDir &dir) {
        return std::to_string(print_head_css(dir.file("a.css").c_str(), dir.file("b.css").c_str(),
                                             static_cast<const char *>(nullptr)));
    })
        .with("a.css", "a{}\n")
        .with("b.css", "b{}\n")
        .gives("10 printed \"<style>\\r\\na{}\\nb{}\\n</style>\\r\\n\"")
        .fails(Call::kOpen, second, only(1))
        .fails(Call::kOpen, first, only(2))
        .fails(Call::kFstat, second, only(1))
        .fails(Call::kFstat, first, only(2))
        .fails(Call::kRead, second, only(1))
        .fails(Call::kRead, first, only(2))
        .fails(Call::kFwrite, second, only(1))
        .fails(Call::kFwrite, first, only(2))
        .check();
}

TEST(PrintHeadRefresh, LeavesItsTagOpenWithoutMemory) {
    Scenario(
        [](const TempDir &) { return std::to_string(print_head_refresh(5, "%s.cgi", "page")); })
        .gives("29 printed \"<meta http-equiv=\"refresh\" content=\"5; URL=page.cgi\">\\r\\n\"")
        .fails(Call::kFormat, "26 printed \"<meta http-equiv=\"refresh\"\"")
        .check();
}

TEST(PrintRefresh, LeadsNowhereWithoutMemory) {
    Scenario([](const TempDir &) {
        return std::to_string(print_refresh("H: 1\r\n\r\n", nullptr, 5, "%s.cgi", "page"));
    })
        .gives(
            "18 printed \"H: 1\\r\\n\\r\\n<html>\\r\\n<head>\\r\\n"
            "<meta http-equiv=\"refresh\" content=\"5; URL=page.cgi\">\\r\\n"
            "</head>\\r\\n</html>\\r\\n\"")
        .fails(Call::kFormat,
               "18 printed \"H: 1\\r\\n\\r\\n<html>\\r\\n<head>\\r\\n</head>\\r\\n</html>\\r\\n\"")
        .check();
}

/// The line with an item, or with none.
std::string timeline(const std::string &item) {
    return "63 printed \"<table class=\"HeadTable\"><tr><td class=\"HeadLeft\">" + item +
           "</td><td class=\"HeadRight\">text<script>document.write(fl_time());</script>"
           "</td></tr></table>\\r\\n\"";
}

TEST(PrintTimeline, LeavesOutAnItemThatCannotBeRead) {
    for (const unsigned size : {10u, 5000u}) {
        SCOPED_TRACE(size);
        Scenario scenario([size](const TempDir &dir) {
            return std::to_string(print_timeline(dir.path(), "item", size, "text"));
        });
        scenario.with("item", "a<b\n").gives(timeline("a&lt;b"));
        scenario.fails(Call::kOpen, timeline("")).fails(Call::kRead, timeline(""));
        if (size == 5000)
            scenario.fails(Call::kMalloc, timeline(""));
        scenario.check();
    }
}

}  // namespace
