// SPDX-License-Identifier: BSD-3-Clause
#include "files/start/linear_fit.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

using std::complex;
using tools::complex_signal;
using tools::estimated_entry;

namespace {

constexpr double pi = std::numbers::pi;
constexpr double degree = pi / 180.0;
// What the ridge of 1e-9 on the diagonal costs a curve that overlaps others little.
constexpr double close_to = 1e-7;

// Lorentzian lines of width 4 points at these places of 256.
std::vector<complex_signal> lines_at(const std::vector<double> &places) {
    std::vector<complex_signal> curves;
    for (const double at : places) {
        complex_signal &curve = curves.emplace_back(256);
        for (std::size_t i = 0; i < curve.size(); ++i)
            curve[i] = 1.0 / complex<double>(1.0, (static_cast<double>(i) - at) / 2.0);
    }
    return curves;
}

// The sum of these curves with areas and phases [degrees], beside every curve.
complex_signal overlap_of(const std::vector<complex_signal> &curves,
                          const std::vector<double> &areas, const std::vector<double> &phases) {
    complex_signal overlap(curves.size());
    for (std::size_t k = 0; k < curves.size(); ++k)
        for (std::size_t i = 0; i < curves[k].size(); ++i) {
            complex<double> data;
            for (std::size_t l = 0; l < curves.size(); ++l)
                data += std::polar(1.0, phases[l] * degree) * areas[l] * curves[l][i];
            overlap[k] += std::conj(curves[k][i]) * data;
        }
    return overlap;
}

// Entries of their own, areas and phases unknown.
std::vector<estimated_entry> unknown_entries(std::size_t count) {
    std::vector<estimated_entry> entries(count);
    for (std::size_t k = 0; k < count; ++k) entries[k].area_root = entries[k].phase_root = k;
    return entries;
}

std::vector<std::size_t> estimate(const std::vector<complex_signal> &curves,
                                  const std::vector<double> &areas,
                                  const std::vector<double> &phases,
                                  std::vector<estimated_entry> &entries) {
    return tools::estimate_areas(tools::inner_products(curves), overlap_of(curves, areas, phases),
                                 entries);
}

} // namespace

TEST(linear_fit, inner_products_conjugate_the_first_curve) {
    // conj(1) 2 + conj(i) (1 + i) = 3 - i
    const auto products = tools::inner_products({{1.0, {0.0, 1.0}}, {2.0, {1.0, 1.0}}});
    ASSERT_EQ(products.size(), 4U);
    EXPECT_EQ(products[0], complex<double>(2.0, 0.0));
    EXPECT_EQ(products[1], complex<double>(3.0, -1.0));
    EXPECT_EQ(products[2], complex<double>(3.0, 1.0));
    EXPECT_EQ(products[3], complex<double>(6.0, 0.0));
}

TEST(linear_fit, finds_areas_and_phases_of_lines_that_overlap) {
    const auto curves = lines_at({60.0, 66.0, 150.0});
    auto entries = unknown_entries(3);
    EXPECT_TRUE(estimate(curves, {3.0, 0.5, 20.0}, {40.0, -170.0, 90.0}, entries).empty());
    const double areas[] = {3.0, 0.5, 20.0}, phases[] = {40.0, -170.0, 90.0};
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(entries[k].area, areas[k], close_to * 20.0) << k;
        EXPECT_NEAR(entries[k].phase, phases[k], close_to * 180.0) << k;
    }
}

TEST(linear_fit, a_shared_phase_keeps_its_distances) {
    const auto curves = lines_at({60.0, 90.0, 150.0});
    auto entries = unknown_entries(3);
    entries[1].phase_root = entries[2].phase_root = 0;
    entries[1].phase_offset = 30.0;
    entries[2].phase_offset = -75.0;
    EXPECT_TRUE(estimate(curves, {1.0, 2.0, 3.0}, {10.0, 40.0, -65.0}, entries).empty());
    EXPECT_NEAR(entries[0].phase, 10.0, close_to * 180.0);
    EXPECT_NEAR(entries[1].phase, 40.0, close_to * 180.0);
    EXPECT_NEAR(entries[2].phase, -65.0, close_to * 180.0);
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(entries[k].area, static_cast<double>(k + 1), close_to * 3.0) << k;
}

// Of a shared phase the strong line says more: with amplitudes c and energies E it is the argument
// of the sum of c |c| E.
TEST(linear_fit, strong_lines_count_more_for_a_shared_phase) {
    const auto curves = lines_at({40.0, 200.0});
    const double energy[] = {tools::inner_products(curves)[0].real(),
                             tools::inner_products(curves)[3].real()};
    auto entries = unknown_entries(2);
    entries[1].phase_root = 0;
    estimate(curves, {10.0, 1.0}, {0.0, 60.0}, entries);
    const complex<double> sum = 100.0 * energy[0] + std::polar(1.0, 60.0 * degree) * energy[1];
    EXPECT_NEAR(entries[0].phase, std::arg(sum) / degree, 1e-5);
    EXPECT_EQ(entries[1].phase, entries[0].phase);
}

