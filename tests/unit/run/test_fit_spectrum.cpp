// SPDX-License-Identifier: BSD-3-Clause
//
// Whole runs on noise-free lines of 64 points of 2 Hz, whose results are known.
#include "run/fit_spectrum.h"

#include "model/fft.h"
#include "model/vector_lib.h"
#include "run/input_spectrum.h"
#include "run/state.h"
#include "run/varokel.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

static constexpr int n = 64;
typedef std::vector<double> vector;

static std::size_t at(int i) {
    return static_cast<std::size_t>(((i % n) + n) % n);
}

struct spectrum {
    vector re = vector(n), im = re;
};

// Adds a Lorentzian line by its definition: f and width in points, phase in degrees.
static void add_line(spectrum &s, double area, double f, double width, double phase) {
    using std::numbers::pi;
    for (int j = 0; j < n; ++j) {
        std::complex<double> sum;
        for (int k = 0; k < n; ++k) {
            const double t = static_cast<double>(k) / n;
            sum += (k == 0 ? 0.5 : 1.0) * std::exp(-pi * width * t) *
                   std::polar(1.0, 2.0 * pi * (f - j) * t);
        }
        sum *= std::polar(area / n, pi * phase / 180.0);
        s.re[at(j)] += sum.real();
        s.im[at(j)] += sum.imag();
    }
}

// A start file of the lines or patterns given, each "type area Hz gauss phase lorentz" with the
// links of the five parameters.
struct entry {
    int type;
    double value[5];
    int link[5];
};
struct start_file {
    std::string steps = {};
    std::vector<entry> entries = {};
    std::vector<std::string> patterns = {};
    int fit_mode = 1, ignored = 0, ranges = 2, coefs = 0, told = 0, errors = 0;
    int noise_from = 0, noise_to = 0;
};

static void write_start_file(const start_file &f) {
    std::ostringstream text;
    const std::size_t lines = f.entries.size() - f.patterns.size();
    text << "version_3\nn_pnts 64\nnoistr " << f.noise_from << "\nnoistp " << f.noise_to
         << "\nnLines " << lines << "\nlsfcfs " << f.coefs
         << "\nphi__1 0.0\nHz_p_p 2.0\nf__tol 1.0E-14\nfit_mo " << f.fit_mode << "\nverbos "
         << f.told << "\nshowli 1\nclcerr " << f.errors << "\nsg_idl none\nranges " << f.ranges
         << "\nignore " << f.ignored << "\npattrn " << f.patterns.size() << "\n";
    for (const std::string &name : f.patterns) text << name << "\n";
    text << "algor trunc ampli frequ width phase voigt lsfft wtype convo niter cmplx n_int min max"
         << "\n"
         << f.steps << "number area frequency gausswidth phase lorentzwidth\n";
    for (std::size_t k = 0; k < f.entries.size(); ++k) {
        text << k + 1;
        for (double v : f.entries[k].value) text << " " << v;
        text << "\n";
    }
    for (std::size_t k = 0; k < f.entries.size(); ++k) {
        const entry &e = f.entries[k];
        text << "#" << k + 1 << "\nlsffit " << (f.coefs > 0 ? 1 : 0) << "\n";
        for (int j = 0; j < 5; ++j) {
            text << e.type << " " << e.link[j] << " " << e.value[j];
            if (f.ranges == 1) text << " " << e.value[j] - 50.0 << " " << e.value[j] + 50.0;
            text << "\n";
        }
    }
    text << "lsf_coefs\n";
    for (int i = 0; i < f.coefs; ++i) text << "1.0 0.0\n";
    text << "end_of_lsf\n";
    support::write_file("start.par", text.str());
}

static std::string run_fit(const start_file &f, const spectrum &s) {
    write_start_file(f);
    support::write_signal("data.bin", s.re, s.im);
    return support::stdout_of([] { varokel("", "data.bin", "start.par"); });
}

static spectrum written(const char *ending) {
    spectrum s;
    support::read_signal(std::string("data") + ending, s.re, s.im);
    return s;
}

static vector numbers_of(const char *name) {
    std::istringstream text(support::read_file(name));
    vector found;
    for (double v = 0.0; text >> v;) found.push_back(v);
    return found;
}

