#include "maintenance.h"

MessageLength message_length(const char *utf8) {
    MessageLength length{};
    const char *cursor = utf8;
    while (*cursor != '\0') {
        const char *begin = cursor;
        const unsigned ch = utf8_to_ucs2(&cursor, 0xFFFFFFFF);
        const int septets = ch != 0 ? check_ucs2_to_gsm(ch) : 0;
        length.septets += static_cast<unsigned>(septets);
        if (septets == 0 && length.foreign.empty())
            length.foreign = ch != 0 ? std::string(begin, cursor) : "\uFFFD";
    }
    return length;
}
