// SPDX-License-Identifier: BSD-3-Clause
// output_signals.h -- result signals as float32 pairs, and their names
#pragma once

#include "run/types.h"

// Names of a run's output signals: data files (opened in path) and, with sageidl 1, headers
// (opened in the working directory by their bare name).
struct output_name {
    char data[600], header[600];
};
enum output_signal { org_signal, cor_signal, fit_signal, res_signal, fit0_signal, nln0_signal };
static constexpr int n_output_signals = 6;

// Fills names[n_output_signals] from fnm and sageidl. Without headers a ".bin" ending is first
// cut off fnm, when there is something before it.
void name_output_signals(output_name *names);

// Writes n points of re, im to path + name, interleaved; buffer holds 2 n floats.
void write_output_signal(const char *name, int n, const double *re, const double *im,
                         float *buffer);

// Writes n interleaved points to path + name.
void write_interleaved(const char *name, int n, float *buffer);

// The curve of every entry alone, with ignore taken as 0, one block of ap points after another.
void write_components(const char *name);

// A header for each output signal: the one that was read, with the names put in.
void write_output_headers(const output_name *names);
