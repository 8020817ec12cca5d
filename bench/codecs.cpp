// Base64 and CRC-32 of 64 KiB.
#include <dlfcn.h>
#include <openssl/evp.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#include "bench/bench.h"
#include "bench/literal/literal.h"

extern "C" {
#include <b64/cdecode.h>
#include <b64/cencode.h>
}

namespace bench {

namespace {

constexpr int kBytes = 65536;
constexpr int kText = (kBytes + 2) / 3 * 4;

struct Data {
    std::string random = random_bytes(kBytes);
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(random.data());
    std::string text = std::string(kText + 1, '\0');
    // Results; line feeds of one peer need room, too.
    std::vector<char> encoded = std::vector<char>(2 * kText);
    std::vector<unsigned char> decoded = std::vector<unsigned char>(kText);
};

Data &data() {
    static Data all;
    return all;
}

void add_encoding() {
    const std::string name = "base64_encode/64 KiB";
    Data &d = data();
    const int length = literal::base64_encode(d.text.data(), kText + 1, d.bytes, kBytes);
    d.text.resize(kText);
    expect_same(name, length, base64_encode(d.encoded.data(), kText + 1, d.bytes, kBytes));
    expect_same(name, d.text, d.encoded.data());
    char *const out = d.encoded.data();
    add(name, "library", [&d, out] { return base64_encode(out, kText + 1, d.bytes, kBytes); });
    add(name, "literal",
        [&d, out] { return literal::base64_encode(out, kText + 1, d.bytes, kBytes); });
    add(name, "limit", [&d, out] { return std::memcpy(out, d.text.data(), kText); });
    add(name, "peer:OpenSSL", [&d, out] {
        return EVP_EncodeBlock(reinterpret_cast<unsigned char *>(out), d.bytes, kBytes);
    });
    add(name, "peer:libb64", [&d, out] {
        base64_encodestate state;
        base64_init_encodestate(&state);
        const int done = base64_encode_block(d.random.data(), kBytes, out, &state);
        return done + base64_encode_blockend(out + done, &state);
    });
}

void add_decoding() {
    const std::string name = "base64_decode/64 KiB";
    Data &d = data();
    unsigned char *const out = d.decoded.data();
    const auto result = [out] {
        return std::string_view(reinterpret_cast<const char *>(out), kBytes);
    };
    expect_same(name, kBytes, literal::base64_decode(out, kBytes, d.text.data(), kText));
    expect_same(name, d.random, result());
    std::memset(out, 0, kBytes);
    expect_same(name, kBytes, base64_decode(out, kBytes, d.text.data(), kText));
    expect_same(name, d.random, result());
    add(name, "library", [&d, out] { return base64_decode(out, kBytes, d.text.data(), kText); });
    add(name, "literal",
        [&d, out] { return literal::base64_decode(out, kBytes, d.text.data(), kText); });
    add(name, "limit", [&d, out] { return std::memcpy(out, d.text.data(), kText); });
    add(name, "peer:OpenSSL", [&d, out] {
        return EVP_DecodeBlock(out, reinterpret_cast<const unsigned char *>(d.text.data()), kText);
    });
    add(name, "peer:libb64", [&d, out] {
        base64_decodestate state;
        base64_init_decodestate(&state);
        return base64_decode_block(d.text.data(), kText, reinterpret_cast<char *>(out), &state);
    });
}

void add_crc() {
    const std::string name = "crc32/64 KiB";
    Data &d = data();
    expect_same(name, literal::crc32(0xFFFFFFFF, d.bytes, kBytes),
                crc32(0xFFFFFFFF, d.bytes, kBytes));
    add(name, "library", [&d] { return crc32(0xFFFFFFFF, d.bytes, kBytes); });
    add(name, "literal", [&d] { return literal::crc32(0xFFFFFFFF, d.bytes, kBytes); });
    add(name, "limit", [&d] { return std::memcpy(d.decoded.data(), d.bytes, kBytes); });
    // Its function has the name of ours: the program cannot be linked with both.
    using Crc = unsigned long (*)(unsigned long, const unsigned char *, unsigned);
    void *const zlib = ::dlopen("libz.so.1", RTLD_NOW | RTLD_LOCAL);
    void *const symbol = zlib == nullptr ? nullptr : ::dlsym(zlib, "crc32");
    if (symbol == nullptr) {
        std::cerr << "no zlib\n";
        std::exit(1);
    }
    const Crc zlib_crc = reinterpret_cast<Crc>(symbol);
    expect_same(name, static_cast<long>(zlib_crc(0, d.bytes, kBytes)),
                ~crc32(0xFFFFFFFF, d.bytes, kBytes));
    add(name, "peer:zlib", [&d, zlib_crc] { return zlib_crc(0, d.bytes, kBytes); });
}

}  // namespace

void add_codecs() {
    add_encoding();
    add_decoding();
    add_crc();
}

}  // namespace bench
