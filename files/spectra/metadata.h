// SPDX-License-Identifier: BSD-3-Clause
// metadata.h -- what is known about a signal beside its points, as JSON
//
// The fit knows points and hertz per point only. What turns its results into ppm, and where the
// signal came from, stands in a sidecar: a JSON object beside each converted signal.
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <utility>

namespace tools {

// A JSON object of a file, with lookups that name file and item when a value is of the wrong kind.
class metadata {
  public:
    // Errors: bad_input when the file cannot be read, holds no JSON object, or one that is nested
    // deeper than read_json.h allows.
    explicit metadata(const std::string &file);
    // items: a JSON object; file names it in messages.
    metadata(std::string file, nlohmann::json items);

    // The item, or nothing when it is absent or null. Errors: bad_input when it is of another kind
    // or (positive) not above 0.
    std::optional<double> number(const char *item) const;
    std::optional<double> positive_number(const char *item) const;
    std::optional<long long> positive_integer(const char *item) const;
    std::optional<std::string> text(const char *item) const;
    std::optional<bool> truth(const char *item) const;
    // Two point numbers [a, b], 0 <= a <= b <= limit.
    std::optional<std::pair<long long, long long>> point_pair(const char *item,
                                                              long long limit) const;

    // The same object inside an item, empty when there is none.
    metadata inside(const char *item) const;
    const std::string &file() const { return file_; }
    const nlohmann::json &items() const { return items_; } // an object

  private:
    const nlohmann::json *find(const char *item) const;
    [[noreturn]] void refuse(const char *item, const std::string &expected) const;

    std::string file_;
    nlohmann::json items_;
};

// How points of a spectrum translate into hertz from the carrier and into ppm.
struct spectrum_axis {
    std::optional<double> hz_per_point;   // [Hz]
    std::optional<double> mhz;            // spectrometer frequency [MHz]
    std::optional<double> ppm_at_carrier; // [ppm], carrier at point n/2
    bool ppm_rises_with_points = true;
    std::string nucleus; // such as "31P"; may be empty
    // complex points, and those of the FID that were measured: the others are zeros; 0: not known
    long long points = 0, measured = 0;

    // What turns an error bound of a fit into that of the measurement: sqrt(points / measured), 1
    // without zeros. The transform spreads the noise of m measured points over n, of which the fit
    // takes each for a measurement of its own; the curves are as long as the signal, so of their
    // information n / m times as much seems to be there.
    double error_factor() const;
};

// The axis items of a sidecar: points, measured_points (or resized.from), hz_per_point,
// spectrometer_mhz, ppm_at_carrier, ppm_rises_with_points, nucleus.
spectrum_axis axis_of_sidecar(const metadata &sidecar);

} // namespace tools
