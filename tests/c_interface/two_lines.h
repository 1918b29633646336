/* SPDX-License-Identifier: BSD-3-Clause
 *
 * two_lines.h -- checks, the spectrum of a line by its definition, and a problem of two lines
 */
#include <varokel.h>

#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define N 256
static const double hz = 2.0; /* per point */
static const double pi = 3.14159265358979323846;

static int failures = 0;
static void check(int holds, const char *what, int line) {
    if (holds) return;
    ++failures;
    fprintf(stderr, "line %d: not so: %s\n", line, what);
}
#define CHECK(what) check((what), #what, __LINE__)

static int near_to(double got, double wanted, double tolerance) {
    if (fabs(got - wanted) <= tolerance) return 1;
    fprintf(stderr, "got %.17g, wanted %.17g within %g\n", got, wanted, tolerance);
    return 0;
}

/* By the definition, point by point: the centred spectrum of a Voigt line's decay. */
static void spectrum_by_definition(double area, double f, double gauss, double phase,
                                   double lorentz, double first_order, int ignored, int kept,
                                   double *out) {
    static double decay[2 * N];
    const double d = first_order / 360.0, g = gauss / hz / 1.67, L = lorentz / hz, point = f / hz;
    int n, j;
    for (n = 0; n < N; ++n) {
        const double t = (n + d) / N, w = 2.0 * pi * (point + N / 2);
        const double psi = w * d / N + pi * phase / 180.0 - pi * d;
        double size = area * exp(-pi * pi * g * g * t * t - pi * L * t);
        if (n == 0) size *= 0.5;
        if (n < ignored || (kept > 0 && n >= kept)) size = 0.0;
        decay[2 * n] = size * cos(w * n / N + psi);
        decay[2 * n + 1] = size * sin(w * n / N + psi);
    }
    for (j = 0; j < N; ++j) {
        double re = 0.0, im = 0.0;
        for (n = 0; n < N; ++n) {
            const double a = -2.0 * pi * ((j + N / 2) % N) * n / N;
            re += decay[2 * n] * cos(a) - decay[2 * n + 1] * sin(a);
            im += decay[2 * n] * sin(a) + decay[2 * n + 1] * cos(a);
        }
        out[2 * j] = re / N;
        out[2 * j + 1] = im / N;
    }
}

static double noise(void) {
    static unsigned long state = 7;
    double sum = -6.0;
    int i;
    for (i = 0; i < 12; ++i) {
        state = (state * 1103515245ul + 12345ul) & 0x7ffffffful;
        sum += (double)state / 2147483648.0;
    }
    return sum;
}

static int add(varokel_problem *p, const char *name, int line, double area, double f, double gauss,
               double phase, double lorentz) {
    int entry = -1;
    CHECK(varokel_problem_add_entry(p, name, line, &entry) == VAROKEL_OK);
    CHECK(varokel_problem_set_free(p, entry, VAROKEL_AREA, area) == VAROKEL_OK);
    CHECK(varokel_problem_set_free(p, entry, VAROKEL_FREQUENCY, f) == VAROKEL_OK);
    CHECK(varokel_problem_set_free(p, entry, VAROKEL_GAUSS_WIDTH, gauss) == VAROKEL_OK);
    CHECK(varokel_problem_set_free(p, entry, VAROKEL_PHASE, phase) == VAROKEL_OK);
    CHECK(varokel_problem_set_free(p, entry, VAROKEL_LORENTZ_WIDTH, lorentz) == VAROKEL_OK);
    return entry;
}

/* A Voigt line and a Lorentzian that follows its phase, with noise. */
static double data[2 * N];
static const double noise_sd = 0.01;
static varokel_problem *two_lines(void) {
    static double second[2 * N];
    varokel_problem *p = NULL;
    int i;
    spectrum_by_definition(5.0, 180.0, 12.0, 20.0, 8.0, 0.0, 0, 0, data);
    spectrum_by_definition(3.0, 320.0, 0.0, 20.0, 10.0, 0.0, 0, 0, second);
    for (i = 0; i < 2 * N; ++i) data[i] += second[i] + noise_sd * noise();
    CHECK(varokel_problem_create(N, hz, &p) == VAROKEL_OK);
    CHECK(varokel_problem_set_spectrum(p, data, N) == VAROKEL_OK);
    CHECK(varokel_problem_set_noise_sd(p, noise_sd) == VAROKEL_OK);
    add(p, "PCr", VAROKEL_VOIGT, 4.0, 184.0, 8.0, 0.0, 8.0);
    add(p, "ATP1", VAROKEL_LORENTZIAN, 4.0, 316.0, 99.0, 0.0, 8.0);
    CHECK(varokel_problem_set_tied(p, 1, VAROKEL_PHASE, 0, 1.0, 0.0) == VAROKEL_OK);
    return p;
}
