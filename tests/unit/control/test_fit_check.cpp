// SPDX-License-Identifier: BSD-3-Clause
#include "control/fit_check.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

// Columns of a strategy row.
enum column { ampli, frequ, width, phase, voigt, lsfft, wtype, convo, niter, cmplx };

static const std::string fatal = "fit_check_message -> fatal error :\n";
static const std::string fatal_blank = "fit_check_message -> fatal error : \n";
static const std::string warning = "fit_check_message -> warning :\n";
static const std::string warning_blank = "fit_check_message -> warning : \n";

static const std::string no_gaussian = warning_blank +
                                       "only lorentzian lineshapes in model :\n"
                                       "Gaussian decay time constant fit wanted in \n"
                                       " fit strategy step(s) : ";
static const std::string no_lorentzian = warning_blank +
                                         "only Gaussian lineshapes in model :\n"
                                         "Lorentzian decay time constant fit wanted in \n"
                                         " fit strategy step(s) : ";

// Starts from a model of two Voigt lines and one step that no check objects to, at verbose 3 as
// well. Each test changes what it is about.
class fit_check : public ::testing::Test {
  protected:
    fit_check() {
        make_entries(2, 0);
        make_steps(1);
    }

    void make_entries(int lines, int patterns) {
        nLines = lines;
        n_patterns = patterns;
        const int entries = lines + patterns;
        par.clear();
        records.clear();
        for (int k = 1; k <= entries; ++k) {
            for (int j = 0; j < pars_per_entry; ++j) {
                const double value = 10.0 * k + j;
                par.push_back(value);
                records.push_back(
                    {k > lines ? pattern_line : voigt_line, 0, value, value - 1.0, value + 1.0});
            }
        }
    }

    void make_steps(int n) {
        steps = n;
        for (int k = 1; k <= n && k <= max_steps; ++k) {
            var_ap_trunc[k] = 64;
            min_method[k] = 2;
            hrange[k] = 40;
            const int row[10] = {1, 1, 1, 1, 1, 1, 1, 0, 100, 2};
            for (int c = 0; c < 10; ++c) strategy[k][c] = row[c];
        }
    }

    parameter_record &record(int k, int j) {
        const int i = pars_per_entry * (k - 1) + j;
        return records[static_cast<std::size_t>(i)];
    }

    void set_type(int k, int type) {
        for (int j = 0; j < pars_per_entry; ++j) record(k, j).type = type;
    }

    // What the checks print at the given verbose, without the last line, whose presence and place
    // is checked here.
    std::string findings_at(int level) {
        pass = 99;
        std::string printed = support::stdout_of([&] {
            TestInitValueFile(ap, nLines, n_patterns, lsf_coefs, par.data(), records.data(),
                              noise_strt, noise_stop, phi_1, steps, var_ap_trunc, min_method,
                              hrange, strategy, level, pass);
        });
        if (level <= 0) return printed;
        const std::string done = "testing input parameter values             : done \n";
        EXPECT_GE(printed.size(), done.size());
        const std::size_t at = printed.size() - std::min(printed.size(), done.size());
        EXPECT_EQ(printed.substr(at), done);
        return printed.substr(0, at);
    }

    // The finding is printed at every verbose.
    void expect_finding(const std::string &text, int flag) {
        for (int level = 0; level <= 3; ++level) {
            EXPECT_EQ(findings_at(level), text) << "verbose " << level;
            EXPECT_EQ(pass, flag) << "verbose " << level;
        }
    }

    void expect_fatal(const std::string &text) { expect_finding(text, 0); }

    // After a fatal finding the shapes of the lines are not counted, and a step that fits widths
    // is told that there are none. Here the steps fit none, so that the finding stands alone.
    void expect_early_fatal(const std::string &text) {
        int before[max_steps + 1][2];
        for (int k = 0; k <= max_steps; ++k) {
            before[k][0] = strategy[k][width];
            before[k][1] = strategy[k][voigt];
            strategy[k][width] = strategy[k][voigt] = 0;
        }
        expect_fatal(text);
        for (int k = 0; k <= max_steps; ++k) {
            strategy[k][width] = before[k][0];
            strategy[k][voigt] = before[k][1];
        }
    }

    void expect_warning(const std::string &text) { expect_finding(text, 1); }
    void expect_nothing() { expect_finding("", 1); }

