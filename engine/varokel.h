/* SPDX-License-Identifier: BSD-3-Clause
 *
 * varokel.h -- fits of in-vivo NMR spectra, for programs in C and whatever calls C
 *
 * A problem says what is fitted to what; a workspace is the scratch of one thread; a fit is what
 * came out. docs/c_interface.md has a complete example.
 *
 * Units, everywhere in this interface
 *   spectrum     complex numbers as pairs of doubles (re, im), zero frequency of the receiver (the
 *                carrier) at point points / 2; as varokel_spectrum_of_fid makes it
 *   area         amplitude of the line's decay at time 0, in the unit of the signal
 *   frequency    Hz from the left edge of the spectrum: the carrier has points / 2 x hz_per_point;
 *                of a pattern, how far its stored decay is moved [Hz]
 *   widths       full width at half height [Hz], for every type of line and for the broadening of
 *                patterns. That of a Gaussian is 1.67 times the parameter of its formula, as in all
 *                files of the programs; 2 sqrt(ln 2) = 1.66511 would be exact, so it is 0.29 %
 *                wider than the line is
 *   phase        degrees, of the decay at time 0
 *   errors       one standard deviation
 *   points, intervals, entries   counted from 0
 *
 * Status    Functions that can fail return a status, 0 for success, and then leave what they would
 *           have returned as it was. The text of the last failure stands in the handle that is not
 *           const: varokel_problem_message and its siblings.
 * Threads   The library has no state of its own. A handle serves one thread at a time, but handles
 *           that are only given as const may be shared by any number of threads at once.
 * Memory    What a create, copy or find function made is released by the destroy function of its
 *           kind, which takes NULL, too. Arrays that are given are copied.
 */
#ifndef VAROKEL_H
#define VAROKEL_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VAROKEL_VERSION_MAJOR 2
#define VAROKEL_VERSION_MINOR 4

typedef struct varokel_problem varokel_problem;
typedef struct varokel_options varokel_options;
typedef struct varokel_workspace varokel_workspace;
typedef struct varokel_fit varokel_fit;

enum varokel_status {
    VAROKEL_OK = 0,
    VAROKEL_BAD_ARGUMENT = 1,   /* a null pointer, an index or a size that does not fit */
    VAROKEL_BAD_PROBLEM = 2,    /* what no fit can have; the message says what, and which entry */
    VAROKEL_BAD_EXPRESSION = 3, /* of varokel_fit_derive */
    VAROKEL_NO_MEMORY = 4,
    VAROKEL_FAILED = 5,   /* anything else */
    VAROKEL_STOPPED = 6,  /* by a progress function */
    VAROKEL_BAD_INPUT = 7 /* of varokel_start.h: what cannot be read; the message says where */
};

enum varokel_line { VAROKEL_GAUSSIAN = 1, VAROKEL_LORENTZIAN, VAROKEL_VOIGT, VAROKEL_PATTERN };

/* The parameters of an entry: columns of every table of values. */
enum varokel_quantity {
    VAROKEL_AREA,
    VAROKEL_FREQUENCY,
    VAROKEL_GAUSS_WIDTH,
    VAROKEL_PHASE,
    VAROKEL_LORENTZ_WIDTH,
    VAROKEL_QUANTITIES
};

enum varokel_channel { VAROKEL_ABSORPTION, VAROKEL_DISPERSION, VAROKEL_BOTH };

/* What may be said of a fit, in the order of weight: the first that holds is the verdict. */
enum varokel_verdict {
    VAROKEL_NOT_FINISHED,   /* the sum of squares is expected to decrease further */
    VAROKEL_DEGENERATE,     /* entries whose parameters cannot be told apart, or that are nothing */
    VAROKEL_SEVERAL_MINIMA, /* another minimum is as good, with other areas */
    VAROKEL_MOVED,  /* a line changed or took the place of another, or left the fitted points */
    VAROKEL_MISFIT, /* the residual is larger than the noise, or not white */
    VAROKEL_NOISE_WRONG, /* the residual is smaller than the noise */
    VAROKEL_AT_BOUND,    /* parameters that stand at the edge of their window */
    VAROKEL_OPTIMUM
};

