/* SPDX-License-Identifier: BSD-3-Clause
 *
 * varokel_start.h -- problems of libvarokel from tables of peaks and from start files
 *
 * The readers are those of the programs: a table and a spectrum give the same problem here and in
 * varokel-fit --method exact, and so the same fit to the bit. docs/file_formats/peak_table.md and
 * start_value_file.md have the grammars. Units, statuses and threads: see varokel.h. What a text or
 * a file of a pattern has wrong is a VAROKEL_BAD_INPUT; the workspace's message names file, line
 * and column.
 *
 * The library has these functions where it was built together with the programs.
 */
#ifndef VAROKEL_START_H
#define VAROKEL_START_H

#include <varokel.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A table of peaks. It keeps what it worked out for the axis of a spectrum: for many spectra, make
 * one per thread. */
typedef struct varokel_table varokel_table;
/* Start values, links, windows and strategy for one spectrum. */
typedef struct varokel_start varokel_start;

enum varokel_remark {
    VAROKEL_GUESS,   /* a value that neither table nor spectrum states */
    VAROKEL_WARNING, /* what may go wrong */
    VAROKEL_NOTE     /* what was asked for and found */
};

/* ---- tables -----------------------------------------------------------------------------------
 */

/* text: of the table; name: of its file, in messages. */
int varokel_table_read(const char *text, const char *name, varokel_workspace *workspace,
                       varokel_table **table);
void varokel_table_destroy(varokel_table *table);
/* One more folder where pattern files are looked for, in the order in which they are added. */
int varokel_table_add_folder(varokel_table *table, const char *folder);

/* Start values for a spectrum: areas and phases that the table leaves open are estimated.
 *   sidecar   what is known of the spectrum: text of the JSON that varokel-import writes
 *   spectrum  double[2 points]
 * Without a noise window in table and sidecar, one is guessed. */
int varokel_table_start(varokel_table *table, const char *sidecar, const double *spectrum,
                        int points, varokel_workspace *workspace, varokel_start **start);

/* ---- start values -----------------------------------------------------------------------------
 */

/* text: of a start value file of any generation. */
int varokel_start_read(const char *text, const char *name, varokel_workspace *workspace,
                       varokel_start **start);
void varokel_start_destroy(varokel_start *start);
/* As varokel_table_add_folder; those of the table are known. */
int varokel_start_add_folder(varokel_start *start, const char *folder);

int varokel_start_points(const varokel_start *start);
double varokel_start_hz_per_point(const varokel_start *start);
/* Points that hold noise only, both included; VAROKEL_BAD_INPUT when none are known. */
int varokel_start_noise_window(const varokel_start *start, int *first, int *last);
int varokel_start_entries(const varokel_start *start);
/* Any of the last three may be NULL. What is pointed at lives as long as the start values.
 *   name     "" when there is none
 *   line     VAROKEL_GAUSSIAN to VAROKEL_PATTERN
 *   pattern  file, "" of a line */
int varokel_start_entry(const varokel_start *start, int entry, const char **name, int *line,
                        const char **pattern);
/* For expressions and messages. */
int varokel_start_set_name(varokel_start *start, int entry, const char *name);
/* What was guessed, and what to look at; kind: VAROKEL_GUESS to VAROKEL_NOTE. */
int varokel_start_remarks(const varokel_start *start);
int varokel_start_remark(const varokel_start *start, int remark, int *kind, const char **text);
/* Rows "derive" of the table, in its order, for a fit of the problem of these start values: as
 * varokel-fit gives them, so frequencies are in ppm (Hz from the carrier when the axis has no ppm;
 * of patterns how far they moved). The axis is that of the sidecar, or of the table's reference.
 * Any of the last four may be NULL.
 *   name, expression  they live as long as the start values
 *   value, error      as varokel_fit_derive: ONE standard deviation, without varokel_error_factor
 * VAROKEL_BAD_EXPRESSION, with row and place: what is no expression of the entries. */
int varokel_start_derived_rows(const varokel_start *start);
int varokel_start_derive(const varokel_start *start, int row, const varokel_fit *fit,
                         varokel_workspace *workspace, const char **name, const char **expression,
                         double *value, double *error);
/* The same of any expression, see varokel_fit_derive, which has Hz from the left edge. */
int varokel_start_evaluate(const varokel_start *start, const char *expression,
                           const varokel_fit *fit, varokel_workspace *workspace, double *value,
                           double *error);
/* The ppm of start values that were read, which know none; sidecar: text of the JSON. */
int varokel_start_set_axis(varokel_start *start, const char *sidecar, varokel_workspace *workspace);
/* How many rows "amount" the table has; they need the water of varokel-fit --water. */
int varokel_start_amount_rows(const varokel_start *start);
/* The text of the start value file, version 3, that varokel-start writes; it lives until the next
 * call. */
const char *varokel_start_text(varokel_start *start);

/* The problem of the last step that fits anything, with the links and windows of all; what no step
 * frees is fixed. It may be changed as any other.
 *   spectrum   double[2 points], those of the start values
 *   noise_sd   see varokel_problem_set_noise_sd
 *   reference  double[2 points], decay of the reference line of fit mode 2, else NULL
 * Refused with VAROKEL_BAD_INPUT: weighting and magnitudes, which the classic search does. */
int varokel_start_problem(const varokel_start *start, const double *spectrum, int points,
                          double noise_sd, const double *reference, varokel_workspace *workspace,
                          varokel_problem **problem);

/* ---- spectra that were filled with zeros ------------------------------------------------------
 */

/* What turns an error of a fit into that of the measurement: sqrt(points / measured points), 1
 * without zeros. The transform spreads the noise of m measured points over n, of which the fit
 * takes each for a measurement of its own. sidecar: text of the JSON. */
int varokel_error_factor(const char *sidecar, varokel_workspace *workspace, double *factor);

#ifdef __cplusplus
}
#endif

#endif
