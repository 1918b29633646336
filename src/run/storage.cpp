// SPDX-License-Identifier: BSD-3-Clause
// storage.cpp -- one row per array: where its pointer is, what is printed when it cannot be had
//
// A failed request prints its text and the others are still made, so that a user sees all that
// is missing. Several texts have no line end: wording kept.
#include "run/storage.h"

#include "run/state.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

// Vectors of eight doubles that begin between two cache lines cost two loads each.
static constexpr std::size_t cache_line = 64;
// From here on fresh pages are zero already, and only those that are used get memory.
static constexpr std::size_t large_request = 1 << 20;

static long long requests_made = 0;
static long long failing_request = 0;

void *new_zeroed(long long count, std::size_t size, const char *text) {
    ++requests_made;
    const unsigned long long n = count < 1 ? 1ULL : static_cast<unsigned long long>(count);
    void *storage = nullptr;
    if (requests_made != failing_request && n <= PTRDIFF_MAX / size) {
        const std::size_t bytes = static_cast<std::size_t>(n) * size;
        if (bytes < large_request) {
            const std::size_t whole = (bytes + cache_line - 1) / cache_line * cache_line;
            storage = std::aligned_alloc(cache_line, whole);
            if (storage != nullptr) std::memset(storage, 0, whole);
        } else {
            storage = std::calloc(static_cast<std::size_t>(n), size);
        }
    }
    if (storage == nullptr && text != nullptr) std::printf("%s", text);
    return storage;
}

void release(void *storage) {
    std::free(storage);
}

void fail_storage_request(long long k) {
    failing_request = k > 0 ? requests_made + k : 0;
}

long long storage_requests() {
    return requests_made;
}

struct array_row {
    double **array;
    const char *text;
};

static const array_row signal_rows[] = {
    {&xre, " Memory requested to store xre[] is not available"},
    {&xim, " Memory requested to store xim[] is not available"},
    {&shifted_xre, " Memory requested to store shifted_xre[] is not available"},
    {&shifted_xim, " Memory requested to store shifted_xim[] is not available"},
    {&yre, " Memory requested to store yre[] is not available"},
    {&yim, " Memory requested to store yim[] is not available"},
    {&w_bre, " Memory requested to store w_bre is not available"},
    {&xas, " Memory requested to store xas[] is not available"},
    {&w_bim, " Memory requested to store w_bim[] is not available"},
    {&wre, " Memory requested to store wre[] is not available"},
    {&re_ref, " Memory requested to store re_ref[] is not available"},
    {&im_ref, " Memory requested to store im_ref[] is not available"},
    {&wim, " Memory requested to store wim[] is not available"},
    {&r_lsf, " Memory requested to store r_lsf[] is not available"},
    {&i_lsf, " Memory requested to store i_lsf[] is not available"},
    {&xre_copy, " Memory requested to store xre_copy[] is not available"},
    {&xim_copy, " Memory requested to store xim_copy[] is not available"},
};

static const array_row parameter_rows[] = {
    {&wpar, " Memory requested to store wpar[] is not available\n"},
    {&errpar, " Memory requested to store errpar[] is not available\n"},
    {&par, " Memory requested to store par[] is not available\n"},
    {&par_bu, " Memory requested to store par_bu[] is not available\n"},
    {&par_copy, " Memory requested to store par_copy[] is not available\n"},
    {&pcom, " Memory requested to store pcom[] is not available\n"},
    {&xicom, " Memory requested to store xicom[] is not available\n"},
};

template <class T>
static void release_and_clear(T *&array) {
    release(array);
    array = nullptr;
}

static void free_parameter_arrays() {
    for (const array_row &row : parameter_rows) release_and_clear(*row.array);
    release_and_clear(fixpar);
    release_and_clear(idl);
    release_and_clear(pat_name);
    release_and_clear(pat);
    release_and_clear(pattern_norm);
    entry_capacity = lsf_capacity = pattern_capacity = 0;
}

void allocate_parameter_arrays(const int &n_lines, const int &n_lsf, const int &n_pat) {
    free_parameter_arrays();
    const int patterns = std::clamp(n_pat, 0, max_patterns);
    const int lines = std::clamp(n_lines, 0, max_entries - patterns);
    const int coefs = std::clamp(n_lsf, 0, max_lsf_coefs);
    const long long entries = lines + patterns;
    const long long vector_length = pars_per_entry * entries + 2LL * coefs;

    for (const array_row &row : parameter_rows) *row.array = new_doubles(vector_length, row.text);
    fixpar = static_cast<parameter_record *>(
        new_zeroed(pars_per_entry * entries, sizeof(parameter_record),
                   " Memory requested to store fixpar[]-struct is not available\n"));
    // "par_name": wording kept, for both arrays; silent when no pattern asks for them
    const char *text =
        patterns != 0 ? " Memory requested to store par_name[]-struct is not available\n" : nullptr;
    pat_name =
        static_cast<char(*)[pattern_name_size]>(new_zeroed(patterns + 1, sizeof *pat_name, text));
    pat = static_cast<double *>(
        new_zeroed(patterns + 1, sizeof(double) * static_cast<std::size_t>(pattern_slot), text));
    pattern_norm = new_doubles(
        patterns + 1, " Memory requested to store pattern_norm[]-struct is not available\n");
    idl = static_cast<sage_header *>(new_zeroed(
        1, sizeof(sage_header), " Memory requested to store idl[]-struct is not available\n"));

    entry_capacity = lines + patterns;
    lsf_capacity = coefs;
    pattern_capacity = patterns;
}

void allocate_memory(const int &points) {
    const long long room = std::max({points, noise_stop, 0});
    for (const array_row &row : signal_rows) release_and_clear(*row.array);
    for (const array_row &row : signal_rows) *row.array = new_doubles(room, row.text);
}

bool storage_complete() {
    const auto present = [](const array_row &row) { return *row.array != nullptr; };
    return std::all_of(std::begin(signal_rows), std::end(signal_rows), present) &&
           std::all_of(std::begin(parameter_rows), std::end(parameter_rows), present) &&
           fixpar != nullptr && pat_name != nullptr && pat != nullptr && pattern_norm != nullptr &&
           idl != nullptr;
}

void free_memory(const int &) {
    for (const array_row &row : signal_rows) release_and_clear(*row.array);
    free_parameter_arrays();
}