// Values of order 1 in single precision, and what a fit leaves: 1e-6 of them.
static void expect_near(const spectrum &got, const spectrum &wanted, double tolerance = 1e-6) {
    ASSERT_EQ(got.re.size(), wanted.re.size());
    for (std::size_t i = 0; i < got.re.size(); ++i) {
        EXPECT_NEAR(got.re[i], wanted.re[i], tolerance) << i;
        EXPECT_NEAR(got.im[i], wanted.im[i], tolerance) << i;
    }
}

static double size_of(const spectrum &s) {
    double sum = 0.0;
    for (std::size_t i = 0; i < s.re.size(); ++i) sum += std::hypot(s.re[i], s.im[i]);
    return sum;
}

// What the areas are divided by: the mean magnitude per channel and entry, over 2 x entries.
TEST(scale, is_the_sum_of_magnitudes_over_twice_the_entries) {
    const support::temporary_folder folder(true);
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 0.0);
    for (const std::size_t count : {1u, 2u, 5u}) {
        const std::vector<entry> entries(count, {2, {10.0, 40.0, 0.0, 0.0, 3.0}, {0, 1, 1, 1, 1}});
        const std::string said = run_fit(
            {.steps = "@ 2 64 1 0 0 0 0 0 1 0 1 2 1 0 63\n", .entries = entries, .told = 1}, data);
        const std::string words = "Computed scalefactor for better amp gradients : ";
        const std::size_t place = said.find(words);
        ASSERT_NE(place, std::string::npos) << said;
        const double scale = std::strtod(said.c_str() + place + words.size(), nullptr);
        const double wanted = size_of(data) / (2.0 * static_cast<double>(count));
        EXPECT_NEAR(scale, wanted, 1e-7 * wanted) << count; // the file holds floats
    }
}

static const char area_step[] = "@ 2 64 1 0 0 0 0 0 1 0 20 2 1 0 63\n";

TEST(written_signals, are_data_model_and_their_difference) {
    const support::temporary_folder folder(true);
    spectrum data, line;
    add_line(line, 10.0, 20.0, 3.0, 0.0);
    data = line;
    add_line(data, 1.0, 44.0, 2.0, 30.0); // what the model has not: the residual
    run_fit({.steps = "@ 2 64 1 0 0 0 0 0 1 0 20 2 1 0 30\n",
             .entries = {{2, {10.0, 40.0, 0.0, 0.0, 3.0}, {0, 1, 1, 1, 1}}}},
            data);
    const double area = numbers_of("data.mat").at(0);
    EXPECT_NEAR(area, 10.0, 0.1);
    spectrum model, rest = data;
    add_line(model, area, 20.0, 3.0, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        rest.re[i] -= model.re[i];
        rest.im[i] -= model.im[i];
    }
    expect_near(written(".org"), data);
    expect_near(written(".cor"), data); // nothing moved, no phase
    expect_near(written(".fit"), model);
    expect_near(written(".fit0"), model);
    expect_near(written(".res"), rest);
    EXPECT_GT(size_of(rest), 0.5);
}

// Aligned from two points off: the corrected signal has the line where the model began, and
// without the phase of 90 degrees.
TEST(written_signals, corrected_has_the_followed_line_at_its_start_and_in_phase) {
    const support::temporary_folder folder(true);
    spectrum data, wanted;
    add_line(data, 10.0, 20.0, 3.0, 90.0);
    run_fit({.steps = "@ 2 64 0 0 0 0 0 0 1 1 20 2 1 0 63\n",
             .entries = {{2, {10.0, 36.0, 0.0, 90.0, 3.0}, {0, 0, 1, 0, 0}}}},
            data);
    for (int j = 0; j < n; ++j) { // times exp(-i 90 degrees)
        wanted.re[at(j)] = data.im[at(j + 2)];
        wanted.im[at(j)] = -data.re[at(j + 2)];
    }
    expect_near(written(".cor"), wanted);
}

TEST(written_signals, without_ignored_points_but_for_the_corrected_one_and_fit0) {
    const support::temporary_folder folder(true);
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 0.0);
    spectrum left = data;
    double table[64];
    create_lookup(table, n, 1);
    update_spectrum(n, 3, left.re.data(), left.im.data(), table);
    run_fit({.steps = area_step,
             .entries = {{2, {9.0, 40.0, 0.0, 0.0, 3.0}, {0, 1, 1, 1, 1}}},
             .ignored = 3},
            data);
    expect_near(written(".org"), left);
    expect_near(written(".fit"), left);
    expect_near(written(".cor"), data);
    expect_near(written(".fit0"), data);
}

