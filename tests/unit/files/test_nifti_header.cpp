// SPDX-License-Identifier: BSD-3-Clause
// Headers and values of NIfTI files, made here byte by byte at the places of the standard.
#include "files/nifti/nifti_header.h"

#include "files/base/tool_error.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

// Bytes of a file, in one order of bytes or the other.
class image_bytes {
  public:
    image_bytes(int version, bool swapped)
        : version_(version), swapped_(swapped), bytes_(version == 1 ? 352 : 544, '\0') {
        put<std::int32_t>(0, version == 1 ? 348 : 540);
        if (version == 1)
            text(344, std::string("n+1\0", 4));
        else
            text(4, std::string("n+2\0\r\n\032\n", 8));
        offset(static_cast<double>(bytes_.size()));
        sizes({3, 2, 3, 4});
        datatype(16);
    }

    template <typename T>
    image_bytes &put(std::size_t place, T value) {
        char own[sizeof(T)];
        std::memcpy(own, &value, sizeof(T));
        if (swapped_) std::reverse(own, own + sizeof(T));
        if (place + sizeof(T) > bytes_.size()) bytes_.resize(place + sizeof(T), '\0');
        std::copy(own, own + sizeof(T), bytes_.begin() + static_cast<std::ptrdiff_t>(place));
        return *this;
    }
    template <typename T>
    image_bytes &behind(T value) {
        return put(bytes_.size(), value);
    }
    image_bytes &text(std::size_t place, const std::string &what) {
        bytes_.replace(place, what.size(), what);
        return *this;
    }
    image_bytes &sizes(const std::vector<int> &all) { // their count first
        for (std::size_t d = 0; d < all.size(); ++d)
            version_ == 1 ? put(40 + 2 * d, static_cast<std::int16_t>(all[d]))
                          : put(16 + 8 * d, static_cast<std::int64_t>(all[d]));
        return *this;
    }
    image_bytes &datatype(std::int16_t code) { return put(version_ == 1 ? 70 : 12, code); }
    image_bytes &offset(double place) {
        return version_ == 1 ? put(108, static_cast<float>(place))
                             : put(168, static_cast<std::int64_t>(place));
    }
    image_bytes &codes(int qform, int sform) {
        if (version_ == 1)
            return put(252, static_cast<std::int16_t>(qform))
                .put(254, static_cast<std::int16_t>(sform));
        return put(344, std::int32_t{qform}).put(348, std::int32_t{sform});
    }
    // The k-th number of a run of them: where version 1 and 2 have its first.
    image_bytes &number(std::size_t of_1, std::size_t of_2, std::size_t k, double value) {
        return version_ == 1 ? put(of_1 + 4 * k, static_cast<float>(value))
                             : put(of_2 + 8 * k, value);
    }
    image_bytes &scale(double slope, double intercept) {
        return number(112, 176, 0, slope).number(116, 184, 0, intercept);
    }
    image_bytes &pixdim(std::size_t k, double value) { return number(76, 104, k, value); }
    image_bytes &quaternion(std::size_t k, double value) { return number(256, 352, k, value); }
    image_bytes &affine(std::size_t k, double value) { return number(280, 400, k, value); }
    image_bytes &cut(std::size_t length) {
        bytes_.resize(length);
        return *this;
    }

    std::string write() const {
        support::write_file(folder_.file("image.nii"), bytes_);
        return folder_.file("image.nii");
    }
    tools::nifti_header header(int extension_code = 44) const {
        return tools::read_nifti_header(write(), extension_code);
    }
    std::vector<double> values() const {
        return tools::read_nifti_values(write(), tools::read_nifti_header(write(), 44));
    }
    // What the reader says of the header, or of the values, empty when nothing.
    std::string refusal(bool of_values = false) const {
        try {
            of_values ? static_cast<void>(values()) : static_cast<void>(header());
        } catch (const tools::tool_error &error) {
            EXPECT_EQ(error.status(), tools::bad_input) << error.what();
            const std::string said = error.what();
            EXPECT_EQ(said.find(folder_.file("image.nii") + ": "), 0u) << said;
            return said.substr(folder_.file("image.nii").size() + 2);
        }
        return "";
    }

