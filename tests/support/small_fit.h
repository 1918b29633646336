// SPDX-License-Identifier: BSD-3-Clause
// small_fit.h -- files of a whole run, small enough to be run hundreds of times
#pragma once

#include <string>

namespace support {

struct small_fit_choice {
    int verbose = 0;
    bool lineshape = false; // fit mode 3 with one coefficient
    bool reference = false; // fit mode 2, writes data.bin.ref
    bool patterns = false;  // one text pattern, writes pattern.pat
    bool random_step = false;
    bool alignment = false;
    int iterations = 5;
};

// Writes start.par and data.bin (64 points, two lines, noise of seed 1) into the current folder.
void write_small_fit(const small_fit_choice &choice);

} // namespace support
