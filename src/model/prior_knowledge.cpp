// SPDX-License-Identifier: BSD-3-Clause
// prior_knowledge.cpp -- dependent parameters of an entry from those that they are tied to
#include "model/prior_knowledge.h"

#include <cmath>

bool entry_is_free(int k, int n_entries, const parameter_record *fixpar) {
    const parameter_record *record = fixpar + pars_per_entry * (k - 1);
    for (int j = 0; j < pars_per_entry; ++j)
        if (is_link(record[j].fixed_to, n_entries)) return false;
    return true;
}

bool entry_follows(int k, int s, const parameter_record *fixpar) {
    const parameter_record *record = fixpar + pars_per_entry * (k - 1);
    for (int j = 0; j < pars_per_entry; ++j)
        if (record[j].fixed_to == s) return true;
    return false;
}

int apply_prior_knowledge(int k, int n_entries, double *xt, const parameter_record *fixpar) {
    double *own = xt + pars_per_entry * (k - 1);
    const parameter_record *record = fixpar + pars_per_entry * (k - 1);
    for (int j = 0; j < pars_per_entry; ++j) {
        const int L = record[j].fixed_to;
        if (!is_link(L, n_entries)) continue;
        // A parameter that is fixed stays; of a width that is not finite, the difference to itself
        // is no number, which is inconsistent as between two lines.
        if (L == k && (j != width1_par || std::isfinite(record[j].value))) continue;
        const int source = pars_per_entry * (L - 1) + j;
        const double free_value = xt[source];
        const double start = fixpar[source].value;
        if (j == area_par) {
            own[j] = free_value * record[j].value / start;
        } else if (j == width1_par) {
            const double d = record[j].value - start;
            if (!(d >= 0.0)) return L; // not a number counts as inconsistent
            own[j] = free_value >= 0.0 ? free_value + d : free_value - d;
        } else {
            own[j] = free_value + record[j].value - start;
        }
    }
    return 0;
}
