// What each byte is to the loops that search a text for what has to be replaced.
#ifndef QMV_UTIL_CLASSES_H
#define QMV_UTIL_CLASSES_H

#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string_view>

namespace qmv {

/// A text that is copied together with the rest of its slot, which costs less than to look at its
/// length.
struct ShortText {
    char text[7];
    unsigned char length;
};

template <typename Char>
Char *put(Char *to, const ShortText &s) {
    std::memcpy(to, s.text, sizeof s.text);
    return to + s.length;
}

// The characters that stand for themselves neither in HTML (the first four) nor in XML (all).
inline constexpr std::string_view kReplaced = "\"&<>'\t\n\r";
inline constexpr std::size_t kReplacedInHtml = 4;
inline constexpr ShortText kEntities[] = {{"&quot;", 6}, {"&amp;", 5}, {"&lt;", 4},  {"&gt;", 4},
                                          {"&apos;", 6}, {"&#9;", 4},  {"&#10;", 5}, {"&#13;", 5}};
static_assert(std::size(kEntities) == kReplaced.size());

// Bits of a byte's class. The bits above them count, from 1, the places of kReplaced.
inline constexpr unsigned kHtmlText = 1;   // prints as itself, and is a whole character
inline constexpr unsigned kXmlText = 2;    // stands for itself
inline constexpr unsigned kQueryText = 4;  // part of a piece of a query, and not "+"
inline constexpr unsigned kEntityShift = 4;

inline constexpr auto kByteClasses = [] {
    std::array<unsigned char, 256> classes{};
    for (unsigned byte = 1; byte < classes.size(); ++byte) {
        const char c = static_cast<char>(byte);
        const std::size_t place = kReplaced.find(c);
        const bool is_query = c != '+' && c != '&' && c != ';';
        unsigned bits = is_query ? kQueryText : 0;
        if (place == std::string_view::npos)
            bits |= kXmlText;
        else
            bits |= static_cast<unsigned>(place + 1) << kEntityShift;
        if (byte < 127 && place >= kReplacedInHtml)
            bits |= kHtmlText;
        classes[byte] = static_cast<unsigned char>(bits);
    }
    return classes;
}();

constexpr unsigned class_of(char c) {
    return kByteClasses[static_cast<unsigned char>(c)];
}

/// The reference of a character whose class has a place in kReplaced.
constexpr const ShortText &entity_of(unsigned byte_class) {
    return kEntities[(byte_class >> kEntityShift) - 1];
}

}  // namespace qmv

#endif