    // Behind the finding comes what the one step is told after every fatal finding.
    void expect_fatal_type(const std::string &text) {
        for (int level = 0; level <= 3; ++level) {
            const std::string shapes =
                no_gaussian + "1 \n" + (level > 2 ? no_lorentzian + "1 \n" : "");
            EXPECT_EQ(findings_at(level), text + shapes) << "verbose " << level;
            EXPECT_EQ(pass, 0) << "verbose " << level;
        }
    }

    // The finding is printed at verbose 3 only.
    void expect_detailed_warning(const std::string &text) {
        for (int level = 0; level <= 2; ++level) {
            EXPECT_EQ(findings_at(level), "") << "verbose " << level;
            EXPECT_EQ(pass, 1);
        }
        EXPECT_EQ(findings_at(3), text);
        EXPECT_EQ(pass, 1);
    }

    int ap = 64, nLines = 0, n_patterns = 0, lsf_coefs = 0;
    int noise_strt = 10, noise_stop = 20;
    double phi_1 = 0.0;
    int steps = 0;
    // one slot more than a run has: a check that reads it is seen by the address sanitizer
    int var_ap_trunc[max_steps + 1] = {}, min_method[max_steps + 1] = {};
    int hrange[max_steps + 1] = {};
    int strategy[max_steps + 1][10] = {};
    std::vector<double> par;
    std::vector<parameter_record> records;
    int pass = 99;
};

TEST_F(fit_check, good_start_values_pass_without_a_finding) {
    expect_nothing();
    make_entries(3, 2);
    make_steps(19);
    expect_nothing();
}

TEST_F(fit_check, the_last_line_is_printed_above_verbose_0_whatever_the_verdict) {
    for (int lines : {2, 0}) {
        nLines = lines;
        for (int level : {-1, 0}) EXPECT_EQ(findings_at(level).find("testing"), std::string::npos);
        for (int level : {1, 2, 3}) findings_at(level); // asserts it
    }
}

TEST_F(fit_check, fewer_than_one_entry_is_fatal) {
    const std::string text = fatal + "\tprogram cannot fit less than one line\n";
    for (int entries : {0, -1, -4096}) {
        nLines = entries;
        expect_early_fatal(text);
    }
    nLines = 2;
    n_patterns = -2;
    expect_early_fatal(text);
    make_entries(1, 0);
    expect_nothing();
}

TEST_F(fit_check, forty_nine_entries_pass_and_fifty_are_fatal) {
    const std::string text = fatal + "\tprogram cannot fit more than 49 lines and patterns\n";
    make_entries(49, 0);
    expect_nothing();
    make_entries(40, 9);
    expect_nothing();
    make_entries(50, 0);
    expect_early_fatal(text);
    make_entries(1, 49);
    expect_early_fatal(text);
}

TEST_F(fit_check, negative_lineshape_coefficients_are_fatal) {
    lsf_coefs = -1;
    expect_early_fatal(fatal +
                       "\tprogram cannot fit a negative number of lineshape coefficients \n");
    lsf_coefs = 0;
    expect_nothing();
}

static std::string too_many(int lines, int patterns, int lsf) {
    return "fit_check_message -> implementation restriction :\n"
           "\t total number of model parameters exceeds maximum 350"
           " # line     parameters : " +
           std::to_string(lines) + "\n # pattern  parameters : " + std::to_string(patterns) +
           "\n # lsf      parameters : " + std::to_string(lsf) +
           "\n>> reduce number of lines to fit or \n   reduce number of lineshape coefficients \n";
}

TEST_F(fit_check, three_hundred_and_fifty_parameters_pass_and_351_are_fatal) {
    make_entries(49, 0);
    lsf_coefs = 52; // 349
    expect_nothing();
    lsf_coefs = 53; // 351
    expect_early_fatal(too_many(245, 0, 106));
    make_entries(40, 8);
    lsf_coefs = 55; // 350
    expect_nothing();
    lsf_coefs = 56; // 352
    expect_early_fatal(too_many(200, 40, 112));
}