TEST(linear_fit, tied_areas_keep_their_ratio) {
    const auto curves = lines_at({60.0, 90.0});
    auto entries = unknown_entries(2);
    entries[1].area_root = entries[1].phase_root = 0;
    entries[1].area_factor = 0.5;
    EXPECT_TRUE(estimate(curves, {8.0, 4.0}, {-20.0, -20.0}, entries).empty());
    EXPECT_NEAR(entries[0].area, 8.0, close_to * 8.0);
    EXPECT_EQ(entries[1].area, 0.5 * entries[0].area);
    EXPECT_NEAR(entries[0].phase, -20.0, close_to * 180.0);
}

TEST(linear_fit, what_is_known_is_taken_out_and_stays) {
    const auto curves = lines_at({60.0, 63.0});
    auto entries = unknown_entries(2);
    entries[0].area_known = entries[0].phase_known = true;
    entries[0].area = 5.0;
    entries[0].phase = 25.0;
    EXPECT_TRUE(estimate(curves, {5.0, 2.0}, {25.0, 70.0}, entries).empty());
    EXPECT_EQ(entries[0].area, 5.0);
    EXPECT_EQ(entries[0].phase, 25.0);
    EXPECT_NEAR(entries[1].area, 2.0, close_to * 5.0);
    EXPECT_NEAR(entries[1].phase, 70.0, 1e-5);
}

TEST(linear_fit, a_known_negative_area_turns_the_phase_by_half) {
    const auto curves = lines_at({60.0});
    auto entries = unknown_entries(1);
    entries[0].area_known = true;
    entries[0].area = -5.0;
    estimate(curves, {-5.0}, {35.0}, entries);
    EXPECT_EQ(entries[0].area, -5.0);
    EXPECT_NEAR(entries[0].phase, 35.0, 1e-5);
}

TEST(linear_fit, inverted_lines_are_found_where_the_phase_is_known) {
    const auto curves = lines_at({60.0, 150.0});
    auto entries = unknown_entries(2);
    for (estimated_entry &e : entries) {
        e.phase_known = true;
        e.phase = -90.0;
    }
    EXPECT_TRUE(estimate(curves, {-3.0, 2.0}, {-90.0, -90.0}, entries).empty());
    EXPECT_NEAR(entries[0].area, -3.0, close_to * 3.0);
    EXPECT_NEAR(entries[1].area, 2.0, close_to * 3.0);
}

TEST(linear_fit, a_line_against_the_shared_phase_begins_at_a_hundredth_of_the_largest) {
    const auto curves = lines_at({40.0, 120.0, 200.0});
    auto entries = unknown_entries(3);
    for (estimated_entry &e : entries) e.phase_root = 0;
    EXPECT_EQ(estimate(curves, {10.0, -1.0, 4.0}, {0.0, 0.0, 0.0}, entries),
              std::vector<std::size_t>{1});
    EXPECT_NEAR(entries[0].phase, 0.0, 2.0); // the inverted line counts by the square of its part
    EXPECT_NEAR(entries[1].area, 0.01 * entries[0].area, 1e-12);
    EXPECT_NEAR(entries[2].area, 4.0, 0.1);
}

TEST(linear_fit, equal_curves_share_what_there_is) {
    const auto curves = lines_at({60.0, 60.0});
    auto entries = unknown_entries(2);
    for (estimated_entry &e : entries) e.phase_known = true;
    estimate(curves, {4.0, 0.0}, {0.0, 0.0}, entries);
    EXPECT_NEAR(entries[0].area, 2.0, 1e-5);
    EXPECT_NEAR(entries[1].area, 2.0, 1e-5);
}

TEST(linear_fit, a_curve_of_zeros_gets_nothing_and_takes_nothing) {
    auto curves = lines_at({60.0, 150.0});
    for (complex<double> &value : curves[1]) value = 0.0;
    auto entries = unknown_entries(2);
    for (estimated_entry &e : entries) e.phase_known = true;
    estimate(curves, {4.0, 1.0}, {0.0, 0.0}, entries);
    EXPECT_NEAR(entries[0].area, 4.0, close_to * 4.0);
    EXPECT_EQ(entries[1].area, 0.0);
}

TEST(linear_fit, a_spectrum_of_zeros_leaves_areas_to_start_from) {
    const auto curves = lines_at({60.0, 150.0});
    auto entries = unknown_entries(2);
    entries[1].area_factor = 1.0;
    EXPECT_EQ(estimate(curves, {0.0, 0.0}, {0.0, 0.0}, entries), (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(entries[0].area, 1.0);
    EXPECT_EQ(entries[1].area, 1.0);
}
