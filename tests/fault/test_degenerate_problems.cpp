// SPDX-License-Identifier: BSD-3-Clause
//
// Problems that have no answer: every run comes to its end, soon, and parameters that were finite
// stay finite; only where nothing depends on them they may go as far as doubles do, and beyond when
// they are written in natural units.
#include "run/varokel.h"

#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

static constexpr double longest = 5.0; // s; a fit of 64 points takes milliseconds
static constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
static constexpr double infinite = std::numeric_limits<double>::infinity();

static const std::vector<support::small_fit_choice> choices = {
    {.iterations = 3},
    {.lineshape = true, .iterations = 3},
    {.reference = true, .iterations = 3},
    {.patterns = true, .alignment = true, .iterations = 3},
    {.random_step = true, .iterations = 3},
    {.verbose = 3, .patterns = true, .random_step = true, .alignment = true, .iterations = 3},
};

struct end_of_run {
    int status = 0;
    bool fitted = false;
    std::string said;
};

// Replaces text in a file; a test that replaces nothing says nothing.
static void replace(const std::string &file, const std::string &from, const std::string &to) {
    std::string text = support::read_file(file);
    std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    for (; at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    support::write_file(file, text);
}

// Runs the fit in the current folder. Every parameter that it writes must be finite, or at least a
// number.
static end_of_run run_fit(const std::string &what, bool finite = true) {
    end_of_run end;
    const auto began = std::chrono::steady_clock::now();
    end.said = support::stdout_of(
        [&] { end.status = support::end_status_of([] { varokel("", "data.bin", "start.par"); }); });
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    EXPECT_LT(took.count(), longest) << what;
    support::reset_state(); // an ending that came back left its storage
    end.fitted = support::file_exists("data.mat");
    if (!end.fitted) return end;
    std::istringstream rows(support::read_file("data.mat"));
    int count = 0;
    for (std::string word; rows >> word; ++count)
        EXPECT_TRUE(finite ? std::isfinite(std::stod(word)) : !std::isnan(std::stod(word)))
            << what << ", parameter " << count << " is " << word;
    EXPECT_GE(count, 10) << what;
    return end;
}

static void fit_signal(const std::string &what, double (*point)(std::size_t i)) {
    for (std::size_t c = 0; c < choices.size(); ++c) {
        const support::temporary_folder folder(true);
        support::write_small_fit(choices[c]);
        std::vector<double> re(64), im(64);
        for (std::size_t i = 0; i < 64; ++i) {
            re[i] = point(2 * i);
            im[i] = point(2 * i + 1);
        }
        support::write_signal("data.bin", re, im);
        const end_of_run end = run_fit(what + ", choice " + std::to_string(c));
        EXPECT_EQ(end.status, support::no_end) << what << ", choice " << c;
        EXPECT_TRUE(end.fitted) << what << ", choice " << c << end.said;
    }
}

TEST(degenerate_signal, of_zeros_ends) {
    fit_signal("zeros", [](std::size_t) { return 0.0; });
}

TEST(degenerate_signal, of_nothing_that_is_a_number_ends) {
    fit_signal("nan", [](std::size_t) { return not_a_number; });
}

TEST(degenerate_signal, of_infinities_ends) {
    fit_signal("inf", [](std::size_t i) { return i % 3 == 0 ? -infinite : infinite; });
}

TEST(degenerate_signal, with_one_point_that_is_no_number_ends) {
    fit_signal("one nan", [](std::size_t i) { return i == 81 ? not_a_number : 1.0; });
}

TEST(degenerate_signal, of_the_largest_floats_ends) {
    fit_signal("3e38", [](std::size_t i) { return i % 2 == 0 ? 3e38 : -3e38; });
}

TEST(degenerate_signal, of_the_smallest_floats_ends) {
    fit_signal("1e-45", [](std::size_t i) { return i % 5 == 0 ? 1e-45 : 0.0; });
}

TEST(degenerate_reference, of_zeros_or_no_numbers_ends) {
    for (double value : {0.0, not_a_number, infinite, 3e38}) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.reference = true, .iterations = 3});
        support::write_signal("data.bin.ref", std::vector<double>(64, value),
                              std::vector<double>(64, value));
        EXPECT_TRUE(run_fit("reference", false).fitted);
    }
}

// What stands in start.par instead, and whether it is fitted then.
struct change {
    const char *what, *from, *to;
    bool fitted;
};

static void fit_changed(const std::vector<change> &changes, bool random_step) {
    for (const change &c : changes) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.random_step = random_step, .iterations = 3});
        replace("start.par", c.from, c.to);
        const end_of_run end = run_fit(c.what);
        EXPECT_EQ(end.fitted, c.fitted) << c.what << "\n" << end.said;
    }
}

static const char *const gradient_step = "@ 2 64 1 1 1 1 1 0 1 0 3 2 1 0 63\n";

