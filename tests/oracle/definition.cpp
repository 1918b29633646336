// SPDX-License-Identifier: BSD-3-Clause
#include "oracle/definition.h"

#include "run/state.h"

#include <cmath>
#include <cstddef>

namespace definition {

static const real pi = 3.14159265358979323846264338327950288L;
static const value I(0.0L, 1.0L);

static std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

std::vector<real> widened(const double *x, int n) {
    return std::vector<real>(x, x + n);
}

signal transform(const signal &x) {
    const std::size_t n = x.size();
    signal root(n);
    for (std::size_t k = 0; k < n; ++k)
        root[k] = std::polar(1.0L, -2.0L * pi * static_cast<real>(k) / static_cast<real>(n));
    signal result(n);
    for (std::size_t j = 0; j < n; ++j) {
        real re = 0.0L, im = 0.0L; // the library's product looks for infinities, and takes longer
        for (std::size_t k = 0, at = 0; k < n; ++k, at = at + j < n ? at + j : at + j - n) {
            re += x[k].real() * root[at].real() - x[k].imag() * root[at].imag();
            im += x[k].real() * root[at].imag() + x[k].imag() * root[at].real();
        }
        result[j] = value(re, im) / static_cast<real>(n);
    }
    return result;
}

std::vector<real> linked(const std::vector<real> &x) {
    std::vector<real> p = x;
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        for (int j = 0; j < 5; ++j) {
            const int own = 5 * (k - 1) + j;
            const int L = fixpar[own].fixed_to;
            if (L == 0 || L == k) continue;
            const int source = 5 * (L - 1) + j;
            const real own_start = fixpar[own].value;
            const real source_start = fixpar[source].value;
            if (j == 0) {
                p[at(own)] = p[at(source)] * own_start / source_start;
            } else if (j == 2 && p[at(source)] < 0.0L) {
                p[at(own)] = p[at(source)] - (own_start - source_start);
            } else {
                p[at(own)] = p[at(source)] + (own_start - source_start);
            }
        }
    }
    return p;
}

// Lineshape function of the coefficients behind the line and pattern parameters.
static signal lineshape(const std::vector<real> &p) {
    signal r(at(ap), value(1.0L));
    if (lsf_coefs < 1) return r;
    const int first = 5 * (nLines + n_patterns);
    for (int n = 0; n < ap; ++n) {
        value sum = 0.0L;
        for (int j = 0; j < lsf_coefs; ++j)
            sum += value(p[at(first + 2 * j)], p[at(first + 2 * j + 1)]) *
                   std::polar(1.0L, -2.0L * pi * n * (j - lsf_coefs / 2) / ap);
        r[at(n)] = sum;
    }
    const value start = r[0];
    for (value &point : r) point /= start;
    return r;
}

// Curve of entry k in the time domain without lineshapes; factor(n, t) multiplies point n.
template <class F>
static signal decay(const std::vector<real> &p, int k, F factor) {
    const real A = p[at(5 * (k - 1))];
    const real f = p[at(5 * (k - 1) + 1)];
    const int type = fixpar[5 * (k - 1)].type;
    const real g = type == 2 ? 0.0L : p[at(5 * (k - 1) + 2)];
    const real phase = p[at(5 * (k - 1) + 3)];
    const real L = type == 1 ? 0.0L : p[at(5 * (k - 1) + 4)];
    const real d = static_cast<real>(phi_1) / 360.0L;
    const real omega = 2.0L * pi * (f * static_cast<real>(frscl) + ap / 2);
    const real psi = omega * d / ap + pi * phase / 180.0L - pi * static_cast<real>(phi_1) / 360.0L;
    signal s(at(ap));
    for (int n = 0; n < ap; ++n) {
        if (n >= 2 && n >= td_ap_trunc) continue;
        if (n < ignore) continue;
        const real t = (n + d) / ap;
        const real envelope = std::exp(-pi * pi * g * g * t * t - pi * L * t);
        s[at(n)] = A * envelope * std::polar(1.0L, omega * n / ap + psi) * factor(n, t);
    }
    return s;
}

// Time-domain curve of entry k to its spectrum.
static signal finish(signal s, int k, const signal &lsf) {
    const bool pattern = fixpar[5 * (k - 1)].type == 4;
    for (int n = 0; n < ap; ++n) {
        value &point = s[at(n)];
        if (pattern) {
            const double *stored = pat + pattern_slot * static_cast<long>(k - nLines);
            point *= value(stored[n], stored[max_pattern_points + n]);
        }
        if (ref_line == 1) point *= value(re_ref[n], im_ref[n]);
        if (fit_lsf[k] == 1 && lsf_coefs != 0) point *= lsf[at(n)];
    }
    s[0] *= 0.5L;
    const signal spectrum = transform(s);
    if (pattern) return spectrum;
    signal centred(at(ap));
    for (int j = 0; j < ap; ++j) centred[at(j)] = spectrum[at((j + ap / 2) % ap)];
    return centred;
}

