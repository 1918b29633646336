/* SPDX-License-Identifier: BSD-3-Clause
 *
 * test_c_interface.c -- the C interface as a C89 compiler sees it: values, settings, verdicts, and
 * the same bits from every thread
 */
#include "two_lines.h"

static void values_errors_and_curves(void) {
    static const double truth[2][VAROKEL_QUANTITIES] = {{5.0, 180.0, 12.0, 20.0, 8.0},
                                                        {3.0, 320.0, 0.0, 20.0, 10.0}};
    static double whole[2 * N], part[2 * N], rest = 0.0;
    double values[2][5], errors[2][5], covariance[10][10], value, error;
    varokel_problem *p = two_lines();
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    int i, j, k;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_OK);
    CHECK(strcmp(varokel_workspace_message(w), "") == 0);
    CHECK(varokel_fit_verdict(fit) == VAROKEL_OPTIMUM && varokel_fit_reasons(fit) == 0);
    CHECK(varokel_fit_entries(fit) == 2 && varokel_fit_points(fit) == N);
    CHECK(varokel_fit_values(fit, &values[0][0], 10) == VAROKEL_OK);
    CHECK(varokel_fit_errors(fit, &errors[0][0], 10) == VAROKEL_OK);
    CHECK(varokel_fit_covariance(fit, &covariance[0][0], 100) == VAROKEL_OK);
    for (i = 0; i < 10; ++i) {
        /* four standard deviations: one of 16,000 fits has a parameter further off */
        CHECK(near_to(values[i / 5][i % 5], truth[i / 5][i % 5], 4.0 * errors[i / 5][i % 5]));
        CHECK(near_to(covariance[i][i], pow(errors[i / 5][i % 5], 2.0), 1e-12 * covariance[i][i]));
        for (j = 0; j < 10; ++j) CHECK(covariance[i][j] == covariance[j][i]);
    }
    CHECK(errors[0][VAROKEL_GAUSS_WIDTH] > 0.0 && errors[1][VAROKEL_GAUSS_WIDTH] == 0.0);
    CHECK(values[1][VAROKEL_PHASE] == values[0][VAROKEL_PHASE]);
    CHECK(errors[1][VAROKEL_PHASE] == errors[0][VAROKEL_PHASE]);
    CHECK(near_to(varokel_fit_quality(fit), 1.0, 0.15)); /* 502 numbers: 3 % */
    CHECK(varokel_fit_expected_decrease(fit) <= 1e-4);
    CHECK(varokel_fit_linearizations(fit) > 0 && varokel_fit_evaluations(fit) > 0);

    /* curves: those of the values, by the definition; their sum is the model */
    CHECK(varokel_fit_spectrum(fit, w, VAROKEL_ALL_ENTRIES, whole, 2 * N) == VAROKEL_OK);
    for (i = 0; i < 2 * N; ++i) rest += pow((data[i] - whole[i]) / noise_sd, 2.0);
    CHECK(near_to(rest, varokel_fit_sum_of_squares(fit), 1e-9 * rest));
    for (k = 0; k < 2; ++k) {
        static double wanted[2 * N];
        const double *v = values[k];
        CHECK(varokel_fit_spectrum(fit, w, k, part, 2 * N) == VAROKEL_OK);
        spectrum_by_definition(v[0], v[1], v[2], v[3], v[4], 0.0, 0, 0, wanted);
        for (i = 0; i < 2 * N; ++i) {
            /* rounding of a sum of 256 terms of size 5 / 256 */
            CHECK(near_to(part[i], wanted[i], 1e-13));
            whole[i] -= part[i];
        }
    }
    for (i = 0; i < 2 * N; ++i) CHECK(near_to(whole[i], 0.0, 1e-14));

    /* expressions */
    CHECK(varokel_fit_derive(fit, w, "PCr + 2*ATP", &value, &error) == VAROKEL_OK);
    CHECK(near_to(value, values[0][0] + 2.0 * values[1][0], 1e-14));
    CHECK(near_to(error * error, covariance[0][0] + 4.0 * covariance[0][5] + 4.0 * covariance[5][5],
                  1e-15));
    CHECK(varokel_fit_derive(fit, w, "frequency(#2)-frequency(#1)", &value, &error) == VAROKEL_OK);
    CHECK(near_to(value, 140.0, 4.0 * error));
    CHECK(near_to(error * error, covariance[1][1] - 2.0 * covariance[1][6] + covariance[6][6],
                  1e-14));
    CHECK(varokel_fit_derive(fit, w, "gauss_width(PCr)", &value, &error) == VAROKEL_OK);
    CHECK(near_to(value, values[0][2], 1e-13) && near_to(error, errors[0][2], 1e-13));
    CHECK(varokel_fit_derive(fit, w, "PCr", NULL, NULL) == VAROKEL_OK);
    CHECK(varokel_fit_derive(fit, w, "Pi/PCr", &value, &error) == VAROKEL_BAD_EXPRESSION);
    CHECK(strstr(varokel_workspace_message(w), "character 1: no entry \"Pi\" in the fit") != NULL);

    /* what is refused leaves what it would have changed */
    values[0][0] = -1.0;
    CHECK(varokel_fit_values(fit, &values[0][0], 9) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_errors(fit, NULL, 10) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_covariance(fit, &covariance[0][0], 99) == VAROKEL_BAD_ARGUMENT);
    CHECK(values[0][0] == -1.0);
    CHECK(varokel_fit_spectrum(fit, w, 2, part, 2 * N) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_spectrum(fit, w, -2, part, 2 * N) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_spectrum(fit, w, 0, part, 2 * N - 1) == VAROKEL_BAD_ARGUMENT);
    varokel_fit_destroy(fit);
    varokel_workspace_destroy(w);
    varokel_problem_destroy(p);
}

