// SPDX-License-Identifier: BSD-3-Clause
// private_fit.cpp -- one fit in a folder of its own: prepared, started, harvested, removed
#include "varokel-batch/private_fit.h"

#include "files/base/own_files.h"
#include "files/base/tool_error.h"
#include "files/results/fit_log.h"
#include "files/results/findings.h"
#include "files/results/rebuilt_model.h"
#include "files/spectra/signal_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstring>
#include <limits>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tools {

static constexpr int program_missing = 127; // as shells have it

static void refuse_place(const std::string &name) {
    throw tool_error(bad_output,
                     name + ": cannot be written (" + std::strerror(errno) +
                         "); is there room, is it yours? --scratch DIR names another place, "
                         "--resume goes on with what is missing");
}

static void write_whole(const std::string &name, const std::string &bytes) {
    file_descriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.is_open()) refuse_place(name);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = write(file.number(), bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) refuse_place(name);
        done += static_cast<std::size_t>(count);
    }
    if (!file.close()) refuse_place(name);
}

void fill_fit_folder(const fit_setting &setting, const std::string &folder,
                     const std::string &spectrum, const std::string &start) {
    if (mkdir(folder.c_str(), 0700) != 0) refuse_place(folder);
    write_whole(folder + "/spectrum.bin", spectrum);
    write_whole(folder + "/start.par", start);
    for (const std::string &name : setting.pattern_files)
        if (symlink((setting.patterns + "/" + name).c_str(), (folder + "/" + name).c_str()) != 0)
            refuse_place(folder + "/" + name);
}

started_fit start_fit(const fit_setting &setting, const std::string &folder) {
    file_descriptor output(memfd_create("log of a fit", MFD_CLOEXEC));
    if (!output.is_open())
        throw tool_error(bad_output, std::string("no storage for the log of a fit (") +
                                         std::strerror(errno) + ")");
    char path[] = ".", data[] = "spectrum.bin", start[] = "start.par";
    std::string name = setting.program;
    char *const words[] = {name.data(), path, data, start, nullptr};
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0)
        throw tool_error(bad_output, std::string("no process to be had (") + std::strerror(errno) +
                                         "); fewer workers (-j) may help, --resume goes on");
    if (child > 0) return {child, std::move(output)};
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    restore_ignored_signals();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int input = open("/dev/null", O_RDONLY);
    if (input < 0 || chdir(folder.c_str()) != 0) _exit(program_missing);
    dup2(input, STDIN_FILENO);
    dup2(output.number(), STDOUT_FILENO);
    dup2(output.number(), STDERR_FILENO);
    if (input > STDERR_FILENO) close(input);
    execv(setting.program.c_str(), words);
    _exit(program_missing);
}

static bool read_whole(const file_descriptor &file, std::string &bytes) {
    bytes.clear();
    struct stat facts = {};
    if (fstat(file.number(), &facts) != 0 || !S_ISREG(facts.st_mode)) return false;
    bytes.resize(static_cast<std::size_t>(facts.st_size));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = pread(file.number(), bytes.data() + done, bytes.size() - done,
                                    static_cast<off_t>(done));
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return true;
}

static bool read_whole(const std::string &name, std::string &bytes) {
    return read_whole(file_descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC)), bytes);
}

// Whether there is room for as much as a fit writes.
static bool has_room(const std::string &folder, long long points, std::size_t entries) {
    const std::string name = folder + "/room";
    file_descriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (!file.is_open()) return false;
    const off_t size = 8 * points * static_cast<off_t>(6 + entries) + 65536;
    const int refused = posix_fallocate(file.number(), 0, size);
    file.close();
    unlink(name.c_str());
    return refused == 0;
}

// The next number of a text with tabs, blanks and line ends between.
static bool next_number(const char *&p, const char *end, double &value) {
    while (p < end && (*p == '\t' || *p == ' ' || *p == '\n' || *p == '\r')) ++p;
    const auto read = std::from_chars(p, end, value);
    if (read.ec == std::errc::result_out_of_range) {
        value = std::numeric_limits<double>::quiet_NaN();
    } else if (read.ec != std::errc()) {
        return false;
    }
    p = read.ptr;
    return true;
}

