// SPDX-License-Identifier: BSD-3-Clause
// fft.h -- transform of a complex vector of 2^k points and its twiddle table
#pragma once

// True for 1, 2, 4, 8 ...
bool is_power_of_two(const int &n);

// Fills the twiddle table for n complex points: for the spans mmax = 2, 4 ... n the pair
// (sin(theta/2), sin(theta)), theta = -2 pi / mmax when sign is 1, +2 pi / mmax otherwise.
// Writes nothing when 2 n <= 2. At most 24 pairs.
void create_lookup(double *table, const int &n, const int &sign);

// In-place transform of n interleaved complex points,
//   X[j] = s sum_k x[k] exp(-2 pi i j k / n)   (table of sign flag 1),
// s = 1/n when scale is 1, else 1. A length that is no power of two is left alone.
void four2(double *data, const double *table, const int &n, const int &scale);

// Transform of two arrays. order 0: the halves of the input are exchanged first (the input is a
// centred spectrum). The output always comes with its halves exchanged.
void fft(const int &n, double *re, double *im, const double *table, const int &scale,
         const int &order);
