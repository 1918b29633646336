// SPDX-License-Identifier: BSD-3-Clause
// problem.h -- fits of a given size in the module state, for the benchmarks
#pragma once

// Fills the state as the driver has it before the strategy steps: `entries` lines (Gaussian,
// Lorentzian and Voigt in turn, all five parameters free where the shape uses them) on `points`
// complex points, data with noise, box weights on the middle half, start values a little off.
void make_problem(int entries, int points);

// Start values of the problem back into par.
void restart_problem();

int free_parameters();
