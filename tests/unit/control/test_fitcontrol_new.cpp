// SPDX-License-Identifier: BSD-3-Clause
#include "unit/control/control_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>

using namespace control_example;

class fitcontrol_new : public ::testing::Test {
  protected:
    void SetUp() override { start_from_defaults(); }

    // Runs f on a stream that holds the content.
    void on_stream(const std::string &content, const std::function<void(std::FILE *)> &f) {
        const support::temporary_folder folder;
        support::write_file(folder.file("a"), content);
        std::FILE *file = std::fopen(folder.file("a").c_str(), "r");
        ASSERT_NE(file, nullptr);
        f(file);
        std::fclose(file);
    }

    file_text text;
};

// --- reading ---

TEST_F(fitcontrol_new, reads_every_block) {
    text.mode = "3";
    text.coefs = "1";
    text.coefficients = {"0.5", "-0.25"};
    text.hertz = "0.5";
    text.patterns = "2";
    text.names = {"one.pat", "two.bin"};
    text.with_entries(3);
    text.lines = "1";
    text.entries[2].lsf_flag = 1;
    text.entries[2].link[2] = 1;
    text.entries[1].type[0] = 2;
    EXPECT_EQ(read_block_text(text.blocks(), 1, 1, 2), "");
    expect_settings_of(text);
    EXPECT_EQ(ftol, static_cast<double>(1e-6F));
    EXPECT_EQ(n_patterns, 2);
    EXPECT_STREQ(pat_name[1], "one.pat");
    EXPECT_STREQ(pat_name[2], "two.bin");
    const double voigt[5] = {100.0, 64.0, 3.0 * 2.0 / 1.67, -5.0, 5.0};
    const double lorentz[5] = {100.0, 64.0, 6.0, -5.0, 2.5};
    for (int j = 0; j < 5; ++j) {
        EXPECT_EQ(par[j], voigt[j]) << j;
        EXPECT_EQ(fixpar[j].value, voigt[j]) << j;
        EXPECT_EQ(par[5 + j], lorentz[j]) << j;
        EXPECT_EQ(fixpar[5 + j].type, 2) << j; // read once, copied to all five
    }
    EXPECT_EQ(fixpar[freq_par].min, 32.0);
    EXPECT_EQ(fixpar[freq_par].max, 96.0);
    EXPECT_EQ(fit_lsf[2], 0);
    EXPECT_EQ(fit_lsf[3], 1);
    EXPECT_EQ(fixpar[12].fixed_to, 1);
}

TEST_F(fitcontrol_new, a_starting_value_keeps_seven_digits) {
    EXPECT_EQ(text_of(9.76587128E+02), "976.587128");
    text.entries[0].start[1] = 9.76587128E+02;
    text.entries[0].start[0] = 1.81648529E+09;
    text.tolerance = "1.0E-07";
    read_block_text(text.blocks());
    EXPECT_EQ(par[1], 976.587158203125);
    EXPECT_EQ(par[0], 1816485248.0);
    EXPECT_EQ(ftol, 1.0000000116860974e-07);
}

TEST_F(fitcontrol_new, fit_strategy_lines_are_passed_over) {
    text.steps.push_back("@ 1 8 0 0 0 0 0 0 1 0 5 2 0");
    n_fit_strat_steps = 7;
    hrange[1] = 55;
    read_block_text(text.blocks());
    EXPECT_EQ(n_fit_strat_steps, 0);
    EXPECT_EQ(hrange[1], 55);
    EXPECT_EQ(min_method[1], 0);
    EXPECT_EQ(par[0], 100.0); // what follows is read
}

TEST_F(fitcontrol_new, the_word_behind_the_fit_control_block_is_read_whole) {
    text.steps.clear(); // a block keyword comes next
    read_block_text(text.blocks());
    EXPECT_EQ(par[0], 100.0);
}

TEST_F(fitcontrol_new, prior_knowledge_goes_by_the_number_that_is_read) {
    text.with_entries(3);
    text.entries[0].number = 3;
    text.entries[0].link[0] = 33;
    text.entries[2].number = 2;
    text.entries[1].link[0] = 21;
    text.entries[2].link[0] = 22;
    read_block_text(text.blocks(), 3);
    EXPECT_EQ(fixpar[10].fixed_to, 33);
    EXPECT_EQ(fixpar[5].fixed_to, 22); // filled twice
    EXPECT_EQ(fixpar[0].type, 0);      // left untouched
    EXPECT_EQ(file_corrupt, 0);
}

