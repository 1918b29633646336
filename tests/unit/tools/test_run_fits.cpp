// SPDX-License-Identifier: BSD-3-Clause
// Fits as processes: what they are started with, what is said of their end, how many at a time.
#include "varokel-fit/run_fits.h"

#include "files/base/tool_error.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <pthread.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// A fitter that is a shell script, and folders for its fits.
class fits : public testing::Test {
  protected:
    std::string fitter(const std::string &script) const {
        const std::string file = place_.file("fitter");
        support::write_file(file, "#!/bin/sh\n" + script + "\n");
        fs::permissions(file, fs::perms::owner_all);
        return file;
    }
    std::vector<tools::planned_fit> planned(int count) const {
        std::vector<tools::planned_fit> all;
        for (int k = 0; k < count; ++k) {
            const std::string name = "fit" + std::to_string(k);
            fs::create_directory(place_.file(name));
            all.push_back({place_.file(name), name, ""});
        }
        return all;
    }
    std::string log(int k) const {
        return support::read_file(place_.file("fit" + std::to_string(k) + "/run.log"));
    }
    // The log of one fit by this script.
    std::string log_of(const std::string &script, unsigned limit = 0) const {
        fs::remove_all(place_.file("fit0"));
        tools::run_fits(fitter(script), planned(1), 1, limit, ignore);
        return log(0);
    }
    static void ignore(const tools::planned_fit &, std::size_t, std::size_t) {}

    support::temporary_folder place_;
};

std::string told; // by `done`

void tell(const tools::planned_fit &fit, std::size_t number, std::size_t of) {
    told += fit.name + " " + std::to_string(number) + "/" + std::to_string(of) + "\n";
}

} // namespace

TEST_F(fits, a_fit_runs_in_its_folder_without_input_and_both_outputs_go_to_the_log) {
    const std::string said = log_of("echo \"$*\"; pwd -P; cat; echo wrong >&2");
    const std::string folder = fs::canonical(place_.file("fit0")).string();
    EXPECT_EQ(said, ". fit0.bin start.par\n" + folder + "\nwrong\n");
}

TEST_F(fits, an_end_without_results_is_explained_at_the_end_of_the_log) {
    EXPECT_EQ(log_of("echo fine"), "fine\n");
    EXPECT_EQ(log_of("echo words; exit 3"), "words\nthe program ended with status 3\n");
    EXPECT_EQ(log_of("exit 127"), "the program could not be started\n");
    EXPECT_EQ(log_of("kill -9 $$"), "the program was ended by signal 9 (Killed)\n");
    EXPECT_EQ(log_of("kill -14 $$"), "the program was ended by signal 14 (Alarm clock)\n");
    EXPECT_EQ(log_of("exit 200"), "the program ended with status 200\n");
}

TEST_F(fits, a_program_that_is_not_there_is_said_in_the_log) {
    tools::run_fits(place_.file("missing"), planned(1), 1, 0, ignore);
    EXPECT_EQ(log(0), "the program could not be started\n");
}

TEST_F(fits, a_fit_is_stopped_at_its_limit_and_not_before) {
    EXPECT_EQ(log_of("exec sleep 30", 1), "the fit was stopped after its limit of 1 s\n");
    EXPECT_EQ(log_of("echo fine", 600), "fine\n");
}

TEST_F(fits, a_fit_without_a_start_file_is_not_run_and_its_log_says_why) {
    std::vector<tools::planned_fit> all = planned(3);
    all[1].why_not = "no peak was found";
    told.clear();
    tools::run_fits(fitter("echo ran"), all, 2, 0, tell);
    EXPECT_EQ(log(0), "ran\n");
    EXPECT_EQ(log(1), "no peak was found\n");
    EXPECT_EQ(log(2), "ran\n");
    EXPECT_EQ(told, "fit0 1/3\nfit1 2/3\nfit2 3/3\n");
}

