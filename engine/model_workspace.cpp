// SPDX-License-Identifier: BSD-3-Clause
// model_workspace.cpp -- residual and Jacobian of a model, one transform for each group and power
// of the time
#include "engine/model.h"

#include "engine/curve.h"
#include "kernel/decay.h"
#include "kernel/elementary.h"
#include "kernel/lanes.h"
#include "kernel/sums.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace engine {

using std::numbers::pi;

// 1/z. Compilers have the quotient of complex numbers in ways of their own; this one is the same
// everywhere.
static std::complex<double> reciprocal(std::complex<double> z) {
    const double size = kernel::hypot(z.real(), z.imag());
    return std::conj(z / size) / size;
}

// (re + i im) times (factor_re + i factor_im), or added to what stands there.
MULTIVERSION static void scale_into(int n, const double *__restrict re, const double *__restrict im,
                                    double factor_re, double factor_im, double *__restrict out_re,
                                    double *__restrict out_im) {
    for (int i = 0; i < n; ++i) {
        out_re[i] += factor_re * re[i] - factor_im * im[i];
        out_im[i] += factor_re * im[i] + factor_im * re[i];
    }
}

MULTIVERSION static void add_scaled(int n, const double *__restrict x, double factor,
                                    const double *__restrict y, double second,
                                    double *__restrict out) {
    for (int i = 0; i < n; ++i) out[i] += factor * x[i] + second * y[i];
}

MULTIVERSION static void multiply(int n, double *__restrict re, double *__restrict im,
                                  const std::complex<double> *__restrict by) {
    const double *const b = reinterpret_cast<const double *>(by);
    for (int i = 0; i < n; ++i) {
        const double x = re[i] * b[2 * i] - im[i] * b[2 * i + 1];
        im[i] = re[i] * b[2 * i + 1] + im[i] * b[2 * i];
        re[i] = x;
    }
}

// out = (n + d)^power x, the first value halved: the decay jumps there from 0.
MULTIVERSION static void times_time(int n, int power, double d, const double *__restrict re,
                                    const double *__restrict im, double *__restrict out_re,
                                    double *__restrict out_im) {
    for (int i = 0; i < n; ++i) {
        const double t = i + d;
        const double factor = power == 0 ? 1.0 : power == 1 ? t : t * t;
        out_re[i] = factor * re[i];
        out_im[i] = factor * im[i];
    }
    out_re[0] *= 0.5;
    out_im[0] *= 0.5;
}

// sum_i t_i^m conj(r_i) s_i for m = 0 to 4, t = (i + d) / n: real parts, then imaginary ones.
template <class V>
[[gnu::always_inline]] static inline void sum_moments(int n, double d, const double *r_re,
                                                      const double *r_im, const double *s_re,
                                                      const double *s_im, double *out) {
    constexpr int moments = 5, lanes = kernel::partial_sums;
    double part[2 * moments][lanes] = {};
    const double step = 1.0 / n;
    const int whole = n / lanes * lanes;
    for (int first = 0; first < lanes; first += kernel::width_of<V>) {
        V re[moments] = {}, im[moments] = {};
        V t;
        double t0[kernel::width_of<V>];
        for (int j = 0; j < kernel::width_of<V>; ++j) t0[j] = first + j + d;
        kernel::load(t, t0);
        for (int i = first; i < whole; i += lanes) {
            V a, b, x, y;
            kernel::load(a, r_re + i);
            kernel::load(b, r_im + i);
            kernel::load(x, s_re + i);
            kernel::load(y, s_im + i);
            V product_re = a * x + b * y, product_im = a * y - b * x;
            const V time = t * step;
#pragma GCC unroll 5
            for (int m = 0; m < moments; ++m) {
                re[m] += product_re;
                im[m] += product_im;
                product_re *= time;
                product_im *= time;
            }
            t += static_cast<double>(lanes);
        }
        for (int m = 0; m < moments; ++m) {
            kernel::store(part[m] + first, re[m]);
            kernel::store(part[moments + m] + first, im[m]);
        }
    }
    for (int i = whole; i < n; ++i) {
        double product_re = r_re[i] * s_re[i] + r_im[i] * s_im[i];
        double product_im = r_re[i] * s_im[i] - r_im[i] * s_re[i];
        const double time = (i + d) * step;
        for (int m = 0; m < moments; ++m) {
            part[m][i - whole] += product_re;
            part[moments + m][i - whole] += product_im;
            product_re *= time;
            product_im *= time;
        }
    }
    for (int m = 0; m < 2 * moments; ++m) out[m] = kernel::total(part[m]);
}

