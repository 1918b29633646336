// SPDX-License-Identifier: BSD-3-Clause
// fitcontrol_new_writer.cpp -- writer of the block format
#include "control/fitcontrol_new.h"

#include "control/comment_lines.h"
#include "control/control_file.h"
#include "control/replaced_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static constexpr std::size_t name_capacity = 512; // of strtvalfnm

// The last one names another function: wording kept
static const char *const storage_texts[3] = {
    " Memory requested to store o_fixpar[]-struct in write_varokel...() is not available\n",
    " Memory requested to store o_par[] inwrite_varokel()...is not available\n",
    " Memory requested to store o_errpar[]\n in dfnc() is not available\n",
};

void name_verbose_file(char *name) {
    static const char ending[] = "_verbose.par";
    std::size_t length = std::strlen(name);
    if (length > 4) length -= 4;
    length = std::min(length, name_capacity - sizeof ending);
    std::memcpy(name + length, ending, sizeof ending);
}

static void write_spectrum_information(std::FILE *file, const control_values &v) {
    write_comment_lines(file, spectrum_comment);
    std::fprintf(file, "\nvarokel_spectrum_information\n\n");
    std::fprintf(file, "%3d\n", v.ap);
    std::fprintf(file, "%3d\n", v.noise_strt);
    std::fprintf(file, "%3d\n", v.noise_stop);
    std::fprintf(file, "%3d\n", v.nLines);
    std::fprintf(file, "%3d\n", v.lsf_coefs);
    std::fprintf(file, "%1.10E\n", v.phi_1);
    std::fprintf(file, "%1.10E\n", v.Hz_pp);
    std::fprintf(file, "%1.10E\n", v.ftol);
    std::fprintf(file, "%3d\n", v.ignore);
    std::fprintf(file, "%3d\n\n", v.n_patterns);
}

static void write_pattern_references(std::FILE *file, const control_values &v) {
    write_comment_lines(file, pattern_comment);
    std::fprintf(file, "varokel_pattern_references\n\n");
    for (int k = 1; k <= v.n_patterns; ++k) std::fprintf(file, "%s\n", v.pat_name[k]);
    std::fprintf(file, "\n\n");
}

static void write_strategy(std::FILE *file, const control_values &v) {
    for (int k = 1; k <= v.n_fit_strat_steps; ++k) {
        std::fprintf(file, "@  %3d  %3d  ", v.min_method[k], v.var_ap_trunc[k]);
        for (int i = 0; i < convo_column; ++i) std::fprintf(file, "%3d  ", v.user_fit_strat[k][i]);
        for (int i = convo_column; i < strategy_columns; ++i)
            std::fprintf(file, "%4d  ", v.user_fit_strat[k][i]);
        std::fprintf(file, "%4d  ", v.n_intervals[k]);
        for (int i = 1; i <= v.n_intervals[k]; ++i) {
            std::fprintf(file, "%4d  %4d  ", v.hxmin[k][i], v.hxmax[k][i]);
        }
        std::fprintf(file, "\n");
    }
}

static void write_fit_control(std::FILE *file, const control_values &v) {
    write_comment_lines(file, fit_control_comment);
    std::fprintf(file, "varokel_fit_control\n\n");
    std::fprintf(file, "%d\n", v.fitmode);
    std::fprintf(file, "%d\n", v.verbose);
    std::fprintf(file, "%d\n", v.show_line);
    std::fprintf(file, "%d\n", v.error_calc);
    std::fprintf(file, "%s\n", v.sage_idl);
    std::fprintf(file, "%d\n\n", v.par_ranges);
    write_strategy(file, v);
    std::fprintf(file, "\n");
}

static void write_starting_values(std::FILE *file, const control_values &v,
                                  const natural_copy &natural) {
    write_comment_lines(file, starting_value_comment);
    std::fprintf(file, "varokel_starting_values \n\n");
    for (int k = 1; k <= v.entries(); ++k) {
        const double *p = natural.par + pars_per_entry * (k - 1);
        std::fprintf(file, k <= 9 ? "     %d     " : "     %d    ", k);
        std::fprintf(file, "%1.6E   %1.6E   %1.6E   %1.6E   %1.6E\n", p[area_par],
                     p[freq_par] * v.frscl, std::fabs(p[width1_par]), p[phase_par], p[width2_par]);
    }
    std::fprintf(file, "\n");
}

