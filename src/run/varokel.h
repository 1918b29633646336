// SPDX-License-Identifier: BSD-3-Clause
// varokel.h -- entry of a run
#pragma once

// The console command: checks the arguments, prints usage or help, or runs one fit.
//
// Given:    argc, argv  as main has them
// Returned: exit status 0; several cases end the process with their own status before.
int run_command_line(int argc, char **argv);

// Runs one fit for a caller inside a larger program.
//
// Given:
//   data_path  data directory with its separator at the end ("" is the working directory)
//   data_name  signal file name
//   start_name path and name of the start value / fit control file
// Errors: as the command line has them, the endings of the process included; a name of more than
//         498 characters (room for the longest ending of an output is kept) is refused with a
//         message, and nothing is run.
// Notes:  verbose is 2 until the control file sets it; command grows over calls.
void varokel(const char *data_path, const char *data_name, const char *start_name);

// Run preparation: defaults, control file, storage, signal, first weights; then FitSpectrum.
void cf_non_int_main();
