// Range boxes.
#include "page.h"

namespace {

enum Ends { kNone = 0, kLow = 1, kHigh = 2, kBoth = 3 };

struct RangeBox {
    const char *name;
    unsigned flags = 0;
    Ends shown = kBoth;
};

constexpr unsigned kMin = 1;
constexpr unsigned kMax = 65535;
constexpr unsigned kFallback = 1;
constexpr unsigned kMaxChars = 11;

constexpr RangeBox kBoxes[] = {
    {"range"},
    {"range_single"},
    {"range_readonly", PRINT_READONLY},
    {"range_disabled", PRINT_DISABLED},
    {"range_hidden", PRINT_HIDDEN},
    {"range_missing"},
    {"range_low", 0, kLow},
    {"range_high", 0, kHigh},
    {"range_none", 0, kNone},
};

struct Range {
    unsigned low = 0;
    unsigned high = 0;
    unsigned flags = 0;
};

Range read_range(const Page &page, const char *name) {
    Range range;
    scan_range(read_text(page, name).c_str(), &range.low, &range.high, kMin, kMax, kFallback);
    range.flags = stat_item(page.dir(), name) < 0 ? PRINT_DISABLED : 0;
    return range;
}

void print_box(const Page &page, const RangeBox &box) {
    const Range range = read_range(page, box.name);
    open_row(box.name);
    gen_xrangebox(kMaxChars, (box.shown & kLow) != 0 ? &range.low : nullptr,
                  (box.shown & kHigh) != 0 ? &range.high : nullptr, nullptr,
                  box.flags | range.flags, kIdAndName, box.name, box.name);
    close_row();
}

void save_box(const Page &page, const char *name, const char *posted) {
    Range range = read_range(page, name);
    if (scan_range(posted, &range.low, &range.high, kMin, kMax, kFallback) == 0)
        return;
    std::string text = std::to_string(range.low);
    if (range.low != range.high)
        text += "-" + std::to_string(range.high);
    write_text(page, name, text);
}

}  // namespace

void print_ranges(const Page &page) {
    for (const RangeBox &box : kBoxes)
        print_box(page, box);
    open_row("range_text");
    gen_xrangebox(kMaxChars, nullptr, nullptr, read_text(page, "range_text").c_str(), 0, kIdAndName,
                  "range_text", "range_text");
    close_row();
}

void save_ranges(const Page &page, const Posted &posted) {
    for (const RangeBox &box : kBoxes)
        save_box(page, box.name, posted.find(box.name));
    if (const char *text = posted.find("range_text"))
        update_textbox_item(page.dir(), "range_text", text, kMaxChars, nullptr);
}
