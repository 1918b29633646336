// SPDX-License-Identifier: BSD-3-Clause
// make_start.h -- from a table of peaks and a spectrum to the contents of a start file
//
// A table is parsed once; a start_maker then makes a start file for each of many spectra. What
// depends on table and axis only (positions, unit curves, their inner products) is kept from one
// spectrum to the next.
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/start/peak_table.h"
#include "files/start/spectrum_facts.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// guesses: values that neither table nor spectrum states; warnings: what may go wrong. Both are
// said, and remarks in the start file. notes: what was asked for and found, remarks only.
struct start_result {
    start_file start;
    std::vector<std::string> guesses, warnings, notes;
    std::string text() const; // of the version 3 file, names and guesses behind its end
    // Which windows of the table a start file has no place for; empty without any.
    std::string left_out() const;
};

// The row of each entry, from 0: lines come first, then patterns, as start files have them.
std::vector<std::size_t> rows_of_entries(const peak_table &table);

class start_maker {
  public:
    // pattern_folders: where pattern files are looked for, in this order.
    // by: whose limits the start files keep.
    explicit start_maker(peak_table table, std::vector<std::string> pattern_folders = {"."},
                         fit_method by = fit_method::classic);
    ~start_maker();
    start_maker(const start_maker &) = delete;
    start_maker &operator=(const start_maker &) = delete;

    // spectrum has facts.points points; empty: nothing can be estimated.
    // Errors: bad_input, naming line and column of the table; for what the fit would refuse, too,
    //         and for estimates without a spectrum.
    start_result make(const complex_signal &spectrum, const spectrum_facts &facts);

    void look_for_patterns_in(std::vector<std::string> folders);
    // Whether make needs the spectrum. It takes one anyway, and says when the mirrored axis
    // explains more.
    bool estimates() const;
    const peak_table &table() const { return table_; }

  private:
    struct prepared;
    void prepare(const spectrum_facts &facts);
    void make_entries(const table_axis &axis, prepared &made) const;
    void settle_ranges(start_result &base) const;
    void make_unit_curves(prepared &made) const;
    void estimate(const complex_signal &spectrum, start_result &result);
    void look_at_mirror(const complex_signal &spectrum, start_result &result) const;

    peak_table table_;
    std::vector<std::string> pattern_folders_;
    fit_method by_;
    std::unique_ptr<prepared> prepared_;
};

} // namespace tools
