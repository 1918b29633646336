// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-batch/run_batch.h"

#include "files/base/own_files.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/shard_files.h"
#include "files/batch/shard_lock.h"

#include "varokel-batch/private_fit.h"
#include "varokel-batch/spectrum_blocks.h"
#include "varokel-batch/start_choice.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>

#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h> // glibc 2.36 does not say itself that its functions are C
}

namespace tools {

namespace fs = std::filesystem;
typedef std::chrono::steady_clock steady;

static volatile std::sig_atomic_t asked_to_end = 0;

static void note_signal(int number) {
    asked_to_end = number;
}

static double seconds_since(steady::time_point then) {
    return std::chrono::duration<double>(steady::now() - then).count();
}

void parse_shard(const std::string &text, long long &shard, long long &shards) {
    const char *const end = text.data() + text.size();
    const auto head = std::from_chars(text.data(), end, shard);
    if (head.ec == std::errc() && head.ptr != end && *head.ptr == '/') {
        const auto tail = std::from_chars(head.ptr + 1, end, shards);
        if (tail.ec == std::errc() && tail.ptr == end && shard >= 0 && shard < shards) return;
    }
    throw tool_error(wrong_usage, "--shard " + text + ": expected I/N with I from 0 to N - 1");
}

std::string find_varokel(const std::string &given) {
    std::error_code error;
    const auto runs = [&](const fs::path &file) {
        return fs::is_regular_file(file, error) && access(file.c_str(), X_OK) == 0;
    };
    if (!given.empty()) {
        if (!runs(given))
            throw tool_error(bad_input, given + ": no program that can be started; expected "
                                                "varokel");
        return fs::absolute(given).string();
    }
    const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path() / "varokel";
    if (!error && runs(own)) return own.string();
    const char *const path = std::getenv("PATH");
    const std::string places = path == nullptr ? "" : path;
    for (std::size_t begin = 0; begin < places.size();) {
        const std::size_t end = std::min(places.find(':', begin), places.size());
        const fs::path file = fs::path(places.substr(begin, end - begin)) / "varokel";
        if (end > begin && runs(file)) return fs::absolute(file).string();
        begin = end + 1;
    }
    throw tool_error(bad_input, "the program varokel is neither beside this one nor in PATH; give "
                                "it with --varokel FILE, --resume goes on");
}

// Signals are let in only while the pool waits, so that none is missed between look and wait.
class signals_held {
  public:
    signals_held() {
        asked_to_end = 0;
        struct sigaction action = {};
        action.sa_handler = note_signal;
        sigemptyset(&action.sa_mask);
        sigset_t held;
        sigemptyset(&held);
        for (const int number : numbers) {
            sigaction(number, &action, &before_[count_++]);
            sigaddset(&held, number);
        }
        sigprocmask(SIG_BLOCK, &held, &open_);
        for (const int number : numbers) sigdelset(&open_, number);
    }
    signals_held(const signals_held &) = delete;
    signals_held &operator=(const signals_held &) = delete;
    ~signals_held() {
        sigprocmask(SIG_SETMASK, &open_, nullptr);
        count_ = 0;
        for (const int number : numbers) sigaction(number, &before_[count_++], nullptr);
    }
    const sigset_t *open() const { return &open_; }

  private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction before_[3] = {};
    std::size_t count_ = 0;
    sigset_t open_;
};

// What a killed process left of its scratch folder is removed, when it worked in this very batch.
static void remove_left(const shard_lock &lock) {
    if (lock.before_is_ours() && !lock.before()->scratch.empty())
        remove_leftover(lock.before()->scratch, lock.purpose());
    else if (lock.before())
        std::cerr << "varokel-batch: this folder is a copy of one in which process "
                  << lock.before()->process << " on " << lock.before()->machine
                  << " was at work; what that one has elsewhere is left alone\n";
}

// A folder of this run in the scratch place, with writable patterns. The note in the lock tells a
// later run what a killed one left behind.
class scratch_folder {
  public:
    scratch_folder(const batch_plan &plan, shard_lock &lock, const std::string &place)
        : folder_(made_in(place, lock)) {
        lock.note_scratch(name());
        if (plan.pattern_files.empty()) return;
        std::error_code error;
        fs::create_directory(name() + "/patterns", error);
        for (const std::string &pattern : plan.pattern_files) {
            fs::copy_file(plan.file("patterns/" + pattern), name() + "/patterns/" + pattern, error);
            if (error)
                throw tool_error(bad_output,
                                 name() + "/patterns: cannot be written (" + error.message() + ")");
        }
    }
    const std::string &name() const { return folder_->name(); }

