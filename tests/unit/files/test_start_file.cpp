// SPDX-License-Identifier: BSD-3-Clause
// What of a start file is refused before a fit, on both sides of each limit.
#include "files/start/start_file.h"

#include "files/base/tool_error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using tools::fit_method;
using tools::start_file;

namespace {

tools::start_entry lorentzian(double area, double frequency) {
    tools::start_entry entry;
    entry.parameters[tools::area_of].value = area;
    entry.parameters[tools::frequency_of].value = frequency;
    entry.parameters[tools::lorentz_of].value = 3.0;
    return entry;
}

tools::start_step gradient_step(int points) {
    tools::start_step step;
    step.points = points;
    step.switches[tools::fit_areas] = 1;
    step.intervals = {{0, points - 1}};
    return step;
}

// Three lines of one type and a pattern, free, in one step of gradients.
start_file good() {
    start_file start;
    start.points = 512;
    start.noise_first = 400;
    start.noise_stop = 500;
    start.lines = 3;
    start.patterns = 1;
    start.entries = {lorentzian(10.0, 100.0), lorentzian(20.0, 200.0), lorentzian(30.0, 300.0),
                     lorentzian(1.0, 0.0)};
    start.entries[0].name = "PCr";
    start.entries[3].type = tools::pattern_entry;
    start.entries[3].pattern_file = "macro.pat";
    start.steps = {gradient_step(512)};
    return start;
}

using change = std::function<void(start_file &)>;

// What is said of the good file after a change, empty when nothing.
std::string refusal_of(const change &apply, fit_method by = fit_method::classic) {
    start_file start = good();
    apply(start);
    try {
        tools::refuse_what_fails(start, "a.par", by);
    } catch (const tools::tool_error &error) {
        EXPECT_EQ(error.status(), tools::bad_input);
        return error.what();
    }
    return "";
}

void expect_refused(const std::string &text, const change &apply) {
    const std::string said = refusal_of(apply);
    EXPECT_EQ(said.find("a.par: " + text), 0u) << "said: " << said << "\nnot: " << text;
}

void expect_taken(const change &apply, fit_method by = fit_method::classic) {
    EXPECT_EQ(refusal_of(apply, by), "");
}

tools::start_parameter &of(start_file &start, std::size_t entry, tools::quantity quantity) {
    return start.entries[entry].parameters[quantity];
}

} // namespace

TEST(start_file, what_can_be_fitted_is_taken) {
    for (const fit_method by : {fit_method::classic, fit_method::exact, fit_method::both})
        expect_taken([](start_file &) {}, by);
}

TEST(start_file, the_search_has_limits_that_the_engine_has_not) {
    const auto lines = [](int count) {
        return [=](start_file &start) {
            start.lines = count;
            start.patterns = 0;
            start.entries.assign(static_cast<std::size_t>(count), lorentzian(1.0, 9.0));
        };
    };
    const auto coefficients = [](std::size_t count) {
        return [=](start_file &start) { start.lineshape.assign(count, 0.5); };
    };
    const auto points = [](int count) {
        return [=](start_file &start) {
            start.points = count;
            start.steps = {gradient_step(count)};
        };
    };
    expect_taken(lines(49));
    expect_refused("50 lines and patterns; expected up to 49", lines(50));
    expect_taken(lines(50), fit_method::exact);
    EXPECT_NE(refusal_of(lines(50), fit_method::both), "");
    expect_refused("no lines and no patterns", lines(0));
    expect_taken(coefficients(330)); // 4 x 5 + 330 = 350
    expect_refused("more than 350 parameters", coefficients(332));
    expect_taken(coefficients(332), fit_method::exact);
    expect_taken(points(4096));
    expect_refused("8192 points; with patterns at most 4096", points(8192));
    expect_taken(points(8192), fit_method::exact);
    expect_refused("500 points; expected a power of two", points(500));
    expect_refused("0 points; expected a power of two", points(0));
}

TEST(start_file, a_scale_and_a_noise_window_must_be_possible) {
    expect_refused("Hz per point not above 0", [](start_file &start) { start.hz_per_point = 0.0; });
    expect_refused("Hz per point not above 0",
                   [](start_file &start) { start.hz_per_point = -1.0; });
    expect_taken([](start_file &start) { start.noise_first = start.noise_stop = 0; });
    expect_refused("noise window -1 to 500", [](start_file &start) { start.noise_first = -1; });
    expect_refused("noise window 501 to 500", [](start_file &start) { start.noise_first = 501; });
    expect_taken([](start_file &start) { start.followed = 4; });
    expect_refused("followed entry 5; expected 1 to 4",
                   [](start_file &start) { start.followed = 5; });
    expect_refused("followed entry 0", [](start_file &start) { start.followed = 0; });
}

