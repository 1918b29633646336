// SPDX-License-Identifier: BSD-3-Clause
//
// Both transforms of the product, the table-driven one on interleaved points and the split one of
// the model, against the definition and against the laws of Fourier transforms.
#include "kernel/transform_plan.h"
#include "model/fft.h"
#include "model/vector_lib.h"
#include "oracle/definition.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

typedef std::vector<double> vector;

static vector noise(support::random_numbers &random, std::size_t n) {
    vector v(n);
    for (double &x : v) x = random.normal();
    return v;
}

// Transform with factor 1/n.
static void split(vector &re, vector &im, bool centred = false) {
    const int n = static_cast<int>(re.size());
    vector work_re(re.size()), work_im(re.size());
    const kernel::transform_plan plan(n);
    const kernel::split_vector y =
        plan.transform(re.data(), im.data(), work_re.data(), work_im.data(), 1.0 / n, centred);
    if (y.re == re.data()) return;
    re = work_re;
    im = work_im;
}

static void table_driven(vector &re, vector &im) {
    const int n = static_cast<int>(re.size());
    double table[256];
    create_lookup(table, n, 1);
    vector data(2 * re.size());
    for (std::size_t i = 0; i < re.size(); ++i) {
        data[2 * i] = re[i];
        data[2 * i + 1] = im[i];
    }
    four2(data.data(), table, n, 1);
    for (std::size_t i = 0; i < re.size(); ++i) {
        re[i] = data[2 * i];
        im[i] = data[2 * i + 1];
    }
}

// A transform of n values of size 1 with factor 1/n has points of size 1/sqrt(n); each rounds by
// a few units times log2(n). The recurrence of the table-driven one grows like sqrt(n) in addition.
static double split_tolerance(std::size_t n) {
    return 4e-16 * (1.0 + std::log2(static_cast<double>(n))) / std::sqrt(static_cast<double>(n));
}
static double table_tolerance(std::size_t n) {
    return 4e-16 * (4.0 + std::sqrt(static_cast<double>(n))) / std::sqrt(static_cast<double>(n));
}

TEST(transform, equals_the_double_sum_at_every_length) {
    support::random_numbers random(41);
    for (std::size_t n = 1; n <= 1024; n *= 2) {
        const vector re = noise(random, n), im = noise(random, n);
        definition::signal x(n);
        for (std::size_t i = 0; i < n; ++i) x[i] = definition::value(re[i], im[i]);
        const definition::signal wanted = definition::transform(x);
        vector a = re, b = im, c = re, d = im, e = re, f = im;
        split(a, b);
        table_driven(c, d);
        split(e, f, true);
        for (std::size_t j = 0; j < n; ++j) {
            const double w_re = static_cast<double>(wanted[j].real());
            const double w_im = static_cast<double>(wanted[j].imag());
            EXPECT_NEAR(a[j], w_re, split_tolerance(n)) << n << " point " << j;
            EXPECT_NEAR(b[j], w_im, split_tolerance(n)) << n << " point " << j;
            EXPECT_NEAR(c[j], w_re, table_tolerance(n)) << n << " point " << j;
            EXPECT_NEAR(d[j], w_im, table_tolerance(n)) << n << " point " << j;
            const std::size_t at = (j + n / 2) % n; // centred: point at of the result is X[j]
            EXPECT_EQ(e[at], a[j]) << n << " point " << j;
            EXPECT_EQ(f[at], b[j]) << n << " point " << j;
        }
    }
}

TEST(transform, of_an_impulse_is_flat_and_of_a_constant_is_an_impulse) {
    for (std::size_t n = 2; n <= 1 << 16; n *= 2) {
        vector re(n), im(n);
        re[0] = 1.0;
        split(re, im);
        for (std::size_t j = 0; j < n; ++j) {
            EXPECT_EQ(re[j], 1.0 / static_cast<double>(n));
            EXPECT_EQ(im[j], 0.0);
        }
        re.assign(n, 1.0);
        im.assign(n, 0.0);
        split(re, im);
        EXPECT_EQ(re[0], 1.0);
        for (std::size_t j = 1; j < n; ++j) EXPECT_EQ(re[j], 0.0);
    }
}

TEST(transform, is_linear) {
    support::random_numbers random(42);
    for (std::size_t n : {16, 32, 128, 1024, 2048}) {
        vector a = noise(random, n), b = noise(random, n), c = noise(random, n),
               d = noise(random, n), e(n), f(n);
        for (std::size_t i = 0; i < n; ++i) {
            e[i] = 2.0 * a[i] - 3.0 * c[i];
            f[i] = 2.0 * b[i] - 3.0 * d[i];
        }
        split(a, b);
        split(c, d);
        split(e, f);
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_NEAR(e[i], 2.0 * a[i] - 3.0 * c[i], 8.0 * split_tolerance(n));
            EXPECT_NEAR(f[i], 2.0 * b[i] - 3.0 * d[i], 8.0 * split_tolerance(n));
        }
    }
}

