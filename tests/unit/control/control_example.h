// SPDX-License-Identifier: BSD-3-Clause
// control_example.h -- control files for the tests, and the readers and writers over the run state
#pragma once

#include "control/f_cntl.h"
#include "control/fitcontrol_new.h"
#include "control/fitcontrol_old.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace control_example {

inline std::string text_of(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

// One model entry as a file has it, in natural units. The default is a Voigt line whose numbers
// are single-precision numbers, so that reading changes none of them.
struct entry_text {
    int number = 1;
    int lsf_flag = 0;
    int type[5] = {3, 3, 3, 3, 3};
    int link[5] = {0, 0, 0, 0, 0};
    double start[5] = {100.0, 32.0, 3.0, -5.0, 2.5};
    double value[5] = {100.0, 32.0, 3.0, -5.0, 2.5};
    double min[5] = {50.0, 16.0, 1.5, -25.0, 1.25};
    double max[5] = {150.0, 48.0, 4.5, 15.0, 3.75};
};

inline entry_text entry_number(int number) {
    entry_text entry;
    entry.number = number;
    return entry;
}

// A control file in all three generations.
struct file_text {
    std::string points = "64", noise_start = "2", noise_end = "10", lines = "1", coefs = "0";
    std::string phi = "90.0", hertz = "1.0", tolerance = "1e-6", mode = "1", report = "0";
    std::string followed = "1", errors = "1", format = "none", ranges = "0", ignored = "3";
    std::string patterns = "0";
    std::vector<std::string> names;
    std::vector<std::string> steps = {"@ 2 64 1 1 1 1 1 0 1 0 100 2 1 10 50"};
    std::vector<entry_text> entries = {entry_text()};
    std::vector<std::string> coefficients;
    std::string strategy_word = "algor", start_word = "number", first_marker = "#1";
    std::string lsf_word = "lsf_coefs", end_word = "end_of_lsf";
    std::string end_of_file = "varokel_end_of_file\n";

    std::string starting_values() const {
        std::string text;
        for (const entry_text &entry : entries) {
            text += std::to_string(entry.number);
            for (double v : entry.start) text += " " + text_of(v);
            text += "\n";
        }
        return text;
    }

    std::string range_of(const entry_text &entry, int j) const {
        return ranges == "2" ? "" : " " + text_of(entry.min[j]) + " " + text_of(entry.max[j]);
    }

    // The part that the version 3 and the old format share.
    std::string tail(const std::string &start_header) const {
        std::string text = strategy_word + " trunc ampli frequ width phase voigt lsfft wtype convo "
                                           "niter cmplx n_int min max\n";
        for (const std::string &step : steps) text += step + "\n";
        text += start_word + start_header + "\n" + starting_values();
        int i = 0;
        for (const entry_text &entry : entries) {
            ++i;
            text += (i == 1 ? first_marker : "#" + std::to_string(i)) + "\n";
            text += "lsffit " + std::to_string(entry.lsf_flag) + "\n";
            for (int j = 0; j < 5; ++j)
                text += std::to_string(entry.type[j]) + " " + std::to_string(entry.link[j]) + " " +
                        text_of(entry.value[j]) + range_of(entry, j) + "\n";
        }
        text += lsf_word + "\n";
        for (const std::string &c : coefficients) text += c + "\n";
        return text + end_word + "\n";
    }

    std::string head() const {
        return "n_pnts " + points + "\nnoistr " + noise_start + "\nnoistp " + noise_end +
               "\nnLines " + lines + "\nlsfcfs " + coefs + "\nphi__1 " + phi + "\nHz_p_p " + hertz +
               "\n";
    }

    std::string switches() const {
        return "fit_mo " + mode + "\nverbos " + report + "\nshowli " + followed + "\nclcerr " +
               errors + "\nsg_idl " + format + "\nranges " + ranges + "\nignore " + ignored + "\n";
    }

    std::string version_3() const {
        std::string text = "version_3\n" + head() + "f__tol " + tolerance + "\n" + switches() +
                           "pattrn " + patterns + "\n";
        for (const std::string &name : names) text += name + "\n";
        return text + tail(" area frequency gausswidth phase lorentzwidth");
    }

    std::string old() const {
        return head() + switches() + tail(" area frequency width1 phase width2");
    }

    std::string spectrum_block() const {
        std::string text = "varokel_spectrum_information\n";
        for (const std::string &value : {points, noise_start, noise_end, lines, coefs, phi, hertz,
                                         tolerance, ignored, patterns})
            text += value + "\n";
        return text;
    }

    std::string pattern_block() const {
        std::string text = "varokel_pattern_references\n";
        for (const std::string &name : names) text += name + "\n";
        return text;
    }

    std::string control_block() const {
        std::string text = "varokel_fit_control\n";
        for (const std::string &value : {mode, report, followed, errors, format, ranges})
            text += value + "\n";
        for (const std::string &step : steps) text += step + "\n";
        return text;
    }

    std::string starting_value_block() const {
        return "varokel_starting_values\n" + starting_values();
    }

    std::string prior_knowledge_block() const {
        std::string text = "varokel_prior_knowledge\n";
        for (const entry_text &entry : entries) {
            text += std::to_string(entry.number) + "\n" + std::to_string(entry.lsf_flag) + "\n" +
                    std::to_string(entry.type[0]) + "\n";
            for (int j = 0; j < 5; ++j)
                text += std::to_string(entry.link[j]) + " " + text_of(entry.value[j]) +
                        range_of(entry, j) + "\n";
        }
        return text;
    }

    std::string line_shape_block() const {
        std::string text = "varokel_line_shape_function\n";
        for (const std::string &c : coefficients) text += c + "\n";
        return text;
    }

    std::string blocks() const {
        return "varokel_begin_of_file\n" + spectrum_block() + pattern_block() + control_block() +
               starting_value_block() + prior_knowledge_block() + line_shape_block() + end_of_file;
    }

    // One pattern behind one line.
    file_text &with_pattern(const std::string &name) {
        patterns = "1";
        names = {name};
        with_entries(2);
        lines = "1";
        return *this;
    }

    file_text &with_entries(int n) {
        lines = std::to_string(n);
        entries.clear();
        for (int i = 1; i <= n; ++i) entries.push_back(entry_number(i));
        return *this;
    }
};

// State as a run has it when its control file is read.
inline void start_from_defaults() {
    support::reset_state();
    std::strcpy(sage_idl, "sage_idl");
    verbose = 2;
    show_line = 1;
    sageidl = 1;
    T_acq = 0.5;
    Hz_pp = 1.0;
    frscl = 1.0;
    ftol = 1e-7;
}

// Readers into the run state: into the storage that there is, or into new storage for the given
// counts. The latter return what was printed.
inline void read_version_3_file(const std::string &name) {
    read_f_cntl(name.c_str(), npar, ref_line, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1,
                Hz_pp, T_acq, ftol, par, fitmode, var_ap_trunc, verbose, show_line, error_calc,
                sage_idl, sageidl, par_ranges, n_fit_strat_steps, min_method, user_fit_strat,
                n_intervals, fit_lsf, fixpar, hxmin, hxmax, hrange, file_corrupt, frscl, ignore,
                n_patterns, pat_name);
}

inline std::string read_version_3(const std::string &name, int lines, int coefs = 0,
                                  int patterns = 0) {
    allocate_parameter_arrays(lines, coefs, patterns);
    return support::stdout_of([&] { read_version_3_file(name); });
}

inline void read_old_file(const std::string &name) {
    read_fitcontrol_old(name.c_str(), npar, ref_line, nLines, ap, noise_strt, noise_stop, lsf_coefs,
                        phi_1, Hz_pp, T_acq, par, fitmode, var_ap_trunc, verbose, show_line,
                        error_calc, sage_idl, sageidl, par_ranges, n_fit_strat_steps, min_method,
                        user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax, hrange,
                        file_corrupt, frscl, ignore);
}

inline std::string read_old(const std::string &name, int lines, int coefs = 0) {
    allocate_parameter_arrays(lines, coefs, 0);
    return support::stdout_of([&] { read_old_file(name); });
}

inline void read_blocks_file(const std::string &name) {
    read_varokel_strtval_file(name.c_str(), npar, ref_line, nLines, ap, noise_strt, noise_stop,
                              lsf_coefs, phi_1, Hz_pp, T_acq, ftol, par, fitmode, verbose,
                              show_line, error_calc, sage_idl, sageidl, par_ranges,
                              n_fit_strat_steps, n_intervals, fit_lsf, fixpar, hxmin, hxmax, hrange,
                              file_corrupt, frscl, ignore, n_patterns, pat_name);
}

inline std::string read_blocks(const std::string &name, int lines, int coefs = 0,
                               int patterns = 0) {
    allocate_parameter_arrays(lines, coefs, patterns);
    return support::stdout_of([&] { read_blocks_file(name); });
}

// The same from a text.
inline std::string read_version_3_text(const std::string &text, int lines = 1, int coefs = 0,
                                       int patterns = 0) {
    const support::temporary_folder folder;
    support::write_file(folder.file("a.par"), text);
    return read_version_3(folder.file("a.par"), lines, coefs, patterns);
}

inline std::string read_version_3_text(const file_text &text, int lines = 1, int coefs = 0,
                                       int patterns = 0) {
    return read_version_3_text(text.version_3(), lines, coefs, patterns);
}

inline std::string read_old_text(const file_text &text, int lines = 1, int coefs = 0) {
    const support::temporary_folder folder;
    support::write_file(folder.file("a.par"), text.old());
    return read_old(folder.file("a.par"), lines, coefs);
}

inline std::string read_block_text(const std::string &text, int lines = 1, int coefs = 0,
                                   int patterns = 0) {
    const support::temporary_folder folder;
    support::write_file(folder.file("a.par"), text);
    return read_blocks(folder.file("a.par"), lines, coefs, patterns);
}

// The code of a data format and the word that is current after a file with that word; words that
// are none, in another case too, leave both.
inline void expect_format_words(const std::function<void(const file_text &)> &read) {
    struct {
        const char *word;
        int code;
        const char *current;
    } const cases[] = {{"sage_idl", 1, "sage_idl"}, {"sage", 2, "sage"},
                       {"none", 3, "none"},         {"SAGE_IDL", 7, "sage_idl"},
                       {"SAGE", 7, "sage_idl"},     {"other", 7, "sage_idl"}};
    for (const auto &c : cases) {
        start_from_defaults();
        sageidl = 7;
        file_text text;
        text.format = c.word;
        read(text);
        EXPECT_EQ(sageidl, c.code) << c.word;
        EXPECT_STREQ(sage_idl, c.current) << c.word;
    }
}

// Writers from the run state.
inline int write_version_3() {
    return write_f_cntl(strtvalfnm, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp,
                        T_acq, ftol, par, errpar, fitmode, var_ap_trunc, verbose, show_line,
                        error_calc, sage_idl, par_ranges, n_fit_strat_steps, min_method,
                        user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax, frscl, ignore,
                        n_patterns, pat_name, user, host, domain);
}

inline int write_old() {
    return write_fitcontrol_old(nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp, T_acq,
                                par, errpar, fitmode, var_ap_trunc, verbose, show_line, error_calc,
                                sage_idl, par_ranges, n_fit_strat_steps, min_method, user_fit_strat,
                                n_intervals, fit_lsf, fixpar, hxmin, hxmax, frscl, ignore);
}

inline int write_blocks() {
    return write_varokel_strtval_file(
        strtvalfnm, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1, Hz_pp, T_acq, ftol, par,
        errpar, fitmode, var_ap_trunc, verbose, show_line, error_calc, sage_idl, par_ranges,
        n_fit_strat_steps, min_method, user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax,
        frscl, ignore, n_patterns, pat_name);
}

// The time stamp of a written file, empty when there is none.
inline std::string time_stamp(const std::string &text) {
    const std::string head = "File created at :  ";
    const std::size_t at = text.find(head);
    if (at == std::string::npos) return "";
    const std::size_t first = at + head.size(), end = text.find(" \n", first);
    return end == std::string::npos ? "" : text.substr(first, end - first);
}

// The text with "TIME" in place of its time stamp, if that has the form that it must have.
inline std::string without_time(const std::string &text) {
    const std::string stamp = time_stamp(text);
    char zone[40] = "", day[40] = "", month[40] = "";
    int hour = -1, minute = -1, second = -1, date = -1, year = -1, length = -1;
    std::sscanf(stamp.c_str(), "%2d:%2d:%2d %39s %39s %39s %2d 20%2d%n", &hour, &minute, &second,
                zone, day, month, &date, &year, &length);
    if (stamp.empty() || length != static_cast<int>(stamp.size())) return text;
    return std::string(text).replace(text.find(stamp), stamp.size(), "TIME");
}

// The text with another word in the place of its first `from`.
inline std::string replaced(std::string text, const std::string &from, const std::string &to) {
    return text.replace(text.find(from), from.size(), to);
}

inline const std::string two_fatal_lines =
    "fatal error reading starting value / fit strategy file \n"
    "reading terminated before eof was reached \n";

inline const std::string wrong_strategy =
    two_fatal_lines + "file format error in fit strategy definition \n"
                      "example of one legal fit strategy step is : \n\n"
                      "@  1 1024  1  1  1  1  1  0  1  0  550  2   1  470 55O\n\n";

// What is printed of a file whose keywords are out of step.
inline std::string order_text(const std::string &lines, const std::string &last) {
    std::string text = two_fatal_lines + "file format error in line " + lines +
                       " \ncorrect order of parameters are : \n\n";
    for (const char *word : {"n_pnts", "noistr", "noistp", "nLines", "lsfcfs"})
        text += word + std::string(" <integer>\n");
    text += "phi__1 <float>\nHz_p_p <float>\n";
    for (const char *word : {"fit_mo", "verbos", "showli", "clcerr"})
        text += word + std::string(" <integer>\n");
    return text + "sg_idl <string>\n" + last;
}

inline const char one_line_pattern[] =
    "start_pattern number_of_lines 1 parameters name line_type area frequency gauss_width "
    "zero_phase lorentz_width a gauss 3.0 20.0 2.0 0.0 end_of_parameters end_of_pattern\n";

// The settings of the run state against the numbers of the file that they were read from.
inline void expect_settings_of(const file_text &text) {
    EXPECT_EQ(ap, std::stoi(text.points));
    EXPECT_EQ(noise_strt, std::stoi(text.noise_start));
    EXPECT_EQ(noise_stop, std::stoi(text.noise_end));
    EXPECT_EQ(nLines, std::stoi(text.lines));
    EXPECT_EQ(lsf_coefs, std::stoi(text.coefs));
    EXPECT_EQ(phi_1, std::stod(text.phi));
    EXPECT_EQ(Hz_pp, std::stod(text.hertz));
    EXPECT_EQ(T_acq, 1.0 / std::stod(text.hertz));
    EXPECT_EQ(fitmode, std::stoi(text.mode));
    EXPECT_EQ(verbose, std::stoi(text.report));
    EXPECT_EQ(show_line, std::stoi(text.followed));
    EXPECT_EQ(error_calc, std::stoi(text.errors));
    EXPECT_EQ(sage_idl, text.format);
    EXPECT_EQ(sageidl, 3); // none
    EXPECT_EQ(par_ranges, std::stoi(text.ranges));
    EXPECT_EQ(ignore, std::stoi(text.ignored));
    EXPECT_EQ(npar, 5 * static_cast<int>(text.entries.size()));
    EXPECT_EQ(par[npar], std::stod(text.coefficients.at(0)));
    EXPECT_EQ(par[npar + 1], std::stod(text.coefficients.at(1)));
    EXPECT_EQ(file_corrupt, 0);
}

// Three times written and read again: the file stays the same. write returns the file's text, read
// takes it from there.
inline void expect_same_when_written_again(const std::function<std::string()> &write,
                                           const std::function<void()> &read) {
    std::string previous;
    for (int pass = 0; pass < 3; ++pass) {
        const std::string now = write();
        if (pass > 0) {
            EXPECT_EQ(now, previous) << "pass " << pass;
        }
        previous = now;
        start_from_defaults();
        read();
        ASSERT_EQ(file_corrupt, 0);
    }
}

// A writer whose k-th request for storage fails says the k-th of the texts and writes no file.
inline void expect_storage_missed(const std::function<int()> &write, const std::string &file,
                                  const std::vector<std::string> &texts) {
    for (std::size_t k = 0; k < texts.size(); ++k) {
        fail_storage_request(static_cast<long long>(k) + 1);
        EXPECT_EQ(support::stdout_of([&] { EXPECT_EQ(write(), EOF); }), texts[k]);
        EXPECT_FALSE(support::file_exists(file));
    }
    fail_storage_request(0);
}

// A reader of a keyword format ends the run when its file is not there.
inline void expect_end_without_file(const std::function<void(const std::string &)> &read) {
    const support::temporary_folder folder;
    int status = 0;
    const auto try_it = [&] { read(folder.file("none")); };
    EXPECT_EQ(support::stdout_of([&] { status = support::end_status_of(try_it); }),
              " I/O-error : starting value file could not be opened \n ");
    EXPECT_EQ(status, -1);
}

inline const std::vector<std::string> keyword_storage_texts = {
    " Memory requested to store o_fixpar[]-struct in write_fitcontrol_old() is not available\n",
    " Memory requested to store o_par[] in write_fitcontrol_old() is not available\n",
    " Memory requested to store o_errpar[] in write_fitcontrol_old() is not available\n"};

} // namespace control_example
