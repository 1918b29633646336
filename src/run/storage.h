// SPDX-License-Identifier: BSD-3-Clause
// storage.h -- working storage of a run, and scratch of the numerical routines
#pragma once

#include <cstddef>

// Zero-filled storage for count elements of the given size.
//
// Returned: the storage, or null when it cannot be had; then text (nothing when null) is printed.
// Errors:   a negative count is taken as 0; no overflow in the product.
// Notes:    at least one element is made, so that null always means failure.
void *new_zeroed(long long count, std::size_t size, const char *text);

inline double *new_doubles(long long count, const char *text) {
    return static_cast<double *>(new_zeroed(count, sizeof(double), text));
}
void release(void *storage);

// Scratch that is released at the end of its block. Null (after its message) on failure.
template <class T>
class scratch {
  public:
    scratch(long long count, const char *text)
        : p_(static_cast<T *>(new_zeroed(count, sizeof(T), text))) {}
    ~scratch() { release(p_); }
    scratch(const scratch &) = delete;
    scratch &operator=(const scratch &) = delete;
    operator T *() const { return p_; }

  private:
    T *p_;
};

// Makes the k-th request from now fail, once; 0 lets all succeed. For tests.
void fail_storage_request(long long k);
// Requests since the program started; tests count those of a run.
long long storage_requests();

// Parameter arrays of run/state_parameters.h and the header record for the given counts
// (negative ones are taken as 0). Arrays of an earlier call are released first.
void allocate_parameter_arrays(const int &n_lines, const int &n_lsf, const int &n_pat);

// Signal arrays of run/state_signals.h, each for max(points, noise_stop) points.
void allocate_memory(const int &points);

// True when no array of the two allocators is missing.
bool storage_complete();

// Releases everything that the two allocators made; harmless when nothing was.
void free_memory(const int &points);
