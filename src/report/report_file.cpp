// SPDX-License-Identifier: BSD-3-Clause
// report_file.cpp -- what the report writers share
#include "report/report_file.h"

#include "kernel/elementary.h"
#include "model/units.h"
#include "run/state.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

static bool is_none_of(const std::vector<std::string> &inputs, const char *name) {
    for (const std::string &input : inputs) {
        std::error_code unknown; // a file that is not there is none of them
        if (!std::filesystem::equivalent(name, input, unknown) || unknown) continue;
        std::printf("output file %s is an input of this run : not written\n", name);
        return false;
    }
    return true;
}

static std::vector<std::string> inputs_without_start_file() {
    std::vector<std::string> inputs = {std::string(path) + sdffnm,
                                       std::string(path) + sdffnm + ".ref", shffnm};
    for (int p = 1; p <= n_patterns && pat_name != nullptr; ++p) inputs.emplace_back(pat_name[p]);
    return inputs;
}

bool may_be_written(const char *name) {
    std::vector<std::string> inputs = inputs_without_start_file();
    inputs.emplace_back(strtvalfnm);
    inputs.emplace_back(strtvalfnm_read);
    return is_none_of(inputs, name);
}

bool may_be_replaced(const char *name) {
    return is_none_of(inputs_without_start_file(), name);
}

std::FILE *open_report(const char *name) {
    return may_be_written(name) ? std::fopen(name, "w+t") : nullptr;
}

void close_report(std::FILE *file, const char *name) {
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed) std::printf("error in writing file %s\n", name);
}

void fill_natural(const natural_parameters &copies) {
    Natural_Frequency(nLines, n_patterns, par, fixpar, errpar, copies.par, copies.fixpar,
                      copies.errpar, T_acq, Hz_pp);
}

bool shows_lsf_area(int k) {
    return fit_lsf[k] == 1 && lsf_coefs != 0;
}

double dead_time() {
    return phi_1 / (ap * Hz_pp * 360.0);
}

double dead_time_corrected_area(int k, double area) {
    const double *entry = par + pars_per_entry * (k - 1);
    const double t = dead_time();
    const double q4 = entry[3];
    const double q5 = entry[4];
    return area * kernel::exp(q5 * t) * kernel::exp(q4 * q4 * t * t);
}
