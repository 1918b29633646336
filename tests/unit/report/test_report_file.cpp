// SPDX-License-Identifier: BSD-3-Clause
#include "report/report_file.h"

#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <string>

TEST(outputs, never_take_the_place_of_an_input) {
    const support::temporary_folder folder(true);
    make_finished_fit();
    std::snprintf(sdffnm, sizeof sdffnm, "brain.bin");
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "start.par");
    std::snprintf(shffnm, sizeof shffnm, "brain.shf");
    std::snprintf(pat_name[1], pattern_name_size, "naa.pat");
    for (const char *input : {"brain.bin", "brain.bin.ref", "start.par", "brain.shf", "naa.pat"}) {
        EXPECT_TRUE(may_be_written(input)); // not there yet
        support::write_file(input, "kept");
        const std::string other_name = folder.name() + "/../" +
                                       folder.name().substr(folder.name().rfind('/') + 1) + "/" +
                                       input;
        bool may = true;
        const std::string said =
            support::stdout_of([&] { may = may_be_written(other_name.c_str()); });
        EXPECT_FALSE(may);
        EXPECT_EQ(said, "output file " + other_name + " is an input of this run : not written\n");
        support::stdout_of([&] { EXPECT_EQ(open_report(input), nullptr); });
        EXPECT_EQ(support::read_file(input), "kept");
    }
    support::write_file("brain.fitres", "old");
    EXPECT_TRUE(may_be_written("brain.fitres"));
}