/* A tied parameter is factor x source + offset, in hertz and degrees. */
static void ties_have_the_units_of_their_quantity(void) {
    static double got[2 * N], wanted[2 * N];
    varokel_problem *p = two_lines();
    varokel_workspace *w = NULL;
    int i;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_problem_set_tied(p, 1, VAROKEL_AREA, 0, 0.5, 1.5) == VAROKEL_OK);
    CHECK(varokel_problem_set_tied(p, 1, VAROKEL_FREQUENCY, 0, 1.0, 137.0) == VAROKEL_OK);
    CHECK(varokel_problem_set_tied(p, 1, VAROKEL_PHASE, 0, 1.0, 25.0) == VAROKEL_OK);
    CHECK(varokel_problem_set_tied(p, 1, VAROKEL_LORENTZ_WIDTH, 0, 0.5, 3.0) == VAROKEL_OK);
    CHECK(varokel_problem_spectrum(p, w, 1, got, 2 * N) == VAROKEL_OK);
    /* of an area of 4, a place of 184 Hz, a phase of 0 and a width of 8 Hz */
    spectrum_by_definition(3.5, 321.0, 0.0, 25.0, 7.0, 0.0, 0, 0, wanted);
    for (i = 0; i < 2 * N; ++i) CHECK(near_to(got[i], wanted[i], 1e-13));
    varokel_workspace_destroy(w);
    varokel_problem_destroy(p);
}

