// SPDX-License-Identifier: BSD-3-Clause
// The reference of each spectrum: which one it is, and which files do not go together.
#include "files/measured/reference_lines.h"

#include "files/base/tool_error.h"
#include "files/measured/open_source.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

using tools::complex_signal;

namespace {

constexpr int n = 256;
constexpr double dwell = 1e-3;

// Decays of one line each, at these frequencies [Hz]; not a number: zeros.
class references : public testing::Test {
  protected:
    std::string fids(const std::string &name, const std::vector<double> &hertz, int points = n,
                     double dwell_time = dwell, double damping = 20.0) const {
        std::vector<double> re, im;
        for (const double f : hertz)
            for (int k = 0; k < points; ++k) {
                const std::complex<double> point =
                    std::isnan(f) ? 0.0
                                  : std::polar(1000.0 * std::exp(-damping * k * dwell),
                                               2.0 * std::numbers::pi * f * k * dwell);
                re.push_back(point.real());
                im.push_back(point.imag());
            }
        support::write_signal(place_.file(name + ".f32"), re, im);
        support::write_file(place_.file(name + ".json"),
                            "{\"n_points\": " + std::to_string(points) +
                                ", \"n_spectra\": " + std::to_string(hertz.size()) +
                                ", \"dwell_time_s\": " + std::to_string(dwell_time) +
                                ", \"spectrometer_MHz\": 120.0}");
        return place_.file(name + ".f32");
    }
    // Data of so many spectra with this reference.
    void begin(int spectra, const std::string &reference) {
        data_ = tools::open_source(
            fids("data", std::vector<double>(static_cast<std::size_t>(spectra), -77.0)), "", "",
            {});
        options_.input = data_->file;
        if (spectra > 1) options_.choice.index = {"all"};
        own_.reference = reference;
        outputs_ = tools::choose_spectra(*data_, options_.choice);
        lines_ = std::make_unique<tools::reference_lines>(options_, own_, *data_, outputs_, n);
    }
    std::string refusal(int spectra, const std::string &reference) {
        try {
            begin(spectra, reference);
        } catch (const tools::tool_error &error) {
            EXPECT_EQ(error.status(), tools::bad_input);
            return error.what();
        }
        return "no error";
    }
    // Other FIDs than the references.
    static std::vector<complex_signal> other_fids(std::size_t count) {
        complex_signal fid(n);
        for (std::size_t k = 0; k < n; ++k)
            fid[k] =
                std::polar(std::exp(-0.05 * static_cast<double>(k)), 1.3 * static_cast<double>(k));
        return std::vector<complex_signal>(count, fid);
    }
    // Of a line, where it stands [Hz].
    double hertz_of(std::size_t output) const {
        return lines_->items(lines_->line_of(output), "x")["line_at_hz"].get<double>();
    }

    support::temporary_folder place_;
    tools::input_options options_;
    tools::spectrum_options own_;
    std::unique_ptr<tools::spectrum_source> data_;
    tools::choice outputs_;
    std::unique_ptr<tools::reference_lines> lines_;
};

} // namespace

TEST_F(references, are_as_many_as_spectra_or_one_for_all) {
    const std::string one = fids("one", {10.0}), two = fids("two", {10.0, 20.0});
    EXPECT_EQ(refusal(3, one), "no error");
    EXPECT_EQ(refusal(2, two), "no error");
    EXPECT_EQ(refusal(3, two), two + ": gives 2 reference spectra for 3; expected one, or one for "
                                     "each");
}

TEST_F(references, hold_as_many_points_as_are_used_of_the_data) {
    EXPECT_EQ(refusal(1, fids("long", {10.0}, n + 8)), "no error");
    const std::string shorter = fids("short", {10.0}, n - 1);
    EXPECT_EQ(refusal(1, shorter), shorter +
                                       ": holds 255 points; expected at least the 256 that "
                                       "are used of " +
                                       place_.file("data.f32"));
}

TEST_F(references, have_the_dwell_time_of_the_data_within_a_hundred_thousandth) {
    EXPECT_EQ(refusal(1, fids("same", {10.0}, n, dwell * (1.0 + 0.9e-5))), "no error");
    for (const double other : {1.002, 0.998}) {
        const std::string file = fids("other", {10.0}, n, dwell * other);
        EXPECT_EQ(refusal(1, file).find(file + ": dwell time 0.00"), 0u);
    }
}

TEST_F(references, of_each_spectrum_are_its_own) {
    begin(3, fids("each", {10.0, -35.0, 60.0}));
    lines_->read(0, 2, other_fids(2));
    EXPECT_NEAR(hertz_of(0), 10.0, 0.1);
    EXPECT_NEAR(hertz_of(1), -35.0, 0.1);
    EXPECT_THROW(lines_->line_of(2), tools::tool_error) << "which was not read yet";
    lines_->read(2, 3, other_fids(1));
    EXPECT_NEAR(hertz_of(2), 60.0, 0.1);
    EXPECT_THROW(lines_->line_of(0), tools::tool_error) << "those that were read last";
}

TEST_F(references, of_one_for_all_is_read_once_and_serves_every_spectrum) {
    const std::string file = fids("one", {25.0});
    begin(3, file);
    lines_->read(0, 1, other_fids(1));
    EXPECT_NEAR(hertz_of(2), 25.0, 0.1);
    fids("one", {-90.0}); // another file by now
    lines_->read(1, 3, other_fids(2));
    EXPECT_NEAR(hertz_of(1), 25.0, 0.1);
    begin(1, file);
    const auto item = lines_->items(lines_->only_line(), "lines.bin");
    EXPECT_NEAR(item["line_at_hz"].get<double>(), -90.0, 0.1);
    EXPECT_EQ(item["signal"].get<std::string>(), "lines.bin");
    EXPECT_EQ(item["file"].get<std::string>(), "one.f32");
    EXPECT_EQ(item["sha256"].get<std::string>().size(), 64u);
}

TEST_F(references, turn_with_the_sense_that_the_user_gives) {
    options_.conjugate = true;
    begin(1, fids("one", {25.0}));
    EXPECT_NEAR(lines_->only_line().frequency / dwell, -25.0, 0.1);
}

TEST_F(references, of_zeros_are_passed_over_in_a_grid_and_missed_when_they_are_asked_for) {
    const double nothing = std::nan("");
    begin(3, fids("holed", {10.0, nothing, 60.0}));
    EXPECT_THROW(lines_->read(0, 3, other_fids(3)), tools::tool_error);
    outputs_.grid = true;
    lines_->read(0, 3, other_fids(3));
    EXPECT_NEAR(hertz_of(2), 60.0, 0.1);
    try {
        lines_->line_of(1);
        ADD_FAILURE() << "taken";
    } catch (const tools::tool_error &error) {
        EXPECT_NE(std::string(error.what()).find("is all zeros"), std::string::npos);
    }
}

TEST_F(references, that_are_the_data_or_many_lines_are_refused) {
    const std::string file = fids("one", {25.0});
    begin(1, file);
    complex_signal same(n);
    for (int k = 0; k < n; ++k)
        same[static_cast<std::size_t>(k)] = std::polar(1000.0 * std::exp(-20.0 * k * dwell),
                                                       2.0 * std::numbers::pi * 25.0 * k * dwell);
    for (std::complex<double> &point : same)
        point = {static_cast<float>(point.real()), static_cast<float>(point.imag())};
    EXPECT_THROW(lines_->read(0, 1, {same}), tools::tool_error);
    lines_->read(0, 1, other_fids(1));
}
