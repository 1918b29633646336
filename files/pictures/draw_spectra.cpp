// SPDX-License-Identifier: BSD-3-Clause
// draw_spectra.cpp -- data, fit, components and residual of a run as an SVG picture
#include "files/pictures/draw_spectra.h"

#include "files/base/format_text.h"
#include "files/pictures/markup.h"
#include "files/pictures/thin_curve.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tools {

namespace {

constexpr double picture_width = 800.0;
constexpr double left_edge = 20.0, right_edge = 780.0; // of the panels
constexpr double top = 52.0;                           // below title and legend
constexpr double curves_height = 400.0;                // of all panels without the gaps
constexpr double data_height = 260.0;                  // of data alone
constexpr double gap = 14.0;                           // between panels
constexpr double axis_height = 52.0;

constexpr const char *data_colour = "#4d4d4d";
constexpr const char *interval_colour = "#eef2f7", *noise_colour = "#f6ecd4";
constexpr const char *window_colour = "#7a7a7a", *edge_colour = "#c81e3c";
// A wide stroke below a thin one: the data stay in sight where the fit lies on them.
constexpr double data_width = 2.2, fit_width = 1.0;
constexpr double mark_rise = 10.0; // of names of neighbouring marks, one above the other
constexpr int most_rises = 4;
constexpr const char *fit_colour = "#d55e00";
constexpr const char *residual_colour = "#0072b2";
constexpr const char *component_colours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                             "#56b4e9", "#e69f00", "#4d4d4d"};

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

std::string number(double value) {
    std::string out = format("%.1f", value);
    if (out == "-0.0") out = "0.0";
    if (out.ends_with(".0")) out.resize(out.size() - 2);
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
        return reversed() ? right_edge - share * (right_edge - left_edge)
                          : left_edge + share * (right_edge - left_edge);
    }
    bool reversed() const { return plot_.axis.falls_to_the_right == (plot_.axis.per_point > 0.0); }
    void text(double x, double y, const std::string &content, const std::string &attributes);
    void line(double x1, double y1, double x2, double y2, const char *colour, double thickness);
    void curve(const std::vector<double> &values, const extent &range, double panel_top,
               const char *colour, double thickness);
    void begin(double height);
    void header(bool with_components);
    void shade(double height);
    void band(long long first, long long last, double height, const char *colour);
    void windows(double panel_top);
    void marks(double height);
    double room_for_marks() const;
    void horizontal_axis(double y);
    void component_panel(const extent &range, double panel_top);

    const spectra_plot &plot_;
    double top_ = top;   // of the first panel
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
    pixels = thinned(pixels);
    std::string points;
    for (const pixel &p : pixels) {
        if (!points.empty()) points += ' ';
        points += number(p.x) + "," + number(p.y);
    }
    svg_ += "<polyline fill=\"none\" stroke=\"" + std::string(colour) + "\" stroke-width=\"" +
            number(thickness) + "\" stroke-linejoin=\"round\" points=\"" + points + "\"/>\n";
}

void picture::header(bool with_components) {
    if (!plot_.title.empty()) text(left_edge, 28, plot_.title, "font-size=\"17\" fill=\"#1a1a1a\"");
    struct entry {
        const char *name, *colour;
    };
    std::vector<entry> entries = {{"data", data_colour}};
    if (!plot_.fit.empty()) entries.push_back({"fit", fit_colour});
    if (with_components) entries.push_back({"components", "#808080"});
    if (!plot_.fit.empty()) entries.push_back({"residual", residual_colour});
    double x = right_edge;
    for (auto e = entries.rbegin(); e != entries.rend(); ++e) {      // from the right edge inwards
        x -= 7.7 * static_cast<double>(std::string(e->name).size()); // wide enough for any font
        text(x, 28, e->name, "font-size=\"13\" fill=\"#1a1a1a\"");
        line(x - 27.0, 23.5, x - 7.0, 23.5, e->colour, 2.4);
        x -= 41.0;
    }
}

void picture::band(long long first, long long last, double height, const char *colour) {
    if (first > plot_.last || last < plot_.first) return;
    const double a = x_of_point(static_cast<double>(std::max(first, plot_.first)));
    const double b = x_of_point(static_cast<double>(std::min(last, plot_.last)));
    svg_ += "<rect x=\"" + number(std::min(a, b)) + "\" y=\"" + number(top_ - 6.0) + "\" width=\"" +
            number(std::fabs(b - a)) + "\" height=\"" + number(height + 12.0) + "\" fill=\"" +
            colour + "\"/>\n";
}

void picture::shade(double height) {
    for (const auto &[first, last] : plot_.intervals) band(first, last, height, interval_colour);
    if (!plot_.noise || plot_.noise->first > plot_.last || plot_.noise->second < plot_.first)
        return;
    band(plot_.noise->first, plot_.noise->second, height, noise_colour);
    const double a = x_of_point(static_cast<double>(std::max(plot_.noise->first, plot_.first)));
    const double b = x_of_point(static_cast<double>(std::min(plot_.noise->second, plot_.last)));
    text(0.5 * (a + b), top_ + 6.0, "noise",
         "font-size=\"10\" text-anchor=\"middle\" fill=\"#4d4d4d\"");
}

