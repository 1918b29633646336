// SPDX-License-Identifier: BSD-3-Clause
#include "files/pictures/draw_spectra.h"

#include "files/pictures/markup.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace tools {

namespace {

constexpr double width = 800.0;
constexpr double left = 20.0, right = 780.0; // of the panels
constexpr double top = 52.0;                 // below title and legend
constexpr double curves_height = 400.0;      // of all panels without the gaps
constexpr double gap = 14.0;                 // between panels
constexpr double axis_height = 52.0;

constexpr const char *data_colour = "#4d4d4d";
constexpr const char *fit_colour = "#d55e00";
constexpr const char *residual_colour = "#0072b2";
constexpr const char *component_colours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                             "#56b4e9", "#e69f00", "#4d4d4d"};

struct pixel {
    double x, y;
};

struct extent {
    double low = 0.0, high = 0.0; // a panel always shows its zero line
    void include(const std::vector<double> &values, long long first, long long last) {
        for (long long i = first; i <= last; ++i) {
            low = std::min(low, values[static_cast<std::size_t>(i)]);
            high = std::max(high, values[static_cast<std::size_t>(i)]);
        }
    }
    double size() const { return high - low; }
};

std::string number(double value, const char *format = "%.1f") {
    char text[40];
    std::snprintf(text, sizeof text, format, value);
    std::string out(text);
    if (out == "-0.0") out = "0.0";
    if (out.ends_with(".0")) out.resize(out.size() - 2);
    return out;
}

// Lowest and highest of the curve in each half pixel, in the order in which they come.
std::vector<pixel> extremes_per_half_pixel(const std::vector<pixel> &curve) {
    std::vector<pixel> out;
    for (std::size_t i = 0; i < curve.size();) {
        const double column = std::floor(2.0 * curve[i].x);
        std::size_t low = i, high = i, end = i;
        for (; end < curve.size() && std::floor(2.0 * curve[end].x) == column; ++end) {
            if (curve[end].y < curve[low].y) low = end;
            if (curve[end].y > curve[high].y) high = end;
        }
        out.push_back(curve[std::min(low, high)]);
        if (low != high) out.push_back(curve[std::max(low, high)]);
        i = end;
    }
    return out;
}

double distance_to_line(const pixel &p, const pixel &a, const pixel &b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length = std::hypot(dx, dy);
    if (length == 0.0) return std::hypot(p.x - a.x, p.y - a.y);
    return std::fabs(dx * (p.y - a.y) - dy * (p.x - a.x)) / length;
}

// Leaves out what is not seen. Method: D. H. Douglas, T. K. Peucker, Cartographica 10 (1973)
// 112-122, with a stack of stretches that are still to be looked at.
std::vector<pixel> without_straight_points(const std::vector<pixel> &curve, double tolerance) {
    if (curve.size() < 3) return curve;
    std::vector<bool> kept(curve.size(), false);
    kept.front() = kept.back() = true;
    std::vector<std::pair<std::size_t, std::size_t>> stretches = {{0, curve.size() - 1}};
    while (!stretches.empty()) {
        const auto [a, b] = stretches.back();
        stretches.pop_back();
        std::size_t farthest = a;
        double distance = tolerance;
        for (std::size_t i = a + 1; i < b; ++i) {
            const double d = distance_to_line(curve[i], curve[a], curve[b]);
            if (d <= distance) continue;
            distance = d;
            farthest = i;
        }
        if (farthest == a) continue;
        kept[farthest] = true;
        stretches.emplace_back(a, farthest);
        stretches.emplace_back(farthest, b);
    }
    std::vector<pixel> out;
    for (std::size_t i = 0; i < curve.size(); ++i)
        if (kept[i]) out.push_back(curve[i]);
    return out;
}

struct tick_distance {
    double step; // between numbered ticks
    int parts;   // of a step, between small ticks
};

// 1, 2 or 5 times a power of ten, for about eight numbered ticks.
tick_distance ticks_of(double span) {
    const double raw = span / 8.0;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    if (raw <= power) return {power, 5};
    if (raw <= 2.0 * power) return {2.0 * power, 4};
    if (raw <= 5.0 * power) return {5.0 * power, 5};
    return {10.0 * power, 5};
}

class picture {
  public:
    explicit picture(const spectra_plot &plot) : plot_(plot) {}
    std::string draw();

