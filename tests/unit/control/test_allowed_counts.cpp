// SPDX-License-Identifier: BSD-3-Clause
// Every limit is met through a file that exceeds it, and through one that just does not.
#include "control/allowed_counts.h"
#include "control/start_value_file.h"
#include "files/spectra/search_limits.h"
#include "run/capacity.h"
#include "unit/control/control_example.h"

#include <gtest/gtest.h>

#include <functional>

using namespace control_example;

class allowed_counts : public ::testing::Test {
  protected:
    void SetUp() override {
        start_from_defaults();
        name = folder.file("start.par");
    }

    // Loads a file of its own defaults; the messages without the block format's announcement.
    std::string load(const std::string &content) {
        start_from_defaults();
        support::write_file(name, content);
        std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", name.c_str());
        const std::string printed =
            support::stdout_of([this] { end_status = support::end_status_of(MakeInitValFile); });
        const std::string announced = "verbose starting value file \n";
        return printed.substr(0, announced.size()) == announced ? printed.substr(announced.size())
                                                                : printed;
    }

    std::string refusal(const std::string &what) {
        return "error in fit control file " + name + " : " + what + "\n";
    }

    void expect_refused(const std::string &content, const std::string &what) {
        EXPECT_EQ(load(content), refusal(what));
        EXPECT_EQ(file_corrupt, 1) << what;
        EXPECT_EQ(end_status, support::no_end) << what;
    }

    void expect_accepted(const std::string &content) {
        EXPECT_EQ(load(content), "");
        EXPECT_EQ(file_corrupt, 0);
    }

    support::temporary_folder folder;
    std::string name;
    int end_status = 0;
    file_text text;
};

TEST_F(allowed_counts, two_to_24_points_are_the_most) {
    text.points = "16777216";
    expect_accepted(text.version_3());
    expect_accepted(text.blocks());
    text.points = "16777217";
    expect_refused(text.version_3(), "n_pnts is 16777217, allowed are 0 to 16777216");
    expect_refused(text.blocks(),
                   "number of points (varokel_spectrum_information, value 1) is 16777217, "
                   "allowed are 0 to 16777216");
    text.points = "99999999999999999999";
    expect_refused(text.version_3(), "n_pnts is 2147483647, allowed are 0 to 16777216");
}

TEST_F(allowed_counts, the_noise_window_ends_where_twice_its_points_fill_an_int) {
    text.noise_end = "1073741823";
    expect_accepted(text.version_3());
    expect_accepted(text.blocks());
    text.noise_end = "1073741824";
    expect_refused(text.version_3(), "noistp is 1073741824, allowed are 0 to 1073741823");
    expect_refused(text.blocks(),
                   "end of noise interval (varokel_spectrum_information, value 3) is 1073741824, "
                   "allowed are 0 to 1073741823");
}

TEST_F(allowed_counts, patterns_allow_4096_points) {
    text.with_pattern(folder.file("a.pat"));
    support::write_file(text.names[0], one_line_pattern);
    text.points = "4096";
    load(text.version_3());
    EXPECT_EQ(file_corrupt, 0);
    load(text.blocks());
    EXPECT_EQ(file_corrupt, 0);
    text.points = "8192";
    expect_refused(text.version_3(), "n_pnts, with patterns is 8192, allowed are 0 to 4096");
    expect_refused(text.blocks(),
                   "number of points (varokel_spectrum_information, value 1), with patterns "
                   "is 8192, allowed are 0 to 4096");
}

TEST_F(allowed_counts, patterns_are_not_negative) {
    text.patterns = "-1";
    expect_refused(text.version_3(), "pattrn is -1, allowed are 0 to 4096");
    expect_refused(text.blocks(),
                   "number of patterns (varokel_spectrum_information, value 10) is -1, "
                   "allowed are 0 to 4096");
}

// A pattern of one line, as often as it is wanted.
static std::vector<std::string> patterns_in(const support::temporary_folder &folder, int count) {
    support::write_file(folder.file("a.pat"), one_line_pattern);
    return std::vector<std::string>(static_cast<std::size_t>(count), folder.file("a.pat"));
}

