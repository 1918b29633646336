// SPDX-License-Identifier: BSD-3-Clause
// random_model.h -- models of every kind in the module state, from a seed
#pragma once

#include "support/support.h"

namespace support {

struct model_choice {
    int points = 64; // power of two
    int lines = 4;   // types 1 to 3 in random order
    int patterns = 0;
    int lsf_pairs = 0;
    bool links = true;      // every third parameter is tied to entry 1, fixed or tied to none
    bool lineshape = false; // a reference signal
    bool delay = false;     // phi_1 above 0
    bool truncated = false;
    int ignored = 0;
    int mode = 2; // complex
    int weighting = 1;
    bool separated = false; // lines far apart: a well-conditioned problem
};

// Fills parameters, records, signals, weights and lookup as the driver has them before a step;
// par holds values a little off the start values of the free parameters.
void make_random_model(random_numbers &random, const model_choice &choice);

// A choice at random over all of the above (points 16 to 128).
model_choice random_choice(random_numbers &random);

} // namespace support
