/* SPDX-License-Identifier: BSD-3-Clause
 *
 * test_c_threads.c -- many fits at once: one problem and one set of options for all, fits that are
 * stopped from another thread while others go on, one table's start values for all, and a table a
 * thread
 *
 * Meant for a thread sanitizer too: all that threads share here has a mutex, what the library
 * shares has none.
 */
#include "two_lines.h"

#include <varokel_start.h>

#include <time.h>

#define THREADS 8
#define ROUNDS 6

static pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER;
static const varokel_problem *problem;
static const varokel_options *told;
static const varokel_start *shared_start;
static int calls, stop_now, no_more, all_ended, all_stopped; /* under the gate */

struct place {
    int fits, wrong;
    double values[20], of_table[20], derived;
};

/* The one function of all fits: counts under the mutex, and says what the main thread has decided.
 */
static int progress(void *with, int searches, int linearizations, double sum_of_squares) {
    int answer;
    (void)searches, (void)linearizations, (void)sum_of_squares;
    pthread_mutex_lock(&gate);
    ++*(int *)with;
    answer = stop_now;
    pthread_mutex_unlock(&gate);
    return answer;
}

static int same_fit(varokel_workspace *w, const varokel_options *options, double *values) {
    varokel_fit *fit = NULL;
    const int status = varokel_fit_find(problem, options, w, &fit);
    if (status != VAROKEL_OK) return status;
    varokel_fit_values(fit, values, 10);
    varokel_fit_errors(fit, values + 10, 10);
    varokel_fit_destroy(fit);
    return status;
}

/* While the main thread lets fits end and stops them in turn: a fit is whole or stopped. */
static void *fits_that_may_be_stopped(void *given) {
    struct place *own = (struct place *)given;
    double values[20];
    varokel_workspace *w = NULL;
    int go_on = 1;
    if (varokel_workspace_create(&w) != VAROKEL_OK) return NULL;
    if (same_fit(w, NULL, own->values) != VAROKEL_OK) ++own->wrong;
    while (go_on) {
        const int status = same_fit(w, told, values);
        if (status == VAROKEL_OK && memcmp(values, own->values, sizeof values) != 0) ++own->wrong;
        if (status != VAROKEL_OK && status != VAROKEL_STOPPED) ++own->wrong;
        ++own->fits;
        pthread_mutex_lock(&gate);
        if (status == VAROKEL_OK) ++all_ended;
        if (status == VAROKEL_STOPPED) ++all_stopped;
        go_on = !no_more && own->wrong == 0;
        pthread_mutex_unlock(&gate);
    }
    varokel_workspace_destroy(w);
    return NULL;
}

static const char table_text[] =
    "noise: 200 to 239 points\n"
    "interval: 0 to 255 points\n"
    "strategy: standard\n"
    "derive: ratio = PCr/ATP1\n"
    "name  type     area  frequency[Hz]  gauss[Hz]  lorentz[Hz]  phase[deg]\n"
    "PCr   voigt    ?     -72            8          8            ?\n"
    "ATP1  lorentz  ?     60             -          8            =PCr\n";
static const char sidecar[] = "{\"points\": 256, \"hz_per_point\": 2.0}";

/* A table of its own, and the start values that all share. */
static void *fits_of_tables(void *given) {
    struct place *own = (struct place *)given;
    varokel_workspace *w = NULL;
    varokel_table *table = NULL;
    varokel_start *mine = NULL;
    const varokel_start *each[2];
    double values[20], derived = 0.0;
    int i;
    if (varokel_workspace_create(&w) != VAROKEL_OK) return NULL;
    if (varokel_table_read(table_text, "t.txt", w, &table) != VAROKEL_OK ||
        varokel_table_start(table, sidecar, data, N, w, &mine) != VAROKEL_OK) {
        fprintf(stderr, "%s\n", varokel_workspace_message(w));
        ++own->wrong;
        return NULL;
    }
    each[0] = mine, each[1] = shared_start;
    for (i = 0; i < 2 * ROUNDS; ++i) {
        varokel_problem *p = NULL;
        varokel_fit *fit = NULL;
        const varokel_start *of = each[i % 2];
        if (varokel_start_problem(of, data, N, noise_sd, NULL, w, &p) != VAROKEL_OK ||
            varokel_fit_find(p, NULL, w, &fit) != VAROKEL_OK ||
            varokel_start_derive(of, 0, fit, w, NULL, NULL, &derived, NULL) != VAROKEL_OK) {
            ++own->wrong;
        } else {
            varokel_fit_values(fit, values, 10);
            varokel_fit_errors(fit, values + 10, 10);
            if (i == 0) {
                memcpy(own->of_table, values, sizeof values);
                own->derived = derived;
            }
            if (memcmp(own->of_table, values, sizeof values) != 0 || derived != own->derived)
                ++own->wrong;
        }
        varokel_fit_destroy(fit);
        varokel_problem_destroy(p);
    }
    varokel_start_destroy(mine);
    varokel_table_destroy(table);
    varokel_workspace_destroy(w);
    return NULL;
}