  private:
    int version_;
    bool swapped_;
    std::string bytes_;
    support::temporary_folder folder_;
};

void expect_refused(const image_bytes &image, const std::string &words, bool of_values = false) {
    const std::string said = image.refusal(of_values);
    EXPECT_NE(said.find(words), std::string::npos) << "said: " << said << "\nnot: " << words;
}

// Stores numbers as a type and reads them again.
template <typename T>
void expect_kept(std::int16_t code, const std::vector<T> &stored) {
    for (const int version : {1, 2})
        for (const bool swapped : {false, true}) {
            image_bytes image(version, swapped);
            image.datatype(code).sizes({1, static_cast<int>(stored.size())});
            for (const T value : stored) image.behind(value);
            EXPECT_EQ(image.values(), std::vector<double>(stored.begin(), stored.end()))
                << "type " << code << ", version " << version << ", swapped " << swapped;
        }
}

} // namespace

TEST(nifti_header, both_versions_in_either_order_say_the_same) {
    for (const int version : {1, 2})
        for (const bool swapped : {false, true}) {
            image_bytes image(version, swapped);
            image.sizes({5, 6, 5, 4, 300, 2}).datatype(32).codes(1, 2).scale(2.5, -0.5);
            image.text(version == 1 ? 328 : 508, "mrs_v0_9");
            version == 1 ? image.put(123, std::uint8_t{2 | 16})
                         : image.put(500, std::int32_t{2 | 16});
            for (std::size_t k = 0; k < 8; ++k) image.pixdim(k, k == 0 ? -1.0 : 0.5 * double(k));
            for (std::size_t k = 0; k < 6; ++k) image.quaternion(k, 0.125 * double(k));
            for (std::size_t k = 0; k < 12; ++k) image.affine(k, 10.0 + double(k));
            const tools::nifti_header header = image.header();
            EXPECT_EQ(header.version, version);
            EXPECT_EQ(header.swapped, swapped);
            EXPECT_EQ(header.dimensions, 5);
            EXPECT_EQ(header.dim, (std::array<long long, 7>{6, 5, 4, 300, 2, 1, 1}));
            EXPECT_EQ(header.voxels_and_more, 72000.0);
            EXPECT_EQ(header.datatype, 32);
            EXPECT_EQ(header.offset, version == 1 ? 352 : 544);
            EXPECT_EQ(header.slope, 2.5);
            EXPECT_EQ(header.intercept, -0.5);
            EXPECT_EQ(header.pixdim_4, 2.0);
            EXPECT_EQ(header.time_unit, 16);
            EXPECT_EQ(header.intent_name, "mrs_v0_9");
            EXPECT_FALSE(header.extension);
            const tools::nifti_geometry &geometry = header.geometry;
            EXPECT_EQ(geometry.size, (std::array<long long, 3>{6, 5, 4}));
            EXPECT_EQ(geometry.voxels(), 120);
            EXPECT_EQ(geometry.voxel_mm, (std::array<double, 3>{0.5, 1.0, 1.5}));
            EXPECT_EQ(geometry.qfac, -1.0);
            EXPECT_EQ(geometry.qform_code, 1);
            EXPECT_EQ(geometry.sform_code, 2);
            EXPECT_EQ(geometry.quaternion, (std::array<double, 3>{0.0, 0.125, 0.25}));
            EXPECT_EQ(geometry.origin_mm, (std::array<double, 3>{0.375, 0.5, 0.625}));
            EXPECT_EQ(geometry.affine[0], (std::array<double, 4>{10, 11, 12, 13}));
            EXPECT_EQ(geometry.affine[2], (std::array<double, 4>{18, 19, 20, 21}));
        }
}