signal component(const std::vector<real> &p, int k) {
    return finish(decay(p, k, [](int, real) { return value(1.0L); }), k, lineshape(p));
}

static void add(signal &sum, const signal &term, real factor = 1.0L) {
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += factor * term[i];
}

signal model(const std::vector<real> &p) {
    signal y(at(ap));
    for (int k = 1; k <= nLines + n_patterns; ++k) add(y, component(p, k));
    return y;
}

real chi_square(const signal &y) {
    real sum = 0.0L;
    for (int i = 0; i < ap; ++i) {
        if (wre[i] + wim[i] == 0.0) continue;
        const value x(xre[i], xim[i]);
        const value d = x - y[at(i)];
        const real re = static_cast<real>(wre[i]) * d.real() * d.real();
        const real im = static_cast<real>(wim[i]) * d.imag() * d.imag();
        if (weighting_type == 7) {
            sum += (re + (complex == 2 ? im : 0.0L)) / (std::norm(x) + 1.0L);
        } else if (complex <= 2) {
            sum += (complex != 1 ? re : 0.0L) + (complex != 0 ? im : 0.0L);
        } else if (complex == 3) {
            const real m = std::abs(x) - std::abs(y[at(i)]);
            sum += m * m;
        } else {
            const real m = std::norm(x) - std::norm(y[at(i)]);
            sum += m * m;
        }
    }
    return sum;
}

// Derivative of the spectrum of entry k by its own parameter of kind j.
static signal own_derivative(const std::vector<real> &p, int k, int j) {
    const int type = fixpar[5 * (k - 1)].type;
    const real g = p[at(5 * (k - 1) + 2)];
    const real scale = static_cast<real>(frscl);
    std::vector<real> q = p;
    if (j == 0) q[at(5 * (k - 1))] = 1.0L;
    const auto factor = [&](int, real t) -> value {
        switch (j) {
        case 0:
            return 1.0L;
        case 1:
            return I * (2.0L * pi * scale * t); // omega stands in the turning and in the phase
        case 2:
            return type == 2 ? 0.0L : -2.0L * pi * pi * g * t * t;
        case 3:
            return I * (pi / 180.0L);
        default:
            return type == 1 ? 0.0L : -pi * t;
        }
    };
    return finish(decay(q, k, factor), k, lineshape(p));
}

signal derivative(const std::vector<real> &x, int i) {
    const std::vector<real> p = linked(x);
    const int s = i / 5 + 1;
    const int j = i % 5;
    signal d = own_derivative(p, s, j);
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        const parameter_record &record = fixpar[5 * (k - 1) + j];
        if (k == s || record.fixed_to != s) continue;
        const real ratio =
            j == 0 ? static_cast<real>(record.value) / static_cast<real>(fixpar[i].value) : 1.0L;
        add(d, own_derivative(p, k, j), ratio);
    }
    return d;
}

std::vector<signal> derivatives(const std::vector<real> &x) {
    std::vector<signal> rows;
    for (int i = 0; i < 5 * (nLines + n_patterns); ++i)
        if (fixpar[i].fixed_to == 0) rows.push_back(derivative(x, i));
    return rows;
}

std::vector<std::vector<real>> fisher(const std::vector<signal> &rows) {
    std::vector<std::vector<real>> f(rows.size(), std::vector<real>(rows.size()));
    for (std::size_t a = 0; a < rows.size(); ++a) {
        for (std::size_t b = 0; b < rows.size(); ++b) {
            for (int k = 0; k < ap; ++k) {
                if (wre[k] + wim[k] == 0.0) continue;
                const value u = rows[a][at(k)];
                const value v = rows[b][at(k)];
                if (complex != 1) f[a][b] += u.real() * v.real();
                if (complex == 1 || complex == 2) f[a][b] += u.imag() * v.imag();
            }
        }
    }
    return f;
}

std::vector<std::vector<real>> inverse(const std::vector<std::vector<real>> &a) {
    const std::size_t n = a.size();
    std::vector<std::vector<real>> l(n, std::vector<real>(n));
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            real sum = a[i][j];
            for (std::size_t k = 0; k < j; ++k) sum -= l[i][k] * l[j][k];
            if (i == j) {
                if (!(sum > 0.0L)) return {};
                l[i][i] = std::sqrt(sum);
            } else {
                l[i][j] = sum / l[j][j];
            }
        }
    }
    std::vector<std::vector<real>> inverted(n, std::vector<real>(n));
    for (std::size_t column = 0; column < n; ++column) {
        std::vector<real> y(n);
        for (std::size_t i = 0; i < n; ++i) {
            real sum = i == column ? 1.0L : 0.0L;
            for (std::size_t k = 0; k < i; ++k) sum -= l[i][k] * y[k];
            y[i] = sum / l[i][i];
        }
        for (std::size_t i = n; i-- > 0;) {
            real sum = y[i];
            for (std::size_t k = i + 1; k < n; ++k) sum -= l[k][i] * inverted[k][column];
            inverted[i][column] = sum / l[i][i];
        }
    }
    return inverted;
}

} // namespace definition
