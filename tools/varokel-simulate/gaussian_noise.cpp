// SPDX-License-Identifier: BSD-3-Clause
// gaussian_noise.cpp -- polar method on a counter that is mixed well
//
// Method: G. Marsaglia, T. A. Bray, SIAM Rev. 6 (1964) 260-264; bits from the splitmix64
//         generator, G. L. Steele, D. Lea, C. H. Flood, Proc. OOPSLA 2014, 453-472.
#include "varokel-simulate/gaussian_noise.h"

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

double portable_log(double x) {
    int exponent = 0;
    double m = std::frexp(x, &exponent); // exact
    if (m < 0.70710678118654752) {
        m *= 2.0;
        --exponent;
    }
    // ln m = 2 artanh u; |u| < 0.172, so the first term left out is below 2e-18 of the sum
    const double u = (m - 1.0) / (m + 1.0);
    const double square = u * u;
    double sum = 0.0;
    for (int k = 21; k >= 1; k -= 2) sum = sum * square + 1.0 / k;
    return 2.0 * u * sum + exponent * 0.69314718055994531;
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
    const double factor = std::sqrt(-2.0 * portable_log(square) / square);
    spare_ = b * factor;
    has_spare_ = true;
    return a * factor;
}

} // namespace tools
