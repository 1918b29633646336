// SPDX-License-Identifier: BSD-3-Clause
// combine_coils.cpp -- one FID from those of several receive coils
#include "files/measured/combine_coils.h"

#include "engine/centred_spectrum.h"
#include "engine/noise_window.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tools {

typedef std::vector<std::complex<double>> square_matrix; // row-major

// Of the points that fill a transform.
static complex_signal spectrum_of_coil(const complex_signal &fid) {
    static constexpr std::size_t most = kernel::transform_plan::most_points;
    const std::size_t n = std::min(std::bit_floor(fid.size()), most);
    return engine::spectrum_of_fid({fid.data(), n}, static_cast<int>(n));
}

coil_noise noise_of_coils(const std::vector<std::vector<complex_signal>> &fids) {
    const std::size_t coils = fids.front().size();
    coil_noise noise;
    noise.covariance.assign(coils * coils, 0.0);
    engine::shared_stretch_search search;
    for (const auto &average : fids)
        for (const complex_signal &fid : average) search.add(spectrum_of_coil(fid));
    std::tie(noise.first, noise.stop) = search.stretch();
    const auto first = static_cast<std::size_t>(noise.first);
    const auto length = static_cast<std::size_t>(noise.stop - noise.first);
    for (const auto &average : fids) {
        std::vector<complex_signal> stretches;
        for (const complex_signal &fid : average) {
            const complex_signal spectrum = spectrum_of_coil(fid);
            complex_signal &own = stretches.emplace_back(
                spectrum.begin() + static_cast<std::ptrdiff_t>(first),
                spectrum.begin() + static_cast<std::ptrdiff_t>(first + length));
            std::complex<double> mean = 0.0;
            for (const auto &point : own) mean += point / static_cast<double>(length);
            for (auto &point : own) point -= mean;
        }
        for (std::size_t c = 0; c < coils; ++c)
            for (std::size_t d = 0; d < coils; ++d)
                for (std::size_t i = 0; i < length; ++i)
                    noise.covariance[c * coils + d] += stretches[c][i] * std::conj(stretches[d][i]);
    }
    noise.diagonal = fids.size() * length < 4 * coils;
    return noise;
}

// L with L L^H = m, lower; empty when m is not positive.
static square_matrix lower_factor(const square_matrix &m, std::size_t n) {
    square_matrix l(n * n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        double pivot = m[j * n + j].real();
        for (std::size_t k = 0; k < j; ++k) pivot -= std::norm(l[j * n + k]);
        if (!(pivot > 1e-12 * m[j * n + j].real())) return {};
        l[j * n + j] = std::sqrt(pivot);
        for (std::size_t i = j + 1; i < n; ++i) {
            std::complex<double> sum = m[i * n + j];
            for (std::size_t k = 0; k < j; ++k) sum -= l[i * n + k] * std::conj(l[j * n + k]);
            l[i * n + j] = sum / l[j * n + j];
        }
    }
    return l;
}

// x of L x = b, or of L^H x = b.
static square_matrix solved(const square_matrix &l, square_matrix b, bool adjoint) {
    const std::size_t n = b.size();
    for (std::size_t step = 0; step < n; ++step) {
        const std::size_t i = adjoint ? n - 1 - step : step;
        for (std::size_t k = adjoint ? i + 1 : 0; k < (adjoint ? n : i); ++k)
            b[i] -= (adjoint ? std::conj(l[k * n + i]) : l[i * n + k]) * b[k];
        b[i] /= l[i * n + i].real();
    }
    return b;
}

