#include <array>

#include "bench/literal/literal.h"

namespace {

constexpr std::array<unsigned, 256> make_table() {
    std::array<unsigned, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned crc = i;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320U : crc >> 1;
        table[i] = crc;
    }
    return table;
}

constexpr std::array<unsigned, 256> kTable = make_table();

}  // namespace

namespace literal {

unsigned crc32(unsigned crc, const unsigned char *buf, int len) {
    for (int i = 0; i < len; ++i)
        crc = kTable[(crc ^ buf[i]) & 0xFF] ^ crc >> 8;
    return crc;
}

}  // namespace literal
