// SPDX-License-Identifier: BSD-3-Clause
// grid_maps.cpp -- images with the geometry of the measured grid
#include "files/nifti/grid_maps.h"

#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/nifti/write_nifti_mrs.h"

#include <algorithm>
#include <cmath>

namespace tools {

void write_map(const std::string &file, const std::string &like,
               const std::vector<long long> &sizes, const std::vector<double> &values,
               const std::string &what) {
    const nifti_geometry geometry = geometry_of_nifti(like);
    if (sizes.size() < 3 || !std::equal(geometry.size.begin(), geometry.size.end(), sizes.begin()))
        refuse_input(like, "another grid than that of the plan; plan again");
    write_files({{file, nifti_map_bytes(geometry, values, what, file.ends_with(".gz"),
                                        {sizes.begin() + 3, sizes.end()})}},
                {}, true);
}

std::vector<bool> read_mask(const std::string &file, const std::vector<long long> &sizes,
                            const std::string &like, bool &moved) {
    static constexpr int no_extension = -1;
    const nifti_header mask = read_nifti_header(file, no_extension);
    bool other = false;
    for (std::size_t d = 0; d < mask.dim.size(); ++d)
        other = other || mask.dim[d] != (d < 3 ? sizes[d] : 1);
    if (other)
        throw tool_error(
            bad_input,
            file + ": " + std::to_string(mask.dim[0]) + " x " + std::to_string(mask.dim[1]) +
                " x " + std::to_string(mask.dim[2]) + " voxels, " +
                std::to_string(static_cast<long long>(mask.voxels_and_more)) +
                " values; expected the grid of the measurement, " + std::to_string(sizes[0]) +
                " x " + std::to_string(sizes[1]) + " x " + std::to_string(sizes[2]));
    const auto own = scanner_place(mask.geometry), wanted = scanner_place(geometry_of_nifti(like));
    moved = false;
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 4; ++c) // headers of version 1 have float32
            moved = moved ||
                    std::fabs(own[r][c] - wanted[r][c]) > 1e-3 * (1.0 + std::fabs(wanted[r][c]));
    const std::vector<double> values = read_nifti_values(file, mask);
    std::vector<bool> inside(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) inside[i] = values[i] > 0.0;
    return inside;
}

} // namespace tools