  private:
    static std::unique_ptr<own_folder> made_in(const std::string &place, const shard_lock &lock) {
        try {
            return std::make_unique<own_folder>(place, "varokel-batch.", lock.purpose());
        } catch (const tool_error &error) {
            throw tool_error(bad_output, std::string(error.what()) +
                                             "; --scratch DIR names a place for the fits, "
                                             "--resume goes on");
        }
    }
    std::unique_ptr<own_folder> folder_;
};

// spectra.f32, each spectrum compared with its fingerprint.
class spectra_reader {
  public:
    explicit spectra_reader(const batch_plan &plan)
        : plan_(plan), file_(std::fopen(plan.file("spectra.f32").c_str(), "rb")),
          bytes_(static_cast<std::size_t>(8 * plan.points), '\0') {
        if (file_ == nullptr)
            throw tool_error(bad_input, plan.file("spectra.f32") + ": cannot be read");
    }
    spectra_reader(const spectra_reader &) = delete;
    spectra_reader &operator=(const spectra_reader &) = delete;
    ~spectra_reader() { std::fclose(file_); }

    const std::string &read(const planned_spectrum &spectrum) {
        const ssize_t got =
            pread(fileno(file_), bytes_.data(), bytes_.size(), spectrum.number * 8 * plan_.points);
        sha256 hash;
        hash.add(bytes_.data(), bytes_.size());
        if (got != static_cast<ssize_t>(bytes_.size()) || hash.digits() != spectrum.sha256)
            throw tool_error(bad_input, plan_.file("spectra.f32") + ": " + spectrum.name +
                                            " was changed since the plan was made; put the file "
                                            "of then back, or plan again. What is fitted stays");
        return bytes_;
    }

  private:
    const batch_plan &plan_;
    std::FILE *file_;
    std::string bytes_;
};

enum class task_state : char { waiting, running, done };

// The spectra of a block, some of them at work.
struct active_block {
    std::vector<planned_spectrum> spectra;
    std::vector<long long> lines;
    std::vector<task_state> states;
    std::vector<fit_record> records; // only where neighbours are wanted
    std::size_t left = 0;
};

struct running_fit {
    pid_t process = -1;
    int log = -1;
    int handle = -1; // becomes readable at its end
    active_block *block = nullptr;
    std::size_t task = 0;
    std::string folder;
    steady::time_point begun;
    std::string start_text;
    bool killed = false;
    bool second_try = false; // the first was ended from outside
    // quality of the neighbour whose values it began with; not a number with the common ones
    double quality_of_seed = not_measured;
    std::shared_ptr<harvest> before; // from a neighbour, when this is the second try
};

// Start values of a fit, and the quality of the neighbour that they are from.
struct chosen_start {
    std::string text;
    double quality_of_seed = not_measured;
};

class fit_pool {
  public:
    fit_pool(const run_options &options, const batch_plan &plan, const plan_lines &lines,
             shard_journal &journal, const fit_setting &setting, const std::string &scratch,
             long long first, long long stop);
    fit_pool(const fit_pool &) = delete;
    fit_pool &operator=(const fit_pool &) = delete;
    ~fit_pool() { end_all(); }

    // true when all are done, false when a signal came.
    bool run();
    long long failed = 0, fitted_now = 0;

  private:
    bool next_task(active_block *&block, std::size_t &task);
    bool load_block();
    void start(active_block &block, std::size_t task);
    void launch(running_fit fit, const std::string &spectrum, const std::string &start);
    void wait_for_one(const sigset_t *open);
    void take(running_fit &fit, int wait_status);
    void finish(active_block &block, std::size_t task, const fit_record &record);
    chosen_start start_of(const active_block &block, std::size_t task, const std::string &spectrum);
    void show_progress(bool last);
    void end_all();