TEST(start_file, a_step_must_do_something_that_is_known) {
    const auto with = [](int quantity, int value) {
        return [=](start_file &start) {
            start.steps[0].switches[static_cast<std::size_t>(quantity)] = value;
        };
    };
    expect_refused("no strategy step", [](start_file &start) { start.steps.clear(); });
    const auto steps = [](std::size_t count) {
        return [=](start_file &start) { start.steps.assign(count, gradient_step(512)); };
    };
    expect_taken(steps(19));
    expect_refused("20 strategy steps; expected up to 19", steps(20));
    for (const int other : {0, 3, -1})
        expect_refused("step 1: algorithm " + std::to_string(other),
                       [=](start_file &start) { start.steps[0].algorithm = other; });
    for (const int few : {0, 513})
        expect_refused("step 1: " + std::to_string(few) + " time-domain points; expected 1 to 512",
                       [=](start_file &start) { start.steps[0].points = few; });
    expect_taken([](start_file &start) { start.steps[0].points = 1; });
    expect_taken(with(tools::iterations, 1));
    expect_refused("step 1: no iterations", with(tools::iterations, 0));
    expect_taken(with(tools::part, 0));
    expect_taken(with(tools::part, 4));
    expect_refused("step 1: unknown part", with(tools::part, 5));
    expect_refused("step 1: unknown part", with(tools::part, -1));
    expect_taken(with(tools::align, 1));
    expect_refused("step 1: align is 2", with(tools::align, 2));
    expect_refused("step 1: align is -1", with(tools::align, -1));
}

TEST(start_file, intervals_of_a_step_lie_within_the_spectrum) {
    using intervals = std::vector<std::pair<int, int>>;
    const auto with = [](const intervals &all) {
        return [=](start_file &start) { start.steps[0].intervals = {all.begin(), all.end()}; };
    };
    expect_taken(with({{0, 1}}));
    expect_taken(with(intervals(9, {10, 20})));
    expect_refused("step 1: 10 intervals; expected up to 9", with(intervals(10, {10, 20})));
    expect_refused("step 1: interval of points 5 to 4; expected 0 to 511", with({{5, 4}}));
    expect_refused("step 1: interval of points -1 to 4", with({{-1, 4}}));
    expect_refused("step 1: interval of points 500 to 512", with({{500, 512}}));
    expect_refused("step 1: the intervals hold 0 points", with({{7, 7}, {9, 9}}));
    expect_refused("step 1: the intervals hold 0 points", with({}));
    expect_taken(with({{0, 511}, {0, 1}})); // 512 is as many as there are
    expect_refused("step 1: the intervals hold 513 points", with({{0, 511}, {0, 2}}));
}

TEST(start_file, a_random_search_has_ranges_and_comes_first) {
    const auto with = [](int ranges, const std::vector<int> &algorithms) {
        return [=](start_file &start) {
            start.ranges = ranges;
            start.steps.assign(algorithms.size(), gradient_step(512));
            for (std::size_t s = 0; s < algorithms.size(); ++s)
                start.steps[s].algorithm = algorithms[s];
        };
    };
    expect_taken(with(1, {1, 2}));
    expect_taken(with(3, {1, 1, 2}));
    expect_refused("step 1: a random search needs search ranges", with(2, {1, 2}));
    expect_refused("step 2: a random search behind a gradient step", with(1, {2, 1}));
    for (const int ranges : {1, 2, 3}) expect_taken(with(ranges, {2, 2}));
}

TEST(start_file, a_start_lies_within_its_range_where_there_are_ranges) {
    const auto with = [](int ranges, double value, int link) {
        return [=](start_file &start) {
            start.ranges = ranges;
            of(start, 1, tools::phase_of) = {value, link, std::pair(-5.0, 5.0), {}};
        };
    };
    for (const int ranges : {1, 3}) {
        for (const double inside : {-5.0, 0.0, 5.0}) expect_taken(with(ranges, inside, 0));
        for (const double outside : {-5.0001, 5.0001})
            expect_refused("entry 2, phase: starts outside of its search range",
                           with(ranges, outside, 0));
        expect_taken(with(ranges, 9.0, 2)); // fixed: nobody searches
    }
    expect_taken(with(2, 9.0, 0));
}

TEST(start_file, the_type_of_an_entry_goes_with_its_place) {
    const auto typed = [](std::size_t entry, int type) {
        return [=](start_file &start) { start.entries[entry].type = type; };
    };
    for (const int type : {1, 2, 3}) expect_taken(typed(1, type));
    for (const int type : {0, 4, 5})
        expect_refused("entry 2: type " + std::to_string(type), typed(1, type));
    expect_refused("entry 1 (PCr): type 4", typed(0, 4));
    for (const int type : {0, 1, 3, 5})
        expect_refused("entry 4: type " + std::to_string(type), typed(3, type));
}

TEST(start_file, a_pattern_has_a_name_that_a_line_of_the_file_can_hold) {
    const auto named = [](const std::string &name) {
        return [=](start_file &start) { start.entries[3].pattern_file = name; };
    };
    for (const std::string name : {"a.bin", "a.pat", "a.bin.gz"}) expect_taken(named(name));
    expect_taken(named(std::string(195, 'a') + ".pat"));
    expect_refused("pattern " + std::string(196, 'a') + ".pat: expected a name of up to 199",
                   named(std::string(196, 'a') + ".pat"));
    for (const std::string name : {"a b.pat", "a\t.pat", "a\n.pat"})
        expect_refused("pattern " + name + ": expected a name of up to 199", named(name));
    for (const std::string name : {"", "a.txt", "bin"})
        expect_refused("pattern " + name + ": expected a name with .bin or .pat", named(name));
}

