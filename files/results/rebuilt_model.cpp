// SPDX-License-Identifier: BSD-3-Clause
// rebuilt_model.cpp -- the model of a control file, in a process of its own
//
// F_ij = sum over the points that count of Re D_i Re D_j + Im D_i Im D_j, D the derivatives of the
// model (docs/model.md, equations 13 to 15); Cov = sd^2 F^-1 by a Cholesky factor of the matrix
// scaled to a diagonal of ones, so that hertz beside areas of 1e-6 do no harm.
#include "files/results/rebuilt_model.h"

#include "run/fit_strategy.h"
#include "run/state.h"
#include "run/storage.h"
#include "model/fft.h"
#include "model/l_shapes.h"
#include "model/objective.h"
#include "model/units.h"
#include "control/start_value_file.h"
#include "errors/ncr_mvb.h"

#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include <sys/wait.h>
#include <unistd.h>

namespace tools {

using nlohmann::json;

static const double not_known = std::numeric_limits<double>::quiet_NaN();

static int entries_of_run() {
    return nLines + n_patterns;
}

static double area_divisor(int k) { // 1-based entry
    return k > nLines ? pattern_norm[k - nLines] : 1.0;
}

// In place; false when the matrix is not positive definite to rounding.
static bool invert_positive(std::vector<double> &a, std::size_t n) {
    std::vector<double> scale(n);
    for (std::size_t i = 0; i < n; ++i) {
        if (!(a[n * i + i] > 0.0) || !std::isfinite(a[n * i + i])) return false;
        scale[i] = 1.0 / std::sqrt(a[n * i + i]);
    }
    std::vector<long double> l(n * n, 0.0L); // lower factor
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            long double sum = static_cast<long double>(a[n * i + j]) *
                              static_cast<long double>(scale[i] * scale[j]);
            for (std::size_t k = 0; k < j; ++k) sum -= l[n * i + k] * l[n * j + k];
            if (i == j) {
                if (!(sum > 1e-15L)) return false; // what is left of 1 is rounding
                l[n * i + i] = std::sqrt(sum);
            } else {
                l[n * i + j] = sum / l[n * j + j];
            }
        }
    }
    std::vector<long double> inverse(n * n, 0.0L); // of the factor
    for (std::size_t i = 0; i < n; ++i) {
        inverse[n * i + i] = 1.0L / l[n * i + i];
        for (std::size_t j = 0; j < i; ++j) {
            long double sum = 0.0L;
            for (std::size_t k = j; k < i; ++k) sum -= l[n * i + k] * inverse[n * k + j];
            inverse[n * i + j] = sum / l[n * i + i];
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            long double sum = 0.0L;
            for (std::size_t k = std::max(i, j); k < n; ++k)
                sum += inverse[n * k + i] * inverse[n * k + j];
            a[n * i + j] = static_cast<double>(sum) * scale[i] * scale[j];
        }
    }
    return true;
}

static json steps_of_run() {
    json steps = json::array();
    for (int s = 1; s <= n_fit_strat_steps; ++s) {
        json step = {{"method", min_method[s]},
                     {"truncation", var_ap_trunc[s]},
                     {"row", json::array()},
                     {"intervals", json::array()}};
        for (int j = 0; j < 10; ++j) step["row"].push_back(user_fit_strat[s][j]);
        for (int i = 1; i <= n_intervals[s]; ++i)
            step["intervals"].push_back({hxmin[s][i], hxmax[s][i]});
        steps.push_back(step);
    }
    return steps;
}

// The settings under which the errors of a run are computed: those of its last step at work.
static bool take_last_step() {
    for (int s = n_fit_strat_steps; s >= 1; --s) {
        const int *const row = user_fit_strat[s];
        if (row[0] + row[1] + row[2] + row[3] + row[4] + row[5] == 0) continue;
        td_ap_trunc = var_ap_trunc[s];
        weighting_type = row[6];
        complex = row[9];
        Create_Weighting_Function(ap, s, wre, wim);
        return true;
    }
    return false;
}

