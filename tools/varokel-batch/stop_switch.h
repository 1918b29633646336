// SPDX-License-Identifier: BSD-3-Clause
// stop_switch.h -- tells all threads of a run to come to an end, and signals that ask for it
#pragma once

#include "files/base/file_descriptor.h"

#include <atomic>
#include <csignal>
#include <cstddef>

namespace tools {

// Set once; seen by threads that look, and by those that wait for a descriptor.
class stop_switch {
  public:
    // Errors: bad_output when the system has no descriptor left.
    stop_switch();
    void set();
    bool is_set() const { return set_; }
    int handle() const { return handle_.number(); } // readable once it is set

  private:
    file_descriptor handle_;
    std::atomic<bool> set_ = false;
};

// From here to the end of the object SIGINT, SIGTERM and SIGHUP are let in only by wait_for, so
// that none is missed between look and wait. Threads that begin meanwhile never get one.
class signals_held {
  public:
    signals_held();
    signals_held(const signals_held &) = delete;
    signals_held &operator=(const signals_held &) = delete;
    ~signals_held();
    // Until the descriptor is readable, a signal came, or the seconds are over. Returns the number
    // of the signal, or 0.
    int wait_for(int handle, double seconds);

  private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction before_[3] = {};
    std::size_t count_ = 0;
    sigset_t open_;
};

} // namespace tools
