// The figures of the overview in JSON: status.cgi
#include "status.h"
#include "frame/json.h"
#include "pages.h"

int main() {
    const Console console(kOverview);
    unsigned flags = 0;
    open_json();
    for (const auto &[key, value] : read_figures(console))
        flags = json_text(value, json_escape(key).c_str(), flags);
    close_json();
    return 0;
}
