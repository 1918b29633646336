/* SPDX-License-Identifier: BSD-3-Clause
 *
 * test_c_start.c -- problems from tables of peaks and start files: the fit of what they say, and
 * what is refused
 */
#include "two_lines.h"

#include <varokel_start.h>

/* The problem of two_lines.h: PCr from 184 Hz, ATP1 from 316 Hz with the phase of PCr. */
static const char table_text[] =
    "noise: 200 to 239 points\n"
    "interval: 0 to 255 points\n"
    "strategy: standard\n"
    "name  type     area  frequency[Hz]  gauss[Hz]  lorentz[Hz]  phase[deg]\n"
    "PCr   voigt    4     -72            8          8            0\n"
    "ATP1  lorentz  4     60             -          8            =PCr\n";
static const char sidecar[] = "{\"points\": 256, \"hz_per_point\": 2.0}";

static const char *read_as_table(const char *text, const char *known) {
    static char said[1000];
    varokel_workspace *w = NULL;
    varokel_table *table = NULL;
    varokel_start *start = NULL;
    int status;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    status = varokel_table_read(text, "mine.txt", w, &table);
    if (status == VAROKEL_OK) status = varokel_table_start(table, known, data, N, w, &start);
    CHECK((status == VAROKEL_OK) == (start != NULL));
    CHECK(status == VAROKEL_OK || status == VAROKEL_BAD_INPUT || status == VAROKEL_BAD_ARGUMENT);
    strncpy(said, status == VAROKEL_OK ? "" : varokel_workspace_message(w), sizeof said - 1);
    varokel_start_destroy(start);
    varokel_table_destroy(table);
    varokel_workspace_destroy(w);
    return said;
}

static void fit_of(const varokel_problem *p, varokel_workspace *w, double *values, double *errors) {
    varokel_fit *fit = NULL;
    CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_verdict(fit) == VAROKEL_OPTIMUM);
    CHECK(varokel_fit_values(fit, values, 10) == VAROKEL_OK);
    CHECK(varokel_fit_errors(fit, errors, 10) == VAROKEL_OK);
    varokel_fit_destroy(fit);
}

static void a_table_is_the_problem_that_calls_make(void) {
    double wanted[10], wanted_errors[10], got[10], errors[10], again[10];
    varokel_problem *by_calls = two_lines(), *p = NULL;
    varokel_workspace *w = NULL;
    varokel_table *table = NULL;
    varokel_start *start = NULL, *file = NULL;
    const char *name = NULL, *pattern = NULL, *text = NULL;
    int first = -1, last = -1, line = -1, i, kind = -1;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    fit_of(by_calls, w, wanted, wanted_errors);
    CHECK(varokel_table_read(table_text, "mine.txt", w, &table) == VAROKEL_OK);
    CHECK(varokel_table_start(table, sidecar, data, N, w, &start) == VAROKEL_OK);
    CHECK(varokel_start_points(start) == N && varokel_start_hz_per_point(start) == hz);
    CHECK(varokel_start_noise_window(start, &first, &last) == VAROKEL_OK);
    CHECK(first == 200 && last == 239);
    CHECK(varokel_start_entries(start) == 2);
    CHECK(varokel_start_entry(start, 1, &name, &line, &pattern) == VAROKEL_OK);
    CHECK(strcmp(name, "ATP1") == 0 && line == VAROKEL_LORENTZIAN && pattern[0] == '\0');
    CHECK(varokel_start_entry(start, 2, &name, &line, &pattern) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_problem(start, data, N, noise_sd, NULL, w, &p) == VAROKEL_OK);
    fit_of(p, w, got, errors);
    for (i = 0; i < 10; ++i) { /* a search ends within 1e-3 errors */
        CHECK(near_to(got[i], wanted[i], 2e-3 * wanted_errors[i]));
        CHECK(near_to(errors[i], wanted_errors[i], 1e-4 * wanted_errors[i]));
    }
    /* the text of the start file says the same, but for single precision and names */
    CHECK(varokel_start_read(varokel_start_text(start), "start.par", w, &file) == VAROKEL_OK);
    varokel_problem_destroy(p);
    p = NULL;
    CHECK(varokel_start_set_name(file, 0, "creatine") == VAROKEL_OK);
    CHECK(varokel_start_entry(file, 0, &name, NULL, NULL) == VAROKEL_OK);
    CHECK(strcmp(name, "creatine") == 0);
    CHECK(varokel_start_problem(file, data, N, noise_sd, NULL, w, &p) == VAROKEL_OK);
    fit_of(p, w, again, errors);
    for (i = 0; i < 10; ++i) CHECK(near_to(again[i], got[i], 2e-3 * wanted_errors[i]));
    for (i = 0; i < varokel_start_remarks(start); ++i) {
        CHECK(varokel_start_remark(start, i, &kind, &text) == VAROKEL_OK && text[0] != '\0');
        CHECK(kind >= VAROKEL_GUESS && kind <= VAROKEL_NOTE);
    }
    CHECK(varokel_start_remark(start, i, &kind, &text) == VAROKEL_BAD_ARGUMENT);
    varokel_problem_destroy(by_calls);
    varokel_problem_destroy(p);
    varokel_start_destroy(start);
    varokel_start_destroy(file);
    varokel_table_destroy(table);
    varokel_workspace_destroy(w);
}

