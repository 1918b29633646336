// SPDX-License-Identifier: BSD-3-Clause
// fit_problems.cpp -- fits problems that are given as text, one line of JSON for each
//
//   fit_problems PROBLEMS SPECTRA [STARTS]
//
// SPECTRA holds complex doubles, PROBLEMS says which of them are whose:
//
//   problem NAME POINTS FIRST_ORDER_PHASE IGNORED KEPT NOISE_SD OFFSET
//   interval FIRST LAST                                            any number
//   entry TYPE [OFFSET]                                            of a pattern that of its decay
//   free START LOWER UPPER | fixed START | tied START SOURCE FACTOR OFFSET
//                                                                  five after each entry
//   fit
//
// Parameters come in the order of engine/fit_problem.h, in its units. Printed are verdict, sum of
// squares, values and errors (one standard deviation) of all parameters of all entries.
#include "engine/optimum.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

typedef std::chrono::steady_clock steady;

engine::complex_signal read_spectrum(std::ifstream &from, long long offset, int points) {
    engine::complex_signal out(static_cast<std::size_t>(points));
    const std::streamoff size = sizeof(std::complex<double>);
    from.seekg(offset * size);
    from.read(reinterpret_cast<char *>(out.data()), static_cast<std::streamoff>(points) * size);
    if (!from) {
        std::fprintf(stderr, "fit_problems: the spectra end early\n");
        std::exit(1);
    }
    return out;
}

// A number as text, those that JSON has not as strings.
std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, std::isfinite(value) ? "%.17g" : "\"%g\"", value);
    return text;
}

void print(const std::string &name, const engine::result<engine::optimum> &fit, double seconds) {
    if (!fit) {
        std::printf(
            "{\"name\": \"%s\", \"verdict\": \"error\", \"entry\": %d, \"reason\": \"%s\"}\n",
            name.c_str(), fit.why().entry, fit.why().reason.c_str());
        return;
    }
    std::printf("{\"name\": \"%s\", \"verdict\": \"%s\", \"sum_of_squares\": %s, \"quality\": %s, "
                "\"expected_decrease\": %s, \"linearizations\": %d, \"evaluations\": %d, "
                "\"seconds\": %.6f",
                name.c_str(), name_of(fit->judged.what), number(fit->found.sum_of_squares).c_str(),
                number(fit->quality).c_str(), number(fit->found.expected_decrease).c_str(),
                fit->linearizations, fit->evaluations, seconds);
    std::printf(", \"starts\": [");
    for (std::size_t i = 0; i < fit->starts.size(); ++i)
        std::printf("%s[\"%s\", %s]", i == 0 ? "" : ", ", fit->starts[i].name.c_str(),
                    number(fit->starts[i].sum_of_squares).c_str());
    std::printf("], \"reasons\": [");
    for (std::size_t i = 0; i < fit->judged.reasons.size(); ++i)
        std::printf("%s\"%s %g\"", i == 0 ? "" : ", ", name_of(fit->judged.reasons[i].what),
                    fit->judged.reasons[i].number);
    std::printf("]");
    for (const bool errors : {false, true}) {
        std::printf(", \"%s\": [", errors ? "errors" : "values");
        for (std::size_t k = 0; k < fit->values.size(); ++k)
            for (int q = 0; q < engine::quantities; ++q)
                std::printf("%s%s", k + static_cast<std::size_t>(q) == 0 ? "" : ", ",
                            number(errors ? fit->covariance.error(static_cast<int>(k),
                                                                  static_cast<engine::quantity>(q))
                                          : fit->values[k][static_cast<std::size_t>(q)])
                                .c_str());
        std::printf("]");
    }
    std::printf("}\n");
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: fit_problems PROBLEMS SPECTRA [STARTS]\n");
        return 2;
    }
    std::ifstream text(argv[1]), spectra(argv[2], std::ios::binary);
    engine::fit_options options;
    if (argc > 3) options.starts = std::atoi(argv[3]);
    engine::model_workspace workspace;
    engine::fit_problem problem;
    std::string line, name;
    int next_parameter = engine::quantities;
    while (std::getline(text, line)) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "problem") {
            problem = engine::fit_problem();
            long long offset = 0;
            words >> name >> problem.when.points >> problem.when.first_order_phase >>
                problem.when.ignored >> problem.when.kept >> problem.noise_sd >> offset;
            problem.spectrum = read_spectrum(spectra, offset, problem.when.points);
        } else if (word == "interval") {
            engine::interval &i = problem.intervals.emplace_back();
            words >> i.first >> i.last;
        } else if (word == "entry") {
            int type = 0;
            words >> type;
            engine::entry &e = problem.entries.emplace_back();
            e.type = static_cast<engine::line_type>(type);
            if (e.type == engine::line_type::pattern) {
                long long offset = 0;
                words >> offset;
                e.pattern = static_cast<int>(problem.patterns.size());
                problem.patterns.push_back(read_spectrum(spectra, offset, problem.when.points));
            }
            next_parameter = 0;
        } else if (word == "free" || word == "fixed" || word == "tied") {
            if (problem.entries.empty() || next_parameter == engine::quantities) {
                std::fprintf(stderr, "fit_problems: a parameter of no entry\n");
                return 1;
            }
            engine::parameter &p =
                problem.entries.back().of[static_cast<std::size_t>(next_parameter++)];
            p.how = word == "free"    ? engine::link::free
                    : word == "fixed" ? engine::link::fixed
                                      : engine::link::tied;
            words >> p.start;
            std::string lower, upper;
            if (p.how == engine::link::free && words >> lower >> upper) {
                p.lower = std::strtod(lower.c_str(), nullptr);
                p.upper = std::strtod(upper.c_str(), nullptr);
            }
            if (p.how == engine::link::tied) words >> p.source >> p.factor >> p.offset;
        } else if (word == "fit") {
            const steady::time_point begin = steady::now();
            const auto fit = engine::find_optimum(problem, workspace, options);
            print(name, fit, std::chrono::duration<double>(steady::now() - begin).count());
        }
        if (words.bad()) return 1;
    }
    return 0;
}
