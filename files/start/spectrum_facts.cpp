// SPDX-License-Identifier: BSD-3-Clause
// spectrum_facts.cpp -- what a start file needs to know of a spectrum, and its axis
#include "files/start/spectrum_facts.h"

#include "files/base/ordered_json.h"
#include "files/base/tool_error.h"
#include "files/spectra/reference_peak.h"
#include "files/spectra/search_limits.h"

#include <cmath>
#include <limits>

namespace tools {

static std::optional<std::pair<int, int>> int_pair(const std::pair<long long, long long> &points) {
    return std::pair(static_cast<int>(points.first), static_cast<int>(points.second));
}

spectrum_facts facts_of_sidecar(const metadata &sidecar) {
    spectrum_facts facts;
    const std::optional<long long> points = sidecar.positive_integer("points");
    const std::optional<double> hz = sidecar.positive_number("hz_per_point");
    if (!points || !hz || *points > search_limits::points)
        refuse_input(sidecar.file(), "lacks \"points\" (up to 2^24) or \"hz_per_point\"; expected "
                                     "the JSON that varokel-import writes beside a spectrum");
    facts.points = static_cast<int>(*points);
    facts.hz_per_point = *hz;
    const spectrum_axis axis = axis_of_sidecar(sidecar);
    facts.mhz = axis.mhz;
    facts.ppm_at_carrier = axis.ppm_at_carrier;
    facts.ppm_rises_with_points = axis.ppm_rises_with_points;
    facts.phi_1 = sidecar.number("phi_1_degrees").value_or(0.0);
    if (const auto interval = sidecar.point_pair("fit_interval_points", *points - 1))
        facts.fit_points = int_pair(*interval);
    // items inside items
    const ordered_json &all = sidecar.items();
    const auto inner = [&](const char *object, const char *item) -> std::optional<long long> {
        const auto at = all.find(object);
        if (at == all.end() || !at->is_object() || !at->contains(item)) return std::nullopt;
        const ordered_json &value = (*at)[item];
        if (!value.is_number_integer() || value.get<long long>() < 0 ||
            value.get<long long>() > search_limits::points)
            refuse_input(sidecar.file(), std::string("item \"") + object + "." + item + "\" is " +
                                             value.dump() + "; expected a point number");
        return value.get<long long>();
    };
    const auto first = inner("noise_window", "first"), stop = inner("noise_window", "stop");
    if (first && stop && *stop < *first)
        refuse_input(sidecar.file(), "item \"noise_window\" is " +
                                         all.find("noise_window")->dump() +
                                         "; expected \"stop\" behind \"first\"");
    if (first && stop) facts.noise = int_pair({*first, *stop});
    for (const ordered_json &guess : all.value("guessed", ordered_json::array()))
        facts.guessed_sense = facts.guessed_sense || (guess.is_object() && guess.contains("item") &&
                                                      guess["item"] == "ppm_rises_with_points");
    facts.reference_ppm = sidecar.inside("reference_peak").number("ppm");
    if (axis.measured > 0 && axis.measured < *points)
        facts.measured = static_cast<int>(axis.measured);
    return facts;
}

spectrum_facts facts_of_table(const peak_table &table) {
    if (!table.points || !table.hz_per_point)
        refuse_at(table, {},
                  "no spectrum is given, and the table does not say \"points\" and "
                  "\"hz_per_point\"; give the spectrum with -d");
    spectrum_facts facts;
    facts.points = *table.points;
    facts.hz_per_point = *table.hz_per_point;
    return facts;
}

std::optional<axis_by_reference> set_axis_by_reference(const peak_table &table,
                                                       const spectrum_axis &axis,
                                                       const complex_signal &spectrum,
                                                       spectrum_facts &facts) {
    if (!table.reference || facts.reference_ppm) return std::nullopt;
    reference_search search(*table.reference, axis);
    search.add(spectrum);
    const found_reference found = search.found();
    facts.ppm_at_carrier = found.ppm_at_carrier;
    facts.reference_ppm = table.reference->ppm;
    axis_by_reference out = {text_of(*table.reference, found), {}};
    if (found.guessed_width) out.warnings.push_back("guessed " + reference_width_text(found));
    for (const std::string &text : warnings_of(*table.reference, found))
        out.warnings.push_back(text);
    return out;
}

table_axis::table_axis(const spectrum_facts &facts, const std::string &source)
    : source_(source), hz_per_point_(facts.hz_per_point),
      carrier_(static_cast<double>(facts.points / 2) * facts.hz_per_point),
      sense_(facts.ppm_rises_with_points ? 1.0 : -1.0), mhz_(facts.mhz),
      ppm_at_carrier_(facts.ppm_at_carrier) {}

double table_axis::offset_hz(double value, table_unit unit) const {
    if (unit == table_unit::points) return value * hz_per_point_;
    if (unit != table_unit::ppm) return sense_ * value;
    if (!mhz_)
        refuse_input(source_, "ppm in the table, but the spectrum's JSON has no "
                              "\"spectrometer_mhz\"; import with --frequency");
    return sense_ * value * *mhz_;
}

double table_axis::position_hz(double value, table_unit unit) const {
    if (unit == table_unit::points) return value * hz_per_point_;
    if (unit != table_unit::ppm) return carrier_ + offset_hz(value, unit);
    if (!ppm_at_carrier_)
        refuse_input(source_, "ppm in the table, but the spectrum's JSON has no "
                              "\"ppm_at_carrier\"; import with --ppm-at-carrier");
    return carrier_ + offset_hz(value - *ppm_at_carrier_, unit);
}

double table_axis::width_hz(double value, table_unit unit) const {
    return unit == table_unit::ppm ? std::fabs(offset_hz(1.0, unit)) * value : value;
}

double table_axis::ppm_of(double hz) const {
    if (!knows_ppm()) return std::numeric_limits<double>::quiet_NaN();
    return *ppm_at_carrier_ + sense_ * (hz - carrier_) / *mhz_;
}

} // namespace tools
