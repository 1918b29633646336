// SPDX-License-Identifier: BSD-3-Clause
// linear_fit.cpp -- areas and phases of curves of known shape, by linear least squares
#include "files/start/linear_fit.h"

#include "files/spectra/complex_polar.h"

#include "kernel/ranked_cholesky.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

namespace tools {

// Added to the diagonal, as a fraction of it: curves that are the same share what there is. Above
// what the decomposition takes for lost (1e-10), so that only a curve of zeros is.
static constexpr double ridge = 1e-9;
static constexpr double faint_part = 0.01; // of the largest area

std::vector<std::complex<double>> inner_products(const std::vector<complex_signal> &curves) {
    const std::size_t n = curves.size();
    std::vector<std::complex<double>> products(n * n);
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t l = 0; l <= k; ++l) {
            double re = 0.0, im = 0.0;
            for (std::size_t i = 0; i < curves[k].size(); ++i) {
                const std::complex<double> a = curves[k][i], b = curves[l][i];
                re += a.real() * b.real() + a.imag() * b.imag();
                im += a.real() * b.imag() - a.imag() * b.real();
            }
            products[k * n + l] = {re, im};
            products[l * n + k] = {re, -im};
        }
    }
    return products;
}

// A curve with a real coefficient: entries with their weights.
typedef std::vector<std::pair<std::size_t, std::complex<double>>> combined_curve;

// x of the normal equations a x = b. A curve that is 0 gets nothing.
static std::vector<double> solve(std::vector<double> a, const std::vector<double> &b) {
    const std::size_t m = b.size();
    for (std::size_t i = 0; i < m; ++i) a[i * m + i] *= 1.0 + ridge;
    std::vector<int> all(m);
    std::iota(all.begin(), all.end(), 0);
    kernel::ranked_cholesky cholesky;
    cholesky.factor(a, static_cast<int>(m), all);
    std::vector<double> x(m);
    cholesky.solve(b, x);
    return x;
}

static std::vector<double> fit(const std::vector<std::complex<double>> &products,
                               const complex_signal &overlap,
                               const std::vector<combined_curve> &curves) {
    const std::size_t n = overlap.size(), m = curves.size();
    std::vector<double> a(m * m), b(m);
    for (std::size_t i = 0; i < m; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = 0.0;
            for (const auto &[k, w] : curves[i])
                for (const auto &[l, v] : curves[j])
                    sum += (std::conj(w) * v * products[k * n + l]).real();
            a[i * m + j] = a[j * m + i] = sum;
        }
        for (const auto &[k, w] : curves[i]) b[i] += (std::conj(w) * overlap[k]).real();
    }
    return solve(std::move(a), b);
}

// Takes curves of known weight out of the data.
static void subtract(const std::vector<std::complex<double>> &products, complex_signal &overlap,
                     const combined_curve &known) {
    const std::size_t n = overlap.size();
    for (std::size_t k = 0; k < n; ++k)
        for (const auto &[l, w] : known) overlap[k] -= w * products[k * n + l];
}

static std::complex<double> turn(double degrees) {
    return turn_by(degrees * std::numbers::pi / 180.0);
}

struct area_group {
    std::size_t root = 0;
    std::vector<std::size_t> members;
    bool area_known = false, phases_known = true;
};

static std::vector<area_group> groups_of(const std::vector<estimated_entry> &entries) {
    std::vector<area_group> groups;
    for (std::size_t k = 0; k < entries.size(); ++k) {
        auto at = std::find_if(groups.begin(), groups.end(),
                               [&](const area_group &g) { return g.root == entries[k].area_root; });
        if (at == groups.end()) {
            groups.push_back({entries[k].area_root, {}, entries[k].area_known, true});
            at = groups.end() - 1;
        }
        at->members.push_back(k);
        at->phases_known = at->phases_known && entries[k].phase_known;
    }
    return groups;
}

