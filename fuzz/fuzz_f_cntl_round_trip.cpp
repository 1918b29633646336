// SPDX-License-Identifier: BSD-3-Clause
// fuzz_f_cntl_round_trip.cpp -- a start file that passes its checks, written and read again, gives
// the same parameters to single precision
#include "check_start_values.h"
#include "control/f_cntl.h"
#include "fuzz_reader.h"

#include <cmath>
#include <cstdlib>
#include <vector>

// The file holds nine digits, read with seven: half a unit of the last place, and the units'
// factors.
static bool same(double a, double b) {
    if (std::isnan(a) || std::isnan(b) || std::isinf(a) || std::isinf(b)) return true;
    return std::fabs(a - b) <= 2e-7 * std::fabs(a) + 1e-37;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::vector<double> values;
    std::vector<int> links;
    int steps = 0;
    const auto write = [&] {
        if (fuzz::start_values_pass() != 1) return;
        if (!std::isnormal(Hz_pp) || std::fabs(Hz_pp) > 1e30 || std::fabs(Hz_pp) < 1e-30) return;
        for (int i = 0; i < npar; ++i) errpar[i] = 0.0;
        std::remove("compact.par");
        write_f_cntl(strtvalfnm, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp, T_acq,
                     ftol, par, errpar, fitmode, var_ap_trunc, verbose, show_line, error_calc,
                     sage_idl, par_ranges == 2 ? 0 : par_ranges, n_fit_strat_steps, min_method,
                     user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax, frscl, ignore,
                     n_patterns, pat_name, user, host, domain);
        values.assign(par, par + npar);
        for (int i = 0; i < npar; ++i) links.push_back(fixpar[i].fixed_to);
        steps = n_fit_strat_steps;
    };
    fuzz::read_start_file("version_3 ", data, size, write);
    if (values.empty()) return 0;
    const std::string written = support::read_file("compact.par");
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
    };
    const std::size_t behind_word = written.find('\n');
    fuzz::read_start_file("version_3",
                          reinterpret_cast<const std::uint8_t *>(written.data()) + behind_word,
                          written.size() - behind_word, compare);
    if (!compared) std::abort();
    return 0;
}
