// SPDX-License-Identifier: BSD-3-Clause
// sha256.cpp -- the constants are the first 32 bits of the fractional parts of the square roots (in
// the header) and cube roots (here) of the first primes
#include "files/base/sha256.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

namespace tools {

static constexpr std::uint32_t round_constant[64] = {
    0x428a2f98U, 0x71374491U, 0xb5c0fbcfU, 0xe9b5dba5U, 0x3956c25bU, 0x59f111f1U, 0x923f82a4U,
    0xab1c5ed5U, 0xd807aa98U, 0x12835b01U, 0x243185beU, 0x550c7dc3U, 0x72be5d74U, 0x80deb1feU,
    0x9bdc06a7U, 0xc19bf174U, 0xe49b69c1U, 0xefbe4786U, 0x0fc19dc6U, 0x240ca1ccU, 0x2de92c6fU,
    0x4a7484aaU, 0x5cb0a9dcU, 0x76f988daU, 0x983e5152U, 0xa831c66dU, 0xb00327c8U, 0xbf597fc7U,
    0xc6e00bf3U, 0xd5a79147U, 0x06ca6351U, 0x14292967U, 0x27b70a85U, 0x2e1b2138U, 0x4d2c6dfcU,
    0x53380d13U, 0x650a7354U, 0x766a0abbU, 0x81c2c92eU, 0x92722c85U, 0xa2bfe8a1U, 0xa81a664bU,
    0xc24b8b70U, 0xc76c51a3U, 0xd192e819U, 0xd6990624U, 0xf40e3585U, 0x106aa070U, 0x19a4c116U,
    0x1e376c08U, 0x2748774cU, 0x34b0bcb5U, 0x391c0cb3U, 0x4ed8aa4aU, 0x5b9cca4fU, 0x682e6ff3U,
    0x748f82eeU, 0x78a5636fU, 0x84c87814U, 0x8cc70208U, 0x90befffaU, 0xa4506cebU, 0xbef9a3f7U,
    0xc67178f2U};

void sha256::mix(const unsigned char *block) {
    std::uint32_t w[64];
    for (std::size_t i = 0; i < 16; ++i)
        w[i] = static_cast<std::uint32_t>(block[4 * i]) << 24 |
               static_cast<std::uint32_t>(block[4 * i + 1]) << 16 |
               static_cast<std::uint32_t>(block[4 * i + 2]) << 8 |
               static_cast<std::uint32_t>(block[4 * i + 3]);
    for (std::size_t i = 16; i < 64; ++i) {
        const std::uint32_t a = w[i - 15], b = w[i - 2];
        w[i] = (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10)) + w[i - 7] +
               (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3)) + w[i - 16];
    }
    std::array<std::uint32_t, 8> s = state_;
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint32_t first =
            s[7] + (std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25)) +
            ((s[4] & s[5]) ^ (~s[4] & s[6])) + round_constant[i] + w[i];
        const std::uint32_t second =
            (std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22)) +
            ((s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]));
        s = {first + second, s[0], s[1], s[2], s[3] + first, s[4], s[5], s[6]};
    }
    for (std::size_t i = 0; i < 8; ++i) state_[i] += s[i];
}

void sha256::add(const void *bytes, std::size_t count) {
    const auto *at = static_cast<const unsigned char *>(bytes);
    count_ += count;
    while (count > 0) {
        const std::size_t taken = std::min(count, rest_.size() - rest_count_);
        std::memcpy(rest_.data() + rest_count_, at, taken);
        rest_count_ += taken;
        at += taken;
        count -= taken;
        if (rest_count_ < rest_.size()) return;
        mix(rest_.data());
        rest_count_ = 0;
    }
}

std::string sha256::digits() {
    const std::uint64_t bits = 8 * count_;
    const unsigned char mark = 0x80, zero = 0;
    add(&mark, 1);
    while (rest_count_ != 56) add(&zero, 1);
    unsigned char length[8];
    for (std::size_t b = 0; b < 8; ++b)
        length[b] = static_cast<unsigned char>(bits >> (56 - 8 * b));
    add(length, sizeof length);
    std::string text;
    for (const std::uint32_t word : state_)
        for (int shift = 28; shift >= 0; shift -= 4)
            text += "0123456789abcdef"[word >> shift & 15U];
    return text;
}

std::string sha256_of(std::string_view bytes) {
    sha256 hash;
    hash.add(bytes.data(), bytes.size());
    return hash.digits();
}

std::string sha256_of_file(const std::string &file) {
    std::ifstream stream = open_input(file);
    sha256 hash;
    std::vector<char> piece(1 << 16);
    while (stream) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        hash.add(piece.data(), static_cast<std::size_t>(stream.gcount()));
    }
    if (!stream.eof()) refuse_input(file, "cannot be read; is it yours to read?");
    return hash.digits();
}

} // namespace tools
