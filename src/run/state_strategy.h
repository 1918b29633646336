// SPDX-License-Identifier: BSD-3-Clause
// state_strategy.h -- in which order: the fit strategy steps
//
// Shape  rows by step number, 1-based, row 0 unused; interval columns 1-based as well.
// Owner  the control file readers.
// Valid  stage 3 on; cf_non_int_main clears them.
#pragma once

#include "run/types.h"

extern int n_fit_strat_steps;
extern int min_method[max_steps + 2];   // 1 random search, else conjugate gradients
extern int var_ap_trunc[max_steps + 2]; // time-domain points; one slot more than steps
extern int user_fit_strat[max_steps + 2][strategy_columns];
extern int n_intervals[max_steps + 2];
extern int hxmin[max_steps + 2][max_intervals + 1]; // first point of an interval, inclusive
extern int hxmax[max_steps + 2][max_intervals + 1]; // last point, inclusive
extern int hrange[max_steps + 2];                   // sum of hxmax - hxmin, as read
extern int h_cur_range;                             // hrange of the step that runs