TEST(start_file, a_tie_leads_to_an_entry_that_can_be_followed) {
    const auto tie = [](std::size_t entry, tools::quantity q, int link) {
        return [=](start_file &start) { of(start, entry, q).link = link; };
    };
    expect_taken(tie(1, tools::area_of, 1));
    expect_taken(tie(1, tools::area_of, 2)); // fixed
    for (const int none : {-1, 5})
        expect_refused("entry 2, area: tied to entry " + std::to_string(none),
                       tie(1, tools::area_of, none));
    expect_refused("entry 1 (PCr), phase: tied to one that is itself tied", [&](start_file &start) {
        tie(0, tools::phase_of, 2)(start);
        tie(1, tools::phase_of, 3)(start);
    });
    expect_taken([&](start_file &start) { // to one that is fixed
        tie(0, tools::phase_of, 2)(start);
        tie(1, tools::phase_of, 2)(start);
    });
    expect_refused("entry 2, area: tied to an area of 0", [&](start_file &start) {
        tie(1, tools::area_of, 1)(start);
        of(start, 0, tools::area_of).value = 0.0;
    });
    expect_taken([&](start_file &start) { // a phase has a distance, not a ratio
        tie(1, tools::phase_of, 1)(start);
        of(start, 0, tools::phase_of).value = 0.0;
    });
}

TEST(start_file, tied_widths_are_of_one_type_and_follow_the_narrower) {
    for (const tools::quantity q : {tools::gauss_of, tools::lorentz_of})
        expect_refused(std::string("entry 2, ") + tools::name_of(q) + ": tied to a voigt line",
                       [=](start_file &start) {
                           of(start, 1, q).link = 1;
                           start.entries[0].type = tools::voigt_entry;
                       });
    const auto widths = [](tools::quantity q, double own, double followed) {
        return [=](start_file &start) {
            of(start, 1, q) = {own, 1, {}, {}};
            of(start, 0, q).value = followed;
        };
    };
    expect_refused("entry 2, gauss: starts smaller than the one it follows",
                   widths(tools::gauss_of, 2.0, 2.0001));
    expect_taken(widths(tools::gauss_of, 2.0, 2.0));
    expect_taken(widths(tools::lorentz_of, 2.0, 3.0));
}

TEST(start_file, a_value_that_is_no_number_is_refused) {
    for (const double value : {std::nan(""), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()})
        for (int q = 0; q < tools::quantities; ++q)
            expect_refused(
                std::string("entry 3, ") + tools::name_of(q) + ": no finite number",
                [=](start_file &start) { of(start, 2, tools::quantity(q)).value = value; });
}

TEST(start_file, a_step_that_only_aligns_fits_nothing) {
    tools::start_step step;
    step.switches[tools::align] = 1;
    EXPECT_FALSE(tools::fits_something(step));
    for (int q = tools::fit_areas; q <= tools::fit_lineshape; ++q) {
        tools::start_step own = step;
        own.switches[static_cast<std::size_t>(q)] = 1;
        EXPECT_TRUE(tools::fits_something(own)) << q;
    }
}

TEST(start_file, the_result_is_of_the_last_step_that_fits) {
    tools::start_step align;
    align.switches[tools::align] = 1;
    align.intervals = {{7, 8}};
    EXPECT_EQ(tools::last_fitting_step({}), nullptr);
    const std::vector<tools::start_step> none = {align};
    EXPECT_EQ(tools::last_fitting_step(none), nullptr);
    const std::vector<tools::start_step> steps = {gradient_step(64), gradient_step(32), align};
    EXPECT_EQ(tools::last_fitting_step(steps), &steps[1]);
}

TEST(start_file, fitted_intervals_are_those_of_that_step_within_the_spectrum) {
    typedef std::vector<std::pair<long long, long long>> intervals;
    std::vector<tools::start_step> steps = {gradient_step(64), gradient_step(64)};
    steps[1].intervals = {{-5, 3}, {10, 9}, {-5, -1}, {20, 20}, {63, 99}, {64, 99}};
    EXPECT_EQ(tools::fitted_intervals(steps, 64), (intervals{{0, 3}, {20, 20}, {63, 63}}));
    steps[1].intervals = {{64, 99}};
    EXPECT_EQ(tools::fitted_intervals(steps, 64), (intervals{{0, 63}}));
    EXPECT_EQ(tools::fitted_intervals({}, 64), (intervals{{0, 63}}));
    EXPECT_EQ(tools::fitted_intervals({}, 0), intervals());
}

TEST(start_file, a_type_that_is_none_has_no_name) {
    EXPECT_STREQ(tools::type_name(tools::gauss_entry), "gauss");
    EXPECT_STREQ(tools::type_name(tools::pattern_entry), "pattern");
    EXPECT_STREQ(tools::type_name(0), "?");
    EXPECT_STREQ(tools::type_name(5), "?");
}
