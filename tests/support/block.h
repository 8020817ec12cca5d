// Blocks of drivers, built byte by byte rather than with the library's structures.
#ifndef QMV_TESTS_SUPPORT_BLOCK_H
#define QMV_TESTS_SUPPORT_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace qmv_test {

/// Bytes with numbers at chosen offsets, in the machine's byte order.
class BlockBytes {
  public:
    explicit BlockBytes(std::size_t size, char filler = '\0') : bytes_(size, filler) {}

    BlockBytes &u8(std::size_t offset, uint8_t value) { return put(offset, value); }
    BlockBytes &u16(std::size_t offset, uint16_t value) { return put(offset, value); }
    BlockBytes &u32(std::size_t offset, uint32_t value) { return put(offset, value); }
    BlockBytes &s16(std::size_t offset, int value) {
        return put(offset, static_cast<int16_t>(value));
    }
    BlockBytes &s32(std::size_t offset, int32_t value) { return put(offset, value); }
    BlockBytes &at(std::size_t offset, const std::string &part) {
        bytes_.replace(offset, part.size(), part);
        return *this;
    }

    const std::string &str() const { return bytes_; }

  private:
    template <typename T>
    BlockBytes &put(std::size_t offset, T value) {
        std::memcpy(&bytes_[offset], &value, sizeof value);
        return *this;
    }

    std::string bytes_;
};

}  // namespace qmv_test

#endif
