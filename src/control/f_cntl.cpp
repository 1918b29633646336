// SPDX-License-Identifier: BSD-3-Clause
// f_cntl.cpp -- the version 3 format
#include "control/f_cntl.h"

#include "control/control_file.h"
#include "control/keyword_reader.h"
#include "control/keyword_writer.h"
#include "data/scan.h"

// f__tol is missing here and in the words before it: wording kept
static const char *const version_3_order_lines[] = {
    "file format error in line 2 to 16 \n",
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
    "ranges <integer>\n",
    "ignore <integer>\n",
    "pattrn <integer>\n\n\n",
};
static const char *const version_3_example_lines[] = {
    "number     area          frequency      gausswidth         phase        lorentzwidth \n",
    "  1   1.81648529E+09  9.76587128E+02  7.99022544E-01  -5.15528738E+00 6.14323470E-01 \n",
};

static const keyword_format version_3_format = {
    .is_version_3 = true,
    .order_lines = version_3_order_lines,
    .start_header_widths = {4, 9, max_word, 5, max_word},
    .example_lines = version_3_example_lines,
    .names_end_of_lsf = true,
    .correction_level = 3,
    .type_words = {"  Gauss line ", "Lorentz line ", "  Voigt line ", "  Pattern    "},
};

void read_f_cntl(const char *name, int &npar, int &ref_line, int &nLines, int &ap, int &noise_strt,
                 int &noise_stop, int &lsf_coefs, double &phi_1, double &Hz_pp, double &T_acq,
                 double &ftol, double *par, int &fitmode, int *var_ap_trunc, int &verbose,
                 int &show_line, int &error_calc, char *sage_idl, int &sageidl, int &par_ranges,
                 int &n_fit_strat_steps, int *min_method, int (*user_fit_strat)[strategy_columns],
                 int *n_intervals, int *fit_lsf, parameter_record *fixpar,
                 int (*hxmin)[max_intervals + 1], int (*hxmax)[max_intervals + 1], int *hrange,
                 int &file_corrupt, const double &frscl, int &ignore, int &n_patterns,
                 char (*pat_name)[pattern_name_size]) {
    const keyword_target target = KEYWORD_TARGET_HERE;
    read_keyword_file(name, version_3_format, target);
}

int write_f_cntl(const char *, const int &nLines, const int &ap, const int &noise_strt,
                 const int &noise_stop, const int &lsf_coefs, const double &phi_1,
                 const double &Hz_pp, const double &T_acq, const double &ftol, const double *par,
                 const double *errors, const int &fitmode, const int *var_ap_trunc,
                 const int &verbose, const int &show_line, const int &error_calc,
                 const char *sage_idl, const int &par_ranges, const int &n_fit_strat_steps,
                 const int *min_method, const int (*user_fit_strat)[strategy_columns],
                 const int *n_intervals, const int *fit_lsf, const parameter_record *fixpar,
                 const int (*hxmin)[max_intervals + 1], const int (*hxmax)[max_intervals + 1],
                 const double &frscl, const int &ignore, const int &n_patterns,
                 const char (*pat_name)[pattern_name_size], const char *user, const char *host,
                 const char *domain) {
    const keyword_layout layout = {
        .is_version_3 = true,
        .start_header = "number       area          frequency      gausswidth        phase        "
                        "lorentzwidth \n",
        .user = user,
        .host = host,
        .domain = domain,
    };
    const control_values values = CONTROL_VALUES_HERE;
    return write_keyword_file(values, layout);
}
