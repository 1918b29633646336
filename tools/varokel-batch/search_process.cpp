// SPDX-License-Identifier: BSD-3-Clause
// search_process.cpp -- a search from the making of its folder to its removal
#include "varokel-batch/search_process.h"

#include "files/base/tool_error.h"
#include "files/start/read_start_file.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h> // glibc 2.36 does not say itself that its functions are C
}

namespace tools {

typedef std::chrono::steady_clock steady;

namespace {

struct removed_at_end {
    const std::string &name;
    ~removed_at_end() { remove_fit(name); }
};

// A process that is waited for, and ended when nobody wants it any more.
class watched_process {
  public:
    explicit watched_process(started_fit started)
        : started_(std::move(started)), handle_(pidfd_open(started_.process, 0)) {
        if (handle_.is_open()) return;
        const int reason = errno;
        end();
        throw tool_error(bad_output, std::string("a fit cannot be watched (") +
                                         std::strerror(reason) + "); fewer workers (-j) may help");
    }
    watched_process(const watched_process &) = delete;
    watched_process &operator=(const watched_process &) = delete;
    ~watched_process() { end(); }

    enum class outcome { ended, killed, stopped };
    outcome wait(double limit, const stop_switch &stop) {
        const steady::time_point begun = steady::now();
        bool killed = false;
        for (;;) {
            const std::chrono::duration<double> taken = steady::now() - begun;
            double patience = 3600.0;
            if (limit > 0.0 && !killed) patience = std::max(0.0, limit - taken.count());
            pollfd handles[] = {{handle_.number(), POLLIN, 0}, {stop.handle(), POLLIN, 0}};
            const timespec wait = {static_cast<time_t>(patience),
                                   static_cast<long>(1e9 * (patience - std::floor(patience)))};
            ppoll(handles, 2, &wait, nullptr);
            if (handles[0].revents != 0) break;
            if (stop.is_set()) return outcome::stopped;
            const std::chrono::duration<double> now = steady::now() - begun;
            if (limit > 0.0 && !killed && now.count() >= limit) {
                killed = true;
                kill(-started_.process, SIGKILL);
            }
        }
        waitpid(started_.process, &status_, 0);
        started_.process = -1;
        return killed ? outcome::killed : outcome::ended;
    }
    int status() const { return status_; }
    const file_descriptor &log() const { return started_.log; }

  private:
    void end() {
        if (started_.process <= 0) return;
        kill(-started_.process, SIGKILL);
        kill(started_.process, SIGKILL); // its group may not be there yet
        waitpid(started_.process, nullptr, 0);
    }
    started_fit started_;
    file_descriptor handle_;
    int status_ = 0;
};

} // namespace

static std::optional<start_file> end_of_search(const std::string &folder) {
    try {
        return read_start_file(folder + "/compact.par");
    } catch (const tool_error &) { // a search that failed; its reason is in the harvest
        return std::nullopt;
    }
}

// Whoever ends a whole job sends these to each of its processes, and a search may die of them
// before the batch hears of it.
static bool was_ended_from_outside(int wait_status) {
    if (!WIFSIGNALED(wait_status)) return false;
    const int number = WTERMSIG(wait_status);
    return number == SIGHUP || number == SIGINT || number == SIGTERM || number == SIGKILL;
}

std::optional<search_result> run_search(const fit_setting &setting, const std::string &folder,
                                        long long line, const std::string &spectrum,
                                        const std::string &start, const search_options &options,
                                        const stop_switch &stop) {
    for (bool second_try = false;; second_try = true) {
        const removed_at_end own{folder};
        fill_fit_folder(setting, folder, spectrum, start);
        watched_process process(start_fit(setting, folder));
        const watched_process::outcome how = process.wait(options.limit, stop);
        if (how == watched_process::outcome::stopped) return std::nullopt;
        const bool killed = how == watched_process::outcome::killed;
        // Such an end says nothing about the spectrum: the search begins once more, and the journal
        // takes no failure that --resume would keep when the batch itself ends the next moment.
        if (was_ended_from_outside(process.status()) && !killed && !second_try) continue;
        search_result out;
        out.found = harvest_fit(setting, folder, process.log(), line, process.status(),
                                killed ? options.limit : 0.0, options.with_fit);
        if (!out.found.no_place.empty())
            throw tool_error(bad_output, out.found.no_place +
                                             "; is there room in the scratch place, is the program "
                                             "whole? What is fitted stays, --resume goes on");
        if (options.with_end && out.found.record.state == fit_state::fitted)
            out.end = end_of_search(folder);
        return out;
    }
}

} // namespace tools
