// SPDX-License-Identifier: BSD-3-Clause
// optimum_file.cpp -- the record of an exact fit as JSON, and back
#include "files/base/ordered_json.h"
#include "files/problem/exact_fit.h"

#include "files/base/read_json.h"
#include "files/base/tool_error.h"

#include <cmath>
#include <limits>

namespace tools {

static constexpr const char *form = "varokel optimum 1";

// JSON has no infinity and no "not a number".
static ordered_json json_number(double value) {
    return std::isfinite(value) ? ordered_json(value) : ordered_json(nullptr);
}

std::string optimum_text(const optimum_record &record) {
    ordered_json all = {{"form", form},
                        {"method", record.method},
                        {"verdict", record.verdict},
                        {"noise_sd", json_number(record.noise_sd)},
                        {"sum_of_squares", json_number(record.sum_of_squares)},
                        {"expected_decrease", json_number(record.expected_decrease)},
                        {"root_reduced_chi_square", json_number(record.root_reduced_chi_square)},
                        {"linearizations", record.linearizations},
                        {"evaluations", record.evaluations},
                        {"reasons", ordered_json::array()},
                        {"starts", ordered_json::array()},
                        {"values_in_points", ordered_json::array()},
                        {"at_bound", ordered_json::array()}};
    if (record.search_distance) all["search_distance"] = json_number(*record.search_distance);
    for (const optimum_record::cause &cause : record.reasons)
        all["reasons"].push_back({{"what", cause.what},
                                  {"number", json_number(cause.number)},
                                  {"entries", cause.entries},
                                  {"text", cause.text}});
    for (const optimum_record::begin &start : record.starts)
        all["starts"].push_back({{"name", start.name},
                                 {"above", json_number(start.above)},
                                 {"shift_hz", json_number(start.shift_hz)},
                                 {"same", start.same}});
    for (const engine::values_of_entry &values : record.values) {
        ordered_json row = ordered_json::array();
        for (const double value : values) row.push_back(json_number(value));
        all["values_in_points"].push_back(row);
    }
    for (const auto &row : record.held) all["at_bound"].push_back(row);
    for (const optimum_record::window &each : record.windows)
        all["windows_in_points"].push_back({{"entry", each.entry},
                                            {"parameter", each.quantity},
                                            {"low", json_number(each.low)},
                                            {"high", json_number(each.high)}});
    if (record.begin_time)
        all["suggested_begin_time"] = {{"seconds", json_number(record.begin_time->seconds)},
                                       {"explained", json_number(record.begin_time->explained)},
                                       {"several", record.begin_time->several}};
    if (!record.lineshape.empty()) {
        all["lineshape"] = ordered_json::array();
        for (const std::complex<double> c : record.lineshape)
            all["lineshape"].push_back({json_number(c.real()), json_number(c.imag())});
    }
    return all.dump_valid(1) + "\n";
}

namespace {

// Items of a file that somebody else may have written.
class reader {
  public:
    reader(const std::string &file, const ordered_json &all) : file_(file), all_(all) {}

    const ordered_json &list(const char *item) const {
        const auto at = all_.find(item);
        if (at == all_.end() || !at->is_array() || at->size() > most) refuse(item, "a list");
        return *at;
    }
    const ordered_json &object(const char *item) const { return member(all_, item); }
    bool has(const char *item) const { return all_.contains(item); }
    double number(const ordered_json &from, const char *item) const {
        const ordered_json &value = member(from, item);
        if (value.is_null()) return std::numeric_limits<double>::quiet_NaN();
        if (!value.is_number()) refuse(item, "a number");
        return value.get<double>();
    }
    double number(const char *item) const { return number(all_, item); }
    int count(const char *item) const {
        const double value = number(item);
        if (!(value >= 0.0 && value < 1e9)) refuse(item, "a count");
        return static_cast<int>(value);
    }
    std::string text(const ordered_json &from, const char *item) const {
        const ordered_json &value = member(from, item);
        if (!value.is_string()) refuse(item, "a text");
        return value.get<std::string>();
    }
    std::string text(const char *item) const { return text(all_, item); }
    bool truth(const ordered_json &value, const char *item) const {
        if (!value.is_boolean()) refuse(item, "true or false");
        return value.get<bool>();
    }
    const ordered_json &member(const ordered_json &from, const char *item) const {
        if (!from.is_object() || !from.contains(item)) refuse(item, "such an item");
        return from.at(item);
    }
    const ordered_json &row(const ordered_json &value, std::size_t length, const char *item) const {
        if (!value.is_array() || value.size() != length) refuse(item, "rows of their length");
        return value;
    }
    [[noreturn]] void refuse(const char *item, const char *expected) const {
        refuse_input(file_ + ", " + item,
                     std::string("expected ") + expected + "; is it the record of an exact fit?");
    }

