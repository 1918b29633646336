// SPDX-License-Identifier: BSD-3-Clause
// fit_check.cpp -- are the loaded start values and the strategy consistent?
//
// Findings keep their wording and their order: batch scripts look for them.
#include "control/fit_check.h"

#include "model/fft.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

static constexpr int many_iterations = 200;

static const char fatal_header[] = "fit_check_message -> fatal error :\n";
static const char fatal_header_blank[] = "fit_check_message -> fatal error : \n";
static const char warning_header[] = "fit_check_message -> warning :\n";
static const char warning_header_blank[] = "fit_check_message -> warning : \n";

// What is checked, and the verdict so far.
struct start_values {
    int ap, nLines, n_patterns, lsf_coefs;
    const double *par;
    const parameter_record *fixpar;
    int noise_strt, noise_stop;
    double phi_1;
    int steps;
    const int *var_ap_trunc, *min_method, *hrange;
    const int (*strategy)[strategy_columns];
    int verbose;
    int pass;

    int entries() const { return nLines + n_patterns; }
    int records() const { return std::max(entries(), 0) * pars_per_entry; }
    int line_records() const {
        return std::clamp(nLines, 0, std::max(entries(), 0)) * pars_per_entry;
    }
    void fatal(const char *header) {
        std::printf("%s", header);
        pass = 0;
    }
    bool any_step_sets(int column) const {
        for (int k = 1; k <= steps; ++k)
            if (strategy[k][column] == 1) return true;
        return false;
    }
};

static void check_counts(start_values &v) {
    if (v.entries() < 1) {
        v.fatal(fatal_header);
        std::printf("\tprogram cannot fit less than one line\n");
    }
    if (v.entries() > max_fitted_entries) {
        v.fatal(fatal_header);
        std::printf("\tprogram cannot fit more than 49 lines and patterns\n");
    }
    if (v.lsf_coefs < 0) {
        v.fatal(fatal_header);
        std::printf("\tprogram cannot fit a negative number of lineshape coefficients \n");
    }
    if (pars_per_entry * v.entries() + 2LL * v.lsf_coefs > max_fitted_parameters) {
        v.fatal("fit_check_message -> implementation restriction :\n");
        std::printf("\t total number of model parameters exceeds maximum 350");
        std::printf(" # line     parameters : %d\n", pars_per_entry * v.nLines);
        std::printf(" # pattern  parameters : %d\n", pars_per_entry * v.n_patterns);
        std::printf(" # lsf      parameters : %d\n", 2 * v.lsf_coefs);
        std::printf(">> reduce number of lines to fit or \n   reduce number of lineshape "
                    "coefficients \n");
    }
}

static void check_noise_and_delay(start_values &v) {
    // Both negative ends are printed as fatal and do not forbid the fit: deliberate.
    if (v.noise_stop < 0) {
        std::printf("%s", fatal_header);
        std::printf("spectral point number end of noise interval < 0 \n ");
        std::printf(">> enter a positiv number \n"); // wording kept
    }
    if (v.noise_strt < 0) {
        std::printf("%s", fatal_header);
        std::printf("spectral point number start of noise interval < 0 \n");
        std::printf(">> enter a positiv number \n"); // wording kept
    }
    if (v.noise_strt > v.noise_stop) {
        v.fatal(fatal_header);
        std::printf(
            "starting spectral point number of noise region is higher than ending point number\n");
        std::printf(">> interchange starting and ending point\n");
    }
    if (v.phi_1 < 0.0) {
        std::printf("%s", warning_header);
        std::printf("the first order phase due to acquisition  d e l a y  is a  positive number\n");
        std::printf("acquisition delay %E : degrees which means that acquisition start before t=0 "
                    "\n",
                    v.phi_1);
        std::printf(">> is this wanted ? \n");
    }
}

static void fatal_in_step(start_values &v, int k) {
    v.fatal(fatal_header);
    std::printf("fit strategy error in step %d\n", k);
}

