// SPDX-License-Identifier: BSD-3-Clause
// fit_strategy.h -- one step of the fit strategy
#pragma once

// Runs fit strategy step number step (1-based) on the scaled signal: applies its row of settings,
// aligns the frequencies when convo is 1, builds the box weights and minimizes par.
//
// Given, all from the tables of run/state_strategy.h:
//   algor   1 random search, else conjugate gradients
//   trunc   time-domain points of this step
//   ampli, frequ, width, phase, voigt   1 = the parameter group is free
//   lsfft   1 = the lineshape coefficients are fitted
//   wtype, convo, niter, cmplx          weighting, pre-alignment, iterations, channels
// Notes: the settings stay in force after the step; the caller restores the signal.
void Fit_Strategy_Step(const int &algor, const int &trunc, const int &step, const int &ampli,
                       const int &frequ, const int &width, const int &phase, const int &voigt,
                       const int &lsfft, const int &wtype, const int &convo, const int &niter_max,
                       const int &cmplx);

// The global offset between a measured and the model's magnitude spectrum, which a step with
// pre-alignment moves all frequencies by: the lag of the largest cross-correlation over the points
// of the step's intervals, up to 1/16 of the band to either side.
//
// Given:
//   step      int         number of the step, from 1; its intervals count
//   re, im    double[ap]  measured spectrum; the model is that of the last evaluation, yre and yim
//   xabs, yabs, conv_weighting, conv, spare   double[ap], scratch
// Returned: whole points; above 0 the measured lines lie further right than the model's
double alignment_shift(int step, const double *re, const double *im, double *xabs, double *yabs,
                       double *conv_weighting, double *conv, double *spare);