// Eigenvector of the largest eigenvalue of sum_k x_k x_k^H, by the power method.
static square_matrix first_vector(const std::vector<square_matrix> &columns, std::size_t n) {
    static constexpr int most_steps = 500;
    square_matrix matrix(n * n, 0.0);
    for (const square_matrix &x : columns)
        for (std::size_t c = 0; c < n; ++c)
            for (std::size_t d = 0; d < n; ++d) matrix[c * n + d] += x[c] * std::conj(x[d]);
    std::size_t largest = 0;
    for (std::size_t c = 1; c < n; ++c)
        if (matrix[c * n + c].real() > matrix[largest * n + largest].real()) largest = c;
    square_matrix v(n, 0.0);
    v[largest] = 1.0;
    for (int step = 0; step < most_steps; ++step) {
        square_matrix next(n, 0.0);
        double length = 0.0;
        for (std::size_t c = 0; c < n; ++c) {
            for (std::size_t d = 0; d < n; ++d) next[c] += matrix[c * n + d] * v[d];
            length += std::norm(next[c]);
        }
        if (!(length > 0.0)) return v;
        double change = 0.0;
        for (std::size_t c = 0; c < n; ++c) {
            next[c] /= std::sqrt(length);
            change += std::norm(next[c] - v[c]);
        }
        v = std::move(next);
        if (change < 1e-28) break;
    }
    return v;
}

std::vector<std::complex<double>> weights_of_coils(const std::vector<complex_signal> &coils,
                                                   const coil_noise &noise) {
    const std::size_t n = coils.size();
    square_matrix psi = noise.covariance;
    square_matrix l = noise.diagonal ? square_matrix() : lower_factor(psi, n);
    if (l.empty()) {
        // a coil without noise is one without signal, too: it gets the noise of the others
        double largest = 0.0;
        for (std::size_t c = 0; c < n; ++c) largest = std::max(largest, psi[c * n + c].real());
        for (std::size_t c = 0; c < n; ++c)
            for (std::size_t d = 0; d < n; ++d)
                if (c != d)
                    psi[c * n + d] = 0.0;
                else if (!(psi[c * n + c].real() > 0.0))
                    psi[c * n + c] = largest > 0.0 ? largest : 1.0;
        l = lower_factor(psi, n);
    }
    const std::size_t points = std::max<std::size_t>(1, coils.front().size() / 8);
    std::vector<square_matrix> whitened;
    for (std::size_t k = 0; k < points; ++k) {
        square_matrix x(n);
        for (std::size_t c = 0; c < n; ++c) x[c] = coils[c][k];
        whitened.push_back(solved(l, std::move(x), false));
    }
    const square_matrix u = first_vector(whitened, n);
    square_matrix s(n, 0.0); // L u
    double square = 0.0;
    std::size_t strongest = 0;
    for (std::size_t c = 0; c < n; ++c) {
        for (std::size_t d = 0; d <= c; ++d) s[c] += l[c * n + d] * u[d];
        square += std::norm(s[c]) / static_cast<double>(n);
        if (std::norm(s[c]) > std::norm(s[strongest])) strongest = c;
    }
    const std::complex<double> unit =
        std::conj(s[strongest]) / (std::abs(s[strongest]) * std::sqrt(square));
    for (auto &each : s) each *= unit;
    square_matrix w = solved(l, solved(l, s, false), true); // Psi^-1 s
    double gain = 0.0;                                      // s^H Psi^-1 s
    for (std::size_t c = 0; c < n; ++c) gain += (std::conj(s[c]) * w[c]).real();
    for (auto &each : w) each = std::conj(each) / gain;
    return w;
}

complex_signal combined_fid(const std::vector<complex_signal> &coils,
                            const std::vector<std::complex<double>> &weights) {
    complex_signal sum(coils.front().size());
    for (std::size_t c = 0; c < coils.size(); ++c)
        for (std::size_t k = 0; k < sum.size(); ++k) sum[k] += weights[c] * coils[c][k];
    return sum;
}

double signal_to_noise(const complex_signal &fid, long long first, long long stop) {
    const complex_signal spectrum = spectrum_of_coil(fid);
    const engine::noise_window noise = engine::noise_of_stretch(spectrum, first, stop);
    double highest = 0.0;
    for (const auto &point : spectrum) highest = std::max(highest, std::abs(point));
    return highest / std::sqrt(0.5 * (noise.sd_re * noise.sd_re + noise.sd_im * noise.sd_im));
}

} // namespace tools
