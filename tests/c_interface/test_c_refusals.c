/* SPDX-License-Identifier: BSD-3-Clause
 *
 * test_c_refusals.c -- what the C interface refuses, and its spectra of decays
 */
#include "two_lines.h"

static void what_is_refused(void) {
    static double bad[2 * N];
    double x;
    int i;
    varokel_problem *p = two_lines();
    varokel_workspace *w = NULL;
    varokel_fit *fit = NULL;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_problem_create(100, hz, &p) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_create(N, 0.0, &p) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_create(N, HUGE_VAL, &p) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_create(N, hz, NULL) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_spectrum(p, data, N / 2) == VAROKEL_BAD_ARGUMENT);
    CHECK(strcmp(varokel_problem_message(p), "the spectrum has 128 points, not 256") == 0);
    CHECK(varokel_problem_set_spectrum(p, NULL, N) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_noise_sd(p, 0.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_noise_sd(p, HUGE_VAL - HUGE_VAL) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_truncation(p, N, 0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_truncation(p, 8, 8) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_truncation(p, 0, N + 1) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_truncation(p, 0, -1) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_truncation(p, -1, 0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_truncation(p, N - 1, N) == VAROKEL_OK); /* all that there are */
    CHECK(varokel_problem_set_truncation(p, 0, 0) == VAROKEL_OK);
    CHECK(varokel_problem_set_channel(p, 3) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_add_interval(p, 5, 4) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_add_interval(p, 0, N) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_add_entry(p, NULL, 5, NULL) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_entry_pattern(p, 0, 0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_free(p, 2, VAROKEL_AREA, 1.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_free(p, 0, VAROKEL_QUANTITIES, 1.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_entries(p) == 2);

    memcpy(bad, data, sizeof bad);
    bad[2 * 5 + 1] = HUGE_VAL;
    CHECK(varokel_problem_set_spectrum(p, bad, N) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_BAD_PROBLEM && fit == NULL);
    CHECK(strstr(varokel_workspace_message(w), "point 5 of the spectrum is not finite") != NULL);
    CHECK(varokel_workspace_failed_entry(w) == -1);
    CHECK(varokel_problem_set_spectrum(p, data, N) == VAROKEL_OK);
    CHECK(varokel_problem_set_tied(p, 1, VAROKEL_AREA, 1, 1.0, 0.0) == VAROKEL_OK);
    CHECK(varokel_fit_find(p, NULL, w, &fit) == VAROKEL_BAD_PROBLEM && fit == NULL);
    CHECK(varokel_workspace_failed_entry(w) == 1);
    CHECK(varokel_problem_spectrum(p, w, 0, bad, 2 * N) == VAROKEL_BAD_PROBLEM);

    /* null pointers */
    CHECK(varokel_fit_find(NULL, NULL, w, &fit) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_find(p, NULL, NULL, &fit) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_find(p, NULL, w, NULL) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_problem_set_free(NULL, 0, 0, 1.0) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_derive(NULL, w, "1", &x, &x) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_values(NULL, &x, 1) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_fit_entries(NULL) == 0 && varokel_fit_verdict(NULL) == -1);
    CHECK(varokel_problem_message(NULL)[0] == '\0' && varokel_workspace_message(NULL)[0] == '\0');
    varokel_problem_destroy(NULL);
    varokel_options_destroy(NULL);
    varokel_workspace_destroy(NULL);
    varokel_fit_destroy(NULL);
    for (i = VAROKEL_OK; i <= VAROKEL_FAILED + 1; ++i) CHECK(varokel_status_text(i)[0] != '\0');
    CHECK(varokel_verdict_name(VAROKEL_OPTIMUM + 1) == NULL && varokel_verdict_name(-1) == NULL);
    CHECK(strcmp(varokel_verdict_name(VAROKEL_OPTIMUM), "optimum") == 0);
    varokel_problem_destroy(p);
    varokel_workspace_destroy(w);
}

static void spectra_of_decays(void) {
    static double fid[2 * N], back[2 * N], spectrum[2 * N];
    double sd, mean = 0.0, squares = 0.0;
    int i, first = -1, last = -1;
    for (i = 0; i < N; ++i) { /* a line 40 Hz above the carrier: point 148 */
        fid[2 * i] = exp(-0.05 * i) * cos(2.0 * pi * 20.0 * i / N);
        fid[2 * i + 1] = exp(-0.05 * i) * sin(2.0 * pi * 20.0 * i / N);
    }
    CHECK(varokel_spectrum_of_fid(fid, N, N, spectrum) == VAROKEL_OK);
    for (i = 0; i < N; ++i) CHECK(spectrum[2 * i] <= spectrum[2 * 148]);
    for (i = 0; i < N; ++i) mean += spectrum[2 * i];
    CHECK(near_to(mean, 0.5, 1e-12)); /* half of the area */
    CHECK(varokel_fid_of_spectrum(spectrum, N, back) == VAROKEL_OK);
    for (i = 0; i < 2 * N; ++i) CHECK(near_to(back[i], fid[i], 1e-13));
    CHECK(varokel_spectrum_of_fid(fid, 100, N, spectrum) == VAROKEL_OK); /* filled with zeros */
    CHECK(varokel_fid_of_spectrum(spectrum, N, back) == VAROKEL_OK);
    for (i = 0; i < 2 * N; ++i) CHECK(near_to(back[i], i < 200 ? fid[i] : 0.0, 1e-13));
    CHECK(varokel_spectrum_of_fid(fid, N, 100, spectrum) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_spectrum_of_fid(fid, 0, N, spectrum) == VAROKEL_BAD_ARGUMENT);

    for (i = 0; i < 2 * N; ++i) spectrum[i] = noise() + (i >= 200 && i < 300 ? 90.0 + i : 7.0);
    CHECK(varokel_noise_window(spectrum, N, &first, &last) == VAROKEL_OK);
    CHECK(last - first + 1 == N / 8 && first >= 0 && last < N && (last < 100 || first >= 150));
    mean = 0.0;
    for (i = first; i <= last; ++i) mean += spectrum[2 * i] / (last - first + 1);
    for (i = first; i <= last; ++i) squares += pow(spectrum[2 * i] - mean, 2.0);
    CHECK(varokel_noise_sd(spectrum, N, first, last, &sd) == VAROKEL_OK);
    CHECK(near_to(sd, sqrt(squares / (last - first + 1)), 1e-13));
    CHECK(varokel_noise_sd(spectrum, N, 0, N, &sd) == VAROKEL_BAD_ARGUMENT);
    CHECK(varokel_noise_sd(spectrum, N, 9, 8, &sd) == VAROKEL_BAD_ARGUMENT);
}

int main(void) {
    spectra_of_decays();
    what_is_refused();
    printf("%d failures\n", failures);
    return failures > 0;
}
