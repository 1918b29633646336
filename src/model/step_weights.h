// SPDX-License-Identifier: BSD-3-Clause
// step_weights.h -- which points count in a step of the fit strategy
#pragma once

// Box weights of a fit strategy step: 1 on its intervals (both ends included, clipped to the
// points of the signal), 0 elsewhere.
void Create_Weighting_Function(const int &ap_points, const int &step, double *w_re, double *w_im);
