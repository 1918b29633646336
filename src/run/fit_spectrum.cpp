// SPDX-License-Identifier: BSD-3-Clause
// fit_spectrum.cpp -- from a read signal and a read control file to results
//
// Signal and areas are divided by a common factor while the steps run, so that the gradient by
// an area is comparable with the gradient by a frequency; patterns are multiplied by their norm,
// since their stored signals start at magnitude 1.
#include "run/fit_spectrum.h"

#include "control/f_cntl.h"
#include "control/fit_check.h"
#include "control/fitcontrol_new.h"
#include "control/fitcontrol_old.h"
#include "control/keyword_writer.h"
#include "data/ge_io.h"
#include "errors/error_bounds.h"
#include "model/l_shapes.h"
#include "model/objective.h"
#include "model/units.h"
#include "model/vector_lib.h"
#include "report/exl.h"
#include "report/fit_quality.h"
#include "report/fitres.h"
#include "report/output_signals.h"
#include "report/parameter_matrix.h"
#include "report/parameter_table.h"
#include "report/report_file.h"
#include "run/fit_strategy.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

static int entry_count() {
    return nLines + n_patterns;
}

static void read_reference_line(float *buffer) {
    const std::string name = std::string(path) + sdffnm + ".ref";
    if (verbose > 0) {
        std::printf("using reference line file                  : %s\n", name.c_str());
    }
    int count = 2 * ap;
    readge_(name.c_str(), buffer, &count, 0);
    for (int i = 0; i < ap; ++i) {
        re_ref[i] = static_cast<double>(buffer[2 * i]);
        im_ref[i] = static_cast<double>(buffer[2 * i + 1]);
    }
}

static int start_values_pass() {
    int pass = 1;
    TestInitValueFile(ap, nLines, n_patterns, lsf_coefs, par, fixpar, noise_strt, noise_stop, phi_1,
                      n_fit_strat_steps, var_ap_trunc, min_method, hrange, user_fit_strat, verbose,
                      pass);
    return pass;
}

// Mean magnitude of the signal per channel and entry.
static double mean_magnitude() {
    double sum = 0.0;
    for (int i = 0; i < ap; ++i) sum += std::sqrt(xre[i] * xre[i] + xim[i] * xim[i]);
    return sum / (2.0 * entry_count());
}

// Does something to the area of each entry and to the ends of its range.
static void change_areas(const auto &change) {
    for (int k = 0; k < entry_count(); ++k) {
        const int i = pars_per_entry * k + area_par;
        for (double *value : {&par[i], &fixpar[i].min, &fixpar[i].max}) change(*value);
    }
}

// The area of a pattern belongs to its stored signal, which is divided by its norm.
static void multiply_pattern_areas_by_norm() {
    for (int p = 1; p <= n_patterns; ++p) {
        if (nLines + p < 1) continue; // fewer lines than none: nothing is fitted
        const int i = pars_per_entry * (nLines + p - 1) + area_par;
        for (double *value : {&par[i], &fixpar[i].value, &fixpar[i].min, &fixpar[i].max})
            *value *= pattern_norm[p];
    }
}

static void divide_pattern_areas_by_norm(double *values, double *errors,
                                         parameter_record *records) {
    for (int p = 1; p <= n_patterns; ++p) {
        const int i = pars_per_entry * (nLines + p - 1) + area_par;
        values[i] /= pattern_norm[p];
        errors[i] /= pattern_norm[p];
        divide_record(records[i], pattern_norm[p]);
    }
}

static void scale_problem() {
    scalefactor = mean_magnitude();
    if (entry_count() > 0 && !(scalefactor > 0.0 && std::isfinite(scalefactor))) {
        std::printf("signal has no finite magnitude above zero  : not scaled\n");
        scalefactor = 1.0;
    }
    if (verbose > 0)
        std::printf("Computed scalefactor for better amp gradients : %1.16e\n", scalefactor);
    for (int i = 0; i < ap; ++i) {
        xre[i] /= scalefactor;
        xim[i] /= scalefactor;
    }
    Copy_Vector(ap, xre, xre_copy);
    Copy_Vector(ap, xim, xim_copy);
    Truncate_Spectrum(ap, var_ap_trunc[1], xre, xim, lookup);
    change_areas([](double &value) { value /= scalefactor; });
    multiply_pattern_areas_by_norm();
}

static void undo_scaling() {
    for (int i = 0; i < ap; ++i) {
        xre[i] *= scalefactor;
        xim[i] *= scalefactor;
    }
    change_areas([](double &value) { value *= scalefactor; });
}

static void print_not_fitted_box() {
    std::printf("**********************************************\n");
    std::printf("*   Spectrum is not fitted due to errors in  *\n");
    std::printf("*           * initial value file             *\n");
    std::printf("*           * or command line                *\n");
    std::printf("**********************************************\n");
}

static bool followed_line_exists() {
    return show_line >= 1 && show_line <= entry_count();
}

static double followed_frequency() {
    return followed_line_exists() ? par[pars_per_entry * (show_line - 1) + freq_par] : 0.0;
}

