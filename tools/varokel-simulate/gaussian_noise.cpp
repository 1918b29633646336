// SPDX-License-Identifier: BSD-3-Clause
// gaussian_noise.cpp -- polar method on a counter that is mixed well
//
// Method: G. Marsaglia, T. A. Bray, SIAM Rev. 6 (1964) 260-264; bits from the splitmix64
//         generator, G. L. Steele, D. Lea, C. H. Flood, Proc. OOPSLA 2014, 453-472.
#include "varokel-simulate/gaussian_noise.h"

#include "kernel/elementary.h"

#include <cmath>

namespace tools {

std::uint64_t gaussian_noise::next_bits() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

double gaussian_noise::next_symmetric() {
    return static_cast<double>(next_bits() >> 11) * 0x1p-52 - 1.0;
}

double gaussian_noise::next() {
    if (has_spare_) {
        has_spare_ = false;
        return spare_;
    }
    double a = 0.0, b = 0.0, square = 0.0;
    do {
        a = next_symmetric();
        b = next_symmetric();
        square = a * a + b * b;
    } while (square >= 1.0 || square == 0.0);
    const double factor = std::sqrt(-2.0 * kernel::log(square) / square);
    spare_ = b * factor;
    has_spare_ = true;
    return a * factor;
}

} // namespace tools