TEST_F(allowed_counts, lines_and_patterns_are_65536_together_and_patterns_4096) {
    text.lines = "65537";
    expect_refused(text.version_3(), "nLines is 65537, allowed are 0 to 65536");
    expect_refused(text.blocks(),
                   "number of lines (varokel_spectrum_information, value 4) is 65537, allowed "
                   "are 0 to 65536");
    text.lines = "65500";
    text.patterns = "37";
    text.names = patterns_in(folder, 37);
    expect_refused(text.version_3(), "nLines + pattrn is 65537, allowed are 0 to 65536");
    expect_refused(
        text.blocks(),
        "number of lines and patterns (varokel_spectrum_information, values 4 and 10) is 65537, "
        "allowed are 0 to 65536");
    text.names.clear();
    text.lines = "1";
    text.patterns = "4097";
    expect_refused(text.version_3(), "pattrn is 4097, allowed are 0 to 4096");
    text.lines = text.patterns = "2147483647";
    expect_refused(text.version_3(), "pattrn is 2147483647, allowed are 0 to 4096");
    text.patterns = "0";
    text.with_entries(65536);
    expect_accepted(text.blocks());
    EXPECT_EQ(par[5 * 65535 + area_par], 100.0);
}

// A version word that is none, or more words than one: keywords and numbers change places, and what
// stands where a count should is nobody's count.
TEST_F(allowed_counts, counts_of_a_file_out_of_step_are_not_judged) {
    text.lines = "8";
    text.mode = "3";
    text.coefs = "65";
    for (const char *first : {"version_2", "Version_3", "version_3.0", "\xEF\xBB\xBFversion_3"}) {
        const std::string content = first + text.version_3().substr(9);
        const std::string said = load(content);
        const std::string wanted =
            "old file \n" + two_fatal_lines + "file format error in line 1 to 13 \n";
        EXPECT_EQ(said.substr(0, wanted.size()), wanted) << first;
        EXPECT_EQ(said.find("allowed are"), std::string::npos) << first << said;
        EXPECT_EQ(file_corrupt, 1);
    }
    const std::string said = load("version_3 # of today" + text.version_3().substr(9));
    EXPECT_NE(said.find(two_fatal_lines + "file format error in line 2 to 16 \n"), said.npos)
        << said;
    EXPECT_EQ(said.find("allowed are"), std::string::npos) << said;
}

TEST_F(allowed_counts, lines_above_49_are_left_to_the_reader_and_the_checks) {
    text.with_entries(5000);
    text.entries.resize(3);
    const std::string wanted = two_fatal_lines;
    EXPECT_EQ(load(text.version_3()).substr(0, wanted.size()), wanted);
    text.with_entries(5000);
    expect_accepted(text.blocks());
    EXPECT_EQ(nLines, 5000);
}

TEST_F(allowed_counts, lineshape_coefficients_are_4096_and_not_more_than_points) {
    text.mode = "3";
    text.points = "8192";
    text.coefs = "4096";
    expect_accepted(text.blocks());
    EXPECT_EQ(lsf_coefs, 4096);
    text.coefs = "4097";
    expect_refused(text.version_3(), "lsfcfs is 4097, allowed are 0 to 4096");
    expect_refused(
        text.blocks(),
        "number of lineshape coefficients (varokel_spectrum_information, value 5) is 4097, allowed "
        "are 0 to 4096");
    text.points = "64";
    text.coefs = "64";
    expect_accepted(text.blocks());
    text.coefs = "65";
    expect_refused(text.version_3(), "lsfcfs, not more than points is 65, allowed are 0 to 64");
    expect_refused(
        text.blocks(),
        "number of lineshape coefficients (varokel_spectrum_information, value 5), not more than "
        "points is 65, allowed are 0 to 64");
}

