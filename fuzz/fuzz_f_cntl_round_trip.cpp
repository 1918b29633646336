// SPDX-License-Identifier: BSD-3-Clause
// fuzz_f_cntl_round_trip.cpp -- a start file that passes its checks, written and read again, gives
// the same parameters to single precision, and written once more the same file
#include "check_start_values.h"
#include "control/f_cntl.h"
#include "fuzz_reader.h"

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <vector>

// The file holds nine digits, read with seven: half a unit of the last place, and the units'
// factors.
static bool same(double a, double b) {
    if (std::isnan(a) || std::isnan(b) || std::isinf(a) || std::isinf(b)) return true;
    return std::fabs(a - b) <= 2e-7 * std::fabs(a) + 1e-37;
}

// Words of one file against those of the other. A default range that ends near zero is a difference
// of nearly equal numbers, where the units' factors leave some 1e-16 of the value itself.
static bool same_words(const std::string &first, const std::string &second) {
    std::istringstream a(first), b(second);
    std::string x, y;
    double last_value = 0.0; // what a range stands around
    for (;;) {
        const bool more_a = static_cast<bool>(a >> x);
        const bool more_b = static_cast<bool>(b >> y);
        if (more_a != more_b) return false;
        if (!more_a) return true;
        char *end_x = nullptr;
        char *end_y = nullptr;
        const double value_x = std::strtod(x.c_str(), &end_x);
        const double value_y = std::strtod(y.c_str(), &end_y);
        if (x != y && (*end_x != '\0' || *end_y != '\0')) return false;
        if (x != y && !same(value_x, value_y) &&
            !(std::fabs(value_x - value_y) <= 1e-14 * std::fabs(last_value) + 1e-14))
            return false;
        if (*end_x == '\0' && !same(value_x, 0.0)) last_value = value_x;
    }
}

// The trailer says when the file was written.
static std::string without_trailer(const std::string &text) {
    return text.substr(0, text.find("end_of_lsf"));
}

static bool write_compact() {
    if (fuzz::start_values_pass() != 1) return false;
    if (!std::isnormal(Hz_pp) || std::fabs(Hz_pp) > 1e30 || std::fabs(Hz_pp) < 1e-30) return false;
    for (int i = 0; i < npar; ++i) errpar[i] = 0.0;
    std::remove("compact.par");
    const int written =
        write_f_cntl(strtvalfnm, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp, T_acq,
                     ftol, par, errpar, fitmode, var_ap_trunc, verbose, show_line, error_calc,
                     sage_idl, par_ranges == 2 ? 0 : par_ranges, n_fit_strat_steps, min_method,
                     user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax, frscl, ignore,
                     n_patterns, pat_name, user, host, domain);
    if (written != 0) std::abort();
    return true;
}

static void read_compact(const std::string &text, const std::function<void()> &then) {
    const std::string behind_word = text.substr(text.find('\n'));
    fuzz::read_start_file("version_3", reinterpret_cast<const std::uint8_t *>(behind_word.data()),
                          behind_word.size(), then);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::vector<double> values;
    std::vector<int> links;
    int steps = 0;
    bool finite = true;
    const auto write = [&] {
        if (!write_compact()) return;
        values.assign(par, par + npar);
        for (int i = 0; i < npar; ++i) {
            links.push_back(fixpar[i].fixed_to);
            finite = finite && std::isfinite(par[i]) && std::isfinite(fixpar[i].value);
        }
        steps = n_fit_strat_steps;
    };
    fuzz::read_start_file("version_3 ", data, size, write);
    if (values.empty()) return 0;
    const std::string written = support::read_file("compact.par");
    if (written.size() > fuzz::largest_input) return 0;
    bool compared = false;
    const auto compare = [&] {
        compared = true;
        if (file_corrupt == 1 || npar != static_cast<int>(values.size()) ||
            n_fit_strat_steps != steps)
            std::abort();
        for (int i = 0; i < npar; ++i) {
            const auto j = static_cast<std::size_t>(i);
            // a Gaussian width is written without its sign
            const double value = i % 5 == width1_par ? std::fabs(values[j]) : values[j];
            if (!same(value, par[i]) || links[j] != fixpar[i].fixed_to) std::abort();
        }
        // a number that is none may differ in its sign, and then the checks may find a new fault
        if (finite && !write_compact()) std::abort();
    };
    read_compact(written, compare);
    if (!compared) std::abort();
    if (!finite) return 0;
    const std::string again = support::read_file("compact.par");
    if (!same_words(without_trailer(written), without_trailer(again))) std::abort();
    return 0;
}
