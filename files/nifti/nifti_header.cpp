// SPDX-License-Identifier: BSD-3-Clause
// nifti_header.cpp -- what the header of a NIfTI file says: both versions, either byte order, .gz
// or not
#include "files/nifti/nifti_header.h"

#include "files/base/packed_file.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace tools {

std::string nifti_header::datatype_name() const {
    static constexpr struct {
        int code;
        const char *name;
    } names[] = {{2, "uint8"},      {4, "int16"},    {8, "int32"},         {16, "float32"},
                 {32, "complex64"}, {64, "float64"}, {128, "rgb"},         {256, "int8"},
                 {512, "uint16"},   {768, "uint32"}, {1792, "complex128"}, {2048, "complex256"}};
    for (const auto &each : names)
        if (each.code == datatype) return each.name;
    return "code " + std::to_string(datatype);
}

std::array<std::array<double, 4>, 3> scanner_place(const nifti_geometry &geometry) {
    if (geometry.sform_code > 0) return geometry.affine;
    std::array<std::array<double, 4>, 3> place{};
    const auto &[b, c, d] = geometry.quaternion;
    const double a = std::sqrt(std::max(0.0, 1.0 - b * b - c * c - d * d));
    // rotation of the unit quaternion (a, b, c, d); none without a qform
    std::array<std::array<double, 3>, 3> turn = {
        {{a * a + b * b - c * c - d * d, 2 * (b * c - a * d), 2 * (b * d + a * c)},
         {2 * (b * c + a * d), a * a + c * c - b * b - d * d, 2 * (c * d - a * b)},
         {2 * (b * d - a * c), 2 * (c * d + a * b), a * a + d * d - b * b - c * c}}};
    if (geometry.qform_code <= 0) turn = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t k = 0; k < 3; ++k)
            place[r][k] = turn[r][k] * geometry.voxel_mm[k] *
                          (k == 2 && geometry.qform_code > 0 ? geometry.qfac : 1.0);
        if (geometry.qform_code > 0) place[r][3] = geometry.origin_mm[r];
    }
    return place;
}

// Bytes of an extension that is held; real ones have thousands. Of a packed file a few kilobytes on
// the disk claim as many megabytes.
static constexpr long long largest_extension = 1LL << 22;

// What must be there, in a part of the file that the message names.
class part_of_file {
  public:
    part_of_file(const std::string &file, const char *part)
        : file_(file), part_(part), stream_(file) {}

    void read(void *bytes, std::size_t count) {
        if (stream_.read(bytes, count) != count) cut();
    }
    void seek(long long place) {
        if (!stream_.seek(place)) cut();
    }

  private:
    [[noreturn]] void cut() const {
        refuse_input(file_, "ends, or is damaged, within its " + part_ + "; is the file cut?");
    }
    std::string file_, part_;
    packed_file stream_;
};

// Values at a place of the bytes, in the byte order of the file.
class header_bytes {
  public:
    header_bytes(const std::vector<unsigned char> &bytes, bool swapped)
        : bytes_(bytes), swapped_(swapped) {}

    template <typename T>
    T at(std::size_t place) const {
        unsigned char own[sizeof(T)];
        for (std::size_t b = 0; b < sizeof(T); ++b)
            own[b] = bytes_[place + (swapped_ ? sizeof(T) - 1 - b : b)];
        T value;
        std::memcpy(&value, own, sizeof(T));
        return value;
    }
    std::string text(std::size_t place, std::size_t length) const {
        std::string value(reinterpret_cast<const char *>(bytes_.data()) + place, length);
        return value.substr(0, value.find('\0'));
    }

  private:
    const std::vector<unsigned char> &bytes_;
    bool swapped_;
};