TEST_F(fit_check, a_negative_end_of_noise_is_called_fatal_and_passes) {
    noise_strt = noise_stop = -1;
    const std::string start_text = fatal + "spectral point number start of noise interval < 0 \n"
                                           ">> enter a positiv number \n";
    const std::string stop_text = fatal + "spectral point number end of noise interval < 0 \n "
                                          ">> enter a positiv number \n";
    expect_finding(stop_text + start_text, 1);
    noise_stop = 0;
    expect_finding(start_text, 1);
    noise_strt = 0;
    expect_nothing();
}

TEST_F(fit_check, a_noise_start_behind_its_end_is_fatal) {
    noise_strt = 21;
    expect_early_fatal(
        fatal +
        "starting spectral point number of noise region is higher than ending point number\n"
        ">> interchange starting and ending point\n");
    noise_strt = 20;
    expect_nothing();
}

TEST_F(fit_check, a_negative_delay_is_a_warning) {
    phi_1 = -90.5;
    expect_warning(
        warning +
        "the first order phase due to acquisition  d e l a y  is a  positive number\n"
        "acquisition delay -9.050000E+01 : degrees which means that acquisition start before t=0 \n"
        ">> is this wanted ? \n");
    for (double delay : {0.0, -0.0, 1080.0}) {
        phi_1 = delay;
        expect_nothing();
    }
}

TEST_F(fit_check, no_fit_strategy_step_is_fatal) {
    for (int n : {0, -1, INT_MIN}) {
        steps = n;
        expect_fatal(fatal + "number of fit strategy steps should at least be 1\n"
                             ">> add at least one line starting with @ \n"
                             "   e.g.: \n"
                             "   @ 2 1024  1  1  1  1  1  0  1  0  550   2  1  1 1023 \n");
    }
}

TEST_F(fit_check, without_steps_the_checks_of_types_and_values_still_run) {
    steps = 0;
    set_type(1, 0);
    par[7] = 3.0;
    const std::string text = findings_at(1);
    EXPECT_NE(text.find("line 1  has an unknown lineshape type : \n0\n"), std::string::npos);
    EXPECT_NE(text.find("  Voigt line 2 parameter 7\n"), std::string::npos);
}

TEST_F(fit_check, a_truncation_point_is_0_to_the_number_of_points) {
    make_steps(3);
    for (int point : {0, 64}) {
        var_ap_trunc[2] = point;
        expect_nothing();
    }
    var_ap_trunc[2] = -1;
    expect_early_fatal(fatal + "fit strategy error in step 2\n"
                               "spectrum cannot be truncated after a negative number of points"
                               ">> choose a positive number \n");
    var_ap_trunc[2] = 65;
    expect_early_fatal(fatal + "fit strategy error in step 2\n"
                               "spectrum cannot be truncated after a point number \n  bigger than"
                               " the number of points sampled : (64)\n"
                               ">> choose a number between 1 and 64 \n");
}

TEST_F(fit_check, a_minimization_method_is_1_or_2) {
    const std::string text = fatal + "fit strategy error in step 2\n"
                                     "illegal minimization method\n"
                                     ">> two possibilities : 1: random minimization \n"
                                     "                       2: conjugate gradients \n";
    make_steps(2);
    for (int method : {0, 3, -1}) {
        min_method[2] = method;
        expect_early_fatal(text);
    }
}

TEST_F(fit_check, a_random_step_is_noted_from_verbose_3_on) {
    make_steps(2);
    min_method[2] = 1;
    const std::string note = "fit_check_message -> note :\n"
                             "maximum number of iterations is limited\n"
                             "in random fit strategy step 2 by software to 20\n";
    expect_detailed_warning(note);
    EXPECT_EQ(findings_at(4), note);
}

TEST_F(fit_check, a_fit_range_is_0_to_the_number_of_points) {
    make_steps(2);
    for (int range : {0, 64}) {
        hrange[1] = range;
        expect_nothing();
    }
    for (int range : {-1, 65}) {
        hrange[1] = range;
        expect_early_fatal(fatal +
                           "fit strategy error in step 1\n"
                           "illegal fit range (i.e. total # of fd points) : " +
                           std::to_string(range) +
                           "\n>> value is sum over sub ranges and its value\n"
                           "   should be between 1 and 64\n");
    }
}

TEST_F(fit_check, steps_without_a_lineshape_fit_are_a_detailed_warning) {
    make_steps(2);
    strategy[1][lsfft] = 0;
    expect_nothing();
    strategy[2][lsfft] = 2; // only 1 switches on
    expect_detailed_warning(warning_blank + "lsf parameters will not be  fitted \n");
}

