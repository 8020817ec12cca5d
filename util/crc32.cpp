#include <algorithm>
#include <array>
#include <cstdint>

#include "qmv/util.h"

namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;

using Table = std::array<uint32_t, 256>;

constexpr Table make_table() {
    Table table{};
    for (uint32_t byte = 0; byte < table.size(); ++byte) {
        uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? kPolynomial : 0);
        table[byte] = crc;
    }
    return table;
}

// How many bytes are taken at once, each with a table of its own of 1 KiB.
#ifdef QMV_SMALL
constexpr size_t kSlices = 1;
#else
constexpr size_t kSlices = 8;
#endif

/// Table n is for a byte behind which n more follow in the same slice.
constexpr std::array<Table, kSlices> make_tables() {
    std::array<Table, kSlices> tables{make_table()};
    for (size_t n = 1; n < kSlices; ++n) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t crc = tables[n - 1][byte];
            tables[n][byte] = (crc >> 8) ^ tables[0][crc & 0xFF];
        }
    }
    return tables;
}

constexpr auto kTables = make_tables();
static_assert(kTables[0][1] == 0x77073096);

#ifndef QMV_SMALL
/// The four bytes that come next in the sum, the first one lowest.
constexpr uint32_t load(const unsigned char *bytes) {
    return bytes[0] | (uint32_t{bytes[1]} << 8) | (uint32_t{bytes[2]} << 16) |
           (uint32_t{bytes[3]} << 24);
}

/// What four bytes add to the sum when `behind` more of their slice follow them.
constexpr uint32_t sum(uint32_t bytes, size_t behind) {
    return kTables[behind + 3][bytes & 0xFF] ^ kTables[behind + 2][(bytes >> 8) & 0xFF] ^
           kTables[behind + 1][(bytes >> 16) & 0xFF] ^ kTables[behind][bytes >> 24];
}
#endif

}  // namespace

unsigned crc32(unsigned crc, const unsigned char *buf, int len) {
    if (buf == nullptr)
        return crc;
    int left = std::max(len, 0);
#ifndef QMV_SMALL
    for (; left >= 8; left -= 8, buf += 8)
        crc = sum(load(buf) ^ crc, 4) ^ sum(load(buf + 4), 0);
#endif
    for (; left > 0; --left)
        crc = kTables[0][(crc ^ *buf++) & 0xFF] ^ (crc >> 8);
    return crc;
}