TEST(nifti_header, a_place_of_0_is_the_one_behind_the_header) {
    EXPECT_EQ(image_bytes(1, false).offset(0.0).header().offset, 352);
    EXPECT_EQ(image_bytes(2, false).offset(0.0).header().offset, 544);
}

TEST(nifti_header, what_is_no_header_of_one_file_is_refused) {
    expect_refused(image_bytes(1, false).put(0, std::int32_t{349}), "no NIfTI header");
    expect_refused(image_bytes(1, false).text(344, "n+9"), "no NIfTI header");
    expect_refused(image_bytes(1, false).text(344, std::string(3, '\0')), "no NIfTI header");
    expect_refused(image_bytes(2, false).text(4, "n+2\n"), "no NIfTI header");
    expect_refused(image_bytes(1, false).text(344, "ni1"), "a file of their own (.img)");
    for (const std::size_t length : {0u, 3u, 4u, 347u})
        expect_refused(image_bytes(1, false).cut(length), "within its header");
    expect_refused(image_bytes(2, true).cut(539), "within its header");
    EXPECT_EQ(image_bytes(2, true).cut(544).refusal(), "");
}

TEST(nifti_header, sizes_that_are_not_possible_are_refused) {
    for (const int version : {1, 2}) {
        for (const int count : {0, 8, -1})
            expect_refused(image_bytes(version, true).sizes({count, 2, 3, 4}),
                           "the header has " + std::to_string(count) + " dimensions");
        expect_refused(image_bytes(version, false).sizes({3, 2, 0, 4}), "dimension 2");
        expect_refused(image_bytes(version, false).sizes({3, 2, 3, -4}), "dimension 3");
        // 32767^4 is above 10^15, 32767^3 is not
        const int most = 32767;
        expect_refused(image_bytes(version, false).sizes({4, most, most, most, most}),
                       "dimension 4");
        EXPECT_EQ(image_bytes(version, false).sizes({3, most, most, most}).refusal(), "");
    }
    EXPECT_EQ(image_bytes(1, false).sizes({1, 9, 0, 0}).header().geometry.size,
              (std::array<long long, 3>{9, 1, 1}));
}

TEST(nifti_header, points_begin_behind_the_header) {
    for (const double place : {1.0, 347.0, -352.0, 2e15})
        expect_refused(image_bytes(1, false).offset(place), "the points begin at byte");
    expect_refused(image_bytes(1, false).offset(std::nan("")), "the points begin at byte");
    expect_refused(image_bytes(2, false).offset(539.0), "the points begin at byte");
    EXPECT_EQ(image_bytes(1, false).offset(348.0).header().offset, 348);
    EXPECT_EQ(image_bytes(2, false).offset(540.0).header().offset, 540);
}

// An extension is its size and its code, then so many bytes less 8.
TEST(nifti_header, the_first_extension_of_the_code_is_kept) {
    for (const bool swapped : {false, true}) {
        image_bytes image(1, swapped);
        image.offset(352.0 + 16.0 + 24.0 + 16.0).put(348, std::uint8_t{1});
        image.behind(std::int32_t{16}).behind(std::int32_t{6}).behind(std::int64_t{0});
        image.behind(std::int32_t{24}).behind(std::int32_t{44});
        for (const char c : std::string("{\"a\": \"first\"}  ")) image.behind(c);
        image.behind(std::int32_t{16}).behind(std::int32_t{44}).behind(std::int64_t{0});
        const tools::nifti_header header = image.header(44);
        ASSERT_TRUE(header.extension);
        EXPECT_EQ(header.extension->code, 44);
        EXPECT_EQ(header.extension->bytes, "{\"a\": \"first\"}  ");
        EXPECT_EQ(image.header(6).extension->bytes, std::string(8, '\0'));
        EXPECT_FALSE(image.header(7).extension);
        EXPECT_FALSE(image.put(348, std::uint8_t{0}).header(44).extension) << "none is announced";
    }
}

