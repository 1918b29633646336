// SPDX-License-Identifier: BSD-3-Clause
// small_matrix.cpp -- linear algebra of complex matrices of a few dozen rows
#include "files/measured/small_matrix.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace tools {

static constexpr double rounding = std::numeric_limits<double>::epsilon();

small_matrix hermitian_vectors(small_matrix a) {
    const std::size_t n = a.size();
    small_matrix v(n);
    for (std::size_t i = 0; i < n; ++i) v(i, i) = 1.0;
    for (int sweep = 0; sweep < 60; ++sweep) {
        double off = 0.0, on = 0.0;
        for (std::size_t p = 0; p < n; ++p) {
            on += std::norm(a(p, p));
            for (std::size_t q = p + 1; q < n; ++q) off += std::norm(a(p, q));
        }
        if (!(off > rounding * rounding * on)) break;
        for (std::size_t p = 0; p < n; ++p)
            for (std::size_t q = p + 1; q < n; ++q) {
                const double size = std::abs(a(p, q));
                if (!(size > 0.0)) continue;
                const std::complex<double> turn = a(p, q) / size;
                const double theta = 0.5 * (a(q, q).real() - a(p, p).real()) / size;
                const double t =
                    (theta < 0.0 ? -1.0 : 1.0) / (std::fabs(theta) + std::hypot(1.0, theta));
                const double c = 1.0 / std::hypot(1.0, t), s = t * c;
                // columns p and q of a and v, then rows p and q of a
                for (std::size_t i = 0; i < n; ++i) {
                    for (small_matrix *const m : {&a, &v}) {
                        const std::complex<double> x = (*m)(i, p), y = (*m)(i, q);
                        (*m)(i, p) = c * x - s * std::conj(turn) * y;
                        (*m)(i, q) = s * turn * x + c * y;
                    }
                }
                for (std::size_t i = 0; i < n; ++i) {
                    const std::complex<double> x = a(p, i), y = a(q, i);
                    a(p, i) = c * x - s * turn * y;
                    a(q, i) = s * std::conj(turn) * x + c * y;
                }
            }
    }
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t i, std::size_t j) { return a(i, i).real() > a(j, j).real(); });
    small_matrix out(n);
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t i = 0; i < n; ++i) out(i, k) = v(i, order[k]);
    return out;
}

static void to_hessenberg(small_matrix &a) {
    const std::size_t n = a.size();
    for (std::size_t m = 1; m + 1 < n; ++m) {
        std::size_t pivot = m;
        for (std::size_t i = m; i < n; ++i)
            if (std::norm(a(i, m - 1)) > std::norm(a(pivot, m - 1))) pivot = i;
        if (a(pivot, m - 1) == 0.0) continue;
        if (pivot != m) {
            for (std::size_t j = m - 1; j < n; ++j) std::swap(a(pivot, j), a(m, j));
            for (std::size_t i = 0; i < n; ++i) std::swap(a(i, pivot), a(i, m));
        }
        for (std::size_t i = m + 1; i < n; ++i) {
            const std::complex<double> factor = a(i, m - 1) / a(m, m - 1);
            if (factor == 0.0) continue;
            a(i, m - 1) = 0.0;
            for (std::size_t j = m; j < n; ++j) a(i, j) -= factor * a(m, j);
            for (std::size_t k = 0; k < n; ++k) a(k, m) += factor * a(k, i);
        }
    }
}

// The eigenvalue of the last two by two block that is nearer to its last element.
static std::complex<double> shift_of(const small_matrix &a, std::size_t last) {
    const std::complex<double> p = a(last - 1, last - 1), q = a(last - 1, last),
                               r = a(last, last - 1), s = a(last, last);
    const std::complex<double> half = 0.5 * (p - s), root = std::sqrt(half * half + q * r);
    const std::complex<double> sum =
        (std::conj(half) * root).real() < 0.0 ? half - root : half + root;
    return sum == 0.0 ? s : s - q * r / sum;
}

// One step of QR on rows and columns first to last of a Hessenberg matrix.
static void qr_step(small_matrix &a, std::size_t first, std::size_t last,
                    std::complex<double> shift) {
    std::vector<std::pair<double, std::complex<double>>> turns;
    for (std::size_t i = first; i <= last; ++i) a(i, i) -= shift;
    for (std::size_t k = first; k < last; ++k) {
        const std::complex<double> x = a(k, k), y = a(k + 1, k);
        const double length = std::hypot(std::abs(x), std::abs(y));
        double c = 1.0;
        std::complex<double> s = 0.0;
        if (length > 0.0) {
            c = std::abs(x) / length;
            const std::complex<double> unit = x == 0.0 ? 1.0 : x / std::abs(x);
            s = unit * std::conj(y) / length;
        }
        turns.emplace_back(c, s);
        for (std::size_t j = k; j <= last; ++j) {
            const std::complex<double> u = a(k, j), w = a(k + 1, j);
            a(k, j) = c * u + s * w;
            a(k + 1, j) = -std::conj(s) * u + c * w;
        }
    }
    for (std::size_t k = first; k < last; ++k) {
        const auto &[c, s] = turns[k - first];
        for (std::size_t i = first; i <= std::min(k + 2, last); ++i) {
            const std::complex<double> u = a(i, k), w = a(i, k + 1);
            a(i, k) = c * u + std::conj(s) * w;
            a(i, k + 1) = -s * u + c * w;
        }
    }
    for (std::size_t i = first; i <= last; ++i) a(i, i) += shift;
}

std::vector<std::complex<double>> eigenvalues(small_matrix a) {
    std::vector<std::complex<double>> out;
    if (a.size() == 0) return out;
    to_hessenberg(a);
    std::size_t last = a.size() - 1;
    int steps = 0;
    for (;;) {
        std::size_t first = last;
        while (first > 0 &&
               std::abs(a(first, first - 1)) >
                   rounding * (std::abs(a(first, first)) + std::abs(a(first - 1, first - 1))))
            --first;
        if (first == last) {
            out.push_back(a(last, last));
            if (last == 0) return out;
            --last;
            steps = 0;
            continue;
        }
        if (++steps > 200) return out;
        // every tenth shift is another one: a cycle is left
        const std::complex<double> shift =
            steps % 10 == 0 ? a(last, last) + std::abs(a(last, last - 1)) : shift_of(a, last);
        qr_step(a, first, last, shift);
    }
}

std::vector<std::complex<double>> solve(small_matrix a, std::vector<std::complex<double>> b) {
    const std::size_t n = a.size();
    double largest = 0.0;
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) largest = std::max(largest, std::abs(a(i, j)));
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k; i < n; ++i)
            if (std::norm(a(i, k)) > std::norm(a(pivot, k))) pivot = i;
        for (std::size_t j = 0; j < n; ++j) std::swap(a(pivot, j), a(k, j));
        std::swap(b[pivot], b[k]);
        if (std::abs(a(k, k)) <= 1e-13 * largest) { // depends on those before
            for (std::size_t j = k; j < n; ++j) a(k, j) = 0.0;
            a(k, k) = 1.0;
            b[k] = 0.0;
            continue;
        }
        for (std::size_t i = k + 1; i < n; ++i) {
            const std::complex<double> factor = a(i, k) / a(k, k);
            for (std::size_t j = k; j < n; ++j) a(i, j) -= factor * a(k, j);
            b[i] -= factor * b[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        for (std::size_t j = k + 1; j < n; ++j) b[k] -= a(k, j) * b[j];
        b[k] /= a(k, k);
    }
    return b;
}

} // namespace tools
