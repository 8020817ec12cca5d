#include <array>
#include <cstdint>

#include "qmv/util.h"

namespace {

constexpr std::array<uint32_t, 256> make_table() {
    constexpr uint32_t kPolynomial = 0xEDB88320;
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < table.size(); ++byte) {
        uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? kPolynomial : 0);
        table[byte] = crc;
    }
    return table;
}

constexpr auto kTable = make_table();
static_assert(kTable[1] == 0x77073096);

}  // namespace

unsigned crc32(unsigned crc, const unsigned char *buf, int len) {
    for (int i = 0; buf != nullptr && i < len; ++i)
        crc = kTable[(crc ^ buf[i]) & 0xFF] ^ (crc >> 8);
    return crc;
}
