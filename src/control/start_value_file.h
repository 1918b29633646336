// SPDX-License-Identifier: BSD-3-Clause
// start_value_file.h -- loads the start value / fit control file that steers a run
//
// The first word of the file tells its generation: varokel_begin_of_file the block format
// (control/fitcontrol_new.h), version_3 the compact one (control/f_cntl.h), any other word the old
// one (control/fitcontrol_old.h).
#pragma once

#include <cstdio>

// Loads the file named by strtvalfnm into the run state: sizes first, so that storage can be made,
// then all values, then the patterns.
//
// Reads:   strtvalfnm, frscl, and the defaults of all settings
// Changes: the settings that the file states, the parameter arrays, the strategy tables, patterns;
//          pattern_enable 1; file_corrupt 1 when the file is faulty (patterns are not read then)
// Errors:  a file that cannot be opened ends the run with status -1. Sizes beyond
// control/allowed_counts.h
//          are refused before storage is made for them. When storage cannot be had, values and
//          patterns are not read.
// Notes:
//   1. An old file goes through the block reader as well, in fresh (zeroed) storage: it fits only
//      if blocks follow in the same file.
void MakeInitValFile();

// Sizes of a file, before it is read. Counts that are not found keep their values.
//
// Errors: peep_fitcontrol_new reports a file that cannot be opened; the others end the run with
//         status -1.
void peep_fitcontrol_new(const char *name, int &n_lines, int &points, int &n_lsf, int &n_pat);
void peep_f_cntl(const char *name, int &n_lines, int &points, int &n_lsf, int &n_pat);
void peep_fitcontrol_old(const char *name, int &n_lines, int &points, int &n_lsf);
