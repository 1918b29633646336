// SPDX-License-Identifier: BSD-3-Clause
// parameter_map.cpp -- from the links of a problem to the columns of its Jacobian
#include "engine/parameter_map.h"

#include <algorithm>
#include <cmath>

namespace engine {

bool is_used(quantity q, line_type type) {
    if (q == gauss_width) return type != line_type::lorentzian;
    if (q == lorentz_width) return type != line_type::gaussian;
    return true;
}

const char *name_of(quantity q) {
    static const char *const names[] = {"area", "frequency", "Gaussian width", "phase",
                                        "Lorentzian width"};
    return names[q];
}

static bool is_width(quantity q) {
    return q == gauss_width || q == lorentz_width;
}

static failure refuse(int entry, quantity q, const std::string &what) {
    return {entry, std::string(name_of(q)) + " " + what};
}

// The checks of one parameter that need no other.
static std::string fault_of(const parameter &p, quantity q, int self, int entries) {
    if (!std::isfinite(p.start)) return "starts at a value that is not finite";
    if (std::isnan(p.lower) || std::isnan(p.upper) || p.lower > p.upper)
        return "has an empty window";
    if (is_width(q) && p.how != link::fixed && p.upper < 0.0)
        return "has a window below 0; a width is 0 or more";
    if (p.how != link::tied) return "";
    if (p.source < 0 || p.source >= entries) return "follows an entry that is not there";
    if (p.source == self) return "follows itself";
    if (!std::isfinite(p.factor) || !std::isfinite(p.offset))
        return "follows at a distance or with a factor that is not finite";
    return "";
}

// Where the chain of links of a parameter ends: factor and offset of what the free or fixed one
// there has. False when it never ends.
static bool follow(const std::vector<entry> &entries, int k, quantity q, int &root, double &factor,
                   double &offset) {
    root = k;
    factor = 1.0;
    offset = 0.0;
    for (std::size_t steps = 0; steps <= entries.size(); ++steps) {
        const parameter &p = entries[static_cast<std::size_t>(root)].of[q];
        if (p.how != link::tied) return true;
        offset += factor * p.offset;
        factor *= p.factor;
        root = p.source;
    }
    return false;
}

// The window of y that keeps factor y + offset within [lower, upper].
static void narrow(column &c, double factor, double offset, double lower, double upper) {
    if (factor == 0.0) return;
    double a = (lower - offset) / factor;
    double b = (upper - offset) / factor;
    if (factor < 0.0) std::swap(a, b);
    c.lower = std::max(c.lower, a);
    c.upper = std::min(c.upper, b);
}

std::optional<failure> parameter_map::add_columns(const std::vector<entry> &entries) {
    const int n = static_cast<int>(entries.size());
    of_.resize(entries.size());
    for (int k = 0; k < n; ++k) {
        const entry &e = entries[static_cast<std::size_t>(k)];
        for (const quantity q : every_quantity) {
            if (!is_used(q, e.type)) continue;
            const std::string fault = fault_of(e.of[q], q, k, n);
            if (!fault.empty()) return refuse(k, q, fault);
            if (e.of[q].how != link::free) continue;
            double lower = e.of[q].lower, start = e.of[q].start;
            if (is_width(q)) lower = std::max(lower, 0.0);
            if (q == gauss_width) start = std::fabs(start); // only its square is seen
            of_[static_cast<std::size_t>(k)][q] = {columns(), 1.0, 0.0};
            columns_.push_back({k, q, q == gauss_width, start, lower, e.of[q].upper, start});
        }
    }
    return std::nullopt;
}

std::optional<failure> parameter_map::resolve(const std::vector<entry> &entries, int k,
                                              quantity q) {
    const entry &e = entries[static_cast<std::size_t>(k)];
    int root = k;
    double factor = 1.0, offset = 0.0;
    if (!follow(entries, k, q, root, factor, offset))
        return refuse(k, q, "follows itself in a circle");
    const entry &source = entries[static_cast<std::size_t>(root)];
    if (!is_used(q, source.type))
        return refuse(k, q, "follows a width that the other line type has not");
    affine &own = of_[static_cast<std::size_t>(k)][q];
    if (source.of[q].how == link::fixed) {
        own = {-1, 0.0, factor * source.of[q].start + offset};
        if (q == gauss_width) own.offset = std::fabs(own.offset);
        if (q == lorentz_width && own.offset < 0.0 && e.of[q].how == link::tied)
            return refuse(k, q, "would be negative");
        return std::nullopt;
    }
    own = {of_[static_cast<std::size_t>(root)][q].column, factor, offset};
    column &c = columns_[static_cast<std::size_t>(own.column)];
    if (offset != 0.0) c.squared = false;
    const double lower = is_width(q) ? std::max(e.of[q].lower, 0.0) : e.of[q].lower;
    narrow(c, factor, offset, lower, e.of[q].upper);
    return std::nullopt;
}

std::optional<failure> parameter_map::place_starts() {
    for (column &c : columns_) {
        if (c.lower > c.upper)
            return refuse(c.entry, c.of,
                          "has a window that leaves nothing to those that follow it");
        c.start = std::clamp(c.start, c.lower, c.upper);
        if (c.squared) {
            c.start *= c.start;
            c.given *= c.given;
            c.lower *= c.lower;
            c.upper *= c.upper;
        } else if (c.of == gauss_width && c.start == 0.0) {
            c.start = std::min(c.upper, 0.1); // points; off the place where nothing pulls
        }
    }
    return std::nullopt;
}

result<parameter_map> parameter_map::make(const std::vector<entry> &entries) {
    parameter_map map;
    if (const auto fault = map.add_columns(entries)) return *fault;
    for (int k = 0; k < map.entries(); ++k) {
        const entry &e = entries[static_cast<std::size_t>(k)];
        for (const quantity q : every_quantity) {
            if (!is_used(q, e.type) || e.of[q].how == link::free) continue;
            if (const auto fault = map.resolve(entries, k, q)) return *fault;
        }
    }
    if (const auto fault = map.place_starts()) return *fault;
    return map;
}

void parameter_map::keep_frequencies_near(int points) {
    for (column &c : columns_) {
        if (c.of != frequency) continue;
        const double last = points;
        c.lower = std::max(c.lower, std::min(0.0, c.start) - last);
        c.upper = std::min(c.upper, std::max(last, c.start) + last);
    }
}

double parameter_map::value(int entry, quantity q, std::span<const double> x) const {
    const affine &a = of(entry, q);
    if (a.column < 0) return a.offset;
    const double own = x[static_cast<std::size_t>(a.column)];
    return a.factor * (at(a.column).squared ? std::sqrt(own) : own) + a.offset;
}

std::array<double, quantities> parameter_map::values(int entry, std::span<const double> x) const {
    std::array<double, quantities> all;
    for (const quantity q : every_quantity) all[q] = value(entry, q, x);
    return all;
}

double parameter_map::slope(int c, std::span<const double> x) const {
    if (!at(c).squared) return 1.0;
    return 0.5 / std::sqrt(x[static_cast<std::size_t>(c)]);
}

double parameter_map::inside(int c, double x) const {
    return std::clamp(x, at(c).lower, at(c).upper);
}

std::vector<double>
parameter_map::columns_of(std::span<const std::array<double, quantities>> values) const {
    std::vector<double> x(columns_.size());
    for (int c = 0; c < columns(); ++c) {
        double y = values[static_cast<std::size_t>(at(c).entry)][at(c).of];
        if (at(c).squared)
            y *= y;
        else if (at(c).of == gauss_width)
            y = std::fabs(y);
        x[static_cast<std::size_t>(c)] = inside(c, y);
    }
    return x;
}

std::vector<double> parameter_map::given() const {
    std::vector<double> x;
    for (const column &c : columns_) x.push_back(c.given);
    return x;
}

std::vector<double> parameter_map::starts() const {
    std::vector<double> x;
    for (const column &c : columns_) x.push_back(c.start);
    return x;
}

} // namespace engine
