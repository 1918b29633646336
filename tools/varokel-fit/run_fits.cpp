// SPDX-License-Identifier: BSD-3-Clause
// run_fits.cpp -- the fitter as a program, each fit in a folder of its own
#include "varokel-fit/run_fits.h"

#include "files/base/own_files.h"
#include "files/base/tool_error.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static volatile std::sig_atomic_t interrupted = 0; // number of the last signal
static volatile std::sig_atomic_t interrupts = 0;

static void note_interrupt(int number) {
    interrupted = number;
    interrupts = interrupts + 1;
}

static void wake(int) {}

int interrupted_by() {
    return interrupted;
}

void watch_for_interrupts() {
    struct sigaction action = {};
    action.sa_handler = note_interrupt; // without SA_RESTART: waiting ends
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
}

// Holds back the signals that are watched, and those of children. Returns what was held before.
static sigset_t hold_signals() {
    sigset_t held, before;
    sigemptyset(&held);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &before);
    return before;
}

// Waits for the end of a process, or of any for -1. Returns 0 instead when more interrupts came
// than `known`. One that comes between the look at their count and the waiting is not lost: they
// are held back until the two are one step.
static pid_t wait_for(pid_t process, int &status, int known) {
    struct sigaction action = {}, of_children = {};
    action.sa_handler = wake; // an ignored signal would not end the waiting
    sigaction(SIGCHLD, &action, &of_children);
    const sigset_t before = hold_signals();
    pid_t ended = 0;
    while ((ended = waitpid(process, &status, WNOHANG)) == 0 && interrupts == known)
        sigsuspend(&before);
    const int reason = errno;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    sigaction(SIGCHLD, &of_children, nullptr);
    errno = reason;
    return ended;
}

static pid_t start_program(const program_call &call, unsigned limit) {
    std::vector<char *> words;
    for (const std::string &word : call.words) words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    const pid_t parent = getpid();
    // A signal that comes before the child has put away this program's handlers waits for that: it
    // would else be noted there and forgotten, and the fit would go on.
    const sigset_t before = hold_signals();
    const pid_t child = fork();
    const int reason = errno;
    if (child != 0) sigprocmask(SIG_SETMASK, &before, nullptr);
    if (child < 0)
        throw tool_error(bad_output, "no process for " + call.words.front() + " (" +
                                         std::strerror(reason) + ")");
    if (child > 0) return child;
    // Only calls that are safe between fork and exec.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGHUP, SIG_DFL);
    restore_ignored_signals();
    sigprocmask(SIG_SETMASK, &before, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL); // however this process ends, its fits end with it
    if (getppid() != parent) _exit(127);
    const int input = open("/dev/null", O_RDONLY);
    if (chdir(call.folder.c_str()) != 0) _exit(127);
    const int log = open(call.log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (input < 0 || log < 0) _exit(127);
    dup2(input, STDIN_FILENO);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    alarm(limit); // lasts over the start of the program; 0 is none
    execv(words.front(), words.data());
    _exit(127);
}

static int exit_status_of(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int run_program(const program_call &call) {
    const pid_t child = start_program(call, 0);
    int status = 0, known = 0;
    for (;;) {
        const pid_t ended = wait_for(child, status, known);
        if (ended > 0) return exit_status_of(status);
        if (ended < 0) return 127;
        known = interrupts;
        kill(child, SIGTERM);
    }
}

static void append(const std::string &file, const std::string &text) {
    std::ofstream stream(file, std::ios::app);
    stream << text << '\n';
}

static std::string log_of(const planned_fit &fit) {
    return (fs::path(fit.folder) / "run.log").string();
}

// The last words of a log, where a run without results says why.
static void explain_end(const planned_fit &fit, int status, unsigned limit) {
    if (status == 0) return;
    std::string text = "the program ended with status " + std::to_string(status);
    if (status == 127) text = "the program could not be started";
    if (status == 128 + SIGALRM && limit > 0)
        text = "the fit was stopped after its limit of " + std::to_string(limit) + " s";
    else if (status > 128 && status < 128 + 65)
        text = "the program was ended by signal " + std::to_string(status - 128) + " (" +
               strsignal(status - 128) + ")";
    append(log_of(fit), text);
}

void run_fits(const std::string &program, const std::vector<planned_fit> &fits, int jobs,
              unsigned limit,
              void (*done)(const planned_fit &fit, std::size_t number, std::size_t of)) {
    std::map<pid_t, std::size_t> running;
    std::vector<bool> ended(fits.size(), false);
    std::size_t next = 0, told = 0;
    int known = 0; // interrupts that the running fits were told of
    while (told < fits.size()) {
        while (next < fits.size() && static_cast<int>(running.size()) < jobs && interrupted == 0) {
            const planned_fit &fit = fits[next];
            if (fit.why_not.empty()) {
                const program_call call = {
                    {program, ".", fit.name + ".bin", "start.par"}, fit.folder, "run.log"};
                running[start_program(call, limit)] = next;
            } else {
                append(log_of(fit), fit.why_not);
                ended[next] = true;
            }
            ++next;
        }
        if (!running.empty()) {
            int status = 0;
            const pid_t child = wait_for(-1, status, known);
            if (child == 0) {
                known = interrupts;
                for (const auto &[process, fit] : running) kill(process, SIGTERM);
                continue;
            }
            const auto at = running.find(child);
            if (at != running.end()) {
                if (interrupted == 0) explain_end(fits[at->second], exit_status_of(status), limit);
                ended[at->second] = true;
                running.erase(at);
            }
        }
        if (interrupted != 0 && running.empty())
            throw tool_error(different, "interrupted; nothing was written");
        for (; told < fits.size() && ended[told]; ++told) done(fits[told], told + 1, fits.size());
    }
}

} // namespace tools
