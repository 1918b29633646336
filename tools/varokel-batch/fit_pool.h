// SPDX-License-Identifier: BSD-3-Clause
// fit_pool.h -- fits the spectra of a shard on several threads
#pragma once

#include "varokel-batch/fit_order.h"
#include "varokel-batch/run_progress.h"
#include "varokel-batch/spectrum_fitter.h"

#include <condition_variable>
#include <exception>
#include <mutex>

namespace tools {

// Every spectrum is fitted from what the plan says alone, so the records are the same for any
// number of threads; the journal has them in the order in which they end.
class fit_pool {
  public:
    fit_pool(const fit_common &common, fit_order &order, shard_journal &journal, int workers,
             long long spectra);
    // Returns 0 when all are done, or the number of a signal that came; the fits at work are ended
    // then. Errors: those of the fits and of the journal.
    int run();
    long long fitted_now() const { return fitted_now_; }

  private:
    void work();
    void fit_until_done();
    void wake_all();

    const fit_common &common_;
    fit_order &order_;
    shard_journal &journal_;
    std::size_t workers_;
    run_progress progress_;
    stop_switch stop_, done_; // done_: the last thread has ended

    std::mutex guard_; // of everything below, of order and journal
    std::condition_variable changed_;
    std::exception_ptr failure_;
    long long failed_ = 0, fitted_now_ = 0;
    std::size_t running_ = 0, threads_ = 0;
};

} // namespace tools
