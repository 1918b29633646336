// SPDX-License-Identifier: BSD-3-Clause
#include "not_called/array_io.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

static const std::string output_menu = "Write complex array to file :\n"
                                       "      1. Normal ASCII file format\n"
                                       "      2. SA/GE-file format\n"
                                       "      3. Cancel file output\n"
                                       "Your choice [1..3] : ";
static const std::string input_menu = "Read signal-file containing reals : \n"
                                      "      1. Complex ASCII file   \n"
                                      "      2. SA/GE file format (binary floats)  \n"
                                      "      3. Cancel file input   \n"
                                      "Your choice [1..3] : ";
static const std::string ascii_output_prompt = "Complex Ascii File Out >> \nInput file name : ";
static const std::string ascii_input_prompt = "ASCII-File In >> \nFile name : ";

class array_io : public ::testing::Test {
  protected:
    // Calls f(&n, re, im) with the given text on standard input; returns what it printed.
    template <class F>
    std::string with_input(const std::string &typed, const F &f) {
        support::write_file("typed", typed);
        if (std::freopen("typed", "r", stdin) == nullptr) throw std::runtime_error("no input");
        return support::stdout_of(
            [&] { end_status = support::end_status_of([&] { f(&n, re.data(), im.data()); }); });
    }

    support::temporary_folder folder{true};
    int n = 3;
    std::vector<double> re = {1.0, -2.5, 0.1};
    std::vector<double> im = {0.0, 1e10, -3e-5};
    int end_status = 0;
};

// "%14e": six decimals, padded to 14 characters
static const std::string ascii_points = "  1.000000e+00\n"
                                        "  0.000000e+00\n"
                                        " -2.500000e+00\n"
                                        "  1.000000e+10\n"
                                        "  1.000000e-01\n"
                                        " -3.000000e-05\n";

TEST_F(array_io, ascii_output_writes_one_number_a_line) {
    EXPECT_EQ(with_input("points.txt", ComplexAsciiOut), ascii_output_prompt);
    EXPECT_EQ(support::read_file("points.txt"), ascii_points);
}

TEST_F(array_io, a_name_of_an_ascii_file_has_12_characters) {
    with_input("abcdefghijklmnop", ComplexAsciiOut);
    EXPECT_EQ(support::read_file("abcdefghijkl"), ascii_points);
    re.assign(3, 0.0);
    EXPECT_EQ(with_input("abcdefghijklmnop", ComplexAsciiIn), ascii_input_prompt);
    EXPECT_EQ(re, (std::vector<double>{1.0, -2.5, 0.1}));
}

TEST_F(array_io, ascii_input_reads_pairs_between_any_white_space) {
    support::write_file("points.txt", "1 2\t3e2\n\n-4.5 0.1 7 8 9");
    EXPECT_EQ(with_input("points.txt", ComplexAsciiIn), ascii_input_prompt);
    EXPECT_EQ(re, (std::vector<double>{1.0, 300.0, 0.1})); // double precision, unlike other files
    EXPECT_EQ(im, (std::vector<double>{2.0, -4.5, 7.0}));
}

TEST_F(array_io, ascii_input_ends_where_there_is_no_number) {
    support::write_file("points.txt", "5 6 7 word 8");
    EXPECT_EQ(with_input("points.txt", ComplexAsciiIn), ascii_input_prompt);
    EXPECT_EQ(re, (std::vector<double>{5.0, 7.0, 0.1}));
    EXPECT_EQ(im, (std::vector<double>{6.0, 1e10, -3e-5}));
}

TEST_F(array_io, an_ascii_file_that_does_not_open_is_reported) {
    EXPECT_EQ(with_input("no/where", ComplexAsciiOut),
              ascii_output_prompt + " error_hs : file not opened\n ");
    EXPECT_EQ(with_input("nowhere", ComplexAsciiIn),
              ascii_input_prompt + " error_hs : file not opened\n ");
    EXPECT_EQ(re, (std::vector<double>{1.0, -2.5, 0.1}));
    EXPECT_EQ(with_input("", ComplexAsciiOut),
              ascii_output_prompt + " error_hs : file not opened\n ");
}

TEST_F(array_io, an_ascii_file_on_a_full_disk_is_reported) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    EXPECT_EQ(with_input("/dev/full", ComplexAsciiOut),
              ascii_output_prompt + "error in writing file /dev/full\n");
}

TEST_F(array_io, output_choice_1_asks_for_an_ascii_file) {
    EXPECT_EQ(with_input("1\npoints.txt\n", ComplexArrayOut), output_menu + ascii_output_prompt);
    EXPECT_EQ(support::read_file("points.txt"), ascii_points);
}

TEST_F(array_io, output_choice_2_writes_a_binary_file) {
    EXPECT_EQ(with_input("2 points.bin", ComplexArrayOut), output_menu + "Output ge_file name ");
    std::vector<double> file_re, file_im;
    support::read_signal("points.bin", file_re, file_im);
    EXPECT_EQ(file_re, (std::vector<double>{1.0, -2.5, static_cast<double>(0.1F)}));
    EXPECT_EQ(file_im, (std::vector<double>{0.0, 1e10F, static_cast<double>(-3e-5F)}));
    EXPECT_EQ(n, 3);
}

