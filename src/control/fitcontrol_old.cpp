// SPDX-License-Identifier: BSD-3-Clause
// fitcontrol_old.cpp -- the old format
#include "control/fitcontrol_old.h"

#include "control/control_file.h"
#include "control/keyword_reader.h"
#include "control/keyword_writer.h"

#include <climits>

// There are fourteen lines, not 13, and the gap stands one line too early: wording kept
static const char *const old_order_lines[] = {
    "file format error in line 1 to 13 \n",
    "correct order of parameters are : \n\n",
    "n_pnts <integer>\n",
    "noistr <integer>\n",
    "noistp <integer>\n",
    "nLines <integer>\n",
    "lsfcfs <integer>\n",
    "phi__1 <float>\n",
    "Hz_p_p <float>\n",
    "fit_mo <integer>\n",
    "verbos <integer>\n",
    "showli <integer>\n",
    "clcerr <integer>\n",
    "sg_idl <string>\n",
    "ranges <integer>\n\n\n",
    "ignore <integer>\n\n\n",
};
static const char *const old_example_lines[] = {
    "number       area          frequency        width1           phase        width2 \n",
    "  1       1.81648529E+09  9.76587128E+02  7.99022544E-01  -5.15528738E+00 6.14323470E-01 \n",
};

static const keyword_format old_format = {
    .is_version_3 = false,
    .order_lines = old_order_lines,
    .start_header_widths = {4, 9, 6, 5, 6},
    .example_lines = old_example_lines,
    .names_end_of_lsf = false,
    .correction_level = INT_MIN,
    .type_words = {"  Gauss line ", "Lorentz line ", "  Voigt line ", ""},
};

void read_fitcontrol_old(const char *name, int &npar, int &ref_line, int &nLines, int &ap,
                         int &noise_strt, int &noise_stop, int &lsf_coefs, double &phi_1,
                         double &Hz_pp, double &T_acq, double *par, int &fitmode, int *var_ap_trunc,
                         int &verbose, int &show_line, int &error_calc, char *sage_idl,
                         int &sageidl, int &par_ranges, int &n_fit_strat_steps, int *min_method,
                         int (*user_fit_strat)[strategy_columns], int *n_intervals, int *fit_lsf,
                         parameter_record *fixpar, int (*hxmin)[max_intervals + 1],
                         int (*hxmax)[max_intervals + 1], int *hrange, int &file_corrupt,
                         const double &frscl, int &ignore) {
    double ftol = 0.0; // the format has no tolerance
    int n_patterns = 0;
    char(*const pat_name)[pattern_name_size] = nullptr;
    const keyword_target target = KEYWORD_TARGET_HERE;
    read_keyword_file(name, old_format, target);
}

int write_fitcontrol_old(const int &nLines, const int &ap, const int &noise_strt,
                         const int &noise_stop, const int &lsf_coefs, const double &phi_1,
                         const double &Hz_pp, const double &T_acq, const double *par,
                         const double *errors, const int &fitmode, const int *var_ap_trunc,
                         const int &verbose, const int &show_line, const int &error_calc,
                         const char *sage_idl, const int &par_ranges, const int &n_fit_strat_steps,
                         const int *min_method, const int (*user_fit_strat)[strategy_columns],
                         const int *n_intervals, const int *fit_lsf, const parameter_record *fixpar,
                         const int (*hxmin)[max_intervals + 1],
                         const int (*hxmax)[max_intervals + 1], const double &frscl,
                         const int &ignore) {
    const double ftol = 0.0; // the format has no tolerance
    const int n_patterns = 0;
    const char(*const pat_name)[pattern_name_size] = nullptr;
    const keyword_layout layout = {
        .is_version_3 = false,
        .start_header =
            "number       area          frequency        width1           phase        width2 \n",
        .user = "",
        .host = "",
        .domain = "",
    };
    const control_values values = CONTROL_VALUES_HERE;
    return write_keyword_file(values, layout);
}