MULTIVERSION_WIDTHS(static void moments_of_products(int n, double d, const double *r_re,
                                                    const double *r_im, const double *s_re,
                                                    const double *s_im, double *out),
                    sum_moments<V>(n, d, r_re, r_im, s_re, s_im, out))

void model_workspace::prepare(const model &of) {
    const std::size_t n = static_cast<std::size_t>(of.points());
    const std::size_t columns = static_cast<std::size_t>(of.columns());
    storage_.resize(10 * n);
    double *next = storage_.data();
    for (pair_of *const p : {&sum_, &shaped_, &work_, &copy_, &backward_}) {
        *p = {next, next + n};
        next += 2 * n;
    }
    stride_ = kernel::padded_values(of.rows_);
    const std::size_t stride = static_cast<std::size_t>(stride_);
    const std::size_t selected =
        static_cast<std::size_t>(of.part_ == channel::both ? of.rows_ / 2 : of.rows_);
    fitted_points_ = static_cast<int>(selected);
    staged_.resize(2 * selected * 3 * of.groups_.size());
    values_.resize(of.types_.size());
    const int rows = kernel::padded_rows(of.columns() + 1);
    jacobian_.assign(static_cast<std::size_t>(rows) * stride, 0.0);
    products_.resize((columns + 1) * (columns + 1));
    curvature_.assign(columns * columns, 0.0);
    moments_.assign(of.groups_.size(), {});
    residual_.assign(stride, 0.0);
    data_.assign(stride, 0.0);
    broaden(of, 0.0);
}

void model_workspace::broaden(const model &of, double fwhm) {
    extra_decay_ = pi * fwhm / of.points();
    const int n = of.points();
    std::fill(data_.begin(), data_.end(), 0.0);
    if (fwhm == 0.0 && !of.cut_) {
        for (int i = 0; i < n; ++i) {
            sum_.re[i] = of.spectrum_[static_cast<std::size_t>(i)].real();
            sum_.im[i] = of.spectrum_[static_cast<std::size_t>(i)].imag();
        }
        put_row(of, sum_, 1.0 / of.noise_sd_, data_.data());
        return;
    }
    const double d = of.when_.first_order_phase / 360.0;
    for (int i = 0; i < n; ++i) {
        const std::complex<double> value =
            of.decay_of_data_[static_cast<std::size_t>(i)] * kernel::exp(-extra_decay_ * (i + d));
        sum_.re[i] = value.real();
        sum_.im[i] = value.imag();
    }
    const kernel::split_vector spectrum =
        of.plan_->transform(sum_.re, sum_.im, work_.re, work_.im, 1.0 / n, true);
    put_row(of, {spectrum.re, spectrum.im}, 1.0 / of.noise_sd_, data_.data());
}

void model_workspace::take_values(const model &of, std::span<const double> x) {
    for (std::size_t k = 0; k < values_.size(); ++k)
        for (int i = 0; i < quantities; ++i)
            values_[k][static_cast<std::size_t>(i)] =
                of.map_.value(static_cast<int>(k), static_cast<quantity>(i), x);
    if (!of.lineshape_.empty()) make_lineshape(of, x);
}