static void run_strategy() {
    for (int i = 1; i <= n_fit_strat_steps; ++i) {
        const int *row = user_fit_strat[i];
        h_cur_range = hrange[i];
        Fit_Strategy_Step(min_method[i], var_ap_trunc[i], i, row[ampli_column], row[frequ_column],
                          row[width_column], row[phase_column], row[voigt_column],
                          row[lsfft_column], row[wtype_column], row[convo_column],
                          row[niter_column], row[cmplx_column]);
        Copy_Vector(ap, xre_copy, xre);
        Copy_Vector(ap, xim_copy, xim);
        Truncate_Spectrum(ap, var_ap_trunc[i + 1], xre, xim, lookup);
    }
}

// Follows the drift of the reference line: the corrected signal has it where it started, in phase.
static void correct_frequency_shift(double frequency_before) {
    const double shift = (followed_frequency() - frequency_before) * frscl;
    if (verbose > 0) std::printf("Frequency shift applied on  spectrum [pnts] : %e\n", shift);
    if (!followed_line_exists()) return;
    Shift_Original(ap, shifted_xre, shifted_xim, shift, shifted_xre, shifted_xim, lookup);
    Correct_Zo_Phase(verbose, ap, par[pars_per_entry * (show_line - 1) + phase_par], phi_1,
                     shifted_xre, shifted_xim);
}

static void write_signals(const output_name *names, float *buffer) {
    write_output_signal(names[org_signal].data, ap, xre, xim, buffer);
    std::fflush(stdout);
    write_output_signal(names[cor_signal].data, ap, shifted_xre, shifted_xim, buffer);
    std::fflush(stdout);
    write_output_signal(names[fit_signal].data, ap, yre, yim, buffer);
    std::fflush(stdout);
    for (int i = 0; i < ap; ++i) {
        buffer[2 * i] = static_cast<float>(xre[i] - yre[i]);
        buffer[2 * i + 1] = static_cast<float>(xim[i] - yim[i]);
    }
    write_interleaved(names[res_signal].data, ap, buffer);
    std::fflush(stdout);
}

static void write_fit_without_ignore(const output_name *names, float *buffer) {
    const int ignore_of_fit = ignore;
    ignore = 0;
    minimum = chi_square_of(par);
    write_output_signal(names[fit0_signal].data, ap, yre, yim, buffer);
    std::fflush(stdout);
    ignore = ignore_of_fit;
}

static bool verbose_file_may_be_written() {
    char name[sizeof strtvalfnm];
    std::snprintf(name, sizeof name, "%s", strtvalfnm);
    name_verbose_file(name);
    return may_be_replaced(name);
}

static void write_start_value_files() {
    if (pattern_enable == 1) {
        divide_pattern_areas_by_norm(par, errpar, fixpar);
        if (verbose_file_may_be_written())
            write_varokel_strtval_file(
                strtvalfnm, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp, T_acq,
                ftol, par, errpar, fitmode, var_ap_trunc, verbose, show_line, error_calc, sage_idl,
                par_ranges, n_fit_strat_steps, min_method, user_fit_strat, n_intervals, fit_lsf,
                fixpar, hxmin, hxmax, frscl, ignore, n_patterns, pat_name);
        if (may_be_replaced(compact_name))
            write_f_cntl(strtvalfnm, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp,
                         T_acq, ftol, par, errpar, fitmode, var_ap_trunc, verbose, show_line,
                         error_calc, sage_idl, par_ranges, n_fit_strat_steps, min_method,
                         user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax, frscl, ignore,
                         n_patterns, pat_name, user, host, domain);
    } else if (may_be_replaced(compact_name)) {
        write_fitcontrol_old(nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp, T_acq,
                             par, errpar, fitmode, var_ap_trunc, verbose, show_line, error_calc,
                             sage_idl, par_ranges, n_fit_strat_steps, min_method, user_fit_strat,
                             n_intervals, fit_lsf, fixpar, hxmin, hxmax, frscl, ignore);
    }
}

