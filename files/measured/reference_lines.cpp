// SPDX-License-Identifier: BSD-3-Clause
// reference_lines.cpp -- the reference line of each spectrum of an import, or one for all
#include "files/measured/reference_lines.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/signal_items.h"
#include "files/measured/spectrum_conversion.h"

#include <algorithm>
#include <cmath>

namespace tools {

// A reference that is the data, or that has many lines, would divide the data by itself: every area
// would be wrong, silently. Within 0.5 ppm (60 Hz where nothing is known) of its strongest point a
// reference has four fifths of its power, eddy currents or not.
void refuse_no_reference(const complex_signal &water, const complex_signal &data,
                         const std::string &file, const signal_facts &facts) {
    static constexpr double least_share = 0.8;
    if (is_copy(water, data))
        refuse_input(file, "the reference is the data itself; expected the FID of a strong single "
                           "line of the same voxel");
    const double half_width = (facts.mhz ? 0.5 * *facts.mhz : 60.0) * *facts.dwell_time;
    const double share = share_of_strongest_line(water, half_width);
    if (share < least_share)
        refuse_input(file, "the reference is no single line: only " +
                               std::to_string(std::lround(100.0 * share)) +
                               " % of its power stand around its strongest point; expected the FID "
                               "of a strong single line, such as water without suppression");
}

reference_lines::reference_lines(const input_options &options, const spectrum_options &own,
                                 const spectrum_source &data, const choice &outputs,
                                 std::size_t points)
    : options_(options), own_(own), data_(data), outputs_(outputs), points_(points),
      source_(open_combined(own.reference, "", options, true)),
      chosen_(choose_spectra(*source_, options.choice, true)) {
    const spectrum_source &reference = *source_;
    if (chosen_.spectra.size() != 1 && chosen_.spectra.size() != outputs.spectra.size())
        refuse_input(reference.file, "gives " + std::to_string(chosen_.spectra.size()) +
                                         " reference spectra for " +
                                         std::to_string(outputs.spectra.size()) +
                                         "; expected one, or one for each");
    if (reference.points < static_cast<long long>(points))
        refuse_input(reference.file, "holds " + std::to_string(reference.points) +
                                         " points; expected at least the " +
                                         std::to_string(points) + " that are used of " + data.file);
    if (reference.facts.dwell_time &&
        std::abs(*reference.facts.dwell_time / *data.facts.dwell_time - 1.0) > 1e-5)
        refuse_input(reference.file, "dwell time " + shortest(*reference.facts.dwell_time) +
                                         " s, but " + data.file + " has " +
                                         shortest(*data.facts.dwell_time) +
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
        refuse_input(source_->file, "the reference of " +
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