// The lineshape of docs/model.md, equation 8, from its coefficients.
void model_workspace::make_lineshape(const model &of, std::span<const double> x) {
    const int n = of.points();
    const int count = static_cast<int>(of.lineshape_.size());
    std::fill(sum_.re, sum_.re + n, 0.0);
    std::fill(sum_.im, sum_.im + n, 0.0);
    std::size_t next = static_cast<std::size_t>(of.map_.columns());
    for (int j = 0; j < count; ++j) {
        std::complex<double> c = of.lineshape_[static_cast<std::size_t>(j)];
        if (of.lineshape_columns_ > 0 && j != of.held_coefficient_) {
            c = {x[next], x[next + 1]};
            next += 2;
        }
        const int at = (j - count / 2 + n) % n;
        sum_.re[at] += c.real();
        sum_.im[at] += c.imag();
    }
    const kernel::split_vector decay =
        of.plan_->transform(sum_.re, sum_.im, work_.re, work_.im, 1.0 / n, false);
    lineshape_start_ = {decay.re[0], decay.im[0]};
    lineshape_.resize(static_cast<std::size_t>(n));
    const std::complex<double> factor = reciprocal(lineshape_start_);
    for (int i = 0; i < n; ++i)
        lineshape_[static_cast<std::size_t>(i)] =
            std::complex<double>(decay.re[i], decay.im[i]) * factor;
}

// Adds (re + i im) times the curve of entry k with area 1; docs/model.md, equations 1 to 4.
void model_workspace::add_curve(const model &of, int k, double re, double im, pair_of to) const {
    const bool is_pattern = of.types_[static_cast<std::size_t>(k)] == line_type::pattern;
    const kernel::decay curve = decay_of(values_[static_cast<std::size_t>(k)], of.when_, is_pattern,
                                         {re, im}, extra_decay_);
    kernel::add_decay(curve, of.when_.ignored, of.when_.kept, to.re, to.im);
}

static void clear(int n, double *re, double *im) {
    std::fill(re, re + n, 0.0);
    std::fill(im, im + n, 0.0);
}

// Centred spectrum of a decay in copy_, which is overwritten.
model_workspace::pair_of model_workspace::to_spectrum(const model &of, pair_of decay) {
    const kernel::split_vector result =
        of.plan_->transform(decay.re, decay.im, work_.re, work_.im, 1.0 / of.points(), true);
    return {result.re, result.im};
}

// Adds factor times a spectrum, at the fitted points, to a row.
void model_workspace::put_row(const model &of, pair_of spectrum, std::complex<double> factor,
                              double *row) const {
    for (const interval &run : of.runs_) {
        const int length = run.last - run.first + 1;
        const double *const re = spectrum.re + run.first, *const im = spectrum.im + run.first;
        if (of.part_ != channel::dispersion)
            add_scaled(length, re, factor.real(), im, -factor.imag(), row);
        double *const second = of.part_ == channel::both ? row + fitted_points_ : row;
        if (of.part_ != channel::absorption)
            add_scaled(length, im, factor.real(), re, factor.imag(), second);
        row += length;
    }
}

// The model's decay into sum_: of all entries, or of one.
void model_workspace::add_model(const model &of, int only) {
    const int n = of.points();
    clear(n, sum_.re, sum_.im);
    clear(n, shaped_.re, shaped_.im);
    bool any_shaped = false;
    for (const model::group &g : of.groups_) {
        any_shaped = any_shaped || g.takes_lineshape;
        const pair_of to = g.takes_lineshape ? shaped_ : sum_;
        if (g.pattern < 0) {
            for (const int k : g.entries)
                if (only < 0 || k == only)
                    add_curve(of, k, values_[static_cast<std::size_t>(k)][area], 0.0, to);
            continue;
        }
        const int k = g.entries.front();
        if (only >= 0 && k != only) continue;
        clear(n, copy_.re, copy_.im);
        add_curve(of, k, values_[static_cast<std::size_t>(k)][area], 0.0, copy_);
        multiply(n, copy_.re, copy_.im, of.patterns_[static_cast<std::size_t>(g.pattern)].data());
        add_scaled(n, copy_.re, 1.0, copy_.im, 0.0, to.re);
        add_scaled(n, copy_.im, 1.0, copy_.re, 0.0, to.im);
    }
    if (any_shaped) {
        multiply(n, shaped_.re, shaped_.im, lineshape_.data());
        add_scaled(n, shaped_.re, 1.0, shaped_.im, 0.0, sum_.re);
        add_scaled(n, shaped_.im, 1.0, shaped_.re, 0.0, sum_.im);
    }
    if (!of.measured_lineshape_.empty())
        multiply(n, sum_.re, sum_.im, of.measured_lineshape_.data());
    sum_.re[0] *= 0.5;
    sum_.im[0] *= 0.5;
}