// A word of a shell command: as it is when no character of it means something to a shell.
static std::string shell_word(const std::string &text) {
    static const char plain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                "0123456789./_-+=:,@%";
    if (text.find_first_not_of(plain) == std::string::npos) return text;
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// The copies are the templates into which the GE environment puts the signals.
static void copy_ge_data() {
    static const char *const endings[] = {".org", ".fit", ".res"};
    const std::string base = std::string(".ddd.") + fnm;
    for (const char *ending : endings) std::printf("%s\n", (base + ending).c_str());
    std::fflush(stdout);
    const std::string data = std::string(path) + base;
    for (const char *ending : endings) {
        const std::string line = "cp " + shell_word(data) + " " + shell_word(data + ending);
        if (std::system(line.c_str()) != 0) std::printf("copy failed : %s\n", line.c_str());
    }
}

static void print_input_names() {
    if (verbose <= 0) return;
    std::printf("Fitting will be performed on               : %s\n",
                (std::string(path) + sdffnm).c_str());
    std::printf("using start value / fitting condition file : %s\n", strtvalfnm);
}

// Lineshape and truncation as the first step finds them.
static void begin_model() {
    if (lsf_coefs >= 1) {
        ParArrayToLineShapeFunction(lsf_coefs, ap, npar, par, r_lsf, i_lsf, lookup);
        if (verbose > 0) std::printf("Fourier coefficient lineshape function fit active \n");
    }
    if (entry_count() != 0) spec = 1;
    td_ap_trunc = var_ap_trunc[1];
    // the truncation after the last step repeats it
    var_ap_trunc[n_fit_strat_steps + 1] = var_ap_trunc[n_fit_strat_steps];
}

static void print_chi_square_before(double scaled) {
    if (verbose <= 0) return;
    std::printf("Chi-square before minimization             : %1.16e\n", chi_before);
    std::printf("Scaled chi-square before minimization      : %1.16e\n", scaled);
}

// The values in the units of the user, as table and matrix files.
static void report_parameters(double *values, double *errors, parameter_record *records) {
    Natural_Frequency(nLines, n_patterns, par, fixpar, errpar, values, records, errors, T_acq,
                      Hz_pp);
    divide_pattern_areas_by_norm(values, errors, records);
    for (int k = 1; k <= entry_count(); ++k) lsf_area[k] = values[pars_per_entry * (k - 1)];
    if (verbose > 0) print_parameter_table(values, errors);
    Write_Parameter_Matrix((std::string(fnm) + ".mat").c_str(), values);
    Write_Parameter_Matrix((std::string(fnm) + ".err").c_str(), errors);
    print_dead_time_report();
}

// With the weights of the last step, and without any.
static void report_chi_square_after(double quality) {
    chi_after = chi_square_of(par);
    if (verbose > 0) {
        std::printf("\nWeighted chi-square after minimization     : %g\n", chi_after);
    }
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 1.0; // stay at 1.0 for the rest of the run
    dummy1 = weighting_type;
    weighting_type = 1;
    true_chi = chi_square_of(par);
    weighting_type = dummy1;
    if (verbose > 0) {
        std::printf("Non weighted chi-square after minimization : %g\n", true_chi);
        std::printf("Fit quality number after fit               : %f\n",
                    static_cast<double>(static_cast<float>(quality)));
    }
}

static void write_results(const output_name *names, double quality, float *buffer) {
    if (sageidl == 1) write_output_headers(names);
    write_signals(names, buffer);
    if (par_ranges == 2) par_ranges = 0; // for good: the written files carry ranges
    write_fit_without_ignore(names, buffer);
    write_start_value_files();
    write_fit_result(quality);
    write_spreadsheet(quality, minimum); // of what .fit0 shows
    if (sageidl == 2) copy_ge_data();
    write_output_signal(names[fit0_signal].data, ap, yre, yim, buffer);
}

void FitSpectrum() {
    const long long parameters = pars_per_entry * static_cast<long long>(entry_count());
    const scratch<parameter_record> o_fixpar(
        parameters,
        " Memory requested to store o_fixpar[]-struct in FitSpectrum() is not available\n");
    const scratch<double> o_par(
        parameters + 2LL * lsf_coefs,
        " Memory requested to store o_par[] in FitSpectrum() is not available\n");
    const scratch<double> o_errpar(
        parameters + 2LL * lsf_coefs,
        " Memory requested to store o_errpar[] in FitSpectrum() is not available\n");
    const scratch<float> ge_array(
        4LL * ap, " Memory requested to store ge_array[] in void FitSpectrum is not available\n");
    const bool have_storage =
        o_fixpar != nullptr && o_par != nullptr && o_errpar != nullptr && ge_array != nullptr;
    if (file_corrupt == 1 || !have_storage) return;

    output_name names[n_output_signals];
    name_output_signals(names);
    std::snprintf(strtvalfnm_read, sizeof strtvalfnm_read, "%s", strtvalfnm);
    print_input_names();
    if (fitmode == 1 || fitmode == 2) lsf_coefs = 0;
    if (ref_line == 1) read_reference_line(ge_array);

    const int pass = start_values_pass();
    begin_model();
    chi_before = chi_square_of(par);
    scale_problem();
    if (pass != 1) {
        print_not_fitted_box();
        return;
    }

    print_chi_square_before(chi_square_of(par));
    print_fit_quality(complex, hrange[1], sigma, scalefactor);
    Copy_Vector(static_cast<int>(parameters) + 2 * lsf_coefs, par, par_copy);
    if (verbose > 0) std::printf("calculating parameters                   ...\n");
    const double frequency_before = followed_frequency();

    run_strategy();

    if (lsf_coefs >= 1) write_output_signal("lsf.bin", ap, r_lsf, i_lsf, ge_array);
    minimum = chi_square_of(par);
    const double quality = print_fit_quality(complex, hrange[1], sigma, scalefactor);
    if (verbose > 0) std::printf("Fit Quality Factor : %e\n", quality);
    correct_frequency_shift(frequency_before);
    undo_scaling();
    write_components(names[nln0_signal].data);
    if (error_calc == 1 && ap_noise != 0) compute_error_bounds();

    report_parameters(o_par, o_errpar, o_fixpar);
    report_chi_square_after(quality);
    write_results(names, quality, ge_array);
}
