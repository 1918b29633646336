// SPDX-License-Identifier: BSD-3-Clause
// allowed_counts.cpp -- the one list of what a control file must not ask for, since a table would
// overrun
#include "control/allowed_counts.h"

#include "run/types.h"
#include "run/state_parameters.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

static const count_names keyword_names = {"n_pnts", "noistp", "nLines",
                                          "lsfcfs", "pattrn", "nLines + pattrn"};
static const count_names block_names = {
    "number of points (varokel_spectrum_information, value 1)",
    "end of noise interval (varokel_spectrum_information, value 3)",
    "number of lines (varokel_spectrum_information, value 4)",
    "number of lineshape coefficients (varokel_spectrum_information, value 5)",
    "number of patterns (varokel_spectrum_information, value 10)",
    "number of lines and patterns (varokel_spectrum_information, values 4 and 10)",
};

const count_names &keyword_count_names() {
    return keyword_names;
}

const count_names &block_count_names() {
    return block_names;
}

static bool refuse(const char *name, const char *item, long long value, long long lo, long long hi,
                   int &file_corrupt) {
    if (file_corrupt != 1)
        std::printf("error in fit control file %s : %s is %lld, allowed are %lld to %lld\n", name,
                    item, value, lo, hi);
    file_corrupt = 1;
    return false;
}

static bool within(const char *name, const char *item, long long value, long long lo, long long hi,
                   int &file_corrupt) {
    return (value >= lo && value <= hi) || refuse(name, item, value, lo, hi, file_corrupt);
}

// A count that may be absurdly small, but not so small that a multiple of it overflows an int.
static bool count_within(const char *name, const char *item, long long value, long long hi,
                         int &file_corrupt) {
    return (value >= -hi && value <= hi) || refuse(name, item, value, 0, hi, file_corrupt);
}

namespace {
// Name of an item that is limited by another one: "n_pnts, with patterns".
struct item_with {
    char text[160];
    item_with(const char *item, const char *condition) {
        std::snprintf(text, sizeof text, "%s, %s", item, condition);
    }
};
} // namespace

// Patterns stand behind the lines; there is no place before the table. Where fewer than one entry
// is left, nothing stands anywhere, and the check of the start values says so.
static bool lines_carry_patterns(const char *name, const count_names &names, int lines,
                                 int patterns, int &file_corrupt) {
    if (lines >= 0 || static_cast<long long>(lines) + patterns < 1) return true;
    const item_with item(names.lines, "with patterns");
    return within(name, item.text, lines, 0, max_entries, file_corrupt);
}

bool counts_allowed(const char *name, const count_names &names, const int &points, const int &lines,
                    const int &patterns, int &file_corrupt) {
    if (!within(name, names.patterns, patterns, 0, max_patterns, file_corrupt) ||
        !count_within(name, names.points, points, max_points, file_corrupt) ||
        !count_within(name, names.lines, lines, max_entries, file_corrupt) ||
        !lines_carry_patterns(name, names, lines, patterns, file_corrupt) ||
        !within(name, names.entries, std::max(lines, 0) + patterns, 0, max_entries, file_corrupt))
        return false;
    if (patterns == 0) return true;
    const item_with item(names.points, "with patterns");
    return count_within(name, item.text, points, max_pattern_points, file_corrupt);
}

bool noise_stop_allowed(const char *name, const count_names &names, const int &stop,
                        int &file_corrupt) {
    return stop <= max_noise_stop ||
           refuse(name, names.noise_stop, stop, 0, max_noise_stop, file_corrupt);
}

bool lsf_coefs_allowed(const char *name, const count_names &names, const int &n_lsf,
                       const int &points, int &file_corrupt) {
    if (!count_within(name, names.lsf_coefs, n_lsf, max_lsf_coefs, file_corrupt)) return false;
    if (n_lsf <= 0) return true;
    const item_with item(names.lsf_coefs, "not more than points");
    return within(name, item.text, n_lsf, 0, std::max(points, 0), file_corrupt);
}

bool counts_stored(const char *name, const count_names &names, const int &lines, const int &n_lsf,
                   const int &patterns, int &file_corrupt) {
    const long long entries = std::max(lines, 0) + static_cast<long long>(patterns);
    return within(name, names.patterns, patterns, 0, pattern_capacity, file_corrupt) &&
           within(name, names.entries, entries, 0, entry_capacity, file_corrupt) &&
           count_within(name, names.lines, lines, max_entries, file_corrupt) &&
           (n_lsf <= 0 || within(name, names.lsf_coefs, n_lsf, 0, lsf_capacity, file_corrupt)) &&
           lines_carry_patterns(name, names, lines, patterns, file_corrupt);
}

bool pattern_names_stored(const char *name, const count_names &names, const int &patterns,
                          int &file_corrupt) {
    return patterns <= pattern_capacity ||
           refuse(name, names.patterns, patterns, 0, max_patterns, file_corrupt);
}

bool counts_stored(const int &lines, const int &n_lsf, const int &patterns) {
    int quiet = 1;
    return counts_stored("", keyword_names, lines, n_lsf, patterns, quiet);
}

bool step_allowed(const char *name, const int &step, int &file_corrupt) {
    return within(name, "running number of an @ line", step, 1, max_steps, file_corrupt);
}

bool intervals_allowed(const char *name, const int &step, const int &intervals, int &file_corrupt) {
    char item[64];
    std::snprintf(item, sizeof item, "n_int of @ line %d", step);
    return within(name, item, intervals, 0, max_intervals, file_corrupt);
}

bool line_number_allowed(const char *name, const int &number, const int &entries,
                         int &file_corrupt) {
    return within(name, "line number in varokel_prior_knowledge", number, 1, entries, file_corrupt);
}

bool pattern_name_allowed(const char *name, const int &slot, const char *pattern,
                          int &file_corrupt) {
    char item[64];
    std::snprintf(item, sizeof item, "number of characters of pattern name %d", slot);
    return within(name, item, static_cast<long long>(std::strlen(pattern)), 0,
                  pattern_name_size - 1, file_corrupt);
}
