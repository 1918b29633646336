// SPDX-License-Identifier: BSD-3-Clause
// parameter_table.cpp -- the fitted parameters on the console
#include "report/parameter_table.h"

#include "report/report_file.h"
#include "run/state.h"

#include <cstdio>

// One row an entry. Areas of entries with a lineshape function are marked; errors have no mark.
static void print_rows(const double *rows, bool mark_lsf_areas) {
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        const double *entry = rows + pars_per_entry * (k - 1);
        if (mark_lsf_areas && shows_lsf_area(k)) {
            std::printf("lsf %1.6E  ", lsf_area[k]);
        } else {
            std::printf("%1.6E  ", entry[area_par]);
        }
        std::printf("%1.6E  %1.6E  %1.6E  %1.6E  \n", entry[freq_par] * frscl, entry[width1_par],
                    entry[phase_par], entry[width2_par]);
    }
}

void print_parameter_table(const double *o_par, const double *o_errpar) {
    std::printf("\n values \n    area        frequency    gausswidth       phase    lorentzwidth  "
                "\n");
    std::printf("    a.u             Hz           Hz          degrees         Hz  \n");
    print_rows(o_par, true);
    if (error_calc != 1) return;
    std::printf("\n error values \n");
    std::printf("    Area        Frequency    Gaussian width    Phase     Lorentzian width  \n");
    std::printf("    a.u            Hz              Hz         degrees          Hz  \n");
    print_rows(o_errpar, false);
}

void print_dead_time_report() {
    if (phi_1 == 0.0) return;
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        const double *entry = par + pars_per_entry * (k - 1);
        std::printf("Dead_time corrected area[%d] = %E\n", k,
                    dead_time_corrected_area(k, entry[area_par]));
        if (entry[4] <= 0.0) {
            std::printf(">>> Caution !!! \n");
            std::printf("Decay constant <= 0.0 !! =>Wrong correction  for this line !!! \n");
        }
    }
}
