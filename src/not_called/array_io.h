// SPDX-License-Identifier: BSD-3-Clause
// array_io.h -- complex vectors to and from files, by a dialogue on the console
//
// n complex points in two arrays of double. A fit never calls these.
#pragma once

void ComplexArrayOut(const int *n, const double *re, const double *im);
void ComplexArrayIn(const int *n, double *re, double *im);
// One number a line, real and imaginary part of a point in turn.
void ComplexAsciiOut(const int *n, const double *re, const double *im);
void ComplexAsciiIn(const int *n, double *re, double *im);