// The first of two steps does nothing; the second sees 16 time points of data and model. Over a
// part of the points the line is only found where both are cut alike.
TEST(truncation, of_a_step_cuts_data_and_model_alike) {
    const char *const nothing[] = {"@ 2 64 0 0 0 0 0 0 1 0 5 2 1 0 63\n",
                                   "@ 2 8 0 0 0 0 0 0 1 0 5 2 1 0 63\n", ""};
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 20.0);
    spectrum cut = data;
    double table[64];
    create_lookup(table, n, 1);
    Truncate_Spectrum(n, 16, cut.re.data(), cut.im.data(), table);
    for (const char *first : nothing) {
        const support::temporary_folder folder(true);
        run_fit({.steps = std::string(first) + "@ 2 16 1 1 0 1 1 0 1 0 200 2 1 8 40\n",
                 .entries = {{2, {8.0, 40.4, 0.0, 15.0, 4.0}, {0, 0, 1, 0, 0}}}},
                data);
        const vector found = numbers_of("data.mat");
        const double truth[5] = {10.0, 40.0, 0.0, 20.0, 3.0};
        // data in single precision, a fit that ends where the chi-square changes little
        for (std::size_t j = 0; j < 5; ++j) EXPECT_NEAR(found.at(j), truth[j], 1e-3) << j << first;
        expect_near(written(".org"), cut);
        expect_near(written(".fit"), cut, 1e-4);
    }
}

TEST(last_figures, are_of_all_points_with_weight_1_and_the_type_returns) {
    const support::temporary_folder folder(true);
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 0.0);
    add_line(data, 1.0, 44.0, 2.0, 30.0);
    run_fit({.steps = "@ 2 64 1 0 0 0 0 0 7 0 20 2 1 0 30\n",
             .entries = {{2, {9.0, 40.0, 0.0, 0.0, 3.0}, {0, 1, 1, 1, 1}}}},
            data);
    const spectrum rest = written(".res");
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) sum += rest.re[i] * rest.re[i] + rest.im[i] * rest.im[i];
    EXPECT_NEAR(true_chi, sum, 1e-6 * sum);
    EXPECT_LT(chi_after, 0.5 * true_chi);
    EXPECT_EQ(weighting_type, 7);
    EXPECT_NE(support::read_file("data.fitres").find("weighting type   :     7\n"),
              std::string::npos);
}

TEST(last_quality, is_printed_as_a_number_of_single_precision) {
    const support::temporary_folder folder(true);
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 0.0);
    for (std::size_t i = 56; i < n; ++i) { // hardly any noise: the quality is large
        data.re[i] = i % 2 == 0 ? 3e-6 : -3e-6;
        data.im[i] = 0.0;
    }
    const std::string said = run_fit({.steps = area_step,
                                      .entries = {{2, {9.0, 40.0, 0.0, 0.0, 3.5}, {0, 1, 1, 1, 1}}},
                                      .told = 1,
                                      .noise_from = 56,
                                      .noise_to = 64},
                                     data);
    const std::string label = "Fit quality number after fit               : ";
    const double quality = std::strtod(said.c_str() + said.find(label) + label.size(), nullptr);
    EXPECT_GT(quality, 1000.0); // single precision is coarser than the six decimals
    EXPECT_NEAR(quality, static_cast<double>(static_cast<float>(quality)), 1e-6);
}

TEST(ranges_2, become_0_for_good) {
    const support::temporary_folder folder(true);
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 0.0);
    const entry line = {2, {9.0, 40.0, 0.0, 0.0, 3.0}, {0, 1, 1, 1, 1}};
    run_fit({.steps = area_step, .entries = {line}, .ranges = 2}, data);
    EXPECT_EQ(par_ranges, 0);
    run_fit({.steps = area_step, .entries = {line}, .ranges = 1}, data);
    EXPECT_EQ(par_ranges, 1);
}

TEST(lineshape_coefficients, count_in_fit_mode_3_alone) {
    spectrum data;
    add_line(data, 10.0, 20.0, 3.0, 0.0);
    for (const int mode : {1, 2, 3}) {
        const support::temporary_folder folder(true);
        support::write_signal("data.bin.ref", vector(n, 1.0), vector(n));
        const std::string said =
            run_fit({.steps = area_step,
                     .entries = {{2, {9.0, 40.0, 0.0, 0.0, 3.0}, {0, 1, 1, 1, 1}}},
                     .fit_mode = mode,
                     .coefs = 1,
                     .told = 1},
                    data);
        EXPECT_EQ(support::file_exists("lsf.bin"), mode == 3) << mode;
        EXPECT_EQ(said.find("Fourier coefficient lineshape") != std::string::npos, mode == 3);
        EXPECT_EQ(said.find("lsf 1.0000") != std::string::npos, mode == 3) << mode;
    }
}

