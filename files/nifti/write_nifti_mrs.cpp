// SPDX-License-Identifier: BSD-3-Clause
// write_nifti_mrs.cpp -- spectra of a fit as NIfTI-MRS, numbers of a grid of voxels as NIfTI images
#include "files/nifti/write_nifti_mrs.h"

#include "files/base/tool_error.h"

#include "engine/centred_spectrum.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#ifdef VAROKEL_NIFTI
#include <nifti/nifti2_io.h>
#include <zlib.h>
#endif

namespace tools {

nifti_mrs_image::nifti_mrs_image(const nifti_geometry &grid, long long points_of_fid,
                                 std::vector<nifti_mrs_dimension> behind_time)
    : geometry(grid), points(points_of_fid), dimensions(std::move(behind_time)) {
    long long count = geometry.voxels() * points;
    for (const nifti_mrs_dimension &dimension : dimensions) count *= dimension.size;
    if (count < 1 || dimensions.size() > 3)
        throw tool_error(bad_input, "a NIfTI-MRS image needs points, and three dimensions behind "
                                    "time at most");
    values.resize(static_cast<std::size_t>(count));
}

void nifti_mrs_image::set_fid(long long voxel, long long place, const complex_signal &fid) {
    const auto voxels = static_cast<std::size_t>(geometry.voxels());
    const auto n = static_cast<std::size_t>(points);
    const std::size_t first = static_cast<std::size_t>(place) * n * voxels;
    if (voxel < 0 || voxel >= geometry.voxels() || place < 0 || fid.size() != n ||
        first + n * voxels > values.size())
        throw tool_error(bad_input, "FID of voxel " + std::to_string(voxel) + ", place " +
                                        std::to_string(place) + " does not fit into the image");
    for (std::size_t k = 0; k < n; ++k) {
        const std::complex<float> value(static_cast<float>(fid[k].real()),
                                        static_cast<float>(fid[k].imag()));
        if (!std::isfinite(value.real()) || !std::isfinite(value.imag()))
            throw tool_error(bad_input, "point " + std::to_string(k) +
                                            " of the FID exceeds single precision; scale the "
                                            "signal down first");
        values[first + k * voxels + static_cast<std::size_t>(voxel)] = value;
    }
}

complex_signal nifti_fid_of_spectrum(const complex_signal &spectrum, bool ppm_rises_with_points,
                                     double first_point_weight) {
    complex_signal fid = engine::fid_of_spectrum(spectrum, first_point_weight);
    if (ppm_rises_with_points)
        for (std::complex<double> &point : fid) point = std::conj(point);
    return fid;
}

nifti_geometry geometry_of_nifti(const std::string &file) {
    return read_nifti_header(file, mrs_extension).geometry;
}

#ifdef VAROKEL_NIFTI

bool can_write_nifti() {
    return true;
}

static nifti_2_header header_of(const nifti_geometry &geometry, const std::int64_t (&dims)[8],
                                int datatype, const std::string &description) {
    const std::unique_ptr<nifti_2_header, void (*)(void *)> made(
        nifti_make_new_n2_header(dims, datatype), std::free);
    if (!made)
        throw tool_error(bad_input, "these dimensions do not fit into a NIfTI header; expected "
                                    "sizes above 0");
    nifti_2_header header = *made;
    header.pixdim[0] = geometry.qfac;
    std::copy(geometry.voxel_mm.begin(), geometry.voxel_mm.end(), header.pixdim + 1);
    header.qform_code = geometry.qform_code;
    header.quatern_b = geometry.quaternion[0];
    header.quatern_c = geometry.quaternion[1];
    header.quatern_d = geometry.quaternion[2];
    header.qoffset_x = geometry.origin_mm[0];
    header.qoffset_y = geometry.origin_mm[1];
    header.qoffset_z = geometry.origin_mm[2];
    header.sform_code = geometry.sform_code;
    std::copy(geometry.affine[0].begin(), geometry.affine[0].end(), header.srow_x);
    std::copy(geometry.affine[1].begin(), geometry.affine[1].end(), header.srow_y);
    std::copy(geometry.affine[2].begin(), geometry.affine[2].end(), header.srow_z);
    header.xyzt_units = NIFTI_UNITS_MM | NIFTI_UNITS_SEC;
    header.scl_slope = 0.0; // values are what they are
    description.copy(header.descrip, sizeof header.descrip - 1);
    return header;
}

static std::string gzip(const std::string &bytes) {
    z_stream stream{};
    // 31: the longest window, with the frame of a .gz file; its time stays 0
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw tool_error(bad_output, "not enough memory to compress");
    std::string packed, piece(std::size_t{1} << 20, '\0');
    std::size_t taken = 0;
    int state = Z_OK;
    do {
        if (stream.avail_in == 0 && taken < bytes.size()) {
            const std::size_t next = std::min<std::size_t>(bytes.size() - taken, 1U << 30);
            stream.next_in = // zlib only reads
                reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data() + taken));
            stream.avail_in = static_cast<uInt>(next);
            taken += next;
        }
        stream.next_out = reinterpret_cast<Bytef *>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        state = deflate(&stream, taken == bytes.size() ? Z_FINISH : Z_NO_FLUSH);
        packed.append(piece.data(), piece.size() - stream.avail_out);
    } while (state == Z_OK || (state == Z_BUF_ERROR && stream.avail_out == 0));
    deflateEnd(&stream);
    if (state != Z_STREAM_END) throw tool_error(bad_output, "zlib failed to compress");
    return packed;
}