// What the first step finds from the values of the file.
static double alignment_of_first_step(const complex_signal &data) {
    const auto points = static_cast<std::size_t>(ap);
    std::vector<double> re(points), im(points), scratch(5 * points);
    for (std::size_t i = 0; i < points; ++i) {
        re[i] = data[i].real();
        im[i] = data[i].imag();
    }
    td_ap_trunc = var_ap_trunc[1];
    chi_square_of(par);
    double *const s = scratch.data();
    return alignment_shift(1, re.data(), im.data(), s, s + ap, s + 2 * ap, s + 3 * ap, s + 4 * ap);
}

static void read_measured_lineshape(const std::string &reference) {
    const complex_signal line = read_points(reference, 0, ap);
    for (int i = 0; i < ap; ++i) {
        re_ref[i] = line[static_cast<std::size_t>(i)].real();
        im_ref[i] = line[static_cast<std::size_t>(i)].imag();
    }
}

// d par[i] / d free parameter; the rows of dependent parameters are those of their source.
static std::vector<double> dependence(const std::vector<int> &column, std::size_t n_free) {
    const auto count = static_cast<std::size_t>(npar);
    std::vector<double> rows(count * n_free, 0.0);
    for (std::size_t i = 0; i < count; ++i)
        if (column[i] >= 0) rows[n_free * i + static_cast<std::size_t>(column[i])] = 1.0;
    for (int i = 0; i < npar; ++i) {
        const int L = fixpar[i].fixed_to;
        const int own = i / pars_per_entry + 1;
        if (L < 1 || L > entries_of_run() || L == own) continue;
        const int kind = i % pars_per_entry;
        const int source = pars_per_entry * (L - 1) + kind;
        const double factor = kind == area_par ? fixpar[i].value / fixpar[source].value : 1.0;
        for (std::size_t q = 0; q < n_free; ++q)
            rows[n_free * static_cast<std::size_t>(i) + q] =
                factor * rows[n_free * static_cast<std::size_t>(source) + q];
    }
    return rows;
}

