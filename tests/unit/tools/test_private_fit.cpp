// SPDX-License-Identifier: BSD-3-Clause
// One search in a folder of its own: how it is begun, and why it has no results.
#include "varokel-batch/private_fit.h"

#include "files/base/tool_error.h"
#include "files/results/fit_log.h"
#include "files/start/read_start_file.h"

#include "support/refusal.h"
#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class private_fit : public testing::Test {
  protected:
    private_fit() { fs::create_directory(setting_.patterns); }
    static tools::start_file one_line() {
        tools::start_file start;
        start.points = 4;
        start.lines = 1;
        start.entries.resize(1);
        start.steps.resize(1);
        start.steps[0].points = 4;
        start.steps[0].switches[tools::fit_areas] = 1;
        start.steps[0].intervals = {{0, 3}};
        return start;
    }
    void fitter(const std::string &script) const {
        support::write_file(setting_.program, "#!/bin/sh\n" + script + "\n");
        fs::permissions(setting_.program, fs::perms::owner_all);
    }
    void fill() const { tools::fill_fit_folder(setting_, folder_, "points", "start"); }
    // A log with this text, as start_fit leaves one.
    static tools::file_descriptor log_with(const std::string &text) {
        tools::file_descriptor log(memfd_create("log", MFD_CLOEXEC));
        EXPECT_EQ(write(log.number(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
        return log;
    }
    static std::string text_of(const tools::file_descriptor &log) {
        std::string text(1 << 20, '\0');
        const ssize_t count = pread(log.number(), text.data(), text.size(), 0);
        text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return text;
    }
    // Of a fit that left no results; a status as waitpid has it.
    tools::harvest harvested(const std::string &log, int status, double killed_after = 0.0) const {
        tools::harvest found =
            tools::harvest_fit(setting_, folder_, log_with(log), 17, status, killed_after, false);
        EXPECT_EQ(found.record.line, 17);
        EXPECT_EQ(found.record.state, tools::fit_state::failed);
        return found;
    }
    static constexpr int exited(int status) { return status << 8; }

    support::temporary_folder place_;
    std::string folder_ = place_.file("fit");
    tools::fit_setting setting_ = {
        place_.file("fitter"), place_.file("patterns"), {}, tools::curve_measure(one_line())};
};

} // namespace

TEST_F(private_fit, has_its_files_and_links_to_the_patterns_and_nobody_else_may_enter) {
    setting_.pattern_files = {"one.pat", "two.bin"};
    for (const std::string &name : setting_.pattern_files)
        support::write_file(setting_.patterns + "/" + name, "of " + name);
    fill();
    EXPECT_EQ(support::read_file(folder_ + "/spectrum.bin"), "points");
    EXPECT_EQ(support::read_file(folder_ + "/start.par"), "start");
    for (const std::string &name : setting_.pattern_files)
        EXPECT_EQ(support::read_file(folder_ + "/" + name), "of " + name);
    EXPECT_EQ(fs::status(folder_).permissions(), fs::perms::owner_all);
    tools::remove_fit(folder_);
    EXPECT_FALSE(fs::exists(folder_));
    EXPECT_TRUE(fs::exists(setting_.patterns + "/one.pat")) << "links are not followed";
    tools::remove_fit(folder_); // nothing there: no error
}

TEST_F(private_fit, a_place_that_is_taken_or_missing_is_refused) {
    fs::create_directory(folder_);
    EXPECT_EQ(support::refusal_of(tools::bad_output, [&] { fill(); })
                  .find(folder_ + ": cannot be written (File exists)"),
              0U);
    folder_ = place_.file("missing/fit");
    EXPECT_EQ(support::refusal_of(tools::bad_output, [&] { fill(); })
                  .find(folder_ + ": cannot be written (No such file"),
              0U);
    folder_ = place_.file("fit2");
    setting_.pattern_files = {"start.par"}; // of the name of a file that is there
    EXPECT_EQ(support::refusal_of(tools::bad_output, [&] { fill(); })
                  .find(folder_ + "/start.par: cannot be written"),
              0U);
}

TEST_F(private_fit, runs_in_its_folder_and_group_without_input_and_prints_into_the_log) {
    fitter("echo \"$*\"; pwd -P; cat; echo wrong >&2; ps -o pgid= -p $$ | tr -d ' '; exit 5");
    fill();
    const tools::started_fit started = tools::start_fit(setting_, folder_);
    int status = 0;
    ASSERT_EQ(waitpid(started.process, &status, 0), started.process);
    EXPECT_EQ(status, exited(5));
    EXPECT_EQ(text_of(started.log), ". spectrum.bin start.par\n" + fs::canonical(folder_).string() +
                                        "\nwrong\n" + std::to_string(started.process) + "\n");
}

// Whatever the batch reads and blocks, and however it takes a closed pipe and a file that is too
// large.
TEST_F(private_fit, begins_with_nothing_to_read_and_the_usual_signals) {
    fitter("cat; grep '^SigIgn' /proc/self/status");
    fill();
    const auto fitted = [&] {
        const tools::started_fit started = tools::start_fit(setting_, folder_);
        waitpid(started.process, nullptr, 0);
        return text_of(started.log);
    };
    const std::string usual = fitted();
    const tools::file_descriptor own(dup(STDIN_FILENO)), text = log_with("of the batch\n");
    lseek(text.number(), 0, SEEK_SET);
    dup2(text.number(), STDIN_FILENO);
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto pipe_was = std::signal(SIGPIPE, SIG_IGN), size_was = std::signal(SIGXFSZ, SIG_IGN);
    const std::string said = fitted();
    // a shell blocks nothing by itself: the state of a program that shows the files it is given
    setting_.program = "/bin/cat";
    fs::remove(folder_ + "/start.par");
    fs::create_symlink("/proc/self/status", folder_ + "/start.par");
    const std::string state = fitted();
    std::signal(SIGPIPE, pipe_was);
    std::signal(SIGXFSZ, size_was);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    dup2(own.number(), STDIN_FILENO);
    EXPECT_EQ(said, usual);
    EXPECT_EQ(said.find("SigIgn:"), 0U) << said;
    EXPECT_NE(state.find("\nSigBlk:\t0000000000000000\n"), std::string::npos) << state;
}

// Once it runs, and also when the batch is gone before it could ask to be told of that.
TEST_F(private_fit, ends_when_the_batch_does) {
    fitter(": >begun; exec sleep 30");
    fill();
    for (const bool runs : {true, false}) {
        int ends[2]; // which the fit holds open while it runs
        ASSERT_EQ(pipe(ends), 0);
        const pid_t batch = fork();
        if (batch == 0) {
            tools::start_fit(setting_, folder_);
            for (int k = 0; runs && k < 20000 && !fs::exists(folder_ + "/begun"); ++k) usleep(1000);
            _exit(0);
        }
        close(ends[1]);
        waitpid(batch, nullptr, 0);
        pollfd end = {ends[0], POLLIN, 0};
        EXPECT_EQ(poll(&end, 1, 20000), 1) << "it goes on, " << runs;
        close(ends[0]);
    }
}

TEST_F(private_fit, a_program_or_folder_that_is_not_there_ends_with_127) {
    fill();
    int status = 0;
    waitpid(tools::start_fit(setting_, folder_).process, &status, 0);
    EXPECT_EQ(status, exited(127));
    fitter("exit 0");
    waitpid(tools::start_fit(setting_, place_.file("missing")).process, &status, 0);
    EXPECT_EQ(status, exited(127));
}

// What is no fault of the spectrum is said apart: a batch ends then.
TEST_F(private_fit, that_could_not_begin_or_write_is_no_fault_of_the_spectrum) {
    fill();
    tools::harvest found = harvested("", exited(127));
    EXPECT_EQ(found.record.reason, "the program could not be started");
    EXPECT_EQ(found.no_place, setting_.program + ": cannot be started");
    for (const std::string words : {"error in writing file", "Could not open output file"}) {
        found = harvested("begin\n" + words + " data.mat\n", exited(0));
        EXPECT_EQ(found.record.reason, "the fit could not write its results");
        EXPECT_EQ(found.no_place.find(folder_ + ": the fit could not write its results there ("),
                  0U);
        EXPECT_NE(found.no_place.find(words + " data.mat"), std::string::npos);
    }
}

TEST_F(private_fit, that_ended_without_results_says_how) {
    fill();
    const auto reason = [&](const std::string &log, int status, double killed_after = 0.0) {
        const tools::harvest found = harvested(log, status, killed_after);
        EXPECT_EQ(found.no_place, "") << log;
        return found.record.reason;
    };
    EXPECT_EQ(reason("", SIGKILL, 2.5), "no end within the limit of 2.5 s");
    EXPECT_EQ(reason("", SIGSEGV), "died of signal 11 (Segmentation fault): it printed nothing");
    EXPECT_EQ(reason("one\ntwo\n", exited(3)), "ended with exit status 3: one / two");
    EXPECT_EQ(reason("Spectrum is not fitted\n", exited(0)), "not fitted: Spectrum is not fitted");
    EXPECT_EQ(reason("x\n Program termination status 1\n", exited(0)),
              "not fitted: x / Program termination status 1");
    EXPECT_EQ(reason("done\n", exited(0)), "its .mat is missing or not whole: done");
}

TEST_F(private_fit, the_last_four_lines_that_say_something_are_its_last_words) {
    fill();
    EXPECT_EQ(harvested("zero\none\n\n  ****  \n*  two   words *\n\tthree\n \nfour", exited(1))
                  .record.reason,
              "ended with exit status 1: one / two words / three / four");
    EXPECT_EQ(harvested(" \n**\n", exited(1)).record.reason,
              "ended with exit status 1: it printed nothing");
}

TEST_F(private_fit, results_that_are_not_whole_name_the_file) {
    fill();
    const auto reason = [&] { return harvested("done\n", exited(0)).record.reason; };
    const auto give = [&](const std::string &ending, const std::string &text) {
        support::write_file(folder_ + "/spectrum" + ending, text);
    };
    const std::string five = "1.0\t2.0\t3.0\t4.0\t5.0\n";
    for (const std::string bad : {"", "1.0 2.0 3.0 4.0\n", "1.0 2.0 3.0 4.0 x\n",
                                  "1.0 2.0 3.0 4.0 5.0 6.0\n", "1.0 2.0 3.0 4.0 5.0"}) {
        give(".mat", bad);
        EXPECT_EQ(reason(), "its .mat is missing or not whole: done") << bad;
    }
    give(".mat", five);
    EXPECT_EQ(reason(), "its .err is missing or not whole: done");
    give(".err", five);
    EXPECT_EQ(reason(), "its .exl is missing or not whole: done");
    const std::string figures = "a\nb\nc\n1 2 3 4 5 6 7 8 9 10\n";
    std::string row = "x";
    for (int column = 1; column < 19; ++column) row += "\t1";
    for (const std::string &bad :
         {std::string("a\nb\n"), std::string("a\nb\nc\n1 2 3\n"), figures,
          "a\nb\nc\n1 2 3 4 5 6 7 8 9\n" + row + "\n", figures + row.substr(2) + "\n",
          figures + row + "\n" + row + "\n", figures + row}) {
        give(".exl", bad);
        EXPECT_EQ(reason(), "its .exl is missing or not whole: done") << bad;
    }
    give(".exl", figures + row + "\n");
    for (const std::string bad : {"",
                                  "\n"
                                  "Number of parameters fitted 3",
                                  "some text\n"}) {
        give(".fitres", bad);
        EXPECT_EQ(reason(), "its .fitres is missing or not whole: done") << bad;
    }
    give(".fitres", "\n"
                    "Number of parameters fitted 3\n");
    give(".mat", "1.0\t2.0\tnan\t4.0\t5.0\n");
    EXPECT_EQ(reason(), "its results are no finite numbers");
    give(".mat", "1.0\t2.0\t1e999\t4.0\t5.0\n");
    EXPECT_EQ(reason(), "its results are no finite numbers");
}

// A fit by the program itself: every figure of the record is in the files or in the log that it
// left.
TEST_F(private_fit, with_results_is_recorded_from_its_files_and_its_log) {
    const support::temporary_folder here(true);
    support::write_small_fit({.verbose = 1});
    setting_.program = VAROKEL_PROGRAM;
    setting_.measure = tools::curve_measure(tools::read_start_file("start.par"));
    tools::fill_fit_folder(setting_, folder_, support::read_file("data.bin"),
                           support::read_file("start.par"));
    const tools::started_fit started = tools::start_fit(setting_, folder_);
    int status = -1;
    waitpid(started.process, &status, 0);
    ASSERT_EQ(status, 0) << text_of(started.log);
    const auto numbers = [](const std::string &text) {
        std::istringstream in(text);
        return std::vector<double>(std::istream_iterator<double>(in), {});
    };
    const auto left = [&](const char *ending) {
        return support::read_file(folder_ + "/spectrum" + ending);
    };
    std::istringstream exl(left(".exl"));
    std::string line;
    for (int k = 0; k < 4; ++k) std::getline(exl, line);
    const std::vector<double> figures = numbers(line);
    ASSERT_EQ(figures.size(), 10U);
    // one step more, after which the log warns
    const std::string log = text_of(started.log) + "scaled chi-sqr: 1\nFit step performed\n" +
                            "something is not available\n";
    const auto steps = tools::read_fit_log(log).steps;
    ASSERT_EQ(steps.size(), 2U);
    ASSERT_NE(steps[0].gradients, 1);
    for (const bool with_fit : {false, true}) {
        const tools::harvest found =
            tools::harvest_fit(setting_, folder_, log_with(log), 17, status, 0.0, with_fit);
        const tools::fit_record &record = found.record;
        EXPECT_EQ(record.line, 17);
        EXPECT_EQ(record.state, tools::fit_state::fitted);
        EXPECT_EQ(record.values, numbers(left(".mat")));
        EXPECT_EQ(record.errors, numbers(left(".err")));
        EXPECT_EQ(found.fit, with_fit ? left(".fit") : "");
        for (std::size_t q = 0; q < 6; ++q) EXPECT_EQ(record.figures[q], figures[q]) << q;
        EXPECT_EQ(record.figures[6], figures[9]);
        EXPECT_EQ(record.iterations, figures[6]);
        EXPECT_EQ(record.weighting, figures[7]);
        EXPECT_EQ(record.free_parameters, figures[8]);
        EXPECT_EQ(record.gradients, 1);
        EXPECT_EQ(record.reason, "the program says: something is not available");
        EXPECT_GT(record.quality_before, record.figures[0]);
        EXPECT_GT(record.snr, 10.0);
        EXPECT_FALSE(record.correlations.empty());
        for (const double each : record.correlations) EXPECT_LE(std::fabs(each), 1.0);
    }
}
