// SPDX-License-Identifier: BSD-3-Clause
#include "unit/control/control_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <filesystem>

using namespace control_example;

static void expect_entry(int entry, const double (&values)[5]) {
    for (int j = 0; j < 5; ++j) {
        EXPECT_EQ(par[5 * (entry - 1) + j], values[j]) << "entry " << entry << " parameter " << j;
        EXPECT_EQ(fixpar[5 * (entry - 1) + j].value, values[j]) << entry << " value " << j;
    }
}

class f_cntl : public ::testing::Test {
  protected:
    void SetUp() override { start_from_defaults(); }
    file_text text;
};

// --- reading ---

TEST_F(f_cntl, reads_every_setting) {
    text.mode = "3";
    text.coefs = "1";
    text.coefficients = {"0.5", "-0.25"};
    text.hertz = "2.5";
    text.report = "1";
    text.followed = "4";
    EXPECT_EQ(read_version_3_text(text, 1, 1), "");
    expect_settings_of(text);
    EXPECT_EQ(ftol, static_cast<double>(1e-6F)); // reals have single precision
    EXPECT_EQ(ref_line, 0);
    EXPECT_EQ(n_patterns, 0);
}

TEST_F(f_cntl, reads_a_fit_strategy_with_steps_and_intervals_from_1) {
    text.steps = {"@ 1 32 1 0 1 0 1 0 7 1 55 4 2 10 20 30 45", "@ 2 64 0 1 0 1 0 1 1 0 200 2 0"};
    n_fit_strat_steps = 3; // of no effect
    read_version_3_text(text);
    ASSERT_EQ(file_corrupt, 0);
    ASSERT_EQ(n_fit_strat_steps, 2);
    EXPECT_EQ(min_method[1], 1);
    EXPECT_EQ(var_ap_trunc[1], 32);
    const int first[10] = {1, 0, 1, 0, 1, 0, 7, 1, 55, 4};
    const int second[10] = {0, 1, 0, 1, 0, 1, 1, 0, 200, 2};
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(user_fit_strat[1][i], first[i]) << i;
        EXPECT_EQ(user_fit_strat[2][i], second[i]) << i;
    }
    EXPECT_EQ(n_intervals[1], 2);
    EXPECT_EQ(hxmin[1][1], 10);
    EXPECT_EQ(hxmax[1][1], 20);
    EXPECT_EQ(hxmin[1][2], 30);
    EXPECT_EQ(hxmax[1][2], 45);
    EXPECT_EQ(hrange[1], 25); // 10 + 15: both ends count as one point less
    EXPECT_EQ(min_method[2], 2);
    EXPECT_EQ(n_intervals[2], 0);
    EXPECT_EQ(hrange[2], 0);
    EXPECT_EQ(hxmin[0][0], 0);
}

TEST_F(f_cntl, a_sum_of_intervals_beyond_an_int_stays_at_its_end) {
    text.steps = {"@ 2 64 1 1 1 1 1 0 1 0 100 2 1 -2147483648 2147483647"};
    read_version_3_text(text);
    EXPECT_EQ(hrange[1], 2147483647);
}

TEST_F(f_cntl, converts_to_points_by_the_type_of_each_width) {
    text.hertz = "0.5";
    text.with_entries(4);
    for (int k = 0; k < 4; ++k)
        for (int &type : text.entries[static_cast<std::size_t>(k)].type) type = k + 1;
    read_version_3_text(text, 4);
    ASSERT_EQ(file_corrupt, 0);
    // 32 Hz, 3 Hz, 2.5 Hz at half a hertz per point. 3 Hz times the acquisition time of 2 s, then
    // over 1.67: in this order of operations.
    const double gauss[5] = {100.0, 64.0, 3.0 * 2.0 / 1.67, -5.0, 2.5};
    const double lorentz[5] = {100.0, 64.0, 6.0, -5.0, 2.5};
    const double voigt[5] = {100.0, 64.0, 3.0 * 2.0 / 1.67, -5.0, 5.0};
    const double pattern[5] = {100.0, 64.0, 3.0, -5.0, 2.5};
    expect_entry(1, gauss);
    expect_entry(2, lorentz);
    expect_entry(3, voigt);
    expect_entry(4, pattern);
    const parameter_record *r = fixpar + 10; // Voigt line
    EXPECT_EQ(r[freq_par].min, 32.0);
    EXPECT_EQ(r[freq_par].max, 96.0);
    EXPECT_EQ(r[width1_par].min, 3.0 / 1.67);
    EXPECT_EQ(r[width1_par].max, 9.0 / 1.67);
    EXPECT_EQ(r[width2_par].min, 2.5);
    EXPECT_EQ(r[width2_par].max, 7.5);
    EXPECT_EQ(r[phase_par].min, -25.0);
    EXPECT_EQ(fixpar[5 + width2_par].min, 1.25); // Lorentzian line: as read
    EXPECT_EQ(npar, 20);
}

