// SPDX-License-Identifier: BSD-3-Clause
// In which order the fits of a batch hand on their results, and which of them have one to hand on.
#include "varokel-batch/spectrum_blocks.h"
#include "varokel-batch/start_choice.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

using tools::fit_record;
using tools::fit_state;
using tools::plan_axis;
using tools::planned_spectrum;

namespace {

plan_axis axis_of(long long size, bool spatial) {
    plan_axis axis;
    axis.size = size;
    axis.spatial = spatial;
    return axis;
}

std::vector<planned_spectrum> all_of(const std::vector<plan_axis> &axes) {
    std::vector<planned_spectrum> all(1);
    all[0].at.assign(axes.size(), 0);
    for (std::size_t a = 0; a < axes.size(); ++a) {
        std::vector<planned_spectrum> more;
        for (long long place = 0; place < axes[a].size; ++place)
            for (planned_spectrum each : all) {
                each.at[a] = place;
                more.push_back(each);
            }
        all = std::move(more);
    }
    for (std::size_t s = 0; s < all.size(); ++s) all[s].number = static_cast<long long>(s);
    return all;
}

// Two lines, of which the first is free, the second tied to it by its area.
tools::start_file two_entries() {
    tools::start_file start;
    start.entries.resize(2);
    start.entries[1].parameters[tools::area_of].link = 1;
    start.entries[1].parameters[tools::phase_of].link = 2; // fixed
    for (tools::start_entry &entry : start.entries)
        for (tools::start_parameter &p : entry.parameters) p.value = 1.0;
    return start;
}

fit_record good_fit() {
    fit_record record;
    record.state = fit_state::fitted;
    record.figures[0] = 1.0;
    record.values.assign(10, 4.0);
    record.errors.assign(10, 0.1);
    return record;
}

} // namespace

TEST(arrange_blocks, without_neighbours_each_spectrum_is_a_block) {
    const std::vector<plan_axis> axes = {axis_of(5, true), axis_of(3, true)};
    auto spectra = all_of(axes);
    EXPECT_EQ(tools::arrange_blocks(spectra, axes, false), 15);
    for (std::size_t s = 0; s < spectra.size(); ++s) {
        EXPECT_EQ(spectra[s].number, static_cast<long long>(s));
        EXPECT_EQ(spectra[s].block, static_cast<long long>(s));
        EXPECT_EQ(spectra[s].wave, 0);
    }
}

TEST(arrange_blocks, a_grid_is_cut_into_tiles_of_eight_with_rings_around_the_middle) {
    const std::vector<plan_axis> axes = {axis_of(20, true), axis_of(9, true), axis_of(2, true)};
    auto spectra = all_of(axes);
    EXPECT_EQ(tools::arrange_blocks(spectra, axes, true), 3 * 2 * 2);
    std::map<long long, std::vector<const planned_spectrum *>> blocks;
    long long block = 0, wave = 0, number = -1;
    for (const planned_spectrum &each : spectra) {
        EXPECT_TRUE(each.block == block || each.block == block + 1);
        if (each.block != block) {
            wave = 0;
            number = -1;
        }
        EXPECT_GE(each.wave, wave);
        if (each.wave == wave) {
            EXPECT_GT(each.number, number);
        }
        block = each.block;
        wave = each.wave;
        number = each.number;
        blocks[block].push_back(&each);
        const long long x = each.at[0] % 8 - 4, y = each.at[1] % 8 - 4;
        EXPECT_EQ(each.wave, std::max(std::llabs(x), std::llabs(y)));
    }
    ASSERT_EQ(blocks.size(), 12U);
    for (const auto &[which, members] : blocks)
        for (const planned_spectrum *each : members) {
            EXPECT_EQ(each->at[0] / 8, members[0]->at[0] / 8) << which;
            EXPECT_EQ(each->at[1] / 8, members[0]->at[1] / 8) << which;
            EXPECT_EQ(each->at[2], members[0]->at[2]) << which; // slices stand alone
        }
}

