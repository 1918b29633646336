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
