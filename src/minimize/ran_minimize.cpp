// SPDX-License-Identifier: BSD-3-Clause
// ran_minimize.cpp -- random search with narrowing around the best vector found
//
// A blind sampling of the whole box is followed by passes around the best vector, whose step
// sizes lie between (hi - lo) exp(-3 k^2) and (hi - lo): they shrink with the square of the
// level k, which rises whenever a pass improves the chi-square by less than 0.05 %.
//
// Method: pure and adaptive random search, see R. L. Anderson, J. Am. Stat. Assoc. 48 (1953)
// 789-798; F. J. Solis, R. J.-B. Wets, Math. Oper. Res. 6 (1981) 19-30.
#include "minimize/ran_minimize.h"

#include "kernel/elementary.h"
#include "model/model_context.h"
#include "run/end_run.h"
#include "run/storage.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <initializer_list>

static constexpr double keep_improvement = 0.001;   // above: the last jump is tested by parts
static constexpr double small_improvement = 0.0005; // below: the search narrows
static constexpr double coefficient_range = 2.0;    // of a lineshape coefficient, either side
// For one value inside its range. A centre outside, where the blind samples may leave one, needs
// 130000 in the mean at the worst: one u1 of 2^15 gives the longest step, and its sign has to fit.
static constexpr int max_draws = 10'000'000;

static std::uint32_t generator_state = 0;

void seed_random(unsigned seed) {
    generator_state = static_cast<std::uint32_t>(seed);
}

int random_15_bit() {
    generator_state = generator_state * 214013U + 2531011U;
    return static_cast<int>((generator_state >> 16) & 0x7fffU);
}

// In [-0.5, 1.5): the factor 2 makes the search reach beyond one side of the box's centre.
static double deviate() {
    return 2.0 * random_15_bit() * 0x1p-15 - 0.5;
}

void CopyVector(const int &n, const double *src, double *dst) {
    for (int i = 0; i < n; ++i) dst[i] = src[i];
}

void ShowVector(const int &npar, const int &lsf_coefs, const double *v) {
    std::printf("ShowVector \n");
    std::printf("ShowVector npar      = %d \n", npar);
    std::printf("ShowVector lsf_coefs = %d \n", lsf_coefs);
    for (int i = 0; i < npar + 2 * lsf_coefs; ++i) {
        std::printf("Par[%d] = %E\n", i, v[i]);
    }
    std::fflush(stdout);
}

struct search_range {
    double lo, hi;
};

// One search: what it works on, and the best that it has found.
struct random_search {
    const model_context &model;
    int n;          // parameters, coefficients included
    int samples;    // of a pass
    int max_level;  // K
    double *par;    // trial vector
    double *par_bu; // best vector before the pass
    double *par_min;
    search_range *range;
    int *reported; // 1 where no value inside the range was found
    int kind_switch[pars_per_entry];
    bool lsf_searched;
    double fmin;

    bool searched(int i) const {
        return model.fixpar[i].fixed_to == 0 && kind_switch[i % pars_per_entry] != 0;
    }
    void show(const double *v) const { ShowVector(model.npar, model.lsf_coefs, v); }
};

static void InitParRange(random_search &search) {
    for (int i = 0; i < search.model.npar; ++i) {
        search.range[i] = {search.model.fixpar[i].min, search.model.fixpar[i].max};
        std::printf("parameter[%d] - minpar = %e  maxpar = %e \n", i, search.range[i].lo,
                    search.range[i].hi);
    }
    for (int i = search.model.npar; i < search.n; ++i)
        search.range[i] = {-coefficient_range, coefficient_range};
    std::fflush(stdout);
}

static void CheckPar(const random_search &search, int par_ranges) {
    bool wrong = false;
    for (int i = 0; i < search.n; ++i) {
        const double x = search.par[i];
        const double lo = search.range[i].lo;
        const double hi = search.range[i].hi;
        const bool free = i >= search.model.npar || search.model.fixpar[i].fixed_to == 0;
        if (free && (x < lo || x > hi)) {
            wrong = true;
            std::printf("i n d e p e n d e n t  parameter %d  not ok startvalue = %e  ; "
                        "min-value =  %e max-value = %e\n",
                        i, x, lo, hi);
        } else if (!free && x < lo && x > hi) {
            wrong = true;
            if (par_ranges != 3) {
                std::printf("d e p e n d e n t  parameter %d  not ok startvalue = %e  ; "
                            "min-value =  %e max-value = %e\n",
                            i, x, lo, hi);
            }
        }
    }
    if (wrong) {
        std::printf(" *** Corrupt initial parameter array : \n");
        std::printf(
            " Initial parameter values do not satisfy the parameter boundary conditions \n");
        std::printf(" program terminates ...\n");
        end_run(1);
    }
    std::printf("All initial parameters are O.K. \n");
    std::fflush(stdout);
}

static double box_sample(const search_range &range) {
    return (range.lo + range.hi) / 2.0 + deviate() * (range.hi - range.lo);
}

