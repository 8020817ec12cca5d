// Plain readers of what a browser sends, which have the whole of it at once.
#ifndef QMV_FUZZ_REQUEST_H
#define QMV_FUZZ_REQUEST_H

#include <string>
#include <vector>

namespace fuzz {

/// A variable as it was sent, escapes included.
struct Sent {
    std::string name;
    std::string value;
};

/// Splits a query string or a urlencoded body.
std::vector<Sent> split(std::string text);

/// Whether a text is what a sent one decodes to. An escape of other characters than hexadecimal
/// digits stands for any byte, and a NUL ends the text.
bool decodes_to(const std::string &sent, const std::string &text);

/// A header of a part, or a parameter of the header that `parent` names.
struct Record {
    std::string parent;
    std::string name;
    std::string value;
    bool operator==(const Record &) const = default;
};

struct Part {
    std::vector<Record> records;
    std::string content;
    bool operator==(const Part &) const = default;
};

/// The parts of a multipart body that have headers.
struct Upload {
    std::vector<Part> parts;
    int result = 0;  ///< of the last one, as of scan_boundary()
};

/// Reads a whole multipart body; what stands behind its end is left.
Upload take_parts(std::string &body, const std::string &boundary);

std::string skip_space(const std::string &text);

}  // namespace fuzz

#endif