TEST_F(allowed_counts, coefficients_that_the_fit_mode_sets_to_0_may_exceed_the_points) {
    for (const char *coefs : {"65", "5000", "2147483647", "-2147483648"}) {
        text.coefs = coefs;
        expect_accepted(text.version_3());
        EXPECT_EQ(lsf_coefs, 0);
        expect_accepted(text.blocks());
        EXPECT_EQ(lsf_coefs, 0);
    }
}

TEST_F(allowed_counts, negative_lines_and_coefficients_are_left_to_the_checks) {
    text.lines = "-3";
    text.entries.clear();
    expect_accepted(text.blocks());
    EXPECT_EQ(nLines, -3);
    text = file_text();
    text.mode = "3";
    text.coefs = "-2";
    expect_accepted(text.version_3());
    expect_accepted(text.blocks());
    EXPECT_EQ(lsf_coefs, -2);
}

TEST_F(allowed_counts, negative_lines_carry_patterns_only_when_no_entry_is_left) {
    text.lines = "-3";
    text.patterns = "4";
    text.names = patterns_in(folder, 4);
    expect_refused(text.version_3(), "nLines, with patterns is -3, allowed are 0 to 65536");
    expect_refused(text.blocks(), "number of lines (varokel_spectrum_information, value 4), with "
                                  "patterns is -3, allowed are 0 to 65536");
    text.patterns = "3";
    text.names = patterns_in(folder, 3);
    text.entries.clear();
    text.mode = "3";
    text.coefs = "2";
    text.coefficients = {"1", "0", "0", "0"};
    expect_accepted(text.blocks());
    EXPECT_EQ(npar, 0);
    text.lines = "-4";
    expect_accepted(text.blocks());
    EXPECT_EQ(npar, -5);
}

TEST_F(allowed_counts, numbers_whose_multiples_overflow_are_refused) {
    text.lines = "-2147483648";
    expect_refused(text.version_3(), "nLines is -2147483648, allowed are 0 to 65536");
    text.lines = "1";
    text.mode = "3";
    text.coefs = "-2147483648";
    expect_refused(text.version_3(), "lsfcfs is -2147483648, allowed are 0 to 4096");
    text.coefs = "0";
    text.points = "-2147483648";
    expect_refused(text.version_3(), "n_pnts is -2147483648, allowed are 0 to 16777216");
}

TEST_F(allowed_counts, nineteen_steps_are_the_most) {
    const std::string step = text.steps[0];
    text.steps.assign(19, step);
    expect_accepted(text.version_3());
    EXPECT_EQ(n_fit_strat_steps, 19);
    EXPECT_EQ(hrange[19], 40);
    text.steps.assign(20, step);
    expect_refused(text.version_3(), "running number of an @ line is 20, allowed are 1 to 19");
    EXPECT_EQ(n_fit_strat_steps, 19);
    // the block format passes over them
    expect_accepted(text.blocks());
}

TEST_F(allowed_counts, nine_intervals_are_the_most) {
    text.steps.push_back("@ 2 64 1 1 1 1 1 0 1 0 100 2 9 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 "
                         "17");
    expect_accepted(text.version_3());
    EXPECT_EQ(hxmax[2][9], 17);
    EXPECT_EQ(hrange[2], 9);
    text.steps[1] = "@ 2 64 1 1 1 1 1 0 1 0 100 2 10 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 "
                    "18 19";
    expect_refused(text.version_3(), "n_int of @ line 2 is 10, allowed are 0 to 9");
    EXPECT_EQ(hxmin[3][0], 0);
    text.steps[1] = "@ 2 64 1 1 1 1 1 0 1 0 100 2 -1";
    expect_refused(text.version_3(), "n_int of @ line 2 is -1, allowed are 0 to 9");
    text.steps[1] = "@ 2 64 1 1 1 1 1 0 1 0 100 2 2147483647 1 2";
    expect_refused(text.version_3(), "n_int of @ line 2 is 2147483647, allowed are 0 to 9");
}