static void write_record(std::FILE *file, const control_values &v, int kind,
                         const parameter_record &record) {
    constexpr double area_share = 0.1; // the comment lines say 0.5: deliberate
    const written_parameter written =
        in_file_form(static_cast<parameter_kind>(kind), record, v.par_ranges, v.frscl, area_share);
    std::fprintf(file, "%d\t%1.6E\t", record.fixed_to, written.value);
    if (v.par_ranges != 1) {
        std::fprintf(file, "%1.8E\t%1.8E\t\n", written.min, written.max);
    } else {
        std::fprintf(file, "%1.6E\t", written.min);
        std::fprintf(file, kind == width2_par ? "%1.6E\n\n" : "%1.6E\n", written.max);
    }
}

static void write_prior_knowledge(std::FILE *file, const control_values &v,
                                  const natural_copy &natural) {
    write_comment_lines(file, prior_knowledge_comment);
    std::fprintf(file, "varokel_prior_knowledge\n\n");
    for (int k = 1; k <= v.entries(); ++k) {
        const parameter_record *record = natural.fixpar + pars_per_entry * (k - 1);
        std::fprintf(file, "%d\n", k);
        std::fprintf(file, "%d\n", v.fit_lsf[k]);
        std::fprintf(file, "%d\n", record[area_par].type);
        for (int j = 0; j < pars_per_entry; ++j) write_record(file, v, j, record[j]);
    }
}

static void write_line_shape_function(std::FILE *file, const control_values &v) {
    write_comment_lines(file, line_shape_comment);
    std::fprintf(file, "varokel_line_shape_function\n\n");
    const double *coefficient = v.par + pars_per_entry * v.entries();
    for (int i = 0; i < 2 * v.lsf_coefs; ++i) std::fprintf(file, "%1.6E\n", coefficient[i]);
}

int write_varokel_strtval_file(
    char *strtvalfnm, const int &nLines, const int &ap, const int &noise_strt,
    const int &noise_stop, const int &lsf_coefs, const double &phi_1, const double &Hz_pp,
    const double &T_acq, const double &ftol, const double *par, const double *errors,
    const int &fitmode, const int *var_ap_trunc, const int &verbose, const int &show_line,
    const int &error_calc, const char *sage_idl, const int &par_ranges,
    const int &n_fit_strat_steps, const int *min_method,
    const int (*user_fit_strat)[strategy_columns], const int *n_intervals, const int *fit_lsf,
    const parameter_record *fixpar, const int (*hxmin)[max_intervals + 1],
    const int (*hxmax)[max_intervals + 1], const double &frscl, const int &ignore,
    const int &n_patterns, const char (*pat_name)[pattern_name_size]) {
    const control_values values = CONTROL_VALUES_HERE;
    name_verbose_file(strtvalfnm);
    const natural_copy natural(values, storage_texts);
    if (!natural.complete()) return EOF;
    replaced_file output(strtvalfnm);
    std::FILE *file = output.stream();
    if (file == nullptr) return EOF;

    std::fprintf(file, "varokel_begin_of_file\n\n");
    write_comment_lines(file, title_comment);
    std::fprintf(file, "\n");
    write_comment_lines(file, revision_comment);
    std::fprintf(file, "  \n");
    write_spectrum_information(file, values);
    write_pattern_references(file, values);
    write_fit_control(file, values);
    write_starting_values(file, values, natural);
    write_prior_knowledge(file, values, natural);
    write_line_shape_function(file, values);
    std::fprintf(file, "\n\nvarokel_end_of_file\n");
    std::fprintf(file, "\n\n----------------------------------------------------------\n");
    write_creation_time(file);
    return output.finish();
}