TEST_F(array_io, output_choice_3_and_any_other_write_nothing) {
    for (const char *typed : {"3 points.txt", "0 points.txt", "x points.txt", "4", ""}) {
        EXPECT_EQ(with_input(typed, ComplexArrayOut), output_menu) << typed;
        EXPECT_FALSE(support::file_exists("points.txt"));
    }
}

TEST_F(array_io, input_choice_1_asks_for_an_ascii_file) {
    support::write_file("points.txt", "1 2 3 4 5 6");
    EXPECT_EQ(with_input("1 points.txt", ComplexArrayIn), input_menu + ascii_input_prompt);
    EXPECT_EQ(re, (std::vector<double>{1, 3, 5}));
    EXPECT_EQ(im, (std::vector<double>{2, 4, 6}));
}

TEST_F(array_io, input_choice_2_reads_all_points_of_a_binary_file) {
    support::write_signal("points.bin", {1, 3, 5}, {2, 4, 6});
    EXPECT_EQ(with_input("2 points.bin", ComplexArrayIn), input_menu + "Input ge_file name : ");
    EXPECT_EQ(re, (std::vector<double>{1, 3, 5}));
    EXPECT_EQ(im, (std::vector<double>{2, 4, 6}));
    EXPECT_EQ(n, 3);
}

TEST_F(array_io, points_that_a_binary_file_lacks_are_0) {
    support::write_signal("points.bin", {1, 3}, {2, 4});
    EXPECT_EQ(with_input("2 points.bin", ComplexArrayIn),
              input_menu + "Input ge_file name : ... error reading data ... exit...cnt  4 6 \n");
    EXPECT_EQ(re, (std::vector<double>{1, 3, 0}));
    EXPECT_EQ(im, (std::vector<double>{2, 4, 0}));
    EXPECT_EQ(end_status, support::no_end);
}

TEST_F(array_io, a_binary_file_that_does_not_open_ends_the_run_with_1) {
    EXPECT_EQ(with_input("2 nowhere", ComplexArrayIn),
              input_menu + "Input ge_file name : ERROR in filename 'nowhere', can't open !\n");
    EXPECT_EQ(end_status, 1);
}

TEST_F(array_io, input_choice_3_sets_all_points_to_0) {
    EXPECT_EQ(with_input("3", ComplexArrayIn), input_menu);
    EXPECT_EQ(re, (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(im, (std::vector<double>{0, 0, 0}));
}

TEST_F(array_io, any_other_input_choice_leaves_the_points) {
    EXPECT_EQ(with_input("x", ComplexArrayIn), input_menu);
    EXPECT_EQ(with_input("7", ComplexArrayIn), input_menu);
    EXPECT_EQ(re, (std::vector<double>{1.0, -2.5, 0.1}));
}

TEST_F(array_io, a_very_long_name_is_bounded) {
    const std::string longest(1023, 'd');
    EXPECT_EQ(with_input("2 " + std::string(5000, 'd'), ComplexArrayIn),
              input_menu + "Input ge_file name : ERROR in filename '" + longest +
                  "', can't open !\n");
    EXPECT_EQ(with_input("2 " + std::string(5000, 'd'), ComplexArrayOut),
              output_menu + "Output ge_file name ERROR in filename '" + longest +
                  "' (zero length ?), using temp.con\n");
}

TEST_F(array_io, without_its_buffer_the_dialogue_goes_on) {
    const std::string no_output =
        " Memory requested to store ge_out[] in ComplexArrayOut()  not available\n";
    fail_storage_request(1);
    EXPECT_EQ(with_input("1 points.txt", ComplexArrayOut),
              no_output + output_menu + ascii_output_prompt);
    EXPECT_EQ(support::read_file("points.txt"), ascii_points);
    fail_storage_request(1);
    EXPECT_EQ(with_input("2 points.bin", ComplexArrayOut),
              no_output + output_menu + "Output ge_file name ");
    EXPECT_FALSE(support::file_exists("points.bin"));

    const std::string no_input =
        " Memory requested to store ge_array[] in ComplexArrayIn()  not available\n";
    support::write_signal("points.bin", {1, 3, 5}, {2, 4, 6});
    fail_storage_request(1);
    EXPECT_EQ(with_input("2 points.bin", ComplexArrayIn),
              no_input + input_menu + "Input ge_file name : ");
    EXPECT_EQ(re, (std::vector<double>{1.0, -2.5, 0.1}));
    fail_storage_request(1);
    EXPECT_EQ(with_input("3", ComplexArrayIn), no_input + input_menu);
    EXPECT_EQ(re, (std::vector<double>{0, 0, 0}));
}

TEST_F(array_io, no_points_make_an_empty_file) {
    n = 0;
    with_input("2 points.bin", ComplexArrayOut);
    EXPECT_EQ(support::read_file("points.bin"), "");
    with_input("points.txt", ComplexAsciiOut);
    EXPECT_EQ(support::read_file("points.txt"), "");
}
