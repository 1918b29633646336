// SPDX-License-Identifier: BSD-3-Clause
#include "engine/parameter_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using engine::entry;
using engine::line_type;
using engine::link;
using engine::parameter_map;

static const double infinity = std::numeric_limits<double>::infinity();

static entry voigt(double area, double frequency, double g, double phase, double L) {
    entry e;
    e.type = line_type::voigt;
    const double values[] = {area, frequency, g, phase, L};
    for (std::size_t q = 0; q < 5; ++q) {
        e.of[q].start = values[q];
        e.of[q].how = link::free;
    }
    return e;
}

static void tie(entry &e, engine::quantity q, int source, double factor, double offset) {
    e.of[q].how = link::tied;
    e.of[q].source = source;
    e.of[q].factor = factor;
    e.of[q].offset = offset;
}

static std::string refusal(const std::vector<entry> &entries, int at) {
    const auto map = parameter_map::make(entries);
    if (map) return "";
    EXPECT_EQ(map.why().entry, at);
    return map.why().reason;
}

TEST(parameter_map, free_parameters_get_columns_in_order_and_fixed_ones_none) {
    std::vector<entry> entries = {voigt(3, 10, 2, 45, 1), voigt(1, 20, 1, 0, 4)};
    entries[0].of[engine::phase].how = link::fixed;
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->columns(), 9);
    EXPECT_EQ(map->of(0, engine::lorentz_width).column, 3);
    EXPECT_EQ(map->of(1, engine::area).column, 4);
    const std::vector<double> x = map->starts();
    EXPECT_EQ(map->value(0, engine::phase, x), 45.0);
    EXPECT_EQ(map->value(1, engine::lorentz_width, x), 4.0);
}

TEST(parameter_map, frequencies_stay_near_the_spectrum_or_their_start) {
    std::vector<entry> entries;
    for (const double at : {10.0, -300.0, 1e300, 5.0, 64.0})
        entries.push_back(voigt(1, at, 1, 0, 1));
    entries[3].of[engine::frequency].lower = -20.0;
    entries[3].of[engine::frequency].upper = 90.0;
    entries[4].of[engine::frequency].lower = 5000.0;
    auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    map->keep_frequencies_near(64);
    const double want[][2] = {{-64, 128}, {-364, 128}, {-64, 1e300}, {-20, 90}, {5000, 5064}};
    for (int k = 0; k < 5; ++k) {
        const engine::column &c = map->at(map->of(k, engine::frequency).column);
        EXPECT_EQ(c.lower, want[k][0]) << k;
        EXPECT_EQ(c.upper, want[k][1]) << k;
        EXPECT_TRUE(c.lower <= c.start && c.start <= c.upper) << k;
        EXPECT_EQ(map->at(map->of(k, engine::phase).column).upper,
                  std::numeric_limits<double>::infinity());
    }
}

TEST(parameter_map, a_gaussian_width_moves_as_its_square) {
    const auto map = parameter_map::make({voigt(1, 2, 3, 0, 1)});
    ASSERT_TRUE(map);
    const int c = map->of(0, engine::gauss_width).column;
    std::vector<double> x = map->starts();
    EXPECT_EQ(x[static_cast<std::size_t>(c)], 9.0);
    EXPECT_EQ(map->value(0, engine::gauss_width, x), 3.0);
    EXPECT_DOUBLE_EQ(map->slope(c, x), 1.0 / 6.0); // d sqrt(x)/dx
    x[static_cast<std::size_t>(c)] = 2.25;
    EXPECT_EQ(map->value(0, engine::gauss_width, x), 1.5);
}

TEST(parameter_map, a_gaussian_width_that_another_follows_at_a_distance_moves_as_it_is) {
    std::vector<entry> entries = {voigt(1, 2, 3, 0, 1), voigt(1, 9, 4, 0, 1)};
    tie(entries[1], engine::gauss_width, 0, 1.0, 1.0);
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    const std::vector<double> x = map->starts();
    const int c = map->of(0, engine::gauss_width).column;
    EXPECT_FALSE(map->at(c).squared);
    EXPECT_EQ(x[static_cast<std::size_t>(c)], 3.0);
    EXPECT_EQ(map->value(1, engine::gauss_width, x), 4.0);
}

TEST(parameter_map, a_gaussian_width_moves_as_its_square_unless_one_follows_at_a_distance) {
    for (const double distance : {-1.0, -1e-9, 0.0, 1e-9, 1.0})
        for (const double factor : {0.5, 1.0}) {
            std::vector<entry> entries = {voigt(1, 2, 3, 0, 1), voigt(1, 9, 4, 0, 1)};
            tie(entries[1], engine::gauss_width, 0, factor, distance);
            const auto map = parameter_map::make(entries);
            ASSERT_TRUE(map) << distance;
            EXPECT_EQ(map->at(map->of(0, engine::gauss_width).column).squared, distance == 0.0)
                << distance << ' ' << factor;
            EXPECT_NEAR(map->value(1, engine::gauss_width, map->starts()), factor * 3.0 + distance,
                        1e-15);
        }
}