static void mistakes_have_a_place(void) {
    static double bad[2 * N];
    varokel_workspace *w = NULL;
    varokel_table *table = NULL;
    varokel_start *start = NULL;
    varokel_problem *p = NULL;
    CHECK(read_as_table(table_text, sidecar)[0] == '\0');
    CHECK(strstr(read_as_table("PCr   voigt\n", sidecar), "mine.txt:1:1: ") != NULL);
    CHECK(strstr(read_as_table("", sidecar), "mine.txt: no rows") != NULL);
    CHECK(strstr(read_as_table(table_text, "{"), "sidecar: no valid JSON") != NULL);
    CHECK(strstr(read_as_table(table_text, "[]"), "sidecar: expected a JSON object") != NULL);
    CHECK(strstr(read_as_table(table_text, "{\"points\": 256}"), "hz_per_point") != NULL);
    CHECK(strstr(read_as_table(table_text, "{\"points\": 512, \"hz_per_point\": 2.0}"),
                 "a spectrum of 256 points; the sidecar has 512") != NULL);
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_start_read("version_3\nn_pnts many\n", "my.par", w, &start) == VAROKEL_BAD_INPUT);
    CHECK(strstr(varokel_workspace_message(w), "my.par:2: found \"many\"") != NULL);
    CHECK(start == NULL);

    CHECK(varokel_table_read(table_text, NULL, w, &table) == VAROKEL_OK);
    memcpy(bad, data, sizeof bad);
    bad[2 * 7] = HUGE_VAL - HUGE_VAL;
    CHECK(varokel_table_start(table, sidecar, bad, N, w, &start) == VAROKEL_BAD_INPUT);
    CHECK(strcmp(varokel_workspace_message(w), "point 7 of the spectrum is not finite") == 0);
    CHECK(varokel_table_start(table, sidecar, data, N, w, &start) == VAROKEL_OK);
    CHECK(varokel_start_problem(start, data, N / 2, noise_sd, NULL, w, &p) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_problem(start, data, N, 0.0, NULL, w, &p) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_problem(start, bad, N, noise_sd, NULL, w, &p) == VAROKEL_BAD_INPUT);
    CHECK(p == NULL);

    CHECK(varokel_table_read(NULL, NULL, w, &table) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_table_read(table_text, NULL, NULL, &table) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_table_start(NULL, sidecar, data, N, w, &start) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_problem(NULL, data, N, noise_sd, NULL, w, &p) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_read(NULL, NULL, w, &start) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_table_add_folder(table, NULL) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_add_folder(NULL, ".") == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_start_entries(NULL) == 0 && varokel_start_points(NULL) == 0);
    CHECK(varokel_start_remarks(NULL) == 0 && varokel_start_text(NULL)[0] == '\0');
    CHECK(varokel_start_set_name(start, 2, "x") == VAROKEL_BAD_ARGUMENT);
    varokel_table_destroy(table);
    varokel_table_destroy(NULL);
    varokel_start_destroy(start);
    varokel_start_destroy(NULL);
    varokel_workspace_destroy(w);
}

static void patterns_stand_in_folders(void) {
    static const char text[] =
        "noise: 200 to 239 points\n"
        "name  type     area  frequency[Hz]  gauss[Hz]  lorentz[Hz]  phase[deg]\n"
        "mine  nothing_there.pat  1  0  -  0  0\n";
    varokel_workspace *w = NULL;
    varokel_table *table = NULL;
    varokel_start *start = NULL;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_table_read(text, "mine.txt", w, &table) == VAROKEL_OK);
    CHECK(varokel_table_add_folder(table, "/nowhere") == VAROKEL_OK);
    CHECK(varokel_table_start(table, sidecar, data, N, w, &start) == VAROKEL_BAD_INPUT);
    CHECK(strstr(varokel_workspace_message(w),
                 "mine.txt:3:1: mine: no pattern file nothing_there.pat in /nowhere") != NULL);
    varokel_table_destroy(table);
    varokel_workspace_destroy(w);
}

static void errors_are_widened_for_filled_zeros(void) {
    double factor = 0.0;
    varokel_workspace *w = NULL;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_error_factor(sidecar, w, &factor) == VAROKEL_OK && factor == 1.0);
    CHECK(varokel_error_factor("{\"points\": 256, \"hz_per_point\": 2.0, \"measured_points\": 64}",
                               w, &factor) == VAROKEL_OK);
    CHECK(factor == 2.0);
    CHECK(varokel_error_factor("{\"points\": \"many\"}", w, &factor) == VAROKEL_BAD_INPUT);
    CHECK(strstr(varokel_workspace_message(w), "\"points\"") != NULL && factor == 2.0);
    CHECK(varokel_error_factor(NULL, w, &factor) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_error_factor(sidecar, NULL, &factor) == VAROKEL_BAD_ARGUMENT);
    varokel_workspace_destroy(w);
}

