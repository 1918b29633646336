// SPDX-License-Identifier: BSD-3-Clause
// state_identity.h -- who and where: the strings that name a run
//
// Owner  varokel.cpp fills them from the command line or from the callable entry.
// Valid  stage 1 to the end; NUL-terminated.
#pragma once

extern char path[512];       // data directory, with its separator at the end
extern char fnm[512];        // signal file; loses a ".bin" ending in stage 7's naming
extern char strtvalfnm[512]; // start value / fit control file; becomes the name of the verbose one
extern char strtvalfnm_read[512]; // strtvalfnm when FitSpectrum began: the file that was read
extern char command[2048]; // command words, a TAB behind each; grows over calls in one process
extern char sdffnm[512];   // signal data file that is read
extern char shffnm[512];   // its header file when sageidl is 1
extern char sage_idl[64];  // data format word, "sage_idl" at run start
extern char host[32];      // only init_system fills these three
extern char user[32];
extern char domain[64];
