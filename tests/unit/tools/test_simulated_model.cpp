// SPDX-License-Identifier: BSD-3-Clause
// The model of a start file as a simulation writes it.
#include "varokel-simulate/simulated_model.h"

#include "files/base/ordered_json.h"
#include "files/base/tool_error.h"

#include "support/refusal.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

namespace {

constexpr int n = 64;

// Two Lorentzians on 64 points of 2 Hz.
class simulated : public testing::Test {
  protected:
    simulated() {
        start_.points = n;
        start_.hz_per_point = 2.0;
        start_.noise_first = 3;
        start_.noise_stop = 9;
        start_.lines = 2;
        start_.entries.resize(2);
        give(0, 10.0, 40.0, 30.0, 3.0);
        give(1, -4.0, 91.0, 0.0, 5.0);
        start_.steps.resize(1);
        start_.steps[0].points = n;
        start_.steps[0].switches[tools::fit_areas] = 1;
        start_.steps[0].intervals = {{0, n - 1}};
    }
    // Area, place [Hz], phase [degrees], width [points].
    void give(std::size_t k, double area, double hertz, double phase, double width) {
        auto &p = start_.entries[k].parameters;
        p[tools::area_of].value = area;
        p[tools::frequency_of].value = hertz;
        p[tools::phase_of].value = phase;
        p[tools::lorentz_of].value = width;
    }
    tools::simulated_model made() const {
        support::write_file(place_.file("start.par"), tools::version_3_text(start_, {}));
        return tools::simulated_model(place_.file("start.par"));
    }
    // Of a decay that begins so many points of time late, with places from the left edge: the sum
    // over t of the lines, half of the first, turned to the place of each point.
    std::complex<double> by_definition(int point, double late) const {
        using std::numbers::pi;
        std::complex<double> sum;
        for (const tools::start_entry &entry : start_.entries) {
            const auto &p = entry.parameters;
            const double place = p[tools::frequency_of].value / 2.0;
            for (int k = 0; k < n; ++k) {
                const double t = k + late, weight = k == 0 ? 0.5 : 1.0;
                sum += weight * p[tools::area_of].value *
                       std::exp(-pi * p[tools::lorentz_of].value * t / n) *
                       std::polar(1.0 / n, 2.0 * pi * (place * t - point * k) / n +
                                               pi * p[tools::phase_of].value / 180.0);
            }
        }
        return sum;
    }

    support::temporary_folder place_;
    tools::start_file start_;
};

} // namespace

TEST_F(simulated, is_the_sum_of_its_decays) {
    const tools::complex_signal signal = made().with_noise({0.0, 1}, n);
    ASSERT_EQ(signal.size(), std::size_t{n});
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(std::abs(signal[static_cast<std::size_t>(i)] - by_definition(i, 0.0)), 0.0,
                    1e-6) // the file's values are read as floats
            << i;
}

// A first-order phase of 360 degrees over the band is a delay of one point.
TEST_F(simulated, begins_as_late_as_its_first_order_phase_says) {
    EXPECT_FALSE(made().begin_time());
    EXPECT_DOUBLE_EQ(made().dwell_time(), 1.0 / 128.0);
    for (const double points_late : {0.25, 0.75}) {
        start_.phi_1 = 360.0 * points_late;
        const tools::simulated_model model = made();
        ASSERT_TRUE(model.begin_time());
        EXPECT_DOUBLE_EQ(*model.begin_time(), points_late / 128.0);
        const tools::complex_signal signal = model.with_noise({0.0, 1}, n);
        for (int i = 0; i < n; ++i)
            EXPECT_NEAR(
                std::abs(signal[static_cast<std::size_t>(i)] - by_definition(i, points_late)), 0.0,
                1e-6)
                << points_late << ' ' << i;
    }
}

TEST_F(simulated, has_the_window_and_the_points_of_its_file) {
    const tools::simulated_model model = made();
    EXPECT_EQ(model.file().points, n);
    EXPECT_EQ(model.file().noise_first, 3);
    EXPECT_EQ(model.file().noise_stop, 9);
    EXPECT_TRUE(model.pattern_files().empty());
    const auto truth = tools::ordered_json::parse(model.truth({0.5, 7}, 3));
    EXPECT_EQ(truth["seed"].get<int>(), 7);
    EXPECT_EQ(truth["spectra"].get<int>(), 3);
    EXPECT_EQ(truth["entries"].size(), 2U);
}

// Noise is white, of this standard deviation in both parts, and the same for the same seed.
TEST_F(simulated, has_noise_of_its_seed_on_top) {
    const tools::simulated_model model = made();
    const tools::complex_signal quiet = model.with_noise({0.0, 1}, n);
    double squares[2] = {};
    static constexpr int seeds = 200;
    for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
        const tools::complex_signal loud = model.with_noise({0.5, seed}, n);
        EXPECT_EQ(model.with_noise({0.5, seed}, n), loud);
        for (std::size_t i = 0; i < n; ++i) {
            squares[0] += std::pow(loud[i].real() - quiet[i].real(), 2);
            squares[1] += std::pow(loud[i].imag() - quiet[i].imag(), 2);
        }
    }
    // a variance of 12,800 values scatters by 1.25 %
    for (const double sum : squares) EXPECT_NEAR(sum / (seeds * n), 0.25, 5 * 0.0125 * 0.25);
}

TEST_F(simulated, files_without_a_model_are_refused) {
    const auto said = [&] { return support::refusal_of(tools::bad_input, [&] { made(); }); };
    EXPECT_EQ(said(), "no error");
    start_.points = 60;
    EXPECT_NE(said().find("expected a power of two"), std::string::npos);
    start_.points = n;
    start_.fit_mode = 2;
    EXPECT_NE(said().find("fit_mo is 2"), std::string::npos);
    EXPECT_THROW(tools::simulated_model(place_.file("missing.par")), tools::tool_error);
}
