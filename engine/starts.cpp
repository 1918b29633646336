// SPDX-License-Identifier: BSD-3-Clause
// starts.cpp -- other places to begin a fit from
#include "engine/starts.h"

#include "kernel/median.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace engine {

static bool is_frequency(const model &of, int c) {
    return of.map().at(c).of == frequency;
}

static double median_width(const model &of, std::span<const double> x) {
    std::vector<double> widths;
    for (int k = 0; k < of.map().entries(); ++k)
        if (!of.is_pattern(k)) widths.push_back(of.fwhm(k, x));
    return widths.empty() ? 1.0 : kernel::upper_median(std::move(widths));
}

std::vector<double> shifted(const model &of, std::span<const double> x, double shift) {
    std::vector<double> out(x.begin(), x.end());
    for (int c = 0; c < of.map().columns(); ++c)
        if (is_frequency(of, c))
            out[static_cast<std::size_t>(c)] =
                of.map().inside(c, out[static_cast<std::size_t>(c)] + shift);
    return out;
}

double common_shift(const model &of, model_workspace &ws, std::span<const double> x) {
    const complex_signal correlation = ws.correlation(of, x);
    const int n = of.points(), reach = std::max(1, n / 16);
    int best = 0;
    double largest = -1.0;
    for (int lag = -reach; lag <= reach; ++lag) {
        const double size = std::norm(correlation[static_cast<std::size_t>((lag + n) % n)]);
        if (size > largest) {
            largest = size;
            best = lag;
        }
    }
    return best;
}

std::vector<double> through_broad_lines(const model &of, model_workspace &ws, searcher &search,
                                        std::vector<double> x, int &linearizations,
                                        int &evaluations) {
    const double width = std::max(median_width(of, x), 1.0);
    // a rough end is enough: the next search begins there
    const search_options rough = {30, 1.0};
    for (const double times : {4.0, 1.0}) {
        ws.broaden(of, times * width);
        minimum found = search.run(of, ws, x, rough);
        linearizations += found.linearizations;
        evaluations += found.evaluations;
        if (found.end != search_end::not_finite) x = std::move(found.x);
    }
    ws.broaden(of, 0.0);
    return x;
}

// Columns by which a group's lines move along the axis and turn; -1 when they do not.
static int column_of_group(const model &of, int g, quantity q) {
    return of.map().of(of.entries_of_group(g).front(), q).column;
}

static int groups_with(const model &of, int c, quantity q) {
    int count = 0;
    for (int g = 0; g < of.groups(); ++g) count += column_of_group(of, g, q) == c ? 1 : 0;
    return count;
}

std::vector<relocation> relocations(const model &of, model_workspace &ws, std::span<const double> x,
                                    std::span<const double> start, double least) {
    std::vector<relocation> out;
    const int n = of.points();
    for (int g = 0; g < of.groups(); ++g) {
        const int k = of.entries_of_group(g).front();
        const int c = column_of_group(of, g, frequency), a = column_of_group(of, g, area);
        if (c < 0 || a < 0 || of.is_pattern(k) || groups_with(of, c, frequency) > 1) continue;
        const int p = column_of_group(of, g, phase);
        const bool turns = p >= 0 && groups_with(of, p, phase) == 1;
        const double width = std::max(of.fwhm(k, x), 1.0);
        const double size = ws.size_of(of, g);
        if (!(size > 0.0) || width > 0.25 * n) continue;
        const double sign = of.map().value(k, area, x) < 0.0 ? -1.0 : 1.0;
        const complex_signal match = ws.matches(of, g);
        const auto gain_at = [&](int lag) {
            const std::complex<double> m = match[static_cast<std::size_t>((lag % n + n) % n)];
            if (turns) return std::norm(m) / size;
            const double along = std::max(sign * m.real(), 0.0);
            return along * along / size;
        };
        const double here = gain_at(0);
        const double now = x[static_cast<std::size_t>(c)],
                     from = start[static_cast<std::size_t>(c)];
        if (!(std::fabs(from - now) < n)) continue; // what is a band away is no place of this line
        const int reach = static_cast<int>(std::ceil(4.0 * width)) + 1;
        const int off = static_cast<int>(std::nearbyint(from - now));
        for (int lag = off - reach; lag <= off + reach; ++lag) {
            const double gain = gain_at(lag) - here;
            if (std::abs(lag) <= width || gain <= least || gain_at(lag - 1) > gain_at(lag) ||
                gain_at(lag + 1) >= gain_at(lag))
                continue;
            const double to = of.map().inside(c, now + lag);
            if (to == now + lag) out.push_back({c, to, gain});
        }
    }
    std::stable_sort(out.begin(), out.end(),
                     [](const relocation &i, const relocation &j) { return i.gain > j.gain; });
    return out;
}