TEST_F(allowed_counts, a_line_number_in_prior_knowledge_is_that_of_an_entry) {
    text.with_entries(2);
    for (int number : {0, 3, -1}) {
        text.entries[1].number = number;
        expect_refused(text.blocks(), "line number in varokel_prior_knowledge is " +
                                          std::to_string(number) + ", allowed are 1 to 2");
        EXPECT_EQ(fixpar[0].value, 100.0); // what stood before is read
    }
    text.entries[1].number = 2;
    expect_accepted(text.blocks());
}

TEST_F(allowed_counts, a_prior_knowledge_block_without_numbers_is_refused) {
    expect_refused("varokel_begin_of_file " + text.spectrum_block() +
                       "varokel_prior_knowledge varokel_end_of_file",
                   "line number in varokel_prior_knowledge is 0, allowed are 1 to 1");
}

TEST_F(allowed_counts, pattern_names_have_199_characters) {
    text.with_pattern(std::string(195, 'a') + ".pat");
    load(text.version_3());
    EXPECT_EQ(end_status, -1); // no such file, but its name is known
    EXPECT_EQ(pat_name[1], text.names[0]);
    text.names = {std::string(196, 'a') + ".pat"};
    expect_refused(text.version_3(),
                   "number of characters of pattern name 1 is 200, allowed are 0 to 199");
    expect_refused(text.blocks(),
                   "number of characters of pattern name 1 is 200, allowed are 0 to 199");
    EXPECT_STREQ(pat_name[1], "");
}

TEST_F(allowed_counts, counts_that_outgrow_the_storage_are_refused_where_values_are_stored) {
    file_text more;
    more.with_entries(3);
    // Storage is made for the last count of lines. A larger one before it is of no harm by itself,
    expect_accepted("varokel_begin_of_file " + more.spectrum_block() + text.blocks());
    // but is where it would be used.
    const std::string what = "number of lines and patterns (varokel_spectrum_information, values 4 "
                             "and 10) is 3, allowed are 0 to 1";
    expect_refused("varokel_begin_of_file " + more.spectrum_block() + more.starting_value_block() +
                       text.blocks(),
                   what);
    expect_refused("varokel_begin_of_file " + more.spectrum_block() + more.prior_knowledge_block() +
                       text.blocks(),
                   what);
    expect_accepted("varokel_begin_of_file " + more.spectrum_block() + more.line_shape_block() +
                    text.blocks()); // stores nothing
    more.patterns = "1";
    more.names = {"a.pat"};
    more.lines = "0";
    expect_refused("varokel_begin_of_file " + more.spectrum_block() + more.pattern_block() +
                       text.blocks(),
                   "number of patterns (varokel_spectrum_information, value 10) is 1, allowed are "
                   "0 to 0");
    more.patterns = "0";
    more.coefs = "2";
    expect_refused("varokel_begin_of_file " + more.spectrum_block() + more.line_shape_block() +
                       text.blocks(),
                   "number of lineshape coefficients (varokel_spectrum_information, value 5) is 2, "
                   "allowed are 0 to 0");
}

TEST_F(allowed_counts, a_reader_refuses_counts_beyond_the_storage_that_it_is_given) {
    text.with_entries(3);
    support::write_file(name, text.version_3());
    EXPECT_EQ(read_version_3(name, 2), refusal("nLines + pattrn is 3, allowed are 0 to 2"));
    EXPECT_EQ(file_corrupt, 1);
    EXPECT_EQ(par[0], 0.0);
    EXPECT_EQ(npar, 0); // no units are converted beyond the storage
    start_from_defaults();
    support::write_file(name, text.old());
    EXPECT_EQ(read_old(name, 2), refusal("nLines + pattrn is 3, allowed are 0 to 2"));
    EXPECT_EQ(npar, 0);
    start_from_defaults();
    text.mode = "3";
    text.coefs = "2";
    support::write_file(name, text.version_3());
    EXPECT_EQ(read_version_3(name, 3, 1), refusal("lsfcfs is 2, allowed are 0 to 1"));
    start_from_defaults();
    support::write_file(name, text.blocks());
    EXPECT_EQ(read_blocks(name, 2), refusal("number of lines and patterns "
                                            "(varokel_spectrum_information, values 4 and 10) is 3, "
                                            "allowed are 0 to 2"));
    EXPECT_EQ(par[0], 0.0);
    EXPECT_EQ(npar, 0);
}

