// SPDX-License-Identifier: BSD-3-Clause
// ended_at_call.cpp -- ends a program without warning before one of the calls that change files
//
// ended_at_call N PROGRAM [ARGUMENT...]: PROGRAM gets SIGKILL when it is about to make its Nth call
// of those below, in whichever thread; the call is not made. What it had started goes on to its own
// end, and is waited for. Status 137 then; that of PROGRAM when it made fewer calls; 77 when the
// system does not let one process watch another.
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr int cannot_watch = 77;

// Calls that make, change, rename or remove something, whatever their arguments.
static const long changing_calls[] = {
#ifdef SYS_mkdir // these have later forms alone on newer processors
    SYS_mkdir,     SYS_rmdir,           SYS_unlink,    SYS_rename, SYS_link,      SYS_symlink,
    SYS_chmod,     SYS_renameat,
#endif
    SYS_mkdirat,   SYS_unlinkat,        SYS_renameat2, SYS_linkat, SYS_symlinkat, SYS_fchmod,
    SYS_fchmodat,  SYS_ftruncate,       SYS_pwrite64,  SYS_writev, SYS_pwritev,   SYS_fallocate,
    SYS_utimensat, SYS_copy_file_range, SYS_sendfile,  SYS_flock};

// Everything else goes its way without a stop: a fit makes few of these calls among many others.
static std::vector<sock_filter> filter_of_calls() {
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    const auto add = [&](unsigned short code, unsigned int value, unsigned char yes,
                         unsigned char no) {
        filter.push_back(
            BPF_JUMP(static_cast<unsigned short>(BPF_JMP | code | BPF_K), value, yes, no));
    };
    const sock_filter stop = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE);
    const sock_filter go = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    const auto load = [&](std::size_t argument) {
        filter.push_back(
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
                     static_cast<unsigned int>(offsetof(seccomp_data, args) + 8 * argument)));
    };
    for (const long call : changing_calls) {
        add(BPF_JEQ, static_cast<unsigned int>(call), 0, 1);
        filter.push_back(stop);
    }
    add(BPF_JEQ, SYS_write, 0, 4); // not to the terminal
    load(0);
    add(BPF_JGT, 2, 0, 1);
    filter.push_back(stop);
    filter.push_back(go);
    add(BPF_JEQ, SYS_openat, 0, 4); // not to read
    load(2);
    add(BPF_JSET, O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY), 0, 1);
    filter.push_back(stop);
    filter.push_back(go);
#ifdef SYS_open
    add(BPF_JEQ, SYS_open, 0, 4);
    load(1);
    add(BPF_JSET, O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY), 0, 1);
    filter.push_back(stop);
    filter.push_back(go);
#endif
    filter.push_back(go);
    return filter;
}

[[noreturn]] static void become(char *const *words) {
    std::vector<sock_filter> filter = filter_of_calls();
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(cannot_watch);
    raise(SIGSTOP); // until the other one has said what it wants to see
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(cannot_watch);
    execvp(words[0], words);
    std::perror(words[0]);
    _exit(127);
}

static bool is_thread_of(pid_t thread, pid_t process) {
    return access(("/proc/" + std::to_string(process) + "/task/" + std::to_string(thread)).c_str(),
                  F_OK) == 0;
}

// Runs all there is to its end; the status of the program, as the shell gives it.
static int watch(pid_t program, long end_at) {
    long calls = 0;
    int ended = cannot_watch, status = 0;
    for (;;) {
        const pid_t thread = waitpid(-1, &status, __WALL);
        if (thread < 0 && errno == EINTR) continue;
        if (thread < 0) return ended; // nobody is left
        if (!WIFSTOPPED(status)) {
            if (thread == program)
                ended = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            continue;
        }
        const int event = status >> 16;
        if (event == PTRACE_EVENT_SECCOMP && is_thread_of(thread, program) && ++calls == end_at)
            kill(program, SIGKILL);
        // a thread or process that begins stops once; no program here stops another
        const int signal = WSTOPSIG(status);
        const bool hand_on = event == 0 && signal != SIGSTOP && signal != SIGTRAP;
        ptrace(PTRACE_CONT, thread, nullptr, hand_on ? signal : 0);
    }
}

int main(int count, char **words) {
    const long end_at = count > 2 ? std::strtol(words[1], nullptr, 10) : 0;
    if (end_at <= 0) {
        std::fputs("ended_at_call: expected N PROGRAM [ARGUMENT...], N from 1\n", stderr);
        return 2;
    }
    const pid_t program = fork();
    if (program == 0) become(words + 2);
    int status = 0;
    if (program < 0 || waitpid(program, &status, 0) != program) return cannot_watch;
    if (!WIFSTOPPED(status)) return WIFEXITED(status) ? WEXITSTATUS(status) : cannot_watch;
    const long what = PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                      PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL;
    if (ptrace(PTRACE_SETOPTIONS, program, nullptr, what) != 0) {
        kill(program, SIGKILL);
        return cannot_watch;
    }
    ptrace(PTRACE_CONT, program, nullptr, 0);
    return watch(program, end_at);
}
