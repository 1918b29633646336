// SPDX-License-Identifier: BSD-3-Clause
// start_file_words.h -- parts of start files
//
// No fit calls these: the readers of control/ read whole files.
#pragma once

#include <cstdio>

// Reads a word and sets flag to 1 when it is varokel_begin_of_file.
void read_varokel_begin_of_file(std::FILE *file, int &flag);

// Copy of len characters of text from position start on, in new storage that the caller releases
// (release(), run/storage.h).
//
// Returned: char[len + 1], the last one a line end and no terminating zero; zeros stand for
//           characters beyond the end of text. Null when there is no storage.
char *substring(const char *text, int start, int len);

// The coefficients of the lineshape behind the 5 (nLines + n_patterns) values of par: lsf_coefs
// pairs, real and imaginary part. A count below 1 reads none.
void read_varokel_line_shape_function(std::FILE *file, const int &nLines, const int &n_patterns,
                                      const int &lsf_coefs, double *par);
