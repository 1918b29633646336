// SPDX-License-Identifier: BSD-3-Clause
// chi_square.cpp -- model spectrum of a parameter vector and its distance from the measured one
//
//   chi^2 = sum over the points that count of w (x - y)^2 in the chosen channels
//
// The sum is normalised neither by the points nor by the noise; reports divide by the noise sd.
// Model and channels: docs/model.md, equations 7 to 12.
#include "model/chi_square.h"

#include "model/l_shapes.h"
#include "model/prior_knowledge.h"
#include "model/vector_lib.h"
#include "run/end_run.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>

static void print_width_inconsistency(int k, int L) {
    std::printf("program terminated due to prior knowledge inconsistency : \n");
    std::printf("gaussian linewidth of : \n");
    std::printf("fixed line %d < than linewidth %d \n ", k, L);
    std::printf("it depends on. Because this  M A Y  cause prior knowledge\n");
    std::printf("violation during minimization the fit is terminated.\n\n\n");
}

static void derive_or_end(int k, int n_entries, double *xt, const parameter_record *fixpar) {
    const int L = apply_prior_knowledge(k, n_entries, xt, fixpar);
    if (L == 0) return;
    print_width_inconsistency(k, L);
    std::printf("How to fix: \n Interchange dependent and free line prior knowledge \n\n");
    std::printf("Good luck ... \n");
    end_run(1);
}

static void derive_or_end_turbo(int k, int n_entries, double *xt, const parameter_record *fixpar) {
    const int L = apply_prior_knowledge(k, n_entries, xt, fixpar);
    if (L == 0) return;
    print_width_inconsistency(k, L);
    std::printf("How to fix: \n Interchange dependent and free line prior knowledge \n");
    end_run(1);
}

// Where the curve of an entry is generated, by its type and place.
enum class shape_domain { none, time, frequency, pattern };

static shape_domain domain_of(int k, int type, int n_lines, int n_pat) {
    switch (type) {
    case gaussian_line:
    case voigt_line:
        return shape_domain::time;
    case lorentzian_line:
        return shape_domain::frequency;
    case pattern_line:
        return k > n_lines && k - n_lines <= n_pat ? shape_domain::pattern : shape_domain::none;
    default:
        return shape_domain::none;
    }
}

void entry_spectrum(const int &k, const int &type, const double *p, const int &ap,
                    const int &nLines, const int &td_ap_trunc, const int &ref_line,
                    const int *fit_lsf, const int &lsf_coefs, const double &phi_1, double *out_re,
                    double *out_im, const double *re_ref, const double *im_ref, const double *r_lsf,
                    const double *i_lsf, const double &frscl, const double *lookup,
                    const int &ignore, const int &n_patterns, const double *pat) {
    const double no_width = 0.0;
    const double &g = type == lorentzian_line ? no_width : p[width1_par];
    const double &L = type == gaussian_line ? no_width : p[width2_par];
    const int pattern = k - nLines;
    switch (domain_of(k, type, nLines, n_patterns)) {
    case shape_domain::time:
    case shape_domain::frequency:
        Calculate_ifft_VoigtCurve(k, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, p[area_par],
                                  p[freq_par], g, p[phase_par], L, phi_1, out_re, out_im, re_ref,
                                  im_ref, r_lsf, i_lsf, frscl, lookup, ignore);
        break;
    case shape_domain::pattern:
        Calculate_FD_Pattern(pattern, nLines, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, pat,
                             p[area_par], p[freq_par], g, p[phase_par], L, phi_1, out_re, out_im,
                             re_ref, im_ref, r_lsf, i_lsf, frscl, lookup, ignore);
        break;
    case shape_domain::none:
        Zero_Vector(ap, out_re);
        Zero_Vector(ap, out_im);
        break;
    }
}

