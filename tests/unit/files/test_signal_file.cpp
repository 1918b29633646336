// SPDX-License-Identifier: BSD-3-Clause
// Points as bytes: little-endian float32, and the floats of a VAX.
#include "files/spectra/signal_file.h"

#include "files/base/tool_error.h"
#include "files/measured/measured_formats.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>

using tools::complex_signal;

namespace {

class signal_file : public testing::Test {
  protected:
    // 1, -2.5, the largest, the smallest, 0 and -0, in 24 bytes
    const std::string bytes_ = std::string("\x00\x00\x80\x3f\x00\x00\x20\xc0"
                                           "\xff\xff\x7f\x7f\x01\x00\x00\x00"
                                           "\x00\x00\x00\x00\x00\x00\x00\x80",
                                           24);
    std::string written(const std::string &bytes) const {
        support::write_file(place_.file("a.f32"), bytes);
        return place_.file("a.f32");
    }
    template <class body>
    std::string refusal(const body &what) const {
        try {
            what();
        } catch (const tools::tool_error &error) {
            EXPECT_EQ(error.status(), tools::bad_input);
            return error.what();
        }
        return "no error";
    }
    // A pair of one row with these points, as read.
    complex_signal points_of_pair(const std::string &points, const std::string &items) const {
        support::write_file(place_.file("v.SDAT"), points);
        support::write_file(place_.file("v.SPAR"), items);
        const auto source = tools::read_sdat(place_.file("v.SDAT"));
        std::vector<complex_signal> sums = {
            complex_signal(static_cast<std::size_t>(source->points))};
        source->add_to({{0, 0}}, sums);
        return sums[0];
    }

    support::temporary_folder place_;
};

} // namespace

TEST_F(signal_file, bytes_are_those_of_the_standard_and_come_back) {
    const complex_signal points = tools::read_points(written(bytes_), 0, 3);
    EXPECT_EQ(points[0], std::complex<double>(1.0, -2.5));
    EXPECT_EQ(points[1].real(), static_cast<double>(std::numeric_limits<float>::max()));
    EXPECT_EQ(points[1].imag(), static_cast<double>(std::numeric_limits<float>::denorm_min()));
    EXPECT_TRUE(std::signbit(points[2].imag()) && !std::signbit(points[2].real()));
    EXPECT_EQ(tools::signal_bytes(points), bytes_);
}

TEST_F(signal_file, any_stretch_of_the_points_can_be_had_and_none_beyond) {
    const std::string file = written(bytes_);
    EXPECT_EQ(tools::count_points(file), 3);
    EXPECT_EQ(tools::read_points(file, 0, 1)[0], std::complex<double>(1.0, -2.5));
    EXPECT_EQ(tools::read_points(file, 2, 1)[0], 0.0);
    EXPECT_TRUE(tools::read_points(file, 3, 0).empty());
    constexpr long long most = std::numeric_limits<long long>::max();
    for (const auto &[first, count] : {std::pair<long long, long long>{0, 4},
                                       {3, 1},
                                       {4, 0},
                                       {-1, 1},
                                       {0, -1},
                                       {1, most},
                                       {most, 1},
                                       {most, most}})
        EXPECT_NE(refusal([&, f = first, c = count] {
                      tools::read_points(file, f, c);
                  }).find("holds 3 complex points"),
                  std::string::npos)
            << first << " " << count;
}

TEST_F(signal_file, what_is_no_signal_is_refused) {
    EXPECT_NE(refusal([&] { tools::count_points(written("")); }).find("empty"), std::string::npos);
    for (const std::size_t size : {1U, 7U, 9U, 20U})
        EXPECT_NE(refusal([&] {
                      tools::count_points(written(std::string(size, 'x')));
                  }).find("expected whole points of 8 bytes"),
                  std::string::npos)
            << size;
    EXPECT_NE(refusal([&] { tools::count_points(place_.name()); }).find("a folder"),
              std::string::npos);
    EXPECT_NE(refusal([&] { tools::count_points(place_.file("none")); }).find("no such file"),
              std::string::npos);
}

