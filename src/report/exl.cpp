// SPDX-License-Identifier: BSD-3-Clause
// exl.cpp -- the tab-separated table for spreadsheets
#include "report/exl.h"

#include "report/report_file.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

static constexpr double sqrt_pi = 1.7724538509055159; // in all digits that a double has

static const char *const mode_headings[] = {"\nabsorption mode fit\n", "\ndispersion mode fit\n",
                                            "\nabsorption + dispersion mode fit\n",
                                            "\nmagnitude mode fit\n", "\npower mode fit\n"};

static const char *const type_words[4] = {"  Gaussian\t", " Lorentzian\t", "     Voigt\t",
                                          "   Pattern\t"};

static void write_row(std::FILE *file, int k, const natural_parameters &natural,
                      double corrected_area) {
    const int at = pars_per_entry * (k - 1);
    const double *value = natural.par + at;
    const double *error = natural.errpar + at;
    const parameter_record *record = natural.fixpar + at;
    const double area = shows_lsf_area(k) ? lsf_area[k] : value[area_par];
    const double width1 = std::fabs(value[width1_par]);
    const double width1_error = std::fabs(error[width1_par]);

    std::fprintf(file, "%d\t%s", k, type_word(record->type, type_words, type_words[3]));
    std::fprintf(file, "%e\t%e\t%d\t", area, error[area_par], record[area_par].fixed_to);
    std::fprintf(file, "%e\t%e\t%d\t", value[freq_par] * frscl, error[freq_par] * frscl,
                 record[freq_par].fixed_to);
    std::fprintf(file, "%e\t%e\t%d\t", width1, width1_error, record[width1_par].fixed_to);
    std::fprintf(file, "%e\t%e\t%d\t", value[phase_par], error[phase_par],
                 record[phase_par].fixed_to);
    std::fprintf(file, "%e\t%e\t%d\t", value[width2_par], error[width2_par],
                 record[width2_par].fixed_to);

    double integral = corrected_area;
    double integral_error =
        std::sqrt(error[area_par] * error[area_par] + width1_error * width1_error);
    if (record->type == gaussian_line) {
        integral = area * width1 * sqrt_pi;
        integral_error = error[area_par];
    } else if (record->type == lorentzian_line) {
        integral = area * width1 * std::numbers::pi;
        integral_error = error[area_par];
    }
    std::fprintf(file, "%e\t%e\t\n", integral, integral_error);
}

void write_spreadsheet(const double &quality, const double &chi_square) {
    const std::string name = std::string(path) + fnm + ".exl";
    std::FILE *file = open_report(name.c_str());
    if (file == nullptr) {
        std::printf(" error in opening file %s:\n ", name.c_str());
        return;
    }
    const long long entries = nLines + n_patterns;
    const scratch<double> c_amp(entries, "Memory requested to store c_amp[]"
                                         " in WriteEXCELFitResults() is not available\n");
    const scratch<parameter_record> o_fixpar(pars_per_entry * entries,
                                             "Memory requested to store o_fixpar[]-struct "
                                             "in WriteEXCELFitResults() is not available\n");
    const scratch<double> o_par(pars_per_entry * entries,
                                " Memory requested to store o_par[] "
                                "in WriteEXCELFitResults() is not available\n");
    const scratch<double> o_errpar(pars_per_entry * entries,
                                   " Memory requested to store o_errpar[] "
                                   "in WriteEXCELFitResults() is not available\n");
    const natural_parameters natural{o_par, o_errpar, o_fixpar};

    std::fprintf(file, "%s\n%s", command,
                 complex >= 0 && complex <= 4 ? mode_headings[complex] : "");
    std::fprintf(file, "%e\t%e\t%e\t%e\t%e\t%e\t", quality, sigma, sigma_im, chi_before, chi_after,
                 chi_square);
    std::fprintf(file, "%d\t%d\t%d\t", niter, weighting_type, nfitted);
    std::fprintf(file, "%e\n\n", std::sqrt(chi_square / (2.0 * hrange[1])) * scalefactor / sigma);
    if (natural.complete() && c_amp != nullptr) {
        fill_natural(natural);
        for (int k = 1; k <= nLines + n_patterns; ++k)
            c_amp[k - 1] = dead_time_corrected_area(k, natural.par[pars_per_entry * (k - 1)]);
        for (int k = 1; k <= nLines + n_patterns; ++k) write_row(file, k, natural, c_amp[k - 1]);
    }
    std::fprintf(file, "\n\n");
    close_report(file, name.c_str());
}
