// SPDX-License-Identifier: BSD-3-Clause
// lanes.h -- one body, several targets; vectors of four and of eight doubles
//
// GCC builds a MULTIVERSION function once per target and the loader picks the best that the
// machine has. All builds do the same operations in the same order (no fused multiply-add, partial
// sums counted by position), so they agree to the last bit.
//
// Where eight values fit a register (AVX-512), vectors of eight are used, else vectors of four:
// GCC 12 splits a vector of eight so badly that it is five times slower. The body is a template of
// the vector type V, and MULTIVERSION_WIDTHS makes the functions for the targets of it.
//
// A sum has eight partial sums, term i in number i mod 8. They fill one vector of eight; vectors of
// four go twice over the terms, first those of the partial sums 0 to 3, then those of 4 to 7.
#pragma once

#include <cstring>

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(VAROKEL_PORTABLE)
#define MULTIVERSION [[gnu::target_clones("avx2", "default")]]
#define MULTIVERSION_WIDTHS(signature, ...)                                                        \
    [[gnu::target("avx512f")]] signature {                                                         \
        using V = ::kernel::wide_lanes;                                                            \
        __VA_ARGS__;                                                                               \
    }                                                                                              \
    [[gnu::target("avx2")]] signature {                                                            \
        using V = ::kernel::lanes;                                                                 \
        __VA_ARGS__;                                                                               \
    }                                                                                              \
    [[gnu::target("default")]] signature {                                                         \
        using V = ::kernel::lanes;                                                                 \
        __VA_ARGS__;                                                                               \
    }
#else
// clang 14 cannot link clones across files; their resolvers run before a sanitizer is ready
#define MULTIVERSION
#define MULTIVERSION_WIDTHS(signature, ...)                                                        \
    signature {                                                                                    \
        using V = ::kernel::lanes;                                                                 \
        __VA_ARGS__;                                                                               \
    }
#endif

namespace kernel {

typedef double lanes __attribute__((vector_size(32)));
typedef double wide_lanes __attribute__((vector_size(64)));

[[gnu::always_inline]] inline void load(lanes &v, const double *p) {
    std::memcpy(&v, p, sizeof v);
}
[[gnu::always_inline]] inline void store(double *p, const lanes &v) {
    std::memcpy(p, &v, sizeof v);
}
[[gnu::always_inline]] inline void load(wide_lanes &v, const double *p) {
    std::memcpy(&v, p, sizeof v);
}
[[gnu::always_inline]] inline void store(double *p, const wide_lanes &v) {
    std::memcpy(p, &v, sizeof v);
}

inline constexpr int partial_sums = 8;

template <class V>
inline constexpr int width_of = static_cast<int>(sizeof(V) / sizeof(double));

// Sum of the eight partial sums, always in this order.
[[gnu::always_inline]] inline double total(const double *p) {
    return ((p[0] + p[1]) + (p[2] + p[3])) + ((p[4] + p[5]) + (p[6] + p[7]));
}

} // namespace kernel
