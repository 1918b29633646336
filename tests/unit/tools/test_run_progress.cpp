// SPDX-License-Identifier: BSD-3-Clause
// What a run says on a terminal, and of its times.
#include "varokel-batch/run_progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using steady = std::chrono::steady_clock;

double since(steady::time_point then) {
    return std::chrono::duration<double>(steady::now() - then).count();
}

// Standard error is a terminal until the end of the block.
class own_terminal {
  public:
    own_terminal() : ours_(posix_openpt(O_RDWR | O_NOCTTY)), before_(dup(STDERR_FILENO)) {
        if (ours_ < 0 || grantpt(ours_) != 0 || unlockpt(ours_) != 0) return;
        const int theirs = open(ptsname(ours_), O_RDWR | O_NOCTTY);
        if (theirs < 0) return;
        dup2(theirs, STDERR_FILENO);
        close(theirs);
    }
    ~own_terminal() {
        dup2(before_, STDERR_FILENO);
        close(before_);
        close(ours_);
    }
    own_terminal(const own_terminal &) = delete;
    own_terminal &operator=(const own_terminal &) = delete;

    bool is_there() const { return isatty(STDERR_FILENO) != 0; }
    // What was written to it since.
    std::string text() const {
        std::string all;
        struct pollfd ready = {ours_, POLLIN, 0};
        char piece[256];
        while (poll(&ready, 1, 0) == 1) {
            const ssize_t count = read(ours_, piece, sizeof piece);
            if (count <= 0) break;
            all.append(piece, static_cast<std::size_t>(count));
        }
        return all;
    }

  private:
    int ours_, before_;
};

void wait_for(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// Rate and time left of a line as it is written while a run works [fits/s], [s].
struct shown {
    long long finished = 0, of = 0;
    double rate = 0.0;
    long long left = 0; // in minutes with hours, else in seconds
    std::string end;
};

shown words_of(const std::string &line, bool hours) {
    shown now;
    long long large = 0, small = 0;
    int length = 0;
    const char *const words = hours ? "\r%lld of %lld spectra, %lf fits/s, %lld h %lld min left%n"
                                    : "\r%lld of %lld spectra, %lf fits/s, %lld min %lld s left%n";
    EXPECT_EQ(std::sscanf(line.c_str(), words, &now.finished, &now.of, &now.rate, &large, &small,
                          &length),
              5)
        << line;
    EXPECT_GT(length, 0) << line;
    EXPECT_LT(small, 60) << line;
    now.left = 60 * large + small;
    now.end = line.substr(static_cast<std::size_t>(length));
    return now;
}

} // namespace

