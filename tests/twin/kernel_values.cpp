// SPDX-License-Identifier: BSD-3-Clause
// kernel_values.cpp -- prints what every vector kernel gives, to the last bit
//
// Built once against each build of the core (picked at load time, plain, AVX2 without picking); the
// test compares the outputs byte by byte. Values are written as hexadecimal fractions, which
// lose nothing. Not-a-numbers are written alike: which of two operands passes on its bits is the
// compiler's choice.
#include "kernel/moments.h"
#include "kernel/sums.h"
#include "kernel/transform_plan.h"

#include "errors/error_bounds.h"
#include "errors/matrix_lib.h"
#include "model/chi_square.h"
#include "model/gradient.h"
#include "model/l_shapes.h"
#include "model/objective.h"
#include "model/vector_lib.h"
#include "run/state.h"
#include "support/random_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

static void put(double v) {
    if (std::isnan(v))
        std::puts("nan");
    else
        std::printf("%a\n", v);
}
static void put(const std::string &what, const std::vector<double> &values) {
    std::printf("%s %zu\n", what.c_str(), values.size());
    for (const double v : values) put(v);
}

static constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
static constexpr double inf_value = std::numeric_limits<double>::infinity();
static const int lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 17, 1023, 4096};

static std::vector<double> noise(support::random_numbers &random, int n) {
    std::vector<double> v(static_cast<std::size_t>(n));
    for (double &x : v) x = random.normal();
    return v;
}

static void transforms(support::random_numbers &random) {
    for (int n = 1; n <= 8192; n *= 2) {
        for (const double special : {0.0, nan_value, inf_value}) {
            for (const bool centred : {false, true}) {
                std::vector<double> re = noise(random, n), im = noise(random, n);
                if (special != 0.0) re[re.size() / 3] = special;
                std::vector<double> work_re(re.size()), work_im(re.size());
                const kernel::transform_plan plan(n);
                const kernel::split_vector y = plan.transform(re.data(), im.data(), work_re.data(),
                                                              work_im.data(), 1.0 / n, centred);
                put("transform re", {y.re, y.re + n});
                put("transform im", {y.im, y.im + n});
            }
        }
    }
}

static void curves(support::random_numbers &random) {
    for (int n = 1; n <= 4096; n *= 4) {
        for (int shape = 0; shape < 5; ++shape) {
            const std::size_t room = static_cast<std::size_t>(n);
            std::vector<double> re(room), im(room), none(room);
            const std::vector<int> no_lsf(2);
            const double g = shape % 2 == 1 ? random.uniform(0.1, 9.0) : 0.0;
            const double L = shape > 1 ? random.uniform(-0.5, 9.0) : 0.0;
            const int truncation = shape == 4 ? n / 2 : n;
            Calculate_ifft_VoigtCurve(1, n, truncation, 0, no_lsf.data(), 0, random.normal(),
                                      random.uniform(-n, 2.0 * n), g, random.uniform(-180, 180), L,
                                      shape == 3 ? 720.0 : 0.0, re.data(), im.data(), none.data(),
                                      none.data(), none.data(), none.data(), 1.0, lookup,
                                      shape == 3 ? 4 : 0);
            put("curve re", re);
            put("curve im", im);
        }
    }
}

static double chi_square(int n, int mode, int weighting, std::vector<std::vector<double>> &v,
                         std::size_t offset) {
    double none[1] = {};
    const int no_lsf[2] = {};
    const auto at = [&](std::size_t q) { return v[q].data() + offset; };
    return fnc(n, 0, n, 0, none, none, nullptr, at(0), at(1), at(2), at(3), at(4), at(5), none,
               none, none, none, 1.0, 0.0, 0, none, 0, mode, weighting, 0, 0, 0, no_lsf, nullptr,
               0);
}

static void chi_squares(support::random_numbers &random) {
    for (const int n : lengths) {
        for (int mode = 0; mode <= 4; ++mode) {
            for (const int weighting : {1, 7}) {
                const std::size_t offset = static_cast<std::size_t>((n + mode) % 4); // unaligned
                std::vector<std::vector<double>> v;
                for (int q = 0; q < 6; ++q) v.push_back(noise(random, n + 4));
                for (std::size_t i = 0; i < v[4].size(); ++i) {
                    v[4][i] = random.integer(0, 2) > 0 ? std::fabs(v[4][i]) : 0.0;
                    v[5][i] = v[4][i];
                    if (v[4][i] == 0.0 && i % 5 == 0) v[0][i] = v[3][i] = nan_value;
                    if (v[4][i] == 0.0 && i % 7 == 0) v[1][i] = inf_value;
                }
                put(chi_square(n, mode, weighting, v, offset));
                if (n > 2) v[2][offset + 1] = inf_value; // where it counts it must show
                put(chi_square(n, mode, weighting, v, offset));
            }
        }
    }
}

static void vectors(support::random_numbers &random) {
    for (const int n : lengths) {
        const std::vector<double> a = noise(random, n + 1), b = noise(random, n + 1);
        std::vector<double> out(a.size());
        const double *const unaligned = a.data() + 1;
        Sum_Vector(n, out.data(), unaligned, b.data());
        put("sum", out);
        Dif_Vector(n, out.data(), unaligned, b.data());
        put("difference", out);
        Multiply_Vector(n, out.data(), unaligned, b.data());
        put("product", out);
        Absolute_Vector(n, unaligned, b.data(), out.data());
        put("magnitude", out);
        double product = 0.0;
        Calculate_In_Product(n, unaligned, b.data(), product);
        put(product);
    }
}

static void sums(support::random_numbers &random) {
    for (const int n : {8, 16, 24, 504, 512, 520, 1024}) {
        const std::vector<double> v = noise(random, 16 * n);
        const double *const row = v.data();
        put(kernel::dot(n - 3, row, row + n));
        for (const int rows : {1, 3, 4, 7, 12}) {
            std::vector<double> padded(static_cast<std::size_t>(kernel::padded_rows(rows) * n));
            std::copy_n(row, rows * n, padded.data());
            std::vector<double> products(static_cast<std::size_t>(rows * rows), 0.25);
            kernel::add_products(rows, n, padded.data(), products.data());
            put("products", products);
        }
        for (int count = 1; count <= kernel::most_moments; ++count) {
            std::vector<double> moments(10, 0.5);
            kernel::add_moments(n, count, row, row + n, row + 2 * n, row + 3 * n, row + 4 * n,
                                moments.data(), moments.data() + 5);
            put("moments", moments);
        }
    }
}

static void models(support::random_numbers &random) {
    for (int k = 0; k < 60; ++k) {
        support::make_random_model(random, support::random_choice(random));
        put(chi_square_of(par));
        put("model re", {yre, yre + ap});
        put("model im", {yim, yim + ap});
        std::vector<double> slope(static_cast<std::size_t>(npar + 2 * lsf_coefs));
        dfnc(chi_square_of(par), par, slope.data());
        put("gradient", slope);
        compute_error_bounds();
        put("bounds", {errpar, errpar + npar});
    }
}

static void inverses(support::random_numbers &random) {
    for (const int n : {1, 2, 3, 4, 5, 7, 8, 9, 31, 48}) {
        std::vector<double> a = noise(random, n * n);
        for (int i = 0; i < n; ++i) a[static_cast<std::size_t>(i * (n + 1))] += n;
        gaussj(a.data(), n);
        put("inverse", a);
    }
}

int main() {
    support::random_numbers random(20261121);
    transforms(random);
    curves(random);
    chi_squares(random);
    vectors(random);
    models(random);
    inverses(random);
    sums(random);
}
