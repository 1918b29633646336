// SPDX-License-Identifier: BSD-3-Clause
// state.h -- everything a run knows, and when
//
//   stage 0  start     all state zero, all pointers null
//   stage 1  named     identity strings filled from the command line
//   stage 2  defaults  every setting holds its default
//   stage 3  control   settings, parameters, links, strategy and patterns read
//   stage 4  storage   signal arrays allocated, FFT table built
//   stage 5  signal    signal read, noise known, first weights built
//   stage 6  scaled    signal and areas divided by scalefactor; the steps run here
//   stage 7  result    scaling undone, errors computed, files written
//   stage 8  freed     pointers null again
#pragma once

#include "run/state_identity.h"   // who and where: path, fnm, strtvalfnm, command
#include "run/state_settings.h"   // how: verbose, ftol, itmax, complex, weighting_type ...
#include "run/state_parameters.h" // what is fitted: nLines, npar, par, fixpar, pat ...
#include "run/state_signals.h"    // on what: ap, xre/xim, yre/yim, wre/wim, lookup ...
#include "run/state_strategy.h"   // in which order: min_method, user_fit_strat, hxmin ...
#include "run/state_results.h"    // with what outcome: minimum, sigma, chi_after, niter ...