/* Everything a problem can say, as the spectrum of its start values. */
static void settings_of_a_problem(void) {
    static double got[2 * N], wanted[2 * N], decay[2 * N];
    static const double middle[6] = {0.1, 0.0, 1.0, 0.0, 0.1, 0.0};
    double coefficients[6];
    varokel_problem *p = NULL, *copy = NULL;
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    int i, index = -1;
    CHECK(varokel_problem_create(N, hz, &p) == VAROKEL_OK);
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    add(p, "V", VAROKEL_VOIGT, 2.0, 100.0, 12.0, 30.0, 8.0);
    CHECK(varokel_problem_set_first_order_phase(p, 1224.0) == VAROKEL_OK);
    CHECK(varokel_problem_set_truncation(p, 3, 200) == VAROKEL_OK);
    CHECK(varokel_problem_copy(p, &copy) == VAROKEL_OK);
    CHECK(varokel_problem_spectrum(p, w, VAROKEL_ALL_ENTRIES, got, 2 * N) == VAROKEL_OK);
    spectrum_by_definition(2.0, 100.0, 12.0, 30.0, 8.0, 1224.0, 3, 200, wanted);
    for (i = 0; i < 2 * N; ++i) CHECK(near_to(got[i], wanted[i], 1e-13));

    /* a pattern that is a decay of 1 with half a band taken off, as files have it: a line at its
     * frequency; and a lineshape of 4 Hz that broadens it */
    CHECK(varokel_problem_set_truncation(copy, 0, 0) == VAROKEL_OK);
    CHECK(varokel_problem_set_first_order_phase(copy, 0.0) == VAROKEL_OK);
    for (i = 0; i < N; ++i) {
        decay[2 * i] = i % 2 == 0 ? 1.0 : -1.0;
        decay[2 * i + 1] = 0.0;
    }
    CHECK(varokel_problem_add_pattern(copy, decay, N, &index) == VAROKEL_OK && index == 0);
    for (i = 0; i < N; ++i) {
        decay[2 * i] = exp(-pi * 4.0 / hz * i / N);
        decay[2 * i + 1] = 0.0;
    }
    CHECK(varokel_problem_set_measured_lineshape(copy, decay, N) == VAROKEL_OK);
    add(copy, "P", VAROKEL_PATTERN, 2.0, 100.0, 12.0, 30.0, 8.0);
    CHECK(varokel_problem_set_entry_pattern(copy, 1, index) == VAROKEL_OK);
    spectrum_by_definition(2.0, 100.0, 12.0, 30.0, 12.0, 0.0, 0, 0, wanted);
    CHECK(varokel_problem_spectrum(copy, w, 1, got, 2 * N) == VAROKEL_OK);
    for (i = 0; i < 2 * N; ++i) CHECK(near_to(got[i], wanted[i], 1e-13));
    CHECK(varokel_problem_set_measured_lineshape(copy, NULL, 0) == VAROKEL_OK);
    varokel_problem_destroy(copy);

    /* a fitted lineshape comes back as it went in when nothing is free but it */
    copy = two_lines();
    CHECK(varokel_problem_set_fitted_lineshape(copy, middle, 3, 1) == VAROKEL_OK);
    CHECK(varokel_problem_set_takes_lineshape(copy, 0, 1) == VAROKEL_OK);
    CHECK(varokel_problem_spectrum(copy, w, VAROKEL_ALL_ENTRIES, data, 2 * N) == VAROKEL_OK);
    CHECK(varokel_problem_set_spectrum(copy, data, N) == VAROKEL_OK);
    CHECK(varokel_fit_find(copy, NULL, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_lineshape_coefficients(fit) == 3);
    CHECK(varokel_fit_lineshape(fit, coefficients, 6) == VAROKEL_OK);
    CHECK(varokel_fit_lineshape(fit, coefficients, 5) == VAROKEL_BAD_ARGUMENT);
    for (i = 0; i < 6; ++i) CHECK(near_to(coefficients[i], middle[i], 1e-6));
    varokel_fit_destroy(fit);
    varokel_problem_destroy(copy);
    varokel_problem_destroy(p);
    varokel_workspace_destroy(w);
}

static void windows_starts_and_verdicts(void) {
    const char *text = NULL, *name = NULL;
    const int *entries = NULL;
    int what = -1, count = -1, i, added = 0;
    double number = 0.0,
           values[2][5] = {{5.0, 181.0, 10.0, 15.0, 8.0}, {3.0, 321.0, 0.0, 15.0, 9.0}};
    double error[2][5], sum, shift;
    varokel_problem *p = two_lines();
    varokel_options *options = NULL;
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    CHECK(varokel_options_create(&options) == VAROKEL_OK);
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_problem_set_window(p, 1, VAROKEL_LORENTZ_WIDTH, 0.0, 6.0) == VAROKEL_OK);
    CHECK(varokel_options_set_starts(options, 3, 6) == VAROKEL_OK);
    CHECK(varokel_options_add_start(options, "mine", &values[0][0], 10) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_values(fit, &values[0][0], 10) == VAROKEL_OK);
    CHECK(varokel_fit_errors(fit, &error[0][0], 10) == VAROKEL_OK);
    CHECK(near_to(values[1][VAROKEL_LORENTZ_WIDTH], 6.0, 1e-12));
    CHECK(error[1][VAROKEL_LORENTZ_WIDTH] == 0.0);
    for (i = 0; i < varokel_fit_reasons(fit); ++i) {
        CHECK(varokel_fit_reason(fit, i, &what, &number, &text, &entries, &count) == VAROKEL_OK);
        CHECK(what >= 0 && what < VAROKEL_OPTIMUM && text[0] != '\0');
        if (what == VAROKEL_AT_BOUND) CHECK(count == 1 && entries[0] == 1 && number == 1.0);
    }
    CHECK(what == VAROKEL_AT_BOUND); /* the last one; a line too narrow is no fit, either */
    CHECK(varokel_fit_reason(fit, i, NULL, NULL, NULL, NULL, NULL) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_starts(fit) >= 3);
    for (i = 0; i < varokel_fit_starts(fit); ++i) {
        CHECK(varokel_fit_start(fit, i, &name, &sum, &shift, NULL) == VAROKEL_OK);
        CHECK(sum >= varokel_fit_sum_of_squares(fit) - 1e-5);
        added += strcmp(name, "mine") == 0;
    }
    CHECK(added == 1);
    varokel_fit_destroy(fit);

    CHECK(varokel_options_set_most_linearizations(options, 1) == VAROKEL_OK);
    CHECK(varokel_options_set_starts(options, 0, 0) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_verdict(fit) == VAROKEL_NOT_FINISHED);
    CHECK(varokel_fit_expected_decrease(fit) > 1e-4);
    varokel_fit_destroy(fit);

    add(p, "third", VAROKEL_GAUSSIAN, 1.0, 100.0, 10.0, 0.0, 0.0);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_BAD_ARGUMENT); /* a start of two */
    CHECK(strstr(varokel_workspace_message(w), "\"mine\"") != NULL);
    varokel_options_destroy(options);
    varokel_problem_destroy(p);
    varokel_workspace_destroy(w);
}

