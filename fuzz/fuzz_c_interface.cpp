// SPDX-License-Identifier: BSD-3-Clause
// fuzz_c_interface.cpp -- calls of libvarokel as the bytes have them, in any order, with any
// numbers
//
// A problem is made, changed and fitted; what the calls return is held against what varokel.h says:
// results of a fit are numbers or infinite errors, names and messages are texts, and a call that
// fails leaves a sentence.
#include "engine/varokel.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

class byte_reader {
  public:
    byte_reader(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}
    bool any() const { return at_ < size_; }
    int byte() { return at_ < size_ ? data_[at_++] : 0; }
    int small() { return static_cast<signed char>(byte()) / 8; } // -16 to 15
    // Mostly ordinary numbers, sometimes any that there is.
    double number() {
        const int kind = byte();
        if (kind < 200) return (byte() - 100) * 0.5;
        if (kind < 230) return std::ldexp(byte() - 128.0, 4 * (byte() - 128));
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits = bits << 8 | static_cast<unsigned>(byte());
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    std::vector<double> numbers(int count) {
        std::vector<double> out;
        for (int i = 0; i < count; ++i) out.push_back(number());
        return out;
    }
    std::string text() {
        std::string out;
        for (int c = byte(); c != 0 && out.size() < 200; c = byte()) out += static_cast<char>(c);
        return out;
    }

  private:
    const std::uint8_t *data_;
    std::size_t size_, at_ = 0;
};

void demand(bool holds) {
    if (!holds) std::abort();
}

void look_at(const varokel_fit *fit, varokel_workspace *workspace, byte_reader &in) {
    const std::size_t rows = static_cast<std::size_t>(varokel_fit_entries(fit)) * 5;
    const std::size_t points = static_cast<std::size_t>(varokel_fit_points(fit));
    std::vector<double> values(rows), errors(rows), covariance(rows * rows), curve(2 * points);
    demand(varokel_fit_values(fit, values.data(), rows) == VAROKEL_OK);
    demand(varokel_fit_errors(fit, errors.data(), rows) == VAROKEL_OK);
    demand(varokel_fit_covariance(fit, covariance.data(), rows * rows) == VAROKEL_OK);
    for (std::size_t i = 0; i < rows; ++i) demand(!std::isnan(values[i]));
    demand(varokel_fit_sum_of_squares(fit) >= 0.0);
    demand(varokel_verdict_name(varokel_fit_verdict(fit)) != nullptr);
    demand((varokel_fit_verdict(fit) == VAROKEL_OPTIMUM) == (varokel_fit_reasons(fit) == 0));
    for (int i = 0; i < varokel_fit_reasons(fit); ++i) {
        int what = -1, count = -1;
        double number = 0.0;
        const char *text = nullptr;
        const int *entries = nullptr;
        demand(varokel_fit_reason(fit, i, &what, &number, &text, &entries, &count) == VAROKEL_OK);
        demand(what >= varokel_fit_verdict(fit) && std::strlen(text) > 0);
        for (int k = 0; k < count; ++k)
            demand(entries[k] >= 0 && entries[k] < varokel_fit_entries(fit));
    }
    demand(varokel_fit_starts(fit) > 0);
    for (int i = 0; i < varokel_fit_starts(fit); ++i) {
        const char *name = nullptr;
        demand(varokel_fit_start(fit, i, &name, nullptr, nullptr, nullptr) == VAROKEL_OK);
        demand(std::strlen(name) > 0);
    }
    demand(varokel_fit_spectrum(fit, workspace, VAROKEL_ALL_ENTRIES, curve.data(), curve.size()) ==
           VAROKEL_OK);
    double value = 0.0, error = 0.0;
    const std::string expression = in.text();
    const int status = varokel_fit_derive(fit, workspace, expression.c_str(), &value, &error);
    demand(status == VAROKEL_OK || status == VAROKEL_BAD_EXPRESSION);
    demand(status == VAROKEL_OK || std::strlen(varokel_workspace_message(workspace)) > 0);
}

// One call that changes a problem or the options.
void change(byte_reader &in, varokel_problem *problem, varokel_options *options, int points) {
    const int entry = in.small();
    const int quantity = in.small(); // one after the other: compilers differ in order of arguments
    const int other = in.small();
    switch (in.byte() % 16) {
    case 0:
        varokel_problem_set_noise_sd(problem, in.number());
        break;
    case 1:
        varokel_problem_set_first_order_phase(problem, in.number());
        break;
    case 2:
        varokel_problem_set_truncation(problem, quantity, other);
        break;
    case 3:
        varokel_problem_set_channel(problem, entry);
        break;
    case 4:
        varokel_problem_add_interval(problem, entry, in.byte() / 4);
        break;
    case 5:
        varokel_problem_add_pattern(problem, in.numbers(2 * points).data(), points, nullptr);
        break;
    case 6:
        varokel_problem_set_measured_lineshape(problem, in.numbers(2 * points).data(), points);
        break;
    case 7: {
        const int count = in.byte() % 6;
        const std::vector<double> coefficients = in.numbers(2 * count);
        varokel_problem_set_fitted_lineshape(problem, coefficients.data(), count, other % 2);
        break;
    }
    case 8:
    case 9:
        if (varokel_problem_entries(problem) < 6)
            varokel_problem_add_entry(problem, in.text().c_str(), other % 6, nullptr);
        break;
    case 10:
        varokel_problem_set_entry_pattern(problem, entry, other);
        varokel_problem_set_takes_lineshape(problem, entry, 1);
        break;
    case 11:
    case 12:
        varokel_problem_set_free(problem, entry, quantity, in.number());
        break;
    case 13: {
        const double factor = in.number();
        const double offset = in.number();
        varokel_problem_set_tied(problem, entry, quantity, other, factor, offset);
        break;
    }
    case 14: {
        const double lower = in.number();
        const double upper = in.number();
        varokel_problem_set_window(problem, entry, quantity, lower, upper);
        break;
    }
    default: {
        const std::vector<double> values = in.numbers(5 * varokel_problem_entries(problem));
        varokel_options_add_start(options, nullptr, values.data(), values.size());
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    byte_reader in(data, size);
    const int points = 1 << (in.byte() % 7); // 1 is refused
    varokel_problem *problem = nullptr;
    varokel_workspace *workspace = nullptr;
    varokel_options *options = nullptr;
    varokel_fit *fit = nullptr;
    const double hz_per_point = in.number();
    const int made = varokel_problem_create(points, hz_per_point, &problem);
    demand((made == VAROKEL_OK) == (problem != nullptr));
    if (problem == nullptr) return 0;
    demand(varokel_workspace_create(&workspace) == VAROKEL_OK);
    demand(varokel_options_create(&options) == VAROKEL_OK);
    const int starts = in.byte() % 3;
    varokel_options_set_starts(options, starts, in.byte() % 4);
    varokel_options_set_most_linearizations(options, 1 + in.byte() % 20);
    const std::vector<double> spectrum = in.numbers(2 * points);
    demand(varokel_problem_set_spectrum(problem, spectrum.data(), points) == VAROKEL_OK);
    varokel_problem_set_noise_sd(problem, 1.0);
    int first = -1, last = -1;
    demand(varokel_noise_window(spectrum.data(), points, &first, &last) == VAROKEL_OK);
    demand(first >= 0 && first <= last && last < points);
    for (int calls = 0; in.any() && calls < 60; ++calls) change(in, problem, options, points);
    const int status = varokel_fit_find(problem, options, workspace, &fit);
    demand((status == VAROKEL_OK) == (fit != nullptr));
    demand(status == VAROKEL_OK || status == VAROKEL_BAD_PROBLEM || status == VAROKEL_BAD_ARGUMENT);
    demand(status == VAROKEL_OK || std::strlen(varokel_workspace_message(workspace)) > 0);
    if (fit != nullptr) look_at(fit, workspace, in);
    varokel_fit_destroy(fit);
    varokel_options_destroy(options);
    varokel_workspace_destroy(workspace);
    varokel_problem_destroy(problem);
    return 0;
}