// Adds "area_covariance" and "errors" to the answer. Returns why it could not.
static std::string add_covariance(json &answer, double noise_sd) {
    const auto count = static_cast<std::size_t>(npar);
    const auto points = static_cast<std::size_t>(ap);
    std::vector<int> column(count, -1);
    std::vector<int> free_parameters;
    for (int i = 0; i < npar; ++i) {
        if (fixpar[i].fixed_to != 0) continue;
        column[static_cast<std::size_t>(i)] = static_cast<int>(free_parameters.size());
        free_parameters.push_back(i);
    }
    const std::size_t n_free = free_parameters.size();
    if (n_free == 0) return "no parameter is free";
    const bool real_channel = complex == 0 || complex >= 2;
    const bool imaginary_channel = complex == 1 || complex == 2;
    std::vector<double> re(points), im(points);
    std::vector<std::vector<double>> rows(n_free);
    for (std::size_t q = 0; q < n_free; ++q) {
        f_new_complex_select(ap, free_parameters[q], npar, par, re.data(), im.data(), nLines,
                             td_ap_trunc, npar, par_copy, fixpar, xre, xim, yre, yim, wre, wim,
                             re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1, n_patterns, pat, spec,
                             complex, weighting_type, single_line, lsf_coefs, ref_line, fit_lsf,
                             lookup, ignore);
        for (std::size_t i = 0; i < points; ++i) {
            if (wre[i] + wim[i] == 0.0) continue;
            if (real_channel) rows[q].push_back(re[i]);
            if (imaginary_channel) rows[q].push_back(im[i]);
        }
    }
    std::vector<double> covariance(n_free * n_free);
    for (std::size_t i = 0; i < n_free; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = 0.0;
            for (std::size_t k = 0; k < rows[i].size(); ++k) sum += rows[i][k] * rows[j][k];
            covariance[n_free * i + j] = covariance[n_free * j + i] = sum;
        }
    }
    if (!invert_positive(covariance, n_free))
        return "the Fisher matrix is singular: some parameters cannot be told apart, or have no "
               "influence on the model";

    const std::vector<double> rows_of = dependence(column, n_free);
    const auto covariance_of = [&](std::size_t a, std::size_t b) {
        double sum = 0.0;
        for (std::size_t i = 0; i < n_free; ++i)
            for (std::size_t j = 0; j < n_free; ++j)
                sum +=
                    rows_of[n_free * a + i] * covariance[n_free * i + j] * rows_of[n_free * b + j];
        return noise_sd * noise_sd * sum;
    };
    std::vector<double> errors(count), o_par(count), o_errors(count);
    std::vector<parameter_record> o_fixpar(count);
    for (std::size_t i = 0; i < count; ++i) errors[i] = 2.0 * std::sqrt(covariance_of(i, i));
    Natural_Frequency(nLines, n_patterns, par, fixpar, errors.data(), o_par.data(), o_fixpar.data(),
                      o_errors.data(), T_acq, Hz_pp);
    const int entries = entries_of_run();
    const auto area_of_entry = [](int k) {
        return std::size_t{pars_per_entry} * (static_cast<std::size_t>(k) - 1);
    };
    for (int k = 1; k <= entries; ++k) o_errors[area_of_entry(k)] /= area_divisor(k);
    answer["errors"] = o_errors;
    json &areas = answer["area_covariance"] = json::array();
    for (int k = 1; k <= entries; ++k)
        for (int m = 1; m <= entries; ++m)
            areas.push_back(covariance_of(area_of_entry(k), area_of_entry(m)) /
                            (area_divisor(k) * area_divisor(m)));
    return "";
}

static json entries_read() {
    const auto count = static_cast<std::size_t>(npar);
    std::vector<double> o_par(count), none(count), o_none(count);
    std::vector<parameter_record> o_fixpar(count);
    Natural_Frequency(nLines, n_patterns, par, fixpar, none.data(), o_par.data(), o_fixpar.data(),
                      o_none.data(), T_acq, Hz_pp);
    json entries = json::array();
    for (int k = 0; k < entries_of_run(); ++k) {
        json entry = {{"type", fixpar[pars_per_entry * k].type},
                      {"link", json::array()},
                      {"value", json::array()}};
        for (int j = 0; j < pars_per_entry; ++j) {
            entry["link"].push_back(fixpar[pars_per_entry * k + j].fixed_to);
            entry["value"].push_back(o_par[static_cast<std::size_t>(pars_per_entry * k + j)]);
        }
        entries.push_back(entry);
    }
    return entries;
}

