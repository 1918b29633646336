// SPDX-License-Identifier: BSD-3-Clause
// f32_text.cpp -- numbers on standard input to little-endian float32 on standard output
//
// The scripts of this folder make their signals with it; od -t f4 goes the other way.
#include <bit>
#include <cstdint>
#include <cstdio>

int main() {
    double value = 0.0;
    while (std::scanf("%lf", &value) == 1) {
        const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(value));
        for (int b = 0; b < 4; ++b) std::putchar(static_cast<int>((bits >> (8 * b)) & 0xffU));
    }
    return 0;
}
