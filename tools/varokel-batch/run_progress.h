// SPDX-License-Identifier: BSD-3-Clause
// run_progress.h -- what a run says of itself while it works, and of its times at the end
#pragma once

#include <chrono>

namespace tools {

// A line on the terminal, written over again and again; nothing where there is no terminal.
class run_progress {
  public:
    explicit run_progress(long long total);
    // Seconds until it wants to be shown again.
    double patience() const { return terminal_ ? 0.5 : 3600.0; }
    void show(long long finished, long long fitted_now, long long failed, bool last);

  private:
    typedef std::chrono::steady_clock steady;
    long long total_;
    bool terminal_;
    steady::time_point begun_ = steady::now(), shown_ = begun_;
};

// The line of --times.
void show_times(long long fits, double wall_seconds);

} // namespace tools
