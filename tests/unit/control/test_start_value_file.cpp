// SPDX-License-Identifier: BSD-3-Clause
#include "control/start_value_file.h"
#include "unit/control/control_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace control_example;

class start_value_file : public ::testing::Test {
  protected:
    void SetUp() override {
        start_from_defaults();
        name = folder.file("start.par");
    }

    // Loads the start file; the status with which that ended the run.
    int load_status() {
        int status = 0;
        said = support::stdout_of([&] { status = support::end_status_of(MakeInitValFile); });
        return status;
    }

    // Writes the start file.
    void give(const std::string &content) {
        support::write_file(name, content);
        std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", name.c_str());
    }

    std::string load(const std::string &content) {
        give(content);
        return support::stdout_of([] { MakeInitValFile(); });
    }

    void expect_one_voigt_line() {
        EXPECT_EQ(file_corrupt, 0);
        EXPECT_EQ(nLines, 1);
        EXPECT_EQ(npar, 5);
        EXPECT_EQ(par[0], 100.0);
        EXPECT_EQ(fixpar[0].type, 3);
    }

    support::temporary_folder folder;
    std::string name, said; // said: by load_status
    file_text text;
};

static const std::string block_message = "verbose starting value file \n";

TEST_F(start_value_file, version_3_is_read_without_a_message) {
    EXPECT_EQ(load(text.version_3()), "");
    expect_one_voigt_line();
    EXPECT_EQ(n_fit_strat_steps, 1);
    EXPECT_EQ(pattern_enable, 1);
}

TEST_F(start_value_file, block_format_is_announced) {
    EXPECT_EQ(load(text.blocks()), block_message);
    expect_one_voigt_line();
    EXPECT_EQ(n_fit_strat_steps, 0);
    EXPECT_EQ(pattern_enable, 1);
}

TEST_F(start_value_file, an_old_file_runs_on_into_the_block_path) {
    EXPECT_EQ(load(text.old()), "old file \n" + block_message);
    // Settings and strategy stay, parameters are in fresh storage.
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(ap, 64);
    EXPECT_EQ(nLines, 1);
    EXPECT_EQ(n_fit_strat_steps, 1);
    EXPECT_EQ(hrange[1], 40);
    EXPECT_EQ(npar, 5);
    for (int j = 0; j < 5; ++j) {
        EXPECT_EQ(par[j], 0.0);
        EXPECT_EQ(fixpar[j].type, 0);
    }
    EXPECT_EQ(pattern_enable, 1);
}

TEST_F(start_value_file, blocks_behind_an_old_file_are_read) {
    EXPECT_EQ(load(text.old() + text.blocks()), "old file \n" + block_message);
    expect_one_voigt_line();
}

TEST_F(start_value_file, blocks_behind_an_old_file_may_have_more_lines) {
    file_text more;
    more.with_entries(3);
    load(text.old() + more.blocks());
    EXPECT_EQ(file_corrupt, 0);
    EXPECT_EQ(nLines, 3);
    EXPECT_EQ(par[10], 100.0);
}