TEST_F(allowed_counts, an_old_file_beyond_them_is_refused_once) {
    const std::string announced = "verbose starting value file \n";
    text.lines = "70000";
    EXPECT_EQ(load(text.old()),
              "old file \n" + refusal("nLines is 70000, allowed are 0 to 65536") + announced);
    EXPECT_EQ(file_corrupt, 1);
    text.lines = "1";
    text.steps.assign(20, text.steps[0]);
    EXPECT_EQ(load(text.old()),
              "old file \n" + refusal("running number of an @ line is 20, allowed are 1 to 19") +
                  announced);
    EXPECT_EQ(file_corrupt, 1);
}

TEST_F(allowed_counts, nothing_is_printed_of_a_file_that_is_faulty_already) {
    int faulty = 1;
    EXPECT_EQ(support::stdout_of([&] {
                  EXPECT_FALSE(counts_allowed("a", keyword_count_names(), 1 << 25, 1, 0, faulty));
                  EXPECT_FALSE(step_allowed("a", 20, faulty));
                  EXPECT_FALSE(intervals_allowed("a", 1, 10, faulty));
                  EXPECT_FALSE(line_number_allowed("a", 2, 1, faulty));
                  EXPECT_FALSE(pattern_name_allowed("a", 1, std::string(200, 'a').c_str(), faulty));
                  EXPECT_FALSE(noise_stop_allowed("a", keyword_count_names(), 1 << 30, faulty));
                  EXPECT_FALSE(pattern_names_stored("a", keyword_count_names(), 1, faulty));
                  EXPECT_FALSE(lsf_coefs_allowed("a", keyword_count_names(), 3, 2, faulty));
                  EXPECT_FALSE(counts_stored("a", keyword_count_names(), 1, 0, 0, faulty));
              }),
              "");
    EXPECT_EQ(faulty, 1);
}

TEST_F(allowed_counts, what_is_allowed_leaves_a_file_as_it_is) {
    for (int before : {0, 1}) {
        int faulty = before;
        EXPECT_EQ(support::stdout_of([&] {
                      EXPECT_TRUE(counts_allowed("a", keyword_count_names(), 64, 1, 3, faulty));
                      EXPECT_TRUE(step_allowed("a", 19, faulty));
                      EXPECT_TRUE(intervals_allowed("a", 1, 0, faulty));
                      EXPECT_TRUE(line_number_allowed("a", 1, 1, faulty));
                      EXPECT_TRUE(pattern_name_allowed("a", 1, "a.pat", faulty));
                      EXPECT_TRUE(noise_stop_allowed("a", keyword_count_names(), -5, faulty));
                      EXPECT_TRUE(lsf_coefs_allowed("a", keyword_count_names(), -1, 0, faulty));
                  }),
                  "");
        EXPECT_EQ(faulty, before);
    }
}

// The companions tell beforehand what the fit takes.
TEST(limits_of_companions, are_those_of_the_fitter) {
    using namespace tools;
    EXPECT_EQ(search_limits::points, max_points);
    EXPECT_EQ(search_limits::pattern_points, max_pattern_points);
    EXPECT_EQ(search_limits::entries, max_fitted_entries);
    EXPECT_EQ(search_limits::parameters, max_fitted_parameters);
    EXPECT_EQ(search_limits::steps, max_steps);
    EXPECT_EQ(search_limits::intervals, max_intervals);
    EXPECT_EQ(search_limits::stored_patterns, max_patterns);
    EXPECT_EQ(search_limits::stored_coefficients, max_lsf_coefs);
    EXPECT_EQ(search_limits::pattern_name, pattern_name_size - 1);
}
