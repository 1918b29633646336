// SPDX-License-Identifier: BSD-3-Clause
// capacity.h -- the numbers behind docs/limits.md: what a run can hold, and what it fits
#pragma once

// Storage. control/allowed_counts.h holds the counts of a control file against these before they
// are used.
static constexpr int max_points = 1 << 24; // complex points; single-precision exact indices
static constexpr int max_noise_stop = (1 << 30) - 1; // two floats a point, counted in an int
static constexpr int max_entries = 65536;            // lines and patterns for which storage is made
static constexpr int max_patterns = 4096;            // slots of 64 kB
static constexpr int max_lsf_coefs = 4096;           // lineshape coefficient pairs
static constexpr int max_steps = 19;                 // fit strategy steps
static constexpr int max_intervals = 9;              // frequency intervals of a step
static constexpr int max_pattern_points = 4096;
static constexpr int pattern_slot = 2 * max_pattern_points; // doubles: real parts, then imaginary
static constexpr int pattern_name_size = 200;

// What the check of the start values lets pass.
static constexpr int max_fitted_entries = 49;     // lines and patterns
static constexpr int max_fitted_parameters = 350; // five of each, two of a lineshape coefficient