// In the process of its own.
static json answer_about(const std::string &file, const complex_signal &data,
                         const std::string &reference, double noise_sd) {
    json answer;
    std::snprintf(sage_idl, sizeof sage_idl, "sage_idl");
    T_acq = 0.5;
    Hz_pp = 1.0;
    frscl = 1.0;
    complex = 2;
    weighting_type = 1;
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", file.c_str());
    MakeInitValFile();
    if (file_corrupt == 1) return {{"why", "the control file is not valid"}};
    if (!is_power_of_two(ap) || entries_of_run() < 1 || npar != pars_per_entry * entries_of_run())
        return {{"why", "the control file has no points or no entries"}};
    answer["read"] = true;
    answer["points"] = ap;
    answer["lines"] = nLines;
    answer["patterns"] = n_patterns;
    answer["noise_first"] = noise_strt;
    answer["noise_stop"] = noise_stop;
    answer["fit_mode"] = fitmode;
    answer["ignored"] = ignore;
    answer["lsf_coefficients"] = fitmode == 3 ? lsf_coefs : 0;
    answer["errors_asked"] = error_calc;
    answer["hz_per_point"] = Hz_pp;
    answer["phi_1"] = phi_1;
    answer["steps"] = steps_of_run();
    answer["entries"] = entries_read();
    answer["pattern_files"] = json::array();
    for (int p = 1; p <= n_patterns; ++p) answer["pattern_files"].push_back(pat_name[p]);
    if (data.size() != static_cast<std::size_t>(ap)) return answer;

    allocate_memory(ap);
    if (!storage_complete()) {
        answer["why"] = "not enough memory for the model";
        return answer;
    }
    create_lookup(lookup, ap, 1);
    if (fitmode == 1 || fitmode == 2) lsf_coefs = 0; // as a run has it
    if (ref_line == 1) read_measured_lineshape(reference);
    if (lsf_coefs >= 1) ParArrayToLineShapeFunction(lsf_coefs, ap, npar, par, r_lsf, i_lsf, lookup);
    for (int k = nLines + 1; k <= entries_of_run(); ++k) {
        const int area = pars_per_entry * (k - 1);
        par[area] *= pattern_norm[k - nLines];
        fixpar[area].value *= pattern_norm[k - nLines];
    }
    spec = 1;
    if (!take_last_step()) {
        answer["why"] = "no step fits anything";
        return answer;
    }
    chi_square_of(par);
    double chi = 0.0;
    long long counted = 0;
    for (int i = 0; i < ap; ++i) {
        if (wre[i] + wim[i] == 0.0) continue;
        const std::complex<double> &x = data[static_cast<std::size_t>(i)];
        chi +=
            (x.real() - yre[i]) * (x.real() - yre[i]) + (x.imag() - yim[i]) * (x.imag() - yim[i]);
        ++counted;
    }
    answer["chi_in_intervals"] = chi;
    answer["points_in_intervals"] = counted;
    if (noise_sd > 0.0) {
        const std::string why = add_covariance(answer, noise_sd);
        if (!why.empty()) answer["why"] = why;
    }
    if (n_fit_strat_steps >= 1 && user_fit_strat[1][7] == 1)
        answer["aligned_points"] = alignment_of_first_step(data);
    return answer;
}

// Of messages that may hold anything: the lines in which the reader names the fault and what it
// found, behind which it shows how a file should look; else the last line that says something.
static std::string reason_in(std::FILE *file) {
    static const char *const telling[] = {"file format error", "error reading", "error in reading",
                                          "expected string", "string found"};
    std::string text, line, last, reason;
    std::rewind(file);
    for (int c; (c = std::fgetc(file)) != EOF;) text += static_cast<char>(c);
    for (const char c : text + "\n") {
        if (c != '\n') {
            line += c;
            continue;
        }
        const std::size_t first = line.find_first_not_of(" \t\r*");
        if (first != std::string::npos) {
            last = line.substr(first, line.find_last_not_of(" \t\r*") + 1 - first);
            const bool tells =
                std::any_of(std::begin(telling), std::end(telling), [&](const char *words) {
                    return last.find(words) != std::string::npos && !last.starts_with("fatal");
                });
            if (tells) reason += (reason.empty() ? "" : "; ") + last;
        }
        line.clear();
    }
    return reason.empty() ? last : reason;
}

