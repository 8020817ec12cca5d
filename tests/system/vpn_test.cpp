#include <gtest/gtest.h>
#include <qmv/system.h>

#include <cstdint>
#include <iterator>

namespace {

using Lookup = int (*)(uint32_t index, uint32_t spare, ovpn_choice *out);

constexpr ovpn_choice kCiphers[] = {
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

constexpr ovpn_choice kDigests[] = {
    {"MD5", "MD5"},       {"SHA1", "SHA1"},     {"SHA224", "SHA224"}, {"SHA256", "SHA256"},
    {"SHA384", "SHA384"}, {"SHA512", "SHA512"}, {"none", "None"},
};

void expect_row(Lookup lookup, uint32_t index, uint32_t spare, const ovpn_choice &expected) {
    ovpn_choice choice{"untouched", "untouched"};
    EXPECT_EQ(lookup(index, spare, &choice), 1) << "index " << index << ", spare " << spare;
    EXPECT_STREQ(choice.name, expected.name) << "index " << index << ", spare " << spare;
    EXPECT_STREQ(choice.label, expected.label) << "index " << index << ", spare " << spare;
}

/// Expects no row for an index, and that a record is left alone.
void expect_no_row(Lookup lookup, uint32_t index) {
    static const char name[] = "name";
    static const char label[] = "label";
    ovpn_choice choice{name, label};
    EXPECT_EQ(lookup(index, 0, &choice), -1) << "index " << index;
    EXPECT_EQ(choice.name, name) << "name was changed for index " << index;
    EXPECT_EQ(choice.label, label) << "label was changed for index " << index;
    EXPECT_EQ(lookup(index, 0, nullptr), -1) << "null record, index " << index;
}

}  // namespace

TEST(OvpnCipher, GivesThirteenRowsInOrder) {
    ASSERT_EQ(std::size(kCiphers), 13u);
    for (uint32_t i = 0; i < std::size(kCiphers); ++i)
        expect_row(get_ovpn_cipher, i, 0, kCiphers[i]);
}

TEST(OvpnCipher, EndsWithNone) {
    expect_row(get_ovpn_cipher, 12, 0, {"none", "None"});
}

TEST(OvpnCipher, RefusesIndexFromThirteenOnAndLeavesTheRecordAlone) {
    for (const uint32_t index : {13u, 14u, 255u, 256u, 0x10000u, 0x7FFFFFFFu, 0x80000000u})
        expect_no_row(get_ovpn_cipher, index);
}

TEST(OvpnCipher, RefusesNegativeIndex) {
    for (const int index : {-1, -2, -13})
        expect_no_row(get_ovpn_cipher, static_cast<uint32_t>(index));
}

TEST(OvpnCipher, AllowsNullRecord) {
    for (uint32_t i = 0; i < 13; ++i)
        EXPECT_EQ(get_ovpn_cipher(i, 0, nullptr), 1) << "index " << i;
}

TEST(OvpnCipher, IgnoresTheSpareArgument) {
    for (const uint32_t spare : {1u, 13u, 0xFFFFFFFFu})
        expect_row(get_ovpn_cipher, 3, spare, kCiphers[3]);
}

TEST(OvpnHash, GivesSevenRowsInOrder) {
    ASSERT_EQ(std::size(kDigests), 7u);
    for (uint32_t i = 0; i < std::size(kDigests); ++i)
        expect_row(get_ovpn_hash, i, 0, kDigests[i]);
}

TEST(OvpnHash, EndsWithNone) {
    expect_row(get_ovpn_hash, 6, 0, {"none", "None"});
}

TEST(OvpnHash, RefusesIndexFromSevenOnAndLeavesTheRecordAlone) {
    for (const uint32_t index : {7u, 8u, 12u, 13u, 256u, 0x10000u, 0x7FFFFFFFu, 0x80000000u})
        expect_no_row(get_ovpn_hash, index);
}

TEST(OvpnHash, RefusesNegativeIndex) {
    for (const int index : {-1, -2, -7})
        expect_no_row(get_ovpn_hash, static_cast<uint32_t>(index));
}

TEST(OvpnHash, AllowsNullRecord) {
    for (uint32_t i = 0; i < 7; ++i)
        EXPECT_EQ(get_ovpn_hash(i, 0, nullptr), 1) << "index " << i;
}

TEST(OvpnHash, IgnoresTheSpareArgument) {
    for (const uint32_t spare : {1u, 7u, 0xFFFFFFFFu})
        expect_row(get_ovpn_hash, 1, spare, kDigests[1]);
}
