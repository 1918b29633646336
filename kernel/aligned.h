// SPDX-License-Identifier: BSD-3-Clause
// aligned.h -- vectors of doubles that begin on a cache line
#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace kernel {

// With vectors of eight doubles every load from an array that begins elsewhere crosses a line.
template <class T>
struct line_allocator {
    typedef T value_type;
    static constexpr std::align_val_t line{64};

    line_allocator() = default;
    template <class U>
    line_allocator(const line_allocator<U> &) {}
    T *allocate(std::size_t count) {
        return static_cast<T *>(::operator new(count * sizeof(T), line));
    }
    void deallocate(T *p, std::size_t) { ::operator delete(p, line); }
    bool operator==(const line_allocator &) const { return true; }
};

typedef std::vector<double, line_allocator<double>> aligned_doubles;

} // namespace kernel
