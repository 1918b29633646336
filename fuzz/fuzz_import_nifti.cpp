// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_nifti.cpp -- any bytes as a NIfTI-MRS file; a map with its geometry reads back as it
// was
#include "import_reader.h"

#include "files/nifti/write_nifti_mrs.h"

static constexpr long long most_voxels = 4096;

static bool same_numbers(const double *a, const double *b, std::size_t count) {
    return std::memcmp(a, b, count * sizeof(double)) == 0; // not a number equals itself here
}

static void demand_same_geometry(const tools::nifti_geometry &a, const tools::nifti_geometry &b) {
    if (a.size != b.size || a.qform_code != b.qform_code || a.sform_code != b.sform_code ||
        a.qfac != b.qfac || !same_numbers(a.voxel_mm.data(), b.voxel_mm.data(), 3) ||
        !same_numbers(a.quaternion.data(), b.quaternion.data(), 3) ||
        !same_numbers(a.origin_mm.data(), b.origin_mm.data(), 3))
        std::abort();
    for (std::size_t r = 0; r < 3; ++r)
        if (!same_numbers(a.affine[r].data(), b.affine[r].data(), 4)) std::abort();
}

static void write_and_read_map() {
    tools::nifti_geometry geometry;
    try {
        geometry = tools::geometry_of_nifti("x.nii");
    } catch (const tools::tool_error &) {
        return;
    }
    if (geometry.size[0] > most_voxels || geometry.size[1] > most_voxels ||
        geometry.size[2] > most_voxels || geometry.voxels() > most_voxels)
        return;
    std::vector<double> values;
    for (long long k = 0; k < geometry.voxels(); ++k)
        values.push_back(static_cast<double>(k) + 0.5);
    const std::string bytes = tools::nifti_map_bytes(geometry, values, "a map", false);
    fuzz::write_bytes("map.nii", bytes, nullptr, 0);
    demand_same_geometry(geometry, tools::geometry_of_nifti("map.nii"));
    if (bytes.size() != 544 + 4 * values.size()) std::abort();
    for (std::size_t k = 0; k < values.size(); ++k) {
        float value = 0.0F;
        std::memcpy(&value, bytes.data() + 544 + 4 * k, 4);
        if (static_cast<double>(value) != values[k]) std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("x.nii", "", data, size);
    fuzz::import_file("x.nii", "nifti");
    write_and_read_map();
    return 0;
}
