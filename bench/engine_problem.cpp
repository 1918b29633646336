// SPDX-License-Identifier: BSD-3-Clause
#include "engine_problem.h"

#include "engine/centred_spectrum.h"
#include "support/engine_problem.h"

#include <cmath>
#include <fstream>
#include <stdexcept>

namespace {
struct table_row {
    double area, frequency, width;           // signal, ppm, Hz
    int follows;                             // signal whose width this one has; -1: its own
    std::vector<double> amplitudes, offsets; // of the lines of a multiplet; Hz from the first
};
} // namespace

static const double hz_per_point = 5000.0 / 1024.0, megahertz = 120.3;

// tests/data/peer31p/peaks.txt
static const table_row table[] = {
    {5.72, -0.015703, 18.75, -1, {1}, {0}},
    {0.63, 4.792518, 26.25, -1, {1}, {0}},
    {0.455, 5.234638, 26.25, 1, {1}, {0}},
    {1.54, 6.737808, 15.0, -1, {1}, {0}},
    {0.585, 6.241846, 15.0, 3, {1}, {0}},
    {1.04, 3.524525, 15.0, 3, {1}, {0}},
    {1.69, 2.938751, 15.0, 3, {1}, {0}},
    {0.78, -8.257119, 22.5, -1, {1}, {0}},
    {1.05, -2.534907, 35.0, -1, {1, 1}, {0, 16}},
    {1.95, -7.605041, 32.5, -1, {1, 1}, {0, 16}},
    {0.98, -16.137097, 25.5, -1, {1, 0.5, 0.5}, {0, -16, 16}},
};

static void free_at(engine::parameter &p, double start) {
    p.how = engine::link::free;
    p.start = start;
}

static void tie(engine::parameter &p, int source, double factor = 1.0, double offset = 0.0) {
    p.how = engine::link::tied;
    p.source = source;
    p.factor = factor;
    p.offset = offset;
}

static void add_signal(engine::fit_problem &to, const table_row &row, std::vector<int> &first) {
    first.push_back(static_cast<int>(to.entries.size()));
    for (std::size_t i = 0; i < row.offsets.size(); ++i) {
        engine::entry &e = to.entries.emplace_back();
        if (i == 0) {
            free_at(e.of[engine::area], row.area);
            free_at(e.of[engine::frequency], row.frequency * megahertz / hz_per_point + 512.0);
        } else {
            tie(e.of[engine::area], first.back(), row.amplitudes[i]);
            tie(e.of[engine::frequency], first.back(), 1.0, row.offsets[i] / hz_per_point);
        }
        if (i == 0 && row.follows < 0)
            free_at(e.of[engine::lorentz_width], row.width / hz_per_point);
        else
            tie(e.of[engine::lorentz_width],
                i == 0 ? first[static_cast<std::size_t>(row.follows)] : first.back());
        if (to.entries.size() == 1)
            free_at(e.of[engine::phase], 0.0);
        else
            tie(e.of[engine::phase], 0);
    }
}

engine::fit_problem fifteen_lines(int spectrum) {
    constexpr int points = 1024;
    std::ifstream file(VAROKEL_SOURCE_DIR "/tests/data/peer31p/peer31p.fid.f32", std::ios::binary);
    std::vector<std::complex<float>> stored(points);
    const std::streamoff size = points * static_cast<std::streamoff>(sizeof stored[0]);
    file.seekg(spectrum * size);
    file.read(reinterpret_cast<char *>(stored.data()), size);
    if (!file) throw std::runtime_error("tests/data/peer31p: no such spectrum");
    const engine::complex_signal fid(stored.begin(), stored.end());
    engine::fit_problem out;
    out.when.points = points;
    out.when.hz_per_point = hz_per_point;
    out.noise_sd = 0.7459 / std::sqrt(1.0 * points); // of the FID: 0.7459
    out.spectrum = engine::spectrum_of_fid(fid, points);
    std::vector<int> first;
    for (const table_row &row : table) add_signal(out, row, first);
    return out;
}

engine::fit_problem many_lines(int entries, int points) {
    std::vector<support::made_up_line> lines;
    for (int k = 0; k < entries; ++k)
        lines.push_back({1.0 + 0.1 * (k % 7), points * (k + 0.7) / (entries + 0.4), 4.0});
    auto out = support::problem_with_lines(points, lines, 0.01, 20);
    for (engine::entry &e : out.entries) e.of[engine::phase].how = engine::link::free;
    return out;
}
