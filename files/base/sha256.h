// SPDX-License-Identifier: BSD-3-Clause
// sha256.h -- fingerprint of a file, so that a result can be traced to the bytes it came from
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tools {

// Secure Hash Algorithm of 256 bits. Source: FIPS 180-4, sections 5 and 6.2.
class sha256 {
  public:
    void add(const void *bytes, std::size_t count);
    // 64 hexadecimal digits of all bytes added. Nothing may be added after it.
    std::string digits();

  private:
    void mix(const unsigned char *block);

    std::array<std::uint32_t, 8> state_ = {0x6a09e667U, 0xbb67ae85U, 0x3c6ef372U, 0xa54ff53aU,
                                           0x510e527fU, 0x9b05688cU, 0x1f83d9abU, 0x5be0cd19U};
    std::array<unsigned char, 64> rest_ = {};
    std::size_t rest_count_ = 0;
    std::uint64_t count_ = 0;
};

std::string sha256_of(std::string_view bytes);

// Of the bytes of a file, read piece by piece. Errors: bad_input when it cannot be read.
std::string sha256_of_file(const std::string &file);

} // namespace tools