// Complex amplitudes, then one phase for all that share it.
static void estimate_phases(const std::vector<std::complex<double>> &products,
                            complex_signal overlap, const std::vector<area_group> &groups,
                            std::vector<estimated_entry> &entries) {
    const std::size_t n = entries.size();
    std::vector<combined_curve> curves;
    std::vector<const area_group *> with_phase; // two curves each, first in the list
    for (const area_group &group : groups) {
        combined_curve curve;
        for (const std::size_t k : group.members) {
            const estimated_entry &e = entries[k];
            if (group.area_known && group.phases_known)
                curve.emplace_back(k, e.area * turn(e.phase));
            else
                curve.emplace_back(k,
                                   e.area_factor * turn(e.phase_known ? e.phase : e.phase_offset));
        }
        if (group.area_known && group.phases_known) {
            subtract(products, overlap, curve);
        } else if (group.phases_known) {
            curves.push_back(std::move(curve));
        } else {
            combined_curve quadrature = curve;
            for (auto &[k, w] : quadrature) w *= std::complex<double>(0.0, 1.0);
            const auto place = static_cast<std::ptrdiff_t>(2 * with_phase.size());
            curves.insert(curves.begin() + place, {std::move(curve), std::move(quadrature)});
            with_phase.push_back(&group);
        }
    }
    const std::vector<double> x = fit(products, overlap, curves);
    std::vector<std::complex<double>> sum(n); // by phase root
    for (std::size_t g = 0; g < with_phase.size(); ++g) {
        std::complex<double> c(x[2 * g], x[2 * g + 1]);
        const area_group &group = *with_phase[g];
        // an area that is given as negative is one
        if (group.area_known && entries[group.root].area < 0.0) c = -c;
        for (const std::size_t k : group.members) {
            const double energy = products[k * n + k].real();
            if (!entries[k].phase_known)
                sum[entries[k].phase_root] +=
                    c * size_of(c) * entries[k].area_factor * entries[k].area_factor * energy;
        }
    }
    for (estimated_entry &e : entries)
        if (!e.phase_known)
            e.phase = angle_of(sum[e.phase_root]) * 180.0 / std::numbers::pi + e.phase_offset;
}

std::vector<std::size_t> estimate_areas(const std::vector<std::complex<double>> &products,
                                        const complex_signal &overlap,
                                        std::vector<estimated_entry> &entries) {
    const std::vector<area_group> groups = groups_of(entries);
    const bool has_phases = std::any_of(entries.begin(), entries.end(),
                                        [](const estimated_entry &e) { return !e.phase_known; });
    if (has_phases) estimate_phases(products, overlap, groups, entries);

    complex_signal rest = overlap;
    std::vector<const area_group *> unknown;
    std::vector<combined_curve> curves;
    for (const area_group &group : groups) {
        combined_curve curve;
        for (const std::size_t k : group.members)
            curve.emplace_back(k, (group.area_known ? entries[k].area : entries[k].area_factor) *
                                      turn(entries[k].phase));
        if (group.area_known) {
            subtract(products, rest, curve);
        } else {
            unknown.push_back(&group);
            curves.push_back(std::move(curve));
        }
    }
    // The most negative one leaves, until all that may not be negative are positive.
    std::vector<std::size_t> faint;
    std::vector<double> areas;
    for (;;) {
        areas = fit(products, rest, curves);
        std::size_t worst = areas.size();
        double least = 0.0;
        for (std::size_t i = 0; i < areas.size(); ++i) {
            if (unknown[i]->phases_known) continue;
            const std::size_t root = unknown[i]->root, n = overlap.size();
            const double height = areas[i] * std::sqrt(products[root * n + root].real());
            if (areas[i] > 0.0 || height > least || (worst < areas.size() && height == least))
                continue;
            worst = i;
            least = height;
        }
        if (worst == areas.size()) break;
        faint.push_back(unknown[worst]->root);
        curves.erase(curves.begin() + static_cast<std::ptrdiff_t>(worst));
        unknown.erase(unknown.begin() + static_cast<std::ptrdiff_t>(worst));
    }
    double largest = 0.0;
    for (const double area : areas) largest = std::max(largest, std::fabs(area));
    for (estimated_entry &e : entries) {
        if (e.area_known) continue;
        e.area = e.area_factor * (largest > 0.0 ? faint_part * largest : 1.0);
        for (std::size_t i = 0; i < unknown.size(); ++i)
            if (unknown[i]->root == e.area_root) e.area = e.area_factor * areas[i];
    }
    std::sort(faint.begin(), faint.end());
    return faint;
}

} // namespace tools
