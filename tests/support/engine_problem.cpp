// SPDX-License-Identifier: BSD-3-Clause
#include "support/engine_problem.h"

#include "run/state.h"
#include "support/support.h"

#include <stdexcept>

namespace support {

static engine::parameter parameter_of_state(int own, int k) {
    engine::parameter p;
    p.start = par[own];
    const int L = fixpar[own].fixed_to;
    if (L == 0) {
        p.how = engine::link::free;
    } else if (L != k) {
        p.how = engine::link::tied;
        p.source = L - 1;
        const parameter_record &source = fixpar[5 * (L - 1) + own % 5];
        if (own % 5 == 0)
            p.factor = fixpar[own].value / source.value;
        else
            p.offset = fixpar[own].value - source.value;
    }
    return p;
}

engine::fit_problem engine_problem_of_state() {
    engine::fit_problem out;
    const std::size_t n = static_cast<std::size_t>(ap);
    out.when.points = ap;
    out.when.first_order_phase = phi_1;
    out.when.ignored = ignore;
    out.when.kept = td_ap_trunc;
    out.part = static_cast<engine::channel>(complex);
    out.noise_sd = sigma;
    out.spectrum.resize(n);
    for (int i = 0; i < ap; ++i) out.spectrum[static_cast<std::size_t>(i)] = {xre[i], xim[i]};
    for (int i = 0; i < ap; ++i) {
        if (wre[i] + wim[i] == 0.0) continue;
        if (out.intervals.empty() || out.intervals.back().last != i - 1)
            out.intervals.push_back({i, i});
        out.intervals.back().last = i;
    }
    for (int p = 1; p <= n_patterns; ++p) {
        const double *slot = pat + static_cast<long long>(pattern_slot) * p;
        engine::complex_signal &decay = out.patterns.emplace_back(n);
        for (std::size_t i = 0; i < n; ++i) decay[i] = {slot[i], slot[max_pattern_points + i]};
    }
    if (ref_line == 1) {
        out.measured_lineshape.resize(n);
        for (std::size_t i = 0; i < n; ++i) out.measured_lineshape[i] = {re_ref[i], im_ref[i]};
    }
    for (int j = 0; j < lsf_coefs; ++j)
        out.lineshape.emplace_back(par[npar + 2 * j], par[npar + 2 * j + 1]);
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        engine::entry &e = out.entries.emplace_back();
        e.type = static_cast<engine::line_type>(fixpar[5 * (k - 1)].type);
        if (k > nLines) e.pattern = k - nLines - 1;
        e.takes_lineshape = fit_lsf[k] == 1;
        for (int j = 0; j < 5; ++j)
            e.of[static_cast<std::size_t>(j)] = parameter_of_state(5 * (k - 1) + j, k);
    }
    return out;
}

int index_in_par(const engine::column &column) {
    return 5 * column.entry + static_cast<int>(column.of);
}

engine::entry free_line(const made_up_line &line, engine::line_type type) {
    engine::entry e;
    e.type = type;
    const double values[engine::quantities] = {line.area, line.frequency, 0.0, 0.0, line.width};
    for (int q = 0; q < engine::quantities; ++q) {
        e.of[static_cast<std::size_t>(q)].start = values[q];
        if (q != engine::phase && q != engine::gauss_width)
            e.of[static_cast<std::size_t>(q)].how = engine::link::free;
    }
    return e;
}

void simulate(engine::fit_problem &problem, std::uint64_t seed) {
    problem.spectrum.assign(static_cast<std::size_t>(problem.when.points), 0.0);
    const auto model = engine::model::make(problem);
    if (!model) throw std::runtime_error(model.why().reason);
    engine::model_workspace workspace;
    workspace.prepare(*model);
    problem.spectrum = workspace.spectrum(*model, model->starts());
    random_numbers random(seed);
    for (std::complex<double> &point : problem.spectrum) {
        const double re = random.normal(), im = random.normal();
        point += problem.noise_sd * std::complex<double>(re, im);
    }
}

engine::fit_problem problem_with_lines(int points, const std::vector<made_up_line> &lines,
                                       double noise_sd, std::uint64_t seed) {
    engine::fit_problem out;
    out.when.points = points;
    out.noise_sd = noise_sd;
    for (const made_up_line &line : lines) out.entries.push_back(free_line(line));
    simulate(out, seed);
    return out;
}

} // namespace support