// Whether one parameter alone is the column, as it is.
static bool is_own(const affine &by, std::span<const int> movers) {
    return by.column >= 0 && by.factor == 1.0 && by.offset == 0.0 &&
           movers[static_cast<std::size_t>(by.column)] == 1;
}

static bool may_change_places(const model &of, std::span<const int> movers, int k, int l) {
    if (of.is_pattern(k) || !of.alike(k, l)) return false;
    for (const quantity q : every_quantity) {
        const affine &a = of.map().of(k, q), &b = of.map().of(l, q);
        const bool same =
            a.column == b.column && a.factor == b.factor && a.offset == b.offset && q != frequency;
        if (!same && !(is_own(a, movers) && is_own(b, movers))) return false;
    }
    return true;
}

std::vector<std::pair<int, int>> interchangeable(const model &of) {
    std::vector<std::pair<int, int>> out;
    std::vector<int> movers(static_cast<std::size_t>(of.map().columns()), 0), own;
    for (int k = 0; k < of.map().entries(); ++k) {
        for (const quantity q : every_quantity) {
            const int c = of.map().of(k, q).column;
            if (c >= 0) ++movers[static_cast<std::size_t>(c)];
        }
    }
    for (int k = 0; k < of.map().entries(); ++k)
        if (is_own(of.map().of(k, frequency), movers)) own.push_back(k);
    for (std::size_t i = 0; i < own.size(); ++i)
        for (std::size_t j = i + 1; j < own.size(); ++j)
            if (may_change_places(of, movers, own[i], own[j])) out.push_back({own[i], own[j]});
    return out;
}

void restore_order(const model &of, std::span<const std::pair<int, int>> pairs,
                   std::span<const double> given, minimum &found) {
    const auto column = [&](int k, quantity q) {
        return static_cast<std::size_t>(of.map().of(k, q).column);
    };
    // each exchange takes away one pair in the wrong order or more
    for (std::size_t pass = 0; pass < pairs.size(); ++pass) {
        bool any = false;
        for (const auto &[k, l] : pairs) {
            const std::size_t a = column(k, frequency), b = column(l, frequency);
            if ((given[a] - given[b]) * (found.x[a] - found.x[b]) >= 0.0) continue;
            bool fits = true;
            for (const quantity q : every_quantity) {
                const affine &x = of.map().of(k, q), &y = of.map().of(l, q);
                if (x.column == y.column) continue;
                const double to_x = found.x[column(l, q)], to_y = found.x[column(k, q)];
                fits = fits && of.map().inside(x.column, to_x) == to_x &&
                       of.map().inside(y.column, to_y) == to_y;
            }
            if (!fits) continue;
            for (const quantity q : every_quantity) {
                if (of.map().of(k, q).column < 0) continue;
                std::swap(found.x[column(k, q)], found.x[column(l, q)]);
                std::swap(found.at_bound[column(k, q)], found.at_bound[column(l, q)]);
            }
            any = true;
        }
        if (!any) return;
    }
}

// Whether a group's line has an area and a place of its own.
static bool stands_alone(const model &of, int g) {
    const int f = column_of_group(of, g, frequency), a = column_of_group(of, g, area);
    return f >= 0 && a >= 0 && !of.is_pattern(of.entries_of_group(g).front()) &&
           groups_with(of, f, frequency) == 1 && groups_with(of, a, area) == 1;
}

static bool is_flipped(const model &of, int g, std::span<const double> x,
                       std::span<const double> given) {
    const std::size_t a = static_cast<std::size_t>(column_of_group(of, g, area));
    return x[a] * given[a] < 0.0;
}

