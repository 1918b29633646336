// SPDX-License-Identifier: BSD-3-Clause
// reference_lines.cpp -- the reference line of each spectrum of an import, or one for all
#include "files/measured/reference_lines.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/reference_check.h"
#include "files/measured/signal_items.h"
#include "files/measured/spectrum_conversion.h"

#include <algorithm>
#include <cmath>

namespace tools {

reference_lines::reference_lines(const input_options &options, const spectrum_options &own,
                                 const spectrum_source &data, const choice &outputs,
                                 std::size_t points)
    : options_(options), own_(own), data_(data), outputs_(outputs), points_(points),
      source_(open_combined(own.reference, "", options, true)),
      chosen_(choose_spectra(*source_, options.choice, true)) {
    const spectrum_source &reference = *source_;
    if (chosen_.spectra.size() != 1 && chosen_.spectra.size() != outputs.spectra.size())
        throw tool_error(bad_input,
                         reference.file + ": gives " + std::to_string(chosen_.spectra.size()) +
                             " reference spectra for " + std::to_string(outputs.spectra.size()) +
                             "; expected one, or one for each");
    if (reference.points < static_cast<long long>(points))
        throw tool_error(bad_input, reference.file + ": holds " + std::to_string(reference.points) +
                                        " points; expected at least the " + std::to_string(points) +
                                        " that are used of " + data.file);
    if (reference.facts.dwell_time &&
        std::abs(*reference.facts.dwell_time / *data.facts.dwell_time - 1.0) > 1e-5)
        throw tool_error(bad_input, reference.file + ": dwell time " +
                                        shortest(*reference.facts.dwell_time) + " s, but " +
                                        data.file + " has " + shortest(*data.facts.dwell_time) +
                                        " s; expected a reference with the same");
    hash_ = sha256_of_file(reference.file);
}

std::string reference_lines::warning(long long memory) {
    const std::string cancelled = warning_of_means(*source_, chosen_.spectra, memory);
    return cancelled.empty() ? "" : file_name(source_->file) + ": " + cancelled;
}

std::size_t reference_lines::place_of(std::size_t output) const {
    return chosen_.spectra.size() == 1 ? 0 : output;
}

measured_lineshape reference_lines::lineshape(complex_signal water) const {
    if (source_->opposite_sense != options_.conjugate) conjugate(water);
    return lineshape_of(water, source_->file);
}

measured_lineshape reference_lines::only_line() {
    return lineshape(read_fids(*source_, chosen_.spectra, 0, 1, points_).front());
}

void reference_lines::read(std::size_t first, std::size_t stop,
                           const std::vector<complex_signal> &fids) {
    const std::size_t begin = place_of(first), end = place_of(stop - 1) + 1;
    if (outputs_.spectra.size() > 1 && !lines_.empty() && chosen_.spectra.size() == 1) return;
    lines_.clear();
    std::vector<complex_signal> waters = read_fids(*source_, chosen_.spectra, begin, end, points_);
    for (std::size_t w = begin; w < end; ++w) {
        complex_signal &water = waters[w - begin];
        if (outputs_.grid && is_all_zero(water)) continue; // such voxels hold no data either
        refuse_no_reference(water, fids[std::min(w - begin, fids.size() - 1)], source_->file,
                            data_.facts);
        lines_.emplace(w, lineshape(std::move(water)));
    }
}

const measured_lineshape &reference_lines::line_of(std::size_t output) const {
    const auto at = lines_.find(place_of(output));
    if (at == lines_.end())
        throw tool_error(bad_input, source_->file + ": the reference of " +
                                        data_.label(outputs_.spectra[output].spectra.front()) +
                                        " is all zeros; expected the FID of a line");
    return at->second;
}

ordered_json reference_lines::items(const measured_lineshape &line,
                                    const std::string &signal) const {
    return {{"signal", signal},
            {"file", file_name(source_->file)},
            {"sha256", hash_},
            {"line_at_hz", line.frequency / *data_.facts.dwell_time},
            {"points_above_the_noise", line.reliable},
            {"eddy_currents_corrected", own_.eddy}};
}

} // namespace tools
