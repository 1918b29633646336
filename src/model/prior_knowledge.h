// SPDX-License-Identifier: BSD-3-Clause
// prior_knowledge.h -- dependent parameters of an entry from those that they are tied to
#pragma once

#include "run/types.h"

// True when link L ties a parameter: an entry number from 1 to n_entries. Other numbers than
// these count as free (the start value checks refuse them before a fit).
inline bool is_link(int L, int n_entries) {
    return L >= 1 && L <= n_entries;
}

// True when no parameter of entry k (1-based) carries a link.
bool entry_is_free(int k, int n_entries, const parameter_record *fixpar);

// True when a parameter of entry k (1-based) is tied to entry s.
bool entry_follows(int k, int s, const parameter_record *fixpar);

// Fills the dependent parameters of entry k (1-based) of vector xt, each from the entry it is
// tied to as that stands in xt: the area keeps the ratio of the start values, all others keep
// their difference. A Gaussian width carries the sign of the free width and is never narrower in
// magnitude; fixpar is in internal units. A link to the entry itself leaves the value.
//
// Returned: 0, or the entry number whose Gaussian width is larger at the start than the one of
//           entry k that depends on it; entry k's width1 and what follows it are then not filled.
int apply_prior_knowledge(int k, int n_entries, double *xt, const parameter_record *fixpar);
