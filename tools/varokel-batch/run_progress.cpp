// SPDX-License-Identifier: BSD-3-Clause
// run_progress.cpp -- what a run says of itself while it works, and of its times at the end
#include "varokel-batch/run_progress.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

namespace tools {

run_progress::run_progress(long long total)
    : total_(total), terminal_(isatty(STDERR_FILENO) != 0) {}

void run_progress::show(long long finished, long long fitted_now, long long failed, bool last) {
    const auto since = [](steady::time_point then) {
        return std::chrono::duration<double>(steady::now() - then).count();
    };
    if (!terminal_ || (!last && since(shown_) < 0.5)) return;
    shown_ = steady::now();
    const double rate = static_cast<double>(fitted_now) / std::max(since(begun_), 1e-3);
    char text[160];
    std::snprintf(text, sizeof text, "\r%lld of %lld spectra, %.1f fits/s, ", finished, total_,
                  rate);
    std::cerr << text;
    const auto left =
        static_cast<long long>(rate > 0.0 ? static_cast<double>(total_ - finished) / rate : 0.0);
    if (last)
        std::snprintf(text, sizeof text, "%.1f s", since(begun_));
    else if (left >= 3600)
        std::snprintf(text, sizeof text, "%lld h %02lld min left", left / 3600, left / 60 % 60);
    else
        std::snprintf(text, sizeof text, "%lld min %02lld s left", left / 60, left % 60);
    std::cerr << text << (failed > 0 ? ", " + std::to_string(failed) + " failed" : "") << "\x1b[K"
              << (last ? "\n" : "") << std::flush;
}

static double cpu_seconds(int who) {
    struct rusage usage = {};
    getrusage(who, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

void show_times(long long fits, double wall_seconds) {
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    char text[240];
    const double count = static_cast<double>(std::max(fits, 1LL));
    std::snprintf(text, sizeof text,
                  "varokel-batch: %lld fits in %.2f s; CPU of searches %.2f s (%.3f ms each), own "
                  "%.2f s (%.3f ms a fit); own peak memory %ld kB\n",
                  fits, wall_seconds, cpu_seconds(RUSAGE_CHILDREN),
                  1e3 * cpu_seconds(RUSAGE_CHILDREN) / count, cpu_seconds(RUSAGE_SELF),
                  1e3 * cpu_seconds(RUSAGE_SELF) / count, usage.ru_maxrss);
    std::cerr << text;
}

} // namespace tools
