// SPDX-License-Identifier: BSD-3-Clause
#include "report/parameter_matrix.h"

#include "unit/report/report_example.h"

#include <gtest/gtest.h>

TEST(parameter_matrix, has_a_row_an_entry_and_no_sign_on_a_gaussian_width) {
    const support::temporary_folder folder;
    make_finished_fit();
    std::snprintf(path, sizeof path, "%s/", folder.name().c_str());
    nLines = 1;
    const double rows[10] = {1.0, -2.0, -3.0, 4.0, -5.0, 1e-300, 0.0, 0.1, 1e10, 6.02214076e23};
    Write_Parameter_Matrix("brain.mat", rows);
    EXPECT_EQ(support::read_file(folder.file("brain.mat")),
              "1.00000000E+00\t-2.00000000E+00\t3.00000000E+00\t4.00000000E+00\t-5.00000000E+00\n"
              "1.00000000E-300\t0.00000000E+00\t1.00000000E-01\t1.00000000E+10\t6.02214076E+23\n");
}

TEST(parameter_matrix, that_cannot_be_opened_is_reported) {
    const support::temporary_folder folder;
    make_finished_fit();
    std::snprintf(path, sizeof path, "%s/none/", folder.name().c_str());
    EXPECT_EQ(support::stdout_of([] { Write_Parameter_Matrix("brain.mat", par); }),
              "Could not open output file : " + folder.name() + "/none/brain.mat\n");
}

TEST(parameter_matrix, on_a_full_disk_is_reported) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    make_finished_fit();
    std::snprintf(path, sizeof path, "/dev/");
    EXPECT_EQ(support::stdout_of([] { Write_Parameter_Matrix("full", par); }),
              "error in writing file /dev/full\n");
}
