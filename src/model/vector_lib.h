// SPDX-License-Identifier: BSD-3-Clause
// vector_lib.h -- element-wise vectors, domain conversions, rotation, truncation, shifts
//
// A complex vector is two arrays of double (real, imaginary), index 0 first. A length below 1
// makes every operation a no-op. Lengths of transforms are powers of two; other lengths are left
// as they are. "table" is the twiddle table of fft.h, built for n points with sign flag 1.
#pragma once

void Zero_Vector(const int &n, double *v);
void Copy_Vector(const int &n, const double *src, double *dst);
// out may be a or b in all element-wise operations.
void Sum_Vector(const int &n, double *out, const double *a, const double *b);
void Dif_Vector(const int &n, double *out, const double *a, const double *b);
void Inv_Vector(const int &n, double *out, const double *a);
void Multiply_Vector(const int &n, double *out, const double *a, const double *b);
// out = sqrt(re^2 + im^2)
void Absolute_Vector(const int &n, const double *re, const double *im, double *out);
// result = sum of a[i] b[i], 0 for n < 1; returns the number of terms.
int Calculate_In_Product(const int &n, const double *a, const double *b, double &result);
// First of the largest values. max is -1e200 and index untouched when no value exceeds that.
void Max_Vector(const int &n, const double *v, int &index, double &max);

// Time domain to centred spectrum, in place: halves the first point (half weight at the jump of
// a causal signal), transforms with factor 1/n, rotates left by n/2.
void Calculate_Spectrum(const int &n, double *re, double *im, const double *table);
// Transform of the conjugate with factor 1, not conjugated back; its inverse is
// Calculate_Frequency_Domain, the same with factor 1/n.
void Calculate_Time_Domain(const int &n, double *re, double *im, const double *table);
void Calculate_Frequency_Domain(const int &n, double *re, double *im, const double *table);

// v'[i] = v[(i + k) mod n], in place. A negative k is replaced by k + n, also for the caller.
void Rotate_Vector(const int &n, int &k, double *v);
// dst[j] = src[(j - k) mod n], -n < k < n.
void Rotate_Conv_Vector(const int &n, const int &k, const double *src, double *dst);
// Cross-correlation about the centre: out[n/2 + k] = sum_i a[(i - k) mod n] b[i] for the lags
// k = lo ... hi, 0 elsewhere. Lags outside 0 <= n/2 + k < n are left out.
void Convolution(const int &n, const int &lo, const int &hi, const double *a, const double *b,
                 double *out);

// A signal as interleaved pairs, as four2 takes it, and back.
void interleave(int n, const double *re, const double *im, double *signal);
void separate(int n, const double *signal, double *re, double *im);

// Sets time-domain points first to stop - 1 to zero; spectrum in, spectrum out.
void clear_time_points(int n, int first, int stop, double *re, double *im, const double *table);
// The same from trunc on.
void Truncate_Spectrum(const int &n, const int &trunc, double *re, double *im, const double *table);
// Multiplies point i by exp(-i theta), theta = phi0 + phi1 i/n [degrees]; prints both phases
// when print is positive.
void Correct_Zo_Phase(const int &print, const int &n, const double &phi0, const double &phi1,
                      double *re, double *im);
// cosv[i] + i sinv[i] = exp(2 pi i shift i / n)
void Generate_Complex_Shift(const int &n, const double &shift, double *cosv, double *sinv);
// Moves a line from point p to p - shift [points].
void Shift_Original(const int &n, const double *re, const double *im, const double &shift,
                    double *out_re, double *out_im, const double *table);
