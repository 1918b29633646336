// SPDX-License-Identifier: BSD-3-Clause
#include "run/varokel.h"

#include "run/state.h"
#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

static std::string run_fit(const char *start = "start.par") {
    return support::stdout_of([&] { varokel("", "data.bin", start); });
}

// The number behind a text, in what a run printed or wrote.
static double number_behind(const std::string &text, const std::string &label) {
    const std::size_t at = text.find(label);
    EXPECT_NE(at, std::string::npos) << label;
    return at == std::string::npos ? NAN : std::strtod(text.c_str() + at + label.size(), nullptr);
}

// All but the line of the time stamp.
static std::string without_stamp(std::string text) {
    const std::size_t at = text.find("File created at");
    if (at != std::string::npos) text.erase(at, text.find('\n', at) - at);
    return text;
}

static const char *const result_files[] = {"data.org", "data.cor",  "data.fit",
                                           "data.res", "data.fit0", "data.nln0",
                                           "data.mat", "data.err",  "data.fitres"};

// Written values are rounded to 9 digits and read back with 7. Near a minimum the chi-square is
// quadratic in that: 1e-7 of a parameter at a signal-to-noise ratio of 100 changes it by 1e-10 of
// its terms; where the fit has not quite converged, linearly. 1e-6 covers both.
TEST(restart, begins_where_the_first_run_ended_and_stays_there) {
    support::temporary_folder folder(true);
    support::write_small_fit({.verbose = 1, .iterations = 100});
    const std::string first = run_fit();
    const double after = number_behind(first, "Weighted chi-square after minimization     : ");
    const std::string second = run_fit("compact.par");
    const double before = number_behind(second, "Chi-square before minimization             : ");
    const double again = number_behind(second, "Weighted chi-square after minimization     : ");
    // the first figure is printed with 6 digits and of the untruncated signal with first weights 1
    EXPECT_NEAR(before, after, 1e-5 * after);
    EXPECT_LE(again, after * (1.0 + 1e-5));
    EXPECT_GE(again, after * (1.0 - 1e-3));
}

TEST(callable_entry, gives_the_same_files_twice_and_says_the_time) {
    std::string files[2][std::size(result_files)], compact[2];
    support::temporary_folder folder(true);
    for (int run = 0; run < 2; ++run) {
        support::write_small_fit({});
        const std::string said = run_fit();
        EXPECT_NE(said.find(" 20"), std::string::npos); // verbose is 2 before the file is read
        for (std::size_t i = 0; i < std::size(result_files); ++i)
            files[run][i] = support::read_file(result_files[i]);
        compact[run] = without_stamp(support::read_file("compact.par"));
    }
    for (std::size_t i = 0; i < std::size(result_files); ++i)
        EXPECT_EQ(files[0][i], files[1][i]) << result_files[i];
    EXPECT_EQ(compact[0], compact[1]);
}

TEST(callable_entry, keeps_adding_to_the_command_words) {
    support::temporary_folder folder(true);
    support::reset_state();
    support::write_small_fit({});
    run_fit();
    EXPECT_STREQ(command, "\tdata.bin\tstart.par\t");
    run_fit();
    EXPECT_STREQ(command, "\tdata.bin\tstart.par\t\tdata.bin\tstart.par\t");
    for (int i = 0; i < 200; ++i) run_fit();
    EXPECT_LT(std::strlen(command), sizeof command);
}

TEST(callable_entry, a_good_run_after_faulty_ones_is_as_if_alone) {
    support::temporary_folder folder(true);
    support::write_small_fit({});
    run_fit();
    const std::string alone = support::read_file("data.fitres");
    support::write_small_fit({.lineshape = true});
    run_fit();
    support::write_file("faulty.par", "version_3\nn_pnts 64\n");
    run_fit("faulty.par");
    support::write_small_fit({.patterns = true, .random_step = true});
    run_fit();
    support::write_small_fit({});
    std::remove("data.fitres");
    run_fit();
    EXPECT_EQ(support::read_file("data.fitres"), alone);
}

TEST(callable_entry, refuses_names_that_do_not_fit) {
    const std::string name(499, 'x');
    const std::string longer =
        "implementation restriction : \na name of 499 characters exceeds the "
        "498 allowed : " +
        name + "\n";
    const support::temporary_folder folder(true);
    support::write_small_fit({});
    const auto said_with = [](const char *data_path, const std::string &data,
                              const std::string &start) {
        return support::stdout_of([&] {
            support::end_status_of([&] { varokel(data_path, data.c_str(), start.c_str()); });
        });
    };
    EXPECT_EQ(said_with("", name, "start.par"), longer);
    EXPECT_EQ(said_with("", "data.bin", name), longer);
    EXPECT_EQ(said_with(name.c_str(), "data.bin", "start.par"), longer);
    EXPECT_FALSE(support::file_exists("data.mat"));
    // one character less is looked for
    EXPECT_NE(said_with("", "data.bin", name.substr(1)).find("cannot open starting value file"),
              std::string::npos);
}

