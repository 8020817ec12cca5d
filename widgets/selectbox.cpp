// <select name="NAME"ATTRIBUTES FLAGS>
// <option value="VALUE" selected>LABEL</option>
// </select>
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/widgets.h"
#include "util/format.h"
#include "util/scratch.h"
#include "widgets/posted.h"
#include "widgets/tag.h"

namespace {

constexpr unsigned kMaxOptions = 256;

/// A numbered box.
struct NumberOptions {
    unsigned current;
    selectbox_num_fn fn;
    const char *attributes;

    static int answer(void *context, unsigned op, unsigned index, int arg);
};

int NumberOptions::answer(void *context, unsigned op, unsigned index, int arg) {
    const auto &options = *static_cast<const NumberOptions *>(context);
    if (op == SELECTBOX_VALUE)
        return selectbox_num_show_value(index, options.current);
    if (op == SELECTBOX_ATTRIBUTES && options.attributes != nullptr) {
        print_str(options.attributes);
        return 1;
    }
    return options.fn != nullptr ? options.fn(op, index, arg) : -1;
}

/// A text box.
struct TextOptions {
    const char *current;
    selectbox_text_fn fn;
    selectbox_num_fn printer;
    const char *attributes;

    static int answer(void *context, unsigned op, unsigned index, int arg);
    int print_option_value(const char *value) const;
};

int TextOptions::print_option_value(const char *value) const {
    // Intended: an option without a value counts as the selected one.
    if (value == nullptr)
        return -1;
    html_print_text(value);
    return current != nullptr && std::strcmp(value, current) == 0 ? 1 : 0;
}

int TextOptions::answer(void *context, unsigned op, unsigned index, int arg) {
    const auto &options = *static_cast<const TextOptions *>(context);
    selectbox_text pair{nullptr, nullptr};
    const int result = options.fn(index, arg, &pair);
    if (op == SELECTBOX_VALUE)
        return options.print_option_value(pair.value);
    if (op == SELECTBOX_ATTRIBUTES && options.attributes != nullptr) {
        print_str(options.attributes);
        return 1;
    }
    if (options.printer != nullptr)
        return options.printer(op, index, arg);
    if (op == SELECTBOX_LABEL)
        html_print_text(pair.label);
    return op == SELECTBOX_EXISTS || op == SELECTBOX_LABEL ? result : 1;
}

/// Calls back for the value of each option that exists and has one, until it returns true. Returns
/// the value at which it did, or null.
template <typename Predicate>
const char *find_value(selectbox_text_fn fn, int arg, Predicate matches) {
    for (unsigned index = 0; index < kMaxOptions; ++index) {
        selectbox_text pair{nullptr, nullptr};
        const int result = fn(index, arg, &pair);
        if (result < 0)
            break;
        if (result > 0 && pair.value != nullptr && matches(pair.value))
            return pair.value;
    }
    return nullptr;
}

/// The option's own value that equals a text, or null.
const char *find_text(const char *text, selectbox_text_fn fn, int arg) {
    return find_value(fn, arg, [text](const char *value) { return std::strcmp(value, text) == 0; });
}

size_t longest_value(selectbox_text_fn fn, int arg) {
    size_t longest = 0;
    find_value(fn, arg, [&longest](const char *value) {
        longest = std::max(longest, std::strlen(value));
        return false;
    });
    return longest;
}

}  // namespace

int gen_selectbox_class(void *context, const char *name, selectbox_class cls, int arg,
                        unsigned count, unsigned flags) {
    print_str("<select");
    qmv::print_name(name);
    if (cls != nullptr)
        cls(context, SELECTBOX_ATTRIBUTES, 0, arg);
    print_flags(flags);
    print_str(">\r\n");
    for (unsigned index = 0; cls != nullptr && index < count; ++index) {
        const int exists = cls(context, SELECTBOX_EXISTS, index, arg);
        if (exists < 0)
            break;
        if (exists == 0)
            continue;
        print_str("<option value=\"");
        const bool selected = cls(context, SELECTBOX_VALUE, index, arg) != 0;
        print_str("\"");
        print_flags(selected ? PRINT_SELECTED : 0);
        print_str(">");
        cls(context, SELECTBOX_LABEL, index, arg);
        print_str("</option>\r\n");
    }
    return print_str("</select>\r\n");
}

unsigned gen_selectbox_num(selectbox_state *state, const char *name, selectbox_num_fn fn, int arg,
                           const char *attributes) {
    const unsigned flags = state != nullptr ? state->flags : unsigned{PRINT_DISABLED};
    NumberOptions options{state != nullptr ? state->value.number : 0, fn, attributes};
    gen_selectbox_class(&options, name, NumberOptions::answer, arg, kMaxOptions, flags);
    return flags;
}

unsigned gen_xselectbox_num(selectbox_state *state, selectbox_num_fn fn, int arg,
                            const char *format, ...) {
    va_list args;
    va_start(args, format);
    const auto attributes = qmv::format_text(format, args);
    va_end(args);
    return gen_selectbox_num(state, nullptr, fn, arg, attributes.get());
}

int selectbox_num_show_value(unsigned index, unsigned current) {
    std::printf("%u", index);
    return index == current ? 1 : 0;
}

int scan_select_num(const char *in, unsigned *value, unsigned count, unsigned fallback) {
    if (in == nullptr || value == nullptr)
        return 0;
    const unsigned number = qmv::take_number(in).value_or(fallback);
    return qmv::assign(*value, count == 0 ? 0 : std::min(number, count - 1));
}

unsigned gen_selectbox_text(selectbox_state *state, const char *name, selectbox_text_fn fn,
                            selectbox_num_fn printer, int arg, const char *attributes) {
    if (state == nullptr || fn == nullptr)
        return 1;
    TextOptions options{state->value.text, fn, printer, attributes};
    gen_selectbox_class(&options, name, TextOptions::answer, arg, kMaxOptions, state->flags);
    return state->flags;
}

int scan_select_text(const char *in, selectbox_state *state, selectbox_text_fn fn, int arg) {
    if (in == nullptr || state == nullptr || fn == nullptr)
        return 0;
    const char *match = find_text(in, fn, arg);
    const char *current = state->value.text;
    if (match == nullptr || (current != nullptr && std::strcmp(match, current) == 0))
        return 0;
    state->value.text = match;
    return 1;
}

void rd_selectbox_text_item(const char *dir, const char *name, selectbox_state *state,
                            selectbox_text_fn fn, int arg, const char *fallback) {
    if (state == nullptr || fn == nullptr)
        return;
    // Intended: a longer item is cut to the longest option before it is looked up.
    const size_t limit = longest_value(fn, arg);
    qmv::Scratch item(limit + 1);
    const int length = item ? read_item(dir, name, item.get(), qmv::clamp_to_int(limit)) : -1;
    const char *match = item ? find_text(item.get(), fn, arg) : nullptr;
    state->flags = length < 1 ? PRINT_DISABLED : 0;
    state->value.text = match != nullptr ? match : fallback;
}
