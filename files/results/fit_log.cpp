// SPDX-License-Identifier: BSD-3-Clause
// fit_log.cpp -- what the program printed during a fit
#include "files/results/fit_log.h"

#include "files/base/line_text.h"
#include "files/base/plain_text.h"
#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/results/run_files.h"
#include "files/results/run_result.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tools {

fit_log read_fit_log(std::string_view text) {
    fit_log log;
    step_log step;
    const auto remark = [&](const std::string &said) {
        if (std::find(log.remarks.begin(), log.remarks.end(), said) == log.remarks.end())
            log.remarks.push_back(said);
    };
    std::vector<std::string> lines = split(std::string(text), '\n');
    if (lines.back().empty()) lines.pop_back();
    for (std::size_t l = 0; l < lines.size(); ++l) {
        const std::string &line = lines[l];
        if (line.starts_with("***") && says(line, "version")) {
            std::string version;
            for (const char c : line)
                if (c != '*') version += c;
            log.version = trimmed(version);
        } else if (line.starts_with("scaled chi-sqr")) {
            ++step.gradients;
            const std::size_t colon = line.find(':');
            if (colon != std::string::npos)
                step.scaled_chi = std::strtod(line.c_str() + colon + 1, nullptr);
        } else if (line.starts_with("Fit step performed")) {
            log.steps.push_back(step);
            step = {};
        } else if (says(line, "Singular matrix")) {
            log.singular = true;
        } else if (says(line, "fit_check_message")) {
            std::string said; // a warning has up to three lines of its own
            for (std::size_t k = l + 1; k < lines.size() && k <= l + 3; ++k) {
                if (says(lines[k], "fit_check_message") || says(lines[k], "testing input")) break;
                (said += ' ') += trimmed(lines[k]);
            }
            remark("the program warns:" + said);
        } else if (says(line, "error in writing file") || says(line, "not written") ||
                   says(line, "is not available")) {
            remark("the program says: " + std::string(trimmed(line)));
        }
    }
    return log;
}

void read_log(run_result &run, const std::string &asked) {
    for (const std::string &name :
         {asked, in_folder(run.folder, run.name + ".log"), in_folder(run.folder, "run.log")})
        if (run.log_file.empty() && !name.empty() && is_file(name)) run.log_file = name;
    if (run.log_file.empty()) {
        if (!asked.empty()) refuse_input(asked, "no such file; expected what the fit printed");
        return;
    }
    run.files_read.push_back(run.log_file);
    fit_log log = read_fit_log(read_text_file(run.log_file, "the lines of a fit"));
    run.program_version = log.version;
    run.log_steps = std::move(log.steps);
    run.singular = log.singular;
    run.log_remarks = std::move(log.remarks);
}

std::string reason_of_log(const run_result &run) {
    if (run.log_file.empty()) return "there are no results (no .exl), and no log says why";
    const std::vector<std::string> lines = lines_of(run.log_file);
    const auto join = [](std::string &list, std::string_view text, const char *between) {
        if (!text.empty()) (list += list.empty() ? "" : between) += text;
    };
    std::string refused;
    for (std::size_t l = 0; l < lines.size(); ++l) {
        if (!says(lines[l], "fatal error") && !says(lines[l], "implementation restriction"))
            continue;
        std::string text;
        for (std::size_t k = l + 1; k < lines.size() && k <= l + 3; ++k) {
            if (says(lines[k], "fit_check_message") || says(lines[k], "testing input")) break;
            join(text, trimmed(lines[k]), " ");
        }
        join(refused, text, "; ");
    }
    if (!refused.empty()) return "the start file was refused: " + shown_text(refused);
    std::string reason;
    int taken = 0;
    for (auto line = lines.rbegin(); line != lines.rend() && taken < 6; ++line) {
        std::string text;
        for (const char c : *line)
            if (c != '*') text += c;
        text = std::string(trimmed(text));
        if (text.empty()) continue;
        if (!reason.empty()) text += " / ";
        reason.insert(0, text);
        ++taken;
    }
    return reason.empty() ? "the log is empty" : shown_text(reason);
}

} // namespace tools
