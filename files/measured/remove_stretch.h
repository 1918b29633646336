// SPDX-License-Identifier: BSD-3-Clause
// remove_stretch.h -- how many oscillations it takes to remove a stretch of frequencies
#pragma once

#include "files/measured/remove_lines.h"

#include "kernel/transform_plan.h"

#include <vector>

namespace tools {

struct removed_stretch_lines {
    std::vector<oscillation> lines;
    int order = 0;                // of the description of the FID
    double left_over_noise = 0.0; // root mean square of what is left in the stretch, per channel
    double taken = 0.0;           // of the power of the FID, as a share
    double added = 0.0; // when all orders added to the power of the FID, and it stays as it was:
                        // the least of it, as a share
};

// Takes the lines from low to high [cycles per point] out of an FID: with the order that is asked
// for, else (0) with the first of 25, 40 and 60 that leaves no more than twice the noise there, or
// the one that leaves least. Lines that overlap nearly cancel, and those of them outside the
// stretch stay: what takes more power in than out is no removal, and is not done.
//   plan       of the spectrum, at least as long as the FID
//   measured   points before zeros that were filled in
removed_stretch_lines remove_stretch(const kernel::transform_plan &plan, complex_signal &fid,
                                     std::size_t measured, double low, double high, int asked);

} // namespace tools