// Version 1 has whole numbers of 2 bytes and float, version 2 of 8 and 4 bytes and double.
template <typename size_type, typename code_type, typename number>
static void take_values(const header_bytes &bytes, nifti_header &header, std::size_t dim,
                        std::size_t pixdim, std::size_t forms, std::size_t numbers,
                        std::array<long long, 8> &sizes) {
    for (std::size_t d = 0; d < 8; ++d)
        sizes[d] = static_cast<long long>(bytes.at<size_type>(dim + d * sizeof(size_type)));
    const auto real = [&](std::size_t place, std::size_t k) {
        return static_cast<double>(bytes.at<number>(place + k * sizeof(number)));
    };
    nifti_geometry &geometry = header.geometry;
    geometry.qfac = real(pixdim, 0) < 0.0 ? -1.0 : 1.0;
    header.pixdim_4 = real(pixdim, 4);
    geometry.qform_code = static_cast<int>(bytes.at<code_type>(forms));
    geometry.sform_code = static_cast<int>(bytes.at<code_type>(forms + sizeof(code_type)));
    for (std::size_t d = 0; d < 3; ++d) {
        geometry.voxel_mm[d] = real(pixdim, d + 1);
        geometry.quaternion[d] = real(numbers, d);
        geometry.origin_mm[d] = real(numbers, d + 3);
        for (std::size_t c = 0; c < 4; ++c) geometry.affine[d][c] = real(numbers, 6 + 4 * d + c);
    }
}

static void take_extensions(part_of_file &stream, nifti_header &header, long long place, int code,
                            const std::string &file) {
    if (header.offset < place + 4) return;
    std::vector<unsigned char> flag(4), head(8);
    stream.read(flag.data(), 4);
    place += 4;
    if (flag[0] == 0) return;
    const header_bytes values(head, header.swapped);
    while (place + 16 <= header.offset) {
        stream.seek(place);
        stream.read(head.data(), 8);
        const auto size = static_cast<long long>(values.at<std::int32_t>(0));
        if (size == 0) return; // filled up with zeros
        if (size < 8 || place + size > header.offset)
            refuse_input(file, "a header extension of " + std::to_string(size) + " bytes at byte " +
                                   std::to_string(place) +
                                   "; expected a size that ends before the first point, at byte " +
                                   std::to_string(header.offset));
        if (values.at<std::int32_t>(4) == code && !header.extension) {
            if (size > largest_extension)
                refuse_input(file, "a header extension with code " + std::to_string(code) + " of " +
                                       std::to_string(size) + " bytes; expected up to " +
                                       std::to_string(largest_extension >> 20) + " MiB");
            nifti_extension extension{code, std::string(static_cast<std::size_t>(size - 8), '\0')};
            stream.read(extension.bytes.data(), extension.bytes.size());
            header.extension = std::move(extension);
        }
        place += size;
    }
}

[[noreturn]] static void refuse_other_format(const std::string &file) {
    refuse_input(file, "no NIfTI header; expected a .nii or .nii.gz file of version 1 or 2. Is it "
                       "of another format?");
}

// Returns where the points begin [bytes]; sizes as the header has them, their count first.
static double take_version_1(const header_bytes &values, const std::string &file,
                             nifti_header &header, std::array<long long, 8> &sizes) {
    header.version = 1;
    const std::string magic = values.text(344, 4);
    if (magic == "ni1")
        refuse_input(
            file, "its points are in a file of their own (.img); expected both in one .nii file");
    if (magic != "n+1") refuse_other_format(file);
    header.datatype = values.at<std::int16_t>(70);
    header.slope = static_cast<double>(values.at<float>(112));
    header.intercept = static_cast<double>(values.at<float>(116));
    header.time_unit = values.at<std::uint8_t>(123) & 0x38;
    header.intent_name = values.text(328, 16);
    take_values<std::int16_t, std::int16_t, float>(values, header, 40, 76, 252, 256, sizes);
    return static_cast<double>(values.at<float>(108));
}

static double take_version_2(const header_bytes &values, nifti_header &header,
                             std::array<long long, 8> &sizes) {
    header.version = 2;
    header.datatype = values.at<std::int16_t>(12);
    header.slope = values.at<double>(176);
    header.intercept = values.at<double>(184);
    header.time_unit = values.at<std::int32_t>(500) & 0x38;
    header.intent_name = values.text(508, 16);
    take_values<std::int64_t, std::int32_t, double>(values, header, 16, 104, 344, 352, sizes);
    return static_cast<double>(values.at<std::int64_t>(168));
}

