// SPDX-License-Identifier: BSD-3-Clause
// What the old format shares with version 3 is tested there (test_f_cntl.cpp); here, that it does
// share it, and the differences.
#include "unit/control/control_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

using namespace control_example;

class fitcontrol_old : public ::testing::Test {
  protected:
    void SetUp() override { start_from_defaults(); }
    file_text text;
};

TEST_F(fitcontrol_old, reads_settings_strategy_lines_and_prior_knowledge) {
    text.mode = "3";
    text.coefs = "1";
    text.coefficients = {"0.5", "-0.25"};
    text.hertz = "0.5";
    text.with_entries(11);
    text.entries[10].link[1] = 2;
    EXPECT_EQ(read_old_text(text, 11, 1), "");
    expect_settings_of(text);
    EXPECT_EQ(n_fit_strat_steps, 1);
    EXPECT_EQ(min_method[1], 2);
    EXPECT_EQ(user_fit_strat[1][8], 100);
    EXPECT_EQ(hrange[1], 40);
    EXPECT_EQ(fixpar[51].fixed_to, 2);
    const double voigt[5] = {100.0, 64.0, 3.0 * 2.0 / 1.67, -5.0, 5.0};
    for (int j = 0; j < 5; ++j) EXPECT_EQ(par[50 + j], voigt[j]) << j;
}

TEST_F(fitcontrol_old, leaves_tolerance_and_patterns_alone) {
    ftol = 0.125;
    n_patterns = 4;
    read_old_text(text);
    EXPECT_EQ(ftol, 0.125);
    EXPECT_EQ(n_patterns, 4);
    EXPECT_EQ(npar, 5);
}

TEST_F(fitcontrol_old, fit_mode_2_takes_a_reference_line_and_no_coefficients) {
    text.coefs = "2";
    text.mode = "2";
    read_old_text(text, 1, 2);
    EXPECT_EQ(lsf_coefs, 0);
    EXPECT_EQ(ref_line, 1);
    EXPECT_EQ(file_corrupt, 0);
}

static const std::string out_of_step =
    order_text("1 to 13", "ranges <integer>\n\n\nignore <integer>\n\n\n");

TEST_F(fitcontrol_old, wrong_strategy_header_word_sets_file_corrupt) {
    text.strategy_word = "ALGOR";
    EXPECT_EQ(read_old_text(text), out_of_step);
    EXPECT_EQ(file_corrupt, 1);
    EXPECT_EQ(npar, 5);
}