#define VAROKEL_ALL_ENTRIES (-1)

/* Version of the library that runs, such as "2.4.0". */
const char *varokel_version(void);
/* A sentence for a status. */
const char *varokel_status_text(int status);
/* "optimum", "at_bound" ... as the programs print it; NULL for no verdict. */
const char *varokel_verdict_name(int verdict);

/* ---- spectra ----------------------------------------------------------------------------------
 *
 * spectrum  double[2 points], points a power of two from 2 to 2^24
 */

/*     S[j] = (1/n) sum_k w_k x_k exp(-2 pi i (j - n/2) k / n),   w_0 = 1/2, w_k = 1 else
 *
 * fid  double[2 fid_points]; cut at n = points, or filled with zeros up to it. */
int varokel_spectrum_of_fid(const double *fid, int fid_points, int points, double *spectrum);
/* Undoes that. fid: double[2 points]. */
int varokel_fid_of_spectrum(const double *spectrum, int points, double *fid);
/* Standard deviation of the real part from point `first` to `last`, both included, about its mean
 * there. */
int varokel_noise_sd(const double *spectrum, int points, int first, int last, double *noise_sd);
/* A stretch of points / 8 points that seems to hold noise only, and whose spread is typical of such
 * stretches: a guess. Where all hold signal, its spread is too large. */
int varokel_noise_window(const double *spectrum, int points, int *first, int *last);

/* ---- problem ----------------------------------------------------------------------------------
 */

int varokel_problem_create(int points, double hz_per_point, varokel_problem **problem);
int varokel_problem_copy(const varokel_problem *problem, varokel_problem **copy);
void varokel_problem_destroy(varokel_problem *problem);
const char *varokel_problem_message(const varokel_problem *problem);

/* spectrum: double[2 points], points that of the problem. */
int varokel_problem_set_spectrum(varokel_problem *problem, const double *spectrum, int points);
/* Standard deviation of the noise, per channel [signal]. Errors and verdict hang on it. */
int varokel_problem_set_noise_sd(varokel_problem *problem, double noise_sd);
/* Phase of the acquisition delay over the whole band, 360 x delay / dwell time [degrees]; 0 when
 * not set. Areas are those at time 0, before the first point. */
int varokel_problem_set_first_order_phase(varokel_problem *problem, double degrees);
/* Leading points of the decay that do not count, and the number of points behind which the decay
 * is 0 (0: all are kept). Data and model are treated alike. */
int varokel_problem_set_truncation(varokel_problem *problem, int ignored, int kept);
/* Which part of the spectrum is fitted; VAROKEL_BOTH when not set. */
int varokel_problem_set_channel(varokel_problem *problem, int channel);
/* Points that are fitted, both included. Without any interval, all are. */
int varokel_problem_add_interval(varokel_problem *problem, int first, int last);
int varokel_problem_clear_intervals(varokel_problem *problem);

/* A decay that an entry broadens, moves, turns and scales as a whole, such as the simulated one of
 * a metabolite; areas are factors of it.
 *   decay  double[2 points], in the time domain, its first point of magnitude 1
 *   index  of the pattern, for varokel_problem_set_entry_pattern */
int varokel_problem_add_pattern(varokel_problem *problem, const double *decay, int points,
                                int *index);
/* A decay that multiplies every curve, such as that of a reference line; points 0: none. */
int varokel_problem_set_measured_lineshape(varokel_problem *problem, const double *decay,
                                           int points);
/* The lineshape that entries may take (varokel_problem_set_takes_lineshape), by its spectrum:
 *   coefficients  double[2 count], the one at count / 2 at frequency 0, one point apart; 0: none
 *   is_free       whether they are fitted */
int varokel_problem_set_fitted_lineshape(varokel_problem *problem, const double *coefficients,
                                         int count, int is_free);