static void take_sizes(const std::array<long long, 8> &sizes, const std::string &file,
                       nifti_header &header) {
    if (sizes[0] < 1 || sizes[0] > 7)
        refuse_input(file, "the header has " + std::to_string(sizes[0]) +
                               " dimensions; expected 1 to 7. Is it damaged?");
    header.dimensions = static_cast<int>(sizes[0]);
    header.dim.fill(1);
    for (std::size_t d = 1; d <= static_cast<std::size_t>(header.dimensions); ++d) {
        if (sizes[d] < 1 || (header.voxels_and_more *= static_cast<double>(sizes[d])) > 1e15)
            refuse_input(
                file,
                "dimension " + std::to_string(d) +
                    " of the header is not possible; expected sizes above 0 that fit into a file");
        header.dim[d - 1] = sizes[d];
    }
    std::copy_n(header.dim.begin(), 3, header.geometry.size.begin());
}

nifti_header read_nifti_header(const std::string &file, int extension_code) {
    part_of_file stream(file, "header");
    std::vector<unsigned char> bytes(540);
    stream.read(bytes.data(), 4);
    nifti_header header;
    std::int32_t length = header_bytes(bytes, false).at<std::int32_t>(0);
    if (length != 348 && length != 540) {
        header.swapped = true;
        length = header_bytes(bytes, true).at<std::int32_t>(0);
    }
    if (length != 348 && length != 540) refuse_other_format(file);
    stream.read(bytes.data() + 4, static_cast<std::size_t>(length) - 4);
    if (length == 540 && std::memcmp(bytes.data() + 4, "n+2\0\r\n\032\n", 8) != 0)
        refuse_other_format(file);
    const header_bytes values(bytes, header.swapped);
    std::array<long long, 8> sizes{};
    double offset = length == 348 ? take_version_1(values, file, header, sizes)
                                  : take_version_2(values, header, sizes);
    take_sizes(sizes, file, header);
    if (offset == 0.0) offset = length + 4; // some writers leave it out
    if (!(offset >= length && offset <= 1e15))
        refuse_input(file, "the header says that the points begin at byte " +
                               std::to_string(offset) + "; expected a place behind its " +
                               std::to_string(length) + " bytes");
    header.offset = static_cast<long long>(offset);
    take_extensions(stream, header, length, extension_code, file);
    return header;
}

template <typename T>
static void take_stored(part_of_file &stream, bool swapped, std::vector<double> &values) {
    static constexpr std::size_t piece = 65536;
    std::vector<unsigned char> bytes;
    for (std::size_t first = 0; first < values.size(); first += piece) {
        const std::size_t stop = std::min(first + piece, values.size());
        bytes.resize((stop - first) * sizeof(T));
        stream.read(bytes.data(), bytes.size());
        const header_bytes stored(bytes, swapped);
        for (std::size_t i = first; i < stop; ++i)
            values[i] = static_cast<double>(stored.at<T>((i - first) * sizeof(T)));
    }
}

std::vector<double> read_nifti_values(const std::string &file, const nifti_header &header) {
    std::vector<double> values(static_cast<std::size_t>(header.voxels_and_more));
    part_of_file stream(file, "values");
    stream.seek(header.offset);
    static constexpr struct {
        int type;
        void (*take)(part_of_file &, bool, std::vector<double> &);
    } takers[] = {{2, take_stored<std::uint8_t>},    {4, take_stored<std::int16_t>},
                  {8, take_stored<std::int32_t>},    {16, take_stored<float>},
                  {64, take_stored<double>},         {256, take_stored<std::int8_t>},
                  {512, take_stored<std::uint16_t>}, {768, take_stored<std::uint32_t>}};
    const auto *const taker =
        std::find_if(std::begin(takers), std::end(takers),
                     [&](const auto &each) { return each.type == header.datatype; });
    if (taker == std::end(takers))
        refuse_input(file, "values of type " + header.datatype_name() +
                               "; expected whole numbers of up to 32 bits, or floats");
    taker->take(stream, header.swapped, values);
    if (header.slope != 0.0 && std::isfinite(header.slope) && std::isfinite(header.intercept))
        for (double &value : values) value = header.slope * value + header.intercept;
    return values;
}

} // namespace tools