TEST(run_progress, says_nothing_where_there_is_no_terminal) {
    testing::internal::CaptureStderr(); // a file
    tools::run_progress progress(10);
    EXPECT_EQ(progress.patience(), 3600.0);
    progress.show(10, 10, 0, true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// The rate counts what this run fitted, the time left what is left of all.
TEST(run_progress, says_twice_a_second_how_far_it_is) {
    const own_terminal terminal;
    if (!terminal.is_there()) GTEST_SKIP() << "no terminal can be made here";
    const auto begun = steady::now();
    tools::run_progress progress(500);
    const auto made = steady::now();
    EXPECT_EQ(progress.patience(), 0.5);
    progress.show(400, 0, 0, false);
    if (since(begun) < 0.5) {
        EXPECT_EQ(terminal.text(), "") << "too early";
    }
    wait_for(0.55);
    const double before = since(made), shown_at = since(begun);
    progress.show(403, 3, 0, false);
    const double after = since(begun);
    const shown now = words_of(terminal.text(), false);
    EXPECT_EQ(now.finished, 403);
    EXPECT_EQ(now.of, 500);
    EXPECT_LE(now.rate, 3.0 / before + 0.06); // one digit behind the point
    EXPECT_GE(now.rate, 3.0 / after - 0.06);
    EXPECT_LE(static_cast<double>(now.left), 97.0 / 3.0 * after);
    EXPECT_GE(static_cast<double>(now.left), 97.0 / 3.0 * before - 1.0);
    EXPECT_EQ(now.end, "\x1b[K") << "what was longer before is wiped out";
    progress.show(404, 4, 0, false);
    if (since(begun) < shown_at + 0.5) {
        EXPECT_EQ(terminal.text(), "") << "half a second apart";
    }
}

TEST(run_progress, long_runs_are_said_in_hours_and_failures_are_counted) {
    const own_terminal terminal;
    if (!terminal.is_there()) GTEST_SKIP() << "no terminal can be made here";
    const auto begun = steady::now();
    tools::run_progress progress(1000000);
    const auto made = steady::now();
    wait_for(0.55);
    const double before = since(made);
    progress.show(100, 100, 7, false);
    const double after = since(begun);
    const shown now = words_of(terminal.text(), true);
    EXPECT_LE(static_cast<double>(now.left), 9999.0 * after / 60.0);
    EXPECT_GE(static_cast<double>(now.left), 9999.0 * before / 60.0 - 1.0);
    EXPECT_EQ(now.end, ", 7 failed\x1b[K");
}

TEST(run_progress, nothing_fitted_yet_has_no_rate_and_no_end) {
    const own_terminal terminal;
    if (!terminal.is_there()) GTEST_SKIP() << "no terminal can be made here";
    tools::run_progress progress(1000000);
    wait_for(0.55);
    progress.show(5, 0, 0, false);
    EXPECT_EQ(terminal.text(), "\r5 of 1000000 spectra, 0.0 fits/s, 0 min 00 s left\x1b[K");
}

TEST(run_progress, the_last_line_stays_and_says_how_long_it_took) {
    const own_terminal terminal;
    if (!terminal.is_there()) GTEST_SKIP() << "no terminal can be made here";
    const auto begun = steady::now();
    tools::run_progress progress(20);
    const auto made = steady::now();
    wait_for(0.2);
    const double before = since(made);
    progress.show(20, 20, 1, true); // though half a second has not gone
    const double after = since(begun);
    const std::string line = terminal.text();
    double rate = 0.0, seconds = 0.0;
    int length = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "\r20 of 20 spectra, %lf fits/s, %lf s%n", &rate, &seconds,
                          &length),
              2)
        << line;
    EXPECT_GE(seconds, before - 0.06);
    EXPECT_LE(seconds, after + 0.06);
    EXPECT_EQ(line.substr(static_cast<std::size_t>(length)), ", 1 failed\x1b[K\r\n");
}

// Held against the clock of the C library and the child's own; a block of 64 MiB is touched.
TEST(run_progress, times_are_those_of_this_process_and_of_its_searches) {
    const auto work = [](double seconds) {
        const std::clock_t begun = std::clock();
        volatile double sum = 0.0;
        while (static_cast<double>(std::clock() - begun) < seconds * CLOCKS_PER_SEC)
            for (int i = 0; i < 1000; ++i) sum = sum + std::sqrt(static_cast<double>(i));
    };
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        work(0.3);
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    work(0.1);
    std::vector<char> block(std::size_t{1} << 26, 1);
    EXPECT_EQ(block.back(), 1);
    const double before = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
    testing::internal::CaptureStderr();
    tools::show_times(4, 12.5);
    const std::string line = testing::internal::GetCapturedStderr();
    const double after = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
    double wall = 0.0, searches = 0.0, each = 0.0, own = 0.0, own_each = 0.0;
    long kilobytes = 0;
    ASSERT_EQ(std::sscanf(line.c_str(),
                          "varokel-batch: 4 fits in %lf s; CPU of searches %lf s (%lf ms each), "
                          "own %lf s (%lf ms a fit); own peak memory %ld kB",
                          &wall, &searches, &each, &own, &own_each, &kilobytes),
              6)
        << line;
    EXPECT_EQ(wall, 12.5);
    EXPECT_GE(searches, 0.29);
    EXPECT_LT(searches, 0.5);
    EXPECT_NEAR(each, 250.0 * searches, 250.0 * 0.006); // two digits behind the point
    EXPECT_GE(own, before - 0.02);
    EXPECT_LE(own, after + 0.02);
    EXPECT_NEAR(own_each, 250.0 * own, 250.0 * 0.02);
    EXPECT_GE(kilobytes, 1 << 16);
    EXPECT_EQ(line.back(), '\n');
}

TEST(run_progress, times_of_no_fit_are_no_division_by_0) {
    testing::internal::CaptureStderr();
    tools::show_times(0, 0.0);
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_EQ(line.find("varokel-batch: 0 fits in 0.00 s; "), 0u) << line;
    EXPECT_EQ(line.find("inf"), line.npos) << line;
    EXPECT_EQ(line.find("nan"), line.npos) << line;
}