// A text pattern of one line of the given area at a frequency in Hz.
static void write_pattern(const char *name, double area, double frequency) {
    std::ostringstream text;
    text << "start_pattern number_of_lines 1 parameters name line_type area frequency gauss_width "
            "zero_phase lorentz_width\na lorentz "
         << area << " " << frequency << " 0.0 3.0\ncomment end_of_pattern\n";
    support::write_file(name, text.str());
}

// Stored patterns are divided by their norms; what is tied, written and bounded is not.
TEST(pattern_areas, are_tied_and_written_in_units_of_their_files) {
    spectrum data;
    const support::temporary_folder folder(true);
    write_pattern("one.pat", 1.0, 90.0);
    write_pattern("four.pat", 4.0, 40.0);
    add_line(data, 1.0, 8.0, 2.0, 0.0);
    start_file f = {.steps = area_step,
                    .entries = {{2, {1.0, 16.0, 0.0, 0.0, 2.0}, {0, 1, 1, 1, 1}},
                                {4, {3.0, 0.0, 0.0, 0.0, 0.0}, {0, 2, 2, 2, 2}},
                                {4, {1.5, 0.0, 0.0, 0.0, 0.0}, {2, 3, 3, 3, 3}}},
                    .patterns = {"one.pat", "four.pat"},
                    .errors = 1,
                    .noise_from = 50,
                    .noise_to = 60};
    run_fit(f, data); // for the shapes: the second and third block of the components
    spectrum blocks;
    support::read_signal("data.nln0", blocks.re, blocks.im);
    const vector areas = numbers_of("data.mat");
    for (std::size_t i = 0; i < n; ++i) {
        data.re[i] += 3.0 * blocks.re[n + i] / areas[5] + 1.5 * blocks.re[2 * n + i] / areas[10];
        data.im[i] += 3.0 * blocks.im[n + i] / areas[5] + 1.5 * blocks.im[2 * n + i] / areas[10];
    }
    f.entries[1].value[0] = 2.0; // tied in the ratio of 2 to 1
    f.entries[2].value[0] = 1.0;
    run_fit(f, data);
    const vector found = numbers_of("data.mat"), bounds = numbers_of("data.err");
    EXPECT_NEAR(found.at(0), 1.0, 1e-4);
    EXPECT_NEAR(found.at(5), 3.0, 1e-4);
    EXPECT_NEAR(found.at(10), 1.5, 1e-4);
    const std::string report = support::read_file("data.fitres");
    const auto change_behind = [&report](const std::string &row) {
        const std::size_t place = report.find(row);
        EXPECT_NE(place, std::string::npos) << row;
        return place == std::string::npos
                   ? NAN
                   : std::strtod(report.c_str() + place + row.size(), nullptr);
    };
    EXPECT_NEAR(change_behind("| Parameter #  6 | \t Pattern\t|\t 0\t|2.000000e+00\t|\t"), 1.0,
                1e-4);
    EXPECT_NEAR(change_behind("| Parameter # 11 | \t Pattern\t|\t 2\t|1.000000e+00\t|\t"), 0.5,
                1e-4);

    // the same data with a file of one.pat twice as large: half the area, half the bound
    write_pattern("one.pat", 2.0, 90.0);
    f.entries[1].value[0] = 1.0;
    run_fit(f, data);
    EXPECT_NEAR(numbers_of("data.mat").at(5), 1.5, 1e-4);
    EXPECT_NEAR(numbers_of("data.mat").at(10), 1.5, 1e-4);
    EXPECT_GT(bounds.at(5), 0.0);
    EXPECT_NEAR(numbers_of("data.err").at(5), 0.5 * bounds.at(5), 1e-4 * bounds.at(5));

    // with a lineshape fit the area that is shown for it is the written one, too
    f.fit_mode = 3;
    f.coefs = 1;
    run_fit(f, data);
    EXPECT_NEAR(lsf_area[2], 1.5, 1e-4);
    EXPECT_NEAR(lsf_area[3], 1.5, 1e-4);
}
