// SPDX-License-Identifier: BSD-3-Clause
// fit_spectrum.h -- from a read signal and a read control file to results
#pragma once

// Checks the start values, scales the problem, runs the fit strategy steps, undoes the scaling,
// computes the error bounds and writes every result file, over the module state.
void FitSpectrum();
