// SPDX-License-Identifier: BSD-3-Clause
// mirrored_axis.cpp -- whether start values explain more of a spectrum on the mirrored axis
#include "files/start/mirrored_axis.h"

#include <algorithm>
#include <cmath>

namespace tools {

// Solves L y = b in place for the Cholesky factor of a Hermitian matrix, row by row, and returns
// y^H y = b^H G^-1 b.
static double reduced_energy(std::vector<std::complex<double>> g,
                             std::vector<std::complex<double>> b) {
    const std::size_t n = b.size();
    double energy = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            std::complex<double> sum = g[n * i + j];
            for (std::size_t k = 0; k < j; ++k) sum -= g[n * i + k] * std::conj(g[n * j + k]);
            if (j < i) {
                g[n * i + j] = sum / g[n * j + j];
                continue;
            }
            if (!(sum.real() > 0.0)) return energy; // the rest says nothing new
            g[n * i + i] = std::sqrt(sum.real());
        }
        for (std::size_t k = 0; k < i; ++k) b[i] -= g[n * i + k] * b[k];
        b[i] /= g[n * i + i];
        energy += std::norm(b[i]);
    }
    return energy;
}

double explained_energy(const std::vector<complex_signal> &curves,
                        const std::vector<std::complex<double>> &products,
                        const std::vector<std::size_t> &points, const complex_signal &data) {
    const std::size_t n = curves.size();
    std::vector<std::complex<double>> overlap(n), matrix = products;
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t i = 0; i < points.size(); ++i)
            overlap[k] += std::conj(curves[k][i]) * data[points[i]];
    double largest = 0.0;
    for (std::size_t k = 0; k < n; ++k) largest = std::max(largest, std::abs(products[n * k + k]));
    for (std::size_t k = 0; k < n; ++k) matrix[n * k + k] += 1e-6 * largest;
    return reduced_energy(std::move(matrix), std::move(overlap));
}

complex_signal mirrored(const complex_signal &spectrum) {
    const std::size_t n = spectrum.size();
    complex_signal turned(n);
    for (std::size_t i = 0; i < n; ++i) turned[i] = std::conj(spectrum[(n - i) % n]);
    return turned;
}

std::optional<axis_advice> advise_mirrored(const std::vector<complex_signal> &curves,
                                           const std::vector<std::complex<double>> &products,
                                           const std::vector<std::size_t> &points,
                                           const complex_signal &spectrum, double noise_variance) {
    double all = 0.0;
    for (const std::complex<double> &point : spectrum) all += std::norm(point);
    if (!(all > 0.0) || curves.empty()) return std::nullopt;
    const double here = explained_energy(curves, products, points, spectrum);
    const double there = explained_energy(curves, products, points, mirrored(spectrum));
    // noise gives 2 variance for each amplitude
    const double of_noise = 2.0 * noise_variance * static_cast<double>(curves.size());
    if (!(there > 2.0 * here) || !(there > 10.0 * of_noise)) return std::nullopt;
    return axis_advice{here / all, there / all};
}

} // namespace tools
