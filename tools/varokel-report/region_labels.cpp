// SPDX-License-Identifier: BSD-3-Clause
// region_labels.cpp -- regions of a grid, from a mask
#include "varokel-report/region_labels.h"

#include "files/base/tool_error.h"
#include "files/nifti/nifti_header.h"

#include <array>
#include <cmath>

namespace tools {

std::vector<long long> region_labels(const batch_view &batch, const std::string &file) {
    const nifti_header header = read_nifti_header(file, 0);
    std::array<long long, 3> size = {1, 1, 1};
    std::array<std::size_t, 3> of_axis{};
    std::size_t spatial = 0;
    for (std::size_t a = 0; a < batch.axes.size(); ++a) {
        if (!batch.axes[a].spatial || spatial >= 3) continue;
        size[spatial] = batch.axes[a].size;
        of_axis[spatial++] = a;
    }
    const bool same = header.dim[0] == size[0] && header.dim[1] == size[1] &&
                      header.dim[2] == size[2] &&
                      header.voxels_and_more == static_cast<double>(size[0] * size[1] * size[2]);
    if (spatial == 0 || !same)
        throw tool_error(bad_input, file + ": is of another grid; expected " +
                                        std::to_string(size[0]) + " x " + std::to_string(size[1]) +
                                        " x " + std::to_string(size[2]) + " voxels");
    const std::vector<double> labels = read_nifti_values(file, header);
    std::vector<long long> regions;
    for (const batch_spectrum &spectrum : batch.spectra) {
        long long voxel = 0, stride = 1;
        for (std::size_t d = 0; d < spatial; ++d) {
            voxel += spectrum.at[of_axis[d]] * stride;
            stride *= size[d];
        }
        const double label = labels[static_cast<std::size_t>(voxel)];
        if (!(label >= 0.0 && label <= 1e6) || label != std::floor(label))
            throw tool_error(bad_input, file + ": holds " + std::to_string(label) +
                                            "; expected labels, whole numbers from 0");
        regions.push_back(static_cast<long long>(label));
    }
    return regions;
}

} // namespace tools