TEST(nifti_header, extensions_that_do_not_fit_are_refused) {
    const auto with_size = [](std::int32_t size) {
        image_bytes image(1, false);
        image.offset(384.0).put(348, std::uint8_t{1}).behind(size).behind(std::int32_t{44});
        for (int k = 0; k < 3; ++k) image.behind(std::int64_t{0});
        return image.refusal();
    };
    for (const std::int32_t size : {-16, 1, 7, 33, 2147483647})
        EXPECT_NE(with_size(size).find("a header extension of " + std::to_string(size) + " bytes"),
                  std::string::npos)
            << with_size(size);
    for (const std::int32_t size : {0, 8, 32}) EXPECT_EQ(with_size(size), "") << size;
    image_bytes cut(1, false);
    expect_refused(cut.offset(384.0).put(348, std::uint8_t{1}).behind(std::int32_t{32}),
                   "within its header");
    expect_refused(image_bytes(1, false).cut(350).offset(400.0), "within its header");
}

TEST(nifti_header, an_extension_of_more_than_4_MiB_is_not_held) {
    static constexpr std::int32_t most = 1 << 22;
    for (const std::int32_t size : {most, most + 16}) {
        image_bytes image(2, false);
        image.offset(544.0 + size).put(540, std::uint8_t{1});
        image.behind(size)
            .behind(std::int32_t{44})
            .put(543 + static_cast<std::size_t>(size), char{0});
        if (size == most)
            EXPECT_EQ(image.header().extension->bytes.size(), std::size_t{most} - 8);
        else
            expect_refused(image, "expected up to 4 MiB");
        EXPECT_FALSE(image.header(6).extension) << "one of another code may be as long";
    }
}

TEST(nifti_header, values_of_every_type_come_back) {
    expect_kept<std::uint8_t>(2, {0, 1, 127, 128, 255});
    expect_kept<std::int16_t>(4, {-32768, -1, 0, 258, 32767});
    expect_kept<std::int32_t>(8, {-2147483647 - 1, -1, 0, 16909060, 2147483647});
    expect_kept<float>(16, {-1.5f, 0.0f, 1e-40f, 3.25e38f});
    expect_kept<double>(64, {-1e-310, 0.0, 1.0 / 3.0, 1e300});
    expect_kept<std::int8_t>(256, {-128, -1, 0, 127});
    expect_kept<std::uint16_t>(512, {0, 258, 32768, 65535});
    expect_kept<std::uint32_t>(768, {0, 16909060, 2147483648u, 4294967295u});
}

TEST(nifti_header, values_of_other_types_are_refused_by_name) {
    const std::vector<std::pair<int, std::string>> names = {
        {32, "complex64"},    {128, "rgb"},  {1792, "complex128"},
        {2048, "complex256"}, {0, "code 0"}, {1024, "code 1024"}};
    for (const auto &[code, name] : names)
        expect_refused(image_bytes(1, false).datatype(static_cast<std::int16_t>(code)),
                       "values of type " + name + ";", true);
}

TEST(nifti_header, values_are_scaled_where_the_header_has_a_scale) {
    const auto scaled = [](double slope, double intercept) {
        image_bytes image(2, false);
        image.datatype(4).sizes({1, 2}).scale(slope, intercept);
        return image.behind(std::int16_t{-3}).behind(std::int16_t{7}).values();
    };
    const std::vector<double> stored = {-3.0, 7.0};
    EXPECT_EQ(scaled(2.0, 0.5), (std::vector<double>{-5.5, 14.5}));
    EXPECT_EQ(scaled(-1.0, 0.0), (std::vector<double>{3.0, -7.0}));
    EXPECT_EQ(scaled(0.0, 9.0), stored) << "a slope of 0 is none";
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(scaled(inf, 0.0), stored);
    EXPECT_EQ(scaled(std::nan(""), 0.0), stored);
    EXPECT_EQ(scaled(2.0, inf), stored);
}