  private:
    double x_of_point(double i) const {
        const double share =
            (i - static_cast<double>(plot_.first)) / static_cast<double>(plot_.last - plot_.first);
        return reversed() ? right - share * (right - left) : left + share * (right - left);
    }
    bool reversed() const { return plot_.axis.falls_to_the_right == (plot_.axis.per_point > 0.0); }
    void text(double x, double y, const std::string &content, const std::string &attributes);
    void line(double x1, double y1, double x2, double y2, const char *colour, double thickness);
    void curve(const std::vector<double> &values, const extent &range, double panel_top,
               const char *colour, double thickness);
    void header(bool with_components);
    void shade(double height);
    void horizontal_axis(double y);
    void component_panel(const extent &range, double panel_top);

    const spectra_plot &plot_;
    double scale_ = 1.0; // pixels per unit of the curves
    std::string svg_;
};

void picture::text(double x, double y, const std::string &content, const std::string &attributes) {
    svg_ += "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" " + attributes + ">" +
            escaped_markup(content) + "</text>\n";
}

void picture::line(double x1, double y1, double x2, double y2, const char *colour,
                   double thickness) {
    svg_ += "<path d=\"M" + number(x1) + " " + number(y1) + "L" + number(x2) + " " + number(y2) +
            "\" stroke=\"" + colour + "\" stroke-width=\"" + number(thickness) + "\"/>\n";
}

void picture::curve(const std::vector<double> &values, const extent &range, double panel_top,
                    const char *colour, double thickness) {
    std::vector<pixel> pixels;
    for (long long i = plot_.first; i <= plot_.last; ++i)
        pixels.push_back({x_of_point(static_cast<double>(i)),
                          panel_top + (range.high - values[static_cast<std::size_t>(i)]) * scale_});
    pixels = without_straight_points(extremes_per_half_pixel(pixels), 0.1);
    std::string points;
    for (const pixel &p : pixels) {
        if (!points.empty()) points += ' ';
        points += number(p.x) + "," + number(p.y);
    }
    svg_ += "<polyline fill=\"none\" stroke=\"" + std::string(colour) + "\" stroke-width=\"" +
            number(thickness) + "\" stroke-linejoin=\"round\" points=\"" + points + "\"/>\n";
}

void picture::header(bool with_components) {
    if (!plot_.title.empty()) text(left, 28, plot_.title, "font-size=\"17\" fill=\"#1a1a1a\"");
    struct entry {
        const char *name, *colour;
    };
    std::vector<entry> entries = {{"data", data_colour}, {"fit", fit_colour}};
    if (with_components) entries.push_back({"components", "#808080"});
    entries.push_back({"residual", residual_colour});
    double x = right;
    for (auto e = entries.rbegin(); e != entries.rend(); ++e) {      // from the right edge inwards
        x -= 7.7 * static_cast<double>(std::string(e->name).size()); // wide enough for any font
        text(x, 28, e->name, "font-size=\"13\" fill=\"#1a1a1a\"");
        line(x - 27.0, 23.5, x - 7.0, 23.5, e->colour, 2.4);
        x -= 41.0;
    }
}

void picture::shade(double height) {
    for (const auto &[first, last] : plot_.intervals) {
        const double a = x_of_point(static_cast<double>(std::max(first, plot_.first)));
        const double b = x_of_point(static_cast<double>(std::min(last, plot_.last)));
        if (first > plot_.last || last < plot_.first) continue;
        svg_ += "<rect x=\"" + number(std::min(a, b)) + "\" y=\"" + number(top - 6.0) +
                "\" width=\"" + number(std::fabs(b - a)) + "\" height=\"" + number(height + 12.0) +
                "\" fill=\"#eef2f7\"/>\n";
    }
}

void picture::horizontal_axis(double y) {
    const plot_axis &axis = plot_.axis;
    const auto value_at = [&](double i) { return axis.at_zero + axis.per_point * i; };
    const double a = value_at(static_cast<double>(plot_.first));
    const double b = value_at(static_cast<double>(plot_.last));
    const double low = std::min(a, b), high = std::max(a, b);
    const auto [step, parts] = ticks_of(high - low);
    const int decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
    const std::string format = "%." + std::to_string(decimals) + "f";
    line(left, y, right, y, "#1a1a1a", 1.0);
    const auto x_of_value = [&](double v) {
        return x_of_point((v - axis.at_zero) / axis.per_point);
    };
    const double minor = step / parts;
    const auto first = static_cast<long long>(std::ceil(low / minor - 1e-9));
    const auto last = static_cast<long long>(std::floor(high / minor + 1e-9));
    for (long long k = first; k <= last; ++k) {
        const bool major = k % parts == 0;
        const double value = static_cast<double>(k) * minor;
        const double x = x_of_value(value);
        line(x, y, x, y + (major ? 7.0 : 3.5), "#1a1a1a", 1.0);
        if (!major) continue;
        char label[40];
        std::snprintf(label, sizeof label, format.c_str(), std::fabs(value));
        const std::string sign = k < 0 ? "\u2212" : ""; // a minus sign, as wide as a plus
        text(x, y + 21.0, sign + label, "font-size=\"12\" fill=\"#1a1a1a\" text-anchor=\"middle\"");
    }
    text(width / 2, y + 41.0, axis.label,
         "font-size=\"13\" fill=\"#1a1a1a\" text-anchor=\"middle\"");
}