static void wait_for(const int *count, int least) {
    const struct timespec pause = {0, 1000000};
    int now = 0, turn;
    for (turn = 0; turn < 30000 && now < least; ++turn) {
        pthread_mutex_lock(&gate);
        now = *count;
        pthread_mutex_unlock(&gate);
        nanosleep(&pause, NULL);
    }
    CHECK(now >= least);
}

static void stopped_from_another_thread(void) {
    static struct place places[THREADS];
    pthread_t threads[THREADS];
    varokel_problem *p = two_lines();
    varokel_options *options = NULL;
    int i, turn;
    CHECK(varokel_options_create(&options) == VAROKEL_OK);
    CHECK(varokel_options_set_progress(options, progress, &calls) == VAROKEL_OK);
    problem = p, told = options;
    for (i = 0; i < THREADS; ++i)
        CHECK(pthread_create(&threads[i], NULL, fits_that_may_be_stopped, &places[i]) == 0);
    for (turn = 1; turn <= ROUNDS; ++turn) {
        wait_for(&all_ended, 20 * turn);
        pthread_mutex_lock(&gate);
        stop_now = 1;
        pthread_mutex_unlock(&gate);
        wait_for(&all_stopped, 20 * turn);
        pthread_mutex_lock(&gate);
        stop_now = 0;
        no_more = turn == ROUNDS;
        pthread_mutex_unlock(&gate);
    }
    for (i = 0; i < THREADS; ++i) {
        pthread_join(threads[i], NULL);
        CHECK(places[i].wrong == 0 && places[i].fits > 0);
        CHECK(memcmp(places[0].values, places[i].values, sizeof places[0].values) == 0);
    }
    CHECK(places[0].values[0] > 4.0);
    printf("%d fits to their end, %d stopped, %d calls\n", all_ended, all_stopped, calls);
    varokel_options_destroy(options);
    varokel_problem_destroy(p);
}

static void one_start_for_all(void) {
    static struct place places[THREADS];
    pthread_t threads[THREADS];
    varokel_workspace *w = NULL;
    varokel_table *table = NULL;
    varokel_start *start = NULL;
    int i;
    CHECK(varokel_workspace_create(&w) == VAROKEL_OK);
    CHECK(varokel_table_read(table_text, "t.txt", w, &table) == VAROKEL_OK);
    CHECK(varokel_table_start(table, sidecar, data, N, w, &start) == VAROKEL_OK);
    shared_start = start;
    for (i = 0; i < THREADS; ++i)
        CHECK(pthread_create(&threads[i], NULL, fits_of_tables, &places[i]) == 0);
    for (i = 0; i < THREADS; ++i) {
        pthread_join(threads[i], NULL);
        CHECK(places[i].wrong == 0);
        CHECK(memcmp(places[0].of_table, places[i].of_table, sizeof places[0].of_table) == 0);
    }
    CHECK(near_to(places[0].derived, 5.0 / 3.0, 0.05));
    varokel_start_destroy(start);
    varokel_table_destroy(table);
    varokel_workspace_destroy(w);
}

int main(void) {
    stopped_from_another_thread();
    one_start_for_all();
    printf("%d failures\n", failures);
    return failures > 0;
}
