#include <cstdio>
#include <cstring>
#include <string_view>

#include "accounts/listing.h"
#include "qmv/accounts.h"
#include "qmv/items.h"
#include "qmv/system.h"
#include "qmv/util.h"
#include "util/ascii.h"

namespace {

/// A file name without its last extension.
std::string_view base_of(const char *name) {
    const char *dot = std::strrchr(name, '.');
    return {name, dot != nullptr ? static_cast<size_t>(dot - name) : std::strlen(name)};
}

/// A path of three parts, with one "/" between directory and file name. Null when a part is missing
/// or there is no memory.
qmv::Block<char> join_path(const char *dir, const char *name, const char *ext) {
    if (dir == nullptr || name == nullptr)
        return qmv::Block<char>();
    const std::string_view directory(dir);
    std::string_view file = ext != nullptr ? base_of(name) : std::string_view(name);
    const bool slash = !file.empty() && file.front() == '/';
    const bool ends_in_slash = !directory.empty() && directory.back() == '/';
    if (ends_in_slash && slash)
        file.remove_prefix(1);
    const bool separate = !directory.empty() && !ends_in_slash && !slash;
    char *path = nullptr;
    const int length =
        ::asprintf(&path, "%s%s%.*s%s", dir, separate ? "/" : "", static_cast<int>(file.size()),
                   file.data(), ext != nullptr ? ext : "");
    return qmv::Block<char>(length >= 0 ? path : nullptr);
}

/// The tooltip of a file; null when there is none.
qmv::Block<char> tooltip_of(const char *path, const char *wrapper, const char *tool,
                            const char *options) {
    char *tooltip = nullptr;
    const int length = asprint_tooltip(&tooltip, path, wrapper, tool, options);
    return qmv::Block<char>(length >= 0 ? tooltip : nullptr);
}

void show_related_file(const cert_related &row, const char *name, uint32_t number,
                       cert_show_related show_related) {
    const auto path = join_path(row.dir, name, row.ext);
    if (!path)
        return;
    const auto tooltip = tooltip_of(path.get(), row.wrapper, row.tool, row.options);
    show_related(row.arg, number, row.mask, tooltip.get());
}

void show_file_with_related(const cert_dir &cd, int index, uint32_t arg, cert_show_file show_file,
                            cert_show_related show_related) {
    const char *name = cd.entries[index]->d_name;
    const auto path = join_path(cd.dir, name, nullptr);
    if (!path)
        return;
    uint32_t mask = 0;
    {
        const auto tooltip =
            tooltip_of(path.get(), cd.info->wrapper, cd.info->tool, cd.info->options);
        mask = show_file(arg, name, index, tooltip.get());
    }
    if (mask == 0 || cd.related == nullptr || show_related == nullptr)
        return;
    unsigned number = 0;
    if (read_item_uint(cd.dir, name, &number) <= 0)
        return;
    for (const cert_related *row = cd.related; row->dir != nullptr; ++row) {
        if ((row->mask & mask) != 0)
            show_related_file(*row, name, number, show_related);
    }
}

int list_into(cert_dir *cd) {
    qmv::Listing listing = qmv::list_directory(cd->dir);
    cd->entries = listing.entries.release();
    cd->count = listing.count;
    return cd->count;
}

}  // namespace

int cert_dir_setup(cert_dir *cd, const char *dir, const cert_tool *info,
                   const cert_related *related) {
    if (cd == nullptr)
        return -1;
    *cd = {dir, info, related, nullptr, 0};
    return list_into(cd);
}

void cert_dir_free(cert_dir *cd) {
    if (cd == nullptr || cd->entries == nullptr)
        return;
    // The entries lie in the same block.
    std::free(cd->entries);
    cd->entries = nullptr;
    cd->count = 0;
}

void show_certificates(cert_dir *cd, uint32_t arg, cert_show_file show_file,
                       cert_show_related show_related) {
    if (cd == nullptr || cd->entries == nullptr || cd->info == nullptr || show_file == nullptr)
        return;
    for (int i = 0; i < cd->count; ++i) {
        if (cd->entries[i]->d_type != DT_DIR)
            show_file_with_related(*cd, i, arg, show_file, show_related);
    }
}

int delete_certificate(cert_dir *cd, int index) {
    if (cd == nullptr || cd->entries == nullptr || index < 0 || index >= cd->count)
        return 0;
    const char *name = cd->entries[index]->d_name;
    const int removed = remove_filef("%s%s", cd->dir, name);
    if (removed != 0)
        return removed;
    const std::string_view base = base_of(name);
    for (const cert_related *row = cd->related; row != nullptr && row->dir != nullptr; ++row)
        remove_filef("%s%.*s%s", row->dir, static_cast<int>(base.size()), base.data(),
                     row->ext != nullptr ? row->ext : "");
    cert_dir_free(cd);
    return list_into(cd);
}

int asprint_tooltip(char **out, const char *path, const char *wrapper, const char *command,
                    const char *options) {
    if (out == nullptr || path == nullptr || command == nullptr || options == nullptr)
        return -1;
    const auto quoted = qmv::Block<char>::allocate(2 * std::strlen(path) + 1);
    if (!quoted)
        return -1;
    char *end = quoted.get();
    for (; *path != '\0'; ++path) {
        if (std::strchr("\"\\$`", *path) != nullptr)
            *end++ = '\\';
        *end++ = *path;
    }
    *end = '\0';
    char *text = nullptr;
    const int length = wrapper == nullptr ? ::asprintf(&text, "%s -in \"%s\" -noout %s", command,
                                                       quoted.get(), options)
                                          : ::asprintf(&text, "%s -i \"%s\" -- %s -noout %s",
                                                       wrapper, quoted.get(), command, options);
    if (length < 0)
        return -1;
    const qmv::Block<char> line(text);
    return asprint_title_shell(out, line.get());
}