static void check_truncation(start_values &v) {
    for (int k = 1; k <= v.steps; ++k) {
        if (v.var_ap_trunc[k] < 0) {
            fatal_in_step(v, k);
            std::printf("spectrum cannot be truncated after a negative number of points");
            std::printf(">> choose a positive number \n");
        }
        if (v.var_ap_trunc[k] > v.ap) {
            fatal_in_step(v, k);
            std::printf("spectrum cannot be truncated after a point number \n  bigger than");
            std::printf(" the number of points sampled : (%d)\n", v.ap);
            std::printf(">> choose a number between 1 and %d \n", v.ap);
        }
    }
}

static void check_method(start_values &v) {
    for (int k = 1; k <= v.steps; ++k) {
        if (v.min_method[k] != 1 && v.min_method[k] != 2) {
            fatal_in_step(v, k);
            std::printf("illegal minimization method\n");
            std::printf(">> two possibilities : 1: random minimization \n");
            std::printf("                       2: conjugate gradients \n");
        }
        if (v.min_method[k] == 1 && v.verbose >= 3) {
            std::printf("fit_check_message -> note :\n");
            std::printf("maximum number of iterations is limited\n");
            std::printf("in random fit strategy step %d by software to 20\n", k);
        }
    }
}

static void check_range(start_values &v) {
    for (int k = 1; k <= v.steps; ++k) {
        if (v.hrange[k] >= 0 && v.hrange[k] <= v.ap) continue;
        fatal_in_step(v, k);
        std::printf("illegal fit range (i.e. total # of fd points) : %d\n", v.hrange[k]);
        std::printf(">> value is sum over sub ranges and its value\n");
        std::printf("   should be between 1 and %d\n", v.ap);
    }
}

static void check_convolution(start_values &v) {
    int alignments = 0;
    for (int k = 1; k <= v.steps; ++k) {
        const int choice = v.strategy[k][convo_column];
        if (choice == 1) ++alignments;
        if (choice >= 0 && choice <= 1) continue;
        v.fatal(fatal_header_blank);
        std::printf("range error in convolution/no convolution \n");
        std::printf("choice in fit strategy step %d \n", k);
        std::printf(">> value is either 1 (convolution before fit)\n");
        std::printf("                or 0 (no convolution before fit)\n");
    }
    if (alignments > 1 && v.verbose > 2) {
        std::printf("%s", warning_header_blank);
        std::printf("convolution is used in more than one fit strategy step \n");
    }
}

static void check_iterations(start_values &v) {
    for (int k = 1; k <= v.steps; ++k) {
        const int limit = v.strategy[k][niter_column];
        if (limit < 1) {
            v.fatal(fatal_header_blank);
            std::printf("illegal number of iterations in fit strategy step %d  \n", k);
        }
        if (limit > many_iterations && v.verbose > 2) {
            std::printf("%s", warning_header_blank);
            std::printf("number of iterations allowed in fit strategy step %d", k);
            std::printf(" is very large namely : %d \n", limit);
        }
    }
}

static void check_mode(start_values &v) {
    for (int k = 1; k <= v.steps; ++k) {
        const int mode = v.strategy[k][cmplx_column];
        if (mode >= 0 && mode <= 4) continue;
        v.fatal(fatal_header_blank);
        std::printf("illegal spectrum mode fit is wanted in fit strategy step %d  \n", k);
        std::printf(">> allowed spectrum mode fits : 0 = absorption spectrum fit\n");
        std::printf("                                1 = dispersion spectrum fit\n");
        std::printf("                                2 = complex    spectrum fit\n");
        std::printf("                                3 = magnitude  spectrum fit\n");
        std::printf("                                4 = power      spectrum fit\n");
    }
}

static void warn_of_groups(const start_values &v) {
    const auto warn = [&](int column, bool wanted, const char *text) {
        if (!wanted || v.any_step_sets(column)) return;
        std::printf("%s", warning_header_blank);
        std::printf("%s", text);
    };
    const bool talkative = v.verbose > 2;
    warn(ampli_column, true, "area parameters will not be fitted \n");
    warn(frequ_column, talkative, "frequency parameters will not be fitted \n");
    warn(width_column, talkative, "gaussian linewidth  parameters will not be fitted \n");
    warn(phase_column, talkative, "zero order phase parameters will not be fitted \n");
    warn(voigt_column, talkative, "lorentzian decay parameters will not be fitted \n");
}