    const run_options &options_;
    const batch_plan &plan_;
    const plan_lines &lines_;
    shard_journal &journal_;
    const fit_setting &setting_;
    const std::string &scratch_;
    long long next_line_, stop_, total_;
    bool neighbours_, terminal_;
    std::string common_start_;
    spectra_reader spectra_;
    std::unique_ptr<spectrum_starts> starts_; // from a table, one for each spectrum
    std::deque<std::unique_ptr<active_block>> blocks_;
    std::vector<running_fit> running_;
    steady::time_point begun_ = steady::now(), shown_ = begun_;
};

static std::string text_of_file(const std::string &name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

fit_pool::fit_pool(const run_options &options, const batch_plan &plan, const plan_lines &lines,
                   shard_journal &journal, const fit_setting &setting, const std::string &scratch,
                   long long first, long long stop)
    : options_(options), plan_(plan), lines_(lines), journal_(journal), setting_(setting),
      scratch_(scratch), next_line_(first), stop_(stop), total_(stop - first),
      neighbours_(plan.values == "neighbour"), terminal_(isatty(STDERR_FILENO) != 0),
      common_start_(text_of_file(plan.file("start.par"))), spectra_(plan) {
    if (plan.values == "estimate") starts_ = std::make_unique<spectrum_starts>(plan);
}

// Takes the next block that has something to do. false when there is none.
bool fit_pool::load_block() {
    while (next_line_ < stop_) {
        auto block = std::make_unique<active_block>();
        long long number = -1;
        for (; next_line_ < stop_; ++next_line_) {
            // without neighbours a line is a block, and what is done needs no look
            if (!neighbours_ && journal_.has(next_line_)) {
                if (block->lines.empty()) continue;
                break;
            }
            planned_spectrum spectrum = lines_.read(next_line_);
            if (!block->lines.empty() && spectrum.block != number) break;
            number = spectrum.block;
            const bool done = journal_.has(next_line_);
            fit_record record;
            if (done && neighbours_) record = journal_.read(next_line_);
            if (!done && spectrum.state != signal_state::fit) {
                record = record_without_fit(next_line_, fit_state::not_tried,
                                            spectrum.state == signal_state::all_zero
                                                ? "all its points are zero"
                                                : "holds points that are no finite numbers",
                                            setting_.measure.entries);
                journal_.add(record, {});
            }
            const bool waits = !done && spectrum.state == signal_state::fit;
            block->states.push_back(waits ? task_state::waiting : task_state::done);
            block->left += waits ? 1 : 0;
            block->lines.push_back(next_line_);
            block->spectra.push_back(std::move(spectrum));
            if (neighbours_) block->records.push_back(std::move(record));
        }
        if (block->left > 0) {
            blocks_.push_back(std::move(block));
            return true;
        }
    }
    return false;
}

// The first spectrum that waits for nothing: all of earlier waves of its block are done.
bool fit_pool::next_task(active_block *&block, std::size_t &task) {
    for (std::size_t b = 0;; ++b) {
        if (b == blocks_.size() && !load_block()) return false;
        active_block &own = *blocks_[b];
        int wave = -1; // of the first that is not done; lines are in the order of waves
        for (std::size_t t = 0; t < own.states.size(); ++t) {
            if (own.states[t] == task_state::done) continue;
            if (wave < 0) wave = own.spectra[t].wave;
            if (own.spectra[t].wave != wave) break;
            if (own.states[t] != task_state::waiting) continue;
            block = &own;
            task = t;
            return true;
        }
    }
}

chosen_start fit_pool::start_of(const active_block &block, std::size_t task,
                                const std::string &spectrum) {
    if (starts_) return {starts_->text(spectrum)};
    if (!neighbours_) return {common_start_};
    const planned_spectrum &own = block.spectra[task];
    const fit_record *nearest = nullptr;
    long long least = 0;
    for (std::size_t t = 0; t < task && block.spectra[t].wave < own.wave; ++t) {
        const long long distance = distance_between(own, block.spectra[t]);
        if ((nearest != nullptr && distance >= least) ||
            !is_good_neighbour(plan_.start, block.records[t]))
            continue;
        nearest = &block.records[t];
        least = distance;
    }
    if (nearest == nullptr) return {common_start_};
    return {start_text_from(plan_.start, *nearest), nearest->figures[0]};
}

void fit_pool::start(active_block &block, std::size_t task) {
    running_fit fit;
    fit.block = &block;
    fit.task = task;
    fit.folder = scratch_ + "/" + std::to_string(block.lines[task]);
    const std::string &spectrum = spectra_.read(block.spectra[task]);
    chosen_start start;
    try {
        start = start_of(block, task, spectrum);
    } catch (const tool_error &error) { // of this spectrum only: the table was good for another
        // without the folder, which may be called otherwise on another machine
        std::string reason = error.what();
        if (const std::size_t at = reason.find(plan_.folder + "/"); at != reason.npos)
            reason.erase(at, plan_.folder.size() + 1);
        const fit_record record =
            record_without_fit(block.lines[task], fit_state::failed, "no start values: " + reason,
                               setting_.measure.entries);
        journal_.add(record, {});
        ++failed;
        finish(block, task, record);
        return;
    }
    fit.quality_of_seed = start.quality_of_seed;
    launch(std::move(fit), spectrum, start.text);
}

void fit_pool::launch(running_fit fit, const std::string &spectrum, const std::string &start) {
    fit.start_text = start;
    try {
        prepare_fit(setting_, fit.folder, spectrum, start);
        fit.begun = steady::now();
        const started_fit started = start_fit(setting_, fit.folder);
        fit.process = started.process;
        fit.log = started.log;
    } catch (const tool_error &) {
        remove_fit(fit.folder);
        throw;
    }
    fit.handle = pidfd_open(fit.process, 0);
    if (fit.handle < 0) {
        kill(fit.process, SIGKILL);
        waitpid(fit.process, nullptr, 0);
        close(fit.log);
        remove_fit(fit.folder);
        throw tool_error(bad_output, std::string("a fit cannot be watched (") +
                                         std::strerror(errno) + "); fewer workers (-j) may help");
    }
    fit.block->states[fit.task] = task_state::running;
    running_.push_back(std::move(fit));
}

void fit_pool::finish(active_block &block, std::size_t task, const fit_record &record) {
    block.states[task] = task_state::done;
    if (neighbours_) block.records[task] = record;
    if (--block.left > 0) return;
    std::erase_if(blocks_, [&](const auto &each) { return each.get() == &block; });
}

// Whoever ends a whole job sends these to each of its processes, and a fit may die of them before
// the batch hears of it.
static bool was_ended_from_outside(int wait_status) {
    if (!WIFSIGNALED(wait_status)) return false;
    const int number = WTERMSIG(wait_status);
    return number == SIGHUP || number == SIGINT || number == SIGTERM || number == SIGKILL;
}

void fit_pool::take(running_fit &fit, int wait_status) {
    // Such an end says nothing about the spectrum: the fit begins once more, and the journal takes
    // no failure that --resume would keep when the batch itself ends the next moment.
    if (was_ended_from_outside(wait_status) && !fit.killed && !fit.second_try) {
        close(fit.log);
        remove_fit(fit.folder);
        fit.second_try = true;
        const std::string start = fit.start_text;
        const std::string &spectrum = spectra_.read(fit.block->spectra[fit.task]);
        launch(std::move(fit), spectrum, start);
        return;
    }
    harvest found = harvest_fit(setting_, fit.folder, fit.log, fit.block->lines[fit.task],
                                wait_status, fit.killed ? options_.limit : 0.0, plan_.keep > 0);
    remove_fit(fit.folder);
    if (!found.no_place.empty())
        throw tool_error(bad_output, found.no_place +
                                         "; is there room in the scratch place, is the program "
                                         "whole? What is fitted stays, --resume goes on");
    // A fit that is worse than the one it began from may sit in a wrong place: the common values
    // are tried, too, and the better of both counts.
    if (!fit.before && std::isfinite(fit.quality_of_seed) &&
        !(found.record.state == fit_state::fitted &&
          found.record.figures[0] <= fit.quality_of_seed)) {
        running_fit again;
        again.block = fit.block;
        again.task = fit.task;
        again.folder = fit.folder;
        again.before = std::make_shared<harvest>(std::move(found));
        launch(std::move(again), spectra_.read(fit.block->spectra[fit.task]), common_start_);
        return;
    }
    if (fit.before && !is_better(found.record, fit.before->record)) found = std::move(*fit.before);
    journal_.add(found.record, found.fit);
    if (found.record.state == fit_state::failed) ++failed;
    ++fitted_now;
    finish(*fit.block, fit.task, found.record);
}

void fit_pool::wait_for_one(const sigset_t *open) {
    std::vector<pollfd> handles;
    double patience = terminal_ ? 0.5 : 3600.0;
    for (const running_fit &fit : running_) {
        handles.push_back({fit.handle, POLLIN, 0});
        if (options_.limit > 0.0 && !fit.killed)
            patience = std::min(patience, options_.limit - seconds_since(fit.begun));
    }
    patience = std::max(patience, 0.0);
    const timespec wait = {static_cast<time_t>(patience),
                           static_cast<long>(1e9 * (patience - std::floor(patience)))};
    ppoll(handles.data(), handles.size(), &wait, open);
    if (asked_to_end != 0) return;
    for (std::size_t i = handles.size(); i-- > 0;) {
        running_fit &fit = running_[i];
        if (handles[i].revents == 0) {
            if (options_.limit > 0.0 && !fit.killed && seconds_since(fit.begun) >= options_.limit) {
                fit.killed = true;
                kill(-fit.process, SIGKILL);
            }
            continue;
        }
        int wait_status = 0;
        waitpid(fit.process, &wait_status, 0);
        close(fit.handle);
        running_fit ended = std::move(fit);
        running_.erase(running_.begin() + static_cast<std::ptrdiff_t>(i));
        take(ended, wait_status);
    }
}

void fit_pool::end_all() {
    for (const running_fit &fit : running_) {
        kill(-fit.process, SIGKILL);
        kill(fit.process, SIGKILL); // its group may not be there yet
        waitpid(fit.process, nullptr, 0);
        close(fit.handle);
        close(fit.log);
        remove_fit(fit.folder);
    }
    running_.clear();
}

void fit_pool::show_progress(bool last) {
    if (!terminal_ || (!last && seconds_since(shown_) < 0.5)) return;
    shown_ = steady::now();
    const double rate = static_cast<double>(fitted_now) / std::max(seconds_since(begun_), 1e-3);
    char text[160];
    std::snprintf(text, sizeof text, "\r%lld of %lld spectra, %.1f fits/s, ", journal_.finished(),
                  total_, rate);
    std::cerr << text;
    const auto left = static_cast<long long>(
        rate > 0.0 ? static_cast<double>(total_ - journal_.finished()) / rate : 0.0);
    if (last)
        std::snprintf(text, sizeof text, "%.1f s", seconds_since(begun_));
    else if (left >= 3600)
        std::snprintf(text, sizeof text, "%lld h %02lld min left", left / 3600, left / 60 % 60);
    else
        std::snprintf(text, sizeof text, "%lld min %02lld s left", left / 60, left % 60);
    std::cerr << text << (failed > 0 ? ", " + std::to_string(failed) + " failed" : "") << "\x1b[K"
              << (last ? "\n" : "") << std::flush;
}

bool fit_pool::run() {
    const signals_held signals;
    for (;;) {
        while (asked_to_end == 0 && running_.size() < static_cast<std::size_t>(options_.workers)) {
            active_block *block = nullptr;
            std::size_t task = 0;
            if (!next_task(block, task)) break;
            start(*block, task);
        }
        if (running_.empty() || asked_to_end != 0) break;
        wait_for_one(signals.open());
        if (asked_to_end != 0) break;
        show_progress(false);
    }
    end_all();
    show_progress(true);
    return asked_to_end == 0;
}

static double cpu_seconds(int who) {
    struct rusage usage = {};
    getrusage(who, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

static void show_times(long long fits, double wall) {
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    char text[240];
    const double count = static_cast<double>(std::max(fits, 1LL));
    std::snprintf(text, sizeof text,
                  "varokel-batch: %lld fits in %.2f s; CPU of the fits %.2f s (%.3f ms each), own "
                  "%.2f s (%.3f ms a fit); own peak memory %ld kB\n",
                  fits, wall, cpu_seconds(RUSAGE_CHILDREN),
                  1e3 * cpu_seconds(RUSAGE_CHILDREN) / count, cpu_seconds(RUSAGE_SELF),
                  1e3 * cpu_seconds(RUSAGE_SELF) / count, usage.ru_maxrss);
    std::cerr << text;
}

// Fits that --again does once more: those that failed, and, where start values come from
// neighbours, those of later waves of their blocks, which would have begun elsewhere.
static std::vector<long long> tried_again(const batch_plan &plan, const plan_lines &lines,
                                          const shard_journal &journal, long long first,
                                          long long stop) {
    std::vector<long long> again;
    const bool neighbours = plan.values == "neighbour";
    long long block = -1;
    int changed = 0; // the first wave of the block with a fit that failed
    for (long long line = first; line < stop; ++line) {
        if (!neighbours) {
            if (journal.has(line) && journal.read(line).state == fit_state::failed)
                again.push_back(line);
            continue;
        }
        const planned_spectrum spectrum = lines.read(line);
        if (spectrum.block != block) {
            block = spectrum.block;
            changed = std::numeric_limits<int>::max();
        }
        if (!journal.has(line)) continue;
        const fit_state state = journal.read(line).state;
        if (state == fit_state::failed) changed = std::min(changed, spectrum.wave);
        if (state == fit_state::failed || (state == fit_state::fitted && spectrum.wave > changed))
            again.push_back(line);
    }
    return again;
}

int run_batch(const run_options &options) {
    const steady::time_point begun = steady::now();
    long long shard = 0, shards = 1;
    if (!options.shard.empty()) parse_shard(options.shard, shard, shards);
    const batch_plan plan = read_plan(options.folder);
    for (const std::string &gone : check_inputs(plan))
        std::cerr << "varokel-batch: " << gone
                  << ": is not there any more; going on with what the plan holds of it\n";
    const plan_lines lines(plan);
    if (shards > plan.blocks)
        throw tool_error(wrong_usage, "--shard " + options.shard + ": the plan has " +
                                          std::to_string(plan.blocks) +
                                          " blocks; expected up to so many shards");
    const auto [first, stop] = lines_of_shard(plan, lines, shard, shards);
    const std::string stem = shard_stem(plan, shard, shards);
    std::error_code error;
    fs::create_directory(plan.file("shards"), error);
    if (fs::symlink_status(plan.file("shards"), error).type() != fs::file_type::directory)
        throw tool_error(bad_output, plan.file("shards") + ": cannot be made, or is no folder but "
                                                           "a link; is the folder yours?");
    const auto summary = [&](const finished_shard &done) {
        std::cout << "shard " << shard << "/" << shards << ": " << done.fitted << " fitted, "
                  << done.failed << " failed, " << done.not_tried << " not tried\n";
        return done.failed > 0 ? static_cast<int>(different) : static_cast<int>(all_right);
    };
    const auto own_shard = [&] {
        finished_shard found;
        for (const finished_shard &each : finished_shards(plan, lines))
            if (each.stem == stem) found = each;
        return found;
    };
    const bool is_done = fs::exists(stem + ".done", error);
    const bool begun_before = is_done || fs::exists(stem + ".journal", error);
    if (begun_before && !options.resume && !options.force)
        throw tool_error(bad_output, stem + (is_done ? ".done" : ".journal") + ": this shard was " +
                                         (is_done ? "done" : "begun") +
                                         " before; --resume goes on with what is missing, --force "
                                         "begins anew");
    if (is_done && options.resume && !options.again) return summary(own_shard());

    const fit_setting bare = {find_varokel(options.program), "", {}, curve_measure(plan.start)};
    shard_lock lock(stem);
    remove_left(lock);
    if (options.force && !options.resume) discard_shard(stem);
    if (is_done && options.again && options.resume) {
        // the records of the part become a journal again
        shard_journal journal(plan, stem, first, stop);
        journal.take_part(own_shard());
        fs::remove(stem + ".done", error);
    }
    shard_journal journal(plan, stem, first, stop);
    if (options.again) journal.withdraw(tried_again(plan, lines, journal, first, stop));
    std::string place = options.scratch;
    if (place.empty()) {
        const char *const set = std::getenv("TMPDIR");
        place = set != nullptr && *set != '\0' ? set : "/tmp";
    }
    fit_setting setting = bare;
    setting.pattern_files = plan.pattern_files;
    const scratch_folder scratch(plan, lock, place);
    setting.patterns = scratch.name() + "/patterns";
    if (plan.values == "same")
        setting.measure.common_model =
            model_of_start(setting.measure, plan.start, setting.patterns);

    bool whole = false;
    long long fits = 0;
    {
        fit_pool pool(options, plan, lines, journal, setting, scratch.name(), first, stop);
        whole = pool.run();
        fits = pool.fitted_now;
    }
    if (!whole) {
        std::cerr << "varokel-batch: interrupted after " << journal.finished() << " of "
                  << stop - first << " spectra; --resume goes on\n";
        return 128 + asked_to_end;
    }
    journal.finish();
    if (options.times) show_times(fits, seconds_since(begun));
    return summary(own_shard());
}

} // namespace tools
