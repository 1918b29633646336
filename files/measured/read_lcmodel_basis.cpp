// SPDX-License-Identifier: BSD-3-Clause
// read_lcmodel_basis.cpp -- LCModel .BASIS files: spectra of whole metabolites
#include "files/measured/read_lcmodel_basis.h"

#include "files/base/tool_error.h"
#include "files/measured/lcmodel_namelist.h"
#include "files/measured/spectrum_source.h"

#include "kernel/transform_plan.h"

#include <algorithm>
#include <cmath>

namespace tools {

static constexpr long long most_basis_points = 1 << 20;

static double positive_item(const namelist_group &group, const char *item,
                            const std::string &file) {
    const std::optional<double> value = group.number(item);
    if (!value || *value <= 0.0)
        refuse_input(file + ", group $" + group.name + " of line " + std::to_string(group.line),
                     std::string("item ") + item + (value ? " is not above 0" : " is missing") +
                         "; expected a number above 0");
    return *value;
}

// The numbers behind a group. Stops at the line that does not belong to them, or at the end.
static complex_signal points_behind(line_reader &text, const namelist_group &group,
                                    const basis_header &header,
                                    const std::optional<std::size_t> &width) {
    complex_signal points;
    points.reserve(static_cast<std::size_t>(header.points));
    double real = 0.0;
    bool has_real = false;
    while (static_cast<long long>(points.size()) < header.points) {
        const bool more = text.next();
        const std::string_view line = more ? trimmed(text.line()) : std::string_view();
        if (!more || (!line.empty() && (line[0] == '$' || line[0] == '&')))
            text.refuse("the spectrum of group $" + group.name + " of line " +
                        std::to_string(group.line) + " ends after " +
                        std::to_string(points.size()) + " points; expected " +
                        std::to_string(header.points) + " (NDATAB). Is the file cut?");
        for (const double value : numbers_of_line(text, width)) {
            if (!std::isfinite(value))
                text.refuse("point " + std::to_string(points.size()) +
                            " is not a finite number (nan or inf); expected one");
            if (has_real) points.emplace_back(real, value);
            real = value;
            has_real = !has_real;
        }
    }
    if (static_cast<long long>(points.size()) > header.points || has_real)
        text.refuse("more numbers on this line than NDATAB says; is the header right?");
    return points;
}

basis_header
read_lcmodel_basis(const std::string &file,
                   const std::function<void(const basis_header &, basis_spectrum)> &take) {
    size_of_input(file, "an LCModel .BASIS file");
    basis_header header;
    std::optional<std::size_t> width;
    line_reader text(file);
    bool any = false;
    while (const std::optional<namelist_group> group = next_group(text, file)) {
        if (group->name == "seqpar") {
            header.mhz = positive_item(*group, "hzpppm", file);
            if (const auto echo = group->number("echot")) header.echo_time = *echo / 1e3;
        } else if (group->name == "basis1") {
            const std::optional<double> dwell = group->number("badelt");
            if (dwell && *dwell < 0.0)
                refuse_input(file, "BADELT is negative, which marks an encrypted basis; expected a "
                                   "plain one. Make it again with a version that does not encrypt");
            header.dwell_time = positive_item(*group, "badelt", file);
            const double points = positive_item(*group, "ndatab", file);
            header.points = static_cast<long long>(std::min(points, 1e15));
            if (points != std::floor(points) || header.points > most_basis_points ||
                !kernel::transform_plan::exists_for(header.points))
                refuse_input(file, "NDATAB is " + group->text("ndatab").value_or("") +
                                       "; expected a power of two up to " +
                                       std::to_string(most_basis_points));
            width = field_width(group->text("fmtbas").value_or(""));
        } else if (group->name == "basis") {
            if (header.points == 0 || header.mhz == 0.0)
                refuse_input(file + ", line " + std::to_string(group->line),
                             "$BASIS without $SEQPAR and $BASIS1 before it; expected HZPPPM, "
                             "BADELT and NDATAB");
            basis_spectrum metabolite;
            metabolite.name = group->text("metabo").value_or(group->text("id").value_or(""));
            metabolite.name = std::string(trimmed(metabolite.name));
            metabolite.line = group->line;
            if (metabolite.name.empty())
                refuse_input(file + ", line " + std::to_string(group->line),
                             "$BASIS without METABO; expected a name");
            const auto factor = [&](const char *item) {
                return group->text(item) ? positive_item(*group, item, file) : 1.0;
            };
            const double scale = factor("tramp") / (factor("volume") * factor("conc"));
            const long long shift = group->whole_number("ishift").value_or(0);
            complex_signal points = points_behind(text, *group, header, width);
            const long long n = header.points;
            std::rotate(points.begin(),
                        points.begin() + static_cast<std::ptrdiff_t>((shift % n + n) % n),
                        points.end());
            for (std::complex<double> &point : points) point *= scale;
            metabolite.spectrum = std::move(points);
            take(header, std::move(metabolite));
            any = true;
        }
    }
    if (!any) refuse_input(file, "no group $BASIS; expected an LCModel .BASIS file");
    return header;
}

} // namespace tools
