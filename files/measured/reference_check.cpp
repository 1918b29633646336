// SPDX-License-Identifier: BSD-3-Clause
// reference_check.cpp -- whether an FID is a reference: one strong line, and not the data
#include "files/measured/reference_check.h"

#include "files/base/tool_error.h"
#include "files/measured/condition_fid.h"

#include <cmath>

namespace tools {

// A reference that is the data, or that has many lines, would divide the data by itself: every area
// would be wrong, silently. Within 0.5 ppm (60 Hz where nothing is known) of its strongest point a
// reference has four fifths of its power, eddy currents or not.
void refuse_no_reference(const complex_signal &water, const complex_signal &data,
                         const std::string &file, const signal_facts &facts) {
    static constexpr double least_share = 0.8;
    if (is_copy(water, data))
        throw tool_error(bad_input, file + ": the reference is the data itself; expected the FID "
                                           "of a strong single line of the same voxel");
    const double half_width = (facts.mhz ? 0.5 * *facts.mhz : 60.0) * *facts.dwell_time;
    const double share = share_of_strongest_line(water, half_width);
    if (share < least_share)
        throw tool_error(bad_input,
                         file + ": the reference is no single line: only " +
                             std::to_string(std::lround(100.0 * share)) +
                             " % of its power stand around its strongest point; expected the FID "
                             "of a strong single line, such as water without suppression");
}

} // namespace tools
