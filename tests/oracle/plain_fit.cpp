// SPDX-License-Identifier: BSD-3-Clause
// plain_fit.cpp -- the fit of lines as it is defined, written down line by line
//
// One exponential per point of every curve, one curve anew for each derivative, four models per
// element of the Fisher matrix. Slow and easy to check; the product's model, gradient, search and
// error bounds are held against it, in their numbers and in their time. Of the product it takes the
// module state and the line search (held by golden sections, tests/unit/minimize), of the
// definition links, chi-square and the inverse.
#include "oracle/plain_fit.h"

#include "minimize/line_search.h"
#include "oracle/definition.h"
#include "run/state.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

namespace plain {

using std::numbers::pi;
typedef std::complex<double> value;
typedef std::vector<double> parameters;

static std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

// The library's own product looks for infinities.
static value product(const value &a, const value &b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

// X[j] = sum_k x[k] exp(-2 pi i j k / n) of every stride-th value, n a power of two and at least 2:
// the transform of the even ones and that of the odd ones.
static void transform(const value *x, value *to, std::size_t n, std::size_t stride,
                      const signal &roots) {
    if (n == 2) {
        to[0] = x[0] + x[stride];
        to[1] = x[0] - x[stride];
        return;
    }
    const std::size_t half = n / 2;
    transform(x, to, half, 2 * stride, roots);
    transform(x + stride, to + half, half, 2 * stride, roots);
    for (std::size_t k = 0; k < half; ++k) {
        const value even = to[k], odd = product(roots[k * stride], to[k + half]);
        to[k] = even + odd;
        to[k + half] = even - odd;
    }
}

// With factor 1/n, the middle of the spectrum in the middle.
static signal spectrum_of(const signal &decay) {
    static signal roots; // of the length of the last call
    const std::size_t n = decay.size();
    if (roots.size() != n) {
        roots.resize(n);
        for (std::size_t k = 0; k < n; ++k)
            roots[k] = std::polar(1.0, -2.0 * pi * static_cast<double>(k) / static_cast<double>(n));
    }
    signal spectrum(n);
    transform(decay.data(), spectrum.data(), n, 1, roots);
    for (value &point : spectrum) point /= static_cast<double>(n);
    std::rotate(spectrum.begin(), spectrum.begin() + static_cast<long>(n / 2), spectrum.end());
    return spectrum;
}

signal decay(const double *line, int points, int kept) {
    const double d = phi_1 / 360.0;
    const double omega = 2.0 * pi * (line[freq_par] * frscl + points / 2);
    const double gauss = pi * pi * line[width1_par] * line[width1_par];
    const double lorentz = pi * line[width2_par];
    const value step = std::polar(1.0, omega / points);
    value turn =
        std::polar(1.0, omega * d / points + pi * line[phase_par] / 180.0 - pi * phi_1 / 360.0);
    signal s(at(points));
    for (int n = 0; n < kept; ++n, turn = product(turn, step)) {
        const double t = (n + d) / points;
        s[at(n)] = line[area_par] * std::exp(-gauss * t * t - lorentz * t) * turn;
    }
    return s;
}

static signal line_spectrum(int k, const parameters &p) {
    const int first = pars_per_entry * (k - 1), type = fixpar[first].type;
    parameters line(p.begin() + first, p.begin() + first + pars_per_entry);
    if (type == lorentzian_line) line[width1_par] = 0.0;
    if (type == gaussian_line) line[width2_par] = 0.0;
    signal s = decay(line.data(), ap, std::clamp(td_ap_trunc, std::min(2, ap), ap));
    std::fill_n(s.begin(), std::min(ignore, ap), 0.0);
    s[0] *= 0.5; // a causal signal counts half at its jump
    return spectrum_of(s);
}

// Those of x with the dependent ones filled in.
static parameters linked(const double *x) {
    const auto p = definition::linked(definition::widened(x, pars_per_entry * nLines));
    return parameters(p.begin(), p.end());
}

static double chi_square(const signal &y) {
    return static_cast<double>(definition::chi_square(definition::signal(y.begin(), y.end())));
}

struct drawn_lines {
    parameters of;
    std::vector<signal> spectra;
    signal sum;
};

static void add(signal &sum, const signal &line, double factor) {
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += factor * line[i];
}

static drawn_lines drawn(const double *x) {
    drawn_lines lines = {linked(x), {}, signal(at(ap))};
    for (int k = 1; k <= nLines; ++k) {
        lines.spectra.push_back(line_spectrum(k, lines.of));
        add(lines.sum, lines.spectra.back(), 1.0);
    }
    return lines;
}

// The sum for other parameters: of what they change, the old spectrum is taken off and the new one
// added.
static signal redrawn(const drawn_lines &before, const double *x) {
    const parameters p = linked(x);
    signal sum = before.sum;
    for (int k = 1; k <= nLines; ++k) {
        const long first = pars_per_entry * (k - 1), end = first + pars_per_entry;
        if (std::equal(p.begin() + first, p.begin() + end, before.of.begin() + first)) continue;
        add(sum, before.spectra[at(k - 1)], -1.0);
        add(sum, line_spectrum(k, p), 1.0);
    }
    return sum;
}

double chi_square_of(const double *x) {
    return chi_square(drawn(x).sum);
}

// One-sided quotients with a step of a part in deriv_p.
void dfnc(double f0, const double *x, double *g) {
    const int n = pars_per_entry * nLines;
    const int group_switch[pars_per_entry] = {amp_fit, freq_fit, width_fit, phase_fit, voigt_fit};
    const drawn_lines before = drawn(x);
    parameters moved(x, x + n);
    for (int j = 0; j < n; ++j) {
        g[j] = 0.0;
        if (fixpar[j].fixed_to != 0 || group_switch[j % pars_per_entry] != 1) continue;
        const bool far = std::fabs(x[j]) > 1e-7;
        const double h = (far ? x[j] : 1.0) / deriv_p;
        moved[at(j)] = far ? x[j] + h : h;
        g[j] = (chi_square(redrawn(before, moved.data())) - f0) / h;
        moved[at(j)] = x[j];
    }
}

static double along_line(const double &x) {
    parameters p(pcom, pcom + ncom);
    for (int j = 0; j < ncom; ++j) p[at(j)] += x * xicom[j];
    return chi_square_of(p.data());
}

static constexpr double chi_square_floor = 1e-10; // one that goes to zero

static double dot(const parameters &a, const parameters &b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

// Nonlinear conjugate gradients of E. Polak and G. Ribiere (Rev. Fr. Inf. Rech. Oper. 16-R1 (1969)
// 35-43): d <- -g + (g - g_before).g / (g_before.g_before) d. Along d goes the line search of the
// product, which tests/unit/minimize/test_line_search.cpp holds against another one.
void frprmn(const int &n, double *p) {
    const std::size_t count = at(n);
    double fp = chi_square_of(p);
    parameters g(count), d(count), change(count);
    dfnc(fp, p, g.data());
    for (std::size_t j = 0; j < count; ++j) d[j] = -g[j];
    for (niter = 1; niter <= itmax; ++niter) {
        ncom = n;
        std::copy_n(p, n, pcom);
        std::copy(d.begin(), d.end(), xicom);
        bool exhausted = false;
        const double along =
            brent_minimum(along_line, bracket_minimum(along_line), brent_itmax, minimum, exhausted);
        for (std::size_t j = 0; j < count; ++j) // a flat direction ends at infinity
            if (std::isfinite(p[j] + along * d[j])) p[j] += along * d[j];
        if (2.0 * std::fabs(minimum - fp) <=
            ftol * (std::fabs(minimum) + std::fabs(fp) + chi_square_floor))
            return;
        const parameters before = g;
        fp = chi_square_of(p);
        dfnc(fp, p, g.data());
        if (n < 1 || dot(before, before) == 0.0) return;
        for (std::size_t j = 0; j < count; ++j) change[j] = g[j] - before[j];
        const double beta = dot(change, g) / dot(before, before);
        for (std::size_t j = 0; j < count; ++j) d[j] = beta * d[j] - g[j];
    }
    niter = itmax;
}

static signal derivative(const double *x, int i) {
    parameters moved(x, x + pars_per_entry * nLines);
    const double h = x[i] != 0.0 ? x[i] / 1e7 : 1e-7;
    moved[at(i)] += h;
    const signal before = drawn(x).sum;
    signal d = drawn(moved.data()).sum;
    for (std::size_t k = 0; k < d.size(); ++k) d[k] = (d[k] - before[k]) / h;
    return d;
}

// Cramer-Rao bounds by definition: both parameters of every matrix element are derived anew.
void error_bounds(const double *vector, double *errors) {
    const int n = pars_per_entry * nLines;
    std::vector<int> free;
    for (int i = 0; i < n; ++i)
        if (fixpar[i].fixed_to == 0) free.push_back(i);
    std::vector<std::vector<definition::real>> fisher(free.size(),
                                                      std::vector<definition::real>(free.size()));
    for (std::size_t i = 0; i < free.size(); ++i)
        for (std::size_t j = 0; j < free.size(); ++j) {
            const signal a = derivative(vector, free[i]), b = derivative(vector, free[j]);
            for (int k = 0; k < ap; ++k) {
                if (wre[k] + wim[k] == 0.0) continue;
                if (complex != 1) fisher[i][j] += a[at(k)].real() * b[at(k)].real();
                if (complex == 1 || complex == 2) fisher[i][j] += a[at(k)].imag() * b[at(k)].imag();
            }
        }
    const auto covariance = definition::inverse(fisher);
    std::fill_n(errors, n, 0.0);
    for (std::size_t q = 0; q < free.size(); ++q)
        errors[free[q]] = covariance.empty() // parameters that cannot be told apart
                              ? std::numeric_limits<double>::quiet_NaN()
                              : 2.0 * sigma * std::sqrt(static_cast<double>(covariance[q][q]));
    for (int i = 0; i < n; ++i) {
        const int L = fixpar[i].fixed_to;
        if (L == 0) continue;
        const int source = pars_per_entry * (L - 1) + i % pars_per_entry;
        errors[i] = errors[source];
        if (i % pars_per_entry == area_par)
            errors[i] = source == i ? 0.0 : errors[source] * vector[i] / vector[source];
    }
}

} // namespace plain