TEST_F(fitcontrol_new, starting_values_go_by_their_place) {
    text.with_entries(2);
    text.entries[0].number = 2;
    text.entries[1].number = 1;
    text.entries[0].start[0] = 7.0;
    read_block_text(text.blocks(), 2);
    EXPECT_EQ(par[0], 7.0);
}

TEST_F(fitcontrol_new, a_prior_knowledge_entry_has_13_numbers_with_par_ranges_2_else_23) {
    text.with_entries(2);
    for (const char *mode : {"0", "1", "2", "3"}) {
        start_from_defaults();
        text.ranges = mode;
        read_block_text(text.blocks(), 2);
        EXPECT_EQ(file_corrupt, 0) << mode;
        EXPECT_EQ(fixpar[9].value, 2.5) << mode;
        EXPECT_EQ(fixpar[9].max, text.ranges == "2" ? 0.0 : 3.75) << mode;
    }
}

TEST_F(fitcontrol_new, frequency_bounds_that_are_not_read_are_divided_all_the_same) {
    frscl = 4.0;
    parameter_record records[5] = {};
    records[freq_par].min = 16.0;
    records[freq_par].max = 32.0;
    records[phase_par].min = 16.0;
    on_stream("1 0 2  0 10  0 20  0 3  0 4  0 5", [&](std::FILE *file) {
        EXPECT_TRUE(read_varokel_prior_knowledge(file, "a", 1, 0, 2, frscl, fit_lsf, records,
                                                 file_corrupt));
    });
    EXPECT_EQ(records[freq_par].value, 5.0);
    EXPECT_EQ(records[freq_par].min, 4.0);
    EXPECT_EQ(records[freq_par].max, 8.0);
    EXPECT_EQ(records[phase_par].min, 16.0);
    EXPECT_EQ(records[width2_par].value, 5.0);
    EXPECT_EQ(records[width2_par].type, 2);
}

TEST_F(fitcontrol_new, frequencies_are_divided_by_frscl) {
    frscl = 4.0;
    read_block_text(text.blocks());
    EXPECT_EQ(par[freq_par], 8.0);
    EXPECT_EQ(fixpar[freq_par].value, 8.0);
    EXPECT_EQ(fixpar[freq_par].max, 12.0);
}

TEST_F(fitcontrol_new, fit_modes_1_and_2_set_the_coefficients_to_0) {
    text.coefs = "2";
    for (const char *mode : {"1", "2", "3"}) {
        start_from_defaults();
        text.mode = mode;
        read_block_text(text.blocks(), 1, 2);
        EXPECT_EQ(lsf_coefs, text.mode == "3" ? 2 : 0) << mode;
        EXPECT_EQ(ref_line, text.mode == "2" ? 1 : 0) << mode;
    }
}

TEST_F(fitcontrol_new, a_later_spectrum_block_overwrites_what_the_fit_mode_set) {
    text.coefs = "2";
    read_block_text("varokel_begin_of_file\n" + text.control_block() + text.spectrum_block() +
                        text.end_of_file,
                    1, 2);
    EXPECT_EQ(fitmode, 1);
    EXPECT_EQ(lsf_coefs, 2);
    EXPECT_EQ(file_corrupt, 0);
}

TEST_F(fitcontrol_new, a_later_block_overwrites_an_earlier_one) {
    file_text later = text;
    later.entries[0].start[0] = 7.0;
    read_block_text("varokel_begin_of_file\n" + text.spectrum_block() +
                    text.starting_value_block() + later.starting_value_block());
    EXPECT_EQ(par[0], 7.0);
}

TEST_F(fitcontrol_new, blocks_may_be_left_out) {
    Hz_pp = 2.0;
    T_acq = 0.5;
    EXPECT_EQ(read_block_text("varokel_begin_of_file varokel_end_of_file"), "");
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(npar, 0);
    EXPECT_EQ(verbose, 2);
    EXPECT_EQ(n_fit_strat_steps, 0);
}

TEST_F(fitcontrol_new, a_keyword_is_a_whole_word_in_lower_case) {
    read_block_text("varokel_begin_of_file Varokel_spectrum_information 128 "
                    "varokel_spectrum_information. 128 #varokel_spectrum_information 128 "
                    "varokel_end_of_file");
    EXPECT_EQ(ap, 0);
}

