// SPDX-License-Identifier: BSD-3-Clause
// Whether the control file that a fit left is that of its results.
#include "files/results/run_control.h"

#include "files/start/start_file.h"

#include "support/support.h"

#include <gtest/gtest.h>

namespace {

constexpr int n = 64;

// Results of one Voigt line, with compact.par beside them.
class control : public testing::Test {
  protected:
    control() {
        start_.points = n;
        start_.hz_per_point = 2.0;
        start_.noise_stop = 8;
        start_.lines = 1;
        start_.entries.resize(1);
        start_.entries[0].type = tools::voigt_entry;
        const double values[] = {10.0, 40.0, -3.0, 20.0, 5.0};
        for (std::size_t q = 0; q < 5; ++q) start_.entries[0].parameters[q].value = values[q];
        start_.steps.resize(1);
        start_.steps[0].points = n;
        start_.steps[0].switches[tools::fit_areas] = 1;
        start_.steps[0].intervals = {{0, n - 1}};
    }
    // What is warned of when these are the values of the results.
    std::vector<std::string> warned_of(const tools::parameter_row &values, int points = n) const {
        tools::run_result run;
        run.folder = place_.name();
        run.name = "data";
        run.data.resize(static_cast<std::size_t>(points));
        run.noise_re = 1.0;
        tools::read_control(run, {values});
        EXPECT_EQ(run.control.read, run.warnings.empty());
        return run.warnings;
    }
    void write() const {
        support::write_file(place_.file("compact.par"), tools::version_3_text(start_, {}));
    }

    support::temporary_folder place_;
    tools::start_file start_;
};

} // namespace

TEST_F(control, of_the_same_values_is_taken_whatever_the_sign_of_a_gaussian_width) {
    write();
    EXPECT_TRUE(warned_of({10.0, 40.0, 3.0, 20.0, 5.0}).empty());
    EXPECT_TRUE(warned_of({10.0 + 0.9e-5, 40.0, 3.0, 20.0, 5.0}).empty()); // 1e-6 of it: floats
}

TEST_F(control, of_other_values_is_that_of_another_fit) {
    write();
    const tools::parameter_row same = {10.0, 40.0, 3.0, 20.0, 5.0};
    for (std::size_t q = 0; q < 5; ++q)
        for (const double factor : {1.00001, -1.0}) {
            tools::parameter_row other = same;
            other[q] *= factor;
            const auto warnings = warned_of(other);
            ASSERT_EQ(warnings.size(), 1U) << q << ' ' << factor;
            EXPECT_EQ(warnings[0].find("compact.par holds other values than the results"), 0U);
        }
    EXPECT_EQ(warned_of(same, n / 2).size(), 1U) << "of a signal with fewer points";
}

TEST_F(control, that_is_missing_or_damaged_is_said) {
    EXPECT_EQ(warned_of({}).at(0).find("no compact.par"), 0U);
    support::write_file(place_.file("compact.par"), "version_3\nn_pnts");
    EXPECT_EQ(warned_of({}).at(0).find("compact.par cannot be read ("), 0U);
}