// More than one piece of 65536 values, whose last is short.
TEST(nifti_header, many_values_come_back_and_a_cut_file_is_said) {
    static constexpr int count = 2 * 65536 + 3;
    image_bytes image(2, true);
    image.datatype(8).sizes({1, count}).put(544 + 4 * (std::size_t{count} - 1), std::int32_t{0});
    for (int i = 0; i < count; ++i)
        image.put(544 + 4 * static_cast<std::size_t>(i), std::int32_t{7 * i});
    const std::vector<double> values = image.values();
    ASSERT_EQ(values.size(), std::size_t{count});
    for (int i = 0; i < count; ++i) ASSERT_EQ(values[static_cast<std::size_t>(i)], 7.0 * i);
    expect_refused(image.cut(544 + 4 * std::size_t{count} - 1), "within its values", true);
    EXPECT_EQ(image.refusal(), "") << "the header is whole";
}

// A turn of 90 degrees about z takes x to y and y to -x: quaternion (cos 45, 0, 0, sin 45).
TEST(nifti_header, the_place_of_a_voxel_comes_from_sform_quaternion_or_size) {
    tools::nifti_geometry geometry;
    geometry.voxel_mm = {2.0, 3.0, 5.0};
    geometry.origin_mm = {7.0, 11.0, 13.0};
    geometry.quaternion = {0.0, 0.0, std::sqrt(0.5)};
    geometry.qfac = -1.0;
    geometry.affine = {{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}};
    const auto expect_place = [&](const std::array<std::array<double, 4>, 3> &wanted) {
        const auto place = tools::scanner_place(geometry);
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 4; ++c)
                EXPECT_NEAR(place[r][c], wanted[r][c], 1e-14) << r << ' ' << c; // 4 roundings of 5
    };
    expect_place({{{2, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 5, 0}}});
    geometry.qform_code = 1;
    expect_place({{{0, -3, 0, 7}, {2, 0, 0, 11}, {0, 0, -5, 13}}});
    geometry.qfac = 1.0;
    expect_place({{{0, -3, 0, 7}, {2, 0, 0, 11}, {0, 0, 5, 13}}});
    geometry.sform_code = 1;
    expect_place(geometry.affine);
}

// Turns about an axis n by an angle, by Rodrigues' formula: x cos + (n cross x) sin + n (n.x)(1 -
// cos).
TEST(nifti_header, a_quaternion_turns_as_its_axis_and_angle_say) {
    support::random_numbers random(5);
    for (int trial = 0; trial < 50; ++trial) {
        double n[3], length = 0.0;
        for (double &x : n) x = random.normal();
        for (const double x : n) length += x * x;
        const double angle = random.uniform(-3.0, 3.0), half = std::cos(angle / 2.0);
        tools::nifti_geometry geometry;
        geometry.qform_code = 1;
        geometry.voxel_mm = {1.0, 1.0, 1.0};
        for (std::size_t k = 0; k < 3; ++k) {
            n[k] /= std::sqrt(length);
            geometry.quaternion[k] = n[k] * std::sin(angle / 2.0);
        }
        ASSERT_GT(half, 0.0); // as the header leaves it out
        const auto place = tools::scanner_place(geometry);
        for (std::size_t c = 0; c < 3; ++c) {
            double x[3] = {0.0, 0.0, 0.0};
            x[c] = 1.0;
            const double cross[3] = {n[1] * x[2] - n[2] * x[1], n[2] * x[0] - n[0] * x[2],
                                     n[0] * x[1] - n[1] * x[0]};
            for (std::size_t r = 0; r < 3; ++r)
                EXPECT_NEAR(place[r][c],
                            x[r] * std::cos(angle) + cross[r] * std::sin(angle) +
                                n[r] * n[c] * (1.0 - std::cos(angle)),
                            1e-12); // the root of 1 - |q|^2 loses digits near half a turn
        }
    }
}
