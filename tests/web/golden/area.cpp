// Text areas, whose files are read and written as they are.
#include <cstdlib>

#include "page.h"

namespace {

struct Area {
    const char *name;
    unsigned flags = 0;
};

constexpr unsigned kMaxChars = 400;

constexpr Area kAreas[] = {
    {"area"},
    {"area_disabled", PRINT_DISABLED},
    {"area_readonly", PRINT_READONLY},
    {"area_hidden", PRINT_HIDDEN},
    {"area_empty"},
    {"area_missing"},
};

}  // namespace

void print_areas(const Page &page) {
    for (const Area &area : kAreas) {
        char *text = nullptr;
        const bool readable = get_textarea_file(&text, page.dir(), area.name, kMaxChars) > 0;
        open_row(area.name);
        gen_textarea(text, readable ? area.flags : area.flags | PRINT_DISABLED,
                     " id=\"%s\" name=\"%s\" rows=\"3\"", area.name, area.name);
        close_row();
        std::free(text);
    }
}

void save_areas(const Page &page, const Posted &posted) {
    for (const Area &area : kAreas) {
        char *text = posted.find(area.name);
        if (text != nullptr)
            update_textarea_file(page.dir(), area.name, textarea_to_unix(text, text), kMaxChars);
    }
}
