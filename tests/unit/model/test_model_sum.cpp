// SPDX-License-Identifier: BSD-3-Clause
#include "model/model_sum.h"
#include "run/storage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

static const int no_lineshape[4] = {};

static curve_setting setting_of(int ap) {
    return {.ap = ap,
            .nLines = 3,
            .n_patterns = 0,
            .td_ap_trunc = ap,
            .ref_line = 0,
            .lsf_coefs = 0,
            .ignore = 0,
            .fit_lsf = no_lineshape,
            .frscl = 1.0,
            .phi_1 = 0.0,
            .re_ref = nullptr,
            .im_ref = nullptr,
            .r_lsf = nullptr,
            .i_lsf = nullptr,
            .pat = nullptr};
}

static const double first[pars_per_entry] = {3.0, 4.0, 0.0, 20.0, 2.0};
static const double second[pars_per_entry] = {-1.0, -7.0, 0.0, 0.0, 1.0};

static std::vector<double> alone(int ap, const double *p) {
    model_sum sum;
    EXPECT_TRUE(sum.begin(setting_of(ap)));
    sum.add(1, lorentzian_line, p, 1.0);
    sum.transform();
    std::vector<double> points(sum.re(), sum.re() + ap);
    points.insert(points.end(), sum.im(), sum.im() + ap);
    return points;
}

static std::vector<double> points_of(const model_sum &sum, int ap) {
    std::vector<double> points(sum.re(), sum.re() + ap);
    points.insert(points.end(), sum.im(), sum.im() + ap);
    return points;
}

TEST(model_sum, two_sums_at_a_time_are_as_each_alone) {
    const std::vector<double> wanted_first = alone(64, first), wanted_second = alone(32, second);
    model_sum one;
    ASSERT_TRUE(one.begin(setting_of(64)));
    one.add(1, lorentzian_line, first, 1.0);
    {
        model_sum other;
        ASSERT_TRUE(other.begin(setting_of(32)));
        other.add(1, lorentzian_line, second, 1.0);
        other.transform();
        EXPECT_EQ(points_of(other, 32), wanted_second);
    }
    one.transform();
    EXPECT_EQ(points_of(one, 64), wanted_first);
    model_sum::release_storage();
}

TEST(model_sum, one_sum_after_the_other_takes_storage_once) {
    model_sum::release_storage();
    alone(64, first);
    const long long requests = storage_requests();
    for (int i = 0; i < 10; ++i) alone(64, second);
    alone(16, first);                            // fits into what is there
    EXPECT_EQ(storage_requests(), requests + 1); // the transform of 16 points
    alone(128, first);
    EXPECT_EQ(storage_requests(), requests + 3);
    model_sum::release_storage();
}

TEST(model_sum, what_was_kept_is_there_until_the_storage_grows) {
    model_sum sum;
    ASSERT_TRUE(sum.begin(setting_of(32)));
    EXPECT_FALSE(sum.begin_with_kept(1.0));
    sum.add(1, lorentzian_line, first, 1.0);
    sum.keep();
    sum.transform();
    ASSERT_TRUE(sum.begin_with_kept(1.0));
    sum.transform();
    EXPECT_EQ(points_of(sum, 32), alone(32, first));
    ASSERT_TRUE(sum.begin(setting_of(4096)));
    EXPECT_FALSE(sum.begin_with_kept(1.0));
}

// The transform is linear: the points before a place and those from it on are the whole signal.
TEST(model_sum, points_are_left_out_before_ignore_and_from_the_truncation_on) {
    static constexpr int ap = 64;
    const auto part = [](int ignore, int end) {
        curve_setting setting = setting_of(ap);
        setting.ignore = ignore;
        setting.td_ap_trunc = end;
        model_sum sum;
        EXPECT_TRUE(sum.begin(setting));
        sum.add(1, lorentzian_line, first, 1.0);
        sum.transform();
        return points_of(sum, ap);
    };
    const std::vector<double> whole = alone(ap, first);
    EXPECT_EQ(part(-3, 1000), whole);
    EXPECT_EQ(part(0, 1), part(0, 2)) << "two points at least";
    for (int place = 2; place <= ap; ++place) {
        const std::vector<double> before = part(0, place), behind = part(place, ap);
        for (std::size_t i = 0; i < whole.size(); ++i)
            ASSERT_NEAR(before[i] + behind[i], whole[i], 1e-15) << place; // values are below 0.1
        // a single point has a spectrum of one size everywhere
        const std::vector<double> point = part(place - 1, place);
        const double size = std::hypot(point[0], point[ap]);
        EXPECT_GT(size, 1e-8) << place; // 3/64 exp(-2 pi 63/64)
        for (std::size_t i = 0; i < ap; ++i)
            ASSERT_NEAR(std::hypot(point[i], point[ap + i]), size, 1e-16) << place;
    }
    for (const double value : part(ap, ap)) EXPECT_EQ(value, 0.0);
}

TEST(model_sum, a_width_that_a_type_has_not_means_nothing) {
    const auto of_type = [](int type, double gauss, double lorentz) {
        const double p[pars_per_entry] = {3.0, 4.0, gauss, 20.0, lorentz};
        model_sum sum;
        EXPECT_TRUE(sum.begin(setting_of(32)));
        sum.add(1, type, p, 1.0);
        sum.transform();
        return points_of(sum, 32);
    };
    EXPECT_EQ(of_type(gaussian_line, 2.0, 5.0), of_type(gaussian_line, 2.0, 0.0));
    EXPECT_EQ(of_type(lorentzian_line, 5.0, 2.0), of_type(lorentzian_line, 0.0, 2.0));
    EXPECT_EQ(of_type(voigt_line, 2.0, 0.0), of_type(gaussian_line, 2.0, 0.0));
    EXPECT_EQ(of_type(voigt_line, 0.0, 2.0), of_type(lorentzian_line, 0.0, 2.0));
    EXPECT_NE(of_type(voigt_line, 2.0, 5.0), of_type(voigt_line, 2.0, 0.0));
    EXPECT_NE(of_type(voigt_line, 2.0, 5.0), of_type(voigt_line, 0.0, 5.0));
}