// Five numbers for each entry, and nothing behind them.
static bool read_matrix(const std::string &text, std::size_t entries, std::vector<double> &matrix) {
    const char *p = text.data(), *const end = p + text.size();
    matrix.resize(5 * entries);
    for (double &value : matrix)
        if (!next_number(p, end, value)) return false;
    return p < end && std::string_view(p, static_cast<std::size_t>(end - p)) == "\n";
}

// Line 4 holds the figures, a line of 19 columns follows for each entry.
static bool read_figures(const std::string &text, std::size_t entries, fit_record &record) {
    const char *p = text.data(), *const end = p + text.size();
    for (int line = 0; line < 3; ++line) {
        p = static_cast<const char *>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
        if (p == nullptr) return false;
        ++p;
    }
    std::array<double, 10> figures{};
    for (double &figure : figures)
        if (!next_number(p, end, figure)) return false;
    std::copy_n(figures.begin(), 6, record.figures.begin());
    record.figures[6] = figures[9];
    const auto whole = [](double value) {
        return std::isfinite(value) && std::fabs(value) < 1e9 ? static_cast<std::int32_t>(value)
                                                              : 0;
    };
    record.iterations = whole(figures[6]);
    record.weighting = whole(figures[7]);
    record.free_parameters = whole(figures[8]);
    std::size_t rows = 0, columns = 1;
    for (; p < end; ++p) {
        if (*p == '\t') ++columns;
        if (*p != '\n') continue;
        if (columns >= 19) ++rows;
        columns = 1;
    }
    return rows == entries;
}

// The last lines of a log that say something, without the frames around them.
static std::string last_words(const std::string &log) {
    std::string words;
    std::size_t end = log.size();
    for (int taken = 0; taken < 4 && end > 0;) {
        const std::size_t begin = log.rfind('\n', end - 1);
        const std::size_t first = begin == log.npos ? 0 : begin + 1;
        std::string line;
        for (const char c : log.substr(first, end - first))
            if (c != '*' && c >= ' ' && (c != ' ' || (!line.empty() && line.back() != ' ')))
                line += c;
        while (!line.empty() && line.back() == ' ') line.pop_back();
        if (!line.empty()) {
            words = line + (words.empty() ? "" : " / ") + words;
            ++taken;
        }
        end = begin == log.npos ? 0 : begin;
    }
    return words.empty() ? "it printed nothing" : words;
}

// Remarks as a fitted record holds them.
static std::string remarks_of(const fit_log &log) {
    std::string all = log.singular ? finding_meaning(finding_kind::degenerate) : "";
    for (const std::string &text : log.remarks) all += (all.empty() ? "" : remark_end) + text;
    return all;
}

static std::string how_it_ended(int wait_status) {
    if (WIFSIGNALED(wait_status)) {
        const int number = WTERMSIG(wait_status);
        return "died of signal " + std::to_string(number) + " (" + strsignal(number) + ")";
    }
    return "ended with exit status " + std::to_string(WEXITSTATUS(wait_status));
}

// Why a fit has no results, as its end and its log say; empty when it should have some. no_place:
// set when the spectrum has no fault in it.
static std::string why_without_results(const fit_setting &setting, const std::string &folder,
                                       const std::string &log, int wait_status, double killed_after,
                                       std::string &no_place) {
    if (WIFEXITED(wait_status) && WEXITSTATUS(wait_status) == program_missing) {
        no_place = setting.program + ": cannot be started";
        return "the program could not be started";
    }
    if (killed_after > 0.0) {
        char words[80];
        std::snprintf(words, sizeof words, "no end within the limit of %g s", killed_after);
        return words;
    }
    for (const char *const words : {"error in writing file", "Could not open output file"})
        if (log.find(words) != log.npos) {
            no_place =
                folder + ": the fit could not write its results there (" + last_words(log) + ")";
            return "the fit could not write its results";
        }
    if (WIFSIGNALED(wait_status) || WEXITSTATUS(wait_status) != 0)
        return how_it_ended(wait_status) + ": " + last_words(log);
    for (const char *const words : {"Spectrum is not fitted", "Program termination status"})
        if (log.find(words) != log.npos) return "not fitted: " + last_words(log);
    return "";
}

