// SPDX-License-Identifier: BSD-3-Clause
// step_weights.cpp -- which points count in a step of the fit strategy
#include "model/step_weights.h"

#include "model/vector_lib.h"
#include "run/state.h"

#include <algorithm>

void Create_Weighting_Function(const int &ap_points, const int &step, double *w_re, double *w_im) {
    Zero_Vector(ap_points, w_re);
    Zero_Vector(ap_points, w_im);
    for (int i = 1; i <= n_intervals[step]; ++i) {
        const int last = std::min(hxmax[step][i], ap_points - 1);
        for (int p = std::max(hxmin[step][i], 0); p <= last; ++p) w_re[p] = w_im[p] = 1.0;
    }
}