double model_workspace::chi_square(const model &of, std::span<const double> x) {
    take_values(of, x);
    add_model(of, -1);
    std::copy(data_.begin(), data_.end(), residual_.begin());
    put_row(of, to_spectrum(of, sum_), -1.0 / of.noise_sd_, residual_.data());
    return kernel::dot(static_cast<int>(stride_), residual_.data(), residual_.data());
}

complex_signal model_workspace::spectrum(const model &of, std::span<const double> x, int only) {
    take_values(of, x);
    add_model(of, only);
    const pair_of s = to_spectrum(of, sum_);
    complex_signal out(static_cast<std::size_t>(of.points()));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {s.re[i], s.im[i]};
    return out;
}

complex_signal model_workspace::correlation(const model &of, std::span<const double> x) {
    const int n = of.points();
    take_values(of, x);
    add_model(of, -1);
    // decay of the data at the fitted points, conjugated: the transform backward is that of the
    // conjugate, conjugated
    clear(n, copy_.re, copy_.im);
    for (const interval &run : of.runs_) {
        for (int i = run.first; i <= run.last; ++i) {
            const int to = (i + n / 2) % n;
            copy_.re[to] = of.spectrum_[static_cast<std::size_t>(i)].real();
            copy_.im[to] = -of.spectrum_[static_cast<std::size_t>(i)].imag();
        }
    }
    const kernel::split_vector data =
        of.plan_->transform(copy_.re, copy_.im, work_.re, work_.im, 1.0 / of.noise_sd_, false);
    for (int i = 0; i < n; ++i) { // data conj(model)
        const double re = data.re[i], im = -data.im[i];
        shaped_.re[i] = re * sum_.re[i] + im * sum_.im[i];
        shaped_.im[i] = im * sum_.re[i] - re * sum_.im[i];
    }
    const kernel::split_vector lags =
        of.plan_->transform(shaped_.re, shaped_.im, work_.re, work_.im, 1.0, false);
    complex_signal out(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {lags.re[i], lags.im[i]};
    return out;
}

double model_workspace::size_of(const model &of, int group) {
    const double *const e = staged(static_cast<std::size_t>(group), 0);
    double sum = 0.0;
    for (int i = 0; i < 2 * fitted_points_; ++i) sum += e[i] * e[i];
    if (of.part_ != channel::both) sum *= 0.5; // half of it lies in the other channel
    return sum / (of.noise_sd_ * of.noise_sd_);
}

complex_signal model_workspace::matches(const model &of, int group) {
    const int n = of.points();
    const std::size_t g = static_cast<std::size_t>(group);
    const double A = values_[static_cast<std::size_t>(of.groups_[g].entries.front())][area];
    const double *const rows = jacobian_.data() + of.columns() * stride_;
    std::copy_n(rows, stride_, residual_.begin());
    add_staged(of, staged(g, 0), A / of.noise_sd_, residual_.data());
    take_back(of, residual_);
    std::copy_n(rows, stride_, residual_.begin());
    curve_of_group(of, g);
    for (int i = 0; i < n; ++i) { // backward_ conj(sum_)
        const double re = backward_.re[i], im = backward_.im[i];
        copy_.re[i] = re * sum_.re[i] + im * sum_.im[i];
        copy_.im[i] = im * sum_.re[i] - re * sum_.im[i];
    }
    const kernel::split_vector lags =
        of.plan_->transform(copy_.re, copy_.im, work_.re, work_.im, 1.0 / of.noise_sd_, false);
    complex_signal out(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {lags.re[i], lags.im[i]};
    return out;
}

double *model_workspace::staged(std::size_t group, int moment) {
    return staged_.data() + (3 * group + static_cast<std::size_t>(moment)) * 2 *
                                static_cast<std::size_t>(fitted_points_);
}

void model_workspace::stage(const model &of, pair_of spectrum, double *to) const {
    for (const interval &run : of.runs_) {
        const int length = run.last - run.first + 1;
        std::copy_n(spectrum.re + run.first, length, to);
        std::copy_n(spectrum.im + run.first, length, to + fitted_points_);
        to += length;
    }
}

// Values at the fitted points as a decay: its real product with a curve's decay is that of the
// values with the curve's spectrum.
void model_workspace::take_back(const model &of, std::span<const double> rows) {
    const int n = of.points();
    clear(n, copy_.re, copy_.im);
    const double *re = rows.data();
    const double *im = of.part_ == channel::both ? re + fitted_points_ : re;
    for (const interval &run : of.runs_) {
        for (int i = run.first; i <= run.last; ++i, ++re, ++im) {
            const int to = (i + n / 2) % n;
            if (of.part_ != channel::dispersion) copy_.re[to] = *re;
            if (of.part_ != channel::absorption) copy_.im[to] = -*im;
        }
    }
    const kernel::split_vector decay =
        of.plan_->transform(copy_.re, copy_.im, work_.re, work_.im, 1.0 / n, false);
    for (int i = 0; i < n; ++i) {
        backward_.re[i] = decay.re[i];
        backward_.im[i] = -decay.im[i];
    }
    backward_.re[0] *= 0.5; // as the first point of every curve
    backward_.im[0] *= 0.5;
}

// The decay of a group with area 1 into sum_.
void model_workspace::curve_of_group(const model &of, std::size_t group) {
    const int n = of.points();
    const model::group &g = of.groups_[group];
    clear(n, sum_.re, sum_.im);
    for (std::size_t m = 0; m < g.entries.size(); ++m)
        add_curve(of, g.entries[m], g.ratios[m], 0.0, sum_);
    if (g.pattern >= 0)
        multiply(n, sum_.re, sum_.im, of.patterns_[static_cast<std::size_t>(g.pattern)].data());
    if (g.takes_lineshape) multiply(n, sum_.re, sum_.im, lineshape_.data());
    if (!of.measured_lineshape_.empty())
        multiply(n, sum_.re, sum_.im, of.measured_lineshape_.data());
}

void model_workspace::transforms_of_groups(const model &of, bool with_moments) {
    const int n = of.points();
    const double d = of.when_.first_order_phase / 360.0;
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        const model::group &g = of.groups_[i];
        curve_of_group(of, i);
        if (with_moments)
            moments_of_products(n, d, backward_.re, backward_.im, sum_.re, sum_.im,
                                moments_[i].data());
        for (int power = 0; power < 3; ++power) {
            if (power > 0 && !g.moves[power]) continue;
            times_time(n, power, d, sum_.re, sum_.im, copy_.re, copy_.im);
            stage(of, to_spectrum(of, copy_), staged(i, power));
        }
    }
}

// What the transform of t^power e has to be multiplied by for the derivative by a column.
static std::complex<double> derivative_factor(quantity q, const affine &by, bool squared,
                                              const values_of_entry &p, double N) {
    const double A = p[area];
    switch (q) {
    case area:
        return by.factor;
    case phase:
        return {0.0, pi / 180.0 * A * by.factor};
    case frequency:
        return {0.0, 2.0 * pi / N * A * by.factor};
    case lorentz_width:
        return -pi / N * A * by.factor;
    default:
        break;
    }
    const double by_square = -pi * pi / (N * N) * A;
    return squared ? by_square * by.factor * by.factor
                   : by_square * 2.0 * p[gauss_width] * by.factor;
}

void model_workspace::columns_from_transforms(const model &of) {
    static constexpr int power_of[quantities] = {0, 1, 2, 0, 1};
    const double noise = of.noise_sd_;
    double *const residual = jacobian_.data() + of.columns() * stride_;
    std::copy(data_.begin(), data_.end(), residual);
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        const int k = of.groups_[i].entries.front();
        const values_of_entry &p = values_[static_cast<std::size_t>(k)];
        add_staged(of, staged(i, 0), -p[area] / noise, residual);
        for (int j = 0; j < quantities; ++j) {
            const quantity q = static_cast<quantity>(j);
            const affine &by = of.map_.of(k, q);
            if (by.column < 0) continue;
            const std::complex<double> factor =
                derivative_factor(q, by, of.map_.at(by.column).squared, p, of.points());
            add_staged(of, staged(i, power_of[j]), factor / noise,
                       jacobian_.data() + by.column * stride_);
        }
    }
}