TEST(degenerate_strategy, ends) {
    fit_changed(
        {
            {"no interval", gradient_step, "@ 2 64 1 1 1 1 1 0 1 0 3 2 0\n", true},
            {"empty interval", gradient_step, "@ 2 64 1 1 1 1 1 0 1 0 3 2 1 40 40\n", true},
            {"inverted interval", gradient_step, "@ 2 64 1 1 1 1 1 0 1 0 3 2 1 63 0\n", false},
            {"two intervals that cancel", gradient_step, "@ 2 64 1 1 1 1 1 0 1 0 3 2 2 63 0 0 63\n",
             true},
            {"interval outside", gradient_step, "@ 2 64 1 1 1 1 1 0 1 0 3 2 1 1000 1063\n", true},
            {"alignment without interval", gradient_step, "@ 2 64 1 1 1 1 1 0 1 1 3 2 0\n", true},
            {"truncated to nothing", gradient_step, "@ 2 0 1 1 1 1 1 0 1 0 3 2 1 0 63\n", true},
            {"truncated to a point", gradient_step, "@ 2 1 1 1 1 1 1 0 1 0 3 2 1 0 63\n", true},
            {"nothing free", gradient_step, "@ 2 64 0 0 0 0 0 1 1 0 3 2 1 0 63\n", true},
            {"weights are the model", gradient_step, "@ 2 64 1 1 1 1 1 0 3 0 3 2 1 0 63\n", true},
            {"unknown weights", gradient_step, "@ 2 64 1 1 1 1 1 0 99 0 3 2 1 0 63\n", true},
            {"no step", gradient_step, "", false},
            {"no end marks", "end_of_lsf\n", "", false},
        },
        false);
}

TEST(degenerate_numbers_of_the_start_file, end) {
    fit_changed(
        {
            {"tolerance that is no number", "f__tol 1.0E-09", "f__tol nan", true},
            {"tolerance 0", "f__tol 1.0E-09", "f__tol 0", true},
            {"tolerance below 0", "f__tol 1.0E-09", "f__tol -1", true},
            {"infinite tolerance", "f__tol 1.0E-09", "f__tol inf", true},
            {"infinite delay", "phi__1 30.0", "phi__1 1e38", true},
            {"no noise points", "noistp 12", "noistp 2", true},
            {"one noise point", "noistp 12", "noistp 3", true},
            {"everything ignored", "ignore 1", "ignore 64", true},
            {"more ignored than there is", "ignore 1", "ignore 2147483647", true},
            {"less than nothing ignored", "ignore 1", "ignore -5", true},
            {"reference line that is none", "showli 1", "showli -2147483648", true},
            {"areas of 0", "10.0 ", "0.0 ", true},
            {"width of 0", "3.0\n", "0.0\n", true},
        },
        false);
}

// Equal lines, and a width that the line does not use: the Fisher matrix is singular.
TEST(singular_matrix, is_said_and_leaves_the_parameters) {
    const support::temporary_folder folder(true);
    support::write_small_fit({.iterations = 3});
    replace("start.par", "2 2 0.0 ", "2 0 0.0 "); // the Gaussian width of a Lorentzian is free
    const end_of_run end = run_fit("singular");
    EXPECT_TRUE(end.fitted);
    EXPECT_NE(end.said.find("ingular"), std::string::npos) << end.said;
    EXPECT_NE(support::read_file("data.err").find("NAN"), std::string::npos);
}

static void fix_everything() {
    std::string text = support::read_file("start.par");
    for (int k = 1; k <= 2; ++k) {
        const std::string own = std::to_string(k);
        std::size_t at = text.find("#" + own + "\nlsffit 0\n");
        ASSERT_NE(at, std::string::npos);
        at = text.find('\n', text.find('\n', at) + 1) + 1;
        for (int j = 0; j < 5; ++j, at = text.find('\n', at) + 1)
            text.replace(at + 2, 1, own); // behind the type of one digit
    }
    support::write_file("start.par", text);
}

TEST(everything_fixed, ends_where_it_started) {
    for (bool random_step : {false, true}) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.random_step = random_step, .iterations = 3});
        fix_everything();
        EXPECT_TRUE(run_fit("everything fixed").fitted);
        EXPECT_EQ(support::read_file("data.mat").substr(0, 30), "1.00000000E+01\t8.00000000E+01\t");
    }
}

TEST(search_range, that_is_empty_or_inverted_or_no_number_ends) {
    fit_changed(
        {
            {"inverted", "4.000000 16.000000", "16.0 4.0", false},
            {"a point", "4.000000 16.000000", "10.0 10.0", true},
            {"no number", "4.000000 16.000000", "nan nan", true},
            {"infinite", "4.000000 16.000000", "-inf inf", true},
            {"up to the largest", "4.000000 16.000000", "-3e38 3e38", true},
        },
        true);
}

// What is no number at the start need not be one at the end; the run ends all the same.
TEST(start_values, that_are_no_numbers_end) {
    const auto expect_end = [](bool random_step, const char *from, const std::string &to) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.random_step = random_step, .iterations = 3});
        replace("start.par", from, to);
        const auto began = std::chrono::steady_clock::now();
        support::stdout_of(
            [&] { support::end_status_of([] { varokel("", "data.bin", "start.par"); }); });
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
        EXPECT_LT(took.count(), longest) << to;
        support::reset_state();
    };
    for (const std::string value : {"nan", "inf", "-inf", "1e39"})
        for (bool random_step : {false, true}) expect_end(random_step, "80.0 ", value + " ");
    for (const std::string value : {"0", "nan", "inf", "-1", "1e-45", "1e38"})
        expect_end(false, "Hz_p_p 2.0", "Hz_p_p " + value);
}