// Blind sampling of the whole box. The last line parameter and the last coefficient are never
// drawn here.
static void InitRandomSearch(random_search &search) {
    const model_context &model = search.model;
    CopyVector(search.n, search.par, search.par_min);
    std::printf("Calling copy vector\n");
    std::printf("Vector copied! \n");
    std::printf("Vector par equals:\n");
    search.show(search.par);
    std::printf("Vector par_min equals:\n");
    search.show(search.par_min);
    std::printf("\n\nVector copied !\n\n");
    std::printf("InitRandomSearch npar      = %d \n", model.npar);
    std::printf("InitRandomSearch lsf_coefs = %d \n", model.lsf_coefs);
    std::printf("InitRandomSearch ap        = %d \n", model.ap);
    std::printf("InitRandomSearch nLines    = %d \n", model.nLines);
    std::printf("InitRandomSearch N         = %d \n", search.samples);
    std::fflush(stdout);

    search.fmin = model.chi_square(search.par);
    std::printf("Initial function value = %E\n\n", search.fmin);
    for (int sample = 0; sample < search.samples; ++sample) {
        for (int i = 0; i < model.npar - 1; ++i)
            if (search.searched(i)) search.par[i] = box_sample(search.range[i]);
        if (search.lsf_searched)
            for (int i = model.npar; i < search.n - 1; ++i)
                search.par[i] = box_sample(search.range[i]);
        const double f = model.chi_square(search.par);
        if (f < search.fmin) {
            std::printf("Minimizing function value = %E\n\n", f);
            search.fmin = f;
            CopyVector(search.n, search.par, search.par_min);
        }
    }
    std::printf("Vector containing minimizing parameters : \n");
    search.show(search.par_min);
    std::printf("Minimum function-value : %E\n\n", search.fmin);
    std::fflush(stdout);
}

// The steps around a centre, up or down by the width of the range times exp(|2 u1| s).
struct narrowed_steps {
    double lo, hi, centre, width, s;

    narrowed_steps(const search_range &range, double centre_of_steps, double minus_k_squared)
        : lo(range.lo), hi(range.hi), centre(centre_of_steps), width(hi - lo), s(minus_k_squared) {}

    double end(double sign, double exponent) const {
        return centre + sign * width * kernel::exp(exponent);
    }
    bool is_inside(double x) const { return lo < x && x < hi; }

    // Whether any step ends inside. From outside it is the longest one, from an end of the range
    // the one next to it (of 2 u1, which has 2^13 values to 1), from within the shortest.
    bool can_end_inside() const {
        for (const double way : {0.0, 0x1p-13, 3.0})
            for (const double sign : {-1.0, 1.0})
                if (is_inside(end(sign, way * s))) return true;
        return false;
    }
    // Steps with a smaller exponent do not reach the range from outside; with room for rounding.
    double least_exponent() const {
        const double outside = centre >= hi ? centre - hi : lo - centre;
        return outside > 0.0 ? kernel::log(outside / width) - 1e-6 : 3.0 * s;
    }
};

// A value around the best one of parameter i, strictly inside its range. Where there is none, the
// best one stays, and that is said once a search.
static double narrowed_sample(const random_search &search, double s, int i) {
    const search_range &range = search.range[i];
    const narrowed_steps steps(range, search.par_min[i], s);
    const int draws = steps.can_end_inside() ? max_draws : 0;
    const double least_exponent = draws > 0 ? steps.least_exponent() : 0.0;
    for (int draw = 0; draw < draws; ++draw) {
        const double u1 = deviate();
        const double u2 = deviate();
        const double exponent = std::fabs(2.0 * u1) * s;
        if (exponent < least_exponent) continue;
        const double x = steps.end(u2 == 0.0 ? 1.0 : u2 / std::fabs(u2), exponent);
        if (steps.is_inside(x)) return x;
    }
    if (search.reported[i] == 0) {
        std::printf("parameter %d : no value inside its search range %e to %e was found, "
                    "old value %e kept\n",
                    i, range.lo, range.hi, steps.centre);
        search.reported[i] = 1;
    }
    return steps.centre;
}

static void RandomPar(random_search &search, int k) {
    const double s = -(static_cast<double>(k) * k);
    for (int i = 0; i < search.model.npar; ++i)
        if (search.searched(i)) search.par[i] = narrowed_sample(search, s, i);
    if (search.lsf_searched)
        for (int i = search.model.npar; i < search.n; ++i)
            search.par[i] = narrowed_sample(search, s, i);
}

// Coordinate-wise test of the last jump: what was better before is taken back.
static void PartUndoPar(random_search &search) {
    for (int i = 0; i < search.model.npar; ++i) {
        if (!search.searched(i)) continue;
        const double jumped = search.par[i];
        search.par[i] = search.par_bu[i];
        const double f = search.model.chi_square(search.par);
        if (f < search.fmin) {
            search.fmin = f;
        } else {
            search.par[i] = jumped;
        }
    }
}

// A previous chi-square of 0 can't be improved; the quotient would be no number and the
// narrowing level would never rise.
static double improvement(double before, double after) {
    return before == 0.0 ? 0.0 : (before - after) / before;
}

