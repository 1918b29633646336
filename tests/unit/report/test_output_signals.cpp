// SPDX-License-Identifier: BSD-3-Clause
#include "report/output_signals.h"

#include "model/objective.h"
#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

static std::string names_of(const char *data_name) {
    std::snprintf(fnm, sizeof fnm, "%s", data_name);
    output_name names[n_output_signals];
    name_output_signals(names);
    std::string all;
    for (const output_name &name : names) all += std::string(name.data) + " " + name.header + " ";
    return all;
}

TEST(output_signals, cut_an_exact_bin_ending_behind_something) {
    make_finished_fit();
    sageidl = 0;
    EXPECT_EQ(names_of("a.bin"), "a.org  a.cor  a.fit  a.res  a.fit0  a.nln0  ");
    EXPECT_STREQ(fnm, "a");
    EXPECT_EQ(names_of(".bin").substr(0, 9), ".bin.org ");
    EXPECT_EQ(names_of("a.BIN").substr(0, 10), "a.BIN.org ");
}

TEST(output_signals, come_with_headers_for_sage_data) {
    make_finished_fit();
    sageidl = 1;
    EXPECT_EQ(names_of("a.bin"), "a.bin.org.sdf a.bin.org.shf a.bin.cororg.sdf a.bin.cororg.shf "
                                 "a.bin.fit.sdf a.bin.fit.shf a.bin.res.sdf a.bin.res.shf "
                                 "a.bin.fit0.sdf a.bin.fit0.shf a.bin.nln0.sdf a.bin.nln0.shf ");
}

// Each component as it is, without leading points removed, so that they add up to the whole model.
TEST(output_signals, of_components_add_up_to_the_model_without_ignore) {
    const support::temporary_folder folder;
    make_finished_fit();
    n_patterns = 0;
    spec = 1;
    td_ap_trunc = ap;
    ignore = 2;
    std::snprintf(path, sizeof path, "%s/", folder.name().c_str());
    write_components("brain.nln0");
    EXPECT_EQ(ignore, 2);
    std::vector<double> re, im;
    support::read_signal(folder.file("brain.nln0"), re, im);
    ASSERT_EQ(re.size(), 24u);
    ignore = 0;
    chi_square_of(par);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(re[i] + re[8 + i] + re[16 + i], yre[i], 1e-6) << i; // single precision
        EXPECT_NEAR(im[i] + im[8 + i] + im[16 + i], yim[i], 1e-6) << i;
    }
}