void model_workspace::add_staged(const model &of, const double *from, std::complex<double> factor,
                                 double *row) const {
    const int n = fitted_points_;
    const double *const re = from, *const im = from + n;
    if (of.part_ == channel::both)
        scale_into(n, re, im, factor.real(), factor.imag(), row, row + n);
    else if (of.part_ == channel::absorption)
        add_scaled(n, re, factor.real(), im, -factor.imag(), row);
    else
        add_scaled(n, im, factor.real(), re, factor.imag(), row);
}

// The lineshape is r = R / R[0] with R = sum_j c_j E_j, E_j an oscillation by whole points. With S
// the decay of the entries that take it, dY/dc_j = FT(S (E_j - r)) / (N R[0]): E_j shifts the
// spectrum of S by whole points.
void model_workspace::lineshape_derivatives(const model &of) {
    const int n = of.points();
    clear(n, sum_.re, sum_.im);
    for (const model::group &g : of.groups_) {
        if (!g.takes_lineshape) continue;
        clear(n, copy_.re, copy_.im);
        for (const int k : g.entries)
            add_curve(of, k, values_[static_cast<std::size_t>(k)][area], 0.0, copy_);
        if (g.pattern >= 0)
            multiply(n, copy_.re, copy_.im,
                     of.patterns_[static_cast<std::size_t>(g.pattern)].data());
        add_scaled(n, copy_.re, 1.0, copy_.im, 0.0, sum_.re);
        add_scaled(n, copy_.im, 1.0, copy_.re, 0.0, sum_.im);
    }
    if (!of.measured_lineshape_.empty())
        multiply(n, sum_.re, sum_.im, of.measured_lineshape_.data());
    sum_.re[0] *= 0.5;
    sum_.im[0] *= 0.5;
    std::copy_n(sum_.re, n, copy_.re);
    std::copy_n(sum_.im, n, copy_.im);
    multiply(n, copy_.re, copy_.im, lineshape_.data());
    pair_of at = to_spectrum(of, copy_);
    std::copy_n(at.re, n, shaped_.re);
    std::copy_n(at.im, n, shaped_.im);
    at = to_spectrum(of, sum_);
    const std::complex<double> factor = reciprocal(lineshape_start_) / (of.noise_sd_ * n);
    double *row = jacobian_.data() + of.map_.columns() * stride_;
    const int count = static_cast<int>(of.lineshape_.size());
    for (int j = 0; j < count; ++j) {
        if (j == of.held_coefficient_) continue;
        for (int i = 0; i < n; ++i) {
            const int from = (i + j - count / 2 + n) % n;
            copy_.re[i] = at.re[from] - shaped_.re[i];
            copy_.im[i] = at.im[from] - shaped_.im[i];
        }
        put_row(of, copy_, factor, row);
        put_row(of, copy_, factor * std::complex<double>(0.0, 1.0), row + stride_);
        row += 2 * stride_;
    }
}

