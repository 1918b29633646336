// SPDX-License-Identifier: BSD-3-Clause
// report_example.h -- a finished fit of three lines and a pattern, with numbers that are easy to
// follow: 8 points of 2 Hz, areas 1 to 4, errors a tenth of them
#pragma once

#include "model/fft.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <cstdio>
#include <cstring>

inline void make_finished_fit() {
    support::reset_state();
    ap = noise_stop = 8;
    nLines = 3;
    n_patterns = 1;
    npar = 20;
    frscl = 1.0;
    Hz_pp = 2.0;
    T_acq = 0.5;
    sigma = 0.5;
    sigma_im = 0.25;
    scalefactor = 1.0;
    chi_before = 9.0;
    chi_after = 4.0;
    true_chi = 3.0;
    minimum = 2.0;
    niter = 17;
    nfitted = 12;
    weighting_type = 1;
    complex = 2;
    hrange[1] = 4;
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    static const int types[] = {1, 2, 3, 4};
    for (int k = 0; k < 4; ++k) {
        const double values[5] = {k + 1.0, 2.0 * k, 1.0, 30.0, 0.5};
        for (int j = 0; j < 5; ++j) {
            par[5 * k + j] = values[j];
            errpar[5 * k + j] = values[j] / 10.0;
            fixpar[5 * k + j] = {types[k], j == 3 ? 1 : 0, values[j] - 0.25, 0.0, 0.0};
        }
    }
    pattern_norm[1] = 1.0;
    std::snprintf(fnm, sizeof fnm, "brain");
    std::snprintf(command, sizeof command, "varokel\t.\tbrain.bin\tstart.par\t");
    std::snprintf(idl->date_acquired, sizeof idl->date_acquired, "06/27/2024");
    std::snprintf(idl->time_acquired, sizeof idl->time_acquired, "11:59");
}
