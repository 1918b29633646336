// SPDX-License-Identifier: BSD-3-Clause
// varokel_compare.cpp -- are two results of a fit the same?
#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"
#include "common/command_line.h"
#include "varokel-compare/compare_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

using tools::tool_error;

static std::string content_of(const std::string &file) {
    return tools::read_text_file(file, "a result file");
}

static int compare_texts(const std::string &got, const std::string &wanted,
                         const std::string &errors, const tools::tolerance &allowed,
                         long long most) {
    const std::vector<tools::difference> found =
        tools::compare_text(content_of(got), content_of(wanted), allowed,
                            errors.empty() ? std::string() : content_of(errors));
    for (std::size_t i = 0; i < found.size() && static_cast<long long>(i) < most; ++i)
        std::cout << got << ':' << found[i].line << ':' << found[i].column << ": " << found[i].text
                  << '\n';
    if (found.empty()) return tools::all_right;
    std::cout << found.size() << (found.size() == 1 ? " line differs from " : " lines differ from ")
              << wanted << '\n';
    return tools::different;
}

static int compare_signals(const std::string &got, const std::string &wanted,
                           const tools::tolerance &allowed, long long most) {
    const tools::complex_signal a = tools::read_points(got, 0, tools::count_points(got));
    const tools::complex_signal b = tools::read_points(wanted, 0, tools::count_points(wanted));
    if (a.size() != b.size()) {
        std::cout << got << ": " << a.size() << " points, wanted " << b.size() << " as in "
                  << wanted << '\n';
        return tools::different;
    }
    double largest = 0.0;
    for (const std::complex<double> &point : b)
        largest = std::max({largest, std::fabs(point.real()), std::fabs(point.imag())});
    // One scale for the whole signal: near a zero crossing a point has no precision of its own.
    const double limit = allowed.absolute + allowed.relative * largest;
    long long found = 0;
    double worst = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double distance =
            std::max(std::fabs(a[i].real() - b[i].real()), std::fabs(a[i].imag() - b[i].imag()));
        worst = std::max(worst, distance);
        if (distance <= limit) continue;
        if (++found > most) continue;
        char text[200];
        std::snprintf(text, sizeof text,
                      ": point %zu: got (%.9g, %.9g), wanted (%.9g, %.9g), difference %.3g, "
                      "allowed %.3g\n",
                      i, a[i].real(), a[i].imag(), b[i].real(), b[i].imag(), distance, limit);
        std::cout << got << text;
    }
    if (found == 0) return tools::all_right;
    char text[100];
    std::snprintf(text, sizeof text, "%lld of %zu points differ, at most by %.3g from ", found,
                  a.size(), worst);
    std::cout << text << wanted << '\n';
    return tools::different;
}

int main(int argc, char **argv) {
    std::string got, wanted, errors;
    tools::tolerance allowed;
    long long most = 10;
    bool signal = false;

    tools::option_parser app(
        "Compares two result files of varokel: words exactly, numbers within a tolerance, "
        "time stamps by\ntheir shape. Prints the first differences as FILE:LINE:COLUMN.",
        "varokel-compare");
    app.add_option("GOT", got, "result file")->required();
    app.add_option("WANTED", wanted, "what it is held against")->required();
    app.add_option("--rel R", allowed.relative,
                   "tolerance relative to the larger number; with --signal to the largest value of "
                   "WANTED (default 0)",
                   tools::not_negative_number);
    app.add_option("--abs A", allowed.absolute, "absolute tolerance (default 0)",
                   tools::not_negative_number);
    app.add_option("--int N", allowed.whole,
                   "absolute tolerance between whole numbers, such as counts (default 0)",
                   tools::not_negative_number);
    const tools::declared_option *of = app.add_option(
        "--errors FILE", errors, "file of errors, the .err beside a .mat, for --fraction");
    app.add_option("--fraction F", allowed.fraction,
                   "tolerance as a fraction of the error at the same place of --errors",
                   tools::not_negative_number)
        ->needs(of);
    app.add_flag("--signal", signal, "both files are signals, float32 pairs");
    app.add_option("--max N", most, "differences that are printed (default 10)",
                   tools::not_negative_number);
    tools::common_options(
        app,
        "  varokel-compare run/brain.mat expected/brain.mat --rel 1e-6\n"
        "  varokel-compare run/brain.mat expected/brain.mat --errors run/brain.err "
        "--fraction 0.05\n"
        "  varokel-compare run/brain.fit expected/brain.fit --signal --rel "
        "1e-6",
        "0 same, 1 different");

    return tools::run_tool(app, argc, argv, [&] {
        return signal ? compare_signals(got, wanted, allowed, most)
                      : compare_texts(got, wanted, errors, allowed, most);
    });
}
