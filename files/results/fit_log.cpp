// SPDX-License-Identifier: BSD-3-Clause
// fit_log.cpp -- what the program printed during a fit
#include "files/results/fit_log.h"

#include "files/base/line_text.h"

#include <algorithm>
#include <cstdlib>

namespace tools {

static std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.emplace_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

fit_log read_fit_log(std::string_view text) {
    fit_log log;
    step_log step;
    const auto remark = [&](const std::string &said) {
        if (std::find(log.remarks.begin(), log.remarks.end(), said) == log.remarks.end())
            log.remarks.push_back(said);
    };
    const std::vector<std::string> lines = lines_of(text);
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

} // namespace tools