TEST_F(fitcontrol_old, a_pattrn_line_is_taken_for_the_strategy_header) {
    text.strategy_word = "pattrn 0\nalgor";
    EXPECT_EQ(read_old_text(text), out_of_step);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(fitcontrol_old, wrong_start_header_word_sets_file_corrupt) {
    text.start_word = "nummer";
    EXPECT_EQ(read_old_text(text), wrong_strategy);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(fitcontrol_old, start_header_words_are_split_at_their_widths) {
    const std::string file = replaced(text.old(), "width1 phase width2", "width1Xphasewidth2");
    const support::temporary_folder folder;
    support::write_file(folder.file("a.par"), file);
    // "width1", "Xphas" and "ewidth" are skipped; "2" is left for the number of the first line, so
    // that its values are one place early and the last is met where the marker is expected.
    EXPECT_NE(read_old(folder.file("a.par"), 1).find("string found in file    : 2.\n\n"),
              std::string::npos);
    EXPECT_EQ(par[area_par], 1.0);
    EXPECT_EQ(par[freq_par], 100.0);
}

TEST_F(fitcontrol_old, wrong_first_marker_sets_file_corrupt) {
    text.first_marker = "#2";
    EXPECT_EQ(read_old_text(text),
              two_fatal_lines +
                  "error in reading analytic lineshape parameters \n"
                  "expected string to read : #1\n"
                  "string found in file    : #2\n\n"
                  "example of legal definition analytic lineshape parameters : \n"
                  "number       area          frequency        width1           phase        "
                  "width2 \n"
                  "  1       1.81648529E+09  9.76587128E+02  7.99022544E-01  -5.15528738E+00 "
                  "6.14323470E-01 \n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(fitcontrol_old, wrong_lineshape_head_sets_file_corrupt) {
    text.lsf_word = "lsf";
    EXPECT_EQ(read_old_text(text), two_fatal_lines + "error reading prior knowledge information \n"
                                                     "expected string to read : lsf_coefs  \n"
                                                     "string found in file    : lsf\n\n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(fitcontrol_old, wrong_end_of_lsf_sets_file_corrupt_without_naming_the_word) {
    text.end_word = "end_of_file";
    EXPECT_EQ(read_old_text(text), two_fatal_lines + "error reading lsf fourier coefficients \n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(fitcontrol_old, corrections_are_reported_at_any_verbose_level) {
    text.with_entries(4);
    for (const char *level : {"0", "3", "-1"}) {
        start_from_defaults();
        text.report = level;
        for (std::size_t k = 0; k < 4; ++k) {
            for (int &type : text.entries[k].type) type = static_cast<int>(k) + 1;
            text.entries[k].value[0] = 99.0;
        }
        EXPECT_EQ(read_old_text(text, 4),
                  "warning read initial value file inconsistency in   Gauss line 1 parameter 0 : "
                  "error corrected automatically\n"
                  "warning read initial value file inconsistency in Lorentz line 2 parameter 5 : "
                  "error corrected automatically\n"
                  "warning read initial value file inconsistency in   Voigt line 3 parameter 10 : "
                  "error corrected automatically\n"
                  "warning read initial value file inconsistency in 4 parameter 15 : "
                  "error corrected automatically\n")
            << level;
        EXPECT_EQ(fixpar[15].value, 100.0);
    }
}

TEST_F(fitcontrol_old, a_file_that_cannot_be_opened_ends_the_run) {
    expect_end_without_file(read_old_file);
}

class fitcontrol_old_writer : public ::testing::Test {
  protected:
    void SetUp() override { start_from_defaults(); }
    std::string written() { return without_time(support::read_file("compact.par")); }
    file_text text;
    support::temporary_folder folder{true};
};

TEST_F(fitcontrol_old_writer, writes_the_layout) {
    text.mode = "3";
    text.coefs = "1";
    text.coefficients = {"0.5", "-0.25"};
    text.entries[0].lsf_flag = 1;
    text.entries[0].link[3] = 1;
    read_old_text(text, 1, 1);
    ASSERT_EQ(file_corrupt, 0);
    EXPECT_EQ(write_old(), 0);
    EXPECT_EQ(written(),
              "n_pnts  64\n"
              "noistr   2\n"
              "noistp  10\n"
              "nLines   1\n"
              "lsfcfs   1\n"
              "phi__1 9.0000000000E+01\n"
              "Hz_p_p 1.0000000000E+00\n"
              "fit_mo   3\n"
              "verbos   0\n"
              "showli   1\n"
              "clcerr   1\n"
              "sg_idl none\n"
              "ranges   0\n"
              "ignore   3\n"
              "   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  "
              "cmplx   n_int   min   max\n"
              "@    2     64      1      1      1      1      1      0      1      0    100      "
              "2      1     10     50   \n"
              "number       area          frequency        width1           phase        width2 \n"
              "1\t1.00000000E+02\t3.20000000E+01\t3.00000000E+00\t-5.00000000E+00\t"
              "2.50000000E+00\t\n"
              "#1\n"
              "lsffit 1\n"
              "3\t0\t1.00000000E+02\t5.00000000E+01\t1.50000000E+02\t\n"
              "3\t0\t3.20000000E+01\t3.16800000E+01\t3.23200000E+01\t\n"
              "3\t0\t3.00000000E+00\t2.69999999E+00\t3.30000001E+00\t\n"
              "3\t1\t-5.00000000E+00\t-2.50000000E+01\t1.50000000E+01\t\n"
              "3\t0\t2.50000000E+00\t2.24999999E+00\t2.75000001E+00\t\n"
              "lsf_coefs\n"
              "5.00000000E-01\n"
              "-2.50000000E-01\n"
              "end_of_lsf\n"
              "\n\n-----------------------------------------------------------\n"
              "File created at :  TIME \n");
}

TEST_F(fitcontrol_old_writer, a_written_file_read_and_written_again_is_the_same) {
    support::random_numbers random(21);
    text.with_entries(11);
    text.hertz = "1.9531";
    text.ranges = "1";
    for (std::size_t k = 0; k < 11; ++k) {
        for (int &type : text.entries[k].type) type = 1 + static_cast<int>(k) % 3;
        for (int j = 0; j < 5; ++j)
            text.entries[k].start[j] = text.entries[k].value[j] = random.uniform(0.1, 900.0);
    }
    read_old_text(text, 11);
    ASSERT_EQ(file_corrupt, 0);
    const auto write = [&] {
        EXPECT_EQ(write_old(), 0);
        return written();
    };
    expect_same_when_written_again(write, [] { read_old("compact.par", 11); });
}

TEST_F(fitcontrol_old_writer, stops_short_of_the_patterns) {
    read_old_text(text);
    n_patterns = 3; // of no interest to this format
    EXPECT_EQ(write_old(), 0);
    EXPECT_EQ(written().find("#2"), std::string::npos);
}

TEST_F(fitcontrol_old_writer, a_file_that_cannot_be_created_is_reported) {
    read_old_text(text);
    std::filesystem::create_directory("compact.par");
    EXPECT_EQ(support::stdout_of([&] { EXPECT_EQ(write_old(), EOF); }),
              " error_hs : file not opened\n ");
}

TEST_F(fitcontrol_old_writer, missing_storage_is_reported_and_nothing_is_written) {
    read_old_text(text);
    expect_storage_missed(write_old, "compact.par", keyword_storage_texts);
}
