// SPDX-License-Identifier: BSD-3-Clause
// reference_lines.h -- the reference line of each spectrum of an import, or one for all
#pragma once

#include "files/measured/condition_fid.h"
#include "files/measured/conversion_options.h"
#include "files/measured/spectrum_source.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tools {

// Whether an FID is a reference: one strong line, and not the data.
//
// Given:
//   water, data   FIDs of one dwell time; file names the water
//   facts         of the data
// Errors: bad_input when water is the data, or has many lines.
void refuse_no_reference(const complex_signal &water, const complex_signal &data,
                         const std::string &file, const signal_facts &facts);

class reference_lines {
  public:
    // The file that own.reference names, for the outputs of a source, of which so many points are
    // used. All of them must outlive this. Errors: as the readers; bad_input when the two do not
    // go together.
    reference_lines(const input_options &options, const spectrum_options &own,
                    const spectrum_source &data, const choice &outputs, std::size_t points);

    const spectrum_source &source() const { return *source_; }
    // What a user should know of the means that are taken; empty: nothing.
    std::string warning(long long memory);
    // The line of the only output.
    measured_lineshape only_line();
    // Reads the lines of outputs first to stop - 1, whose FIDs are given; a line that serves all
    // is read once. Voxels of a grid that are all zero have none. Errors: bad_input.
    void read(std::size_t first, std::size_t stop, const std::vector<complex_signal> &fids);
    // Of an output that was read. Errors: bad_input when it was all zero.
    const measured_lineshape &line_of(std::size_t output) const;
    // What a sidecar says of it; signal is the file of the line.
    ordered_json items(const measured_lineshape &line, const std::string &signal) const;

  private:
    std::size_t place_of(std::size_t output) const;
    measured_lineshape lineshape(complex_signal water) const;

    const input_options &options_;
    const spectrum_options &own_;
    const spectrum_source &data_;
    const choice &outputs_;
    std::size_t points_;
    std::unique_ptr<spectrum_source> source_;
    std::string hash_;
    choice chosen_;
    std::map<std::size_t, measured_lineshape> lines_; // of the outputs that were read last
};

} // namespace tools
