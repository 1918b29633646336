// SPDX-License-Identifier: BSD-3-Clause
// choose_spectra.h -- which FIDs of an input are converted, and which of them are averaged
#pragma once

#include "files/measured/spectrum_source.h"

namespace tools {

// As the options have them. An axis is named by its name in the file (DIM_COIL), in any case, with
// or without "DIM_", or by its number (dim_5).
struct choice_options {
    std::string voxel;                // "x,y,z" from 0; empty: all
    std::vector<std::string> index;   // "AXIS=i", "AXIS=all", or "i", "all" for the only axis
    std::vector<std::string> average; // "AXIS"
};

// Whether options call this axis so; number: of the axis in its source.
bool is_called(const source_axis &axis, std::size_t number, const std::string &name);

// One output: the mean of one or more FIDs of the input.
struct chosen_spectrum {
    std::string suffix;             // of the output's name: "_3_4_0_coil2"; empty for the only one
    std::vector<long long> spectra; // of the input, rising
    ordered_json place;             // {"voxel": [3, 4, 0], "DIM_COIL": 2}
    ordered_json averaged;          // {"DIM_DYN": 16}
    std::optional<long long> index; // along the only axis
};

// What is done along one axis.
struct axis_choice {
    enum { open, one, all, mean } what = open;
    long long place = 0;
};

// All places along the axes that stay, first axis fastest. An output is worked out from its number:
// what is held does not grow with the outputs.
class chosen_spectra {
  public:
    chosen_spectra() = default;
    // choices: none of them open. has_grid: voxels are named.
    chosen_spectra(const spectrum_source &source, std::vector<axis_choice> choices, bool has_grid);
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    chosen_spectrum operator[](std::size_t output) const;
    chosen_spectrum front() const { return (*this)[0]; }
    // FIDs of the input, rising.
    std::vector<long long> members(std::size_t output) const;
    std::size_t members_each() const { return offsets_.size(); }
    // Each n-th of them, from the first on.
    chosen_spectra every(std::size_t n) const;

  private:
    long long place(std::size_t axis, long long &rest) const;
    std::vector<source_axis> axes_;
    std::vector<axis_choice> choices_;
    std::vector<long long> offsets_; // of the members of a mean, rising
    std::size_t size_ = 0, step_ = 1;
    bool has_grid_ = false;
};

struct choice {
    chosen_spectra spectra;
    bool grid = false; // all voxels of more than one, not one that was asked for
};

// Errors: wrong_usage when an axis with several FIDs is neither chosen from nor averaged, for an
//         axis that the input does not have, and for places outside of it.
// pass_over_missing: an axis named in the options may be absent (for a second input).
choice choose_spectra(const spectrum_source &source, const choice_options &options,
                      bool pass_over_missing = false);

// All outputs that the source gives with the averages of the options, whatever these choose of
// them. Errors: wrong_usage for an average that the source does not have.
choice all_outputs(const spectrum_source &source, const choice_options &options);

} // namespace tools
