// SPDX-License-Identifier: BSD-3-Clause
#include "data/scan.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

class scan : public ::testing::Test {
  protected:
    ~scan() override { close(); }
    void close() {
        if (file != nullptr) std::fclose(file);
        file = nullptr;
    }
    void open(const std::string &content) {
        close();
        support::write_file(name, content);
        file = std::fopen(name.c_str(), "r+t");
        ASSERT_NE(file, nullptr);
    }
    std::string rest() const {
        std::string text;
        for (int c; (c = std::fgetc(file)) != EOF;) text += static_cast<char>(c);
        return text;
    }

    support::temporary_folder folder;
    std::string name = folder.file("text");
    std::FILE *file = nullptr;
};

TEST_F(scan, an_int_is_read_past_white_space_up_to_the_first_other_character) {
    open(" \t\n  -42.5");
    int value = 7;
    EXPECT_TRUE(scan_int(file, value));
    EXPECT_EQ(value, -42);
    EXPECT_EQ(rest(), ".5");
}

TEST_F(scan, a_failed_int_leaves_target_and_stream) {
    open("  word 3");
    int value = 7;
    EXPECT_FALSE(scan_int(file, value));
    EXPECT_EQ(value, 7);
    EXPECT_FALSE(scan_int(file, value)); // stands at the same place
    char text[8] = "";
    EXPECT_TRUE(scan_word(file, text, 7));
    EXPECT_STREQ(text, "word");
    EXPECT_TRUE(scan_int(file, value));
    EXPECT_EQ(value, 3);
}

TEST_F(scan, an_int_out_of_range_becomes_the_nearest_one) {
    open("2147483647 2147483648 -2147483648 -2147483649 99999999999999999999999 "
         "-99999999999999999999999");
    for (int wanted : {INT_MAX, INT_MAX, INT_MIN, INT_MIN, INT_MAX, INT_MIN}) {
        int value = 7;
        EXPECT_TRUE(scan_int(file, value));
        EXPECT_EQ(value, wanted);
    }
}

TEST_F(scan, a_real_carries_single_precision) {
    open("0.1 1234567.89 -2.5e3 7");
    for (double wanted : {static_cast<double>(0.1F), 1234567.875, -2500.0, 7.0}) {
        double value = 0.0;
        EXPECT_TRUE(scan_real(file, value));
        EXPECT_EQ(value, wanted); // 1234567.875 is the nearest of the floats, 1/8 apart there
    }
}

TEST_F(scan, a_single_is_the_float_itself) {
    open("0.1 nan inf 1e99 x");
    float value = 0.0F;
    EXPECT_TRUE(scan_single(file, value));
    EXPECT_EQ(value, 0.1F);
    EXPECT_TRUE(scan_single(file, value));
    EXPECT_TRUE(std::isnan(value));
    EXPECT_TRUE(scan_single(file, value));
    EXPECT_TRUE(std::isinf(value));
    EXPECT_TRUE(scan_single(file, value));
    EXPECT_TRUE(std::isinf(value)); // beyond the largest float
    value = 3.0F;
    EXPECT_FALSE(scan_single(file, value));
    EXPECT_EQ(value, 3.0F);
}

TEST_F(scan, a_failed_real_leaves_target_and_stream) {
    open("area 2.0");
    double value = 7.0;
    EXPECT_FALSE(scan_real(file, value));
    EXPECT_EQ(value, 7.0);
    EXPECT_EQ(rest(), "area 2.0");
}

TEST_F(scan, what_a_failed_number_began_with_is_left_in_the_stream) {
    const std::string words[] = {"number 2", "NAA voigt", "ignore 0", "infin 1", "-x 3",  "+- 5",
                                 "- 5",      "e5",        ".par 1",   "-.x",     "nanny", "+"};
    for (const std::string &content : words) {
        float single = 7.0F;
        double real = 7.0;
        int whole = 7;
        if (content != "nanny") { // "nan" of it is a number
            open(content);
            EXPECT_FALSE(scan_single(file, single)) << content;
            EXPECT_FALSE(scan_real(file, real)) << content;
            EXPECT_EQ(rest(), content);
        }
        open(content);
        EXPECT_FALSE(scan_int(file, whole)) << content;
        EXPECT_EQ(rest(), content);
        EXPECT_EQ(single, 7.0F);
        EXPECT_EQ(real, 7.0);
        EXPECT_EQ(whole, 7);
    }
}

TEST_F(scan, a_word_longer_than_its_width_is_split) {
    open("  abcdefghij k");
    char text[5] = "";
    EXPECT_TRUE(scan_word(file, text, 4));
    EXPECT_STREQ(text, "abcd");
    EXPECT_TRUE(scan_word(file, text, 4));
    EXPECT_STREQ(text, "efgh");
    EXPECT_TRUE(scan_word(file, text, 4));
    EXPECT_STREQ(text, "ij");
    EXPECT_TRUE(scan_word(file, text, 4));
    EXPECT_STREQ(text, "k");
}

TEST_F(scan, the_longest_word_has_1023_characters) {
    open(std::string(1100, 'w').append(" next"));
    char text[max_word + 1] = "";
    EXPECT_TRUE(scan_word(file, text, max_word));
    EXPECT_EQ(std::string(text), std::string(1023, 'w'));
    EXPECT_TRUE(scan_word(file, text, max_word + 1000)); // no more than max_word is ever read
    EXPECT_EQ(std::string(text), std::string(77, 'w'));
}

TEST_F(scan, a_width_below_1_reads_one_character) {
    open("ab");
    char text[2] = "";
    EXPECT_TRUE(scan_word(file, text, 0));
    EXPECT_STREQ(text, "a");
    EXPECT_TRUE(scan_word(file, text, -5));
    EXPECT_STREQ(text, "b");
}

TEST_F(scan, at_the_end_of_the_file_nothing_is_read_and_every_target_stays) {
    open("last \n ");
    char text[8] = "";
    EXPECT_TRUE(scan_word(file, text, 7));
    int i = 7;
    double d = 7.0;
    float f = 7.0F;
    char c = 'c';
    EXPECT_FALSE(scan_word(file, text, 7));
    EXPECT_FALSE(scan_int(file, i));
    EXPECT_FALSE(scan_real(file, d));
    EXPECT_FALSE(scan_single(file, f));
    EXPECT_FALSE(scan_character(file, c));
    EXPECT_STREQ(text, "last");
    EXPECT_EQ(i, 7);
    EXPECT_EQ(d, 7.0);
    EXPECT_EQ(f, 7.0F);
    EXPECT_EQ(c, 'c');
}

TEST_F(scan, a_character_is_the_next_that_is_not_blank) {
    open(" \n\t@ 2");
    char c = ' ';
    EXPECT_TRUE(scan_character(file, c));
    EXPECT_EQ(c, '@');
    EXPECT_EQ(rest(), " 2");
}

TEST_F(scan, a_character_given_back_begins_the_next_word) {
    open("  word");
    char c = ' ';
    EXPECT_TRUE(scan_character(file, c));
    step_back(file, c);
    char text[8] = "";
    EXPECT_TRUE(scan_word(file, text, 7));
    EXPECT_STREQ(text, "word");
}

TEST_F(scan, nothing_is_given_back_behind_the_end_of_the_file) {
    open("  ");
    char c = 'x';
    EXPECT_FALSE(scan_character(file, c));
    step_back(file, c);
    EXPECT_EQ(std::fgetc(file), EOF);
}