  private:
    static constexpr std::size_t most = 100000;
    const std::string &file_;
    const ordered_json &all_;
};

} // namespace

static void take_values(const reader &from, optimum_record &out) {
    for (const ordered_json &row : from.list("values_in_points")) {
        engine::values_of_entry &values = out.values.emplace_back();
        const ordered_json &five = from.row(row, values.size(), "values_in_points");
        for (std::size_t q = 0; q < values.size(); ++q) {
            if (!five[q].is_number()) from.refuse("values_in_points", "numbers");
            values[q] = five[q].get<double>();
        }
    }
    for (const ordered_json &row : from.list("at_bound")) {
        std::array<bool, 5> &held = out.held.emplace_back();
        const ordered_json &five = from.row(row, held.size(), "at_bound");
        for (std::size_t q = 0; q < held.size(); ++q) held[q] = from.truth(five[q], "at_bound");
    }
    if (out.held.size() != out.values.size()) from.refuse("at_bound", "a row for each entry");
}

static void take_windows(const reader &from, optimum_record &out) {
    if (!from.has("windows_in_points")) return;
    for (const ordered_json &item : from.list("windows_in_points")) {
        const double entry = from.number(item, "entry"), q = from.number(item, "parameter");
        if (!(entry >= 1.0 && entry <= static_cast<double>(out.values.size())) ||
            !(q >= 0.0 && q < double(quantities)))
            from.refuse("windows_in_points", "parameters of entries");
        const double low = from.number(item, "low"), high = from.number(item, "high");
        static constexpr double none = std::numeric_limits<double>::infinity();
        out.windows.push_back({static_cast<int>(entry), static_cast<int>(q),
                               std::isfinite(low) ? low : -none,
                               std::isfinite(high) ? high : none});
    }
}

static void take_reasons(const reader &from, optimum_record &out) {
    for (const ordered_json &item : from.list("reasons")) {
        optimum_record::cause &cause = out.reasons.emplace_back();
        cause.what = from.text(item, "what");
        cause.number = from.number(item, "number");
        cause.text = from.text(item, "text");
        const ordered_json &entries = from.member(item, "entries");
        if (!entries.is_array()) from.refuse("entries", "a list");
        for (const ordered_json &entry : entries) {
            if (!entry.is_number_integer() || entry.get<long long>() < 1 ||
                entry.get<long long>() > static_cast<long long>(out.values.size()))
                from.refuse("entries", "numbers of entries");
            cause.entries.push_back(entry.get<int>());
        }
    }
}

static void take_begin_time(const reader &from, optimum_record &out) {
    static constexpr const char *item = "suggested_begin_time";
    if (!from.has(item)) return;
    const ordered_json &all = from.object(item);
    const begin_time_hint hint = {from.number(all, "seconds"), from.number(all, "explained"),
                                  from.truth(from.member(all, "several"), "several")};
    if (!(hint.seconds > 0.0 && hint.seconds <= longest_begin_time && hint.explained >= 0.0 &&
          hint.explained <= 1.0))
        from.refuse(item, "a time up to 5 ms and a share");
    out.begin_time = hint;
}

static void take_lineshape(const reader &from, optimum_record &out) {
    if (!from.has("lineshape")) return;
    for (const ordered_json &pair : from.list("lineshape")) {
        const ordered_json &two = from.row(pair, 2, "lineshape");
        if (!two[0].is_number() || !two[1].is_number()) from.refuse("lineshape", "numbers");
        out.lineshape.emplace_back(two[0].get<double>(), two[1].get<double>());
    }
}

static optimum_record record_from(const reader &from) {
    optimum_record out;
    if (from.text("form") != form) from.refuse("form", form);
    out.method = from.text("method");
    if (out.method != "exact" && out.method != "both") from.refuse("method", "exact or both");
    out.verdict = from.text("verdict");
    out.noise_sd = from.number("noise_sd");
    out.sum_of_squares = from.number("sum_of_squares");
    out.expected_decrease = from.number("expected_decrease");
    out.root_reduced_chi_square = from.number("root_reduced_chi_square");
    out.linearizations = from.count("linearizations");
    out.evaluations = from.count("evaluations");
    if (from.has("search_distance")) out.search_distance = from.number("search_distance");
    take_values(from, out);
    take_windows(from, out);
    take_reasons(from, out);
    for (const ordered_json &item : from.list("starts"))
        out.starts.push_back({from.text(item, "name"), from.number(item, "above"),
                              from.number(item, "shift_hz"),
                              from.truth(from.member(item, "same"), "same")});
    take_begin_time(from, out);
    take_lineshape(from, out);
    return out;
}

optimum_record read_optimum(const std::string &file) {
    const ordered_json all = json_of_file(file);
    if (!all.is_object()) refuse_input(file, "no JSON object; expected the record of an exact fit");
    return record_from(reader(file, all));
}

} // namespace tools
