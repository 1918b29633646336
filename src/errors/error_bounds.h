// SPDX-License-Identifier: BSD-3-Clause
// error_bounds.h -- the Cramer-Rao bounds over the module state, in a short call
#pragma once

// Bounds of par into errpar, and nfitted; the model of the last evaluation is overwritten.
void compute_error_bounds();
