// SPDX-License-Identifier: BSD-3-Clause
// run_control.cpp -- the control files of a run: of its result and of its start
#include "files/results/run_control.h"

#include "files/base/line_text.h"
#include "files/results/run_files.h"
#include "files/base/tool_error.h"

#include <cmath>
#include <filesystem>
#include <string_view>

namespace tools {

namespace fs = std::filesystem;

// Whether the values of a control file are those of the results; single precision is what it is
// read with.
static bool same_values(const rebuilt_model &model, const std::vector<parameter_row> &values) {
    if (model.entries.size() != values.size()) return false;
    for (std::size_t k = 0; k < values.size(); ++k) {
        for (std::size_t j = 0; j < 5; ++j) {
            const double a = model.entries[k].parameters[j].value, b = values[k][j];
            const double difference = j == 2 ? std::fabs(a) - b : a - b; // its sign is free
            if (!(std::fabs(difference) <= 1e-6 * std::max(std::fabs(a), std::fabs(b))))
                return false;
        }
    }
    return true;
}

void read_control(run_result &run, const std::vector<parameter_row> &values) {
    const std::string file = in_folder(run.folder, "compact.par");
    if (!is_file(file)) {
        run.warnings.push_back(
            "no compact.par: intervals, steps and first-order phase are not known");
        return;
    }
    const std::string reference =
        fs::absolute(in_folder(run.folder, run.name + ".bin.ref")).string();
    run.control = rebuild_model(run.folder, "compact.par", {run.data, reference, run.noise_re});
    if (!run.control.read) {
        run.warnings.push_back("compact.par cannot be read (" + run.control.why +
                               "): intervals, steps and first-order phase are not known");
        return;
    }
    run.files_read.push_back(file);
    if (run.control.points != static_cast<int>(run.data.size()) ||
        !same_values(run.control, values)) {
        run.control = {};
        run.warnings.push_back("compact.par holds other values than the results: another fit in "
                               "the same folder replaced it. Intervals, steps and first-order "
                               "phase are not known");
        return;
    }
    if (!run.axis.hz_per_point) run.axis.hz_per_point = run.control.hz_per_point;
    if (std::fabs(*run.axis.hz_per_point / run.control.hz_per_point - 1.0) > 1e-5)
        run.warnings.push_back("the sidecar has other hertz per point than the control file; "
                               "shifts in ppm may be wrong");
    if (run.has_errors && !run.has_covariance() && !run.control.why.empty())
        run.warnings.push_back("no covariance: " + run.control.why);
}

std::string start_file_of(const run_result &run, const std::string &asked) {
    std::string file = asked;
    if (file.empty()) { // the last word of the command, as the run folder has it
        const std::size_t blank = run.command.rfind(' ');
        file = in_folder(run.folder,
                         blank == std::string::npos ? "start.par" : run.command.substr(blank + 1));
    }
    if (!is_file(file)) {
        if (!asked.empty()) refuse_input(asked, "no such file; expected the start file");
        return "";
    }
    std::error_code error; // replaced by the result
    return fs::equivalent(file, in_folder(run.folder, "compact.par"), error) ? "" : file;
}

void read_start_remarks(run_result &run, const std::string &file) {
    if (file.empty()) return;
    static constexpr std::string_view guess = "# guessed: ", warning = "# warning: ";
    for (const std::string &line : lines_of(file)) {
        if (line.starts_with(guess))
            run.start_guesses.push_back("guessed at the start: " +
                                        std::string(trimmed(line.substr(guess.size()))));
        if (line.starts_with(warning))
            run.start_warnings.emplace_back(trimmed(line.substr(warning.size())));
    }
}

void read_start(run_result &run, const std::string &file) {
    if (file.empty()) return;
    run.files_read.push_back(file);
    const std::string reference =
        fs::absolute(in_folder(run.folder, run.name + ".bin.ref")).string();
    run.start = rebuild_model(run.folder, fs::absolute(file).string(), {run.data, reference, 0.0});
    if (!run.start.read || run.start.entries.size() != run.entries.size() ||
        !(run.start.chi_in_intervals >= 0.0) || run.start.steps.empty())
        return;
    long long width = 0; // as the fit quality counts points: last minus first, of the first step
    for (const auto &[first, last] : run.start.steps.front().intervals) width += last - first;
    if (width > 0 && run.noise_re > 0.0)
        run.quality_before =
            std::sqrt(run.start.chi_in_intervals / (2.0 * static_cast<double>(width))) /
            run.noise_re;
}

} // namespace tools