TEST_F(fit_check, the_convolution_switch_is_0_or_1) {
    make_steps(2);
    for (int choice : {0, 1}) {
        strategy[2][convo] = choice;
        expect_nothing();
    }
    for (int choice : {2, -1}) {
        strategy[2][convo] = choice;
        expect_early_fatal(fatal_blank + "range error in convolution/no convolution \n"
                                         "choice in fit strategy step 2 \n"
                                         ">> value is either 1 (convolution before fit)\n"
                                         "                or 0 (no convolution before fit)\n");
    }
}

TEST_F(fit_check, convolution_in_several_steps_is_a_detailed_warning) {
    make_steps(3);
    strategy[1][convo] = 1;
    expect_nothing();
    strategy[3][convo] = 1;
    expect_detailed_warning(warning_blank +
                            "convolution is used in more than one fit strategy step \n");
}

TEST_F(fit_check, a_step_has_at_least_one_iteration) {
    make_steps(2);
    for (int limit : {0, -7}) {
        strategy[2][niter] = limit;
        expect_early_fatal(fatal_blank + "illegal number of iterations in fit strategy step 2  \n");
    }
    strategy[2][niter] = 1;
    expect_nothing();
}

TEST_F(fit_check, more_than_200_iterations_are_a_detailed_warning) {
    make_steps(2);
    strategy[2][niter] = 200;
    expect_nothing();
    strategy[2][niter] = 201;
    expect_detailed_warning(warning_blank + "number of iterations allowed in fit strategy step 2"
                                            " is very large namely : 201 \n");
}

TEST_F(fit_check, a_spectrum_mode_is_0_to_4) {
    make_steps(2);
    for (int mode = 0; mode <= 4; ++mode) {
        strategy[1][cmplx] = mode;
        expect_nothing();
    }
    for (int mode : {-1, 5}) {
        strategy[1][cmplx] = mode;
        expect_early_fatal(fatal_blank +
                           "illegal spectrum mode fit is wanted in fit strategy step 1  \n"
                           ">> allowed spectrum mode fits : 0 = absorption spectrum fit\n"
                           "                                1 = dispersion spectrum fit\n"
                           "                                2 = complex    spectrum fit\n"
                           "                                3 = magnitude  spectrum fit\n"
                           "                                4 = power      spectrum fit\n");
    }
}

TEST_F(fit_check, areas_that_no_step_fits_are_a_warning) {
    make_steps(2);
    strategy[1][ampli] = 0;
    expect_nothing();
    strategy[2][ampli] = 2; // only 1 switches on
    expect_warning(warning_blank + "area parameters will not be fitted \n");
}

TEST_F(fit_check, other_groups_that_no_step_fits_are_detailed_warnings) {
    const struct {
        column group;
        const char *text;
    } groups[] = {
        {frequ, "frequency parameters will not be fitted \n"},
        {width, "gaussian linewidth  parameters will not be fitted \n"},
        {phase, "zero order phase parameters will not be fitted \n"},
        {voigt, "lorentzian decay parameters will not be fitted \n"},
    };
    std::string all;
    for (const auto &group : groups) {
        make_steps(2);
        strategy[1][group.group] = 0;
        expect_nothing();
        strategy[2][group.group] = 0;
        expect_detailed_warning(warning_blank + group.text);
        all += warning_blank + group.text;
    }
    for (const auto &group : groups) strategy[1][group.group] = strategy[2][group.group] = 0;
    expect_detailed_warning(all);
}