// Values, errors and figures of the files of a fit. Returns the ending of one that is not whole, or
// nullptr.
static const char *read_results(const std::string &base, std::size_t entries, fit_record &record) {
    std::string text;
    if (!read_whole(base + ".mat", text) || !read_matrix(text, entries, record.values))
        return ".mat";
    if (!read_whole(base + ".err", text) || !read_matrix(text, entries, record.errors))
        return ".err";
    if (!read_whole(base + ".exl", text) || !read_figures(text, entries, record)) return ".exl";
    // its last line
    if (!read_whole(base + ".fitres", text) ||
        text.rfind("\n"
                   "Number of parameters fitted") == text.npos ||
        text.back() != '\n')
        return ".fitres";
    return nullptr;
}

// From the files of the fit: it leaves the error of each parameter only.
static void take_correlations(const std::string &folder, long long points, fit_record &record) {
    rebuilt_from from;
    try {
        from.data = read_points(folder + "/spectrum.org", 0, points);
    } catch (const tool_error &) { // the fit itself is good: they are left out
        return;
    }
    from.noise_sd = record.figures[1];
    const rebuilt_model model = rebuild_model(folder, "compact.par", from);
    if (!model.has_covariance) return;
    record.correlations =
        packed_correlations(model, [&](std::size_t k, int q, std::size_t l, int r) {
            return model.covariance_of(k, q, l, r);
        });
}

harvest harvest_fit(const fit_setting &setting, const std::string &folder,
                    const file_descriptor &log_file, long long line, int wait_status,
                    double killed_after, bool with_fit) {
    harvest found;
    const std::size_t entries = setting.measure.entries;
    const auto failed = [&](const std::string &reason) {
        found.record = record_without_fit(line, fit_state::failed, reason, entries);
        return found;
    };
    std::string log;
    read_whole(log_file, log);
    const std::string why =
        why_without_results(setting, folder, log, wait_status, killed_after, found.no_place);
    if (!why.empty()) return failed(why);
    // The folder was empty before, so every result in it is of this fit.
    fit_record &record = found.record;
    record.line = line;
    record.state = fit_state::fitted;
    const std::string base = folder + "/spectrum";
    if (const char *const ending = read_results(base, entries, record)) {
        if (!has_room(folder, setting.measure.points, entries))
            found.no_place = folder + ": full while a fit wrote its results";
        return failed(std::string("its ") + ending +
                      " is missing or not whole: " + last_words(log));
    }
    for (const double value : record.values)
        if (!std::isfinite(value)) return failed("its results are no finite numbers");
    const fit_log said = read_fit_log(log);
    record.reason = remarks_of(said);
    if (!said.steps.empty()) record.gradients = said.steps.back().gradients;
    std::string components;
    read_whole(base + ".fit", found.fit);
    read_whole(base + ".nln0", components);
    measure_snr(setting.measure, found.fit, components, record);
    record.quality_before = quality_before_fit(setting.measure, folder, record.figures[1]);
    take_correlations(folder, setting.measure.points, record);
    if (!with_fit || found.fit.size() != static_cast<std::size_t>(8 * setting.measure.points))
        found.fit.clear();
    return found;
}

void remove_fit(const std::string &folder) {
    DIR *const listed = opendir(folder.c_str());
    if (listed == nullptr) return;
    for (const dirent *entry = readdir(listed); entry != nullptr; entry = readdir(listed))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            unlinkat(dirfd(listed), entry->d_name, 0);
    closedir(listed);
    rmdir(folder.c_str());
}

} // namespace tools
