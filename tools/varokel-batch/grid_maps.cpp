// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-batch/grid_maps.h"

#include "common/tool_error.h"

#ifdef VAROKEL_NIFTI

#include <nifti/nifti2_io.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include <unistd.h>

namespace tools {

typedef std::unique_ptr<nifti_image, void (*)(nifti_image *)> image;

static image read_image(const std::string &file, int with_data) {
    nifti_set_debug_level(0); // else the library writes messages of its own
    image read(nifti_image_read(file.c_str(), with_data), nifti_image_free);
    if (!read)
        throw tool_error(bad_input, file + ": no readable NIfTI file; is it cut or of another "
                                           "format?");
    return read;
}

static void forget_names(nifti_image &own) {
    nifti_free_extensions(&own);
    std::memset(own.descrip, 0, sizeof own.descrip);
    std::memset(own.aux_file, 0, sizeof own.aux_file);
    std::memset(own.intent_name, 0, sizeof own.intent_name);
    own.intent_code = NIFTI_INTENT_NONE;
    own.intent_p1 = own.intent_p2 = own.intent_p3 = 0.0;
    own.cal_min = own.cal_max = own.toffset = 0.0;
    own.slice_code = 0;
    own.slice_start = own.slice_end = 0;
    own.slice_duration = 0.0;
}

void write_map(const std::string &file, const std::string &like,
               const std::vector<long long> &sizes, const std::vector<float> &values,
               const std::string &what) {
    const image origin = read_image(like, 0);
    const image own(nifti_copy_nim_info(origin.get()), nifti_image_free);
    if (!own) throw tool_error(bad_output, file + ": not enough memory for its header");
    forget_names(*own);
    std::snprintf(own->descrip, sizeof own->descrip, "%s", what.c_str());
    int last = 3;
    bool long_axis = false;
    for (std::size_t d = 0; d < 7; ++d) {
        own->dim[d + 1] = d < sizes.size() ? sizes[d] : 1;
        if (d >= 3) own->pixdim[d + 1] = 1.0; // no time axis any more
        if (own->dim[d + 1] > 1 && d >= 3) last = static_cast<int>(d) + 1;
        long_axis = long_axis || own->dim[d + 1] > 32767; // a version 1 header holds 16 bits
    }
    own->dim[0] = last;
    own->time_units = NIFTI_UNITS_UNKNOWN;
    nifti_update_dims_from_array(own.get());
    own->datatype = DT_FLOAT32;
    own->nbyper = own->swapsize = 4;
    own->scl_slope = 1.0;
    own->scl_inter = 0.0;
    own->byteorder = nifti_short_order();
    own->nifti_type = long_axis ? NIFTI_FTYPE_NIFTI2_1 : NIFTI_FTYPE_NIFTI1_1;
    own->iname_offset = long_axis ? 544 : 352;
    if (own->nvox != static_cast<int64_t>(values.size()))
        throw tool_error(bad_output, file + ": " + std::to_string(values.size()) +
                                         " values for an image of " + std::to_string(own->nvox));
    const bool packed = file.ends_with(".gz");
    const std::string written = file.substr(0, file.size() - (packed ? 7 : 4)) + ".part" +
                                std::to_string(getpid()) + (packed ? ".nii.gz" : ".nii");
    std::free(own->fname);
    std::free(own->iname);
    own->fname = strdup(written.c_str());
    own->iname = strdup(written.c_str());
    std::free(own->data);
    own->data = std::malloc(values.size() * sizeof(float));
    if (own->data == nullptr) throw tool_error(bad_output, file + ": not enough memory");
    std::memcpy(own->data, values.data(), values.size() * sizeof(float));
    nifti_image_write(own.get());

    // The library does not say whether it could write: look.
    std::error_code error;
    bool whole = false;
    {
        const image again(std::filesystem::exists(written, error)
                              ? nifti_image_read(written.c_str(), 1)
                              : nullptr,
                          nifti_image_free);
        whole = again && again->nvox == own->nvox && again->data != nullptr;
        // the library reads not-a-numbers as 0
        for (std::size_t i = 0; whole && i < values.size(); ++i)
            whole = static_cast<const float *>(again->data)[i] ==
                    (std::isfinite(values[i]) ? values[i] : 0.0f);
    }
    if (whole) std::filesystem::rename(written, file, error);
    if (!whole || error) {
        std::error_code ignored;
        std::filesystem::remove(written, ignored);
        throw tool_error(bad_output, file + ": cannot be written; does the folder exist, is it "
                                            "yours, is the disk full?");
    }
}

std::vector<bool> read_mask(const std::string &file, const std::vector<long long> &sizes,
                            const std::string &like, bool &moved) {
    const image mask = read_image(file, 1);
    for (std::size_t d = 0; d < 3; ++d)
        if (mask->dim[d + 1] != sizes[d] || mask->nvox != sizes[0] * sizes[1] * sizes[2])
            throw tool_error(
                bad_input, file + ": " + std::to_string(mask->dim[1]) + " x " +
                               std::to_string(mask->dim[2]) + " x " + std::to_string(mask->dim[3]) +
                               " voxels; expected the grid of the measurement, " +
                               std::to_string(sizes[0]) + " x " + std::to_string(sizes[1]) + " x " +
                               std::to_string(sizes[2]));
    const auto count = static_cast<std::size_t>(mask->nvox);
    std::vector<double> values(count);
    if (mask->data == nullptr || nifti_get_filesize(file.c_str()) < 0 ||
        mask->datatype == DT_COMPLEX64 || mask->datatype == DT_COMPLEX128 ||
        mask->datatype == DT_RGB24)
        throw tool_error(bad_input, file + ": expected one number for each voxel");
    const void *const data = mask->data;
    for (std::size_t i = 0; i < count; ++i) {
        switch (mask->datatype) {
        case DT_UINT8:
            values[i] = static_cast<const unsigned char *>(data)[i];
            break;
        case DT_INT8:
            values[i] = static_cast<const signed char *>(data)[i];
            break;
        case DT_INT16:
            values[i] = static_cast<const int16_t *>(data)[i];
            break;
        case DT_UINT16:
            values[i] = static_cast<const uint16_t *>(data)[i];
            break;
        case DT_INT32:
            values[i] = static_cast<const int32_t *>(data)[i];
            break;
        case DT_UINT32:
            values[i] = static_cast<const uint32_t *>(data)[i];
            break;
        case DT_FLOAT32:
            values[i] = static_cast<double>(static_cast<const float *>(data)[i]);
            break;
        case DT_FLOAT64:
            values[i] = static_cast<const double *>(data)[i];
            break;
        default:
            throw tool_error(bad_input, file + ": values of type " +
                                            nifti_datatype_to_string(mask->datatype) +
                                            "; expected whole numbers or floats");
        }
    }
    const image origin = read_image(like, 0);
    moved = false;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) {
            const double a = mask->sform_code > 0 ? mask->sto_xyz.m[r][c] : mask->qto_xyz.m[r][c];
            const double b =
                origin->sform_code > 0 ? origin->sto_xyz.m[r][c] : origin->qto_xyz.m[r][c];
            moved = moved || std::fabs(a - b) > 1e-3 * (1.0 + std::fabs(b)); // float32 headers
        }
    std::vector<bool> inside(count);
    for (std::size_t i = 0; i < count; ++i) inside[i] = values[i] > 0.0;
    return inside;
}

bool has_images() {
    return true;
}

} // namespace tools

#else

namespace tools {

static const char missing[] = ": this program was built without the NIfTI library; build it again "
                              "with libnifti2-dev and zlib1g-dev installed";

void write_map(const std::string &file, const std::string &, const std::vector<long long> &,
               const std::vector<float> &, const std::string &) {
    throw tool_error(bad_output, file + missing);
}

std::vector<bool> read_mask(const std::string &file, const std::vector<long long> &,
                            const std::string &, bool &) {
    throw tool_error(bad_input, file + missing);
}

bool has_images() {
    return false;
}

} // namespace tools

#endif
