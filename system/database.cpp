// <select name="NAME"FLAGS>
// <option value="VALUE" selected>LABEL</option>
// </select>
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/system.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/owners.h"
#include "util/scratch.h"
#include "widgets/tag.h"

namespace {

// The list that is being read.
db_record *first_record = nullptr;
db_record *last_record = nullptr;

/// Appends an empty record. When there is no memory, the line is dropped. False then.
bool add_record(unsigned maxfields) {
    size_t bytes = 0;
    if (__builtin_mul_overflow(size_t{maxfields}, sizeof(char *), &bytes) ||
        __builtin_add_overflow(bytes, sizeof(db_record), &bytes))
        return false;
    auto *record = static_cast<db_record *>(std::calloc(1, bytes));
    if (record == nullptr)
        return false;
    (last_record != nullptr ? last_record->next : first_record) = record;
    last_record = record;
    return true;
}

void add_field(std::string_view text, unsigned maxfields) {
    if (last_record->count >= maxfields)
        return;
    auto field = qmv::Block<char>::allocate(text.size() + 1);
    if (field) {
        std::memcpy(field.get(), text.data(), text.size());
        field[text.size()] = '\0';
    }
    last_record->fields[last_record->count++] = field.release();
}

/// Takes a line of the file, as rd_file_line() hands it over.
int take_line(void *ctx, char *line) {
    const unsigned maxfields = *static_cast<const unsigned *>(ctx);
    const char *end = std::find_if(line, line + std::strlen(line), qmv::is_control);
    const std::string_view text(line, static_cast<size_t>(end - line));
    if (!text.empty() && text.front() == '#')
        return 0;
    if (text.empty()) {
        if (last_record != nullptr)
            add_record(maxfields);
    } else if (last_record != nullptr || add_record(maxfields)) {
        add_field(text, maxfields);
    }
    return 0;
}

/// The text of a record's field, empty where memory ran out; null when the record has no such
/// field.
const char *field_of(const db_record &record, unsigned field) {
    if (field >= record.count)
        return nullptr;
    return record.fields[field] != nullptr ? record.fields[field] : "";
}

/// Tells whether a field has a text. One whose memory ran out has none.
bool field_equals(const db_record &record, unsigned field, const char *text) {
    return text != nullptr && field < record.count && record.fields[field] != nullptr &&
           std::strcmp(record.fields[field], text) == 0;
}

void print_option(const db_record &record, unsigned valuefield, unsigned labelfield,
                  const char *current) {
    const char *value = field_of(record, valuefield);
    const char *label = field_of(record, labelfield);
    if (value == nullptr || label == nullptr)
        return;
    html_printf(1, "<option value=\"%s\"", value);
    print_flags(field_equals(record, valuefield, current) ? PRINT_SELECTED : 0);
    print_str(">");
    html_print_text(label);
    print_str("</option>\r\n");
}

}  // namespace

int read_db_file(const char *path, unsigned maxfields, db_record **list) {
    if (list == nullptr)
        return 0;
    first_record = last_record = nullptr;
    const int result = rd_file_line(path, take_line, &maxfields);
    *list = first_record;
    return result;
}

db_record *search_db(db_record *list, unsigned field, const char *value) {
    while (list != nullptr && !field_equals(*list, field, value))
        list = list->next;
    return list;
}

int free_db(db_record *list) {
    while (list != nullptr) {
        db_record *next = list->next;
        for (unsigned i = list->count; i > 0; --i)
            std::free(list->fields[i - 1]);
        std::free(list);
        list = next;
    }
    return 0;
}

int gen_selectbox_dbase(db_record *list, unsigned valuefield, unsigned labelfield, const char *name,
                        const char *current, unsigned flags) {
    print_str("<select");
    qmv::print_name(name);
    print_flags(flags);
    print_str(">\r\n");
    for (; list != nullptr; list = list->next)
        print_option(*list, valuefield, labelfield, current);
    // Intended: no line end follows.
    return print_str("</select>");
}

int gen_selectbox_dbase_item(db_record *list, unsigned valuefield, unsigned labelfield,
                             const char *dir, const char *itemname, const char *name,
                             unsigned size) {
    const int limit = qmv::clamp_to_int(size);
    qmv::Scratch current(static_cast<size_t>(limit) + 1);
    const int length = current ? read_item(dir, itemname, current.get(), limit) : -1;
    return gen_selectbox_dbase(list, valuefield, labelfield, name, current.get(),
                               length < 1 ? unsigned{PRINT_DISABLED} : 0);
}
