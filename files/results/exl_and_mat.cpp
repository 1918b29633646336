// SPDX-License-Identifier: BSD-3-Clause
// exl_and_mat.cpp -- the .exl, .mat and .err of a fit
#include "files/results/exl_and_mat.h"

#include "files/base/line_text.h"
#include "files/base/tool_error.h"
#include "files/results/run_files.h"

#include <cmath>
#include <cstdlib>

namespace tools {

// A number of a report: nan and inf stand there when a fit went wrong.
static double number_of(const std::string &file, std::size_t line, const std::string &word) {
    const std::string text(trimmed(word));
    char *end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size())
        refuse_input(file + ", line " + std::to_string(line + 1),
                     "\"" + text +
                         "\" where a number was expected; is it the result file of a fit?");
    return value;
}

static int count_of(const std::string &file, std::size_t line, const std::string &word) {
    const double value = number_of(file, line, word);
    if (!(std::fabs(value) < 1e9) || value != std::floor(value))
        refuse_input(file + ", line " + std::to_string(line + 1),
                     "\"" + std::string(trimmed(word)) + "\" where a whole number was expected");
    return static_cast<int>(value);
}

static int type_of(const std::string &file, std::size_t line, const std::string &word) {
    const std::string text(trimmed(word));
    if (text == "Gaussian") return gauss_entry;
    if (text == "Lorentzian") return lorentz_entry;
    if (text == "Voigt") return voigt_entry;
    if (text == "Pattern") return pattern_entry;
    refuse_input(file + ", line " + std::to_string(line + 1),
                 "type \"" + text + "\"; expected Gaussian, Lorentzian, Voigt or Pattern");
}

std::vector<parameter_row> matrix_of(const std::string &file, std::size_t rows) {
    std::vector<parameter_row> matrix;
    const std::vector<std::string> lines = lines_of(file);
    for (std::size_t l = 0; l < lines.size(); ++l) {
        if (trimmed(lines[l]).empty()) continue;
        const std::vector<std::string> words = split(std::string(trimmed(lines[l])), '\t');
        if (words.size() != 5)
            refuse_input(file + ", line " + std::to_string(l + 1),
                         std::to_string(words.size()) +
                             " columns; expected 5 numbers with tabs between");
        parameter_row row{};
        for (std::size_t j = 0; j < 5; ++j) row[j] = number_of(file, l, words[j]);
        matrix.push_back(row);
    }
    if (matrix.size() != rows)
        refuse_input(file, std::to_string(matrix.size()) + " rows, but the .exl has " +
                               std::to_string(rows) + " entries; are they of one run?");
    return matrix;
}

std::vector<spreadsheet_row> read_spreadsheet(const std::string &file, run_result &run) {
    const std::vector<std::string> lines = lines_of(file);
    if (lines.size() < 4)
        refuse_input(file,
                     std::to_string(lines.size()) + " lines; expected the spreadsheet of a fit");
    for (const std::string &word : split(lines[0], '\t'))
        if (!trimmed(word).empty())
            (run.command += run.command.empty() ? "" : " ") += trimmed(word);
    const std::vector<std::string> summary = split(std::string(trimmed(lines[3])), '\t');
    if (summary.size() != 10)
        refuse_input(file + ", line 4",
                     std::to_string(summary.size()) + " columns; expected the 10 figures of a fit");
    double unweighted = 0.0; // which nobody asks for, but has to be there
    int weighting_type = 0;  // likewise
    double *const figures[] = {&run.quality,    &run.noise_re,  &run.noise_im,
                               &run.chi_before, &run.chi_after, &unweighted};
    for (std::size_t i = 0; i < 6; ++i) *figures[i] = number_of(file, 3, summary[i]);
    int *const counts[] = {&run.iterations, &weighting_type, &run.free_parameters};
    for (std::size_t i = 0; i < 3; ++i) *counts[i] = count_of(file, 3, summary[6 + i]);
    std::vector<spreadsheet_row> rows;
    for (std::size_t l = 4; l < lines.size(); ++l) {
        if (trimmed(lines[l]).empty()) continue;
        const std::vector<std::string> words = split(lines[l], '\t');
        if (words.size() < 19)
            refuse_input(file + ", line " + std::to_string(l + 1),
                         std::to_string(words.size()) + " columns; expected 19. Is the file cut?");
        spreadsheet_row row{};
        row.type = type_of(file, l, words[1]);
        for (std::size_t j = 0; j < 5; ++j) {
            row.value[j] = number_of(file, l, words[2 + 3 * j]);
            row.error[j] = number_of(file, l, words[3 + 3 * j]);
            row.link[j] = count_of(file, l, words[4 + 3 * j]);
        }
        rows.push_back(row);
    }
    if (rows.empty()) refuse_input(file, "no entries; expected a row for each");
    return rows;
}

} // namespace tools
