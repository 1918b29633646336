// SPDX-License-Identifier: BSD-3-Clause
// spectrum_facts.h -- what a start file needs to know of a spectrum, and its axis
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/spectra/spectrum_axis.h"
#include "files/start/peak_table.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// What is known about a spectrum beside its points.
struct spectrum_facts {
    int points = 0;
    int measured = 0; // points of the FID that are no filled zeros; 0: all
    double hz_per_point = 0.0;
    std::optional<double> mhz, ppm_at_carrier;
    bool ppm_rises_with_points = true;
    bool guessed_sense = false;                    // of the ppm axis
    double phi_1 = 0.0;                            // of the delay [degrees over the whole band]
    std::optional<std::pair<int, int>> noise;      // first point, one behind the last
    std::optional<std::pair<int, int>> fit_points; // first and last
    std::optional<double> reference_ppm;           // by which the axis was set
    bool operator==(const spectrum_facts &) const = default;
};

// Of a sidecar that varokel-import wrote. Errors: bad_input, naming the item.
spectrum_facts facts_of_sidecar(const metadata &sidecar);
// Of a table that says points and hertz per point itself. Errors: bad_input where it does not.
spectrum_facts facts_of_table(const peak_table &table);

// The ppm axis by the reference of a table, where the import did not set it.
struct axis_by_reference {
    std::string text; // which peak was found, and where the axis is now
    std::vector<std::string> warnings;
};

// Gives the facts the axis of the table's reference peak, as it stands in this spectrum. Nothing
// when the table names none, or the axis was set by one already. Errors: bad_input as
// reference_search.
std::optional<axis_by_reference> set_axis_by_reference(const peak_table &table,
                                                       const spectrum_axis &axis,
                                                       const complex_signal &spectrum,
                                                       spectrum_facts &facts);

// Translation between the table's units and those of a start file.
struct table_axis {
    explicit table_axis(const spectrum_facts &facts, const std::string &source);
    // Hz from the left edge. Errors: bad_input for ppm without what they need.
    double position_hz(double value, table_unit unit) const;
    double offset_hz(double value, table_unit unit) const; // along the points
    double width_hz(double value, table_unit unit) const;
    double ppm_of(double hz) const; // not a number when the axis does not know
    double carrier_hz() const { return carrier_; }
    double sense() const { return sense_; }
    bool knows_ppm() const { return mhz_ && ppm_at_carrier_; }

  private:
    std::string source_;
    double hz_per_point_, carrier_, sense_;
    std::optional<double> mhz_, ppm_at_carrier_;
};

} // namespace tools
