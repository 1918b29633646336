// SPDX-License-Identifier: BSD-3-Clause
// parameter_matrix.h -- parameters as plain rows of numbers
#pragma once

// Writes five numbers a row for each entry of vector p (area, frequency, |width1|, phase, width2,
// in the units of p) to the file path + name.
//
// Errors: a file that cannot be opened or written is reported, the run goes on.
void Write_Parameter_Matrix(const char *name, const double *p);