// The group whose line is nearest to that of group g and has the sign that it was given; -1: none.
static int nearest_upright(const model &of, int g, std::span<const double> x,
                           std::span<const double> given) {
    const auto place = [&](int h) {
        return x[static_cast<std::size_t>(column_of_group(of, h, frequency))];
    };
    int nearest = -1;
    for (int h = 0; h < of.groups(); ++h) {
        if (h == g || !stands_alone(of, h) || is_flipped(of, h, x, given)) continue;
        if (nearest < 0 || std::fabs(place(h) - place(g)) < std::fabs(place(nearest) - place(g)))
            nearest = h;
    }
    return nearest;
}

std::vector<double> split(const model &of, std::span<const double> x,
                          std::span<const double> given) {
    std::vector<double> out(x.begin(), x.end());
    std::vector<bool> narrowed(x.size(), false);
    bool any = false;
    for (int g = 0; g < of.groups(); ++g) {
        if (!stands_alone(of, g) || !is_flipped(of, g, x, given)) continue;
        const int h = nearest_upright(of, g, x, given);
        if (h < 0) continue;
        const auto column = [&](int group, quantity q) {
            return static_cast<std::size_t>(column_of_group(of, group, q));
        };
        const std::size_t a = column(g, area), b = column(h, area);
        const std::size_t f = column(g, frequency), e = column(h, frequency);
        const double joint = x[a] + x[b];
        if (joint * given[b] <= 0.0) continue;
        const double centre = x[e] + x[a] / joint * (x[f] - x[e]);
        const double off = 0.25 * of.fwhm(of.entries_of_group(h).front(), x);
        const double side = given[f] < given[e] ? -1.0 : 1.0;
        out[a] = given[a] < 0.0 ? -0.5 * std::fabs(joint) : 0.5 * std::fabs(joint);
        out[b] = 0.5 * joint;
        out[f] = centre + side * off;
        out[e] = centre - side * off;
        for (const int group : {g, h})
            for (const quantity q : {gauss_width, lorentz_width}) {
                const int c = column_of_group(of, group, q);
                if (c < 0 || narrowed[static_cast<std::size_t>(c)]) continue;
                narrowed[static_cast<std::size_t>(c)] = true;
                out[static_cast<std::size_t>(c)] *= of.map().at(c).squared ? 0.25 : 0.5;
            }
        any = true;
    }
    if (!any) return {};
    for (int c = 0; c < of.map().columns(); ++c)
        out[static_cast<std::size_t>(c)] = of.map().inside(c, out[static_cast<std::size_t>(c)]);
    return out;
}

namespace {
// G. L. Steele, D. Lea, C. H. Flood, OOPSLA 2014, 453-472: 64 bits from a counter.
class counter_generator {
  public:
    explicit counter_generator(std::uint64_t seed) : state_(seed) {}
    double uniform() { // in [0, 1)
        state_ += 0x9e3779b97f4a7c15u;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        z ^= z >> 31;
        return static_cast<double>(z >> 11) * 0x1p-53;
    }
    // Of standard deviation 1 and within 3 of them: three uniform numbers.
    double bell() { return 2.0 * (uniform() + uniform() + uniform() - 1.5); }

  private:
    std::uint64_t state_;
};
} // namespace

std::vector<double> perturbed(const model &of, std::span<const double> x, unsigned number) {
    counter_generator random(0x7661726f6b656cu + number);
    std::vector<double> out(x.begin(), x.end());
    for (int c = 0; c < of.map().columns(); ++c) {
        const column &col = of.map().at(c);
        double &value = out[static_cast<std::size_t>(c)];
        const double by = random.bell();
        const double factor = by >= 0.0 ? 1.0 + 0.5 * by : 1.0 / (1.0 - 0.5 * by);
        if (col.of == frequency)
            value += by * std::max(of.fwhm(col.entry, x), 0.5);
        else if (col.of == phase)
            value += 15.0 * by;
        else if (col.squared)
            value = value * factor * factor + 0.01;
        else
            value *= factor;
        value = of.map().inside(c, value);
    }
    return out;
}

} // namespace engine
