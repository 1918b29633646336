// SPDX-License-Identifier: BSD-3-Clause
// engine_problem.h -- fits of a given size as problems of the engine, for the benchmarks
#pragma once

#include "engine/fit_problem.h"

// A 31P spectrum of tests/data/peer31p (0 to 19) with the starts of its peaks.txt: 11 signals in 15
// Lorentzian lines, 30 free parameters, 1024 points; areas off by 30 %, frequencies by up to 4 Hz,
// widths by 25 %, the phase by 8 degrees. Errors: std::runtime_error when the data are not there.
engine::fit_problem fifteen_lines(int spectrum);

// Lorentzian lines all over the band, each with area, frequency, width and phase free, at their
// true values, with noise.
engine::fit_problem many_lines(int entries, int points);
