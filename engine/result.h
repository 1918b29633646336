// SPDX-License-Identifier: BSD-3-Clause
// result.h -- a value, or why there is none
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace engine {

// Why a call has no result. entry counts from 0; -1: the problem as a whole.
struct failure {
    int entry = -1;
    std::string reason;
    bool stopped = false; // by what watches, and not refused
};

template <class T>
class result {
  public:
    result(T value) : held_(std::move(value)) {}
    result(failure why) : held_(std::move(why)) {}
    explicit operator bool() const { return held_.index() == 0; }
    T &operator*() { return std::get<0>(held_); }
    const T &operator*() const { return std::get<0>(held_); }
    T *operator->() { return &std::get<0>(held_); }
    const T *operator->() const { return &std::get<0>(held_); }
    const failure &why() const { return std::get<1>(held_); }

  private:
    std::variant<T, failure> held_;
};

} // namespace engine
