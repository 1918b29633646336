// SPDX-License-Identifier: BSD-3-Clause
// combined_source.h -- a measured file whose coils and averages are put together as it is read
#pragma once

#include "files/measured/conversion_options.h"
#include "files/measured/spectrum_source.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tools {

// The reader of a file (open_source), with DIM_COIL combined and DIM_DYN aligned and averaged where
// the options ask for it: these axes are gone then. What was done to an FID stands in notes_of.
//
// Given:
//   file      options.input, or a second file that is treated alike
//   json      as of open_source
//   missing   whether the axes may be absent, as of a reference; those of coils may, too, where
//             options.coils_beside says that another file has them
// Errors: as open_source; wrong_usage when there is nothing to combine or to align.
std::unique_ptr<spectrum_source> open_combined(const std::string &file, const std::string &json,
                                               const input_options &options, bool missing);

// Whether a file of a name that is not empty has coils that --combine-coils would combine.
bool has_coils(const std::string &file, const input_options &options);

class combined_source : public spectrum_source {
  public:
    combined_source(std::unique_ptr<spectrum_source> inner, bool coils, bool averages);

    void add_to(const std::vector<signal_share> &shares,
                std::vector<complex_signal> &sums) override;
    ordered_json notes_of(long long spectrum) const override;
    std::vector<std::string> remarks() const override;
    std::vector<std::complex<double>> coil_weights(long long spectrum) const override;
    // Errors: bad_input when they are of another number of coils.
    void use_coil_weights(const std::vector<std::complex<double>> &weights) override;
    long long averaged_each() const override { return averages_; }

  private:
    // Of one FID: [average][coil] in storage, turned into one.
    complex_signal put_together(std::vector<std::vector<complex_signal>> fids,
                                ordered_json &notes) const;
    std::vector<long long> members_of(long long spectrum) const;
    double most_shift() const; // [cycles per point]

    std::unique_ptr<spectrum_source> inner_;
    std::vector<std::size_t> kept_;         // axes of the inner source that are left
    long long coils_ = 1, averages_ = 1;    // 1: not put together
    std::vector<long long> coil_, average_; // of each member
    std::vector<long long> offset_;         // of a member from the first one of its FID
    std::map<long long, ordered_json> notes_;
    std::vector<std::complex<double>> given_; // weights of another file; empty: own ones
};

} // namespace tools
