// SPDX-License-Identifier: BSD-3-Clause
// parameter_matrix.cpp -- parameters as plain rows of numbers
#include "report/parameter_matrix.h"

#include "report/report_file.h"
#include "run/state.h"

#include <cmath>
#include <cstdio>
#include <string>

void Write_Parameter_Matrix(const char *name, const double *p) {
    const std::string full_name = std::string(path) + name;
    std::FILE *file = open_report(full_name.c_str());
    if (file == nullptr) {
        std::printf("Could not open output file : %s\n", full_name.c_str());
        return;
    }
    for (int k = 0; k < nLines + n_patterns; ++k) {
        const double *entry = p + pars_per_entry * k;
        // A fit may carry a negative Gaussian width; only its square enters the lineshape.
        std::fprintf(file, "%1.8E\t%1.8E\t%1.8E\t%1.8E\t%1.8E\n", entry[area_par], entry[freq_par],
                     std::fabs(entry[width1_par]), entry[phase_par], entry[width2_par]);
    }
    close_report(file, full_name.c_str());
}
