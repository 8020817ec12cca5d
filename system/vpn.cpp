#include <iterator>

#include "qmv/system.h"

namespace {

struct Choice {
    char name[13];
    char label[17];
};

// Pages store and compare by these rows: the order is part of the interface.
constexpr Choice kCiphers[] = {
    {"AES-128-CBC", "AES 128 Bit"},
    {"AES-192-CBC", "AES 192 Bit"},
    {"AES-256-CBC", "AES 256 Bit"},
    {"BF-CBC", "BLOWFISH 128 Bit"},
    {"DES-CBC", "DES 64 Bit"},
    {"DES-EDE-CBC", "DES EDE 128 Bit"},
    {"DES-EDE3-CBC", "DES EDE3 192 Bit"},
    {"DESX-CBC", "DESX 192 Bit"},
    {"CAST5-CBC", "CAST5 128 Bit"},
    {"RC2-40-CBC", "RC2 40 Bit"},
    {"RC2-64-CBC", "RC2 64 Bit"},
    {"RC2-CBC", "RC2 128 Bit"},
    {"none", "None"},
};
static_assert(std::size(kCiphers) == 13);

constexpr Choice kDigests[] = {
    {"MD5", "MD5"},       {"SHA1", "SHA1"},     {"SHA224", "SHA224"}, {"SHA256", "SHA256"},
    {"SHA384", "SHA384"}, {"SHA512", "SHA512"}, {"none", "None"},
};
static_assert(std::size(kDigests) == 7);

template <size_t N>
int get_choice(const Choice (&table)[N], uint32_t index, ovpn_choice *out) {
    if (index >= N)
        return -1;
    if (out != nullptr)
        *out = {table[index].name, table[index].label};
    return 1;
}

}  // namespace

int get_ovpn_cipher(uint32_t index, uint32_t /*spare*/, ovpn_choice *out) {
    return get_choice(kCiphers, index, out);
}

int get_ovpn_hash(uint32_t index, uint32_t /*spare*/, ovpn_choice *out) {
    return get_choice(kDigests, index, out);
}
