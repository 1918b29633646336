// SPDX-License-Identifier: BSD-3-Clause
// remove_lines.cpp -- takes the lines of a stretch of frequencies out of an FID
#include "files/measured/remove_lines.h"

#include "files/measured/condition_fid.h"
#include "files/measured/small_matrix.h"

#include "engine/centred_spectrum.h"
#include "engine/noise_window.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace tools {

typedef std::complex<double> number;
typedef std::vector<complex_signal> tall_matrix; // its columns

static constexpr std::size_t most_points = 8192; // that say where the oscillations are
static constexpr int spare = 8;                  // vectors beside the order
// Beside strong water the vectors of noise converge slowly; with 4 rounds a hundred times the noise
// is left of water with a distorted shape, with 8 none.
static constexpr int iterated = 12;

// Products with the Hankel matrix H[i][j] = fid[i + j], i < rows, j < n - rows + 1.
class hankel {
  public:
    explicit hankel(const complex_signal &fid) : points_(fid.size()), rows_(fid.size() / 2) {
        plan_.emplace_back(static_cast<int>(std::bit_ceil(2 * points_)));
        spectrum_ = transformed(fid, false);
    }
    std::size_t rows() const { return rows_; }
    std::size_t width() const { return points_ - rows_ + 1; }

    complex_signal times(const complex_signal &x) const { return product(x, rows_); }
    complex_signal adjoint_times(complex_signal y) const {
        for (number &each : y) each = std::conj(each);
        complex_signal out = product(y, width());
        for (number &each : out) each = std::conj(each);
        return out;
    }

  private:
    // sum_j fid[i + j] x[j], i < count: a convolution with x reversed.
    complex_signal product(const complex_signal &x, std::size_t count) const {
        complex_signal turned(x.rbegin(), x.rend());
        complex_signal all = transformed(turned, false);
        for (std::size_t k = 0; k < all.size(); ++k) all[k] *= spectrum_[k];
        all = transformed(all, true);
        const auto first = static_cast<std::ptrdiff_t>(x.size() - 1);
        return {all.begin() + first, all.begin() + first + static_cast<std::ptrdiff_t>(count)};
    }
    // Forward, or back: conjugated on both sides, over n.
    complex_signal transformed(const complex_signal &x, bool back) const {
        const auto n = static_cast<std::size_t>(plan_.front().points());
        std::vector<double> re(n, 0.0), im(n, 0.0), work_re(n), work_im(n);
        for (std::size_t k = 0; k < x.size(); ++k) {
            re[k] = x[k].real();
            im[k] = back ? -x[k].imag() : x[k].imag();
        }
        const double factor = back ? 1.0 / static_cast<double>(n) : 1.0;
        const kernel::split_vector at = plan_.front().transform(
            re.data(), im.data(), work_re.data(), work_im.data(), factor, false);
        complex_signal out(n);
        for (std::size_t k = 0; k < n; ++k) out[k] = {at.re[k], back ? -at.im[k] : at.im[k]};
        return out;
    }

    std::size_t points_, rows_;
    std::vector<kernel::transform_plan> plan_;
    complex_signal spectrum_;
};

static number dot(const complex_signal &a, const complex_signal &b) { // a^H b
    number sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += std::conj(a[i]) * b[i];
    return sum;
}

// Gram-Schmidt, twice; what depends on those before it becomes 0.
static void make_orthonormal(tall_matrix &all) {
    for (std::size_t c = 0; c < all.size(); ++c) {
        const double before = std::sqrt(dot(all[c], all[c]).real());
        for (int pass = 0; pass < 2; ++pass)
            for (std::size_t d = 0; d < c; ++d) {
                const number along = dot(all[d], all[c]);
                for (std::size_t i = 0; i < all[c].size(); ++i) all[c][i] -= along * all[d][i];
            }
        const double length = std::sqrt(dot(all[c], all[c]).real());
        const double scale = length > 1e-13 * before && length > 0.0 ? 1.0 / length : 0.0;
        for (number &each : all[c]) each *= scale;
    }
}

