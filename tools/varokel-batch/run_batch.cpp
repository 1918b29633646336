// SPDX-License-Identifier: BSD-3-Clause
// run_batch.cpp -- one shard from its lock to its marker
#include "varokel-batch/run_batch.h"

#include "files/base/own_folder.h"
#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/shard_journal.h"
#include "files/batch/shard_lock.h"

#include "common/find_program.h"
#include "varokel-batch/batch_options.h"
#include "varokel-batch/fit_pool.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>
#include <limits>
#include <memory>
#include <optional>
#include <tuple>

#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;
typedef std::chrono::steady_clock steady;

static constexpr char scratch_prefix[] = "varokel-batch.";

static double seconds_since(steady::time_point then) {
    return std::chrono::duration<double>(steady::now() - then).count();
}

// "i/n" with 0 <= i < n. Errors: wrong_usage.
static void parse_shard(const std::string &text, long long &shard, long long &shards) {
    const char *const end = text.data() + text.size();
    const auto head = std::from_chars(text.data(), end, shard);
    if (head.ec == std::errc() && head.ptr != end && *head.ptr == '/') {
        const auto tail = std::from_chars(head.ptr + 1, end, shards);
        if (tail.ec == std::errc() && tail.ptr == end && shard >= 0 && shard < shards) return;
    }
    throw tool_error(wrong_usage, "--shard " + text + ": expected I/N with I from 0 to N - 1");
}

// What a killed process left of its scratch folder is removed, when it worked in this very batch.
static void remove_left(const shard_lock &lock) {
    if (!lock.before()) return;
    if (!lock.before_is_ours())
        std::cerr << "varokel-batch: this folder is a copy of one in which process "
                  << lock.before()->process << " on " << lock.before()->machine
                  << " was at work; what that one has elsewhere is left alone\n";
    else if (const std::string &left = lock.before()->scratch;
             !left.empty() && !remove_leftover(left, scratch_prefix, lock.purpose()) &&
             identity_of(left).is_there())
        std::cerr << "varokel-batch: " << shown_text(left)
                  << ": noted as what a killed run left, but not known as one, or still in use; it "
                     "stays\n";
}

// A folder of this run in the scratch place, with writable patterns. The note in the lock tells a
// later run what a killed one left behind.
class scratch_folder {
  public:
    scratch_folder(const batch_plan &plan, shard_lock &lock, const std::string &place)
        : folder_(made_in(place, lock)) {
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
    static std::unique_ptr<own_folder> made_in(const std::string &place, shard_lock &lock) {
        try {
            return std::make_unique<own_folder>(
                place, scratch_prefix, lock.purpose(),
                [&lock](const std::string &name) { lock.note_scratch(name); });
        } catch (const tool_error &error) {
            throw tool_error(bad_output, std::string(error.what()) +
                                             "; --scratch DIR names a place for the fits, "
                                             "--resume goes on");
        }
    }
    std::unique_ptr<own_folder> folder_;
};

// Fits that --again does once more: those with a failure, and, where start values come from
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
            if (journal.has(line) && has_failure(journal.read(line))) again.push_back(line);
            continue;
        }
        const planned_spectrum spectrum = lines.read(line);
        if (spectrum.block != block) {
            block = spectrum.block;
            changed = std::numeric_limits<int>::max();
        }
        if (!journal.has(line)) continue;
        const fit_record record = journal.read(line);
        const bool failed = has_failure(record);
        if (failed) changed = std::min(changed, spectrum.wave);
        if (failed || (record.state == fit_state::fitted && spectrum.wave > changed))
            again.push_back(line);
    }
    return again;
}

// What is given in vain. A place for searches is no matter of doubt: job scripts always name one.
static void warn_of_options(const run_options &options, const batch_plan &plan) {
    if (plan.method != fit_method::exact) return;
    const auto warn = [](const char *option) {
        std::cerr << "varokel-batch: " << option
                  << " is for searches, and this plan has none (method exact)\n";
    };
    if (options.limit > 0.0) warn("--limit");
    if (!options.program.empty()) warn("--varokel");
}

// A shard of a plan that this run works on.
struct shard_place {
    long long shard = 0, shards = 1, first = 0, stop = 0;
    std::string stem;
    bool is_done() const { return has(".done"); }
    bool has_journal() const { return has(".journal") || has(".fitted"); }
    bool is_begun() const { return is_done() || has(".journal"); }

  private:
    bool has(const char *ending) const {
        std::error_code error;
        return fs::exists(stem + ending, error);
    }
};