void picture::component_panel(const extent &range, double panel_top) {
    static constexpr std::size_t colours = std::size(component_colours);
    struct label {
        double x, y;
        std::string number;
        const char *colour;
    };
    std::vector<label> labels;
    for (std::size_t k = 0; k < plot_.components.size(); ++k) {
        const std::vector<double> &values = plot_.components[k];
        const char *const colour = component_colours[k % colours];
        curve(values, range, panel_top, colour, 1.1);
        long long peak = plot_.first;
        const auto size_at = [&](long long i) {
            return std::fabs(values[static_cast<std::size_t>(i)]);
        };
        for (long long i = plot_.first; i <= plot_.last; ++i)
            if (size_at(i) > size_at(peak)) peak = i;
        if (size_at(peak) * scale_ < 1.0) continue; // nothing to see, nothing to name
        const double value = values[static_cast<std::size_t>(peak)];
        const double y = panel_top + (range.high - value) * scale_;
        labels.push_back({x_of_point(static_cast<double>(peak)), value < 0.0 ? y + 11.0 : y - 4.0,
                          std::to_string(k + 1), colour});
    }
    // A label that would cover another one steps up until it does not.
    for (std::size_t k = 0; k < labels.size(); ++k) {
        for (std::size_t other = 0; other < k;) {
            const bool covered = std::fabs(labels[k].x - labels[other].x) < 12.0 &&
                                 std::fabs(labels[k].y - labels[other].y) < 10.0;
            if (covered) {
                labels[k].y = labels[other].y - 10.0;
                other = 0;
            } else {
                ++other;
            }
        }
        text(labels[k].x, labels[k].y, labels[k].number,
             "font-size=\"10\" text-anchor=\"middle\" fill=\"" + std::string(labels[k].colour) +
                 "\"");
    }
}

std::string picture::draw() {
    const bool with_components = !plot_.components.empty();
    extent main, parts, residual;
    main.include(plot_.data, plot_.first, plot_.last);
    main.include(plot_.fit, plot_.first, plot_.last);
    for (const auto &component : plot_.components)
        parts.include(component, plot_.first, plot_.last);
    residual.include(plot_.residual, plot_.first, plot_.last);
    const double total = main.size() + parts.size() + residual.size();
    scale_ = total > 0.0 ? curves_height / total : 1.0;

    const double parts_gap = with_components ? gap + 10.0 : 0.0; // room for the numbers
    const double parts_top = top + main.size() * scale_ + parts_gap;
    const double residual_top = parts_top + parts.size() * scale_ + gap;
    const double axis_y = residual_top + residual.size() * scale_ + 8.0;
    const double height = axis_y + axis_height;

    svg_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"800\" height=\"" + number(height) +
           "\" viewBox=\"0 0 800 " + number(height) +
           "\" role=\"img\" font-family=\"Helvetica, Arial, 'Liberation Sans', sans-serif\">\n";
    svg_ += "<title>" +
            escaped_markup(plot_.title.empty() ? "data, fit and residual" : plot_.title) +
            "</title>\n";
    svg_ += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    shade(axis_y - top - 8.0);
    header(with_components);
    const auto zero_line = [&](const extent &range, double panel_top) {
        const double y = panel_top + range.high * scale_;
        line(left, y, right, y, "#d0d0d0", 0.8);
    };
    zero_line(main, top);
    curve(plot_.data, main, top, data_colour, 1.2);
    curve(plot_.fit, main, top, fit_colour, 1.3);
    if (with_components) {
        zero_line(parts, parts_top);
        component_panel(parts, parts_top);
    }
    zero_line(residual, residual_top);
    curve(plot_.residual, residual, residual_top, residual_colour, 1.1);
    horizontal_axis(axis_y);
    svg_ += "</svg>\n";
    return svg_;
}

} // namespace

std::string draw_spectra(const spectra_plot &plot) {
    return picture(plot).draw();
}

} // namespace tools
