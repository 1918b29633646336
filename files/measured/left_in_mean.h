// SPDX-License-Identifier: BSD-3-Clause
// left_in_mean.h -- whether FIDs that are averaged as they are cancel
#pragma once

#include "files/measured/choose_spectra.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// |sum_i c_i| / sum_i |c_i|, where c_i is the part of FID i along what the FIDs have most in
// common (the first right singular vector of their first eighth): 1 when all have one phase. Only
// FIDs whose part is more than three standard deviations of their noise count; their heights do
// not matter, so a decaying series of one phase has 1.
//
// Given:
//   fids   of one length, 16 points or more
// Returns nothing where fewer than two of them have signal: noise has no phase.
std::optional<double> left_in_mean(const std::vector<complex_signal> &fids);

// What a user should know of means that cancel: which dimension, how much of the signal is left,
// and the options that put it together instead. Of the means of chosen up to eight, of each up to
// 64 members are looked at. Empty when at least 95 % are left, unless coils are among them: noise
// alone, at three standard deviations, leaves 97 %.
//   memory   for the FIDs that are read [MiB]
std::string warning_of_means(spectrum_source &source, const chosen_spectra &chosen,
                             long long memory);

} // namespace tools
