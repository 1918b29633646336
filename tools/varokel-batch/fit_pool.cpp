// SPDX-License-Identifier: BSD-3-Clause
// fit_pool.cpp -- fits the spectra of a shard on several threads
#include "varokel-batch/fit_pool.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <system_error>
#include <thread>

namespace tools {

fit_pool::fit_pool(const fit_common &common, fit_order &order, shard_journal &journal, int workers,
                   long long spectra)
    : common_(common), order_(order), journal_(journal),
      workers_(static_cast<std::size_t>(
          std::clamp<long long>(spectra, 1, static_cast<long long>(workers)))),
      progress_(spectra) {}

void fit_pool::fit_until_done() {
    spectrum_fitter fitter(common_, stop_);
    std::unique_lock<std::mutex> lock(guard_);
    while (!stop_.is_set()) {
        const std::optional<fit_task> task = order_.next();
        if (!task) {
            if (running_ == 0) return;
            changed_.wait(lock); // for a fit that others begin from
            continue;
        }
        ++running_;
        lock.unlock();
        const std::optional<harvest> found = fitter.fit(*task);
        lock.lock();
        --running_;
        if (!found) return;
        journal_.add(found->record, found->fit);
        if (found->record.state == fit_state::failed) ++failed_;
        ++fitted_now_;
        order_.finish(*task, found->record);
        changed_.notify_all();
    }
}

void fit_pool::wake_all() {
    const std::lock_guard<std::mutex> lock(guard_);
    changed_.notify_all();
}

void fit_pool::work() {
    try {
        fit_until_done();
    } catch (...) {
        const std::lock_guard<std::mutex> lock(guard_);
        if (!failure_) failure_ = std::current_exception();
        stop_.set();
    }
    const std::lock_guard<std::mutex> lock(guard_);
    changed_.notify_all();
    if (--threads_ == 0) done_.set();
}

int fit_pool::run() {
    signals_held signals;
    std::vector<std::thread> threads;
    threads_ = 1; // this one, until all others have begun
    try {
        while (threads.size() < workers_) {
            {
                const std::lock_guard<std::mutex> lock(guard_);
                ++threads_;
            }
            threads.emplace_back([this] { work(); });
        }
    } catch (const std::system_error &error) { // fewer do it, too
        const std::lock_guard<std::mutex> lock(guard_);
        --threads_;
        if (threads.empty())
            throw tool_error(bad_output, std::string("no thread to be had (") + error.what() +
                                             "); --resume goes on");
    }
    {
        const std::lock_guard<std::mutex> lock(guard_);
        if (--threads_ == 0) done_.set();
    }
    int signal = 0;
    while (signal == 0 && !done_.is_set()) {
        signal = signals.wait_for(done_.handle(), progress_.patience());
        const std::lock_guard<std::mutex> lock(guard_);
        progress_.show(journal_.finished(), fitted_now_, failed_, false);
    }
    if (signal != 0) {
        stop_.set();
        wake_all();
    }
    for (std::thread &each : threads) each.join();
    progress_.show(journal_.finished(), fitted_now_, failed_, true);
    if (failure_) std::rethrow_exception(failure_);
    return signal;
}

} // namespace tools