TEST_F(fitcontrol_new, the_first_word_is_not_looked_at) {
    read_block_text("varokel_spectrum_information " + text.spectrum_block() + text.end_of_file);
    EXPECT_EQ(ap, 64);
    start_from_defaults();
    read_block_text(text.spectrum_block() + text.end_of_file);
    EXPECT_EQ(ap, 0);
}

TEST_F(fitcontrol_new, nothing_behind_the_end_mark_is_read) {
    read_block_text("varokel_begin_of_file varokel_end_of_file " + text.spectrum_block());
    EXPECT_EQ(ap, 0);
}

TEST_F(fitcontrol_new, a_missing_end_mark_ends_with_the_file) {
    text.end_of_file = "";
    EXPECT_EQ(read_block_text(text.blocks()), "");
    EXPECT_EQ(par[0], 100.0);
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(npar, 5);
}

TEST_F(fitcontrol_new, a_file_cut_anywhere_is_read_to_its_end) {
    text.with_entries(3);
    text.mode = "3";
    text.coefs = "2";
    text.coefficients = {"1", "2", "3", "4"};
    const std::string whole = text.blocks();
    for (std::size_t length = 0; length < whole.size(); length += 3) {
        start_from_defaults();
        const std::string printed = read_block_text(whole.substr(0, length), 3, 2);
        EXPECT_EQ(printed.empty(), file_corrupt == 0) << length;
    }
}

TEST_F(fitcontrol_new, coefficients_behind_count_0_are_passed_over) {
    text.coefficients = {"1", "2", "3"};
    EXPECT_EQ(read_block_text(text.blocks(), 1, 2), "");
    EXPECT_EQ(par[5], 0.0);
    EXPECT_EQ(file_corrupt, 0);
}

TEST_F(fitcontrol_new, data_format_word_sets_its_code) {
    expect_format_words([](const file_text &given) { read_block_text(given.blocks()); });
}

TEST_F(fitcontrol_new, a_second_fit_control_block_with_the_same_format_word_sets_code_1) {
    read_block_text("varokel_begin_of_file " + text.control_block() + text.control_block() +
                    text.end_of_file);
    EXPECT_STREQ(sage_idl, "none");
    EXPECT_EQ(sageidl, 1);
}

TEST_F(fitcontrol_new, a_failed_scan_leaves_its_target) {
    noise_strt = 5;
    read_block_text("varokel_begin_of_file varokel_spectrum_information 64 x 10");
    EXPECT_EQ(ap, 64);
    EXPECT_EQ(noise_strt, 5);
    EXPECT_EQ(noise_stop, 0);
}

TEST_F(fitcontrol_new, a_starting_value_that_does_not_scan_is_not_divided_either) {
    frscl = 4.0;
    allocate_parameter_arrays(1, 0, 0);
    nLines = 1;
    par[area_par] = 3.0;
    par[freq_par] = 8.0;
    const support::temporary_folder folder;
    support::write_file(folder.file("a.par"), "1 5.0 x 1.0 2.0 3.0");
    std::FILE *file = std::fopen(folder.file("a.par").c_str(), "r");
    ASSERT_NE(file, nullptr);
    read_varokel_starting_values(file, nLines, n_patterns, frscl, par);
    std::fclose(file);
    EXPECT_EQ(par[area_par], 5.0);
    EXPECT_EQ(par[freq_par], 8.0);
    // the next scans start at the same place
    EXPECT_EQ(par[width1_par], 0.0);
}

TEST_F(fitcontrol_new, a_file_that_cannot_be_opened_leaves_all_but_converts) {
    const support::temporary_folder folder;
    nLines = 1;
    T_acq = 0.5;
    Hz_pp = 2.0;
    allocate_parameter_arrays(1, 0, 0);
    par[freq_par] = 10.0;
    EXPECT_EQ(support::stdout_of([&] { read_blocks_file(folder.file("none")); }),
              "==> .shf file could not be opened\n");
    EXPECT_EQ(par[freq_par], 5.0);
    EXPECT_EQ(npar, 5);
    EXPECT_EQ(file_corrupt, 0);
}

// --- writing ---

class fitcontrol_new_writer : public ::testing::Test {
  protected:
    void SetUp() override { start_from_defaults(); }

    void name_start_file(const std::string &base) {
        std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", folder.file(base).c_str());
    }