TEST(arrange_blocks, a_series_is_cut_into_stretches_of_sixteen) {
    const std::vector<plan_axis> axes = {axis_of(1, true), axis_of(40, false)};
    auto spectra = all_of(axes);
    EXPECT_EQ(tools::arrange_blocks(spectra, axes, true), 3);
    for (const planned_spectrum &each : spectra) {
        EXPECT_EQ(each.block, each.at[1] / 16);
        EXPECT_EQ(each.wave, std::llabs(each.at[1] % 16 - 8));
    }
    std::vector<planned_spectrum> none;
    EXPECT_EQ(tools::arrange_blocks(none, axes, true), 0);
}

TEST(distance_between, is_the_sum_of_squares_along_the_axes) {
    planned_spectrum a, b;
    a.at = {1, 5, 2};
    b.at = {4, 1, 2};
    EXPECT_EQ(tools::distance_between(a, b), 9 + 16);
    EXPECT_EQ(tools::distance_between(b, a), 25);
}

TEST(is_good_neighbour, asks_for_a_finite_fit_with_a_residual_of_up_to_twice_the_noise) {
    const tools::start_file start = two_entries();
    fit_record record = good_fit();
    EXPECT_TRUE(tools::is_good_neighbour(start, record));
    for (const double good : {1e-300, 2.0}) {
        record.figures[0] = good;
        EXPECT_TRUE(tools::is_good_neighbour(start, record)) << good;
    }
    for (const double bad : {0.0, -1.0, 2.0000001, std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity()}) {
        record.figures[0] = bad;
        EXPECT_FALSE(tools::is_good_neighbour(start, record)) << bad;
    }
    record = good_fit();
    record.values[7] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(tools::is_good_neighbour(start, record));
    record = good_fit();
    record.state = fit_state::failed;
    EXPECT_FALSE(tools::is_good_neighbour(start, record));
}

// An area counts as known up to the percentage that the report marks red, one standard deviation.
TEST(is_good_neighbour, asks_for_half_of_the_free_areas) {
    tools::start_file start = two_entries();
    fit_record record = good_fit();
    record.errors[0] = 2.0 * tools::red_percent / 100.0 * 4.0;
    EXPECT_TRUE(tools::is_good_neighbour(start, record));
    record.errors[0] *= 1.001;
    EXPECT_FALSE(tools::is_good_neighbour(start, record)); // the tied area says nothing of its own
    start.entries[1].parameters[tools::area_of].link = 0;
    EXPECT_TRUE(tools::is_good_neighbour(start, record)); // one of two
    record.errors.assign(10, 0.0);
    record.values[0] = 0.0;
    EXPECT_TRUE(
        tools::is_good_neighbour(start, record)); // without bounds nothing speaks against it
}

TEST(is_better, a_failed_fit_loses_then_the_larger_residual_does) {
    fit_record one = good_fit(), other = good_fit();
    other.figures[0] = 1.5;
    EXPECT_TRUE(tools::is_better(one, other));
    EXPECT_FALSE(tools::is_better(other, one));
    other.figures[0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(tools::is_better(one, other));
    EXPECT_FALSE(tools::is_better(other, one));
    other = good_fit();
    other.state = fit_state::failed;
    other.figures[0] = 0.1;
    EXPECT_TRUE(tools::is_better(one, other));
    EXPECT_FALSE(tools::is_better(other, one));
}

TEST(start_from, takes_the_values_of_a_neighbour_but_what_is_fixed) {
    const tools::start_file start = two_entries();
    fit_record record = good_fit();
    tools::start_file own = tools::start_from(start, record);
    EXPECT_EQ(own.entries[0].parameters[tools::area_of].value, 4.0);
    EXPECT_EQ(own.entries[1].parameters[tools::area_of].value, 4.0); // tied: by its ratio
    EXPECT_EQ(own.entries[1].parameters[tools::phase_of].value, 1.0);
    EXPECT_EQ(own.entries[1].parameters[tools::lorentz_of].value, 4.0);
    record.values[0] = 0.0; // an area of 0 leaves no ratio to it
    record.values[1] = 0.0;
    own = tools::start_from(start, record);
    EXPECT_EQ(own.entries[0].parameters[tools::area_of].value, 1.0);
    EXPECT_EQ(own.entries[0].parameters[tools::frequency_of].value, 0.0);
}
