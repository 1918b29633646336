// SPDX-License-Identifier: BSD-3-Clause
// lanes.h -- one body, several targets; a vector of four doubles, and one of eight for sums
//
// GCC builds a MULTIVERSION function once per target and the loader picks the best that the
// machine has. All builds do the same operations in the same order (no fused multiply-add, partial
// sums counted by position), so they agree to the last bit. A vector wider than the machine's is
// split by the compiler.
#pragma once

#include <cstring>

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(VAROKEL_PORTABLE)
#define MULTIVERSION [[gnu::target_clones("avx2", "default")]]
#define MULTIVERSION_WIDE [[gnu::target_clones("avx512f", "avx2", "default")]]
#else
// clang 14 cannot link clones across files; their resolvers run before a sanitizer is ready
#define MULTIVERSION
#define MULTIVERSION_WIDE
#endif

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

// Sum of the eight partial sums, always in this order.
[[gnu::always_inline]] inline double total(const wide_lanes &v) {
    return ((v[0] + v[1]) + (v[2] + v[3])) + ((v[4] + v[5]) + (v[6] + v[7]));
}
