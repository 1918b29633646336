// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/measured_formats.h"

#include "files/base/tool_error.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <string>

using tools::complex_signal;

namespace {

class lcmodel_raw : public testing::Test {
  protected:
    // Four points behind these items.
    std::string written(const std::string &items) const {
        support::write_file(place_.file("a.RAW"),
                            " $SEQPAR\n hzpppm = 127.7\n" + items +
                                " $END\n $NMID\n fmtdat = '(2E15.6)'\n"
                                " tramp = 3.0\n volume = 2.0\n $END\n"
                                "  1.0 2.0\n  3.0 4.0\n -1.0 0.5\n 0.0 8.0\n");
        return place_.file("a.RAW");
    }
    std::string refusal(const std::string &items) const {
        try {
            tools::read_lcmodel_raw(written(items), {});
        } catch (const tools::tool_error &error) {
            EXPECT_EQ(error.status(), tools::bad_input);
            return error.what();
        }
        return "no error";
    }

    support::temporary_folder place_;
};

} // namespace

TEST_F(lcmodel_raw, points_are_multiplied_by_tramp_over_volume) {
    const auto source = tools::read_lcmodel_raw(written(" echot = 30.\n deltat = 5.e-4\n"), {});
    EXPECT_EQ(source->points, 4);
    EXPECT_EQ(source->facts.mhz, 127.7);
    EXPECT_EQ(source->facts.dwell_time, 5e-4);
    EXPECT_EQ(source->facts.echo_time, 0.03);
    std::vector<complex_signal> sums = {complex_signal(4)};
    source->add_to({{0, 0}}, sums);
    EXPECT_EQ(sums[0][0], std::complex<double>(1.5, 3.0));
    EXPECT_EQ(sums[0][3], std::complex<double>(0.0, 12.0));
}

TEST_F(lcmodel_raw, the_points_of_one_fid_are_a_whole_number_that_divides_the_file) {
    const auto source = tools::read_lcmodel_raw(written(" nunfil = 2\n"), {});
    EXPECT_EQ(source->points, 2);
    EXPECT_EQ(source->spectra(), 2);
    EXPECT_EQ(tools::read_lcmodel_raw(written(" nunfil = 3\n"), 4)->points, 4); // the user knows
    for (const char *const bad : {"2.5", "0.5", "1.5e9", "1e300"})
        EXPECT_NE(refusal(std::string(" nunfil = ") + bad + "\n").find("no whole number of points"),
                  std::string::npos)
            << bad;
    for (const char *const bad : {"0", "-2", "3", "8"})
        EXPECT_NE(refusal(std::string(" nunfil = ") + bad + "\n"), "no error") << bad;
}

TEST_F(lcmodel_raw, what_has_no_scale_or_another_order_of_points_is_refused) {
    EXPECT_EQ(refusal(""), "no error");
    EXPECT_NE(refusal(" deltat = 0.\n").find("is not above 0"), std::string::npos);
    EXPECT_NE(refusal(" hzpppm = x\n"), "no error");
    support::write_file(place_.file("b.RAW"),
                        " $NMID\n fmtdat = '(2E15.6)'\n seqacq = .TRUE.\n $END\n 1.0 2.0\n");
    EXPECT_THROW(tools::read_lcmodel_raw(place_.file("b.RAW"), {}), tools::tool_error);
}