void spec_fnc(const int &ap, const int &nLines, const int &npar, double *xt, double *par_copy,
              const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
              const double *im_ref, double *r_lsf, double *i_lsf, const int &td_ap_trunc,
              const int &ref_line, const int *fit_lsf, const double &frscl, const double &phi_1,
              const int &lsf_coefs, const int &single_line, const double *lookup, const int &ignore,
              const int &n_patterns, const double *pat) {
    const int entries = nLines + n_patterns;
    const int vector_length = pars_per_entry * entries + 2 * (lsf_coefs > 0 ? lsf_coefs : 0);
    const scratch<double> dummy_re(
        ap, " Memory requested to store dummy_re[] in spec_fnc() not available\n");
    const scratch<double> dummy_im(ap, "Memory requested to store dummy_im[]"
                                       " in spec_fnc() not available\n");
    const scratch<double> t_yre(ap, "Memory requested to store t_yre[]"
                                    " in spec_fnc() not available\n");
    const scratch<double> t_yim(ap, "Memory requested to store t_yim[]"
                                    " in spec_fnc() not available\n");
    if (dummy_re == nullptr || dummy_im == nullptr || t_yre == nullptr || t_yim == nullptr) return;

    if (lsf_coefs != 0) ParArrayToLineShapeFunction(lsf_coefs, ap, npar, xt, r_lsf, i_lsf, lookup);
    if (single_line != 0) {
        turbo_spec_fnc(ap, nLines, xt, par_copy, fixpar, yre, yim, re_ref, im_ref, td_ap_trunc,
                       r_lsf, i_lsf, ref_line, fit_lsf, frscl, phi_1, lsf_coefs, single_line,
                       lookup, ignore, n_patterns, pat);
        Copy_Vector(vector_length, xt, par_copy);
        return;
    }

    Zero_Vector(ap, yre);
    Zero_Vector(ap, yim);
    const auto add_curve = [&](int k) {
        const double *p = xt + pars_per_entry * (k - 1);
        const int type = fixpar[pars_per_entry * (k - 1)].type;
        const double no_width = 0.0;
        switch (domain_of(k, type, nLines, n_patterns)) {
        case shape_domain::time:
            Calculate_td_VoigtCurve(
                k, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, p[area_par], p[freq_par],
                p[width1_par], p[phase_par], type == gaussian_line ? no_width : p[width2_par],
                phi_1, dummy_re, dummy_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup, ignore);
            Sum_Vector(ap, t_yre, t_yre, dummy_re);
            Sum_Vector(ap, t_yim, t_yim, dummy_im);
            break;
        case shape_domain::frequency:
        case shape_domain::pattern:
            entry_spectrum(k, type, p, ap, nLines, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, phi_1,
                           dummy_re, dummy_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup, ignore,
                           n_patterns, pat);
            Sum_Vector(ap, yre, yre, dummy_re);
            Sum_Vector(ap, yim, yim, dummy_im);
            break;
        case shape_domain::none:
            break;
        }
    };
    for (int k = 1; k <= entries; ++k)
        if (entry_is_free(k, entries, fixpar)) add_curve(k);
    for (int k = 1; k <= entries; ++k) {
        if (entry_is_free(k, entries, fixpar)) continue;
        derive_or_end(k, entries, xt, fixpar);
        add_curve(k);
    }
    Calculate_Spectrum(ap, t_yre, t_yim, lookup);
    Sum_Vector(ap, yre, yre, t_yre);
    Sum_Vector(ap, yim, yim, t_yim);
    Copy_Vector(vector_length, xt, par_copy);
}