static std::string whole(int descriptor) {
    std::string text;
    char piece[4096];
    for (ssize_t n; (n = read(descriptor, piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<std::size_t>(n));
    return text;
}

static double number(const json &value) {
    return value.is_number() ? value.get<double>() : not_known;
}

static rebuilt_model from_answer(const json &answer) {
    rebuilt_model model;
    model.why = answer.value("why", "");
    model.read = answer.value("read", false);
    if (!model.read) return model;
    model.points = answer.at("points");
    model.lines = answer.at("lines");
    model.patterns = answer.at("patterns");
    model.noise_first = answer.at("noise_first");
    model.noise_stop = answer.at("noise_stop");
    model.fit_mode = answer.at("fit_mode");
    model.ignored = answer.at("ignored");
    model.lsf_coefficients = answer.at("lsf_coefficients");
    model.errors_asked = answer.at("errors_asked");
    model.hz_per_point = number(answer.at("hz_per_point"));
    model.phi_1 = number(answer.at("phi_1"));
    for (const json &from : answer.at("steps")) {
        rebuilt_step step;
        step.method = from.at("method");
        step.truncation = from.at("truncation");
        for (std::size_t j = 0; j < step.row.size(); ++j) step.row[j] = from.at("row").at(j);
        for (const json &pair : from.at("intervals"))
            step.intervals.emplace_back(pair.at(0), pair.at(1));
        model.steps.push_back(step);
    }
    for (const json &name : answer.at("pattern_files")) model.pattern_files.push_back(name);
    const bool has_errors = answer.contains("errors");
    for (std::size_t k = 0; k < answer.at("entries").size(); ++k) {
        const json &from = answer.at("entries").at(k);
        control_entry entry;
        entry.type = from.at("type");
        for (std::size_t j = 0; j < 5; ++j) {
            entry.link[j] = from.at("link").at(j);
            entry.value[j] = number(from.at("value").at(j));
            entry.error[j] = has_errors ? number(answer.at("errors").at(5 * k + j)) : not_known;
        }
        model.entries.push_back(entry);
    }
    model.chi_in_intervals =
        answer.contains("chi_in_intervals") ? number(answer.at("chi_in_intervals")) : not_known;
    model.points_in_intervals = answer.value("points_in_intervals", 0LL);
    model.aligned_points =
        answer.contains("aligned_points") ? number(answer.at("aligned_points")) : not_known;
    if (answer.contains("area_covariance")) {
        model.has_covariance = true;
        for (const json &value : answer.at("area_covariance"))
            model.area_covariance.push_back(number(value));
    }
    return model;
}

rebuilt_model rebuild_model(const std::string &folder, const std::string &file,
                            const complex_signal &data, const std::string &reference,
                            double noise_sd) {
    rebuilt_model none;
    if (file.size() >= sizeof strtvalfnm) {
        none.why = "the name of the control file is too long";
        return none;
    }
    std::FILE *const messages = std::tmpfile();
    int ends[2] = {-1, -1};
    if (messages == nullptr || pipe(ends) != 0)
        throw tool_error(bad_output, "no temporary file for the messages of the reader");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw tool_error(bad_output, "no process for the reader of control files");
    if (child == 0) {
        close(ends[0]);
        dup2(fileno(messages), STDOUT_FILENO);
        dup2(fileno(messages), STDERR_FILENO);
        json answer;
        try {
            if (chdir(folder.c_str()) != 0)
                answer = {{"why", "the folder cannot be entered"}};
            else
                answer = answer_about(file, data, reference, noise_sd);
        } catch (const std::exception &error) {
            answer["why"] = error.what();
        }
        const std::string text = answer.dump(-1, ' ', false, json::error_handler_t::replace);
        std::size_t done = 0;
        for (ssize_t n = 1; done < text.size() && n > 0; done += static_cast<std::size_t>(n))
            n = std::max<ssize_t>(0, write(ends[1], text.data() + done, text.size() - done));
        std::fflush(nullptr); // what the reader said is still in its buffers
        _exit(0);
    }
    close(ends[1]);
    const std::string text = whole(ends[0]);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    const std::string said = reason_in(messages);
    std::fclose(messages);
    const json answer = json::parse(text, nullptr, false);
    if (answer.is_discarded() || !answer.is_object()) {
        none.why = said.empty() ? "the reader of control files gave up" : said;
        return none;
    }
    rebuilt_model model = from_answer(answer);
    if (!model.read && !said.empty()) model.why += ": " + said;
    return model;
}

} // namespace tools