// Above the components: from edge to edge, red and thick where the fit presses against one.
void picture::windows(double panel_top) {
    int row = 0;
    for (const plot_window &each : plot_.windows) {
        const auto first = static_cast<double>(plot_.first), last = static_cast<double>(plot_.last);
        if (each.high < first || each.low > last) continue;
        const double a = x_of_point(std::max(each.low, first));
        const double b = x_of_point(std::min(each.high, last));
        const double y = panel_top - 2.0 - 3.0 * (row++ % 4);
        line(a, y, b, y, each.active ? edge_colour : window_colour, each.active ? 2.5 : 1.2);
    }
}

double picture::room_for_marks() const {
    return plot_.marks.empty() ? 0.0 : mark_rise * most_rises + 12.0;
}

void picture::marks(double height) {
    struct label {
        double left, right;
        int rise;
    };
    std::vector<label> placed;
    for (const plot_mark &mark : plot_.marks) {
        if (mark.point < static_cast<double>(plot_.first) ||
            mark.point > static_cast<double>(plot_.last))
            continue;
        const double x = x_of_point(mark.point);
        const double half = 3.1 * static_cast<double>(mark.name.size()) + 2.0;
        int rise = 0;
        const auto covered = [&] {
            return std::any_of(placed.begin(), placed.end(), [&](const label &other) {
                return other.rise == rise && x - half < other.right && x + half > other.left;
            });
        };
        while (rise + 1 < most_rises && covered()) ++rise;
        placed.push_back({x - half, x + half, rise});
        line(x, top_ - 4.0, x, top_ + height, "#d0d0d0", 0.8);
        text(x, top_ - 8.0 - mark_rise * rise, mark.name,
             "font-size=\"10\" text-anchor=\"middle\" fill=\"#1a1a1a\"");
    }
}

void picture::horizontal_axis(double y) {
    const plot_axis &axis = plot_.axis;
    const auto value_at = [&](double i) { return axis.at_zero + axis.per_point * i; };
    const double a = value_at(static_cast<double>(plot_.first));
    const double b = value_at(static_cast<double>(plot_.last));
    const double low = std::min(a, b), high = std::max(a, b);
    line(left_edge, y, right_edge, y, "#1a1a1a", 1.0);
    text(picture_width / 2, y + 41.0, axis.label,
         "font-size=\"13\" fill=\"#1a1a1a\" text-anchor=\"middle\"");
    // values so large beside their distance that labels would all be the same
    if (!(high - low > 1e-9 * std::max(std::fabs(low), std::fabs(high)))) return;
    const auto [step, parts] = ticks_of(high - low);
    const int decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
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
        const std::string sign = k < 0 ? "\u2212" : ""; // a minus sign, as wide as a plus
        text(x, y + 21.0, sign + format("%.*f", decimals, std::fabs(value)),
             "font-size=\"12\" fill=\"#1a1a1a\" text-anchor=\"middle\"");
    }
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

void picture::begin(double height) {
    svg_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"800\" height=\"" + number(height) +
           "\" viewBox=\"0 0 800 " + number(height) +
           "\" role=\"img\" font-family=\"Helvetica, Arial, 'Liberation Sans', sans-serif\">\n";
    svg_ += "<title>" +
            escaped_markup(!plot_.title.empty() ? plot_.title
                           : plot_.fit.empty()  ? "spectrum"
                                                : "data, fit and residual") +
            "</title>\n";
    svg_ += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

std::string picture::draw() {
    const bool with_components = !plot_.components.empty(), with_fit = !plot_.fit.empty();
    extent main, parts, residual;
    main.include(plot_.data, plot_.first, plot_.last);
    if (with_fit) main.include(plot_.fit, plot_.first, plot_.last);
    for (const auto &component : plot_.components)
        parts.include(component, plot_.first, plot_.last);
    if (with_fit) residual.include(plot_.residual, plot_.first, plot_.last);
    const double total = main.size() + parts.size() + residual.size();
    scale_ = total > 0.0 ? (with_fit ? curves_height : data_height) / total : 1.0;

    top_ = top + room_for_marks();
    const double parts_gap = with_components ? gap + 10.0 : 0.0; // room for the numbers
    const double parts_top = top_ + main.size() * scale_ + parts_gap;
    const double residual_top = parts_top + parts.size() * scale_ + (with_fit ? gap : 0.0);
    const double axis_y = residual_top + residual.size() * scale_ + 8.0;
    begin(axis_y + axis_height);
    shade(axis_y - top_ - 8.0);
    header(with_components);
    marks(main.size() * scale_);
    const auto zero_line = [&](const extent &range, double panel_top) {
        const double y = panel_top + range.high * scale_;
        line(left_edge, y, right_edge, y, "#d0d0d0", 0.8);
    };
    zero_line(main, top_);
    curve(plot_.data, main, top_, data_colour, with_fit ? data_width : 1.2);
    if (with_fit) curve(plot_.fit, main, top_, fit_colour, fit_width);
    windows(with_components ? parts_top : top_);
    if (with_components) {
        zero_line(parts, parts_top);
        component_panel(parts, parts_top);
    }
    if (with_fit) {
        zero_line(residual, residual_top);
        curve(plot_.residual, residual, residual_top, residual_colour, 1.1);
    }
    horizontal_axis(axis_y);
    svg_ += "</svg>\n";
    return svg_;
}

} // namespace

std::string draw_spectra(const spectra_plot &plot) {
    return picture(plot).draw();
}

} // namespace tools
