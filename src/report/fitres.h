// SPDX-License-Identifier: BSD-3-Clause
// fitres.h -- the fixed-layout text report
#pragma once

// Writes the text report path + fnm + ".fitres" from the module state.
//
// Given:  quality  fit quality number after the fit
// Errors: a file that cannot be opened is reported and skipped.
void write_fit_result(const double &quality);
