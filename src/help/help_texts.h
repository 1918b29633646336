// SPDX-License-Identifier: BSD-3-Clause
// help_texts.h -- the help topics; each prints its lines on standard output
#pragma once

void help_text_0(); // about the program
void help_text_1(); // general program characteristics
void help_text_2(); // input data file format
void help_text_3(); // starting value and fit control file format
void help_text_4(); // output compact.par file
void help_text_5(); // output .exl file
void help_text_6(); // all output files
void help_text_7(); // minimization routines
void help_text_8(); // usage of patterns
void help_text_9(); // the overview