// Orthonormal basis of the strongest left singular vectors of H, strongest first.
static tall_matrix signal_space(const hankel &matrix, std::size_t order) {
    tall_matrix block(order + spare, complex_signal(matrix.width()));
    std::uint64_t state = 1; // a sequence of its own: the library's differ between systems
    for (complex_signal &column : block)
        for (number &each : column) {
            double parts[2];
            for (double &part : parts) {
                state = state * 6364136223846793005U + 1442695040888963407U;
                part = static_cast<double>(state >> 11) * 0x1p-53 - 0.5;
            }
            each = {parts[0], parts[1]};
        }
    tall_matrix left(block.size());
    for (int round = 0; round < iterated; ++round) {
        for (std::size_t c = 0; c < block.size(); ++c) left[c] = matrix.times(block[c]);
        make_orthonormal(left);
        for (std::size_t c = 0; c < block.size(); ++c) block[c] = matrix.adjoint_times(left[c]);
        if (round + 1 < iterated) make_orthonormal(block);
    }
    // left^H H H^H left, whose eigenvectors turn left into singular vectors
    const std::size_t n = block.size();
    small_matrix product(n);
    for (std::size_t a = 0; a < n; ++a)
        for (std::size_t b = 0; b < n; ++b) product(a, b) = dot(block[a], block[b]);
    const small_matrix vectors = hermitian_vectors(product);
    tall_matrix out(order, complex_signal(matrix.rows()));
    for (std::size_t k = 0; k < order; ++k)
        for (std::size_t c = 0; c < n; ++c)
            for (std::size_t i = 0; i < matrix.rows(); ++i) out[k][i] += vectors(c, k) * left[c][i];
    return out;
}

// The eigenvalues of the shift by one row: U_up Z = U_down in the sense of least squares. U has
// orthonormal columns, so (U_up^H U_up)^-1 = 1 + u u^H / (1 - u^H u), u^H the last row of U.
static std::vector<number> poles_of(const tall_matrix &space) {
    const std::size_t r = space.size(), rows = space.front().size();
    small_matrix z(r);
    double last = 0.0;
    for (std::size_t a = 0; a < r; ++a) {
        last += std::norm(space[a][rows - 1]);
        for (std::size_t b = 0; b < r; ++b)
            for (std::size_t i = 0; i + 1 < rows; ++i)
                z(a, b) += std::conj(space[a][i]) * space[b][i + 1];
    }
    if (!(last < 1.0)) return {};
    small_matrix whole = z;
    for (std::size_t b = 0; b < r; ++b) {
        number along = 0.0; // u^H z
        for (std::size_t a = 0; a < r; ++a) along += space[a][rows - 1] * z(a, b);
        for (std::size_t a = 0; a < r; ++a)
            whole(a, b) += std::conj(space[a][rows - 1]) * along / (1.0 - last);
    }
    return eigenvalues(std::move(whole));
}

// (1 - q^n) / (1 - q)
static number geometric_sum(number q, std::size_t n) {
    if (std::abs(1.0 - q) < 1e-14) return static_cast<double>(n);
    const number power = std::polar(std::pow(std::abs(q), static_cast<double>(n)),
                                    std::arg(q) * static_cast<double>(n));
    return (1.0 - power) / (1.0 - q);
}

