// SPDX-License-Identifier: BSD-3-Clause
// model.h -- the model of a problem, its residual and its Jacobian
//
// A curve is A e(t) with e(t) = exp(i psi) exp(2 pi i f t - pi L t - pi^2 g^2 t^2), t = (n + d) /
// N. Its derivatives are the curve itself times a power of the time:
//
//   d/dA = e     d/dphi = i c     d/df = 2 pi i t c     d/dL = -pi t c     d/d(g^2) = -pi^2 t^2 c
//
// so area and phase share the transform of e, frequency and Lorentzian width that of t e. Entries
// that move together in all five parameters (the lines of a multiplet) are one group: their sum is
// transformed, not each of them.
//
// Everything is in units of the noise standard deviation, per fitted value: the residual and every
// column of the Jacobian hold the real parts of the fitted points, then the imaginary ones.
//
// Where all points and both channels are fitted, sums over the spectrum are sums over the time
// (Parseval): no curve is transformed, and as all columns of two groups are powers of the time
// times their curves, few moments of each product of two curves hold J^T J.
#pragma once

#include "engine/parameter_map.h"

#include "kernel/aligned.h"
#include "kernel/moments.h"
#include "kernel/transform_plan.h"

#include <memory>
#include <span>
#include <vector>

namespace engine {

// What a fit evaluates again and again, checked and sorted once. Constant, so that many threads may
// share one, each with a workspace of its own.
class model {
  public:
    // Errors: what parameter_map refuses; points, intervals, noise and data that no fit can have.
    static result<model> make(const fit_problem &problem);

    const parameter_map &map() const { return map_; }
    int columns() const { return map_.columns() + lineshape_columns_; }
    int lineshape_columns() const { return lineshape_columns_; }
    // Whether sums over the fitted values are sums over the time.
    bool is_over_time() const {
        return part_ == channel::both && lineshape_columns_ == 0 && rows_ == 2 * when_.points;
    }
    int points() const { return when_.points; }
    const acquisition &when() const { return when_; }
    int rows() const { return rows_; } // fitted values: points, twice for both channels
    std::span<const interval> intervals() const { return runs_; }
    channel part() const { return part_; }
    double noise_sd() const { return noise_sd_; }
    double data_rms() const { return data_rms_; } // of all points, per channel [signal]
    // Points of the decay that hold anything: those before zeros that were filled in, where the
    // curves are cut; else all.
    int measured() const { return measured_; }
    std::vector<double> starts() const; // of the columns, lineshape included
    std::vector<double> given() const;  // the same outside of their windows, too
    // FWHM of a line at the columns x [points].
    double fwhm(int entry, std::span<const double> x) const;
    bool is_pattern(int entry) const {
        return types_[static_cast<std::size_t>(entry)] == line_type::pattern;
    }
    // Whether two entries are of one type and take the same lineshape.
    bool alike(int k, int l) const {
        const std::size_t a = static_cast<std::size_t>(k), b = static_cast<std::size_t>(l);
        return types_[a] == types_[b] && takes_lineshape_[a] == takes_lineshape_[b];
    }
    // Entries that move together, the first of a group, and how many groups there are.
    int groups() const { return static_cast<int>(groups_.size()); }
    const std::vector<int> &entries_of_group(int g) const {
        return groups_[static_cast<std::size_t>(g)].entries;
    }
    // Coefficients of the fitted lineshape, from the columns or as they are.
    std::vector<std::complex<double>> lineshape_of(std::span<const double> x) const;

  private:
    friend class model_workspace;

    // Lines that follow one another in everything, or one pattern.
    struct group {
        std::vector<int> entries;
        std::vector<double> ratios; // of the areas, to the first entry's
        int pattern = -1;
        bool takes_lineshape = false;
        bool moves[3] = {false, false, false}; // whether a column needs e, t e, t^2 e
    };
    void make_groups(const std::vector<entry> &entries);
    void add_coefficients(std::vector<double> &x) const;
    void take_data(const complex_signal &spectrum);
    bool together(const std::vector<entry> &entries, int a, int b) const;

    acquisition when_;
    parameter_map map_;
    std::vector<line_type> types_;
    std::vector<bool> takes_lineshape_; // of each entry
    std::vector<group> groups_;
    std::vector<interval> runs_; // merged and in order
    channel part_ = channel::both;
    double noise_sd_ = 1.0, data_rms_ = 0.0;
    int rows_ = 0, lineshape_columns_ = 0, measured_ = 0;
    complex_signal spectrum_;      // as measured
    complex_signal decay_of_data_; // its decay, cut as the curves are
    bool cut_ = false;             // whether that took anything away
    std::vector<complex_signal> patterns_;
    complex_signal measured_lineshape_;
    std::vector<std::complex<double>> lineshape_;
    int held_coefficient_ = -1; // of the lineshape, whose scale the areas have already
    std::shared_ptr<const kernel::transform_plan> plan_;
};

// The numbers of one evaluation after another. One per thread; its storage is kept from problem to
// problem, so that nothing is allocated while a fit runs.
class model_workspace {
  public:
    // Room for a model, whose data it takes. Errors: std::bad_alloc.
    void prepare(const model &of);
    // From here on data and model are broadened by a Lorentzian of this FWHM [points]; 0: as
    // measured. A broad model sees lines from farther away.
    void broaden(const model &of, double fwhm);

