// SPDX-License-Identifier: BSD-3-Clause
// finish_fits.cpp -- the exact fit of spectra whose folders are prepared
#include "varokel-fit/finish_fits.h"

#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/problem/exact_fit.h"
#include "files/spectra/signal_file.h"
#include "files/start/read_start_file.h"
#include "common/each_on_threads.h"

#include <filesystem>
#include <fstream>

namespace tools {

namespace fs = std::filesystem;

static void write_text(const fs::path &file, const std::string &text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream)
        throw tool_error(bad_output, file.string() + ": cannot be written; is the disk full?");
}

static void finish(const prepared_fit &fit, bool searched, int starts,
                   engine::model_workspace &workspace) {
    const fs::path folder(fit.planned.folder);
    const start_file &start = *fit.start;
    const std::string signal = (folder / (fit.planned.name + ".bin")).string();
    problem_data data;
    data.spectrum = read_points(signal, 0, start.points);
    data.noise_sd = noise_sd_of(start, data.spectrum);
    data.patterns = patterns_of(start, {folder.string()});
    if (start.fit_mode == 2)
        data.measured_lineshape = read_points(signal + ".ref", 0, start.points);
    exact_options options;
    options.starts = starts;
    const fs::path search = folder / "compact.par";
    if (searched && fs::is_regular_file(search)) options.search = read_start_file(search.string());
    const exact_result result = fit_exactly(start, std::move(data), workspace, options);
    std::vector<std::string> remarks;
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        remarks.push_back("entry " + std::to_string(k + 1) + " " + start.entries[k].name);
    write_text(folder / "result.par", version_3_text(result.result, remarks));
    write_text(folder / "optimum.json", optimum_text(result.record));
}

// The last line that a search without result left.
static std::string last_words(const fs::path &log) {
    std::string last;
    std::ifstream stream(log);
    for (std::string line; std::getline(stream, line);)
        if (line.find_first_not_of(" \t\r*") != std::string::npos) last = line;
    return last.empty() ? "it said nothing" : last;
}

void finish_fits(std::vector<prepared_fit> &fits, bool searched, int starts, int jobs) {
    const std::size_t threads = static_cast<std::size_t>(jobs);
    std::vector<engine::model_workspace> workspaces(threads);
    each_on_threads(fits.size(), threads, [&](std::size_t i, std::size_t thread) {
        if (!fits[i].start) return;
        const fs::path folder(fits[i].planned.folder);
        if (searched && !fs::is_regular_file(folder / "compact.par"))
            fits[i].search_failed = last_words(folder / "run.log");
        try {
            finish(fits[i], searched, starts, workspaces[thread]);
        } catch (const tool_error &error) {
            if (error.status() == bad_output) throw;
            fits[i].not_exact = error.what();
            if (!searched) fits[i].planned.why_not = error.what();
        }
    });
}

} // namespace tools
