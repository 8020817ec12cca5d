// Posted texts and their filters, against a plain copy of the characters that are in a filter's
// set.
#include <qmv/accounts.h>
#include <qmv/items.h>
#include <qmv/util.h>
#include <qmv/widgets.h>

#include <cstring>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

constexpr std::string_view kAlnum =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kMarks = "!#$%&()*+,-./:;<=>?@[\\]^_{|}~";

/// The set of a filter: ASCII characters that it keeps beside letters and digits, those that it
/// drops at the beginning, and whether other characters than ASCII are kept.
struct Filter {
    textbox_filter function;
    std::string kept;
    std::string_view not_first;
    bool alnum = true;
    bool others = false;
};

/// All ASCII characters but some.
std::string all_but(std::string_view dropped) {
    std::string kept;
    for (char c = 1; c != 0x7F; ++c) {
        if (dropped.find(c) == dropped.npos)
            kept += c;
    }
    return kept + '\x7F';
}

const std::vector<Filter> &filters() {
    static const std::vector<Filter> all = {
        {nullptr, all_but(""), "", true, true},
        {textbox_filter_alnum, "", ""},
        {textbox_filter_digit, "0123456789", "", false},
        {textbox_filter_ascii_printable, std::string(kMarks), ""},
        {textbox_filter_dns, "-.", ""},
        {textbox_filter_dns6, "-.:", ""},
        {textbox_filter_cname, "-._@", ""},
        {textbox_filter_asn1, "-._@ *", ""},
        {textbox_filter_ip6prefix, "0123456789abcdefABCDEF:/", "", false},
        {textbox_filter_octet, all_but(""), " "},
        {textbox_filter_ppp_username, std::string(kMarks) + '\x7F', ""},
        {textbox_filter_ppp_password, std::string(kMarks) + '\x7F', "*?"},
        {textbox_filter_shell_quoted, all_but("\\$\"'`"), "", true, true},
        {textbox_filter_smtp, all_but("\\$\"'`: *?"), "", true, true}};
    return all;
}

bool keeps(const Filter &filter, bool first, unsigned code) {
    if (code >= 0x80)
        return filter.others;
    const char c = static_cast<char>(code);
    if (first && filter.not_first.find(c) != filter.not_first.npos)
        return false;
    return filter.kept.find(c) != std::string::npos ||
           (filter.alnum && kAlnum.find(c) != kAlnum.npos);
}

/// The kept characters as UTF-8, and their number.
std::string copy_kept(const Filter &filter, const std::string &text, unsigned maxchars,
                      unsigned outsize, unsigned &chars) {
    std::string kept;
    chars = 0;
    for (const unsigned code : fuzz::codes_of(text)) {
        if (chars == maxchars)
            break;
        if (!keeps(filter, kept.empty(), code))
            continue;
        char encoded[3];
        const std::string bytes(encoded, ucs2_to_utf8(encoded, 3, code));
        if (kept.size() + bytes.size() > outsize)
            break;
        kept += bytes;
        ++chars;
    }
    return kept;
}

/// A password counts up to its first invalid sequence and holds some ASCII characters only.
void check_password(const std::string &text, unsigned min_chars, unsigned max_chars) {
    constexpr std::string_view kAllowed = "#+,-./:;@";
    unsigned chars = 0;
    bool acceptable = true;
    for (std::string_view left = text; !left.empty(); ++chars) {
        const fuzz::Character character = fuzz::first_character(left);
        if (character.code == 0)
            break;
        const char c = static_cast<char>(character.code < 0x80 ? character.code : ' ');
        acceptable =
            acceptable && (kAlnum.find(c) != kAlnum.npos || kAllowed.find(c) != kAllowed.npos);
        left.remove_prefix(character.length);
    }
    const unsigned expected = !acceptable                              ? PW_BAD_CHAR
                              : chars == 0                             ? PW_UNCHANGED
                              : chars < min_chars || chars > max_chars ? PW_BAD_LENGTH
                                                                       : PW_VALID;
    const char *accepted = nullptr;
    CHECK(chk_new_passwd(text.c_str(), &accepted, min_chars, max_chars) == expected);
    CHECK(accepted == (expected == PW_VALID ? text.c_str() : nullptr));
}

}  // namespace

void fuzz::run(Input &input) {
    const Filter &filter = filters()[input.byte() % filters().size()];
    const unsigned maxchars = input.byte();
    const unsigned minchars = input.byte() % 16;
    const unsigned outsize = input.byte();
    const std::string text = c_string(input.rest());

    unsigned chars = 0;
    const std::string expected = copy_kept(filter, text, maxchars, outsize, chars);
    const std::unique_ptr<char[]> out(new char[outsize + 1]);
    const int result =
        scan_textbox(text.c_str(), maxchars, minchars, out.get(), outsize, filter.function);
    CHECK(result == (outsize == 0 ? -1 : chars < minchars ? -2 : expected.empty() ? 0 : 1));
    if (outsize > 0) {
        CHECK(expected == out.get());
        const std::unique_ptr<char[]> again(new char[outsize + 1]);
        scan_textbox(out.get(), maxchars, minchars, again.get(), outsize, filter.function);
        CHECK(expected == again.get());
    }

    const std::string item = path_of("item");
    write_file(item, "?\n");
    const std::string whole = copy_kept(filter, text, maxchars, 3 * maxchars, chars);
    const int written =
        update_textbox_item(directory(), "item", text.c_str(), maxchars, filter.function);
    // With no character allowed no byte of the item counts, and it equals any text.
    const bool same = whole == "?" || maxchars == 0;
    // Malformed sequences that take more bytes than they had may find no room.
    if (whole.size() <= text.size() + 1) {
        CHECK(written == (same ? 0 : static_cast<int>(whole.size()) + 1));
        CHECK(read_file(item) == (same ? "?" : whole) + '\n');
    }

    std::string unix_text = text;
    CHECK(textarea_to_unix(unix_text.data(), unix_text.c_str()) == unix_text.data());
    std::string expected_text = text;
    std::erase(expected_text, '\r');
    CHECK(expected_text == unix_text.c_str());
    check_password(text, minchars, maxchars);
}