    // What is written, without comment lines; of one that ends in two line ends the second stays.
    std::string values_written(const std::string &base = "start.par") {
        name_start_file(base);
        EXPECT_EQ(write_blocks(), 0);
        const std::string all = without_time(support::read_file(strtvalfnm));
        std::string values;
        for (std::size_t at = 0, end; at < all.size(); at = end + 1) {
            end = all.find('\n', at);
            if (all[at] != '#') values += all.substr(at, end + 1 - at);
        }
        return values;
    }

    std::string block_written(const std::string &keyword) {
        const std::string all = values_written();
        const std::size_t first = all.find(keyword), next = all.find("varokel_", first + 1);
        EXPECT_NE(first, std::string::npos);
        return all.substr(first + keyword.size(), next - first - keyword.size());
    }

    support::temporary_folder folder;
    file_text text;
};

TEST_F(fitcontrol_new_writer, writes_the_layout) {
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
    EXPECT_EQ(
        values_written(),
        "varokel_begin_of_file\n\n"
        "\n"
        "  \n"
        "\nvarokel_spectrum_information\n\n"
        " 64\n"
        "  2\n"
        " 10\n"
        "  1\n"
        "  1\n"
        "9.0000000000E+01\n"
        "1.0000000000E+00\n"
        "9.9999999748E-07\n"
        "  3\n"
        "  1\n\n"
        "\n"
        "varokel_pattern_references\n\n"
        "p.pat\n"
        "\n\n"
        "\n"
        "varokel_fit_control\n\n"
        "3\n"
        "0\n"
        "1\n"
        "1\n"
        "none\n"
        "0\n\n"
        "@    1   32    1    1    1    1    1    0    7     0   100     2     1    10    50  \n"
        "@    2   64    1    1    1    1    1    0    1     0   200     2     2     0     9  "
        "  20    63  \n"
        "\n"
        "\n\n"
        "varokel_starting_values \n\n"
        "     1     1.000000E+02   3.200000E+01   3.000000E+00   -5.000000E+00   "
        "2.500000E+00\n"
        "     2     1.000000E+02   3.200000E+01   3.000000E+00   -5.000000E+00   "
        "2.500000E+00\n"
        "\n"
        "\n"
        "varokel_prior_knowledge\n\n"
        "1\n"
        "1\n"
        "3\n"
        // value -+ one tenth -+ 1e-8, one hundredth, one tenth, 20 degrees, one tenth
        "0\t1.000000E+02\t9.00000000E+01\t1.10000000E+02\t\n"
        "0\t3.200000E+01\t3.16800000E+01\t3.23200000E+01\t\n"
        "0\t3.000000E+00\t2.69999999E+00\t3.30000001E+00\t\n"
        "1\t-5.000000E+00\t-2.50000000E+01\t1.50000000E+01\t\n"
        "0\t2.500000E+00\t2.24999999E+00\t2.75000001E+00\t\n"
        "2\n"
        "0\n"
        "4\n"
        "0\t1.000000E+02\t9.00000000E+01\t1.10000000E+02\t\n"
        "0\t3.200000E+01\t3.16800000E+01\t3.23200000E+01\t\n"
        "0\t3.000000E+00\t2.69999999E+00\t3.30000001E+00\t\n"
        "0\t-5.000000E+00\t-2.50000000E+01\t1.50000000E+01\t\n"
        "0\t2.500000E+00\t2.24999999E+00\t2.75000001E+00\t\n"
        "\n\n"
        "varokel_line_shape_function\n\n"
        "5.000000E-01\n"
        "-2.500000E-01\n"
        "\n\nvarokel_end_of_file\n"
        "\n\n----------------------------------------------------------\n"
        "File created at :  TIME \n");
}

TEST_F(fitcontrol_new_writer, four_characters_of_the_name_are_cut_when_it_has_more) {
    read_block_text(text.blocks());
    const support::temporary_folder here(true);
    struct {
        const char *start, *written;
    } const cases[] = {{"compact.par", "compact_verbose.par"},
                       {"a.par", "a_verbose.par"},
                       {"abcde", "a_verbose.par"},
                       {"abcd", "abcd_verbose.par"},
                       {"abc", "abc_verbose.par"},
                       {"x_verbose.par", "x_verbose_verbose.par"}};
    for (const auto &c : cases) {
        std::strcpy(strtvalfnm, c.start);
        EXPECT_EQ(write_blocks(), 0);
        EXPECT_STREQ(strtvalfnm, c.written);
        EXPECT_TRUE(support::file_exists(c.written));
    }
}

