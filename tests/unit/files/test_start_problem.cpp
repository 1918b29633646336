// SPDX-License-Identifier: BSD-3-Clause
// A start file means the same to the engine as to the fitter, whose reader and model are its own.
#include "files/problem/start_problem.h"

#include "control/start_value_file.h"
#include "engine/model.h"
#include "files/start/read_start_file.h"
#include "model/fft.h"
#include "model/objective.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace {

// The fitter's model of a file, into yre and yim; a pattern's area is that of the file times its
// norm.
void model_of_fitter(const std::string &file) {
    support::reset_state();
    std::snprintf(sage_idl, sizeof sage_idl, "sage_idl");
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", file.c_str());
    Hz_pp = frscl = 1.0;
    complex = 2;
    weighting_type = 1;
    MakeInitValFile();
    ASSERT_NE(file_corrupt, 1) << file;
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    td_ap_trunc = ap;
    ignore = 0;
    spec = 1;
    for (int p = 1; p <= n_patterns; ++p) {
        const int area = pars_per_entry * (nLines + p - 1) + area_par;
        par[area] *= pattern_norm[p];
        fixpar[area].value *= pattern_norm[p];
    }
    chi_square_of(par);
}

} // namespace

TEST(problem_of, has_the_fitters_model_of_every_example) {
    const std::filesystem::path here = std::filesystem::current_path();
    int files = 0, with_patterns = 0;
    for (const auto &folder : std::filesystem::directory_iterator(VAROKEL_SOURCE_DIR "/examples")) {
        if (!std::filesystem::exists(folder.path() / "start.par")) continue;
        std::filesystem::current_path(folder.path()); // patterns are read by their bare names
        tools::start_file start = tools::read_start_file("start.par");
        start.phi_1 = tools::as_single(start.phi_1); // the fitter's reader has no more digits
        start.hz_per_point = tools::as_single(start.hz_per_point);
        for (tools::start_entry &entry : start.entries)
            for (tools::start_parameter &p : entry.parameters) p.value = tools::as_single(p.value);
        tools::problem_data data;
        data.spectrum.resize(static_cast<std::size_t>(start.points));
        data.patterns = tools::patterns_of(start, {"."});
        auto problem = tools::problem_of(start, std::move(data), tools::freedom::by_links);
        problem.when.ignored = problem.when.kept = 0;
        problem.intervals.clear();
        const auto model = engine::model::make(problem);
        ASSERT_TRUE(model) << folder.path() << " " << model.why().reason;
        engine::model_workspace workspace;
        workspace.prepare(*model);
        const auto got = workspace.spectrum(*model, model->given());
        model_of_fitter("start.par");
        ASSERT_EQ(static_cast<std::size_t>(ap), got.size());
        double largest = 0.0;
        for (const auto &value : got) largest = std::max(largest, std::abs(value));
        double farthest = 0.0;
        for (std::size_t i = 0; i < got.size(); ++i)
            farthest = std::max(farthest, std::abs(got[i] - std::complex<double>(yre[i], yim[i])));
        EXPECT_LE(farthest, 1e-9 * largest) << folder.path();
        ++files;
        with_patterns += start.patterns > 0 ? 1 : 0;
        free_memory(ap);
    }
    std::filesystem::current_path(here);
    EXPECT_GE(files, 6);
    EXPECT_GE(with_patterns, 1);
}
