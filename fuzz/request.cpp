#include "fuzz/request.h"

#include <strings.h>

#include <algorithm>

#include "fuzz/support.h"

namespace fuzz {
namespace {

/// Adds the records of a header line. False when the line is not kept.
bool add_line(std::vector<Record> &records, const std::string &line) {
    const std::size_t colon = line.size() > 8 ? line.find(':', 8) : line.npos;
    if (records.size() == 5 || ::strncasecmp(line.c_str(), "Content-", 8) != 0 ||
        colon == line.npos)
        return false;
    const std::string name = line.substr(0, colon);
    const std::string value = skip_space(line.substr(colon + 1));
    const std::size_t semicolon = value.find(';');
    records.push_back({"", name, value.substr(0, semicolon)});
    std::string left = semicolon != value.npos ? ";" + value.substr(semicolon + 1) : "";
    while (records.size() < 5 && left.starts_with(';')) {
        left = skip_space(left.substr(1));
        const std::size_t equals = left.find('=');
        const std::size_t quote = equals != left.npos ? left.find('"', equals + 2) : left.npos;
        if (quote == left.npos || left[equals + 1] != '"')
            break;
        records.push_back(
            {name, left.substr(0, equals), left.substr(equals + 2, quote - equals - 2)});
        left = left.substr(quote + 1);
    }
    return true;
}

/// Reads the header lines of a part.
std::vector<Record> take_headers(std::string &body) {
    std::vector<Record> records;
    for (int kept = 0; kept < 5;) {
        const std::size_t end = body.find("\r\n");
        const bool readable = end != body.npos && end <= 1022;
        const std::string line = readable ? body.substr(0, end) : "";
        body = readable ? body.substr(end + 2) : "";
        if (line.empty())
            break;
        kept += add_line(records, c_string(line)) ? 1 : 0;
    }
    return records;
}

}  // namespace

std::vector<Sent> split(std::string text) {
    std::replace(text.begin(), text.end(), '+', ' ');
    std::vector<Sent> all(1);
    bool in_name = true;
    for (const char c : text) {
        if (c == '&' || c == ';') {
            all.emplace_back();
            in_name = true;
        } else if (c == '=' && in_name) {
            in_name = false;
        } else {
            (in_name ? all.back().name : all.back().value) += c;
        }
    }
    return all;
}

bool decodes_to(const std::string &sent, const std::string &text) {
    const std::string digits = "0123456789abcdefABCDEF";
    std::size_t at = 0;
    for (std::size_t i = 0; i < sent.size(); ++i, ++at) {
        char wanted = sent[i];
        if (wanted == '%') {
            if (i + 2 >= sent.size())
                break;
            const std::string code = sent.substr(i + 1, 2);
            i += 2;
            if (code.find_first_not_of(digits) == code.npos)
                wanted = static_cast<char>(std::stoi(code, nullptr, 16));
            else if (at < text.size())
                continue;
            else
                break;
        }
        if (wanted == '\0')
            break;
        if (at >= text.size() || text[at] != wanted)
            return false;
    }
    return at == text.size();
}

std::string skip_space(const std::string &text) {
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    return start != text.npos ? text.substr(start) : "";
}

Upload take_parts(std::string &body, const std::string &boundary) {
    const std::string delimiter = "\r\n--" + boundary.substr(0, boundary.find('\r'));
    Upload upload;
    for (bool more = true; more;) {
        Part part{take_headers(body), ""};
        const std::size_t place = body.find(delimiter);
        part.content = body.substr(0, place);
        body = place != body.npos ? body.substr(place + delimiter.size()) : "";
        more = body.starts_with("\r\n");
        const int result = place == body.npos || body.size() < 2 ? 2 : more ? 0 : 3;
        body = body.substr(std::min<std::size_t>(more || result == 2 ? 2 : 4, body.size()));
        if (part.records.empty())
            continue;
        upload.result = result;
        upload.parts.push_back(part);
    }
    return upload;
}

}  // namespace fuzz
