// SPDX-License-Identifier: BSD-3-Clause
// parameter_table.h -- the fitted parameters on the console
#pragma once

// Prints values, and errors when error_calc is 1, of every entry.
//
// Given:  o_par, o_errpar  double[5 N]  natural units; frequencies are printed times frscl
void print_parameter_table(const double *o_par, const double *o_errpar);

// Prints the dead-time corrected areas when phi_1 is not 0.
void print_dead_time_report();