// A fatal finding silences the checks of the steps that follow, not those within its own check.
TEST_F(fit_check, later_checks_of_steps_run_while_nothing_is_fatal) {
    make_steps(2);
    // 13 to 17 would object to every one of these
    const auto spoil_rows = [this] {
        for (int k : {1, 2}) {
            for (int c : {ampli, frequ, width, phase, voigt, lsfft}) strategy[k][c] = 0;
            strategy[k][convo] = 7;
            strategy[k][niter] = 0;
            strategy[k][cmplx] = 9;
        }
    };
    spoil_rows();
    noise_strt = 21;
    expect_early_fatal(
        fatal +
        "starting spectral point number of noise region is higher than ending point number\n"
        ">> interchange starting and ending point\n");
    noise_strt = 10;

    const auto convolution = [](int k) {
        return fatal_blank +
               "range error in convolution/no convolution \n"
               "choice in fit strategy step " +
               std::to_string(k) +
               " \n"
               ">> value is either 1 (convolution before fit)\n"
               "                or 0 (no convolution before fit)\n";
    };
    EXPECT_EQ(findings_at(2), convolution(1) + convolution(2));
    EXPECT_EQ(findings_at(3), warning_blank + "lsf parameters will not be  fitted \n" +
                                  convolution(1) + convolution(2));
    strategy[1][convo] = strategy[2][convo] = 0;
    const auto iterations = [](int k) {
        return fatal_blank + "illegal number of iterations in fit strategy step " +
               std::to_string(k) + "  \n";
    };
    EXPECT_EQ(findings_at(2), iterations(1) + iterations(2));
    strategy[1][niter] = strategy[2][niter] = 1;
    const std::string modes = findings_at(2);
    EXPECT_NE(modes.find("fit strategy step 1  \n"), std::string::npos);
    EXPECT_NE(modes.find("fit strategy step 2  \n"), std::string::npos);
    EXPECT_EQ(modes.find("will not be fitted"), std::string::npos);
    strategy[1][cmplx] = strategy[2][cmplx] = 0;
    EXPECT_EQ(findings_at(2), warning_blank + "area parameters will not be fitted \n");
}

TEST_F(fit_check, errors_of_several_steps_come_check_by_check) {
    make_steps(2);
    for (int k : {1, 2}) {
        var_ap_trunc[k] = -1;
        min_method[k] = 0;
        hrange[k] = -1;
    }
    const std::string text = findings_at(0);
    std::size_t at = 0;
    for (const char *part :
         {"in step 1\nspectrum", "in step 2\nspectrum", "in step 1\nillegal min",
          "in step 2\nillegal min", "in step 1\nillegal fit", "in step 2\nillegal fit"}) {
        const std::size_t next = text.find(part);
        ASSERT_NE(next, std::string::npos) << part;
        EXPECT_GE(next, at) << part;
        at = next;
    }
    EXPECT_EQ(pass, 0);
}

static std::string unknown_type(int line, int type) {
    return fatal_blank + "line " + std::to_string(line) + "  has an unknown lineshape type : \n" +
           std::to_string(type) +
           "\n>> available analytic lineshape types : 1 = Gaussian   \n"
           "                                        2 = Lorentzian \n"
           "                                        3 = Voigt      \n"
           "                                        4 = Pattern    \n";
}

TEST_F(fit_check, line_types_are_1_to_4) {
    make_entries(3, 1);
    for (int type : {gaussian_line, lorentzian_line, voigt_line}) {
        set_type(2, type);
        expect_nothing();
    }
}

TEST_F(fit_check, every_record_with_a_type_below_1_is_fatal) {
    record(2, 4).type = 0;
    expect_fatal_type(unknown_type(2, 0));
    set_type(2, -3);
    std::string five;
    for (int j = 0; j < 5; ++j) five += unknown_type(2, -3);
    expect_fatal_type(five);
    make_entries(1, 1);
    record(2, 0).type = 0; // patterns as well
    expect_fatal_type(unknown_type(2, 0));
}

TEST_F(fit_check, a_type_above_4_is_fatal_while_nothing_else_is) {
    set_type(1, 5);
    expect_fatal_type(unknown_type(1, 5)); // the first record silences the other four
    record(2, 2).type = 0;
    expect_fatal_type(unknown_type(1, 5) + unknown_type(2, 0));
    set_type(1, voigt_line);
    record(2, 3).type = 6;
    expect_fatal_type(unknown_type(2, 0));
    set_type(2, 6);
    noise_strt = 21;
    EXPECT_EQ(findings_at(1).find("unknown lineshape"), std::string::npos);
}

TEST_F(fit_check, gaussian_widths_that_no_line_has_are_a_warning) {
    make_steps(4);
    strategy[2][width] = 0;
    set_type(1, lorentzian_line);
    expect_nothing();
    set_type(2, lorentzian_line);
    expect_warning(no_gaussian + "1 3 4 \n");
    set_type(2, gaussian_line);
    expect_nothing();
    for (int k = 1; k <= 4; ++k) strategy[k][width] = 0;
    set_type(2, lorentzian_line);
    expect_detailed_warning(warning_blank + "gaussian linewidth  parameters will not be fitted \n");
}