TEST(parameter_map, a_gaussian_width_of_the_other_sign_is_the_same_line) {
    const auto map = parameter_map::make({voigt(1, 2, -3, 0, 1)});
    ASSERT_TRUE(map);
    EXPECT_EQ(map->value(0, engine::gauss_width, map->starts()), 3.0);
}

TEST(parameter_map, chains_of_links_end_at_the_free_parameter) {
    std::vector<entry> entries = {voigt(4, 10, 1, 0, 1), voigt(1, 0, 1, 0, 1),
                                  voigt(1, 0, 1, 0, 1)};
    tie(entries[2], engine::frequency, 1, 2.0, 5.0);
    tie(entries[1], engine::frequency, 0, 3.0, -1.0);
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    const std::vector<double> x = map->starts();
    EXPECT_EQ(map->value(1, engine::frequency, x), 29.0); // 3 x 10 - 1
    EXPECT_EQ(map->value(2, engine::frequency, x), 63.0); // 2 x 29 + 5
    EXPECT_EQ(map->of(2, engine::frequency).factor, 6.0);
    EXPECT_EQ(map->of(2, engine::frequency).column, map->of(0, engine::frequency).column);
}

TEST(parameter_map, what_follows_a_fixed_parameter_is_fixed) {
    std::vector<entry> entries = {voigt(4, 10, 1, 0, 1), voigt(1, 0, 1, 0, 1)};
    entries[0].of[engine::area].how = link::fixed;
    tie(entries[1], engine::area, 0, 0.5, 0.0);
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->of(1, engine::area).column, -1);
    EXPECT_EQ(map->value(1, engine::area, map->starts()), 2.0);
}

TEST(parameter_map, widths_that_a_line_type_has_not_are_zero) {
    entry e = voigt(1, 2, 3, 0, 4);
    e.type = line_type::lorentzian;
    const auto lorentzian = parameter_map::make({e});
    ASSERT_TRUE(lorentzian);
    EXPECT_EQ(lorentzian->columns(), 4);
    EXPECT_EQ(lorentzian->value(0, engine::gauss_width, lorentzian->starts()), 0.0);
    e.type = line_type::gaussian;
    const auto gaussian = parameter_map::make({e});
    ASSERT_TRUE(gaussian);
    EXPECT_EQ(gaussian->value(0, engine::lorentz_width, gaussian->starts()), 0.0);
}

TEST(parameter_map, windows_of_followers_narrow_that_of_the_free_one) {
    std::vector<entry> entries = {voigt(4, 10, 1, 0, 1), voigt(1, 12, 1, 0, 1)};
    entries[0].of[engine::frequency].lower = 0.0;
    entries[0].of[engine::frequency].upper = 100.0;
    tie(entries[1], engine::frequency, 0, -2.0, 30.0);
    entries[1].of[engine::frequency].lower = 4.0;  // -2 x + 30 >= 4: x <= 13
    entries[1].of[engine::frequency].upper = 18.0; // x >= 6
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    const engine::column &c = map->at(map->of(0, engine::frequency).column);
    EXPECT_EQ(c.lower, 6.0);
    EXPECT_EQ(c.upper, 13.0);
    EXPECT_EQ(map->inside(map->of(0, engine::frequency).column, 99.0), 13.0);
    EXPECT_EQ(map->inside(map->of(0, engine::frequency).column, -1.0), 6.0);
}

TEST(parameter_map, a_follower_that_would_be_narrower_than_nothing_holds_its_source) {
    std::vector<entry> entries = {voigt(4, 10, 1, 0, 5), voigt(1, 12, 1, 0, 1)};
    tie(entries[1], engine::lorentz_width, 0, 1.0, -4.0);
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->at(map->of(0, engine::lorentz_width).column).lower, 4.0);
}

TEST(parameter_map, starts_outside_a_window_are_moved_to_its_edge) {
    entry e = voigt(1, 2, 5, 0, -3);
    e.of[engine::gauss_width].lower = 1.0;
    e.of[engine::gauss_width].upper = 2.0;
    e.of[engine::area].lower = 7.0;
    const auto map = parameter_map::make({e});
    ASSERT_TRUE(map);
    const std::vector<double> x = map->starts();
    EXPECT_EQ(map->value(0, engine::gauss_width, x), 2.0);
    EXPECT_EQ(map->value(0, engine::area, x), 7.0);
    EXPECT_EQ(map->value(0, engine::lorentz_width, x), 0.0); // widths are never negative
}

TEST(parameter_map, columns_of_values_and_back) {
    std::vector<entry> entries = {voigt(3, 10, 2, 45, 1)};
    const auto map = parameter_map::make(entries);
    ASSERT_TRUE(map);
    const std::array<double, 5> values = {-2.0, 11.5, -1.5, 400.0, 0.25};
    const std::vector<double> x = map->columns_of({&values, 1});
    EXPECT_EQ(map->value(0, engine::area, x), -2.0);
    EXPECT_EQ(map->value(0, engine::gauss_width, x), 1.5);
    EXPECT_EQ(map->value(0, engine::phase, x), 400.0);
}