std::vector<oscillation> oscillations_of(const complex_signal &fid, int order) {
    const std::size_t n = fid.size();
    const std::size_t used = std::min(n, most_points);
    const auto r = std::min(static_cast<std::size_t>(std::max(order, 1)), used / 4);
    if (used < 16 || dot(fid, fid) == 0.0) return {};
    const hankel matrix(
        complex_signal(fid.begin(), fid.begin() + static_cast<std::ptrdiff_t>(used)));
    std::vector<number> poles = poles_of(signal_space(matrix, r));
    std::erase_if(poles, [](const number &z) { return !(std::abs(z) > 1e-6); });
    for (number &z : poles)
        if (std::abs(z) > 1.0) z /= std::abs(z);
    if (poles.empty()) return {};
    // amplitudes: linear least squares over all points
    const std::size_t k = poles.size();
    small_matrix gram(k);
    std::vector<number> overlap(k, 0.0);
    for (std::size_t a = 0; a < k; ++a) {
        for (std::size_t b = 0; b < k; ++b)
            gram(a, b) = geometric_sum(std::conj(poles[a]) * poles[b], n);
        number power = 1.0;
        for (std::size_t m = 0; m < n; ++m) {
            overlap[a] += power * fid[m];
            power *= std::conj(poles[a]);
        }
    }
    const std::vector<number> amplitudes = solve(std::move(gram), std::move(overlap));
    std::vector<oscillation> out;
    for (std::size_t a = 0; a < k; ++a)
        out.push_back({std::arg(poles[a]) / (2.0 * std::numbers::pi), -std::log(std::abs(poles[a])),
                       amplitudes[a]});
    std::stable_sort(out.begin(), out.end(), [](const oscillation &a, const oscillation &b) {
        return std::norm(a.amplitude) > std::norm(b.amplitude);
    });
    return out;
}

void subtract_lines(complex_signal &fid, std::size_t measured,
                    const std::vector<oscillation> &lines) {
    for (const oscillation &each : lines) {
        const number z =
            std::polar(std::exp(-each.damping), 2.0 * std::numbers::pi * each.frequency);
        number value = each.amplitude;
        for (std::size_t m = 0; m < measured; ++m) {
            fid[m] -= value;
            value *= z;
        }
    }
}

std::vector<oscillation> remove_lines(complex_signal &fid, std::size_t measured, double low,
                                      double high, int order) {
    measured = std::min(measured, fid.size());
    std::vector<oscillation> lines =
        oscillations_of({fid.begin(), fid.begin() + static_cast<std::ptrdiff_t>(measured)}, order);
    std::erase_if(lines, [&](const oscillation &each) {
        return !(each.frequency >= low && each.frequency <= high);
    });
    subtract_lines(fid, measured, lines);
    return lines;
}

// Root mean square of the spectrum from low to high [cycles per point] over the noise, per channel.
static double left_over_noise(const kernel::transform_plan &plan, const complex_signal &fid,
                              double low, double high) {
    const complex_signal spectrum = engine::spectrum_of_fid(plan, fid);
    const engine::noise_window noise = engine::noise_stretch(spectrum);
    const double n = static_cast<double>(spectrum.size());
    double sum = 0.0, count = 0.0;
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        const double place = static_cast<double>(i) / n - 0.5;
        if (place < low || place > high) continue;
        sum += 0.5 * std::norm(spectrum[i]);
        ++count;
    }
    const double sd = std::hypot(noise.sd_re, noise.sd_im) / std::numbers::sqrt2;
    return count > 0.0 && sd > 0.0 ? std::sqrt(sum / count) / sd : 0.0;
}

removed_stretch_lines remove_stretch(const kernel::transform_plan &plan, complex_signal &fid,
                                     std::size_t measured, double low, double high, int asked) {
    static constexpr int tried[] = {25, 40, 60};
    static constexpr double enough = 2.0;
    const complex_signal before = fid;
    const double power = power_of(before);
    removed_stretch_lines best;
    double added = 0.0;
    int order = 0;
    for (const int each : tried) {
        complex_signal own = before;
        order = asked > 0 ? asked : each;
        std::vector<oscillation> lines = remove_lines(own, measured, low, high, order);
        const double more = power > 0.0 ? power_of(own) / power - 1.0 : 0.0;
        if (more > 0.0) {
            added = added > 0.0 ? std::min(added, more) : more;
            if (asked > 0) break;
            continue;
        }
        const double left = left_over_noise(plan, own, low, high);
        if (best.order == 0 || left < best.left_over_noise) {
            best = {std::move(lines), order, left, -more, 0.0};
            fid = std::move(own);
        }
        if (asked > 0 || best.left_over_noise <= enough) break;
    }
    if (best.order == 0) best = {{}, order, left_over_noise(plan, before, low, high), 0.0, added};
    return best;
}

} // namespace tools
