// SPDX-License-Identifier: BSD-3-Clause
#include "not_called/start_file_words.h"

#include "run/storage.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

TEST(start_file_words, begin_mark_sets_the_flag) {
    char text[] = "varokel_begin_of_file varokel_begin_of_files";
    std::FILE *file = fmemopen(text, std::strlen(text), "r");
    ASSERT_NE(file, nullptr);
    int flag = 0;
    read_varokel_begin_of_file(file, flag);
    EXPECT_EQ(flag, 1);
    flag = 0;
    read_varokel_begin_of_file(file, flag); // one word a call
    EXPECT_EQ(flag, 0);
    read_varokel_begin_of_file(file, flag); // end of file
    EXPECT_EQ(flag, 0);
    std::fclose(file);
}

TEST(substring, ends_in_a_line_end_and_not_in_a_zero) {
    char *part = substring("spectrum", 2, 3);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(std::memcmp(part, "ect\n", 4), 0);
    release(part);
}

TEST(substring, stops_at_the_end_of_the_text) {
    char *part = substring("ab", 1, 3);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(std::memcmp(part, "b\0\0\n", 4), 0);
    release(part);
    part = substring("ab", 9, 1);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(std::memcmp(part, "\0\n", 2), 0);
    release(part);
    part = substring("ab", 0, -1);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(part[0], '\n');
    release(part);
}

TEST(start_file_words, lineshape_reader_reads_pairs_behind_the_entries) {
    double vector[14] = {};
    char text[] = "1.5 2.5 3.5 4.5 5.5";
    std::FILE *file = fmemopen(text, std::strlen(text), "r");
    ASSERT_NE(file, nullptr);
    read_varokel_line_shape_function(file, 1, 1, 0, vector);
    EXPECT_EQ(vector[10], 0.0);
    read_varokel_line_shape_function(file, 1, 1, -1, vector);
    EXPECT_EQ(vector[10], 0.0);
    read_varokel_line_shape_function(file, 1, 1, 2, vector);
    std::fclose(file);
    EXPECT_EQ(vector[9], 0.0);
    EXPECT_EQ(vector[10], 1.5);
    EXPECT_EQ(vector[13], 4.5);
}