// The first takes longest; who begins and ends writes a line.
TEST_F(fits, as_many_run_at_a_time_as_jobs_say_and_are_told_in_their_order) {
    for (const int jobs : {1, 3}) {
        const support::temporary_folder own;
        const std::string events = own.file("events");
        for (int k = 0; k < 6; ++k) fs::remove_all(place_.file("fit" + std::to_string(k)));
        told.clear();
        tools::run_fits(fitter("echo begin >>" + events + "\n[ $2 = fit0.bin ] && sleep 0.3\n" +
                               "sleep 0.1\necho end >>" + events),
                        planned(6), jobs, 0, tell);
        EXPECT_EQ(told, "fit0 1/6\nfit1 2/6\nfit2 3/6\nfit3 4/6\nfit4 5/6\nfit5 6/6\n");
        std::istringstream lines(support::read_file(events));
        int now = 0, most = 0, all = 0;
        for (std::string line; std::getline(lines, line); ++all) {
            now += line == "begin" ? 1 : -1;
            most = std::max(most, now);
        }
        EXPECT_EQ(all, 12);
        EXPECT_LE(most, jobs);
        EXPECT_EQ(most > 1, jobs > 1);
    }
}

TEST_F(fits, a_program_that_is_run_alone_gives_its_status) {
    const auto status = [&](const std::string &script) {
        return tools::run_program({{fitter(script), "a b", "c"}, place_.name(), "log"});
    };
    EXPECT_EQ(status("printf '%s|' \"$@\""), 0);
    EXPECT_EQ(support::read_file(place_.file("log")), "a b|c|");
    EXPECT_EQ(status("exit 5"), 5);
    EXPECT_EQ(status("kill -15 $$"), 128 + 15);
    EXPECT_EQ(tools::run_program({{place_.file("missing")}, place_.name(), "log"}), 127);
    EXPECT_EQ(tools::run_program({{fitter("exit 0")}, place_.file("missing"), "log"}), 127);
    EXPECT_EQ(tools::run_program({{fitter("exit 0")}, place_.name(), "missing/log"}), 127);
}

bool child_signals_itself = false;

// A fit that was begun a moment ago has still the handlers of the program that began it.
TEST_F(fits, a_signal_that_comes_before_the_fitter_is_started_is_not_lost) {
    pthread_atfork(nullptr, nullptr, [] {
        if (child_signals_itself) raise(SIGTERM);
    });
    EXPECT_EXIT(
        {
            tools::watch_for_interrupts();
            child_signals_itself = true;
            std::exit(
                log_of("echo ran") == "the program was ended by signal 15 (Terminated)\n" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

void end_program(const tools::planned_fit &, std::size_t, std::size_t) {
    raise(SIGTERM);
}

// The signal comes while the program does something else than wait, and another fit still runs.
TEST_F(fits, a_signal_between_two_ends_is_not_lost) {
    const std::vector<tools::planned_fit> all = planned(2);
    support::write_file(all[1].folder + "/slow", "");
    const std::string file = fitter("if [ -e slow ]; then exec sleep 60; fi");
    EXPECT_EXIT(
        {
            tools::watch_for_interrupts();
            alarm(30); // else it hangs for a minute
            try {
                tools::run_fits(file, all, 2, 0, end_program);
            } catch (const tools::tool_error &) {
                std::exit(tools::interrupted_by());
            }
            std::exit(98);
        },
        testing::ExitedWithCode(SIGTERM), "");
}

// The fit signals the program that started it and would then go on for a minute.
TEST_F(fits, a_signal_ends_the_fits_and_then_the_program) {
    const std::string file = fitter("sleep 0.3; kill -$SIGNAL $PPID; exec sleep 60");
    const std::vector<tools::planned_fit> all = planned(3);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        setenv("SIGNAL", std::to_string(number).c_str(), 1);
        EXPECT_EXIT(
            {
                tools::watch_for_interrupts();
                alarm(30); // else it hangs for a minute
                try {
                    tools::run_fits(file, all, 2, 0, ignore);
                } catch (const tools::tool_error &error) {
                    const bool as_said =
                        error.status() == tools::different &&
                        std::string(error.what()) == "interrupted; nothing was written" &&
                        !fs::exists(all[2].folder + "/run.log");
                    std::exit(as_said ? tools::interrupted_by() : 99);
                }
                std::exit(98);
            },
            testing::ExitedWithCode(number), "");
    }
    unsetenv("SIGNAL");
}
