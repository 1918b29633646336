// SPDX-License-Identifier: BSD-3-Clause
// keyword_writer.cpp -- what the version 3 and the old format have in common on writing
#include "control/keyword_writer.h"

#include "control/replaced_file.h"

#include <cmath>

// The function that they name is the other writer's: wording kept
static const char *const keyword_storage_texts[3] = {
    " Memory requested to store o_fixpar[]-struct in write_fitcontrol_old() is not available\n",
    " Memory requested to store o_par[] in write_fitcontrol_old() is not available\n",
    " Memory requested to store o_errpar[] in write_fitcontrol_old() is not available\n",
};

static void write_settings(std::FILE *file, const control_values &v, bool is_version_3) {
    if (is_version_3) std::fprintf(file, "version_3\n");
    std::fprintf(file, "n_pnts %3d\n", v.ap);
    std::fprintf(file, "noistr %3d\n", v.noise_strt);
    std::fprintf(file, "noistp %3d\n", v.noise_stop);
    std::fprintf(file, "nLines %3d\n", v.nLines);
    std::fprintf(file, "lsfcfs %3d\n", v.lsf_coefs);
    std::fprintf(file, "phi__1 %1.10E\n", v.phi_1);
    std::fprintf(file, "Hz_p_p %1.10E\n", v.Hz_pp);
    if (is_version_3) std::fprintf(file, "f__tol %1.10E\n", v.ftol);
    std::fprintf(file, "fit_mo %3d\n", v.fitmode);
    std::fprintf(file, "verbos %3d\n", v.verbose);
    std::fprintf(file, "showli %3d\n", v.show_line);
    std::fprintf(file, "clcerr %3d\n", v.error_calc);
    std::fprintf(file, "sg_idl %s\n", v.sage_idl);
    std::fprintf(file, "ranges %3d\n", v.par_ranges);
    std::fprintf(file, "ignore %3d\n", v.ignore);
    if (!is_version_3) return;
    std::fprintf(file, "pattrn %3d\n", v.n_patterns);
    for (int k = 1; k <= v.n_patterns; ++k) std::fprintf(file, "%s\n", v.pat_name[k]);
}

static void write_column(std::FILE *file, int value) {
    std::fprintf(file, "%4d   ", value);
}

static void write_keyword_strategy(std::FILE *file, const control_values &v) {
    std::fprintf(file, "   algor trunc  ampli  frequ  width  phase  "
                       "voigt  lsfft  wtype  convo  niter  cmplx   n_int   min   max\n");
    for (int k = 1; k <= v.n_fit_strat_steps; ++k) {
        std::fprintf(file, "@ ");
        write_column(file, v.min_method[k]);
        write_column(file, v.var_ap_trunc[k]);
        for (int value : v.user_fit_strat[k]) write_column(file, value);
        write_column(file, v.n_intervals[k]);
        for (int i = 1; i <= v.n_intervals[k]; ++i) {
            write_column(file, v.hxmin[k][i]);
            write_column(file, v.hxmax[k][i]);
        }
        std::fprintf(file, "\n");
    }
}

static void write_keyword_starts(std::FILE *file, const control_values &v,
                                 const natural_copy &natural) {
    for (int k = 1; k <= v.entries(); ++k) {
        const double *p = natural.par + pars_per_entry * (k - 1);
        std::fprintf(file, "%d\t%1.8E\t%1.8E\t%1.8E\t%1.8E\t%1.8E\t\n", k, p[area_par],
                     p[freq_par] * v.frscl, std::fabs(p[width1_par]), p[phase_par], p[width2_par]);
    }
}

static void write_keyword_links(std::FILE *file, const control_values &v,
                                const natural_copy &natural) {
    constexpr double area_share = 0.5;
    for (int k = 1; k <= v.entries(); ++k) {
        std::fprintf(file, "#%d\n", k);
        std::fprintf(file, "lsffit %d\n", v.fit_lsf[k]);
        for (int j = 0; j < pars_per_entry; ++j) {
            const parameter_record &record = natural.fixpar[pars_per_entry * (k - 1) + j];
            const written_parameter written = in_file_form(static_cast<parameter_kind>(j), record,
                                                           v.par_ranges, v.frscl, area_share);
            std::fprintf(file, "%d\t%d\t%1.8E\t%1.8E\t%1.8E\t\n", record.type, record.fixed_to,
                         written.value, written.min, written.max);
        }
    }
}

static void write_lsf(std::FILE *file, const control_values &v) {
    std::fprintf(file, "lsf_coefs\n");
    const double *coefficient = v.par + pars_per_entry * v.entries();
    for (int i = 0; i < 2 * v.lsf_coefs; ++i) std::fprintf(file, "%1.8E\n", coefficient[i]);
    std::fprintf(file, "end_of_lsf\n");
}

static void write_trailer(std::FILE *file, const keyword_layout &layout) {
    std::fprintf(file, "\n\n-----------------------------------------------------------\n");
    write_creation_time(file);
    if (!layout.is_version_3) return;
    std::fprintf(file, "User            :  %s \n", layout.user);
    std::fprintf(file, "Host            :  %s \n", layout.host);
    std::fprintf(file, "Domain          :  %s \n", layout.domain);
    std::fprintf(file, "-----------------------------------------------------------\n");
}

int write_keyword_file(const control_values &values, const keyword_layout &layout) {
    const natural_copy natural(values, keyword_storage_texts);
    if (!natural.complete()) return EOF;
    replaced_file output(compact_name);
    std::FILE *file = output.stream();
    if (file == nullptr) {
        std::printf(" error_hs : file not opened\n ");
        return EOF;
    }
    write_settings(file, values, layout.is_version_3);
    write_keyword_strategy(file, values);
    std::fprintf(file, "%s", layout.start_header);
    write_keyword_starts(file, values, natural);
    write_keyword_links(file, values, natural);
    write_lsf(file, values);
    write_trailer(file, layout);
    return output.finish();
}