TEST(transform, keeps_the_energy) {
    support::random_numbers random(43);
    for (std::size_t n = 1; n <= 1 << 16; n *= 4) {
        vector re = noise(random, n), im = noise(random, n);
        double before = 0.0, after = 0.0;
        for (std::size_t i = 0; i < n; ++i) before += re[i] * re[i] + im[i] * im[i];
        split(re, im);
        for (std::size_t i = 0; i < n; ++i) after += re[i] * re[i] + im[i] * im[i];
        // sums of 2n squares: rounding grows like sqrt(n)
        EXPECT_NEAR(after * static_cast<double>(n) / before, 1.0, 1e-15 * (10.0 + std::sqrt(n)));
    }
}

TEST(transform, of_a_delayed_signal_is_turned_point_by_point) {
    support::random_numbers random(44);
    const std::size_t n = 256, delay = 37;
    const vector re = noise(random, n), im = noise(random, n);
    vector a = re, b = im, c(n), d(n);
    for (std::size_t i = 0; i < n; ++i) {
        c[(i + delay) % n] = re[i];
        d[(i + delay) % n] = im[i];
    }
    split(a, b);
    split(c, d);
    for (std::size_t j = 0; j < n; ++j) {
        const double angle =
            -2.0 * M_PI * static_cast<double>(j * delay % n) / static_cast<double>(n);
        EXPECT_NEAR(c[j], a[j] * std::cos(angle) - b[j] * std::sin(angle), 2e-16);
        EXPECT_NEAR(d[j], a[j] * std::sin(angle) + b[j] * std::cos(angle), 2e-16);
    }
}

TEST(conversions, time_domain_and_frequency_domain_undo_each_other) {
    support::random_numbers random(45);
    double table[256];
    for (int n : {2, 64, 1024}) {
        create_lookup(table, n, 1);
        const vector re = noise(random, static_cast<std::size_t>(n)), im = noise(random, re.size());
        vector a = re, b = im;
        Calculate_Time_Domain(n, a.data(), b.data(), table);
        Calculate_Frequency_Domain(n, a.data(), b.data(), table);
        for (std::size_t i = 0; i < re.size(); ++i) {
            EXPECT_NEAR(a[i], re[i], 2e-14);
            EXPECT_NEAR(b[i], im[i], 2e-14);
        }
    }
}

TEST(truncation, at_the_full_length_changes_nothing_and_at_zero_leaves_nothing) {
    support::random_numbers random(46);
    const int n = 256;
    double table[256];
    create_lookup(table, n, 1);
    const vector re = noise(random, 256), im = noise(random, 256);
    for (int trunc : {n, n + 1, 100 * n}) {
        vector a = re, b = im;
        Truncate_Spectrum(n, trunc, a.data(), b.data(), table);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_NEAR(a[i], re[i], 1e-13);
            EXPECT_NEAR(b[i], im[i], 1e-13);
        }
    }
    vector a = re, b = im;
    Truncate_Spectrum(n, 0, a.data(), b.data(), table);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(a[i], 0.0);
        EXPECT_EQ(b[i], 0.0);
    }
}

TEST(truncation, is_a_projection_in_the_time_domain) {
    support::random_numbers random(47);
    const int n = 128;
    double table[256];
    create_lookup(table, n, 1);
    vector a = noise(random, 128), b = noise(random, 128);
    Truncate_Spectrum(n, 40, a.data(), b.data(), table);
    vector c = a, d = b;
    Truncate_Spectrum(n, 40, c.data(), d.data(), table);
    for (std::size_t i = 0; i < 128; ++i) {
        EXPECT_NEAR(a[i], c[i], 1e-13);
        EXPECT_NEAR(b[i], d[i], 1e-13);
    }
}

TEST(shift, by_whole_points_moves_a_line_down_and_back) {
    const int n = 64;
    double table[256];
    create_lookup(table, n, 1);
    vector re(64), im(64), a(64), b(64), c(64), d(64);
    re[20] = 3.0;
    im[20] = -1.0;
    Shift_Original(n, re.data(), im.data(), 6.0, a.data(), b.data(), table);
    for (std::size_t i = 0; i < 64; ++i) {
        EXPECT_NEAR(a[i], i == 14 ? 3.0 : 0.0, 1e-13) << i;
        EXPECT_NEAR(b[i], i == 14 ? -1.0 : 0.0, 1e-13) << i;
    }
    Shift_Original(n, a.data(), b.data(), -6.0, c.data(), d.data(), table);
    for (std::size_t i = 0; i < 64; ++i) {
        EXPECT_NEAR(c[i], re[i], 1e-13);
        EXPECT_NEAR(d[i], im[i], 1e-13);
    }
}

TEST(correlation, is_largest_at_the_offset_between_two_peaks) {
    const int n = 64;
    vector a(64), b(64), out(64);
    a[30] = 2.0;
    a[31] = 1.0;
    b[25] = 2.0;
    b[26] = 1.0;
    Convolution(n, -8, 7, a.data(), b.data(), out.data());
    int at = -1;
    double top = 0.0;
    Max_Vector(n, out.data(), at, top);
    EXPECT_EQ(n / 2 - at, 5); // a stands five points above b
    EXPECT_DOUBLE_EQ(top, 5.0);
}