// Header, extension bytes (a multiple of 16, or none) and values as one file.
static std::string file_of(nifti_2_header header, const std::string &extension, const void *values,
                           std::size_t value_bytes, bool compressed) {
    static_assert(sizeof header == 540);
    header.vox_offset = static_cast<std::int64_t>(sizeof header + 4 + extension.size());
    std::string bytes(reinterpret_cast<const char *>(&header), sizeof header);
    bytes += std::string({static_cast<char>(extension.empty() ? 0 : 1), '\0', '\0', '\0'});
    bytes += extension;
    bytes.append(static_cast<const char *>(values), value_bytes);
    return compressed ? gzip(bytes) : bytes;
}

static ordered_json json_of(const nifti_mrs_image &image) {
    ordered_json items;
    items["SpectrometerFrequency"] = {image.mhz};
    items["ResonantNucleus"] = {image.nucleus};
    items["SpectralWidth"] = 1.0 / image.dwell_time;
    if (image.echo_time) items["EchoTime"] = *image.echo_time;
    if (image.begin_time) items["AcquisitionStartTime"] = *image.begin_time;
    for (std::size_t d = 0; d < image.dimensions.size(); ++d) {
        const nifti_mrs_dimension &dimension = image.dimensions[d];
        const std::string name = "dim_" + std::to_string(d + 5);
        items[name] = dimension.tag;
        if (!dimension.info.empty()) items[name + "_info"] = dimension.info;
        if (!dimension.header.is_null()) items[name + "_header"] = dimension.header;
    }
    if (image.ppm_at_carrier)
        items["PpmAtCarrier"] = {{"Value", *image.ppm_at_carrier},
                                 {"Description", "chemical shift of frequency 0 [ppm]"}};
    if (image.more.is_object()) items.update(image.more);
    return items;
}

std::string nifti_mrs_bytes(const nifti_mrs_image &image, bool compressed) {
    const auto positive = [](double value) { return std::isfinite(value) && value > 0.0; };
    if (!positive(image.dwell_time) || !positive(image.mhz) || image.nucleus.empty())
        throw tool_error(bad_input, "NIfTI-MRS needs dwell time, spectrometer frequency and "
                                    "nucleus; one of them is not known");
    std::int64_t dims[8] = {4,
                            image.geometry.size[0],
                            image.geometry.size[1],
                            image.geometry.size[2],
                            image.points,
                            1,
                            1,
                            1};
    for (std::size_t d = 0; d < image.dimensions.size(); ++d) {
        dims[d + 5] = image.dimensions[d].size;
        dims[0] = static_cast<std::int64_t>(d + 5);
    }
    nifti_2_header header = header_of(image.geometry, dims, DT_COMPLEX64, image.description);
    header.pixdim[4] = image.dwell_time;
    std::strcpy(header.intent_name, "mrs_v0_9"); // room for 16
    const std::string text = json_of(image).dump();
    std::string extension(8, '\0'); // size of it all and code, then the text
    extension += text;
    extension.resize((extension.size() + 15) / 16 * 16, '\0');
    const auto size = static_cast<std::int32_t>(extension.size());
    std::memcpy(extension.data(), &size, 4);
    std::memcpy(extension.data() + 4, &mrs_extension, 4);
    return file_of(header, extension, image.values.data(),
                   image.values.size() * sizeof(std::complex<float>), compressed);
}

std::string nifti_map_bytes(const nifti_geometry &geometry, const std::vector<double> &values,
                            const std::string &description, bool compressed,
                            const std::vector<long long> &behind) {
    std::int64_t dims[8] = {3, geometry.size[0], geometry.size[1], geometry.size[2], 1, 1, 1, 1};
    if (behind.size() > 4) throw tool_error(bad_input, "a map has seven dimensions at most");
    long long count = geometry.voxels();
    for (std::size_t d = 0; d < behind.size(); ++d) {
        dims[d + 4] = behind[d];
        if (behind[d] > 1) dims[0] = static_cast<std::int64_t>(d + 4);
        count *= behind[d];
    }
    if (static_cast<long long>(values.size()) != count)
        throw tool_error(bad_input, "a map of " + std::to_string(count) + " voxels cannot take " +
                                        std::to_string(values.size()) + " values");
    nifti_2_header header = header_of(geometry, dims, DT_FLOAT32, description);
    header.xyzt_units = NIFTI_UNITS_MM; // no time
    const std::vector<float> singles(values.begin(), values.end());
    return file_of(header, "", singles.data(), singles.size() * sizeof(float), compressed);
}

#else

[[noreturn]] static void refuse_nifti() {
    throw tool_error(bad_output, "this program was built without the NIfTI library; build it again "
                                 "with libnifti2-dev and zlib1g-dev installed");
}

bool can_write_nifti() {
    return false;
}

std::string nifti_mrs_bytes(const nifti_mrs_image &, bool) {
    refuse_nifti();
}

std::string nifti_map_bytes(const nifti_geometry &, const std::vector<double> &,
                            const std::string &, bool, const std::vector<long long> &) {
    refuse_nifti();
}

#endif

} // namespace tools
