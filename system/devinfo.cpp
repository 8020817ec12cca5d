#include <cstring>
#include <initializer_list>

#include "qmv/system.h"

namespace {

static_assert(sizeof(devinfo_row) == 32);
static_assert(sizeof(infoflag_row) == 8);

/// Characters are compared as signed bytes on every machine.
int signed_char(char c) {
    return static_cast<signed char>(c);
}

/// Tells whether the character at a position is "1" or above, in the first text that reaches it.
bool is_set(const char *info, const char *info2, int32_t pos) {
    if (pos < 0)
        return false;
    const auto index = static_cast<size_t>(pos);
    // Intended: the same position in the second text.
    for (const char *text : {info, info2}) {
        if (text != nullptr && index < std::strlen(text))
            return signed_char(text[index]) >= '1';
    }
    return false;
}

}  // namespace

const devinfo_row *get_devinfo(const devinfo_row *table, const char *info) {
    if (table == nullptr || info == nullptr || *info == '\0')
        return table;
    const int wanted = signed_char(*info);
    for (const devinfo_row *row = table; row->key != 0; ++row) {
        if (row->key >= wanted)
            return row;
    }
    return table;
}

int get_infoflags(int flags, const infoflag_row *table, const char *info, const char *info2) {
    if (flags == 0 || info == nullptr || *info == '\0')
        return 0;
    auto left = static_cast<unsigned>(flags);
    for (; table != nullptr && table->mask != 0; ++table) {
        if (!is_set(info, info2, table->pos))
            left &= ~table->mask;
    }
    return static_cast<int>(left);
}