TEST_F(fit_check, lorentzian_widths_that_no_line_has_are_a_detailed_warning) {
    make_steps(3);
    set_type(1, gaussian_line);
    expect_nothing();
    set_type(2, gaussian_line);
    strategy[1][width] = 0;
    strategy[3][voigt] = 0;
    // the steps that fit Gaussian widths are listed
    expect_detailed_warning(no_lorentzian + "2 3 \n");
    set_type(2, lorentzian_line);
    expect_nothing();
}

TEST_F(fit_check, shapes_are_those_of_lines_not_of_patterns) {
    make_entries(1, 1);
    set_type(1, lorentzian_line);
    set_type(2, voigt_line);
    expect_warning(no_gaussian + "1 \n");
    make_entries(0, 1);
    EXPECT_EQ(findings_at(2), no_gaussian + "1 \n");
    EXPECT_EQ(findings_at(3), no_gaussian + "1 \n" + no_lorentzian + "1 \n");
    EXPECT_EQ(pass, 1);
}

TEST_F(fit_check, shapes_are_not_counted_after_a_fatal_finding) {
    const std::string noise =
        fatal +
        "starting spectral point number of noise region is higher than ending point number\n"
        ">> interchange starting and ending point\n";
    noise_strt = 21;
    EXPECT_EQ(findings_at(2), noise + no_gaussian + "1 \n");
    EXPECT_EQ(findings_at(3), noise + no_gaussian + "1 \n" + no_lorentzian + "1 \n");
    steps = 0;
    EXPECT_EQ(findings_at(3).find("lineshapes in model"), std::string::npos);
}

TEST_F(fit_check, start_values_that_differ_from_the_prior_knowledge_are_named) {
    const std::string start = "WARNING tsts  initial value file inconsistency in ";
    par[3] = 99.0;
    expect_warning(start + "  Voigt line 1 parameter 3\n");
    par[9] = std::nextafter(par[9], 100.0);
    expect_warning(start + "  Voigt line 1 parameter 3\n" + start + "  Voigt line 2 parameter 9\n");
    make_entries(3, 1);
    set_type(1, gaussian_line);
    set_type(2, lorentzian_line);
    for (std::size_t j : {0U, 6U, 12U, 18U}) par[j] += 1.0;
    expect_warning(start + "  Gauss line 1 parameter 0\n" + start + "Lorentz line 2 parameter 6\n" +
                   start + "  Voigt line 3 parameter 12\n" + start + "4 parameter 18\n");
}

TEST_F(fit_check, a_start_value_that_is_no_number_differs_even_from_itself) {
    par[1] = record(1, 1).value = std::numeric_limits<double>::quiet_NaN();
    expect_warning("WARNING tsts  initial value file inconsistency in "
                   "  Voigt line 1 parameter 1\n");
    par[1] = record(1, 1).value = std::numeric_limits<double>::infinity();
    expect_nothing();
}

TEST_F(fit_check, the_sign_of_zero_is_no_difference) {
    par[3] = 0.0;
    record(1, 3).value = -0.0;
    expect_nothing();
}

TEST_F(fit_check, width_links_between_lines_of_different_types_are_fatal) {
    make_entries(3, 0);
    record(3, width1_par).fixed_to = 2;
    record(3, width2_par).fixed_to = 1;
    expect_nothing();
    set_type(2, gaussian_line);
    expect_fatal("illegal linewidth prior knowledge line 2 and line 3 : linetype mismatch\n");
    set_type(2, voigt_line);
    set_type(1, lorentzian_line);
    expect_fatal("illegal linewidth prior knowledge line 1 and line 3  : linetype mismatch\n");
    set_type(2, gaussian_line);
    expect_fatal("illegal linewidth prior knowledge line 1 and line 3  : linetype mismatch\n"
                 "illegal linewidth prior knowledge line 2 and line 3 : linetype mismatch\n");
}

TEST_F(fit_check, links_of_other_parameters_may_join_types) {
    set_type(1, gaussian_line);
    for (int j : {area_par, freq_par, phase_par}) record(2, j).fixed_to = 1;
    expect_nothing();
}