TEST_F(start_value_file, version_2_counts_as_old) {
    const std::string printed = load("version_2\n" + text.version_3().substr(10));
    EXPECT_EQ(printed.substr(0, 10), "old file \n");
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(start_value_file, the_first_word_is_compared_whole) {
    EXPECT_EQ(load("version_3x\n" + text.version_3().substr(10)).substr(0, 10), "old file \n");
    start_from_defaults();
    EXPECT_EQ(load("Varokel_begin_of_file\n").substr(0, 10), "old file \n");
}

TEST_F(start_value_file, a_faulty_old_file_is_announced_as_block_format_all_the_same) {
    text.end_word = "end";
    EXPECT_EQ(load(text.old()), "old file \n" + two_fatal_lines +
                                    "error reading lsf fourier coefficients \n" + block_message);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(start_value_file, an_empty_file_is_a_faulty_old_file) {
    const std::string printed = load("");
    EXPECT_EQ(printed.substr(0, 10), "old file \n");
    EXPECT_NE(printed.find("file format error in line 1 to 13 \n"), std::string::npos);
    EXPECT_EQ(printed.substr(printed.size() - block_message.size()), block_message);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(start_value_file, bytes_that_are_no_text_are_a_faulty_old_file) {
    support::random_numbers random(7);
    std::string bytes;
    for (int i = 0; i < 20000; ++i) bytes += static_cast<char>(random.integer(0, 255));
    load(bytes);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(start_value_file, a_file_that_cannot_be_opened_ends_the_run) {
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", name.c_str());
    EXPECT_EQ(load_status(), -1);
    EXPECT_EQ(said, "I/0 error : cannot open starting value file : " + name + "\n\n");
}

TEST_F(start_value_file, a_file_without_end_mark_ends) {
    text.end_of_file = "";
    EXPECT_EQ(load(text.blocks()), block_message);
    expect_one_voigt_line();
}

TEST_F(start_value_file, named_patterns_are_loaded) {
    text.with_pattern(folder.file("one.pat"));
    support::write_file(text.names[0], one_line_pattern);
    for (const std::string &content : {text.version_3(), text.blocks()}) {
        start_from_defaults();
        load(content);
        EXPECT_EQ(file_corrupt, 0);
        EXPECT_STREQ(pat_name[1], text.names[0].c_str());
        EXPECT_GT(pattern_norm[1], 0.0);
        // a stored pattern starts at magnitude 1, but for the rounding of one division
        EXPECT_NEAR(std::hypot(pat[pattern_slot], pat[pattern_slot + max_pattern_points]), 1.0,
                    1e-12);
    }
}

TEST_F(start_value_file, patterns_for_no_number_of_points_that_can_be_transformed_do_no_harm) {
    text.patterns = "2";
    text.names = {folder.file("one.pat"), folder.file("two.bin")};
    text.with_entries(2);
    text.lines = "0";
    support::write_file(text.names[0], one_line_pattern);
    support::write_file(text.names[1], std::string(64, 'a'));
    for (const char *points : {"-5", "0", "1", "3", "4095"}) {
        start_from_defaults();
        text.points = points;
        load(text.version_3());
        EXPECT_EQ(file_corrupt, 0) << points;
    }
}

TEST_F(start_value_file, patterns_of_a_faulty_file_are_loaded_all_the_same) {
    text.with_pattern(folder.file("missing.pat"));
    text.report = "0";
    give(text.version_3());
    EXPECT_EQ(load_status(), -1);
    start_from_defaults();
    text.end_word = "end";
    give(text.version_3());
    EXPECT_EQ(load_status(), -1);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(start_value_file, missing_storage_leaves_values_and_patterns_unread) {
    text.with_pattern(folder.file("missing.pat"));
    // par, fixpar, pat_name, pat and pattern_norm are the 3rd and the 8th to 11th request
    for (const std::string &content : {text.version_3(), text.blocks()})
        for (int k : {3, 8, 9, 10, 11}) {
            start_from_defaults();
            give(content);
            fail_storage_request(k);
            EXPECT_EQ(load_status(), support::no_end) << k;
            fail_storage_request(0);
            EXPECT_NE(said.find(" Memory requested to store "), std::string::npos) << k;
            EXPECT_FALSE(storage_complete());
        }
}

TEST_F(start_value_file, no_missing_storage_stops_the_program) {
    for (const std::string &content : {text.version_3(), text.blocks(), text.old()})
        for (int k = 1; k <= 40; ++k) {
            start_from_defaults();
            give(content);
            fail_storage_request(k);
            EXPECT_EQ(load_status(), support::no_end) << k;
        }
    fail_storage_request(0);
}

TEST_F(start_value_file, a_second_load_starts_afresh) {
    text.with_entries(3);
    load(text.version_3());
    start_from_defaults();
    file_text one;
    EXPECT_EQ(load(one.version_3()), "");
    expect_one_voigt_line();
}

// --- sizes ---

struct sizes {
    int lines = -7, points = -7, coefs = -7, patterns = -7;
};

TEST_F(start_value_file, block_sizes_come_from_the_spectrum_block) {
    text.lines = "5";
    text.coefs = "3";
    text.patterns = "2";
    give("varokel_begin_of_file # words and 17 numbers\n" + text.control_block() +
         text.spectrum_block() + text.end_of_file + "varokel_spectrum_information 1 2 3 4 5");
    sizes s;
    peep_fitcontrol_new(name.c_str(), s.lines, s.points, s.coefs, s.patterns);
    EXPECT_EQ(s.lines, 5);
    EXPECT_EQ(s.points, 64);
    EXPECT_EQ(s.coefs, 3);
    EXPECT_EQ(s.patterns, 2);
}

TEST_F(start_value_file, block_sizes_are_those_of_the_last_spectrum_block) {
    file_text second;
    second.lines = "9";
    give("varokel_begin_of_file " + text.spectrum_block() + second.spectrum_block());
    sizes s;
    peep_fitcontrol_new(name.c_str(), s.lines, s.points, s.coefs, s.patterns);
    EXPECT_EQ(s.lines, 9);
}

TEST_F(start_value_file, block_sizes_that_are_not_there_keep_their_values) {
    sizes s;
    for (const std::string &content :
         {std::string(), std::string("varokel_begin_of_file\n"), text.old(), text.version_3()}) {
        give(content);
        peep_fitcontrol_new(name.c_str(), s.lines, s.points, s.coefs, s.patterns);
        EXPECT_EQ(s.lines, -7);
        EXPECT_EQ(s.points, -7);
        EXPECT_EQ(s.coefs, -7);
        EXPECT_EQ(s.patterns, -7);
    }
}

TEST_F(start_value_file, block_sizes_of_a_missing_file_are_reported) {
    sizes s;
    EXPECT_EQ(support::stdout_of([&] {
                  peep_fitcontrol_new(name.c_str(), s.lines, s.points, s.coefs, s.patterns);
              }),
              "==> .shf file could not be opened\n");
    EXPECT_EQ(s.lines, -7);
}

TEST_F(start_value_file, version_3_sizes_go_by_place) {
    text.lines = "5";
    text.coefs = "3";
    text.patterns = "2";
    std::string content = text.version_3();
    content.replace(content.find("nLines"), 6, "xy");
    give(content);
    sizes s;
    peep_f_cntl(name.c_str(), s.lines, s.points, s.coefs, s.patterns);
    EXPECT_EQ(s.lines, 5);
    EXPECT_EQ(s.points, 64);
    EXPECT_EQ(s.coefs, 3); // whatever the fit mode
    EXPECT_EQ(s.patterns, 2);
}

TEST_F(start_value_file, old_sizes_have_no_version_word) {
    text.lines = "5";
    text.coefs = "3";
    give(text.old());
    sizes s;
    peep_fitcontrol_old(name.c_str(), s.lines, s.points, s.coefs);
    EXPECT_EQ(s.lines, 5);
    EXPECT_EQ(s.points, 64);
    EXPECT_EQ(s.coefs, 3);
}

TEST_F(start_value_file, keyword_sizes_of_a_missing_file_end_the_run) {
    sizes s;
    int status = 0;
    const std::string expected = "I/O error : starting value file could not opened \n ";
    EXPECT_EQ(support::stdout_of([&] {
                  status = support::end_status_of(
                      [&] { peep_f_cntl(name.c_str(), s.lines, s.points, s.coefs, s.patterns); });
              }),
              expected);
    EXPECT_EQ(status, -1);
    status = 0;
    EXPECT_EQ(support::stdout_of([&] {
                  status = support::end_status_of(
                      [&] { peep_fitcontrol_old(name.c_str(), s.lines, s.points, s.coefs); });
              }),
              expected);
    EXPECT_EQ(status, -1);
}
