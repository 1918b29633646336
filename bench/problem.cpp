// SPDX-License-Identifier: BSD-3-Clause
#include "problem.h"

#include "model/fft.h"
#include "model/objective.h"
#include "run/state.h"
#include "support/support.h"

#include "run/storage.h"

#include <algorithm>
#include <cstddef>
#include <vector>

static std::vector<double> start_values;

void make_problem(int entries, int points) {
    support::reset_state();
    support::random_numbers random(20);
    ap = noise_stop = points;
    nLines = entries;
    frscl = 1.0;
    Hz_pp = 2000.0 / points;
    T_acq = 1.0 / Hz_pp;
    deriv_p = 1e7;
    ftol = 1e-12;
    brent_itmax = 100;
    complex = 2;
    weighting_type = 1;
    spec = 1;
    fitmode = 1;
    td_ap_trunc = points;
    sigma = sigma_im = scalefactor = 1.0;
    amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = 1;
    npar = pars_per_entry * entries;
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    for (int k = 1; k <= entries; ++k) {
        const int type = 1 + k % 3;
        const double place = 0.28 + 0.44 * (k - 0.5) / entries;
        const double values[pars_per_entry] = {
            random.uniform(0.5, 2.0), place * points,
            type == lorentzian_line ? 0.0 : random.uniform(1.0, 2.0), random.uniform(-20.0, 20.0),
            type == gaussian_line ? 0.0 : random.uniform(1.5, 3.0)};
        for (int j = 0; j < pars_per_entry; ++j) {
            const int i = pars_per_entry * (k - 1) + j;
            const bool unused = (type == lorentzian_line && j == width1_par) ||
                                (type == gaussian_line && j == width2_par);
            par[i] = values[j];
            fixpar[i] = {type, unused ? k : 0, values[j], 0.0, 0.0};
        }
    }
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        xre[i] = yre[i] + 0.002 * random.normal();
        xim[i] = yim[i] + 0.002 * random.normal();
        wre[i] = wim[i] = i >= ap / 4 && i < 3 * ap / 4 ? 1.0 : 0.0;
    }
    hrange[1] = h_cur_range = ap / 2;
    const double off[pars_per_entry] = {1.05, 1.0, 1.1, 1.0, 0.9};
    for (int i = 0; i < npar; ++i) {
        par[i] *= off[i % pars_per_entry];
        if (i % pars_per_entry == freq_par) par[i] += 0.2;
    }
    start_values.assign(par, par + npar);
}

void restart_problem() {
    std::copy(start_values.begin(), start_values.end(), par);
}

int free_parameters() {
    const auto free = [](const parameter_record &record) { return record.fixed_to == 0; };
    return static_cast<int>(std::count_if(fixpar, fixpar + npar, free));
}