/* A line or pattern whose parameters are all fixed at 0. name: for expressions; NULL for none. */
int varokel_problem_add_entry(varokel_problem *problem, const char *name, int line, int *index);
int varokel_problem_set_entry_pattern(varokel_problem *problem, int entry, int pattern);
int varokel_problem_set_takes_lineshape(varokel_problem *problem, int entry, int takes);
int varokel_problem_entries(const varokel_problem *problem);

/* A parameter is free, fixed, or tied: factor x (the same parameter of entry `source`) + offset.
 * Parameters that a type of line has not are 0, whatever is set. */
int varokel_problem_set_free(varokel_problem *problem, int entry, int quantity, double start);
int varokel_problem_set_fixed(varokel_problem *problem, int entry, int quantity, double value);
int varokel_problem_set_tied(varokel_problem *problem, int entry, int quantity, int source,
                             double factor, double offset);
/* What a free or tied parameter may become; -HUGE_VAL and HUGE_VAL for no limit. Widths are never
 * negative. A window of a tied parameter narrows what it follows. */
int varokel_problem_set_window(varokel_problem *problem, int entry, int quantity, double lower,
                               double upper);

/* ---- workspace --------------------------------------------------------------------------------
 */

/* Scratch and the message of the last failure. It keeps its storage from call to call: make one
 * per thread, not one per fit. */
int varokel_workspace_create(varokel_workspace **workspace);
void varokel_workspace_destroy(varokel_workspace *workspace);
const char *varokel_workspace_message(const varokel_workspace *workspace);
/* The entry that the last failure is about; -1: the problem as a whole. */
int varokel_workspace_failed_entry(const varokel_workspace *workspace);

/* ---- options ----------------------------------------------------------------------------------
 */

int varokel_options_create(varokel_options **options);
void varokel_options_destroy(varokel_options *options);
/* How many starts are made up, whatever the first one finds (0 when not set), and how many at most
 * when the verdict asks for more (6). The same starts in every run. */
int varokel_options_set_starts(varokel_options *options, int starts, int most_starts);
/* Most linearizations of one search (200), from 1 on. */
int varokel_options_set_most_linearizations(varokel_options *options, int most);
/* Expected decrease of the sum of squares, in units of the noise variance, at which a search ends
 * (1e-6). */
int varokel_options_set_expected_decrease(varokel_options *options, double decrease);
/* Another place to begin from, in the order in which they are added.
 *   values  double[entries][VAROKEL_QUANTITIES], those of free parameters count; count: of numbers
 */
int varokel_options_add_start(varokel_options *options, const char *name, const double *values,
                              size_t count);

/* A function that is called before each step of each search of a fit, in the thread of
 * varokel_fit_find; NULL: none. It may call whatever does not use the workspace of that fit.
 *   searches        begun so far, this one among them; how many there will be, the verdicts decide
 *   linearizations  of all of them
 *   sum_of_squares  of the residual of this one, in units of the noise variance; smaller where data
 *                   and model are broadened for a rough search
 *
 * Returns 0 to go on; anything else ends the fit with VAROKEL_STOPPED and without a result. */
typedef int (*varokel_progress)(void *with, int searches, int linearizations,
                                double sum_of_squares);
int varokel_options_set_progress(varokel_options *options, varokel_progress progress, void *with);

/* ---- fit --------------------------------------------------------------------------------------
 */

/* Fits. options: NULL for the usual ones. Returns VAROKEL_OK for every fit that came to an end,
 * good or not: the verdict says. The same problem gives the same bits in any thread and workspace.
 */
int varokel_fit_find(const varokel_problem *problem, const varokel_options *options,
                     varokel_workspace *workspace, varokel_fit **fit);
void varokel_fit_destroy(varokel_fit *fit);

/* In the following, count is the size of the array that is given, in numbers; an array that is too
 * small is a VAROKEL_BAD_ARGUMENT. */