TEST_F(f_cntl, each_record_has_the_type_that_its_own_line_gives) {
    const int types[5] = {1, 2, 3, 4, 2};
    std::copy(types, types + 5, text.entries[0].type);
    read_version_3_text(text);
    for (int j = 0; j < 5; ++j) EXPECT_EQ(fixpar[j].type, types[j]) << j;
}

TEST_F(f_cntl, a_starting_value_keeps_seven_digits) {
    text.entries[0].start[1] = 9.76587128E+02;
    read_version_3_text(text);
    EXPECT_EQ(par[1], 976.587158203125);
}

TEST_F(f_cntl, frequencies_are_divided_by_frscl) {
    frscl = 4.0;
    read_version_3_text(text);
    EXPECT_EQ(par[freq_par], 8.0);
    EXPECT_EQ(fixpar[freq_par].min, 4.0);
    EXPECT_EQ(fixpar[freq_par].max, 12.0);
}

TEST_F(f_cntl, frequency_bounds_that_are_not_read_are_divided_all_the_same) {
    frscl = 4.0;
    text.ranges = "2";
    allocate_parameter_arrays(1, 0, 0);
    const support::temporary_folder folder;
    support::write_file(folder.file("a.par"), text.version_3());
    fixpar[freq_par].min = 16.0;
    fixpar[freq_par].max = 32.0;
    fixpar[phase_par].min = 16.0;
    read_version_3_file(folder.file("a.par"));
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(fixpar[freq_par].min, 4.0);
    EXPECT_EQ(fixpar[freq_par].max, 8.0);
    EXPECT_EQ(fixpar[phase_par].min, 16.0);
}

TEST_F(f_cntl, ranges_2_means_three_numbers_per_parameter) {
    text.ranges = "2";
    text.with_entries(2);
    EXPECT_EQ(read_version_3_text(text, 2), "");
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(fixpar[5 + width2_par].value, 2.5);
    EXPECT_EQ(fixpar[5 + width2_par].max, 0.0);
}