static void Random_Minimize(random_search &search) {
    double fprev = search.fmin;
    int k = 1;
    for (;;) {
        CopyVector(search.n, search.par_min, search.par_bu);
        for (int sample = 0; sample < search.samples; ++sample) {
            RandomPar(search, k);
            const double f = search.model.chi_square(search.par);
            if (f < search.fmin) {
                search.fmin = f;
                CopyVector(search.n, search.par, search.par_min);
            }
        }
        CopyVector(search.n, search.par_min, search.par);
        std::printf("\n Current minimizing vector: \n");
        search.show(search.par_min);
        double imp = improvement(fprev, search.fmin);
        std::printf("k-value  %d  normal improvement %E \n", k, imp);
        std::fflush(stdout);
        if (imp > keep_improvement) {
            const double before_undo = search.fmin;
            PartUndoPar(search);
            CopyVector(search.n, search.par, search.par_min);
            std::printf("secondary improvement : %E\n", improvement(before_undo, search.fmin));
            std::fflush(stdout);
            imp = improvement(fprev, search.fmin);
        }
        // Not a number (an infinite chi-square) is no improvement either.
        if (!(imp >= small_improvement)) ++k;
        CopyVector(search.n, search.par_min, search.par_bu);
        if (k > search.max_level) break;
        fprev = search.fmin;
        std::printf("Iteration end.. \n\n");
        std::fflush(stdout);
    }
    std::printf("Iteration end.. \n\n");
    std::printf("Obtained minimum : \n\n");
    std::printf("  Vector containing minimizing parameters : \n");
    search.show(search.par_min);
    std::printf("  Minimum function-value : %E\n\n", search.fmin);
    std::fflush(stdout);
}

// Centres the range of each dependent parameter on its value. The half width is that of the
// record whose index is the link value itself.
static void Change_ranges(int npar, const double *par, parameter_record *fixpar) {
    for (int i = 0; i < npar; ++i) {
        const int L = fixpar[i].fixed_to;
        if (L == 0 || L == i % pars_per_entry || L < 0 || L >= npar) continue;
        const double half_width = std::fabs(fixpar[L].max - fixpar[L].min) / 2.0;
        fixpar[i].min = par[i] - half_width;
        fixpar[i].max = par[i] + half_width;
    }
}

void Ran_ML_Minimize(const int &N, const int &K, const int &ap, const int &nLines,
                     const int &td_ap_trunc, const int &npar, double *par, double *par_bu,
                     double *par_copy, parameter_record *fixpar, const double *xre,
                     const double *xim, double *yre, double *yim, double *wre, double *wim,
                     const double *re_ref, const double *im_ref, double *r_lsf, double *i_lsf,
                     const double &frscl, const double &phi_1, const int &n_patterns,
                     const double *pat, const int &spec, const int &complex,
                     const int &weighting_type, const int &single_line, const int &lsf_coefs,
                     const int &ref_line, const int *fit_lsf, const double *lookup,
                     const int &ignore, const int &amp_fit, const int &freq_fit,
                     const int &width_fit, const int &phase_fit, const int &voigt_fit,
                     const int &lsf_fit_enable, const int &par_ranges) {
    const int n = npar + 2 * lsf_coefs;
    const scratch<double> par_min(n, " Memory requested to store par_min[] in Ran_ML_Minimize( ) "
                                     "...is not available.\n");
    const scratch<double> par_max(n, " Memory requested to store par_max[] in Ran_ML_Minimize( ) "
                                     "...is not available.\n");
    const scratch<search_range> range(n, " Memory requested to store range[] in "
                                         "Ran_ML_Minimize( ) ...is not available.\n");
    const scratch<int> reported(n, " Memory requested to store reported[] in Ran_ML_Minimize( ) "
                                   "...is not available.\n");
    if (par_min == nullptr || par_max == nullptr || range == nullptr || reported == nullptr) return;
    std::printf("Success: Memory requested to store par_max[] and par_min[] in Ran_ML_Minimize() "
                "is available!\n");

    const model_context model = MODEL_CONTEXT_HERE;
    random_search search{.model = model,
                         .n = n,
                         .samples = N,
                         .max_level = K,
                         .par = par,
                         .par_bu = par_bu,
                         .par_min = par_min,
                         .range = range,
                         .reported = reported,
                         .kind_switch = {amp_fit, freq_fit, width_fit, phase_fit, voigt_fit},
                         .lsf_searched = lsf_coefs >= 1 && lsf_fit_enable == 1,
                         .fmin = 0.0};
    seed_random(static_cast<unsigned>(nLines));
    std::printf("Initialize parameter ranges for random fit...\n");
    InitParRange(search);
    std::printf("Check the parameter ranges ...\n");
    CheckPar(search, par_ranges);
    std::printf("Calling InitRandomSearch ...\n");
    InitRandomSearch(search);
    std::printf("Calling Random_Minimize ...\n");
    Random_Minimize(search);
    std::printf("Finished Random_Minimize ...\n");
    CopyVector(n, par_min, par);
    if (par_ranges == 3) {
        std::printf("Changing ranges ...\n");
        Change_ranges(npar, par, fixpar);
    } else {
        std::printf("Ranges not changed ... ranges = %d \n", par_ranges);
    }
    std::fflush(stdout);
}