TEST(random_search_run, is_the_same_to_the_last_letter) {
    support::temporary_folder folder(true);
    std::string said[2], results[2];
    for (int run = 0; run < 2; ++run) {
        support::write_small_fit({.random_step = true});
        said[run] = run_fit();
        results[run] = support::read_file("data.fitres");
    }
    const auto behind_the_stamp = [](const std::string &s) { return s.substr(s.find('\n')); };
    EXPECT_EQ(behind_the_stamp(said[0]), behind_the_stamp(said[1]));
    EXPECT_EQ(results[0], results[1]);
}

TEST(written_start_file, read_and_written_again_is_the_same_to_single_precision) {
    support::temporary_folder folder(true);
    support::write_small_fit({.iterations = 50});
    run_fit();
    std::string text = support::read_file("compact.par");
    const std::string first = text;
    // a step that moves nothing: what is read is what is written
    std::size_t at = 0;
    const std::string free_switches = "64      1      1      1      1      1 ";
    ASSERT_NE(text.find(free_switches), std::string::npos);
    while ((at = text.find(free_switches)) != std::string::npos)
        text.replace(at, free_switches.size(), "64      0      0      0      0      0 ");
    support::write_file("still.par", text);
    run_fit("still.par");
    std::string second = support::read_file("compact.par");
    at = 0;
    while ((at = second.find("64      0      0      0      0      0 ")) != std::string::npos)
        second.replace(at, free_switches.size(), free_switches);
    // word by word: text equal, numbers within a unit of single precision
    std::size_t i = 0, j = 0;
    const std::string a = without_stamp(first), b = without_stamp(second);
    int numbers = 0;
    while (i < a.size() && j < b.size()) {
        char *end_a = nullptr;
        char *end_b = nullptr;
        const double x = std::strtod(a.c_str() + i, &end_a);
        const double y = std::strtod(b.c_str() + j, &end_b);
        if (end_a != a.c_str() + i && end_b != b.c_str() + j) {
            EXPECT_NEAR(x, y, 1.3e-7 * std::fabs(x));
            i = static_cast<std::size_t>(end_a - a.c_str());
            j = static_cast<std::size_t>(end_b - b.c_str());
            ++numbers;
        } else {
            ASSERT_EQ(a[i], b[j]) << a.substr(i, 40) << " against " << b.substr(j, 40);
            ++i;
            ++j;
        }
    }
    EXPECT_EQ(i == a.size(), j == b.size());
    EXPECT_GT(numbers, 60);
}

// Weights are 1 everywhere when the last model is made, so the last figure of the summary counts
// all points, without the intervals of the steps, and without the points that `ignore` left out.
TEST(spreadsheet, last_summary_figure_is_of_all_points) {
    support::temporary_folder folder(true);
    support::write_small_fit({.iterations = 20});
    run_fit();
    std::vector<double> data_re, data_im, fit_re, fit_im;
    support::read_signal("data.org", data_re, data_im);
    support::read_signal("data.fit0", fit_re, fit_im);
    double sum = 0.0;
    for (std::size_t i = 0; i < data_re.size(); ++i)
        sum += std::pow(data_re[i] - fit_re[i], 2) + std::pow(data_im[i] - fit_im[i], 2);
    const std::string text = support::read_file("data.exl");
    const std::size_t summary = text.find("fit\n") + 4;
    double figure[10] = {};
    const char *at = text.c_str() + summary;
    char *end = nullptr;
    for (double &value : figure) {
        value = std::strtod(at, &end);
        at = end;
    }
    EXPECT_NEAR(figure[5], sum, 1e-5 * sum); // files are single precision
    // over 63 intervals between 64 points; the scale is that of the whole signal
    double magnitude = 0.0;
    for (std::size_t i = 0; i < data_re.size(); ++i)
        magnitude += std::hypot(data_re[i], data_im[i]);
    const double scale = magnitude / 4.0; // two entries, two channels
    // `ignore` takes a little from the signal before its magnitude is summed: .org has it taken,
    // too
    EXPECT_NEAR(figure[9], std::sqrt(figure[5] / 126.0) * scale / figure[1], 1e-5 * figure[9]);
}
