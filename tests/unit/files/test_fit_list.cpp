// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/fit_list.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

const std::string a(64, 'a'), b(64, 'b'), c(64, 'c');

TEST(fit_list, a_list_is_read_once_however_many_folders_are_asked_for) {
    const support::temporary_folder folder(true);
    const fs::path here = fs::current_path();
    support::write_file("fit_files.sha256", a + "  one/x.bin\n" + b + "  one/y.json\n" + c +
                                                "  two/x.bin\n" + a + "  quality.tsv\n" + b +
                                                "  one/deeper/x.bin\n");
    tools::fit_lists lists;
    EXPECT_EQ(lists.beside(here, here / "one"), (tools::fit_list{{"x.bin", a}, {"y.json", b}}));
    fs::remove("fit_files.sha256"); // the time of a report of many spectra is linear in them
    EXPECT_EQ(lists.beside(here, here / "two"), (tools::fit_list{{"x.bin", c}}));
    EXPECT_EQ(lists.beside(here, here), (tools::fit_list{{"quality.tsv", a}}));
    EXPECT_TRUE(lists.beside(here, here / "three").empty());
    EXPECT_TRUE(tools::fit_lists().beside(here, here / "one").empty());
}

TEST(fit_list, a_file_that_is_no_list_of_ours_says_nothing) {
    const support::temporary_folder folder(true);
    const fs::path here = fs::current_path();
    for (const std::string &line :
         {a + " one/x.bin\n", a.substr(1) + "  one/x.bin\n", a + "  \n"}) {
        support::write_file("fit_files.sha256", b + "  one/x.bin\n" + line);
        EXPECT_TRUE(tools::fit_lists().beside(here, here / "one").empty()) << line;
    }
}

} // namespace
