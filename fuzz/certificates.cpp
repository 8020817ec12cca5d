// Certificate directories with file names of every kind, and posted values of their select box.
#include <qmv/accounts.h>
#include <qmv/items.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Base64, without the padding.
std::string encoded(const std::string &text) {
    std::string result;
    unsigned bits = 0;
    int held = 0;
    for (const char c : text + std::string(text.size() % 3 != 0 ? 1 : 0, '\0')) {
        bits = bits << 8 | static_cast<unsigned char>(c);
        for (held += 8; held >= 6; held -= 6)
            result += kAlphabet[bits >> (held - 6) & 63];
    }
    return result.substr(0, (text.size() * 8 + 5) / 6);
}

/// Creates the files. Returns the names of those that a listing shows.
std::set<std::string> create_files(const std::string &dir, const std::string &names) {
    std::set<std::string> visible;
    for (std::size_t at = 0; at < names.size();) {
        const std::size_t end = std::min(names.find('/', at), names.size());
        const std::string name = names.substr(at, std::min<std::size_t>(end - at, 255));
        at = end + 1;
        if (name.empty() || name == "." || name == ".." || visible.size() == 20)
            continue;
        fuzz::write_file(dir + name, "");
        if (!name.starts_with('.'))
            visible.insert(name);
    }
    return visible;
}

void check_box(const std::string &dir, const std::set<std::string> &names,
               const std::string &current) {
    std::string box = fuzz::printed(
        [&] { gen_selectbox_certs(dir.c_str(), nullptr, current.c_str(), nullptr, 0, nullptr); });
    CHECK(box.starts_with("<select>\r\n"));
    box.erase(0, 10);
    for (const std::string &name : names) {
        const std::string option = fuzz::between(box, "<option value=\"", "</option>\r\n");
        const std::string value = option.substr(0, option.find('"'));
        const std::size_t end = option.find('>');
        CHECK(end != option.npos);
        CHECK(value.substr(0, value.find('=')) == encoded(name));
        CHECK((option.substr(value.size() + 1, end - value.size() - 1) == " selected") ==
              (name == current));
        CHECK(fuzz::codes_of_html(option.substr(end + 1)) == fuzz::codes_of(name));
        const int length = static_cast<int>(name.size());
        const std::unique_ptr<char[]> out(new char[name.size() + 1]);
        CHECK(save_selectbox_cert(out.get(), length - 1, value.c_str()) == 0);
        CHECK(save_selectbox_cert(out.get(), length, value.c_str()) == length);
        CHECK(name == out.get());
        box.erase(0, box.find("</option>\r\n") + 11);
    }
    const bool found = names.count(current) != 0;
    CHECK(box == (found ? "</select>" : "<option value=\"\" selected></option>\r\n</select>"));
}

/// Deletes the files of a listing, one after the other, and what it did not show.
void check_deleting(const std::string &dir, std::set<std::string> names, unsigned index) {
    cert_dir listing{};
    CHECK(cert_dir_setup(&listing, dir.c_str(), nullptr, nullptr) ==
          static_cast<int>(names.size()));
    while (!names.empty()) {
        std::size_t i = 0;
        for (const std::string &name : names)
            CHECK(name == listing.entries[i++]->d_name);
        const unsigned place = index % static_cast<unsigned>(names.size());
        names.erase(std::next(names.begin(), place));
        CHECK(delete_certificate(&listing, static_cast<int>(place)) ==
              static_cast<int>(names.size()));
    }
    CHECK(delete_certificate(&listing, 0) == 0);
    cert_dir_free(&listing);
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned index = input.byte();
    const unsigned room = input.byte();
    const std::string current = input.text();
    const std::string posted = input.text();
    const std::string dir = path_of("certificates/");
    ::mkdir(dir.c_str(), 0700);
    const std::set<std::string> names = create_files(dir, c_string(input.rest()));
    check_box(dir, names, current);
    check_deleting(dir, names, index);
    std::filesystem::remove_all(dir);  // files that no listing shows

    const std::unique_ptr<char[]> out(new char[room + 1]);
    const int length = save_selectbox_cert(out.get(), static_cast<int>(room), posted.c_str());
    CHECK(length >= 0 && length <= static_cast<int>(room));
    CHECK(length == 0 || out[static_cast<std::size_t>(length)] == '\0');
    const std::string name(out.get(), static_cast<std::size_t>(length));
    if (length > 0 && posted.find_first_not_of(kAlphabet) == posted.npos)
        CHECK(posted == encoded(name));
    // The item holds the name up to its first NUL.
    write_file(path_of("item"), "?\n");
    const int written = update_cert_item(directory(), "item", posted.c_str(), room);
    const bool same = c_string(name) == "?" || room == 0;
    CHECK(written == (same ? 0 : static_cast<int>(c_string(name).size()) + 1));
    CHECK(read_file(path_of("item")) == (same ? "?" : c_string(name)) + '\n');
}
