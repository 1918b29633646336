// SPDX-License-Identifier: BSD-3-Clause
// units.cpp -- natural units to internal units and back
//
// Frequencies and widths are counted in spectral points inside the fit, so that a step of the
// minimizer means about the same for every parameter.
#include "model/units.h"

#include "kernel/line_width.h"

static void scale_record(parameter_record &record, double factor) {
    record.value *= factor;
    record.min *= factor;
    record.max *= factor;
}

void divide_record(parameter_record &record, double divisor) {
    record.value /= divisor;
    record.min /= divisor;
    record.max /= divisor;
}

static bool has_gaussian_width(int type) {
    return type == gaussian_line || type == voigt_line;
}

void entry_to_internal_units(double *p, parameter_record *record, double recip, double Hz_pp) {
    const int type = record[width1_par].type;
    p[freq_par] /= Hz_pp;
    divide_record(record[freq_par], Hz_pp);
    if (has_gaussian_width(type) || type == lorentzian_line) {
        p[width1_par] *= recip;
        scale_record(record[width1_par], recip);
    }
    if (has_gaussian_width(type)) {
        p[width1_par] /= kernel::gauss_fwhm_per_width;
        divide_record(record[width1_par], kernel::gauss_fwhm_per_width);
    }
    if (record[width2_par].type == voigt_line) {
        p[width2_par] *= recip;
        scale_record(record[width2_par], recip);
    }
}

int internal_freq_units(const int &nLines, const int &n_patterns, int &npar, double *par,
                        parameter_record *fixpar, const double &recip, const double &Hz_pp) {
    for (int k = 0; k < nLines + n_patterns; ++k)
        entry_to_internal_units(par + pars_per_entry * k, fixpar + pars_per_entry * k, recip,
                                Hz_pp);
    npar = pars_per_entry * (nLines + n_patterns);
    return npar;
}

void Natural_Frequency(const int &nLines, const int &n_patterns, const double *par,
                       const parameter_record *fixpar, const double *second, double *o_par,
                       parameter_record *o_fixpar, double *o_second, const double &recip,
                       const double &Hz_pp) {
    for (int i = 0; i < pars_per_entry * (nLines + n_patterns); ++i) {
        o_par[i] = par[i];
        o_second[i] = second[i];
        o_fixpar[i] = fixpar[i];
    }
    for (int k = 0; k < nLines + n_patterns; ++k) {
        double *p = o_par + pars_per_entry * k;
        double *q = o_second + pars_per_entry * k;
        parameter_record *record = o_fixpar + pars_per_entry * k;
        const int type = record[width1_par].type;
        const auto multiply = [&](int kind, double factor) {
            p[kind] *= factor;
            q[kind] *= factor;
            scale_record(record[kind], factor);
        };
        const auto divide = [&](int kind, double divisor) {
            p[kind] /= divisor;
            q[kind] /= divisor;
            divide_record(record[kind], divisor);
        };
        multiply(freq_par, Hz_pp);
        if (has_gaussian_width(type)) multiply(width1_par, kernel::gauss_fwhm_per_width);
        if (has_gaussian_width(type) || type == lorentzian_line) divide(width1_par, recip);
        if (record[width2_par].type == voigt_line) divide(width2_par, recip);
    }
}
