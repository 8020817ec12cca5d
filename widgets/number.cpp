// <input type="text" maxlength="N" value="5"FORMAT FLAGS>
// <input type="text" name="NAME" size="S" maxlength="N" value="5"FLAGS>
#include <cstdarg>
#include <cstdio>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/widgets.h"
#include "widgets/posted.h"
#include "widgets/tag.h"

namespace {

constexpr unsigned kItemLength = 15;

/// What a number box shows: the item's number, or the fallback.
struct BoxNumber {
    unsigned value;
    unsigned flags;
};

BoxNumber read_number(const char *dir, const char *name, unsigned fallback, unsigned flags) {
    BoxNumber box{fallback, flags};
    box.flags = qmv::flags_after_read(read_item_uint(dir, name, &box.value), flags);
    return box;
}

}  // namespace

int scan_number(const char *in, unsigned *value, unsigned min, unsigned max, unsigned fallback) {
    if (in == nullptr || value == nullptr)
        return 0;
    const auto number = qmv::take_number(in);
    return qmv::assign(*value, number ? qmv::keep_within(*number, min, max) : fallback);
}

int gen_xnumberbox(unsigned maxlength, unsigned value, unsigned flags, const char *format, ...) {
    qmv::open_input("text");
    qmv::print_maxlength(maxlength, flags);
    std::printf(" value=\"%u\"", value);
    va_list args;
    va_start(args, format);
    const int result = qmv::close_tag(flags, format, args);
    va_end(args);
    return result;
}

int gen_numberbox(const char *name, unsigned size, unsigned maxlength, unsigned value,
                  unsigned flags) {
    qmv::open_input("text");
    qmv::print_name(name);
    // Intended: maxlength is printed also for a read-only box.
    std::printf(" size=\"%u\" maxlength=\"%u\" value=\"%u\"", size, maxlength, value);
    return qmv::close_tag(flags);
}

unsigned rd_numberbox_item(const char *dir, const char *name, unsigned *value, unsigned fallback) {
    const BoxNumber box = read_number(dir, name, fallback, 0);
    if (value != nullptr)
        *value = box.value;
    return box.flags;
}

unsigned gen_numberbox_item(const char *dir, const char *name, const char *htmlname, unsigned size,
                            unsigned fallback, unsigned flags) {
    const BoxNumber box = read_number(dir, name, fallback, flags);
    gen_numberbox(htmlname, size, kItemLength, box.value, box.flags);
    return box.flags;
}

int wr_numberbox_item(const char *dir, const char *name, unsigned value) {
    return update_item_uint(dir, name, value);
}

unsigned gen_json_number_item(const char *dir, const char *name, const char *jsonname,
                              unsigned fallback, unsigned flags) {
    if (jsonname == nullptr)
        return flags;
    print_json_flags(flags);
    // Intended: only a failed read makes the member null, not a flag of the caller.
    const BoxNumber box = read_number(dir, name, fallback, 0);
    if (box.flags != 0)
        qmv::print_json_null(jsonname);
    else
        std::printf("\"%s\": %u", jsonname, box.value);
    return flags | box.flags | PRINT_JSON_COMMA;
}