/* Frequencies are in Hz from the carrier, then in ppm: 2 Hz are 0.02 ppm at 100 MHz. */
static void rows_of_the_table_are_derived(void) {
    static const char rows[] = "derive: half = PCr/2\nderive: frequency(ATP1)\nderive: ATP/x\n"
                               "water: tissue\namount: PCr, protons=3\n";
    static const char ppm[] = "{\"points\": 256, \"hz_per_point\": 2.0, \"ppm_at_carrier\": 1.5,"
                              "\"spectrometer_mhz\": 100}";
    const char *const known[] = {sidecar, ppm};
    char text[1000];
    int i;
    strcpy(text, table_text);
    strcat(text, rows);
    for (i = 0; i < 2; ++i) {
        double values[10], errors[10], value = -1.0, error = -1.0;
        const char *name = NULL, *expression = NULL;
        varokel_workspace *w = NULL;
        varokel_table *table = NULL;
        varokel_start *start = NULL;
        varokel_problem *p = NULL;
        varokel_fit *fit = NULL;
        CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
        CHECK(varokel_table_read(text, "mine.txt", w, &table) == VAROKEL_OK);
        CHECK(varokel_table_start(table, known[i], data, N, w, &start) == VAROKEL_OK);
        CHECK(varokel_start_derived_rows(start) == 3 && varokel_start_amount_rows(start) == 1);
        CHECK(varokel_start_problem(start, data, N, noise_sd, NULL, w, &p) == VAROKEL_OK);
        CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_OK);
        CHECK(varokel_fit_values(fit, values, 10) == VAROKEL_OK);
        CHECK(varokel_fit_errors(fit, errors, 10) == VAROKEL_OK);
        CHECK(varokel_start_derive(start, 0, fit, w, &name, &expression, &value, &error) ==
              VAROKEL_OK);
        CHECK(strcmp(name, "half") == 0 && strcmp(expression, "PCr/2") == 0);
        CHECK(near_to(value, values[0] / 2.0, 1e-12) && near_to(error, errors[0] / 2.0, 1e-12));
        CHECK(varokel_start_derive(start, 1, fit, w, NULL, &expression, &value, &error) ==
              VAROKEL_OK);
        CHECK(near_to(value, i == 0 ? values[6] - 256.0 : 1.5 + (values[6] - 256.0) / 100.0, 1e-9));
        CHECK(near_to(error, i == 0 ? errors[6] : errors[6] / 100.0, 1e-9 * errors[6]));
        {
            double own = -1.0, bound = -1.0;
            CHECK(varokel_start_evaluate(start, expression, fit, w, &own, &bound) == VAROKEL_OK);
            CHECK(own == value && bound == error);
            CHECK(varokel_start_evaluate(start, "ATP/x", fit, w, NULL, NULL) ==
                  VAROKEL_BAD_EXPRESSION);
            CHECK(varokel_start_evaluate(start, NULL, fit, w, NULL, NULL) == VAROKEL_BAD_ARGUMENT);
            CHECK(varokel_start_set_axis(start, "no JSON", w) == VAROKEL_BAD_INPUT);
            CHECK(varokel_start_set_axis(start, NULL, w) == VAROKEL_BAD_ARGUMENT);
        }
        CHECK(varokel_start_derive(start, 2, fit, w, NULL, NULL, NULL, NULL) ==
              VAROKEL_BAD_EXPRESSION);
        CHECK(strstr(varokel_workspace_message(w), "ATP/x, ") != NULL);
        CHECK(varokel_start_derive(start, 3, fit, w, NULL, NULL, NULL, NULL) ==
              VAROKEL_BAD_ARGUMENT);
        CHECK(varokel_start_derive(start, -1, fit, w, NULL, NULL, NULL, NULL) ==
              VAROKEL_BAD_ARGUMENT);
        CHECK(varokel_start_derive(start, 0, NULL, w, NULL, NULL, NULL, NULL) ==
              VAROKEL_BAD_ARGUMENT);
        CHECK(varokel_start_derive(start, 0, fit, NULL, NULL, NULL, NULL, NULL) ==
              VAROKEL_BAD_ARGUMENT);
        varokel_fit_destroy(fit);
        varokel_problem_destroy(p);
        varokel_start_destroy(start);
        varokel_table_destroy(table);
        varokel_workspace_destroy(w);
    }
    CHECK(varokel_start_derived_rows(NULL) == 0 && varokel_start_amount_rows(NULL) == 0);
}

int main(void) {
    a_table_is_the_problem_that_calls_make();
    rows_of_the_table_are_derived();
    mistakes_have_a_place();
    patterns_stand_in_folders();
    errors_are_widened_for_filled_zeros();
    return failures == 0 ? 0 : 1;
}