static void check_steps(start_values &v) {
    if (v.steps < 1) {
        v.fatal(fatal_header);
        std::printf("number of fit strategy steps should at least be 1\n");
        std::printf(">> add at least one line starting with @ \n");
        std::printf("   e.g.: \n");
        std::printf("   @ 2 1024  1  1  1  1  1  0  1  0  550   2  1  1 1023 \n");
        return;
    }
    check_truncation(v);
    check_method(v);
    check_range(v);
    if (v.pass == 1 && !v.any_step_sets(lsfft_column) && v.verbose > 2) {
        std::printf("%s", warning_header_blank);
        std::printf("lsf parameters will not be  fitted \n");
    }
    if (v.pass == 1) check_convolution(v);
    if (v.pass == 1) check_iterations(v);
    if (v.pass == 1) check_mode(v);
    if (v.pass == 1 && v.ap > 0) warn_of_groups(v);
}

static void check_types(start_values &v) {
    for (int j = 0; j < v.records(); ++j) {
        const int type = v.fixpar[j].type;
        if (type >= gaussian_line && !(type > pattern_line && v.pass == 1)) continue;
        v.fatal(fatal_header_blank);
        std::printf("line %d  has an unknown lineshape type : \n%d\n", j / pars_per_entry + 1,
                    type);
        std::printf(">> available analytic lineshape types : 1 = Gaussian   \n");
        std::printf("                                        2 = Lorentzian \n");
        std::printf("                                        3 = Voigt      \n");
        std::printf("                                        4 = Pattern    \n");
    }
}

static void warn_of_missing_shape(const start_values &v, const char *first, const char *second) {
    std::printf("%s%s%s fit strategy step(s) : ", warning_header_blank, first, second);
    // the width switch in both warnings: deliberate
    for (int k = 1; k <= v.steps; ++k)
        if (v.strategy[k][width_column] == 1) std::printf("%d ", k);
    std::printf("\n");
}

static void check_shapes(const start_values &v, int pass_before) {
    if (v.steps < 1) return;
    int gaussian = 0;
    int lorentzian = 0;
    if (pass_before == 1) {
        for (int j = 0; j < v.line_records(); ++j) {
            const int type = v.fixpar[j].type;
            if (type == gaussian_line || type == voigt_line) ++gaussian;
            if (type == lorentzian_line || type == voigt_line) ++lorentzian;
        }
    }
    if (v.any_step_sets(width_column) && gaussian == 0)
        warn_of_missing_shape(v, "only lorentzian lineshapes in model :\n",
                              "Gaussian decay time constant fit wanted in \n");
    if (v.any_step_sets(voigt_column) && lorentzian == 0 && v.verbose > 2)
        warn_of_missing_shape(v, "only Gaussian lineshapes in model :\n",
                              "Lorentzian decay time constant fit wanted in \n");
}

static void compare_with_prior_knowledge(const start_values &v) {
    for (int j = 0; j < v.records(); ++j) {
        if (v.par[j] == v.fixpar[j].value) continue;
        std::printf("WARNING tsts  initial value file inconsistency in "); // wording kept
        const int type = v.fixpar[j].type;
        if (type == lorentzian_line) std::printf("Lorentz line ");
        if (type == voigt_line) std::printf("  Voigt line ");
        if (type == gaussian_line) std::printf("  Gauss line ");
        std::printf("%d parameter %d\n", j / pars_per_entry + 1, j);
    }
}