TEST_F(fit_check, width_types_are_those_of_the_width_records) {
    record(2, width1_par).fixed_to = record(2, width2_par).fixed_to = 1;
    record(1, width1_par).type = gaussian_line;
    expect_fatal("illegal linewidth prior knowledge line 1 and line 2 : linetype mismatch\n");
    record(1, width1_par).type = voigt_line;
    record(2, width2_par).type = lorentzian_line;
    expect_fatal("illegal linewidth prior knowledge line 1 and line 2  : linetype mismatch\n");
    record(2, width2_par).type = voigt_line;
    record(2, area_par).type = record(2, phase_par).type = gaussian_line;
    expect_nothing();
}

TEST_F(fit_check, width_links_forward_and_of_patterns_are_not_compared) {
    make_entries(2, 1);
    set_type(1, gaussian_line);
    record(1, width1_par).fixed_to = 2;
    record(3, width1_par).fixed_to = 1;
    record(3, width2_par).fixed_to = 2;
    // the third entry's source is tied itself, which is another matter
    expect_warning(warning_blank +
                   "width1 parameter of line 3 is tied to line 1 which is itself tied to line 2\n"
                   ">> it follows only when line 1 is evaluated before it \n");
}

TEST_F(fit_check, points_that_are_no_power_of_two_are_fatal) {
    hrange[1] = var_ap_trunc[1] = 0;
    for (int points : {1, 2, 1024, 1 << 24}) {
        ap = points;
        expect_nothing();
    }
    for (int points : {3, 1000, 1023, 1025}) {
        ap = points;
        expect_fatal(fatal_blank + "number of points is not a power of two : " +
                     std::to_string(points) + "\n>> choose 2, 4, 8, ... 1024 ...\n");
    }
    ap = 0;
    expect_fatal(fatal_blank + "number of points is not a power of two : 0\n"
                               ">> choose 2, 4, 8, ... 1024 ...\n");
}

TEST_F(fit_check, without_points_unfitted_groups_are_not_named) {
    hrange[1] = var_ap_trunc[1] = 0;
    strategy[1][ampli] = 0;
    for (int points : {0, 1}) {
        ap = points;
        EXPECT_EQ(findings_at(1).find("area parameters will not be fitted") != std::string::npos,
                  points > 0);
    }
}

TEST_F(fit_check, type_4_is_for_patterns_only) {
    make_entries(3, 1);
    set_type(2, pattern_line);
    expect_fatal(fatal_blank + "line 2 is of type 4 = Pattern but is no pattern\n"
                               ">> patterns are the entries from 4 on \n");
    // the type of an entry is that of its area
    set_type(2, voigt_line);
    record(2, phase_par).type = pattern_line;
    expect_nothing();
    // a pattern entry of another type is an analytic line behind the others
    make_entries(3, 1);
    set_type(4, lorentzian_line);
    expect_nothing();
}

TEST_F(fit_check, a_link_is_0_to_the_number_of_entries) {
    const char *const kinds[] = {"area", "frequency", "width1", "phase", "width2"};
    make_entries(2, 1);
    for (int j = 0; j < pars_per_entry; ++j) {
        for (int link : {0, 1, 2, 3}) {
            record(2, j).fixed_to = link;
            expect_nothing();
        }
        for (int link : {-1, 4, INT_MAX, INT_MIN}) {
            record(2, j).fixed_to = link;
            expect_fatal(fatal_blank + kinds[j] + " parameter of line 2 is tied to line " +
                         std::to_string(link) +
                         " which does not exist\n>> choose a number between 0 and 3 \n");
        }
        record(2, j).fixed_to = 0;
    }
}

TEST_F(fit_check, an_area_tied_to_one_of_0_is_fatal) {
    record(2, area_par).fixed_to = 1;
    for (double zero : {0.0, -0.0}) {
        record(1, area_par).value = par[0] = zero;
        expect_fatal(fatal_blank +
                     "area of line 2 is tied to line 1 whose area is zero : no ratio\n"
                     ">> give line 1 an area in its prior knowledge \n");
    }
    // only areas keep a ratio, and a fixed area may be 0
    record(2, area_par).fixed_to = 0;
    record(2, freq_par).fixed_to = 1;
    record(1, freq_par).value = par[1] = 0.0;
    record(1, area_par).fixed_to = 1;
    expect_nothing();
    record(2, area_par).fixed_to = 1;
    record(1, area_par).value = par[0] = 1e-300;
    expect_nothing();
}