void turbo_spec_fnc(const int &ap, const int &nLines, double *xt, double *par_copy,
                    const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
                    const double *im_ref, const int &td_ap_trunc, double *r_lsf, double *i_lsf,
                    const int &ref_line, const int *fit_lsf, const double &frscl,
                    const double &phi_1, const int &lsf_coefs, const int &single_line,
                    const double *lookup, const int &ignore, const int &n_patterns,
                    const double *pat) {
    const int entries = nLines + n_patterns;
    const int s = single_line;
    if (s < 1 || s > entries) return;
    bool changed = false;
    for (int j = 0; j < pars_per_entry; ++j) {
        const int i = pars_per_entry * (s - 1) + j;
        changed = changed || xt[i] != par_copy[i];
    }
    if (!changed) return;

    const scratch<double> curve_re(ap, " Memory requested to store array xre : not available");
    const scratch<double> curve_im(ap, " Memory requested to store array xre : not available");
    if (curve_re == nullptr || curve_im == nullptr) return;
    const auto curve_of = [&](int k, const double *vector) {
        const int at = pars_per_entry * (k - 1);
        entry_spectrum(k, fixpar[at].type, vector + at, ap, nLines, td_ap_trunc, ref_line, fit_lsf,
                       lsf_coefs, phi_1, curve_re, curve_im, re_ref, im_ref, r_lsf, i_lsf, frscl,
                       lookup, ignore, n_patterns, pat);
    };
    const auto exchange_curve = [&](int k) {
        curve_of(k, par_copy);
        Dif_Vector(ap, yre, yre, curve_re);
        Dif_Vector(ap, yim, yim, curve_im);
        curve_of(k, xt);
        Sum_Vector(ap, yre, yre, curve_re);
        Sum_Vector(ap, yim, yim, curve_im);
    };
    exchange_curve(s);
    for (int k = 1; k <= entries; ++k) {
        if (k == s || !entry_follows(k, s, fixpar)) continue;
        derive_or_end_turbo(k, entries, xt, fixpar);
        exchange_curve(k);
    }
}

// (|x|^2 + 1) of a point: the divisor of weighting type 7, after which strong points count less.
static double damped_magnitude(double re, double im) {
    return re * re + 1.0 + im * im;
}

double fnc(const int &ap, const int &nLines, const int &td_ap_trunc, const int &npar, double *xt,
           double *par_copy, const parameter_record *fixpar, const double *xre, const double *xim,
           double *yre, double *yim, double *wre, double *wim, const double *re_ref,
           const double *im_ref, double *r_lsf, double *i_lsf, const double &frscl,
           const double &phi_1, const int &n_patterns, const double *pat, const int &spec,
           const int &complex, const int &weighting_type, const int &single_line,
           const int &lsf_coefs, const int &ref_line, const int *fit_lsf, const double *lookup,
           const int &ignore) {
    if (spec == 1) {
        spec_fnc(ap, nLines, npar, xt, par_copy, fixpar, yre, yim, re_ref, im_ref, r_lsf, i_lsf,
                 td_ap_trunc, ref_line, fit_lsf, frscl, phi_1, lsf_coefs, single_line, lookup,
                 ignore, n_patterns, pat);
    }
    if (weighting_type == 3) {
        Copy_Vector(ap, yre, wre);
        Copy_Vector(ap, yim, wim);
    }
    double sum = 0.0;
    for (int i = 0; i < ap; ++i) {
        if (wre[i] + wim[i] == 0.0) continue;
        const double dr = xre[i] - yre[i];
        const double di = xim[i] - yim[i];
        if (weighting_type == 7) {
            // Type 7 knows the real channel, and both when complex is 2; no other mode.
            const double divisor = damped_magnitude(xre[i], xim[i]);
            sum += wre[i] * dr * dr / divisor;
            if (complex == 2) sum += wim[i] * di * di / divisor;
            continue;
        }
        const double power_x = xre[i] * xre[i] + xim[i] * xim[i];
        const double power_y = yre[i] * yre[i] + yim[i] * yim[i];
        switch (complex) {
        case 0:
            sum += wre[i] * dr * dr;
            break;
        case 1:
            sum += wim[i] * di * di;
            break;
        case 2:
            sum += wre[i] * dr * dr + wim[i] * di * di;
            break;
        case 3: {
            // In modes 3 and 4 the weights only select points.
            const double d = std::sqrt(power_x) - std::sqrt(power_y);
            sum += d * d;
            break;
        }
        case 4: {
            const double d = power_x - power_y;
            sum += d * d;
            break;
        }
        default:
            std::printf("illegal complex value\n");
            break;
        }
    }
    return sum;
}
