// SPDX-License-Identifier: BSD-3-Clause
#include "support/random_model.h"

#include "model/fft.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>

namespace support {

static void fill_entry(random_numbers &random, const model_choice &choice, int k) {
    const int entries = nLines + n_patterns;
    const bool pattern = k > nLines;
    const int type = pattern ? 4 : random.integer(1, 3);
    const double place = choice.separated ? (k - 0.5) / entries : random.uniform(0.1, 0.9);
    double value[5] = {random.uniform(0.5, 3.0), place * ap, random.uniform(0.4, 2.0),
                       random.uniform(-180.0, 180.0), random.uniform(0.4, 2.5)};
    if (choice.separated) {
        value[2] = random.uniform(0.8, 1.2);
        value[4] = random.uniform(0.8, 1.2);
    }
    if (pattern) {
        value[1] = random.uniform(-2.0, 2.0);
        value[2] = random.uniform(0.2, 0.5);
    }
    fit_lsf[k] = random.integer(0, 1);
    for (int j = 0; j < 5; ++j) {
        parameter_record &record = fixpar[5 * (k - 1) + j];
        record.type = type;
        record.fixed_to = 0;
        const bool unused = (type == 1 && j == 4) || (type == 2 && j == 2);
        if (choice.links && k > 1 && random.integer(0, 2) == 0)
            record.fixed_to = random.integer(0, 1) == 0 ? 1 : k;
        if (unused) record.fixed_to = k;
        const parameter_record &first = fixpar[j];
        // a tied parameter follows a free one, a tied Gaussian width starts no narrower
        if (record.fixed_to == 1 && k > 1 && first.fixed_to != 0) record.fixed_to = k;
        if (record.fixed_to == 1 && k > 1 && j == 2)
            value[2] = first.value + random.uniform(0.0, 0.5);
        record.value = value[j];
        record.min = record.max = 0.0;
        const bool moved = record.fixed_to == 0 && (j == 0 || j == 2);
        par[5 * (k - 1) + j] = moved ? value[j] * random.uniform(1.0, 1.05) : value[j];
    }
}

void make_random_model(random_numbers &random, const model_choice &choice) {
    reset_state();
    ap = noise_stop = choice.points;
    nLines = choice.lines;
    n_patterns = choice.patterns;
    lsf_coefs = choice.lsf_pairs;
    frscl = Hz_pp = T_acq = 1.0;
    deriv_p = 1e7;
    brent_itmax = 100;
    spec = 1;
    sigma = sigma_im = scalefactor = 1.0;
    complex = choice.mode;
    weighting_type = choice.weighting;
    phi_1 = choice.delay ? random.uniform(10.0, 1500.0) : 0.0;
    ignore = choice.ignored;
    td_ap_trunc = choice.truncated ? random.integer(2, ap) : ap;
    ref_line = choice.lineshape ? 1 : 0;
    npar = 5 * (nLines + n_patterns);
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    for (int k = 1; k <= nLines + n_patterns; ++k) fill_entry(random, choice, k);
    for (int i = npar; i < npar + 2 * lsf_coefs; ++i) par[i] = random.uniform(0.2, 1.0);
    for (int p = 1; p <= n_patterns; ++p) {
        double *slot = pat + static_cast<long long>(pattern_slot) * p;
        for (int i = 0; i < ap; ++i) {
            slot[i] = std::cos(0.3 * i * p) * std::exp(-0.02 * i);
            slot[max_pattern_points + i] = std::sin(0.3 * i * p) * std::exp(-0.02 * i);
        }
        pattern_norm[p] = random.uniform(0.5, 2.0);
    }
    const int first = random.integer(0, ap / 5);
    const int last = ap - 1 - random.integer(0, ap / 5);
    for (int i = 0; i < ap; ++i) {
        xre[i] = random.normal();
        xim[i] = random.normal();
        re_ref[i] = std::exp(-0.002 * i) * std::cos(0.01 * i);
        im_ref[i] = std::exp(-0.002 * i) * std::sin(0.01 * i);
        const double w = i >= first && i <= last ? 1.0 : 0.0;
        wre[i] = weighting_type == 2 ? xre[i] : w;
        wim[i] = weighting_type == 2 ? xim[i] : w;
    }
    h_cur_range = hrange[1] = last - first;
}

model_choice random_choice(random_numbers &random) {
    static const int weightings[] = {1, 1, 2, 7};
    model_choice choice;
    choice.points = 1 << random.integer(4, 7);
    choice.lines = random.integer(1, 6);
    choice.patterns = random.integer(0, 2);
    choice.lsf_pairs = random.integer(0, 2) == 0 ? random.integer(1, 3) : 0;
    choice.lineshape = random.integer(0, 3) == 0;
    choice.delay = random.integer(0, 1) == 0;
    choice.truncated = random.integer(0, 2) == 0;
    choice.ignored = random.integer(0, 2) == 0 ? random.integer(1, 4) : 0;
    choice.mode = random.integer(0, 4);
    choice.weighting = weightings[random.integer(0, 3)];
    return choice;
}

} // namespace support
