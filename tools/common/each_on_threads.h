// SPDX-License-Identifier: BSD-3-Clause
// each_on_threads.h -- calls for 0, 1, ... count - 1, several at a time
#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace tools {

// work(i, thread) for every i, in no order, on `threads` threads (numbers from 0). Ends early when
// a call throws; the first exception is passed on after all threads have ended.
template <class function>
void each_on_threads(std::size_t count, std::size_t threads, function &&work) {
    std::atomic<std::size_t> next = 0;
    std::exception_ptr failure;
    std::mutex guard;
    const auto run = [&](std::size_t thread) {
        try {
            for (std::size_t i = next++; i < count; i = next++) work(i, thread);
        } catch (...) {
            next = count;
            const std::lock_guard<std::mutex> lock(guard);
            if (!failure) failure = std::current_exception();
        }
    };
    std::vector<std::thread> others;
    for (std::size_t t = 1; t < threads && t < count; ++t) others.emplace_back(run, t);
    run(0);
    for (std::thread &other : others) other.join();
    if (failure) std::rethrow_exception(failure);
}

} // namespace tools
