// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/decay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

typedef std::vector<double> vector;

// What the recurrence must not do: leave the range of a double, or lose the start of a signal that
// rises from nothing. Compared with exp, cos and sin at every point.
TEST(decay, equals_library_functions_at_extreme_parameters) {
    struct extreme {
        double frequency, gauss, lorentz, d;
        int begin, end;
    };
    const extreme cases[] = {
        {100.25, 0.0, 0.0, 0.0, 0, 4096},    {100.25, 1e-6, 0.0, 0.0, 0, 4096},
        {-3000.7, 1e-4, 1e-3, 3.0, 1, 4096}, {1e7 + 0.3, 0.0, 1e-3, 0.5, 0, 4096},
        {5.0, 2.0, 0.0, 0.0, 0, 4096},       {5.0, 0.0, 40.0, 0.0, 0, 4096},
        {5.0, 1.0, 0.0, -60.0, 0, 4096},     {5.0, 0.0, -0.1, 0.0, 0, 4096},
        {5.0, 1e-3, -0.5, 0.0, 0, 4096},     {5.0, 1e-5, 1e-4, 1e5, 0, 4096},
        {5.0, 1e-6, 0.0, 0.0, 4095, 4096},   {5.0, 1e-6, 0.0, 0.0, 7, 20},
    };
    for (const extreme &c : cases) {
        vector re(4096), im(4096);
        const kernel::decay curve{1.5, -0.5, c.frequency, c.gauss, c.lorentz, c.d, 4096, true};
        kernel::add_decay(curve, c.begin, c.end, re.data(), im.data());
        long double top = 0.0L;
        vector wanted_re(4096), wanted_im(4096);
        for (int n = c.begin; n < c.end; ++n) {
            const long double t = n + static_cast<long double>(c.d);
            const long double e = std::exp(-c.gauss * t * t - c.lorentz * t);
            long double turns = static_cast<long double>(c.frequency) * n / 4096.0L + 0.5L * n;
            turns -= std::nearbyint(turns);
            const long double a = 2.0L * 3.14159265358979323846L * turns;
            const std::size_t at = static_cast<std::size_t>(n);
            wanted_re[at] = static_cast<double>(e * (1.5L * std::cos(a) + 0.5L * std::sin(a)));
            wanted_im[at] = static_cast<double>(e * (1.5L * std::sin(a) - 0.5L * std::cos(a)));
            top = std::max(top, e);
        }
        for (std::size_t n = 0; n < 4096; ++n) {
            // 1e-12 of the largest point: docs/numerics.md
            EXPECT_NEAR(re[n], wanted_re[n], 1e-12 * static_cast<double>(top)) << n << " " << c.d;
            EXPECT_NEAR(im[n], wanted_im[n], 1e-12 * static_cast<double>(top)) << n;
        }
    }
}

TEST(decay, adds_to_what_stands_there_and_only_in_its_range) {
    vector re(32, 1.0), im(32, 2.0);
    kernel::add_decay({1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 32, false}, 5, 9, re.data(), im.data());
    for (std::size_t n = 0; n < 32; ++n) {
        EXPECT_NEAR(re[n], n >= 5 && n < 9 ? 2.0 : 1.0, 1e-15);
        EXPECT_NEAR(im[n], 2.0, 1e-15);
    }
    kernel::add_decay({1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 32, false}, 9, 9, re.data(), im.data());
    EXPECT_EQ(re[9], 1.0);
}