TEST(parameter_map, refusals_name_entry_and_parameter) {
    const entry good = voigt(1, 2, 3, 0, 1);
    entry bad = good;
    bad.of[engine::area].start = std::nan("");
    EXPECT_EQ(refusal({good, bad}, 1), "area starts at a value that is not finite");
    bad = good;
    bad.of[engine::phase].start = infinity;
    EXPECT_EQ(refusal({bad}, 0), "phase starts at a value that is not finite");
    bad = good;
    bad.of[engine::frequency].lower = 3.0;
    bad.of[engine::frequency].upper = 2.0;
    EXPECT_EQ(refusal({bad}, 0), "frequency has an empty window");
    bad.of[engine::frequency].lower = std::nan("");
    EXPECT_EQ(refusal({bad}, 0), "frequency has an empty window");
    for (const int source : {-1, 2, 1000000}) {
        bad = good;
        tie(bad, engine::area, source, 1.0, 0.0);
        EXPECT_EQ(refusal({good, bad}, 1), "area follows an entry that is not there") << source;
    }
    bad = good;
    tie(bad, engine::area, 1, 1.0, 0.0);
    EXPECT_EQ(refusal({good, bad}, 1), "area follows itself");
    entry other = good;
    tie(other, engine::area, 1, 1.0, 0.0);
    tie(bad, engine::area, 0, 1.0, 0.0);
    EXPECT_EQ(refusal({other, bad}, 0), "area follows itself in a circle");
    tie(bad, engine::area, 0, infinity, 0.0);
    EXPECT_EQ(refusal({good, bad}, 1),
              "area follows at a distance or with a factor that is not finite");
    entry line = good;
    line.type = line_type::lorentzian;
    bad = good;
    tie(bad, engine::gauss_width, 0, 1.0, 0.0);
    EXPECT_EQ(refusal({line, bad}, 1),
              "Gaussian width follows a width that the other line type has not");
    bad = good;
    tie(bad, engine::area, 0, 1.0, 0.0);
    bad.of[engine::area].lower = 8.0;
    entry narrow = good;
    narrow.of[engine::area].upper = 7.0;
    EXPECT_EQ(refusal({narrow, bad}, 0),
              "area has a window that leaves nothing to those that follow it");
}

TEST(parameter_map, windows_that_leave_no_width_of_zero_or_more_are_refused) {
    for (const engine::quantity q : {engine::gauss_width, engine::lorentz_width}) {
        const std::string name = q == engine::gauss_width ? "Gaussian width " : "Lorentzian width ";
        for (const double upper : {-1e300, -1.0, -1e-300}) {
            entry e = voigt(1, 2, 3, 0, 1);
            e.of[q].lower = -infinity;
            e.of[q].upper = upper;
            EXPECT_EQ(refusal({e}, 0), name + "has a window below 0; a width is 0 or more");
            entry follower = e;
            tie(follower, q, 0, 1.0, 0.0);
            EXPECT_EQ(refusal({voigt(1, 2, 3, 0, 1), follower}, 1),
                      name + "has a window below 0; a width is 0 or more");
            e.of[q].how = link::fixed; // whose window says nothing
            EXPECT_TRUE(parameter_map::make({e}));
        }
    }
}

TEST(parameter_map, of_a_window_of_a_width_only_what_is_zero_or_more_counts) {
    for (const engine::quantity q : {engine::gauss_width, engine::lorentz_width})
        for (const double lower : {-infinity, -1e300, -5.0, -1e-300, -0.0})
            for (const double upper : {0.0, 1e-300, 1.0, 5.0, 1e150, infinity})
                for (const double start : {-7.0, -1e-300, 0.0, 0.5, 9.0}) {
                    entry e = voigt(1, 2, 3, 0, 1);
                    e.of[q].start = start;
                    e.of[q].lower = lower;
                    e.of[q].upper = upper;
                    const auto map = parameter_map::make({e});
                    ASSERT_TRUE(map);
                    const engine::column &c = map->at(map->of(0, q).column);
                    EXPECT_EQ(c.lower, 0.0);
                    EXPECT_TRUE(c.lower <= c.start && c.start <= c.upper);
                    const double value = map->value(0, q, map->starts());
                    EXPECT_TRUE(value >= 0.0 && value <= std::max(upper, 0.0) * (1.0 + 1e-15))
                        << lower << ' ' << upper << ' ' << start;
                }
}

// A square of a width overflows above 1e154; the window's edge at infinity stays there.
TEST(parameter_map, starts_stay_in_order_over_the_range_of_a_double) {
    for (const double g : {0.0, 1e-300, 1e-150, 1e-6, 1.0, 1e6, 1e150}) {
        const auto map = parameter_map::make({voigt(1, 2, g, 0, g)});
        ASSERT_TRUE(map);
        for (int c = 0; c < map->columns(); ++c) {
            EXPECT_LE(map->at(c).lower, map->at(c).start);
            EXPECT_LE(map->at(c).start, map->at(c).upper);
            EXPECT_TRUE(std::isfinite(map->at(c).start));
        }
    }
}