namespace {
// d/dq of a curve is factor t^power times the curve; of an area, of the curve with area 1.
struct time_factor {
    std::complex<double> factor;
    int power;
};
} // namespace

static time_factor time_factor_of(quantity q, const affine &by, bool squared, double g) {
    switch (q) {
    case area:
        return {by.factor, 0};
    case phase:
        return {{0.0, pi / 180.0 * by.factor}, 0};
    case frequency:
        return {{0.0, 2.0 * pi * by.factor}, 1};
    case lorentz_width:
        return {-pi * by.factor, 1};
    default:
        break;
    }
    return {squared ? -pi * pi * by.factor * by.factor : -2.0 * pi * pi * g * by.factor, 2};
}

void model_workspace::add_curvature(const model &of) {
    const std::size_t n = static_cast<std::size_t>(of.columns());
    std::fill(curvature_.begin(), curvature_.end(), 0.0);
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        const int k = of.groups_[i].entries.front();
        const values_of_entry &p = values_[static_cast<std::size_t>(k)];
        const auto product = [&](std::complex<double> factor, int power) {
            const std::complex<double> moment = {moments_[i][static_cast<std::size_t>(power)],
                                                 moments_[i][static_cast<std::size_t>(5 + power)]};
            return (factor * moment).real() / of.noise_sd_;
        };
        for (int a = 0; a < quantities; ++a) {
            const affine &by_a = of.map_.of(k, static_cast<quantity>(a));
            if (by_a.column < 0) continue;
            const bool squared = of.map_.at(by_a.column).squared;
            const time_factor first =
                time_factor_of(static_cast<quantity>(a), by_a, squared, p[gauss_width]);
            for (int b = 0; b <= a; ++b) {
                const affine &by_b = of.map_.of(k, static_cast<quantity>(b));
                if (by_b.column < 0 || (a == area && b == area)) continue;
                const time_factor second =
                    time_factor_of(static_cast<quantity>(b), by_b, of.map_.at(by_b.column).squared,
                                   p[gauss_width]);
                const double scale = b == area ? 1.0 : p[area];
                double value =
                    product(scale * first.factor * second.factor, first.power + second.power);
                if (a == gauss_width && b == gauss_width && !squared)
                    value += product(-2.0 * pi * pi * p[area] * by_a.factor * by_a.factor, 2);
                const std::size_t at_a = static_cast<std::size_t>(by_a.column);
                const std::size_t at_b = static_cast<std::size_t>(by_b.column);
                curvature_[at_a * n + at_b] += value;
                if (at_a != at_b) curvature_[at_b * n + at_a] += value;
            }
        }
    }
}

double model_workspace::linearize(const model &of, std::span<const double> x, bool curvature) {
    take_values(of, x);
    std::fill(jacobian_.begin(), jacobian_.end(), 0.0);
    if (curvature) take_back(of, residual_);
    transforms_of_groups(of, curvature);
    columns_from_transforms(of);
    if (curvature) add_curvature(of);
    if (of.lineshape_columns_ > 0) lineshape_derivatives(of);
    const double *const residual = jacobian_.data() + of.columns() * stride_;
    std::copy_n(residual, stride_, residual_.begin());
    std::fill(products_.begin(), products_.end(), 0.0);
    kernel::add_products(of.columns() + 1, stride_, jacobian_.data(), products_.data());
    return products_.back();
}

std::span<const double> model_workspace::jacobian(int c) const {
    return {jacobian_.data() + c * stride_, static_cast<std::size_t>(stride_)};
}

} // namespace engine