int varokel_fit_entries(const varokel_fit *fit);
int varokel_fit_points(const varokel_fit *fit);
/* double[entries][VAROKEL_QUANTITIES] */
int varokel_fit_values(const varokel_fit *fit, double *values, size_t count);
/* One standard deviation of each (Cramer-Rao bound); 0 for what is fixed or stands at the edge of
 * its window, infinite for what cannot be told apart. Same shape. */
int varokel_fit_errors(const varokel_fit *fit, double *errors, size_t count);
/* double[m][m], m = entries x VAROKEL_QUANTITIES, in the order of the values. */
int varokel_fit_covariance(const varokel_fit *fit, double *covariance, size_t count);
/* Coefficients of the fitted lineshape: how many, and double[2 n]. */
int varokel_fit_lineshape_coefficients(const varokel_fit *fit);
int varokel_fit_lineshape(const varokel_fit *fit, double *coefficients, size_t count);

/* The verdict, and all that holds beside it. A reason of an optimum there is none. */
int varokel_fit_verdict(const varokel_fit *fit);
int varokel_fit_reasons(const varokel_fit *fit);
/* Any of the last five may be NULL. What is pointed at lives as long as the fit.
 *   what      VAROKEL_NOT_FINISHED to VAROKEL_AT_BOUND
 *   number    expected decrease for not_finished, difference of the sums of squares for
 *             several_minima (both in units of the noise variance; filled zeros count for
 *             nothing), quality or whiteness for misfit, quality for noise_wrong, else the number
 *             of entries
 *   entries   int[entry_count], those it is about */
int varokel_fit_reason(const varokel_fit *fit, int reason, int *what, double *number,
                       const char **text, const int **entries, int *entry_count);

/* The starts that were tried, in order. Any of the last four may be NULL.
 *   name            "given", "aligned", "split", "broadened", "perturbed 1", "relocated 3" (of the
 *                   third entry), or that of an added one
 *   sum_of_squares  of the residual where it ended, in units of the noise variance
 *   shift_hz        that was applied to all frequencies
 *   same            whether it ended where the lowest one did, within a tenth of every error */
int varokel_fit_starts(const varokel_fit *fit);
int varokel_fit_start(const varokel_fit *fit, int start, const char **name, double *sum_of_squares,
                      double *shift_hz, int *same);

/* Sum of squares of the residual at the fitted points, in units of the noise variance; how much it
 * is expected to decrease yet; its root per degree of freedom, 1 when the residual is noise. */
double varokel_fit_sum_of_squares(const varokel_fit *fit);
double varokel_fit_expected_decrease(const varokel_fit *fit);
double varokel_fit_quality(const varokel_fit *fit);
/* Over all starts. */
int varokel_fit_linearizations(const varokel_fit *fit);
int varokel_fit_evaluations(const varokel_fit *fit);

/* The model at all points, or the curve of one entry: double[2 points], count its size. */
int varokel_fit_spectrum(const varokel_fit *fit, varokel_workspace *workspace, int entry,
                         double *spectrum, size_t count);
/* The same for the start values of a problem, which may be without spectrum and noise. */
int varokel_problem_spectrum(const varokel_problem *problem, varokel_workspace *workspace,
                             int entry, double *spectrum, size_t count);

/* The value of an expression over the fitted parameters, and its standard deviation to first order
 * in the errors, from their covariance. Either may be NULL.
 *   expression  + - * / ( ), numbers, and
 *               NAME, 'NA ME', #3     area of an entry (#3: of the third, counted from 1); a name
 *                                     that several entries have in front of a number, and none has
 *                                     whole, means the sum of their areas
 *               area(NAME), frequency(NAME), gauss_width(NAME), phase(NAME), lorentz_width(NAME)
 *               log10(x)
 *               pH(d, pKa, dA, dB)    pKa + log10((d - dA) / (dB - d))
 *   value       infinite or not a number where a divisor is 0 or a logarithm is of nothing */
int varokel_fit_derive(const varokel_fit *fit, varokel_workspace *workspace, const char *expression,
                       double *value, double *error);

#ifdef __cplusplus
}
#endif

#endif
