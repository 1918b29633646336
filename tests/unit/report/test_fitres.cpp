// SPDX-License-Identifier: BSD-3-Clause
#include "report/fitres.h"

#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <string>

static std::string written_report() {
    const support::temporary_folder folder;
    std::snprintf(path, sizeof path, "%s/", folder.name().c_str());
    write_fit_result(1.25);
    std::string text = support::read_file(folder.file("brain.fitres"));
    text.replace(text.find(folder.name()), folder.name().size(), "DATA");
    return text;
}

static std::string repeated(int n) {
    return std::string(static_cast<std::size_t>(n), '_');
}

static std::string table(const std::string &heading, int rule, const std::string &rows) {
    return repeated(rule) + "\n" + heading + "\n" + repeated(rule) + "\n" + rows + repeated(41) +
           "\n\n";
}

// One Voigt line: every figure is known. Widths: 1 point of 2 Hz is 2 Hz, times 1.67 for the
// Gaussian.
TEST(fitres, of_one_voigt_line_is_this_text) {
    make_finished_fit();
    nLines = 1;
    n_patterns = 0;
    for (int j = 0; j < 5; ++j) fixpar[j].type = 3;
    par[1] = 4.0;
    errpar[1] = 0.5;
    fixpar[1].value = 3.0;
    const std::string expected =
        "File name            : DATA/brain\n"
        "acquisition date     : 06/27/2024\n"
        "time acquired        : 11:59\n" +
        std::string(" ") +
        table("|#line  |  area        | abs. err.area | ", 40,
              "|   1\t| 1.000000e+00\t| 1.000000e-01\t|\n") +
        table("|#line  | gausswidth     | abs. err. wid.|", 41,
              "|   1\t| 3.340000e+00\t| 3.340000e-01\t|\n") +
        table("|#line  |  frequency     | abs. err.frq.|", 41,
              "|   1\t| 8.000000e+00\t| 1.000000e+00\t|\n") +
        table("|#line  |  phase       | abs. err. phase|", 41,
              "|   1\t| 3.000000e+01\t| 3.000000e+00\t|\n") +
        table("|#line  |  l_width     |abs. err.l_width|", 41,
              "|   1\t| 1.000000e+00\t| 1.000000e-01\t|\n") +
        "\n\n" + repeated(85) +
        "\n|\tline type & number\t\t|     peakarea   \t|   perc. error      |\n" + repeated(86) +
        "\n| peak area Voigt      line\t1\t| \t5.000000e-01\t| \t5.000000e+00 | \n" + repeated(86) +
        "\n * = error in estimate > 10.0 percent \n\n"
        "Fitting conditions : \n" +
        repeated(89) +
        "\n|    para #      |  model type  | fixed to line | initial values|   parameter changes   "
        "|\n" +
        repeated(90) +
        " \n"
        "| Parameter #  1 | \t  Voigt\t|\t 0\t|7.500000e-01\t|\t2.500000e-01\t|\n"
        "| Parameter #  2 | \t  Voigt\t|\t 0\t|6.000000e+00\t|\t2.000000e+00\t|\n"
        "| Parameter #  3 | \t  Voigt\t|\t 0\t|2.505000e+00\t|\t8.350000e-01\t|\n"
        "| Parameter #  4 | \t  Voigt\t|\t 1\t|2.975000e+01\t|\t2.500000e-01\t|\n"
        "| Parameter #  5 | \t  Voigt\t|\t 0\t|5.000000e-01\t|\t5.000000e-01\t|\n" +
        repeated(89) +
        "\n\n"
        "Fit quality number after fit                    : 1.250000E+00\n"
        "Chi-square before (weighted) least square fit   : 9.000000E+00\n"
        "Chi-square after  (weighted) least square fit   : 4.000000E+00\n"
        "Chi-square after  (UNWEIGHTED) least square fit : 3.000000E+00\n"
        "standard deviation          : 5.000000E-01\n"
        "Number of iterations        :    17\n"
        "Chi-square weighting type   :     1\n"
        "Number of parameters fitted :    12\n";
    EXPECT_EQ(written_report(), expected);
}

TEST(fitres, names_each_type_but_patterns_in_the_table_of_peak_areas) {
    make_finished_fit();
    const std::string text = written_report();
    EXPECT_NE(text.find("| peak area Gaussian line  \t1\t| \t5.000000e-01\t"), std::string::npos);
    EXPECT_NE(text.find("| peak area Lorentzian line\t2\t| \t1.000000e+00\t"), std::string::npos);
    EXPECT_NE(text.find("| peak area Voigt      line\t3\t| \t1.500000e+00\t"), std::string::npos);
    EXPECT_NE(text.find("| peak area \t2.000000e+00\t"), std::string::npos);
    EXPECT_NE(text.find("| Parameter #  5 | \t Gaussian \t|"), std::string::npos);
    EXPECT_NE(text.find("| Parameter # 10 | \tLorentzian\t|"), std::string::npos);
    EXPECT_NE(text.find("| Parameter # 20 | \t Pattern\t|"), std::string::npos);
}

// The percentage is half of the two-sigma error over the area: above 10 an asterisk, at 10 none.
TEST(fitres, marks_errors_above_ten_percent) {
    make_finished_fit();
    errpar[0] = 0.25; // of 1: 12.5
    errpar[5] = -0.5; // of 2: -12.5
    errpar[10] = 0.6; // of 3: 10.0
    const std::string text = written_report();
    EXPECT_NE(text.find("\t1.250000e+01 | * \n"), std::string::npos);
    EXPECT_NE(text.find("\t-1.250000e+01 | * \n"), std::string::npos);
    EXPECT_NE(text.find("\t1.000000e+01 | \n"), std::string::npos);
}

TEST(fitres, shows_the_area_of_a_lineshape_fit) {
    make_finished_fit();
    lsf_coefs = 2;
    fit_lsf[2] = 1;
    lsf_area[2] = 20.0;
    const std::string text = written_report();
    EXPECT_NE(text.find("|   2\t| 2.000000e+01\t| 2.000000e-01\t|\n"), std::string::npos);
    EXPECT_NE(text.find("| peak area Lorentzian line\t2\t| \t1.000000e+01\t| \t5.000000e-01 | \n"),
              std::string::npos);
    lsf_coefs = 0;
}

TEST(fitres, that_cannot_be_opened_is_reported) {
    make_finished_fit();
    std::snprintf(path, sizeof path, "/no/such/folder/");
    EXPECT_EQ(support::stdout_of([] { write_fit_result(1.0); }), " error_hs : file not opened\n ");
}