// Linked widths of unlike line types, named by the line that is followed first. A follower is
// looked at once, for a file may state ten thousand lines.
static void check_width_links(start_values &v) {
    std::vector<std::array<int, 3>> found; // followed, follower, width
    const int lines = v.line_records() / pars_per_entry;
    for (int j = 2; j <= lines; ++j)
        for (const int width : {width1_par, width2_par}) {
            const parameter_record &own = v.fixpar[pars_per_entry * (j - 1) + width];
            const int i = own.fixed_to;
            if (i >= 1 && i < j && own.type != v.fixpar[pars_per_entry * (i - 1) + width].type)
                found.push_back({i, j, width});
        }
    std::sort(found.begin(), found.end());
    for (const auto &[followed, follower, width] : found) {
        v.pass = 0;
        std::printf("illegal linewidth prior knowledge line %d and line %d %s: linetype "
                    "mismatch\n",
                    followed, follower, width == width2_par ? " " : "");
    }
}

static void check_links(start_values &v) {
    static const char *const kinds[] = {"area", "frequency", "width1", "phase", "width2"};
    const auto exists = [&](int L) { return L >= 1 && L <= v.entries(); };
    for (int j = 0; j < v.records(); ++j) {
        const int own = j / pars_per_entry + 1;
        const int kind = j % pars_per_entry;
        const int L = v.fixpar[j].fixed_to;
        if (L == 0 || L == own) continue;
        if (!exists(L)) {
            v.fatal(fatal_header_blank);
            std::printf("%s parameter of line %d is tied to line %d which does not exist\n",
                        kinds[kind], own, L);
            std::printf(">> choose a number between 0 and %d \n", v.entries());
            continue;
        }
        const parameter_record &source = v.fixpar[pars_per_entry * (L - 1) + kind];
        if (kind == area_par && source.value == 0.0) {
            v.fatal(fatal_header_blank);
            std::printf("area of line %d is tied to line %d whose area is zero : no ratio\n", own,
                        L);
            std::printf(">> give line %d an area in its prior knowledge \n", L);
        }
        if (source.fixed_to != L && exists(source.fixed_to)) {
            std::printf("%s", warning_header_blank);
            std::printf("%s parameter of line %d is tied to line %d which is itself tied to line "
                        "%d\n",
                        kinds[kind], own, L, source.fixed_to);
            std::printf(">> it follows only when line %d is evaluated before it \n", L);
        }
    }
}

static void check_points_and_patterns(start_values &v) {
    if (!is_power_of_two(v.ap)) {
        v.fatal(fatal_header_blank);
        std::printf("number of points is not a power of two : %d\n", v.ap);
        std::printf(">> choose 2, 4, 8, ... 1024 ...\n");
    }
    for (int j = 0; j < v.line_records(); j += pars_per_entry) {
        if (v.fixpar[j].type != pattern_line) continue;
        v.fatal(fatal_header_blank);
        std::printf("line %d is of type 4 = Pattern but is no pattern\n", j / pars_per_entry + 1);
        std::printf(">> patterns are the entries from %d on \n", v.nLines + 1);
    }
}

void TestInitValueFile(const int &ap, const int &nLines, const int &n_patterns,
                       const int &lsf_coefs, const double *par, const parameter_record *fixpar,
                       const int &noise_strt, const int &noise_stop, const double &phi_1,
                       const int &n_fit_strat_steps, const int *var_ap_trunc, const int *min_method,
                       const int *hrange, const int (*user_fit_strat)[strategy_columns],
                       const int &verbose, int &pass) {
    start_values v{.ap = ap,
                   .nLines = nLines,
                   .n_patterns = n_patterns,
                   .lsf_coefs = lsf_coefs,
                   .par = par,
                   .fixpar = fixpar,
                   .noise_strt = noise_strt,
                   .noise_stop = noise_stop,
                   .phi_1 = phi_1,
                   .steps = std::min(n_fit_strat_steps, max_steps),
                   .var_ap_trunc = var_ap_trunc,
                   .min_method = min_method,
                   .hrange = hrange,
                   .strategy = user_fit_strat,
                   .verbose = verbose,
                   .pass = 1};
    check_counts(v);
    check_noise_and_delay(v);
    check_steps(v);
    check_types(v);
    check_shapes(v, v.pass);
    compare_with_prior_knowledge(v);
    check_width_links(v);
    check_points_and_patterns(v);
    check_links(v);
    if (verbose > 0) std::printf("testing input parameter values             : done \n");
    pass = v.pass;
}