TEST_F(signal_file, points_that_are_no_numbers_are_named) {
    const std::string nan("\x00\x00\xc0\x7f\x00\x00\x00\x00", 8),
        inf("\x00\x00\x00\x00\x00\x00\x80\xff", 8);
    const std::string file = written(bytes_ + nan + bytes_ + inf);
    EXPECT_NE(refusal([&] {
                  tools::read_points(file, 0, 8);
              }).find("2 points are not a finite number (nan or inf): point 3, 7, counted"),
              std::string::npos);
    EXPECT_NE(refusal([&] { tools::read_points(file, 4, 4); }).find("1 point is not"),
              std::string::npos);
    EXPECT_EQ(tools::read_points(file, 4, 3).size(), 3U);
    EXPECT_TRUE(tools::points_are_finite(file, 4, 3));
    EXPECT_FALSE(tools::points_are_finite(file, 4, 4));
    EXPECT_FALSE(tools::points_are_finite(file, 3, 1));
}

TEST_F(signal_file, what_single_precision_does_not_hold_is_refused) {
    EXPECT_EQ(refusal([] { tools::signal_bytes({{0.0, -3.4028235e38}}); }), "no error");
    for (const double large : {3.5e38, -1e300, std::numeric_limits<double>::infinity()})
        EXPECT_NE(refusal([&] {
                      tools::signal_bytes({1.0, {0.0, large}});
                  }).find("point 1 of the result exceeds single precision"),
                  std::string::npos)
            << large;
    EXPECT_EQ(tools::signal_bytes({{1e-300, 0.0}}), std::string(8, '\0'));
}

// 0.1f (binary) times 2^(e - 128) in words of 16 bits, the first with sign, exponent and fraction.
TEST_F(signal_file, floats_of_a_vax_are_a_quarter_of_what_their_bits_mean_elsewhere) {
    const std::string points("\x80\x40\x00\x00\x20\xc1\x00\x00"  // 1, -2.5
                             "\x00\x00\x00\x00\x49\x41\xdb\x0f"  // 0, pi
                             "\xff\x7f\xff\xff\x80\x00\x00\x00", // the largest, the smallest
                             24);
    const complex_signal got = points_of_pair(points, "samples : 3\nrows : 1\n");
    ASSERT_EQ(got.size(), 3U);
    EXPECT_EQ(got[0], std::complex<double>(1.0, -2.5));
    EXPECT_EQ(got[1].real(), 0.0);
    EXPECT_NEAR(got[1].imag(), 3.14159265, 3e-7);
    EXPECT_EQ(got[2].real(), std::ldexp(16777215.0, 127 - 24));
    EXPECT_EQ(got[2].imag(), std::ldexp(1.0, -128));
    // with its sign set a 0 is no number
    EXPECT_NE(refusal([&] {
                  points_of_pair(std::string("\x00\x80\x00\x00\x00\x00\x00\x00", 8),
                                 "samples : 1\n");
              }),
              "no error");
}

TEST_F(signal_file, items_of_a_pair_are_in_seconds_and_megahertz_and_must_fit_the_points) {
    support::write_file(place_.file("v.SDAT"), std::string(32, '\0'));
    support::write_file(place_.file("v.SPAR"),
                        "! a remark\nSamples : 2\nrows : 2\nsample_frequency : 2000\n"
                        "synthesizer_frequency : 127731000\necho_time : 30\n"
                        "repetition_time : 2000\n");
    const auto source = tools::read_sdat(place_.file("v.SPAR")); // either of the two
    EXPECT_EQ(source->points, 2);
    EXPECT_EQ(source->spectra(), 2);
    EXPECT_EQ(source->facts.dwell_time, 0.0005);
    EXPECT_EQ(source->facts.mhz, 127.731);
    EXPECT_EQ(source->facts.echo_time, 0.03);
    EXPECT_EQ(source->facts.repetition_time, 2.0);
    for (const char *items :
         {"rows : 2\n", "samples : 3\nrows : 1\n", "samples : 2\nrows : 1\n", "samples : 0\n",
          "samples : -4\n", "samples : 2.5\n", "samples : many\n", "samples : 1e300\n",
          "samples : 4\nsample_frequency : 0\n", "samples : 4\nsynthesizer_frequency : x\n",
          "samples : 4\necho_time : nan\n"}) {
        support::write_file(place_.file("v.SPAR"), items);
        EXPECT_NE(refusal([&] { tools::read_sdat(place_.file("v.SDAT")); }), "no error") << items;
    }
    support::write_file(place_.file("v.SPAR"), "samples : 4\n");
    EXPECT_EQ(refusal([&] { tools::read_sdat(place_.file("v.SDAT")); }), "no error");
    std::filesystem::remove(place_.file("v.SPAR"));
    EXPECT_NE(refusal([&] { tools::read_sdat(place_.file("v.SDAT")); }).find("beside it"),
              std::string::npos);
}
