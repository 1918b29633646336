// SPDX-License-Identifier: BSD-3-Clause
// own_list.cpp -- what this process made and must take away, in a form that signal handlers can
// walk
#include "files/base/own_list.h"

#include "files/base/own_files.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tools {

static constexpr int deepest_folder = 32;
static constexpr const char *owner_file = ".owner"; // of an own_folder
static constexpr int most_waits = 2000;             // of 1 ms, for the list

// One on the list. The list is walked by handlers, so it is changed only while no signal can come.
struct own_slot {
    std::string name;
    std::uint64_t device, inode;
    bool only_empty;
    pid_t process; // a child that was forked must not remove what its parent made
    own_slot *next, *before;
};

static own_slot *first_slot = nullptr;
static std::atomic_flag list_taken = ATOMIC_FLAG_INIT;

held_signals::held_signals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
}

held_signals::~held_signals() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

// A thread that has the list takes no signals, so a handler that waits for it is in another thread.
class list_lock {
  public:
    list_lock() {
        while (list_taken.test_and_set(std::memory_order_acquire)) {
        }
    }
    list_lock(const list_lock &) = delete;
    list_lock &operator=(const list_lock &) = delete;
    ~list_lock() { list_taken.clear(std::memory_order_release); }

  private:
    held_signals no_signals_;
};

void *list_own(const std::string &name, std::uint64_t device, std::uint64_t inode,
               bool only_empty) {
    auto *const slot = new own_slot{name, device, inode, only_empty, getpid(), nullptr, nullptr};
    const list_lock lock;
    slot->next = first_slot;
    if (first_slot != nullptr) first_slot->before = slot;
    first_slot = slot;
    return slot;
}

static void unlist(own_slot *slot) {
    if (slot->before != nullptr) slot->before->next = slot->next;
    if (slot->next != nullptr) slot->next->before = slot->before;
    if (first_slot == slot) first_slot = slot->next;
}

void forget_own(void *listed) noexcept {
    auto *const slot = static_cast<own_slot *>(listed);
    {
        const list_lock lock;
        unlist(slot);
    }
    delete slot;
}

void remove_own(void *listed) noexcept {
    const auto *const slot = static_cast<own_slot *>(listed);
    if (slot->process == getpid())
        remove_tree(slot->name.c_str(), slot->device, slot->inode, slot->only_empty);
    forget_own(listed);
}

// As getdents64 of the kernel has an entry; glibc's own reader takes storage, which handlers must
// not.
struct kernel_entry {
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short size;
    unsigned char type;
    char name[1];
};

static bool remove_entries(int folder, std::uint64_t device, int depth) noexcept {
    alignas(kernel_entry) char entries[4096];
    bool clean = true;
    for (;;) {
        const long count = syscall(SYS_getdents64, folder, entries, sizeof entries);
        if (count <= 0) return clean && count == 0;
        for (long at = 0; at < count;) {
            const char *const entry = entries + at;
            unsigned short size = 0;
            std::memcpy(&size, entry + offsetof(kernel_entry, size), sizeof size);
            const char *const name = entry + offsetof(kernel_entry, name);
            at += size;
            if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
            if (depth == 0 && std::strcmp(name, owner_file) == 0) continue;
            if (unlinkat(folder, name, 0) == 0) continue;
            struct stat facts = {};
            const int inner =
                depth < deepest_folder
                    ? openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)
                    : -1;
            if (inner < 0 || fstat(inner, &facts) != 0 || facts.st_dev != device) {
                if (inner >= 0) close(inner);
                clean = false;
                continue;
            }
            remove_entries(inner, device, depth + 1);
            close(inner);
            if (unlinkat(folder, name, AT_REMOVEDIR) != 0) clean = false;
        }
    }
}

bool remove_tree(const char *name, std::uint64_t device, std::uint64_t inode,
                 bool only_empty) noexcept {
    struct stat facts = {};
    if (lstat(name, &facts) != 0) return errno == ENOENT;
    if (facts.st_dev != device || facts.st_ino != inode) return false;
    if (!S_ISDIR(facts.st_mode)) return unlink(name) == 0;
    if (only_empty) return rmdir(name) == 0;
    const int folder = open(name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) return false;
    // who made it is the last to go: what a kill leaves of the folder is still known
    if (fstat(folder, &facts) == 0 && facts.st_ino == inode && remove_entries(folder, device, 0))
        unlinkat(folder, owner_file, 0);
    close(folder);
    return rmdir(name) == 0;
}

static void end_by_signal(int number) {
    const int reason = errno;
    // Another thread gives the list back at once. In a child that was forked at a bad moment nobody
    // does, and nothing in the list is the child's.
    int tries = 0;
    while (list_taken.test_and_set(std::memory_order_acquire) && tries < most_waits) {
        poll(nullptr, 0, 1);
        ++tries;
    }
    const pid_t own = getpid();
    for (const own_slot *slot = tries < most_waits ? first_slot : nullptr; slot != nullptr;
         slot = slot->next)
        if (slot->process == own)
            remove_tree(slot->name.c_str(), slot->device, slot->inode, slot->only_empty);
    std::signal(number, SIG_DFL);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    raise(number);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr); // it ends the process here
    errno = reason;
}

void clean_up_at_signals() {
    static constexpr std::size_t stack_size = 1 << 18; // the own one may be what is full
    static char other_stack[stack_size];
    stack_t stack = {};
    stack.ss_sp = other_stack;
    stack.ss_size = stack_size;
    sigaltstack(&stack, nullptr);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2,
                             SIGABRT, SIGSEGV, SIGBUS}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action = {};
        action.sa_handler = end_by_signal;
        action.sa_flags = SA_ONSTACK;
        sigfillset(&action.sa_mask);
        sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

void restore_ignored_signals() {
    std::signal(SIGXFSZ, SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
}

} // namespace tools