TEST_F(f_cntl, five_numbers_with_ranges_2_are_out_of_step) {
    const std::string file = replaced(text.version_3(), "ranges 0", "ranges 2");
    // Three of five numbers per parameter; the last link takes the 1 of "1.5", its value the ".5".
    EXPECT_EQ(read_version_3_text(file, 1), two_fatal_lines +
                                                "error reading prior knowledge information \n"
                                                "expected string to read : lsf_coefs  \n"
                                                "string found in file    : 4.5\n\n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(f_cntl, fit_mode_1_has_no_lineshape_coefficients) {
    text.coefs = "2";
    read_version_3_text(text, 1, 2);
    EXPECT_EQ(lsf_coefs, 0);
    EXPECT_EQ(ref_line, 0);
    EXPECT_EQ(file_corrupt, 0);
}

TEST_F(f_cntl, fit_mode_2_takes_a_reference_line) {
    text.coefs = "2";
    text.mode = "2";
    read_version_3_text(text, 1, 2);
    EXPECT_EQ(lsf_coefs, 0);
    EXPECT_EQ(ref_line, 1);
}

TEST_F(f_cntl, data_format_word_sets_its_code) {
    expect_format_words([](const file_text &given) { read_version_3_text(given); });
}

TEST_F(f_cntl, a_repeated_data_format_word_sets_code_1) {
    std::strcpy(sage_idl, "none");
    read_version_3_text(text);
    EXPECT_EQ(sageidl, 1);
}

TEST_F(f_cntl, pattern_names_are_echoed_above_verbose_0) {
    text.patterns = "2";
    text.names = {"first.pat", "dir/second.bin"};
    text.with_entries(3);
    text.lines = "1";
    text.report = "1";
    EXPECT_EQ(read_version_3_text(text, 1, 0, 2), "fit uses following pattern references :\n"
                                                  "first.pat\n"
                                                  "dir/second.bin\n");
    EXPECT_STREQ(pat_name[1], "first.pat");
    EXPECT_STREQ(pat_name[2], "dir/second.bin");
    EXPECT_EQ(npar, 15);
    start_from_defaults();
    text.report = "0";
    EXPECT_EQ(read_version_3_text(text, 1, 0, 2), "");
    EXPECT_STREQ(pat_name[2], "dir/second.bin");
}

TEST_F(f_cntl, markers_of_one_to_three_characters_are_split_from_their_word) {
    text.with_entries(12);
    for (std::size_t k = 0; k < 12; ++k) {
        text.entries[k].lsf_flag = static_cast<int>(k) + 1;
        text.entries[k].link[2] = static_cast<int>(k) + 1;
    }
    EXPECT_EQ(read_version_3_text(text, 12), "");
    EXPECT_EQ(file_corrupt, 0);
    for (int k = 1; k <= 12; ++k) {
        EXPECT_EQ(fit_lsf[k], k);
        EXPECT_EQ(fixpar[5 * (k - 1) + width1_par].fixed_to, k);
    }
}

TEST_F(f_cntl, marker_99_is_read_and_marker_100_is_not) {
    text.with_entries(99);
    EXPECT_EQ(read_version_3_text(text, 99), "");
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(fixpar[5 * 98 + width2_par].value, 2.5);
    start_from_defaults();
    text.with_entries(100);
    EXPECT_EQ(read_version_3_text(text, 100), two_fatal_lines +
                                                  "error reading prior knowledge information \n"
                                                  "expected string to read : lsf_coefs  \n"
                                                  "string found in file    : lsffit\n\n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(f_cntl, prior_knowledge_goes_by_place_and_not_by_marker) {
    text.with_entries(2);
    text.entries[1].link[0] = 1;
    const std::string file = replaced(text.version_3(), "#2", "#9");
    read_version_3_text(file, 2);
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(fixpar[5].fixed_to, 1);
}

TEST_F(f_cntl, keywords_are_not_compared) {
    const std::string file = replaced(text.version_3(), "noistr", "xyz");
    EXPECT_EQ(read_version_3_text(file, 1), "");
    EXPECT_EQ(noise_strt, 2);
}

TEST_F(f_cntl, a_keyword_ends_at_six_characters) {
    const std::string file = replaced(text.version_3(), "n_pnts 64", "n_pnts64");
    EXPECT_EQ(read_version_3_text(file, 1), "");
    EXPECT_EQ(ap, 64);
}

TEST_F(f_cntl, wrong_strategy_header_word_sets_file_corrupt) {
    text.strategy_word = "Algor";
    EXPECT_EQ(read_version_3_text(text),
              order_text("2 to 16", "ranges <integer>\nignore <integer>\npattrn <integer>\n\n\n"));
    EXPECT_EQ(file_corrupt, 1);
    EXPECT_EQ(n_fit_strat_steps, 0);
    EXPECT_EQ(par[0], 0.0);
    EXPECT_EQ(npar, 5); // units are converted all the same
}

TEST_F(f_cntl, a_strategy_header_word_of_more_than_five_characters_is_split) {
    text.strategy_word = "algorX";
    text.steps.clear();
    // "X" is the second header word; the last, "max", stands where "number" is expected.
    EXPECT_EQ(read_version_3_text(text), wrong_strategy);
}

TEST_F(f_cntl, every_strategy_header_word_is_five_characters_at_most) {
    const std::string file = replaced(text.version_3(), "trunc ampli frequ", "truncation frequ");
    // one word less, and one that counts twice
    EXPECT_EQ(read_version_3_text(file, 1), "");
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(n_fit_strat_steps, 1);
    EXPECT_EQ(user_fit_strat[1][0], 1);
}

TEST_F(f_cntl, wrong_start_header_word_sets_file_corrupt) {
    text.start_word = "Number";
    EXPECT_EQ(read_version_3_text(text), wrong_strategy);
    EXPECT_EQ(file_corrupt, 1);
    EXPECT_EQ(n_fit_strat_steps, 1);
    EXPECT_EQ(hrange[1], 0);
}

TEST_F(f_cntl, a_start_header_word_of_more_than_six_characters_is_split) {
    const std::string file = replaced(text.version_3(), "number area", "numberX");
    // "X" stands for "area"
    EXPECT_EQ(read_version_3_text(file, 1), "");
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(par[area_par], 100.0);
}

TEST_F(f_cntl, a_letter_in_a_step_ends_the_steps) {
    text.steps = {"@  1 1024  1  1  1  1  1  0  1  0  550  2   1  470 55O"};
    EXPECT_EQ(read_version_3_text(text), wrong_strategy);
    EXPECT_EQ(hxmax[1][1], 55);
}

TEST_F(f_cntl, wrong_first_marker_sets_file_corrupt) {
    text.first_marker = "1";
    EXPECT_EQ(read_version_3_text(text),
              two_fatal_lines +
                  "error in reading analytic lineshape parameters \n"
                  "expected string to read : #1\n"
                  "string found in file    : 1\n\n"
                  "example of legal definition analytic lineshape parameters : \n"
                  "number     area          frequency      gausswidth         phase        "
                  "lorentzwidth \n"
                  "  1   1.81648529E+09  9.76587128E+02  7.99022544E-01  -5.15528738E+00 "
                  "6.14323470E-01 \n");
    EXPECT_EQ(file_corrupt, 1);
    EXPECT_EQ(par[0], 100.0);
    EXPECT_EQ(hrange[1], 40);
}

TEST_F(f_cntl, a_file_without_lines_has_no_first_marker) {
    text.lines = "0";
    text.entries.clear();
    read_version_3_text(text, 0);
    EXPECT_EQ(file_corrupt, 1);
    EXPECT_EQ(npar, 0);
}

TEST_F(f_cntl, wrong_lineshape_head_sets_file_corrupt) {
    text.lsf_word = "lsf_coeff";
    EXPECT_EQ(read_version_3_text(text), two_fatal_lines +
                                             "error reading prior knowledge information \n"
                                             "expected string to read : lsf_coefs  \n"
                                             "string found in file    : lsf_coeff\n\n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(f_cntl, lineshape_words_end_at_nine_and_ten_characters) {
    text.lsf_word = "lsf_coefsend_of_lsfX";
    text.end_word = "";
    EXPECT_EQ(read_version_3_text(text), "");
    EXPECT_EQ(file_corrupt, 0);
}

TEST_F(f_cntl, wrong_end_of_lsf_sets_file_corrupt) {
    text.end_word = "end_of_LSF";
    EXPECT_EQ(read_version_3_text(text), two_fatal_lines +
                                             "error reading lsf fourier coefficients \n"
                                             "expected string to read : end_of_lsf  \n"
                                             "string found in file    : end_of_LSF\n\n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(f_cntl, a_starting_value_wins_over_the_prior_knowledge_silently_below_verbose_3) {
    text.entries[0].value[0] = 99.0;
    text.report = "2";
    EXPECT_EQ(read_version_3_text(text), "");
    EXPECT_EQ(fixpar[0].value, 100.0);
}

TEST_F(f_cntl, corrections_are_reported_by_line_type_at_verbose_3) {
    text.with_entries(5);
    text.report = "3";
    for (std::size_t k = 0; k < 5; ++k) {
        for (int &type : text.entries[k].type) type = static_cast<int>(k) + 1;
        text.entries[k].value[k] += 1.0;
    }
    EXPECT_EQ(
        read_version_3_text(text, 5),
        "warning read initial value file inconsistency in   Gauss line 1 parameter 0 : error "
        "corrected automatically\n"
        "warning read initial value file inconsistency in Lorentz line 2 parameter 6 : error "
        "corrected automatically\n"
        "warning read initial value file inconsistency in   Voigt line 3 parameter 12 : error "
        "corrected automatically\n"
        "warning read initial value file inconsistency in   Pattern    4 parameter 18 : error "
        "corrected automatically\n"
        "warning read initial value file inconsistency in 5 parameter 24 : error "
        "corrected automatically\n");
    for (int k = 0; k < 5; ++k) EXPECT_EQ(fixpar[6 * k].value, par[6 * k]);
}

TEST_F(f_cntl, not_a_number_differs_from_itself) {
    text.entries[0].start[0] = text.entries[0].value[0] = std::nan("");
    text.report = "3";
    EXPECT_NE(read_version_3_text(text).find("line 1 parameter 0 : error"), std::string::npos);
}

TEST_F(f_cntl, a_faulty_file_is_not_compared) {
    text.entries[0].value[0] = 99.0;
    text.report = "3";
    text.end_word = "end";
    EXPECT_EQ(read_version_3_text(text).find("warning"), std::string::npos);
    EXPECT_EQ(fixpar[0].value, 99.0);
}

TEST_F(f_cntl, a_file_that_cannot_be_opened_ends_the_run) {
    expect_end_without_file(read_version_3_file);
}

TEST_F(f_cntl, a_file_cut_anywhere_ends_in_a_message_or_whole) {
    text.with_entries(3);
    text.mode = "3";
    text.coefs = "2";
    text.coefficients = {"1", "2", "3", "4"};
    const std::string whole = text.version_3();
    const support::temporary_folder folder;
    for (std::size_t length = 0; length < whole.size() - 1; ++length) {
        start_from_defaults();
        support::write_file(folder.file("a.par"), whole.substr(0, length));
        const std::string printed = read_version_3(folder.file("a.par"), 3, 2);
        EXPECT_EQ(file_corrupt, 1) << length;
        EXPECT_FALSE(printed.empty()) << length;
    }
}

// --- writing ---

class f_cntl_writer : public ::testing::Test {
  protected:
    void SetUp() override { start_from_defaults(); }
    std::string written() { return without_time(support::read_file("compact.par")); }
    std::string line_of(const std::string &start) {
        const std::string all = "\n" + written();
        const std::size_t at = all.find("\n" + start);
        return at == std::string::npos ? "" : all.substr(at + 1, all.find('\n', at + 1) - at);
    }
    file_text text;
    support::temporary_folder folder{true};
};

TEST_F(f_cntl_writer, writes_the_layout) {
    text.mode = "3";
    text.coefs = "1";
    text.coefficients = {"0.5", "-0.25"};
    text.patterns = "1";
    text.names = {"p.pat"};
    text.with_entries(2);
    text.lines = "1";
    text.entries[0].lsf_flag = 1;
    text.entries[0].link[3] = 1;
    for (int &type : text.entries[1].type) type = 4;
    text.steps = {"@ 1 32 1 1 1 1 1 0 7 0 100 2 1 10 50",
                  "@ 2 64 1 1 1 1 1 0 1 0 200 2 2 0 9 20 63"};
    read_version_3_text(text, 1, 1, 1);
    ASSERT_EQ(file_corrupt, 0);
    std::strcpy(user, "U");
    std::strcpy(host, "H");
    std::strcpy(domain, "D");
    EXPECT_EQ(write_version_3(), 0);
    EXPECT_EQ(
        written(),
        "version_3\n"
        "n_pnts  64\n"
        "noistr   2\n"
        "noistp  10\n"
        "nLines   1\n"
        "lsfcfs   1\n"
        "phi__1 9.0000000000E+01\n"
        "Hz_p_p 1.0000000000E+00\n"
        "f__tol 9.9999999748E-07\n" // the nearest single-precision number
        "fit_mo   3\n"
        "verbos   0\n"
        "showli   1\n"
        "clcerr   1\n"
        "sg_idl none\n"
        "ranges   0\n"
        "ignore   3\n"
        "pattrn   1\n"
        "p.pat\n"
        "   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  cmplx   "
        "n_int   min   max\n"
        "@    1     32      1      1      1      1      1      0      7      0    100      2   "
        "   1     10     50   \n"
        "@    2     64      1      1      1      1      1      0      1      0    200      2   "
        "   2      0      9     20     63   \n"
        "number       area          frequency      gausswidth        phase        lorentzwidth \n"
        "1\t1.00000000E+02\t3.20000000E+01\t3.00000000E+00\t-5.00000000E+00\t2.50000000E+00\t\n"
        "2\t1.00000000E+02\t3.20000000E+01\t3.00000000E+00\t-5.00000000E+00\t2.50000000E+00\t\n"
        "#1\n"
        "lsffit 1\n"
        // value -+ half of it -+ 1e-8, one hundredth, one tenth, 20 degrees, one tenth
        "3\t0\t1.00000000E+02\t5.00000000E+01\t1.50000000E+02\t\n"
        "3\t0\t3.20000000E+01\t3.16800000E+01\t3.23200000E+01\t\n"
        "3\t0\t3.00000000E+00\t2.69999999E+00\t3.30000001E+00\t\n"
        "3\t1\t-5.00000000E+00\t-2.50000000E+01\t1.50000000E+01\t\n"
        "3\t0\t2.50000000E+00\t2.24999999E+00\t2.75000001E+00\t\n"
        "#2\n"
        "lsffit 0\n"
        "4\t0\t1.00000000E+02\t5.00000000E+01\t1.50000000E+02\t\n"
        "4\t0\t3.20000000E+01\t3.16800000E+01\t3.23200000E+01\t\n"
        "4\t0\t3.00000000E+00\t2.69999999E+00\t3.30000001E+00\t\n"
        "4\t0\t-5.00000000E+00\t-2.50000000E+01\t1.50000000E+01\t\n"
        "4\t0\t2.50000000E+00\t2.24999999E+00\t2.75000001E+00\t\n"
        "lsf_coefs\n"
        "5.00000000E-01\n"
        "-2.50000000E-01\n"
        "end_of_lsf\n"
        "\n\n-----------------------------------------------------------\n"
        "File created at :  TIME \n"
        "User            :  U \n"
        "Host            :  H \n"
        "Domain          :  D \n"
        "-----------------------------------------------------------\n");
}

TEST_F(f_cntl_writer, the_time_stamp_is_the_local_time) {
    const auto now = [] {
        const std::time_t seconds = std::time(nullptr);
        char stamp[80] = "";
        std::strftime(stamp, sizeof stamp, "%H:%M:%S %Z %A %B %d 20%y", std::localtime(&seconds));
        return std::string(stamp);
    };
    read_version_3_text(text);
    std::vector<std::string> possible = {now()};
    write_version_3();
    possible.push_back(now()); // a second may have passed
    const std::string stamp = time_stamp(support::read_file("compact.par"));
    EXPECT_TRUE(stamp == possible[0] || stamp == possible[1]) << stamp;
}

TEST_F(f_cntl_writer, fitted_values_stand_in_the_prior_knowledge_too) {
    read_version_3_text(text);
    par[area_par] = 80.0;
    write_version_3();
    EXPECT_EQ(line_of("3\t0\t8.0"), "3\t0\t8.00000000E+01\t4.00000000E+01\t1.20000000E+02\t\n");
}

TEST_F(f_cntl_writer, a_value_of_0_gets_a_range_as_well) {
    read_version_3_text(text);
    par[area_par] = 0.0;
    write_version_3();
    EXPECT_EQ(line_of("3\t0\t0.0"), "3\t0\t0.00000000E+00\t-1.00000000E-08\t1.00000000E-08\t\n");
}

TEST_F(f_cntl_writer, a_negative_width1_loses_its_sign_but_not_for_its_range) {
    text.entries[0].type[width1_par] = 4; // not converted
    read_version_3_text(text);
    par[width1_par] = -0.8;
    write_version_3();
    EXPECT_EQ(line_of("1\t"), "1\t1.00000000E+02\t3.20000000E+01\t8.00000000E-01\t-5.00000000E+00\t"
                              "2.50000000E+00\t\n");
    EXPECT_EQ(line_of("4\t0\t"), "4\t0\t8.00000000E-01\t-8.80000010E-01\t-7.19999990E-01\t\n");
}

TEST_F(f_cntl_writer, stored_ranges_are_written_with_par_ranges_1) {
    text.ranges = "1";
    text.entries[0].type[width1_par] = 4; // not converted
    read_version_3_text(text);
    frscl = 2.0;
    fixpar[width1_par].min = -1.5;
    write_version_3();
    EXPECT_EQ(line_of("1\t").substr(0, 32), "1\t1.00000000E+02\t6.40000000E+01\t");
    EXPECT_EQ(line_of("3\t0\t6.4"), "3\t0\t6.40000000E+01\t3.20000000E+01\t9.60000000E+01\t\n");
    EXPECT_EQ(line_of("4\t0\t").substr(0, 34), "4\t0\t3.00000000E+00\t1.50000000E+00\t");
    par[width1_par] = 0.0;
    write_version_3();
    EXPECT_EQ(line_of("4\t0\t").substr(0, 35), "4\t0\t0.00000000E+00\t-1.50000000E+00\t");
}

TEST_F(f_cntl_writer, changes_nothing_in_memory) {
    text.hertz = "0.3";
    read_version_3_text(text);
    const std::vector<double> before(par, par + 5);
    const parameter_record record = fixpar[width1_par];
    write_version_3();
    for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(par[j], before[j]);
    EXPECT_EQ(fixpar[width1_par].value, record.value);
    EXPECT_EQ(fixpar[width1_par].min, record.min);
}

TEST_F(f_cntl_writer, a_written_file_read_and_written_again_is_the_same) {
    support::random_numbers random(20);
    text.with_entries(12);
    text.mode = "3";
    text.coefs = "2";
    text.coefficients = {"0.125", "-7.5e-3", "3.25", "1e-4"};
    text.hertz = "1.9531";
    text.phi = "1079.77";
    for (std::size_t k = 0; k < 12; ++k) {
        for (int &type : text.entries[k].type) type = 1 + static_cast<int>(k) % 4;
        for (int j = 0; j < 5; ++j) {
            text.entries[k].start[j] = text.entries[k].value[j] = random.uniform(0.1, 900.0);
            text.entries[k].link[j] = random.integer(0, 12);
        }
    }
    read_version_3_text(text, 12, 2);
    ASSERT_EQ(file_corrupt, 0);
    const auto write = [&] {
        EXPECT_EQ(write_version_3(), 0);
        return written();
    };
    expect_same_when_written_again(write, [] { read_version_3("compact.par", 12, 2); });
}

TEST_F(f_cntl_writer, values_come_back_in_single_precision) {
    support::random_numbers random(5);
    text.hertz = "0.977";
    read_version_3_text(text);
    for (int j = 0; j < 5; ++j) par[j] = random.uniform(1.0, 60.0) * (j == 3 ? -1.0 : 1.0);
    const std::vector<double> before(par, par + 5);
    write_version_3();
    start_from_defaults();
    read_version_3("compact.par", 1);
    // half a unit of 24 bits, and of the ninth digit that is written
    for (std::size_t j = 0; j < 5; ++j)
        EXPECT_NEAR(par[j], before[j], (6.0e-8 + 5e-9) * std::fabs(before[j])) << j;
}

TEST_F(f_cntl_writer, a_file_written_with_par_ranges_2_is_not_read_back_in_step) {
    text.ranges = "2";
    read_version_3_text(text);
    ASSERT_EQ(file_corrupt, 0);
    write_version_3();
    start_from_defaults();
    read_version_3("compact.par", 1);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(f_cntl_writer, a_file_that_cannot_be_created_is_reported) {
    read_version_3_text(text);
    std::filesystem::create_directory("compact.par");
    int status = 0;
    EXPECT_EQ(support::stdout_of([&] { status = write_version_3(); }),
              " error_hs : file not opened\n ");
    EXPECT_EQ(status, EOF);
}

TEST_F(f_cntl_writer, a_full_disk_is_reported) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    read_version_3_text(text);
    std::filesystem::create_symlink("/dev/full", "compact.par");
    int status = 0;
    EXPECT_EQ(support::stdout_of([&] { status = write_version_3(); }),
              "error in writing file compact.par\n");
    EXPECT_NE(status, 0);
}

TEST_F(f_cntl_writer, missing_storage_is_reported_and_nothing_is_written) {
    read_version_3_text(text);
    expect_storage_missed(write_version_3, "compact.par", keyword_storage_texts);
}
