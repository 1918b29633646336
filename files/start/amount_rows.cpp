// SPDX-License-Identifier: BSD-3-Clause
// amount_rows.cpp -- what a table of peaks says about what follows from areas: rows "derive",
// "water", "amount", "te" and "tr"
#include "files/start/amount_rows.h"

#include "files/base/line_text.h"
#include "files/base/tool_error.h"
#include "files/start/peak_table.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tools {

namespace {

// One cell of such a row: "t2 = 99 ms".
struct setting {
    std::string key, value;
};

// The parts between commas; the first may have no "=".
std::vector<std::string> parts_of(const std::string &text) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0;;) {
        const std::size_t comma = text.find(',', begin);
        parts.emplace_back(trimmed(text.substr(begin, comma == text.npos ? comma : comma - begin)));
        if (comma == text.npos) return parts;
        begin = comma + 1;
    }
}

setting setting_of(const peak_table &table, const std::string &part, const table_place &place,
                   const char *known) {
    const std::size_t equals = part.find('=');
    if (equals == part.npos || equals == 0 || equals + 1 == part.size())
        refuse_at(table, place, "found \"" + part + "\"; expected " + known);
    return {std::string(trimmed(part.substr(0, equals))),
            std::string(trimmed(part.substr(equals + 1)))};
}

// A number above 0, and the word behind it.
double number_and_unit(const peak_table &table, const std::string &text, const table_place &place,
                       std::string &unit) {
    double value = 0.0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end.ec != std::errc() || !(value > 0.0) || !std::isfinite(value))
        refuse_at(table, place, "found \"" + text + "\"; expected a number above 0");
    unit = trimmed(text.substr(static_cast<std::size_t>(end.ptr - text.data())));
    return value;
}

double plain_number(const peak_table &table, const setting &own, const table_place &place) {
    std::string unit;
    const double value = number_and_unit(table, own.value, place, unit);
    if (!unit.empty())
        refuse_at(table, place,
                  "found \"" + own.value + "\" for " + own.key +
                      "; expected a number without a unit");
    return value;
}

} // namespace

std::string derived_expression(const std::string &text) {
    const std::size_t equals = text.find('=');
    return std::string(trimmed(equals == text.npos ? text : text.substr(equals + 1)));
}

std::string derived_name(const std::string &text) {
    return std::string(trimmed(text.substr(0, text.find('='))));
}

void refuse_derived_twice(const peak_table &table, const std::string &name,
                          const table_place &place) {
    const auto derives = [&](const std::string &row) { return derived_name(row) == name; };
    const auto is_of = [&](const amount_row &row) { return row.name == name; };
    if (std::any_of(table.derived.begin(), table.derived.end(), derives) ||
        std::any_of(table.amounts.amounts.begin(), table.amounts.amounts.end(), is_of))
        refuse_at(table, place,
                  "found a second row \"derive\" or \"amount\" called \"" + name +
                      "\"; expected another name before the \"=\", as NAME = EXPRESSION");
}

double read_time(const peak_table &table, const std::string &text, const table_place &place) {
    std::string unit;
    const double value = number_and_unit(table, text, place, unit);
    if (unit != "s" && unit != "ms")
        refuse_at(table, place, "found the time \"" + text + "\"; expected s or ms behind it");
    return unit == "ms" ? value / 1e3 : value;
}

water_compartment read_water_row(const peak_table &table, const std::string &text,
                                 const table_place &place) {
    static constexpr const char *known = "fraction=F, content=C kg/L or kg/kg, t1=T s, t2=T ms or "
                                         "metabolites=no behind the name of the compartment";
    const std::vector<std::string> parts = parts_of(text);
    water_compartment water;
    water.name = parts.front();
    if (water.name.empty() || water.name.find('=') != water.name.npos)
        refuse_at(table, place,
                  "found no name; expected one, such as tissue, then " + std::string(known));
    for (std::size_t p = 1; p < parts.size(); ++p) {
        const setting own = setting_of(table, parts[p], place, known);
        if (own.key == "fraction") {
            water.fraction = plain_number(table, own, place);
            if (*water.fraction > 1.0)
                refuse_at(table, place,
                          "found the fraction " + own.value + "; expected one up to 1");
        } else if (own.key == "content") {
            std::string unit;
            water.content = number_and_unit(table, own.value, place, unit);
            if ((unit != "kg/L" && unit != "kg/kg") || *water.content > 1.2)
                refuse_at(table, place,
                          "found the content \"" + own.value +
                              "\"; expected kg/L or kg/kg of water behind it, such "
                              "as 0.78 kg/kg");
            water.per_litre = unit == "kg/L";
        } else if (own.key == "t1") {
            water.t1 = read_time(table, own.value, place);
        } else if (own.key == "t2") {
            water.t2 = read_time(table, own.value, place);
        } else if (own.key == "metabolites" && (own.value == "yes" || own.value == "no")) {
            water.has_metabolites = own.value == "yes";
        } else {
            refuse_at(table, place, "found \"" + parts[p] + "\"; expected " + known);
        }
    }
    return water;
}

amount_row read_amount_row(const peak_table &table, const std::string &text,
                           const table_place &place) {
    static constexpr const char *known =
        "protons=N, t1=T s or t2=T ms behind a name or NAME = EXPRESSION";
    const std::vector<std::string> parts = parts_of(text);
    amount_row row;
    row.place = place;
    row.name = derived_name(parts.front());
    row.expression = derived_expression(parts.front());
    if (row.name.empty() || row.expression.empty() || row.name == "protons")
        refuse_at(table, place,
                  "found \"" + parts.front() +
                      "\"; expected NAME or NAME = "
                      "EXPRESSION, then protons=N");
    for (std::size_t p = 1; p < parts.size(); ++p) {
        const setting own = setting_of(table, parts[p], place, known);
        if (own.key == "protons")
            row.protons = plain_number(table, own, place);
        else if (own.key == "t1")
            row.t1 = read_time(table, own.value, place);
        else if (own.key == "t2")
            row.t2 = read_time(table, own.value, place);
        else
            refuse_at(table, place, "found \"" + parts[p] + "\"; expected " + known);
    }
    if (!(row.protons > 0.0))
        refuse_at(table, place,
                  "found no number of protons of " + row.name +
                      "; expected protons=N, as 3 for a methyl group");
    return row;
}

void refuse_odd_water(const peak_table &table) {
    const std::vector<water_compartment> &water = table.amounts.water;
    const auto refuse = [&](const std::string &what) {
        refuse_input(table.file, "rows \"water\": " + what);
    };
    double sum = 0.0;
    bool any_metabolites = water.empty();
    for (const water_compartment &each : water) {
        if (!each.fraction && water.size() > 1)
            refuse(each.name + " has no fraction; expected one for each of several compartments");
        sum += each.fraction.value_or(1.0);
        any_metabolites = any_metabolites || each.has_metabolites;
        if (each.content.has_value() != water.front().content.has_value() ||
            each.per_litre != water.front().per_litre)
            refuse("content of " + each.name + " and of " + water.front().name +
                   " are not alike; expected all in kg/L, all in kg/kg or none");
    }
    if (!water.empty() && std::fabs(sum - 1.0) > 0.005)
        refuse("fractions add up to " + std::to_string(sum) + "; expected 1");
    if (!any_metabolites) refuse("no compartment has metabolites; expected one");
}

} // namespace tools
