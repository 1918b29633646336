// SPDX-License-Identifier: BSD-3-Clause
// transform_plan.cpp -- the factors of a transform of 2^k points
//
// Per pass of the transform (transform.cpp): w^p, w^2p, w^3p of its butterflies p, w = exp(-2 pi i
// / m). Those of the first pass stand in six rows, since four butterflies share a vector there.
#include "kernel/transform_plan.h"

#include "kernel/elementary.h"

#include <cstddef>
#include <new>
#include <stdexcept>

namespace kernel {

static constexpr std::align_val_t cache_line{64};

static int bits_of(int n) {
    int bits = 0;
    while ((1 << bits) < n) ++bits;
    return bits;
}

// Radix of the last pass of a transform of 2^bits points.
static int last_radix_of(int bits) {
    return bits == 0 ? 1 : bits == 1 ? 2 : bits % 2 == 0 ? 4 : 8;
}

// Passes of radix 4 before the last one.
static int passes_of(int bits) {
    const int radix = last_radix_of(bits);
    const int last_bits = radix == 8 ? 3 : radix / 2;
    return (bits - last_bits) / 2;
}

bool transform_plan::exists_for(long long n) {
    return n >= 1 && n <= most_points && (n & (n - 1)) == 0;
}

long long transform_plan::factor_count(int n) {
    long long count = 0;
    const int passes = passes_of(bits_of(n));
    for (int pass = 0, m = n; pass < passes; ++pass, m /= 4)
        count += transform_plan::factors_per_butterfly * (m / 4);
    return count;
}

void transform_plan::release_factors::operator()(double *factors) const {
    ::operator delete(factors, cache_line);
}

transform_plan::transform_plan(int n) : n_(n) {
    if (!exists_for(n)) throw std::invalid_argument("a transform needs 1, 2, 4 ... 2^24 points");
    const std::size_t bytes = static_cast<std::size_t>(factor_count(n) + 1) * sizeof(double);
    own_.reset(static_cast<double *>(::operator new(bytes, cache_line)));
    fill(own_.get());
}

transform_plan::transform_plan(int n, double *factors) : n_(n) {
    if (!exists_for(n)) throw std::invalid_argument("a transform needs 1, 2, 4 ... 2^24 points");
    fill(factors);
}

void transform_plan::fill(double *next) {
    const int bits = bits_of(n_);
    last_radix_ = last_radix_of(bits);
    passes_ = passes_of(bits);
    for (int pass = 0, m = n_; pass < passes_; ++pass, m /= 4) {
        factors_[pass] = next;
        const int quarter = m / 4;
        for (int p = 0; p < quarter; ++p) {
            for (int k = 1; k <= 3; ++k) {
                // m is a power of two: the turns are exact
                const complex_value w = exp_2_pi_i(-static_cast<double>(k) * p / m);
                const int row = 2 * (k - 1);
                if (pass == 0) {
                    next[row * quarter + p] = w.re;
                    next[(row + 1) * quarter + p] = w.im;
                } else {
                    next[transform_plan::factors_per_butterfly * p + row] = w.re;
                    next[transform_plan::factors_per_butterfly * p + row + 1] = w.im;
                }
            }
        }
        next += transform_plan::factors_per_butterfly * quarter;
    }
}

} // namespace kernel