static void fixed_parameters_and_where_a_search_ends(void) {
    double values[2][5], errors[2][5];
    const double nan = strtod("nan", NULL);
    varokel_problem *p = two_lines();
    varokel_options *options = NULL;
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    int by_default;
    CHECK(varokel_options_create(&options) == VAROKEL_OK);
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);

    CHECK(varokel_problem_set_fixed(NULL, 0, VAROKEL_PHASE, 0.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_fixed(p, 2, VAROKEL_PHASE, 0.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_fixed(p, -1, VAROKEL_PHASE, 0.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_fixed(p, 0, VAROKEL_QUANTITIES, 0.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_fixed(p, 0, VAROKEL_GAUSS_WIDTH, 12.0) == VAROKEL_OK);
    CHECK(varokel_problem_set_fixed(p, 1, VAROKEL_LORENTZ_WIDTH, 10.0) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_values(fit, values[0], 10) == VAROKEL_OK);
    CHECK(varokel_fit_errors(fit, errors[0], 10) == VAROKEL_OK);
    CHECK(near_to(values[0][VAROKEL_GAUSS_WIDTH], 12.0, 1e-13)); /* Hz, as they were given */
    CHECK(near_to(values[1][VAROKEL_LORENTZ_WIDTH], 10.0, 1e-13));
    CHECK(errors[0][VAROKEL_GAUSS_WIDTH] == 0.0 && errors[1][VAROKEL_LORENTZ_WIDTH] == 0.0);
    CHECK(errors[0][VAROKEL_LORENTZ_WIDTH] > 0.0 && errors[1][VAROKEL_AREA] > 0.0);
    by_default = varokel_fit_linearizations(fit);
    CHECK(varokel_fit_verdict(fit) == VAROKEL_OPTIMUM);
    CHECK(varokel_fit_expected_decrease(fit) <= 1e-6);
    varokel_fit_destroy(fit);

    CHECK(varokel_options_set_expected_decrease(NULL, 1.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_options_set_expected_decrease(options, -1e-300) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_options_set_expected_decrease(options, nan) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_options_set_starts(options, 0, 0) == VAROKEL_OK);
    CHECK(varokel_options_set_expected_decrease(options, 1e300) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_verdict(fit) == VAROKEL_NOT_FINISHED); /* ends where it begins */
    CHECK(varokel_fit_linearizations(fit) < by_default);
    varokel_fit_destroy(fit);
    CHECK(varokel_options_set_expected_decrease(options, 0.0) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_verdict(fit) == VAROKEL_OPTIMUM); /* at the rounding */
    CHECK(varokel_fit_expected_decrease(fit) <= 1e-9);
    varokel_fit_destroy(fit);
    varokel_options_destroy(options);
    varokel_problem_destroy(p);
    varokel_workspace_destroy(w);
}

/* What a progress function saw, and after how many calls it says stop (0: never). */
struct seen {
    int calls, searches, linearizations, stop_after;
    double lowest;
};

static int watch(void *with, int searches, int linearizations, double sum_of_squares) {
    struct seen *all = (struct seen *)with;
    CHECK(searches >= all->searches && linearizations > all->linearizations - 1);
    ++all->calls;
    all->searches = searches;
    all->linearizations = linearizations;
    if (all->calls == 1 || sum_of_squares < all->lowest) all->lowest = sum_of_squares;
    return all->stop_after != 0 && all->calls >= all->stop_after;
}

static void progress_is_told_and_stops(void) {
    struct seen all = {0, 0, 0, 0, 0.0}, cut = {0, 0, 0, 2, 0.0}, none = {0, 0, 0, 1, 0.0};
    double plain[2][5], watched[2][5];
    varokel_problem *p = two_lines();
    varokel_options *options = NULL;
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_options_create(&options) == VAROKEL_OK);
    CHECK(varokel_options_set_starts(options, 4, 6) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_values(fit, &plain[0][0], 10) == VAROKEL_OK);
    varokel_fit_destroy(fit);
    CHECK(varokel_options_set_progress(NULL, watch, &all) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_options_set_progress(options, watch, &all) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_values(fit, &watched[0][0], 10) == VAROKEL_OK);
    CHECK(memcmp(plain, watched, sizeof plain) == 0); /* it changes nothing */
    CHECK(all.searches >= 4 && all.calls > all.searches);
    CHECK(all.lowest < varokel_fit_sum_of_squares(fit) + 1e-3);
    varokel_fit_destroy(fit);

    fit = NULL;
    CHECK(varokel_options_set_progress(options, watch, &cut) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_STOPPED);
    CHECK(fit == NULL && cut.calls == 2); /* it is not asked again */
    CHECK(strstr(varokel_workspace_message(w), "stopped") != NULL);
    CHECK(strcmp(varokel_status_text(VAROKEL_STOPPED), varokel_status_text(VAROKEL_FAILED)) != 0);
    CHECK(varokel_options_set_progress(options, watch, &none) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_STOPPED); /* before the first step */
    CHECK(fit == NULL && none.calls == 1);
    CHECK(varokel_options_set_progress(options, NULL, NULL) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, options, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_values(fit, &watched[0][0], 10) == VAROKEL_OK);
    CHECK(memcmp(plain, watched, sizeof plain) == 0); /* nor does a fit that was stopped */
    varokel_fit_destroy(fit);
    varokel_options_destroy(options);
    varokel_problem_destroy(p);
    varokel_workspace_destroy(w);
}

static void intervals_and_channels(void) {
    static double other[2 * N];
    double values[2][2][5], errors[2][5];
    varokel_problem *p = two_lines();
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    int i, turn;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_problem_add_interval(p, 60, 200) == VAROKEL_OK);
    CHECK(varokel_problem_set_channel(p, VAROKEL_ABSORPTION) == VAROKEL_OK);
    for (turn = 0; turn < 2; ++turn) { /* what is not fitted has no say */
        CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_OK);
        CHECK(varokel_fit_values(fit, &values[turn][0][0], 10) == VAROKEL_OK);
        CHECK(varokel_fit_errors(fit, &errors[0][0], 10) == VAROKEL_OK);
        varokel_fit_destroy(fit);
        memcpy(other, data, sizeof other);
        for (i = 0; i < N; ++i) {
            if (i < 60 || i > 200) other[2 * i] = 50.0;
            other[2 * i + 1] = -70.0;
        }
        CHECK(varokel_problem_set_spectrum(p, other, N) == VAROKEL_OK);
    }
    /* but for where broadened starts begin; a search leaves 1e-3 of an error */
    for (i = 0; i < 10; ++i)
        CHECK(
            near_to(values[1][i / 5][i % 5], values[0][i / 5][i % 5], 2e-3 * errors[i / 5][i % 5]));
    CHECK(varokel_problem_clear_intervals(p) == VAROKEL_OK);
    CHECK(varokel_problem_set_channel(p, VAROKEL_BOTH) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_OK);
    CHECK(varokel_fit_verdict(fit) != VAROKEL_OPTIMUM); /* now it has */
    varokel_fit_destroy(fit);
    varokel_problem_destroy(p);
    varokel_workspace_destroy(w);
}

static const varokel_problem *shared;
static void *fit_in_a_thread(void *place) {
    double *values = (double *)place;
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    int i;
    if (varokel_workspace_create(&w) != VAROKEL_OK) return NULL;
    for (i = 0; i < 5; ++i) {
        if (varokel_fit_find(shared, NULL, w, &fit) != VAROKEL_OK) return NULL;
        varokel_fit_values(fit, values, 10);
        varokel_fit_errors(fit, values + 10, 10);
        varokel_fit_destroy(fit);
    }
    varokel_workspace_destroy(w);
    return NULL;
}

static void the_same_bits_from_every_thread(void) {
    static double values[4][20];
    pthread_t threads[4];
    varokel_problem *p = two_lines();
    int i;
    shared = p;
    for (i = 0; i < 4; ++i)
        CHECK(pthread_create(&threads[i], NULL, fit_in_a_thread, values[i]) == 0);
    for (i = 0; i < 4; ++i) pthread_join(threads[i], NULL);
    CHECK(values[0][0] > 4.0);
    for (i = 1; i < 4; ++i) CHECK(memcmp(values[0], values[i], sizeof values[0]) == 0);
    varokel_problem_destroy(p);
}

int main(void) {
    char begins[32];
    sprintf(begins, "%d.%d.", VAROKEL_VERSION_MAJOR, VAROKEL_VERSION_MINOR);
    CHECK(strncmp(varokel_version(), begins, strlen(begins)) == 0);
    values_errors_and_curves();
    ties_have_the_units_of_their_quantity();
    settings_of_a_problem();
    windows_starts_and_verdicts();
    fixed_parameters_and_where_a_search_ends();
    progress_is_told_and_stops();
    intervals_and_channels();
    the_same_bits_from_every_thread();
    printf("%d failures\n", failures);
    return failures > 0;
}