TEST_F(fitcontrol_new_writer, a_name_that_fills_its_storage_is_cut_further) {
    read_block_text(text.blocks());
    std::memset(strtvalfnm, 'a', sizeof strtvalfnm - 1);
    strtvalfnm[sizeof strtvalfnm - 1] = '\0';
    write_blocks();
    EXPECT_EQ(std::strlen(strtvalfnm), sizeof strtvalfnm - 1);
    EXPECT_STREQ(strtvalfnm + sizeof strtvalfnm - 14, "a_verbose.par");
}

TEST_F(fitcontrol_new_writer, the_numbers_of_lines_10_and_above_have_one_blank_less) {
    text.with_entries(10);
    read_block_text(text.blocks(), 10);
    const std::string block = block_written("varokel_starting_values \n\n");
    EXPECT_NE(block.find("\n     9     1.000000E+02   "), std::string::npos);
    EXPECT_NE(block.find("\n     10    1.000000E+02   "), std::string::npos);
}

TEST_F(fitcontrol_new_writer, a_negative_width1_loses_its_sign_but_not_for_its_range) {
    text.entries[0].type[0] = 4; // not converted
    read_block_text(text.blocks());
    par[width1_par] = -0.8;
    EXPECT_NE(block_written("varokel_starting_values \n\n").find("   8.000000E-01   -5.000000E+00"),
              std::string::npos);
    EXPECT_NE(block_written("varokel_prior_knowledge\n\n")
                  .find("0\t8.000000E-01\t-8.80000010E-01\t-7.19999990E-01\t\n"),
              std::string::npos);
}

TEST_F(fitcontrol_new_writer, a_phase_of_5_gets_20_degrees_on_either_side) {
    text.entries[0].start[3] = 5.0;
    read_block_text(text.blocks());
    EXPECT_NE(block_written("varokel_prior_knowledge\n\n")
                  .find("0\t5.000000E+00\t-1.50000000E+01\t2.50000000E+01\t\n"),
              std::string::npos);
}

TEST_F(fitcontrol_new_writer, frequencies_and_their_default_ranges_are_multiplied_by_frscl) {
    read_block_text(text.blocks());
    frscl = 2.0;
    EXPECT_NE(block_written("varokel_starting_values \n\n").find("   6.400000E+01   "),
              std::string::npos);
    EXPECT_NE(block_written("varokel_prior_knowledge\n\n")
                  .find("0\t6.400000E+01\t6.33600000E+01\t6.46400000E+01\t\n"),
              std::string::npos);
}

TEST_F(fitcontrol_new_writer, stored_ranges_are_written_with_par_ranges_1) {
    text.ranges = "1";
    text.entries[0].type[0] = 4; // not converted
    text.entries[0].min[2] = -1.5;
    read_block_text(text.blocks());
    frscl = 2.0;
    const std::string expected = "1\n0\n4\n"
                                 "0\t1.000000E+02\t5.000000E+01\t1.500000E+02\n"
                                 "0\t6.400000E+01\t3.200000E+01\t9.600000E+01\n"
                                 "0\t3.000000E+00\t1.500000E+00\t4.500000E+00\n"
                                 "0\t-5.000000E+00\t-2.500000E+01\t1.500000E+01\n"
                                 "0\t2.500000E+00\t1.250000E+00\t3.750000E+00\n\n";
    EXPECT_EQ(block_written("varokel_prior_knowledge\n\n").substr(0, expected.size()), expected);
    par[width1_par] = 0.0;
    EXPECT_NE(block_written("varokel_prior_knowledge\n\n")
                  .find("0\t0.000000E+00\t-1.500000E+00\t4.500000E+00\n"),
              std::string::npos);
}

TEST_F(fitcontrol_new_writer, an_empty_line_follows_each_entry_with_stored_ranges_only) {
    text.with_entries(2);
    for (const char *ranges : {"0", "1", "3"}) {
        text.ranges = ranges;
        start_from_defaults();
        read_block_text(text.blocks(), 2);
        const std::string written = block_written("varokel_prior_knowledge\n\n");
        const bool stored = par_ranges == 1;
        EXPECT_NE(written.find(stored ? "0\t1.000000E+02\t5.000000E+01\t1.500000E+02\n"
                                      : "0\t1.000000E+02\t9.00000000E+01\t1.10000000E+02\t\n"),
                  std::string::npos)
            << ranges;
        EXPECT_NE(written.find(stored ? "3.750000E+00\n\n2\n0\n3\n" : "E+00\t\n2\n0\n3\n"),
                  std::string::npos)
            << written;
    }
}

