// SPDX-License-Identifier: BSD-3-Clause
// fitres.cpp -- the fixed-layout text report
//
// Widths of rules and headings differ by a character here and there; programs read this file by
// position, so they stay. // wording kept
#include "report/fitres.h"

#include "report/report_file.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <string>

static constexpr double notable_error = 10.0; // percent; above it a row gets an asterisk

struct quantity_table {
    const char *heading, *rule;
    parameter_kind kind;
};

static const char rule_40[] = "________________________________________";
static const char rule_41[] = "_________________________________________";

static const quantity_table quantity_tables[] = {
    {"|#line  |  area        | abs. err.area | ", rule_40, area_par},
    {"|#line  | gausswidth     | abs. err. wid.|", rule_41, width1_par},
    {"|#line  |  frequency     | abs. err.frq.|", rule_41, freq_par},
    {"|#line  |  phase       | abs. err. phase|", rule_41, phase_par},
    {"|#line  |  l_width     |abs. err.l_width|", rule_41, width2_par},
};

static double shown_value(const natural_parameters &natural, int k, parameter_kind kind) {
    const double value = natural.par[pars_per_entry * (k - 1) + kind];
    if (kind == area_par && shows_lsf_area(k)) return lsf_area[k];
    return kind == freq_par ? value * frscl : value;
}

static double shown_error(const natural_parameters &natural, int k, parameter_kind kind) {
    const double error = natural.errpar[pars_per_entry * (k - 1) + kind];
    return kind == freq_par ? error * frscl : error;
}

static void write_quantities(std::FILE *file, const natural_parameters &natural) {
    for (const quantity_table &table : quantity_tables) {
        std::fprintf(file, "%s\n%s\n%s\n", table.rule, table.heading, table.rule);
        for (int k = 1; k <= nLines + n_patterns; ++k) {
            std::fprintf(file, "| %3d\t| %7e\t| %5e\t|\n", k, shown_value(natural, k, table.kind),
                         shown_error(natural, k, table.kind));
        }
        std::fprintf(file, "_________________________________________\n\n");
    }
}

static const char *const peak_words[4] = {"Gaussian line  ", "Lorentzian line", "Voigt      line",
                                          ""};

static void write_peak_areas(std::FILE *file, const natural_parameters &natural) {
    std::fprintf(file, "\n\n_____________________________________________"
                       "________________________________________"
                       "\n");
    std::fprintf(file, "|\tline type & number\t\t|     peakarea   \t|   perc. error      |\n");
    std::fprintf(file, "_________________________________________________"
                       "_____________________________________"
                       "\n");
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        const int at = pars_per_entry * (k - 1);
        const double area = shown_value(natural, k, area_par);
        const double half_error = 0.5 * natural.errpar[at];
        const double percent = 100.0 * half_error / area;
        std::fprintf(file, "| peak area ");
        const char *type_text = type_word(natural.fixpar[at].type, peak_words);
        if (*type_text != '\0') {
            std::fprintf(file, "%s\t%d\t| ", type_text, k);
        }
        std::fprintf(file, "\t%11e\t| \t%7e | ", 0.5 * area, percent);
        if (std::fabs(percent) > notable_error) std::fprintf(file, "* ");
        std::fprintf(file, "\n");
    }
    std::fprintf(file, "_________________________________________________"
                       "_____________________________________"
                       "\n");
    std::fprintf(file, " * = error in estimate > 10.0 percent \n\n");
}

static const char *const model_words[4] = {"\t Gaussian \t", "\tLorentzian\t", "\t  Voigt\t",
                                           "\t Pattern\t"};

static void write_conditions(std::FILE *file, const natural_parameters &natural) {
    std::fprintf(file, "Fitting conditions : \n");
    std::fprintf(file, "________________________________________"
                       "_________________________________"
                       "________________"
                       "\n");
    std::fprintf(file, "|    para #      |  model type  | fixed to line | initial values|"
                       "   parameter changes   |"
                       "\n");
    std::fprintf(file, "________________________________________"
                       "_________________________________"
                       "_________________ "
                       "\n");
    for (int i = 0; i < pars_per_entry * (nLines + n_patterns); ++i) {
        const parameter_record &record = natural.fixpar[i];
        std::fprintf(file, "| Parameter # %2d | %s|\t%2d\t|%e\t|\t%e\t|\n", i + 1,
                     type_word(record.type, model_words), record.fixed_to, record.value,
                     natural.par[i] - record.value);
    }
    std::fprintf(file, "__________________________________"
                       "_________________________________________"
                       "______________\n\n");
}

static void write_summary(std::FILE *file, double quality) {
    std::fprintf(file, "Fit quality number after fit                    : %E\n", quality);
    std::fprintf(file, "Chi-square before (weighted) least square fit   : %E\n", chi_before);
    std::fprintf(file, "Chi-square after  (weighted) least square fit   : %E\n", chi_after);
    std::fprintf(file, "Chi-square after  (UNWEIGHTED) least square fit : %E\n", true_chi);
    std::fprintf(file, "standard deviation          : %E\n", sigma);
    std::fprintf(file, "Number of iterations        : %5d\n", niter);
    std::fprintf(file, "Chi-square weighting type   : %5d\n", weighting_type);
    std::fprintf(file, "Number of parameters fitted : %5d\n", nfitted);
}

void write_fit_result(const double &quality) {
    const std::string name = std::string(path) + fnm + ".fitres";
    std::FILE *file = open_report(name.c_str());
    if (file == nullptr) {
        std::printf(" error_hs : file not opened\n ");
        return;
    }
    const long long parameters = pars_per_entry * (nLines + n_patterns);
    const scratch<parameter_record> o_fixpar(
        parameters, " Memory requested to store o_fixpar[] in WriteFitResult() is not available\n");
    const scratch<double> o_par(
        parameters, " Memory requested to store o_par[] in WriteFitResult() is not available\n");
    const scratch<double> o_errpar(
        parameters, " Memory requested to store o_errpar[] in WriteFitResult() is not available\n");
    const natural_parameters natural{o_par, o_errpar, o_fixpar};

    std::fprintf(file, "File name            : %s%s\n", path, fnm);
    std::fprintf(file, "acquisition date     : %s\n", idl->date_acquired);
    std::fprintf(file, "time acquired        : %s\n", idl->time_acquired);
    std::fprintf(file, " ");
    if (natural.complete()) {
        fill_natural(natural);
        write_quantities(file, natural);
        write_peak_areas(file, natural);
        write_conditions(file, natural);
    }
    write_summary(file, quality);
    close_report(file, name.c_str());
}
