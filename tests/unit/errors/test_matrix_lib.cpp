// SPDX-License-Identifier: BSD-3-Clause
#include "errors/matrix_lib.h"

#include "errors/ncr_mvb.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

TEST(matrix_lib, inverse_by_hand) {
    double a[4] = {4.0, 7.0, 2.0, 6.0}; // determinant 10
    gaussj(a, 2);
    const double wanted[4] = {0.6, -0.7, -0.2, 0.4};
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(a[i], wanted[i], 1e-15);
}

TEST(matrix_lib, inverse_needs_exchanges_of_rows_and_columns) {
    double a[9] = {0.0, 0.0, 2.0, 1.0, 0.0, 0.0, 0.0, 4.0, 0.0};
    gaussj(a, 3);
    const double wanted[9] = {0.0, 1.0, 0.0, 0.0, 0.0, 0.25, 0.5, 0.0, 0.0};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(a[i], wanted[i]) << i;
}

TEST(matrix_lib, matrix_times_inverse_is_one) {
    support::random_numbers random(81);
    for (int n : {1, 5, 30}) {
        const std::size_t size = static_cast<std::size_t>(n) * static_cast<std::size_t>(n);
        std::vector<double> a(size), b;
        for (double &x : a) x = random.normal();
        for (int i = 0; i < n; ++i) a[static_cast<std::size_t>(i * n + i)] += 4.0 * std::sqrt(n);
        b = a;
        gaussj(b.data(), n);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                double sum = 0.0;
                for (int k = 0; k < n; ++k)
                    sum += a[static_cast<std::size_t>(i * n + k)] *
                           b[static_cast<std::size_t>(k * n + j)];
                EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-13); // well conditioned
            }
        }
    }
}

TEST(matrix_lib, singular_matrix_is_said_and_ends_in_infinities) {
    double a[4] = {0.0, 0.0, 0.0, 0.0};
    const std::string said = support::stdout_of([&] { gaussj(a, 2); });
    EXPECT_EQ(said.rfind("pause 2 in GAUSSJ - Singular matrix \n", 0), 0U);
    EXPECT_FALSE(std::isfinite(a[0]));
}

static int count(const std::string &text, const std::string &line) {
    int found = 0;
    for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos; at += line.size())
        ++found;
    return found;
}

// Three parameters without any effect. The first pass that finds zeros only divides by one, which
// leaves not-a-numbers; the next finds no largest element and takes the same pivot, now infinite,
// again; the last one meets its column, used twice, in the three rows that are open, and a pivot
// that became 0.
TEST(matrix_lib, pass_without_a_largest_element_keeps_the_pivot_of_the_one_before) {
    double a[25] = {4.0, 1.0, 0.0, 0.0, 0.0, 1.0, 3.0};
    const std::string said = support::stdout_of([&] { gaussj(a, 5); });
    EXPECT_EQ(said, "pause 2 in GAUSSJ - Singular matrix \n"
                    "pause 1 in GAUSSJ - Singular matrix \n"
                    "pause 1 in GAUSSJ - Singular matrix \n"
                    "pause 1 in GAUSSJ - Singular matrix \n"
                    "pause 2 in GAUSSJ - Singular matrix \n");
    for (double x : a) EXPECT_FALSE(std::isfinite(x) && x != 0.0);
    // one such parameter: its row is eliminated last, and nothing is searched after it
    double b[4] = {2.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(count(support::stdout_of([&] { gaussj(b, 2); }), "pause 1"), 0);
}

TEST(matrix_lib, matrix_of_not_a_numbers_and_empty_matrix_come_back) {
    double a[4] = {NAN, NAN, NAN, NAN};
    support::stdout_of([&] { gaussj(a, 2); });
    EXPECT_TRUE(std::isnan(a[3]));
    gaussj(a, 0);
    gaussj(nullptr, 0);
}

TEST(matrix_lib, elements_outside_are_refused_with_their_messages) {
    double a[4] = {1.0, 2.0, 3.0, 4.0};
    EXPECT_EQ(pop_2d_matrix_element(a, 2, 2, 1), 3.0);
    EXPECT_EQ(pop_2d_element(a, 2, 1, 2), 2.0);
    push_2d_matrix_element(a, 2, 2, 2, 8.0);
    push_2d_element(a, 2, 1, 1, 5.0);
    EXPECT_EQ(a[3], 8.0);
    EXPECT_EQ(a[0], 5.0);
    const std::string head = "fatal memory implementation error : \n";
    EXPECT_EQ(support::stdout_of([&] { push_2d_matrix_element(a, 2, 3, 1, 9.0); }),
              head + "trying to push 2d matrix matrix_element outside allocated memory area \n");
    EXPECT_EQ(support::stdout_of([&] { EXPECT_EQ(pop_2d_matrix_element(a, 2, 1, 3), 0.0); }),
              head + "trying to pop 2d matrix matrix_element outside allocated memory area \n");
    EXPECT_EQ(support::stdout_of([&] { push_2d_element(a, 2, 1, 3, 9.0); }),
              head + "trying to push 2d matrix element outside allocated memory area \n");
    EXPECT_EQ(support::stdout_of([&] { EXPECT_EQ(pop_2d_element(a, 2, 0, 1), 0.0); }),
              head + "trying to pop 2d matrix element outside allocated memory area \n");
    EXPECT_EQ(a[1], 2.0);
    EXPECT_EQ(a[2], 3.0);
}