TEST_F(fit_check, a_parameter_tied_to_a_tied_one_is_a_warning) {
    make_entries(3, 0);
    const char *const kinds[] = {"area", "frequency", "width1", "phase", "width2"};
    for (int j = 0; j < pars_per_entry; ++j) {
        record(3, j).fixed_to = 2;
        record(2, j).fixed_to = 2; // fixed: nothing to follow
        expect_nothing();
        record(2, j).fixed_to = 1;
        expect_warning(warning_blank + kinds[j] +
                       " parameter of line 3 is tied to line 2 which is itself tied to line 1\n"
                       ">> it follows only when line 2 is evaluated before it \n");
        record(3, j).fixed_to = record(2, j).fixed_to = 0;
    }
    // each tied to the other
    record(1, phase_par).fixed_to = 2;
    record(2, phase_par).fixed_to = 1;
    expect_warning(warning_blank +
                   "phase parameter of line 1 is tied to line 2 which is itself tied to line 1\n"
                   ">> it follows only when line 2 is evaluated before it \n" +
                   warning_blank +
                   "phase parameter of line 2 is tied to line 1 which is itself tied to line 2\n"
                   ">> it follows only when line 1 is evaluated before it \n");
}

TEST_F(fit_check, a_tie_to_a_link_that_leads_nowhere_is_named_once) {
    record(1, freq_par).fixed_to = 9;
    record(2, freq_par).fixed_to = 1;
    expect_fatal(fatal_blank + "frequency parameter of line 1 is tied to line 9 which does not "
                               "exist\n>> choose a number between 0 and 2 \n");
}

TEST_F(fit_check, findings_come_in_the_order_of_the_checks) {
    make_entries(2, 0);
    make_steps(1);
    noise_strt = -1;
    noise_stop = -2;
    phi_1 = -1.0;
    ap = 63;
    var_ap_trunc[1] = 64;
    record(1, 0).type = 0;
    par[2] = 0.0;
    record(2, width1_par).fixed_to = 1;
    record(2, width1_par).type = gaussian_line;
    record(2, freq_par).fixed_to = 7;
    lsf_coefs = -1;
    const std::string text = findings_at(3);
    std::size_t at = 0;
    for (const char *part :
         {"negative number of lineshape", "end of noise interval", "start of noise interval",
          "noise region is higher", "d e l a y", "cannot be truncated", "unknown lineshape type",
          "only lorentzian lineshapes", "WARNING tsts", "linetype mismatch", "power of two",
          "does not exist"}) {
        const std::size_t next = text.find(part);
        ASSERT_NE(next, std::string::npos) << part;
        EXPECT_GT(next + 1, at) << part;
        at = next;
    }
    EXPECT_EQ(pass, 0);
}

// Null tables: whatever is read of them crashes.
TEST_F(fit_check, counts_below_1_read_no_parameter_and_no_step) {
    for (int lines : {0, -1, -4096}) {
        for (int n : {0, -1}) {
            support::stdout_of([&] {
                TestInitValueFile(ap, lines, n, lines, nullptr, nullptr, noise_strt, noise_stop,
                                  phi_1, n, nullptr, nullptr, nullptr, nullptr, 3, pass);
            });
            EXPECT_EQ(pass, 0);
        }
    }
}

TEST_F(fit_check, negative_counts_beside_positive_ones_stay_within_the_records) {
    // as many records as there are entries altogether, not as there are lines
    make_entries(2, 0);
    nLines = 5;
    n_patterns = -3;
    expect_nothing();
    nLines = -3;
    n_patterns = 5;
    EXPECT_NE(findings_at(3).find("only lorentzian lineshapes"), std::string::npos);
    EXPECT_EQ(pass, 1);
}

TEST_F(fit_check, steps_beyond_the_nineteenth_are_not_looked_at) {
    make_steps(19);
    steps = 4000000;
    expect_nothing();
    min_method[19] = 3;
    EXPECT_NE(findings_at(1).find("in step 19\nillegal"), std::string::npos);
}