    // Sum of the squared residual over the fitted values [noise_sd^2]; the residual stays.
    // Not finite when the model is not.
    double chi_square(const model &of, std::span<const double> x);
    // Residual and Jacobian at x, and from them
    //   products()   double[(n + 1)^2], n columns; row-major: J^T J in the first n rows and
    //                columns, J^T residual in the last row, the sum of squares in its corner
    // Returned: the sum of squares.
    // Notes:
    //   1. curvature: curvature() is filled, too. The residual has to be that at x then, from a
    //      chi_square(x) just before.
    //   2. Where the last call was a linearize at this x, all is there already, without curvature;
    //      where it was a chi_square, the curves are.
    double linearize(const model &of, std::span<const double> x, bool curvature = false);

    // Of the last chi_square or linearize.
    std::span<const double> residual(const model &of);
    std::span<const double> products() const { return products_; }
    // sum over the fitted values of residual times second derivative, double[n^2]: J^T J less this
    // is half the matrix of second derivatives of the sum of squares. Without the parts of a fitted
    // lineshape.
    std::span<const double> curvature() const { return curvature_; }
    // Column c of the Jacobian of the last linearize, in the order of the residual.
    std::vector<double> jacobian(const model &of, int c);

    // sum_i conj(model[i - lag]) data[i] over the fitted points, up to a factor; lag modulo points.
    complex_signal correlation(const model &of, std::span<const double> x);
    // Residual plus the curves of a group, times its curve with area 1 moved by every lag:
    // sum over the fitted values, lag modulo points. After linearize.
    complex_signal matches(const model &of, int group);
    // Sum of squares of that curve at the fitted values.
    double size_of(const model &of, int group);
    // The model as a centred spectrum over all points [signal]; of one entry alone when it is not
    // -1.
    complex_signal spectrum(const model &of, std::span<const double> x, int entry = -1);

  private:
    struct pair_of {
        double *re, *im;
    };
    // A column of the Jacobian has factor times spectrum `of` in it: t^power times the curve of a
    // group.
    struct term {
        int column, of;
        std::complex<double> factor;
        int group = -1, power = 0;
    };
    // model_workspace.cpp
    void count_spectra(const model &of);
    void prepare_time(const model &of);
    void prepare_spectra(const model &of);
    void take_values(const model &of, std::span<const double> x);
    void add_curve(const model &of, int k, double re, double im, pair_of to) const;
    void take_curves(const model &of, std::span<const double> x);
    void curve_of_group(const model &of, std::size_t group, int only, pair_of to);
    double area_of(const model &of, std::size_t group) const;
    void sum_curves(const model &of);
    pair_of curve(std::size_t group) {
        double *const row = curves_.data() + 2 * group * stride_;
        return {row, row + stride_};
    }
    pair_of to_spectrum(const model &of, pair_of decay);
    void put_row(const model &of, pair_of spectrum, std::complex<double> factor, double *row) const;
    // time_products.cpp
    double residual_over_time(const model &of);
    void products_over_time(const model &of, bool curvature);
    void moments_of_residual(const model &of, bool curvature);
    void moments_of_pairs(const model &of);
    // jacobian.cpp
    void transforms_of_groups(const model &of, bool with_moments);
    void take_residual(const model &of);
    void terms_of_groups(const model &of);
    void products_of_terms(const model &of);
    void stage(const model &of, pair_of spectrum, int to);
    void add_staged(const model &of, int from, std::complex<double> factor, double *row) const;
    double *staged(int spectrum) { return staged_.data() + 2 * spectrum * length_; }
    const double *staged(int spectrum) const { return staged_.data() + 2 * spectrum * length_; }
    // curvature.cpp
    void take_back(const model &of, std::span<const double> rows);
    void take_moments(std::size_t group);
    void add_curvature(const model &of);
    // lineshape_columns.cpp
    void make_lineshape(const model &of, std::span<const double> x);
    void lineshape_terms(const model &of);

    std::vector<values_of_entry> values_;
    kernel::aligned_doubles storage_; // the arrays of one transform each, below, and of curves_
    pair_of sum_{}, shaped_{}, work_{}, copy_{}, backward_{};
    kernel::aligned_doubles curves_; // of the groups, with area 1, as they are transformed
    kernel::aligned_doubles times_;  // (i + d) / n
    std::vector<double> curves_at_;  // x; empty when they are another one's
    std::size_t stride_ = 0;         // of all these arrays: the points, padded with zeros
    // sums over the time: data and residual as decays [noise_sd], moments of each pair of groups
    kernel::aligned_doubles data_decay_, residual_decay_;
    std::vector<std::array<double, 2 * kernel::most_moments>> pairs_;
    std::vector<int> power_; // highest one of the time in a group's columns; -1: it does not move
    // Spectra at the fitted points, real parts, then imaginary ones: those of the groups, of the
    // lineshape, last the residual.
    kernel::aligned_doubles staged_;
    std::vector<std::array<int, 3>> staged_of_; // of a group, by the power of the time; -1: none
    std::vector<term> terms_;
    std::vector<double> of_spectra_;   // their products
    std::vector<double> of_columns_;   // products of the columns with the spectra
    kernel::aligned_doubles residual_; // real parts, then imaginary ones, then zeros
    kernel::aligned_doubles data_, scratch_;
    std::vector<double> products_, curvature_;
    std::vector<std::array<double, 2 * kernel::most_moments>> moments_; // of each group with the
                                                                        // residual
    std::vector<std::complex<double>> lineshape_;                       // its decay
    std::complex<double> lineshape_start_;
    std::vector<double> linearized_at_; // x; empty when the residual is another one's
    long long length_ = 0;              // of a row of staged_, padded with zeros
    int spectra_ = 0;                   // without the residual
    int fitted_points_ = 0;
    double extra_decay_ = 0.0; // per point
};

} // namespace engine