TEST_F(fitcontrol_new_writer, a_file_written_after_a_fit_loads_without_steps) {
    read_version_3_text(text);
    ASSERT_EQ(n_fit_strat_steps, 1);
    EXPECT_NE(values_written().find("\n@    2   64 "), std::string::npos);
    const std::string name = strtvalfnm;
    start_from_defaults();
    EXPECT_EQ(read_blocks(name, 1), "");
    EXPECT_EQ(n_fit_strat_steps, 0);
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(par[0], 100.0);
}

TEST_F(fitcontrol_new_writer, a_written_file_read_and_written_again_is_the_same) {
    support::random_numbers random(22);
    text.mode = "3";
    text.coefs = "2";
    text.coefficients = {"0.125", "-7.5e-3", "3.25", "1e-4"};
    text.hertz = "1.9531";
    text.patterns = "2";
    text.names = {"first.pat", "second.bin"};
    text.with_entries(12);
    text.lines = "10";
    for (std::size_t k = 0; k < 12; ++k) {
        text.entries[k].type[0] = k < 10 ? 1 + static_cast<int>(k) % 3 : 4;
        text.entries[k].lsf_flag = static_cast<int>(k) % 2;
        for (int j = 0; j < 5; ++j) {
            // six digits, which single precision holds
            text.entries[k].start[j] = random.integer(100000, 999999) / 1000.0;
            text.entries[k].link[j] = random.integer(0, 12);
        }
    }
    for (const char *mode : {"0", "1", "3"}) {
        start_from_defaults();
        text.ranges = mode;
        read_block_text(text.blocks(), 10, 2, 2);
        ASSERT_EQ(file_corrupt, 0);
        std::string name;
        const auto write = [&] {
            name_start_file("start.par");
            EXPECT_EQ(write_blocks(), 0);
            name = strtvalfnm;
            return without_time(support::read_file(name));
        };
        expect_same_when_written_again(
            write, [&] { EXPECT_EQ(read_blocks(name, 10, 2, 2), "") << "par_ranges " << mode; });
    }
}

TEST_F(fitcontrol_new_writer, a_file_written_with_par_ranges_2_is_not_read_back_in_step) {
    text.with_entries(2);
    text.ranges = "2";
    read_block_text(text.blocks(), 2);
    ASSERT_EQ(file_corrupt, 0);
    values_written();
    const std::string name = strtvalfnm;
    start_from_defaults();
    read_blocks(name, 2);
    EXPECT_NE(fixpar[9].value, 2.5);
}

TEST_F(fitcontrol_new_writer, changes_no_parameter_in_memory) {
    text.hertz = "0.3";
    read_block_text(text.blocks());
    const std::vector<double> before(par, par + 5);
    const parameter_record record = fixpar[width1_par];
    values_written();
    for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(par[j], before[j]);
    EXPECT_EQ(fixpar[width1_par].value, record.value);
    EXPECT_EQ(fixpar[width1_par].min, record.min);
}

TEST_F(fitcontrol_new_writer, a_file_that_cannot_be_created_is_left_out_in_silence) {
    read_block_text(text.blocks());
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", folder.file("none/start.par").c_str());
    EXPECT_EQ(support::stdout_of([&] { EXPECT_EQ(write_blocks(), EOF); }), "");
    EXPECT_EQ(strtvalfnm, folder.file("none/start_verbose.par"));
}

TEST_F(fitcontrol_new_writer, a_full_disk_is_reported) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    read_block_text(text.blocks());
    name_start_file("start.par");
    const std::string name = folder.file("start_verbose.par");
    std::filesystem::create_symlink("/dev/full", name);
    EXPECT_EQ(support::stdout_of([&] { write_blocks(); }), "error in writing file " + name + "\n");
}

TEST_F(fitcontrol_new_writer, missing_storage_is_reported_and_nothing_is_written) {
    const auto write = [&] {
        name_start_file("start.par");
        return write_blocks();
    };
    read_block_text(text.blocks());
    expect_storage_missed(
        write, folder.file("start_verbose.par"),
        {" Memory requested to store o_fixpar[]-struct in write_varokel...() is not available\n",
         " Memory requested to store o_par[] inwrite_varokel()...is not available\n",
         " Memory requested to store o_errpar[]\n in dfnc() is not available\n"});
}
