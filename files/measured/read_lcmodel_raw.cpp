// SPDX-License-Identifier: BSD-3-Clause
// read_lcmodel_raw.cpp -- LCModel .RAW and .H2O files
#include "files/measured/measured_formats.h"

#include "files/base/tool_error.h"
#include "files/measured/lcmodel_namelist.h"

#include <cmath>

namespace tools {

// Groups up to $NMID, behind which the points begin.
static std::vector<namelist_group> groups_of_header(line_reader &text, const std::string &file) {
    std::vector<namelist_group> groups;
    while (std::optional<namelist_group> group = next_group(text, file)) {
        groups.push_back(*group);
        if (group->name == "nmid") return groups;
        if (groups.size() > 1000) break;
    }
    refuse_input(file, "no group $NMID; expected an LCModel .RAW or .H2O file, \" $NMID ID='...', "
                       "FMTDAT='(2E15.6)' $END\" before the points");
}

static void each_point(const std::string &file, const std::optional<std::size_t> &width,
                       const std::function<bool(std::complex<double>)> &take) {
    line_reader text(file);
    groups_of_header(text, file);
    double real = 0.0;
    bool has_real = false;
    while (text.next()) {
        for (const double value : numbers_of_line(text, width)) {
            if (has_real && !take({real, value})) return;
            real = value;
            has_real = !has_real;
        }
    }
    if (has_real) text.refuse("the last point has no imaginary part; is the file cut?");
}

std::unique_ptr<spectrum_source> read_lcmodel_raw(const std::string &file,
                                                  const std::optional<long long> &points) {
    size_of_input(file, "an LCModel .RAW or .H2O file");
    line_reader text(file);
    const std::vector<namelist_group> groups = groups_of_header(text, file);
    const auto first_of = [&](std::initializer_list<const char *> items) -> std::optional<double> {
        for (const namelist_group &group : groups)
            for (const char *item : items)
                if (const std::optional<double> value = group.number(item)) return value;
        return std::nullopt;
    };

    auto source = source_of<text_source>(file, "LCModel RAW");
    const namelist_group &identity = groups.back();
    if (identity.truth("seqacq"))
        refuse_input(file, "item SEQACQ is T (sequential acquisition), which is not supported; "
                           "expected points sampled in pairs");
    source->opposite_sense = identity.truth("bruker");
    const double volume = identity.number("volume").value_or(1.0);
    if (volume == 0.0) refuse_input(file, "item VOLUME is 0; expected another number");
    source->scale = identity.number("tramp").value_or(1.0) / volume;
    if (source->scale != 1.0) source->notes["scaled_by_tramp_over_volume"] = source->scale;
    const std::string format = identity.text("fmtdat").value_or("");
    const std::optional<std::size_t> width = field_width(format);
    if (!width)
        source->warnings.push_back("item FMTDAT names no layout of real numbers; blanks between "
                                   "the numbers are taken as it");

    signal_facts &facts = source->facts;
    const auto positive = [&](std::initializer_list<const char *> items) {
        const std::optional<double> value = first_of(items);
        if (value && *value <= 0.0)
            refuse_input(file, std::string("item ") + *items.begin() +
                                   " is not above 0; expected a number above 0");
        return value;
    };
    facts.mhz = positive({"hzpppm"});
    facts.dwell_time = positive({"dwelltime", "deltat", "badelt"});
    if (const std::optional<double> echo = first_of({"echot"})) facts.echo_time = *echo / 1e3;

    source->for_each_point = [file, width](const auto &take) { each_point(file, width, take); };
    const long long in_file = source->count_points_of_text();
    std::optional<long long> stated = points;
    if (!stated)
        if (const std::optional<double> n = positive({"numberofpoints", "nunfil"})) {
            if (*n != std::floor(*n) || *n > 1e9)
                refuse_input(
                    file,
                    "item numberofpoints or nunfil is no whole number of points; expected one");
            stated = static_cast<long long>(*n);
        }
    split_into_spectra(*source, in_file, stated);
    return source;
}

} // namespace tools