static shard_place place_of_shard(const run_options &options, const batch_plan &plan,
                                  const plan_lines &lines) {
    shard_place own;
    if (!options.shard.empty()) parse_shard(options.shard, own.shard, own.shards);
    if (own.shards > plan.blocks)
        throw tool_error(wrong_usage, "--shard " + options.shard + ": the plan has " +
                                          std::to_string(plan.blocks) +
                                          " blocks; expected up to so many shards");
    std::tie(own.first, own.stop) = lines_of_shard(plan, lines, own.shard, own.shards);
    own.stem = shard_stem(plan, own.shard, own.shards);
    std::error_code error;
    fs::create_directory(plan.file("shards"), error);
    if (fs::symlink_status(plan.file("shards"), error).type() != fs::file_type::directory)
        throw tool_error(bad_output, plan.file("shards") + ": cannot be made, or is no folder but "
                                                           "a link; is the folder yours?");
    if (own.is_begun() && !options.resume && !options.force)
        throw tool_error(bad_output, own.stem + (own.is_done() ? ".done" : ".journal") +
                                         ": this shard was " + (own.is_done() ? "done" : "begun") +
                                         " before; --resume goes on with what is missing, --force "
                                         "begins anew");
    return own;
}

// "14 optimum, 2 misfit" of the exact fits of a shard, in the order of the verdicts.
static std::string verdicts_of(const batch_plan &plan, const finished_shard &done) {
    std::map<engine::finding, long long> counts;
    part_reader part(plan, done);
    for (long long line = done.first; line < done.stop; ++line) {
        const fit_record &record = part.read(line);
        if (record.state == fit_state::fitted && record.exact) ++counts[record.exact->verdict];
    }
    std::string text;
    for (const auto &[verdict, count] : counts)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + engine::name_of(verdict);
    return text;
}

static int summary(const batch_plan &plan, const plan_lines &lines, const shard_place &own) {
    const finished_shard done = read_marker(plan, lines, own.stem + ".done");
    std::cout << "shard " << own.shard << "/" << own.shards << ": " << done.fitted << " fitted, "
              << done.failed << " failed, " << done.not_tried << " not tried\n";
    const std::string verdicts = verdicts_of(plan, done);
    if (!verdicts.empty()) std::cout << "verdicts, one a fit: " << verdicts << '\n';
    return done.failed > 0 ? different : all_right;
}

// Returns 0, or the number of a signal that came.
static int fit_shard(const run_options &options, const std::string &program, const batch_plan &plan,
                     const plan_lines &lines, const shard_place &own, shard_lock &lock,
                     shard_journal &journal) {
    const steady::time_point begun = steady::now();
    fit_setting setting = {program, "", plan.pattern_files, curve_measure(plan.start)};
    std::optional<scratch_folder> scratch;
    if (plan.method != fit_method::exact) {
        scratch.emplace(plan, lock, scratch_place(options.scratch));
        setting.patterns = scratch->name() + "/patterns";
        if (plan.values == "same")
            setting.measure.common_model =
                model_of_start(setting.measure, plan.start, setting.patterns);
    }
    const fit_common common(plan, setting, scratch ? scratch->name() : "", options.limit);
    fit_order order(plan, lines, journal, own.first, own.stop);
    fit_pool pool(common, order, journal, options.workers, own.stop - own.first);
    const int signal = pool.run();
    if (signal == 0 && options.times) show_times(pool.fitted_now(), seconds_since(begun));
    return signal;
}

int run_batch(const run_options &options) {
    const batch_plan plan = read_plan(options.folder);
    for (const std::string &gone : check_inputs(plan))
        std::cerr << "varokel-batch: " << gone
                  << ": is not there any more; going on with what the plan holds of it\n";
    const plan_lines lines(plan);
    const shard_place own = place_of_shard(options, plan, lines);
    if (own.is_done() && options.resume && !options.again) {
        const int status = summary(plan, lines, own);
        if (own.has_journal()) { // of a run that was ended between its marker and its end
            const shard_lock lock(own.stem);
            discard_journal(own.stem);
        }
        return status;
    }
    warn_of_options(options, plan);
    const std::string program =
        plan.method == fit_method::exact ? "" : find_fitter(options.program);
    shard_lock lock(own.stem);
    remove_left(lock);
    if (options.force && !options.resume) discard_shard(own.stem);
    if (own.is_done() && options.again) { // the records of the part become a journal again
        shard_journal journal(plan, own.stem, own.first, own.stop);
        journal.take_part(read_marker(plan, lines, own.stem + ".done"));
        std::error_code error;
        fs::remove(own.stem + ".done", error);
    }
    shard_journal journal(plan, own.stem, own.first, own.stop);
    if (options.again) journal.withdraw(tried_again(plan, lines, journal, own.first, own.stop));
    if (const int signal = fit_shard(options, program, plan, lines, own, lock, journal);
        signal != 0) {
        std::cerr << "varokel-batch: interrupted after " << journal.finished() << " of "
                  << own.stop - own.first << " spectra; --resume goes on\n";
        return 128 + signal;
    }
    journal.finish();
    return summary(plan, lines, own);
}

} // namespace tools
