// Record files against a plain reader.
#include <qmv/system.h>
#include <qmv/util.h>

#include <algorithm>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

using Record = std::vector<std::string>;

bool is_control(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

std::vector<Record> read_records(const std::string &file, unsigned maxfields) {
    std::vector<Record> records;
    for (std::size_t at = 0; at < file.size();) {
        const std::size_t end = std::min(file.find('\n', at), file.size());
        const std::string line = file.substr(at, end - at);
        const std::string field(line.begin(), std::find_if(line.begin(), line.end(), is_control));
        at = end + 1;
        if (field.starts_with('#'))
            continue;
        if (records.empty() && field.empty())
            continue;  // nothing has begun yet
        if (records.empty() || field.empty())
            records.emplace_back();
        if (!field.empty() && records.back().size() < maxfields)
            records.back().push_back(field);
    }
    return records;
}

int count_line(void *ctx, char *) {
    ++*static_cast<std::ptrdiff_t *>(ctx);
    return 0;
}

/// The options of a select box: those of records that have both fields.
void check_box(db_record *list, const std::vector<Record> &records, unsigned value,
               unsigned label) {
    std::string box =
        fuzz::printed([&] { gen_selectbox_dbase(list, value, label, nullptr, nullptr, 0); });
    for (const Record &record : records) {
        if (std::max(value, label) >= record.size())
            continue;
        const std::string option = fuzz::between(box, "<option value=\"", "</option>\r\n");
        const std::size_t quote = option.find("\">");
        CHECK(quote != option.npos);
        // A value ends at its first invalid sequence, a label does not.
        const auto shown = fuzz::codes_of_html(option.substr(0, quote));
        const auto whole = fuzz::codes_of(record[value]);
        CHECK(shown.size() <= whole.size());
        CHECK(std::equal(shown.begin(), shown.end(), whole.begin()));
        CHECK(fuzz::codes_of_html(option.substr(quote + 2)) == fuzz::codes_of(record[label]));
        box.erase(0, box.find("</option>") + 9);
    }
    CHECK(box.find("<option") == box.npos);
    CHECK(box.ends_with("</select>"));
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned maxfields = input.byte() % 8;
    const unsigned value = input.byte() % 4;
    const unsigned label = input.byte() % 4;
    const std::string file = input.rest();
    const std::string path = path_of("records");
    write_file(path, file);

    db_record *list = nullptr;
    CHECK(read_db_file(path.c_str(), maxfields, &list) == 0);
    const std::vector<Record> records = read_records(file, maxfields);
    const db_record *record = list;
    for (const Record &expected : records) {
        CHECK(record != nullptr);
        CHECK(record->count == expected.size());
        for (unsigned i = 0; i < record->count; ++i)
            CHECK(expected[i] == record->fields[i]);
        record = record->next;
    }
    CHECK(record == nullptr);
    for (const Record &expected : records) {
        if (value >= expected.size())
            continue;
        const db_record *found = search_db(list, value, expected[value].c_str());
        CHECK(found != nullptr && expected[value] == found->fields[value]);
    }
    check_box(list, records, value, label);
    CHECK(free_db(list) == 0);

    std::ptrdiff_t lines = 0;
    CHECK(rd_file_line(path.c_str(), count_line, &lines) == 0);
    const bool cut = !file.empty() && file.back() != '\n';
    CHECK(lines == std::count(file.begin(), file.end(), '\n') + (cut ? 1 : 0));
}
