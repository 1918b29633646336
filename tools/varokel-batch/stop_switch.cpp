// SPDX-License-Identifier: BSD-3-Clause
// stop_switch.cpp -- tells all threads of a run to come to an end, and signals that ask for it
#include "varokel-batch/stop_switch.h"

#include "files/base/tool_error.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tools {

stop_switch::stop_switch() : handle_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!handle_.is_open())
        throw tool_error(bad_output,
                         std::string("no descriptor to be had (") + std::strerror(errno) + ")");
}

void stop_switch::set() {
    set_ = true;
    eventfd_write(handle_.number(), 1);
}

static volatile std::sig_atomic_t asked_to_end = 0;

static void note_signal(int number) {
    asked_to_end = number;
}

signals_held::signals_held() {
    asked_to_end = 0;
    struct sigaction action = {};
    action.sa_handler = note_signal;
    sigemptyset(&action.sa_mask);
    sigset_t held;
    sigemptyset(&held);
    for (const int number : numbers) {
        sigaction(number, &action, &before_[count_++]);
        sigaddset(&held, number);
    }
    pthread_sigmask(SIG_BLOCK, &held, &open_);
    for (const int number : numbers) sigdelset(&open_, number);
}

signals_held::~signals_held() {
    pthread_sigmask(SIG_SETMASK, &open_, nullptr);
    count_ = 0;
    for (const int number : numbers) sigaction(number, &before_[count_++], nullptr);
}

int signals_held::wait_for(int handle, double seconds) {
    pollfd one = {handle, POLLIN, 0};
    const timespec wait = {static_cast<time_t>(seconds),
                           static_cast<long>(1e9 * (seconds - std::floor(seconds)))};
    if (asked_to_end == 0) ppoll(&one, 1, &wait, &open_);
    return asked_to_end;
}

} // namespace tools
