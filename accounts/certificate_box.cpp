// <select name="NAME"FLAGS EXTRA>
// <option value="YS5wZW0=" selected>a.pem</option>
// <option value="">LABEL</option>
// </select>
#include <cstdio>
#include <cstring>

#include "accounts/listing.h"
#include "qmv/accounts.h"
#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/scratch.h"
#include "widgets/tag.h"

namespace {

void print_option(const char *value, bool selected, const char *label) {
    std::printf("<option value=\"%s\"%s>", value, html_attr(selected ? 4 : 0));
    html_print_text(label);
    print_str("</option>\r\n");
}

void print_file(const char *name, bool selected) {
    const int length = qmv::clamp_to_int(std::strlen(name));
    const int size = (length + 2) / 3 * 4 + 1;
    qmv::Scratch value(static_cast<size_t>(size));
    if (!value)
        return;
    base64_encode(value.get(), size, reinterpret_cast<const unsigned char *>(name), length);
    print_option(value.get(), selected, name);
}

}  // namespace

int gen_selectbox_certs(const char *path, const char *name, const char *current,
                        const char *empty_label, uint32_t flags, const char *extra) {
    const qmv::Listing listing = qmv::list_directory(path);
    print_str("<select");
    qmv::print_name(name);
    print_flags(qmv::flags_after_read(listing.count, flags));
    print_str(extra);
    print_str(">\r\n");
    bool found = false;
    for (int i = 0; i < listing.count; ++i) {
        const char *file = listing.entries[static_cast<size_t>(i)]->d_name;
        const bool selected = current != nullptr && std::strcmp(file, current) == 0;
        print_file(file, selected);
        found = found || selected;
    }
    if (!found || (flags & PRINT_EMPTY_CHOICE) != 0)
        print_option("", !found, empty_label);
    return print_str("</select>");
}

int save_selectbox_cert(char *out, int out_size, const char *posted) {
    if (out == nullptr || posted == nullptr)
        return 0;
    const int length = base64_decode(reinterpret_cast<unsigned char *>(out), out_size, posted,
                                     qmv::clamp_to_int(std::strlen(posted)));
    if (length < 0)
        return 0;
    out[length] = '\0';
    return length;
}

int update_cert_item(const char *dir, const char *item, const char *posted, uint32_t max_len) {
    if (posted == nullptr)
        return -1;
    const int limit = qmv::clamp_to_int(max_len);
    qmv::Scratch file(static_cast<size_t>(limit) + 1);
    if (!file)
        return -1;
    // Intended: a value that does not decode is an empty name.
    const int length = save_selectbox_cert(file.get(), limit, posted);
    file.get()[length] = '\0';
    return update_item(dir, item, file.get(), limit);
}

uint32_t gen_selectbox_certs_item(const char *dir, const char *item, const char *name,
                                  const char *path, const char *empty_label, uint32_t max_len,
                                  const char *extra) {
    const int limit = qmv::clamp_to_int(max_len);
    qmv::Scratch current(static_cast<size_t>(limit) + 1);
    const int length = current ? read_item(dir, item, current.get(), limit) : -1;
    const uint32_t flags = qmv::flags_after_read(length, PRINT_EMPTY_CHOICE);
    gen_selectbox_certs(path, name, current.get(), empty_label, flags, extra);
    return flags;
}
